// SPDX-License-Identifier: MIT
// An action of a command, and the call of the interface that does the same, on two equal machines.
#pragma once

#include "fixtures/share_machine.h"
#include "zav/zav.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <ostream>
#include <string>
#include <utility>

// Arguments name the members that are given; the others are zero, which is what they are to be.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace zav::test {

// sda to sdd as in a PoolMachine; sde to sdh, channels 5 to 8, are free.
class ActionMachine : public ShareMachine {
  public:
    ActionMachine() {
        for (const char* name : {"sde", "sdf", "sdg", "sdh"}) {
            disk({.name = name});
        }
        directory("/etc/lvm/backup");
    }
};

struct ActionCase {
    std::string name;
    std::function<void(ActionMachine&)> prepare; // may be empty
    Texts command;
    std::function<int(zav_ctx*, zav_error*)> call;
    int code = ZAV_OK;
    int status = -1; // of the command; -1: what the code becomes
};

inline void PrintTo(const ActionCase& action, std::ostream* out) {
    *out << action.name;
}

// A call with its arguments: calls(zav_pool_delete, {.name = "films", .group = "data"}).
template <class Arguments>
auto calls(int (*function)(zav_ctx*, const Arguments*, zav_error*), Arguments arguments) {
    arguments.struct_size = sizeof arguments;
    return [function, arguments](zav_ctx* ctx, zav_error* error) {
        return function(ctx, &arguments, error);
    };
}

// What a run did and left. Names of temporary files are no difference, and a command is run without
// its standard error for a program that wants to know it.
struct Trace {
    Texts commands;
    Texts log;
    Snapshot files;
};

inline std::string without_random_names(std::string text) {
    const std::string folder = "/tmp/";
    for (std::size_t at = 0; (at = text.find(folder, at)) != std::string::npos;) {
        at = std::min(text.find_first_of(" '\"", at), text.size());
        text.replace(at - 6, 6, "XXXXXX");
    }
    return text;
}

inline Trace trace_of(const ActionMachine& machine, const Result& run) {
    const std::string redirection = " 2>> /dev/null";
    Trace trace = {run.commands_with_templates(), machine.logged(), machine.snapshot()};
    for (std::string& command : trace.commands) {
        if (command.ends_with(redirection)) {
            command.resize(command.size() - redirection.size());
        }
    }
    for (std::string& line : trace.log) {
        line = without_random_names(line);
    }
    const Snapshot files = std::exchange(trace.files, {});
    for (const auto& [path, description] : files.entries) {
        trace.files.entries.emplace(without_random_names(path), description);
    }
    return trace;
}

// Inside a run: the call with a context of its own. What it says of its end must be what the
// command's documentation says.
inline int call_explained(const ActionCase& action) {
    zav_ctx* ctx = zav_ctx_new();
    zav_error error;
    const int code = action.call(ctx, &error);
    EXPECT_EQ(error.code, code);
    EXPECT_STREQ(error.next, zav_error_advice_for(code, action.command[0].c_str()));
    EXPECT_EQ(std::string(error.sentence).empty(), code == ZAV_OK);
    EXPECT_EQ(std::string(error.left).empty(), code == ZAV_OK);
    EXPECT_EQ(std::string(error.name) == "ok", code == ZAV_OK);
    zav_ctx_free(ctx);
    return code;
}

inline Trace trace_of_command(const ActionCase& action) {
    ActionMachine machine;
    if (action.prepare) {
        action.prepare(machine);
    }
    const Result run = machine.run(action.command);
    EXPECT_EQ(run.exit_status, action.status >= 0 ? action.status : action.code & 0xff);
    return trace_of(machine, run);
}

inline Trace trace_of_call(const ActionCase& action) {
    ActionMachine machine;
    if (action.prepare) {
        action.prepare(machine);
    }
    const Result run = machine.call([&action] { return call_explained(action); });
    EXPECT_TRUE(run.has_returned);
    EXPECT_EQ(run.returned, action.code);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    return trace_of(machine, run);
}

// The call does what the command does.
inline void expect_alike(const ActionCase& action) {
    const Trace command = trace_of_command(action);
    const Trace call = trace_of_call(action);
    EXPECT_THAT(call.commands, testing::ElementsAreArray(command.commands));
    EXPECT_THAT(call.log, testing::ElementsAreArray(command.log));
    EXPECT_THAT(command.files.changes_to(call.files), testing::IsEmpty());
}

inline std::string name_of(const testing::TestParamInfo<ActionCase>& info) {
    return info.param.name;
}

} // namespace zav::test

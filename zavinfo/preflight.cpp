// SPDX-License-Identifier: MIT
#include "zavinfo/preflight.h"

#include "zav/zav.hpp"
#include "zavinfo/system_probe.h"

#include <algorithm>
#include <array>
#include <regex>

namespace zavinfo {

namespace {

/// Where commands look for a tool without a path, in this order.
constexpr std::array<const char*, 6> tool_directories = {
    "/bin", "/sbin", "/usr/bin", "/usr/sbin", "/usr/local/bin", "/usr/local/sbin"};

/// Where zavbox takes programs with a path from first: see zavbox-tools(7).
constexpr const char* adapters = "/usr/lib/zavbox/tools";

constexpr const char* no_program = "it is no program that can be run";

NeedState state(const Need& need, Found found, std::string detail = "") {
    return {&need, found, std::move(detail)};
}

/// Whether a program is there is known: is it of use? A script in its place is a wrapper, which
/// knows what is wanted.
NeedState check_version(const Need& need, const std::string& path) {
    const Probe& probe = need.probe;
    const std::string program = probe.program != nullptr ? probe.program : path;
    if (probe.argument == nullptr || !is_machine_code(path) || !is_program(program)) {
        return state(need, Found::present, path);
    }
    std::vector<std::string> arguments = {probe.argument};
    for (const char* more : {probe.more, probe.last}) {
        if (more != nullptr) {
            arguments.emplace_back(more);
        }
    }
    const bool is_bad =
        std::regex_search(output_of(program, arguments), std::regex(probe.bad_output));
    return is_bad ? state(need, Found::wrong, probe.fault) : state(need, Found::present, path);
}

/// Of a program with a path that has no adapter.
NeedState check_own_program(const Need& need) {
    const std::string name = need.name;
    return is_program(name) ? check_version(need, name)
           : is_there(name) ? state(need, Found::wrong, no_program)
                            : state(need, Found::missing);
}

/// The adapter is what runs, and knows what is wanted. The shell has none.
NeedState check_adapted_program(const Need& need) {
    const std::string adapter = std::string(adapters) + need.name;
    if (std::string_view(need.name) == "/bin/sh" || !is_there(adapter)) {
        return check_own_program(need);
    }
    if (is_roots_alone(adapter) && is_file_below(adapter, adapters)) {
        return is_program(adapter)
                   ? state(need, Found::present, adapter)
                   : state(need, Found::wrong, "its adapter is no program that can be run");
    }
    NeedState own = check_own_program(need);
    if (is_trouble(own)) {
        own = state(need, Found::wrong,
                    "its adapter is not used: it must be a file that only root can have made");
    }
    return own;
}

NeedState check_program(const Need& need) {
    const std::string name = need.name;
    if (name.find('/') != std::string::npos) {
        return check_adapted_program(need);
    }
    for (const std::string directory : tool_directories) {
        if (is_program(directory + "/" + name)) {
            return check_version(need, directory + "/" + name);
        }
    }
    return state(need, Found::missing);
}

NeedState check_file(const Need& need) {
    for (const std::string path : {need.name, need.source}) {
        if (!path.empty() && is_readable_file(path)) {
            return state(need, Found::present, path);
        }
    }
    return is_there(need.name) ? state(need, Found::wrong, "it is no file that can be read")
                               : state(need, Found::missing);
}

/// As a wrong thing when there is something else of that name.
NeedState check_place(const Need& need, bool is_good, const char* fault) {
    return is_good               ? state(need, Found::present)
           : is_there(need.name) ? state(need, Found::wrong, fault)
                                 : state(need, Found::missing);
}

NeedState check_directory(const Need& need) {
    const std::string substitute = need.source;
    if (is_there(need.name) || substitute.empty() || !is_directory(substitute)) {
        return check_place(need, is_directory(need.name), "it is no directory");
    }
    return is_roots_alone(substitute)
               ? state(need, Found::present, substitute)
               : state(need, Found::wrong, substitute + " is not used: others may write there");
}

NeedState check_kernel(const Need& need) {
    return has_word(need.source, need.word) ? state(need, Found::present, "in the kernel")
           : has_module(need.module)        ? state(need, Found::present, "as a module")
                                            : state(need, Found::missing);
}

NeedState check_need(const Need& need, const ModelTraits& model) {
    if (need.is_needed != nullptr && !need.is_needed(model)) {
        return state(need, Found::unneeded);
    }
    switch (need.kind) {
    case NeedKind::program:
        return check_program(need);
    case NeedKind::file:
        return check_file(need);
    case NeedKind::directory:
        return check_directory(need);
    case NeedKind::writable:
        return check_place(need, is_writable_directory(need.name),
                           "it is no directory that can be written to");
    case NeedKind::device:
        return check_place(need, is_block_device(need.name), "it is no block device");
    case NeedKind::kernel:
        break;
    }
    return check_kernel(need);
}

/// Whether the program is there, and the wrong version.
bool is_unsuited(const NeedState& state) {
    return state.found == Found::wrong && state.need->probe.fault != nullptr &&
           state.detail == state.need->probe.fault;
}

} // namespace

Lack lack_of(const NeedState& state) {
    return is_unsuited(state) ? state.need->probe.lack : state.need->lack;
}

std::string remedy_of(const NeedState& state) {
    return is_unsuited(state) ? state.need->probe.remedy : state.need->remedy;
}

bool is_trouble(const NeedState& state) {
    return state.found == Found::missing || state.found == Found::wrong;
}

std::vector<NeedState> check_needs(std::string_view model) {
    const ModelTraits traits = traits_of(model);
    std::vector<NeedState> states;
    for (const Need& need : needs()) {
        states.push_back(check_need(need, traits));
    }
    return states;
}

std::string product_model(std::chrono::seconds time_limit) {
    zav::Context context;
    context.log_to(ZAV_LOG_NOWHERE);
    context.limit_commands_to(time_limit);
    const zav::Snapshot snapshot(context, ZAV_HEALTH);
    return snapshot.view().health->model;
}

int preflight_status(const std::vector<NeedState>& states) {
    int status = 0;
    for (const NeedState& state : states) {
        if (is_trouble(state)) {
            status = std::max(status, lack_of(state) == Lack::fails ? 1 : 2);
        }
    }
    return status;
}

} // namespace zavinfo

// SPDX-License-Identifier: MIT
#include "traced_run.h"

#include "actions.h"
#include "base/change_journal.h"

#include <algorithm>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace zav::campaign {

using namespace test;

namespace {

constexpr auto trace_file = "/trace";

const Action& action_named(const std::string& name) {
    const auto found = std::find_if(actions().begin(), actions().end(),
                                    [&name](const Action& one) { return one.name == name; });
    if (found == actions().end()) {
        throw std::runtime_error("no action " + name);
    }
    return *found;
}

// The bytes of the first quoted string, as strace escapes them.
std::string unescaped(const std::string& text) {
    static const std::map<char, char> letters = {
        {'n', '\n'}, {'t', '\t'}, {'r', '\r'}, {'v', '\v'}, {'f', '\f'}};
    std::string bytes;
    for (size_t at = text.find('"') + 1; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] != '\\') {
            bytes += text[at];
        } else if (const char next = text[++at]; next >= '0' && next <= '7') {
            int value = 0;
            size_t digits = 0;
            for (; digits < 3 && text[at] >= '0' && text[at] <= '7'; ++digits, ++at) {
                value = 8 * value + (text[at] - '0');
            }
            --at;
            bytes += static_cast<char>(value);
        } else {
            const auto letter = letters.find(next);
            bytes += letter != letters.end() ? letter->second : next;
        }
    }
    return bytes;
}

// The path of "4</etc/mdfstab>".
std::string path_of_descriptor(const std::string& arguments) {
    const size_t begin = arguments.find('<');
    const size_t end = arguments.find('>', begin);
    return begin == std::string::npos || end == std::string::npos
               ? ""
               : arguments.substr(begin + 1, end - begin - 1);
}

// The path that a call names: the last one, which for a rename is the new name.
std::string last_path(const std::string& arguments) {
    const size_t end = arguments.rfind('"');
    const size_t begin = arguments.rfind('"', end - 1);
    return end == std::string::npos || begin == std::string::npos
               ? ""
               : arguments.substr(begin + 1, end - begin - 1);
}

SystemCall parsed_call(const std::smatch& parts) {
    SystemCall call = {parts[1], 0, parts[2], parts[3], "", ""};
    const bool is_by_descriptor = call.arguments.find('<') < call.arguments.find('"');
    const bool is_at = call.name.ends_with("at") || call.name.ends_with("at2");
    call.subject =
        is_by_descriptor && !is_at ? path_of_descriptor(call.arguments) : last_path(call.arguments);
    if (call.name == "write" || call.name == "pwrite64") {
        call.written = unescaped(call.arguments);
    }
    return call;
}

std::vector<SystemCall> parsed_trace(const std::string& text) {
    static const std::regex form(R"((\w+)\((.*)\)\s+= (.*))");
    std::vector<SystemCall> calls;
    std::map<std::string, int> numbers;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        std::smatch parts;
        const std::string_view without_text = std::string_view(line).substr(0, line.find('"'));
        if (without_text.starts_with("+++") || without_text.starts_with("---") ||
            !std::regex_match(line, parts, form)) {
            continue;
        }
        calls.push_back(parsed_call(parts));
        calls.back().number = ++numbers[calls.back().name];
    }
    return calls;
}

// Gives the calls that start a program its command. A plain command is tried without a shell first,
// which fails (127) on a stand-in, and then given to the shell, which has written it down.
void name_commands(std::vector<SystemCall>& calls, const Texts& commands) {
    size_t next = 0;
    SystemCall* started = nullptr;
    for (SystemCall& call : calls) {
        if (call.name == "vfork" || call.name.starts_with("clone") || call.name == "fork") {
            started = &call;
            call.subject = next < commands.size() ? commands[next] : "";
        } else if (call.name == "wait4" && started != nullptr) {
            next += call.arguments.find("WEXITSTATUS(s) == 127") == std::string::npos ? 1U : 0U;
            started = nullptr;
        }
    }
}

} // namespace

bool SystemCall::changes_something() const {
    static const std::set<std::string> changing = {
        "write",  "pwrite64", "writev",    "ftruncate", "fallocate", "rename",    "renameat",
        "link",   "linkat",   "renameat2", "unlink",    "unlinkat",  "fsync",     "fdatasync",
        "syncfs", "mkdir",    "mkdirat",   "fchmod",    "fchown",    "symlinkat", "clone",
        "clone3", "vfork",    "fork",      "exit_group"};
    if (name == "openat" || name == "open") {
        return arguments.find("O_CREAT") != std::string::npos ||
               arguments.find("O_TRUNC") != std::string::npos;
    }
    return changing.contains(name);
}

std::vector<SystemCall> Recording::distinct_calls() const {
    static const std::regex random_name("(/tmp/[^ /]*\\.)[A-Za-z0-9]{6}(?![A-Za-z0-9])");
    std::map<std::string, std::vector<const SystemCall*>> by_subject;
    for (const SystemCall& call : calls) {
        by_subject[call.name + " " + std::regex_replace(call.subject, random_name, "$1XXXXXX")]
            .push_back(&call);
    }
    std::set<const SystemCall*> kept;
    for (const auto& [subject, same] : by_subject) {
        kept.insert({same.front(), same[std::min<size_t>(1, same.size() - 1)], same.back()});
    }
    std::vector<SystemCall> distinct;
    for (const SystemCall& call : calls) {
        if (kept.contains(&call)) {
            distinct.push_back(call);
        }
    }
    return distinct;
}

bool SystemCall::syncs() const {
    return name == "fsync" || name == "fdatasync" || name == "syncfs";
}

TracedAppliance::TracedAppliance(const std::string& action)
    : Appliance(action_named(action).model), arguments_(action_named(action).arguments),
      again_(action_named(action).again) {
    bind("/usr/bin/strace", "/usr/bin/strace");
    prepare(action_named(action), *this);
}

Result TracedAppliance::run_plain() {
    return run(arguments_, {.time_limit = std::chrono::seconds(60)});
}

Result TracedAppliance::run_under_strace(const Texts& options) {
    Texts arguments = options;
    arguments.emplace_back("/usr/bin/zavbox");
    arguments.insert(arguments.end(), arguments_.begin(), arguments_.end());
    return run(
        arguments,
        {.argv0 = "strace", .program = "/usr/bin/strace", .time_limit = std::chrono::seconds(60)});
}

Result TracedAppliance::run_disturbed(const Disturbance& how) {
    return run_under_strace(
        {"-o", "/dev/null", "-e", "trace=" + how.call, "-e",
         "inject=" + how.call + ":" + how.what + ":when=" + std::to_string(how.number)});
}

Result TracedAppliance::run_recorded(std::vector<SystemCall>& calls) {
    Result result = run_under_strace({"-o", trace_file, "-y", "-s", "1000000"});
    calls = parsed_trace(read(trace_file));
    name_commands(calls, result.commands_with_templates());
    return result;
}

std::string Disturbance::described() const {
    return action + ", " + what + " at " + call + " " + std::to_string(number);
}

Recording record(const std::string& action) {
    TracedAppliance appliance(action);
    Recording recording;
    recording.before = appliance.state();
    const Result result = appliance.run_recorded(recording.calls);
    if (result.exit_status != action_named(action).status || recording.calls.empty()) {
        throw std::runtime_error(action + " ended with " + std::to_string(result.exit_status) +
                                 " under strace: " + result.out + result.err);
    }
    recording.after = appliance.state();
    static const std::regex date("(:pub\\.)[0-9]{14}");
    for (const SystemCall& call : recording.calls) {
        recording.texts.insert(std::regex_replace(call.written, date, "$1DATE"));
        // An empty text is written by no call but the journal's.
        for (const JournalEntry& entry :
             parse_journal(call.written).value_or(std::vector<JournalEntry>())) {
            recording.texts.insert(std::regex_replace(entry.text, date, "$1DATE"));
        }
    }
    const bool has_empty =
        std::any_of(recording.calls.begin(), recording.calls.end(), [](const SystemCall& call) {
            const auto entries = parse_journal(call.written);
            return entries && std::any_of(entries->begin(), entries->end(),
                                          [](const JournalEntry& one) { return one.text.empty(); });
        });
    if (!has_empty) {
        recording.texts.erase("");
    }
    return recording;
}

} // namespace zav::campaign

// SPDX-License-Identifier: MIT
#include "truth.h"

#include "campaign/documented.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <sys/stat.h>

namespace zav::test {
namespace {

std::multiset<std::string> lines_of(const std::string& text) {
    std::multiset<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.insert(line);
    }
    return lines;
}

bool includes(const std::multiset<std::string>& all, const std::multiset<std::string>& some) {
    return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

// Each line is one of before or of after; those of both are there.
bool is_between(const std::string& text, const std::string& before, const std::string& after) {
    const auto lines = lines_of(text);
    const auto old_lines = lines_of(before);
    const auto new_lines = lines_of(after);
    std::multiset<std::string> both;
    std::set_intersection(old_lines.begin(), old_lines.end(), new_lines.begin(), new_lines.end(),
                          std::inserter(both, both.begin()));
    std::multiset<std::string> either;
    std::set_union(old_lines.begin(), old_lines.end(), new_lines.begin(), new_lines.end(),
                   std::inserter(either, either.begin()));
    return includes(either, lines) && includes(lines, both) &&
           (text.empty() || text.ends_with('\n'));
}

// What the state has of a path; nullptr if there is none.
const std::string* find(const State& state, const std::string& path) {
    const auto found = state.find(path);
    return found != state.end() ? &found->second : nullptr;
}

bool is_same(const std::string* one, const std::string* other) {
    return one == nullptr || other == nullptr ? one == other : *one == *other;
}

bool is_allowed(const std::string& path, const std::string* text, const std::string* before,
                const std::string* after) {
    if (is_same(text, before) || is_same(text, after)) {
        return true;
    }
    const bool is_register = path == mdfstab || path == netfstab;
    return is_register && text != nullptr && before != nullptr && after != nullptr &&
           is_between(*text, *before, *after);
}

} // namespace

Modes modes_of(const Appliance& appliance) {
    Modes modes;
    for (const auto& [path, content] : appliance.state()) {
        if (path.starts_with("/etc/")) {
            modes[path] = appliance.mode(path);
        }
    }
    return modes;
}

void check_end(const Action& action, const Result& run, Violations& found) {
    if (run.signal != 0) {
        found.push_back("ended by signal " + std::to_string(run.signal));
        return;
    }
    if (run.left_processes) {
        found.emplace_back("leaves a process behind");
    }
    const std::optional<int> code = printed_code(run);
    if (!code) {
        if (run.exit_status != 0 && !is_silent_status(action, run.exit_status)) {
            found.push_back("status " + std::to_string(run.exit_status) + " without a code");
        }
        return;
    }
    if (!is_code_of(action.arguments[0], *code)) {
        found.push_back("code " + std::to_string(*code) + ", which the command does not have");
    }
    const bool is_success = run.exit_status == 0 && is_code_with_success(action, *code);
    if (run.exit_status != (*code & 0xff) && !is_success) {
        found.push_back("code " + std::to_string(*code) + " with status " +
                        std::to_string(run.exit_status));
    }
}

void check_remains(const Appliance& appliance, Violations& found) {
    for (const std::string& path : appliance.leftovers()) {
        found.push_back("leaves " + path);
    }
}

void check_files(const Undisturbed& base, const State& after, Violations& found) {
    std::set<std::string> paths;
    for (const State* state : {&base.before, &base.after, &after}) {
        for (const auto& [path, content] : *state) {
            if (path.starts_with("/etc/")) {
                paths.insert(path);
            }
        }
    }
    for (const std::string& path : paths) {
        const std::string* before = find(base.before, path);
        const std::string* text = find(after, path);
        if (!is_same(text, before) && !base.action->may_change_file(path)) {
            found.push_back("changes " + path);
        } else if (!is_allowed(path, text, before, find(base.after, path))) {
            found.push_back(path + (text == nullptr ? " is lost" : " is neither old nor new"));
        }
    }
}

void check_modes(const Modes& before, const Modes& after, Violations& found) {
    for (const auto& [path, mode] : after) {
        const auto old = before.find(path);
        const bool is_ftp = path.starts_with("/etc/vsftpd/");
        const mode_t most = old != before.end() ? old->second : is_ftp ? 0777 : 0644;
        if ((mode & ~most) != 0) {
            found.push_back("opens " + path + " to more than before");
        }
    }
}

} // namespace zav::test

// SPDX-License-Identifier: MIT
// The fault matrix: each action, with each outside command of its undisturbed run letting it down
// in each way. The run ends with a documented code, is not successful when the work is not done,
// leaves nothing behind, destroys nothing that a look-up should have protected; and the action
// given again does the rest.
#include "campaign/campaign.h"
#include "campaign/documented.h"
#include "campaign/truth.h"

#include <algorithm>

namespace zav::test {
namespace {

constexpr auto part = "fault matrix";
constexpr size_t sample_share = 293;

bool lies(const std::string& kind) {
    return kind == "silent" || kind == "garbage" || kind == "half" || kind == "megabyte";
}

struct FaultCase {
    const Undisturbed* base;
    size_t at; // of the command, from 0
    std::string kind;

    const Action& action() const { return *base->action; }
    const std::string& command() const { return base->commands[at]; }
};

// The code that the documentation has for a failing command that changes something.
void check_code(const FaultCase& one, const FailureRow& row, const Result& run, Violations& found) {
    const int wanted = one.kind == "worked" ? row.code_after_work : row.code;
    const int printed = printed_code(run).value_or(0);
    const bool is_made_with_error = wanted == 0 && run.exit_status == 1 && one.kind == "worked";
    if (printed != wanted || (wanted == 0 && run.exit_status != 0 && !is_made_with_error)) {
        found.push_back("code " + std::to_string(printed) + ", status " +
                        std::to_string(run.exit_status) + " instead of " + std::to_string(wanted));
    }
}

// Success means that all is done, unless the failure is one that is only logged. A tool that ends
// well is believed; check_protections() has what must not follow from it.
void check_truth(const FaultCase& one, const FailureRow* row, const Result& run, const State& after,
                 Violations& found) {
    const bool is_ignored = row != nullptr && row->leaves;
    const auto code = printed_code(run);
    const bool is_told = code && is_code_with_success(one.action(), *code);
    if (run.exit_status == one.action().status && !lies(one.kind) && !is_ignored && !is_told) {
        for (const std::string& path : differences(one.base->after, after)) {
            found.push_back("ends well, but " + path + " is not as it should be");
        }
    }
    const Texts commands = outside(run);
    const bool has_changed = std::any_of(commands.begin(), commands.end(),
                                         [](const auto& text) { return !only_reads(text); });
    if (run.exit_status != one.action().status && only_reads(one.command()) && !has_changed) {
        for (const std::string& path : differences(one.base->before, after)) {
            found.push_back("is refused, but " + path + " is changed");
        }
    }
}

// Whether the undisturbed run has no such command behind it.
bool is_last_of_its_kind(const FaultCase& one) {
    const Texts& commands = one.base->commands;
    return std::find(commands.begin() + static_cast<std::ptrdiff_t>(one.at) + 1, commands.end(),
                     one.command()) == commands.end();
}

void check_protections(const FaultCase& one, const Result& run, Violations& found) {
    const Texts commands = outside(run);
    for (const ProtectionRow& row : protections()) {
        const std::string kinds = " " + std::string(row.kinds) + " ";
        if (!one.action().name.starts_with(row.action) || !one.command().starts_with(row.command) ||
            kinds.find(" " + one.kind + " ") == std::string::npos ||
            (row.last_only && !is_last_of_its_kind(one))) {
            continue;
        }
        for (size_t at = one.at + 1; at < commands.size(); ++at) {
            for (const std::string_view beginning : row.never) {
                if (commands[at].starts_with(beginning)) {
                    found.push_back("runs '" + commands[at] + "' all the same");
                }
            }
        }
    }
}

// What is in use stays so, whatever fails.
void check_refusal(const FaultCase& one, const Result& run, Violations& found) {
    for (const std::string& command : outside(run)) {
        if (one.action().is_refusal() && !lies(one.kind) && is_destructive(command)) {
            found.push_back("runs '" + command + "' on what is in use");
        }
    }
}

// The action given again, with nothing in its way.
void check_retry(const FaultCase& one, const FailureRow* row, const Result& first,
                 Appliance& appliance, Violations& found) {
    const Result again = appliance.run(one.action().arguments);
    const int code = printed_code(again).value_or(0);
    check_end(one.action(), again, found);
    check_remains(appliance, found);
    const bool was_done = first.exit_status == one.action().status;
    if (one.action().is_refusal() && lies(one.kind) && first.exit_status == 0) {
        return; // what uses the disk was hidden so well that it was taken
    }
    const int documented = row != nullptr ? row->again : 0;
    const bool is_known = code == documented || code == one.action().again;
    if (!is_known && !(code == 0 && again.exit_status == one.action().status)) {
        found.push_back("given again: code " + std::to_string(code));
    }
    if (code == 0 && !was_done && again.exit_status == one.action().status &&
        !(row != nullptr && row->leaves)) {
        for (const std::string& path : differences(one.base->after, appliance.state())) {
            // A restored group gets another RAM disk each time.
            if (path == "/state/volumes" && one.action().name.ends_with("-restored")) {
                continue;
            }
            found.push_back("given again: " + path + " is not as it should be");
        }
    }
}

Violations run_case(const FaultCase& one) {
    Violations found;
    Appliance appliance(one.action().model);
    prepare(one.action(), appliance);
    const Modes modes = modes_of(appliance);
    const Result run = appliance.run(
        one.action().arguments, {.fault = CommandFault{.number = one.at + 1, .kind = one.kind}});
    const State after = appliance.state();
    const FailureRow* row = failure_row(one.action(), one.command());
    check_end(one.action(), run, found);
    check_remains(appliance, found);
    check_files(*one.base, after, found);
    check_modes(modes, modes_of(appliance), found);
    if (row != nullptr && !lies(one.kind)) {
        check_code(one, *row, run, found);
    }
    check_truth(one, row, run, after, found);
    check_protections(one, run, found);
    check_refusal(one, run, found);
    check_retry(one, row, run, appliance, found);
    return found;
}

// What is the same for every number, as for the status files of the disks.
std::string shape_of(std::string command) {
    std::erase_if(command, [](char c) { return c >= '0' && c <= '9'; });
    return command;
}

// Of several alike in a row the first and the last one.
bool is_between(const Texts& commands, size_t at) {
    return at > 0 && at + 1 < commands.size() &&
           shape_of(commands[at - 1]) == shape_of(commands[at]) &&
           shape_of(commands[at + 1]) == shape_of(commands[at]);
}

void add_cases(const Undisturbed& base, std::vector<Case>& cases) {
    for (size_t at = 0; at < base.commands.size(); ++at) {
        if (is_between(base.commands, at)) {
            continue;
        }
        for (const char* kind : {"exit1", "exit3", "killed", "missing", "silent", "worked",
                                 "garbage", "half", "megabyte"}) {
            const bool is_output = std::string(kind) == "garbage" || std::string(kind) == "half" ||
                                   std::string(kind) == "megabyte";
            if (is_output && !only_reads(base.commands[at])) {
                continue; // nobody sees it
            }
            const FaultCase one = {&base, at, kind};
            cases.push_back({base.action->name + ", command " + std::to_string(at + 1) + " (" +
                                 base.commands[at] + ") " + kind,
                             [one] { return run_case(one); }});
        }
    }
}

} // namespace
} // namespace zav::test

int main(int argc, char** argv) {
    using namespace zav::test;
    const CampaignOptions options = campaign_options(argc, argv);
    const std::vector<Undisturbed> bases = undisturbed_actions(options);
    std::vector<Figure> figures;
    std::vector<Case> listing;
    std::vector<Case> changing;
    std::vector<Case> refused;
    for (const Undisturbed& base : bases) {
        add_cases(base, base.action->is_listing()   ? listing
                        : base.action->is_refusal() ? refused
                                                    : changing);
    }
    figures.push_back(
        run_cases(options, part, "actions that change something", changing, sample_share));
    figures.push_back(run_cases(options, part, "actions on what is in use", refused, sample_share));
    figures.push_back(run_cases(options, part, "listings", listing, sample_share));
    return status_of(figures);
}

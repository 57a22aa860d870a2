// SPDX-License-Identifier: MIT
// What durability costs: how long each action waits for a disk on which a sync takes 5 ms, by the
// calls that it makes; what else it takes to write files twice is some microseconds. Listings wait
// for no disk.
#include "campaign/actions.h"
#include "figure.h"

#include <cstdio>
#include <stdexcept>

namespace zav::bench {

namespace {

constexpr double sync_ms = 5;
constexpr double most_ms = 30;

/// How often an action waits for the disk, on a machine of its own.
int count_syncs(const test::Action& action) {
    test::Appliance machine(action.model);
    test::prepare(action, machine);
    machine.bind(BENCH_COUNT_SYNCS, "/count_syncs");
    test::Texts arguments = {"/syncs", "/usr/bin/zavbox", "zavbox"};
    arguments.insert(arguments.end(), action.arguments.begin(), action.arguments.end());
    const test::Result result =
        machine.run(arguments, {.argv0 = "count_syncs", .program = "/count_syncs"});
    if (result.exit_status != action.status) {
        throw std::runtime_error(action.name + " ended with " + std::to_string(result.exit_status) +
                                 ": " + result.out + result.err);
    }
    return std::stoi(machine.read("/syncs"));
}

void report(const test::Action& action, int calls) {
    print({.name = "syncs of " + action.name,
           .value = calls * sync_ms,
           .unit = "ms",
           .limit = most_ms,
           .remark = std::to_string(calls) + " calls of 5 ms"});
}

/// All actions whose names begin so, and how often their listings wait for a disk.
void report_all(const std::string& prefix) {
    int listings = 0;
    for (const test::Action& action : test::actions()) {
        if (!action.name.starts_with(prefix)) {
            continue;
        }
        const int calls = count_syncs(action);
        if (action.is_listing()) {
            listings += calls;
        } else if (calls > 0) {
            report(action, calls);
        }
    }
    print({.name = "syncs of all listings",
           .value = static_cast<double>(listings),
           .unit = "calls",
           .limit = 0,
           .exact = true});
}

} // namespace

} // namespace zav::bench

int main(int argc, char** argv) {
    try {
        zav::bench::report_all(argc > 1 ? argv[1] : "");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sync_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}

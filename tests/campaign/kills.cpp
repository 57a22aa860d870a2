// SPDX-License-Identifier: MIT
// campaign_kills [--sample] [--only ACTION]: SIGKILL right before each call that changes something,
// or starts a command, of every changing action. Afterwards each file is the old or the new one, or
// its journal is there, and the same action succeeds, or says that it has been done.
#include "interruption.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    using namespace zav::campaign;
    const zav::test::CampaignOptions options =
        zav::test::campaign_options(argc, argv, interruptions_per_processor);
    try {
        const auto recordings = record_actions(options);
        std::vector<Disturbance> all;
        for (const auto& [action, recording] : recordings) {
            for (const SystemCall& call : recording.distinct_calls()) {
                if (call.changes_something()) {
                    all.push_back({action, call.name, call.number, "signal=KILL"});
                }
            }
        }
        return zav::test::status_of({run_interruptions(
            options, "kills", "SIGKILL before a call that changes something", recordings, all)});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kills: %s\n", error.what());
        return 1;
    }
}

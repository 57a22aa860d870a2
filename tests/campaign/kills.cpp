// SPDX-License-Identifier: MIT
// campaign_kills [--sample | ACTION]: SIGKILL right before each call that changes something, or
// starts a command, of every changing action. Afterwards each file is the old or the new one, or
// its journal is there, and the same action succeeds, or says that it has been done.
#include "interruption.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    using namespace zav::campaign;
    constexpr size_t sample = 20;
    const Arguments arguments = parsed_arguments(argc, argv);
    Figure figure = {"kill", "SIGKILL before a call that changes something"};
    try {
        const auto recordings = record_actions(arguments);
        std::vector<Disturbance> all;
        for (const auto& [action, recording] : recordings) {
            for (const SystemCall& call : recording.distinct_calls()) {
                if (call.changes_something()) {
                    all.push_back({action, call.name, call.number, "signal=KILL"});
                }
            }
        }
        for (const Disturbance& how : arguments.is_sample ? sampled(all, sample) : all) {
            figure.count(Interruption(recordings.at(how.action), how).check(), how.described());
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kills: %s\n", error.what());
        return 1;
    }
    return print({figure});
}

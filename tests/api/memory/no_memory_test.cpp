// SPDX-License-Identifier: MIT
// A snapshot when memory runs out, at many an allocation: it fails with a code of its own, or tells
// what could not be read, and no exception comes out of it.
#include "api/snapshot_machine.h"
#include "fixtures/failing_allocations.h"

namespace zav::test {
namespace {

// Takes a snapshot with room for so many allocations. What came of it: 'm' no memory, 'p' in parts,
// 'a' all of it, and '!' for anything else.
char outcome_with(long allocations) {
    zav_ctx* ctx = zav_ctx_new();
    zav_ctx_set_log(ctx, ZAV_LOG_NOWHERE, nullptr, nullptr);
    zav_error error;
    allocations_left = allocations;
    zav_snapshot* snapshot = zav_snapshot_take(ctx, ZAV_ALL & ~(ZAV_SMART | ZAV_SERVICES), &error);
    allocations_left = never;
    std::size_t failures = 0;
    zav_snapshot_failures(snapshot, &failures);
    const char outcome = snapshot == nullptr    ? (error.code == ZAV_E_NO_MEMORY ? 'm' : '!')
                         : error.code != ZAV_OK ? '!'
                         : failures != 0        ? 'p'
                                                : 'a';
    zav_snapshot_free(snapshot);
    zav_ctx_free(ctx);
    return outcome;
}

TEST(SnapshotWithoutMemory, FailsWithACode) {
    SnapshotMachine machine;
    const Result run = machine.call(
        [] {
            // Each of the first ones, then some of the many that lists and texts take.
            long step = 1;
            for (long allocations = 0;; allocations += step) {
                const char outcome = outcome_with(allocations);
                std::putchar(outcome);
                if (outcome == 'a') {
                    return;
                }
                step = allocations < 12 ? 1 : 97;
            }
        },
        {.time_limit = std::chrono::seconds(100)});
    EXPECT_THAT(run.out, testing::MatchesRegex("m+[mp]*a"));
    EXPECT_THAT(machine.tmp(), testing::IsEmpty());
}

} // namespace
} // namespace zav::test

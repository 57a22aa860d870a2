// SPDX-License-Identifier: MIT
// Contexts: what they refuse, and that each has settings of its own.
#include "api/snapshot_machine.h"

namespace zav::test {
namespace {

void count_line(void* user, zav_severity, const char*) {
    ++*static_cast<int*>(user);
}

TEST(Contexts, RefuseWhatIsNoSetting) {
    zav_ctx* ctx = zav_ctx_new();
    EXPECT_EQ(zav_ctx_set_log(nullptr, ZAV_LOG_FILE, nullptr, nullptr), ZAV_E_INVALID_ARGUMENT);
    EXPECT_EQ(zav_ctx_set_log(ctx, ZAV_LOG_CALLBACK, nullptr, nullptr), ZAV_E_INVALID_ARGUMENT);
    EXPECT_EQ(zav_ctx_set_log(ctx, 4, count_line, nullptr), ZAV_E_INVALID_ARGUMENT);
    EXPECT_EQ(zav_ctx_set_log(ctx, ZAV_LOG_NOWHERE, nullptr, nullptr), ZAV_OK);
    EXPECT_EQ(zav_ctx_set_command_time_limit(nullptr, 5), ZAV_E_INVALID_ARGUMENT);
    EXPECT_EQ(zav_ctx_set_command_time_limit(ctx, 5), ZAV_OK);
    EXPECT_EQ(zav_ctx_set_progress(nullptr, nullptr, nullptr), ZAV_E_INVALID_ARGUMENT);
    EXPECT_EQ(zav_ctx_set_progress(ctx, nullptr, nullptr), ZAV_OK);
    zav_ctx_free(ctx);
}

TEST(Contexts, HaveSettingsOfTheirOwn) {
    SnapshotMachine machine;
    machine.remove("/etc/hostname");
    const Result run = machine.operation([] {
        int lines = 0;
        zav_ctx* told = zav_ctx_new();
        zav_ctx* silent = zav_ctx_new();
        zav_ctx* usual = zav_ctx_new();
        zav_ctx_set_log(told, ZAV_LOG_CALLBACK, count_line, &lines);
        zav_ctx_set_log(silent, ZAV_LOG_NOWHERE, nullptr, nullptr);
        for (zav_ctx* ctx : {told, silent, usual, told}) {
            zav_snapshot_free(zav_snapshot_take(ctx, ZAV_HEALTH, nullptr));
            zav_ctx_free(ctx == told && lines < 2 ? nullptr : ctx);
        }
        return lines;
    });
    EXPECT_EQ(run.returned, 2);
    EXPECT_EQ(machine.log().size(), 1U);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

} // namespace
} // namespace zav::test

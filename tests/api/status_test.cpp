// SPDX-License-Identifier: MIT
// The status functions have two names each: what one does, the other does.
#include "api/snapshot_machine.h"
#include "zav/status.h"

#include <array>
#include <cstdio>
#include <vector>

namespace zav::test {
namespace {

template <class... Arguments>
struct Twins {
    const char* name;
    int (*older)(Arguments...);
    int (*newer)(Arguments...);
};

int fans(char* buffer, size_t) {
    return fan_speed_get(buffer);
}

int zav_fans(char* buffer, size_t) {
    return zav_fan_speed_get(buffer);
}

const std::vector<Twins<char*, size_t>> texts = {
    {"host name", hostname_get, zav_hostname_get},
    {"start time", starttime_get, zav_starttime_get},
    {"software version", softversion_get, zav_softversion_get},
    {"hardware version", hardversion_get, zav_hardversion_get},
    {"model", devmodel_get, zav_devmodel_get},
    {"temperature", tmp_get, zav_tmp_get},
    {"fans", fans, zav_fans},
    {"power", pwstate_get, zav_pwstate_get}};

const std::vector<Twins<float*>> percentages = {
    {"memory", get_mem_utility, zav_get_mem_utility},
    {"processor", get_cpu_utility, zav_get_cpu_utility}};

const std::vector<Twins<>> services = {{"samba", samba_status_get, zav_samba_status_get},
                                       {"nfs", nfs_status_get, zav_nfs_status_get},
                                       {"ftp", ftp_status_get, zav_ftp_status_get},
                                       {"iscsi", iscsi_status_get, zav_iscsi_status_get}};

using Text = std::array<char, ZAV_FAN_SPEED_SIZE>;

TEST(Status, HasTheSameTextsUnderBothNames) {
    SnapshotMachine machine;
    machine.operation([] {
        Texts seen;
        for (const auto& twins : texts) {
            Text older = {};
            Text newer = {};
            EXPECT_EQ(twins.older(older.data(), older.size()), 0) << twins.name;
            EXPECT_EQ(twins.newer(newer.data(), newer.size()), 0) << twins.name;
            EXPECT_STREQ(newer.data(), older.data()) << twins.name;
            seen.emplace_back(newer.data());
            EXPECT_EQ(twins.newer(newer.data(), 0), twins.older(older.data(), 0)) << twins.name;
        }
        EXPECT_THAT(seen, testing::Contains("nas"));
        Text time = {};
        EXPECT_EQ(zav_systime_get(time.data(), time.size()), 0);
        EXPECT_EQ(std::string_view(time.data()).size(),
                  std::string_view("2026-11-20 10:00:00").size());
        return 0;
    });
}

TEST(Status, HasTheSameFiguresAndStatesUnderBothNames) {
    SnapshotMachine machine;
    machine.operation([] {
        for (const auto& twins : percentages) {
            float older = -1;
            float newer = -2;
            EXPECT_EQ(twins.newer(&newer), twins.older(&older)) << twins.name;
            EXPECT_EQ(newer, older) << twins.name;
        }
        std::vector<int> states;
        for (const auto& twins : services) {
            states.push_back(twins.newer());
            EXPECT_EQ(states.back(), twins.older()) << twins.name;
        }
        EXPECT_THAT(states, testing::ElementsAre(0, 0, -11000, -11000));
        for (const char* path : {"/etc/hostname", "/nowhere"}) {
            EXPECT_EQ(zav_share_status_get(path), share_status_get(path)) << path;
        }
        return 0;
    });
}

TEST(Status, HasTheSameLimitsUnderBothNames) {
    SnapshotMachine machine;
    machine.file("/etc/vsftpd.conf", "local_max_rate=1\nmax_clients=2\nmax_per_ip=3\n");
    machine.operation([] {
        EXPECT_EQ(zav_ftp_limits_set(-4, 5, 6), ftp_limits_set(-4, 5, 6));
        std::array<unsigned long, 3> limits = {};
        EXPECT_EQ(zav_ftp_limits_get(limits.data(), &limits[1], &limits[2]), 0);
        EXPECT_THAT(limits, testing::ElementsAre(1, 2, 3));
        EXPECT_EQ(zav_ftp_limits_set(4, 5, 6), 0);
        EXPECT_EQ(ftp_limits_get(limits.data(), &limits[1], &limits[2]), 0);
        EXPECT_THAT(limits, testing::ElementsAre(4, 5, 6));
        return 0;
    });
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// Records made by hand: a small machine that is well, whose parts a test then changes.
#pragma once

#include "zav/zav.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zavinfo::test {

inline constexpr std::uint64_t gib = std::uint64_t{1} << 30;

inline zav_disk disk_record(const char* name, std::int32_t channel, std::int32_t array) {
    zav_disk disk = {};
    disk.name = name;
    disk.channel = channel;
    disk.device = "0";
    disk.size_bytes = 100 * gib;
    disk.model = "DISK-2000";
    disk.state = ZAV_DISK_RUNNING;
    disk.state_text = "running";
    disk.is_used = array != ZAV_NONE ? 1 : 0;
    disk.array = array;
    disk.smart = ZAV_VERDICT_PASSED;
    disk.serial = "S1";
    disk.firmware = "F1";
    disk.temperature_c = 33;
    return disk;
}

inline zav_share share_record(const char* name, zav_service_kind service,
                              zav_share_state state = ZAV_SHARE_SERVED) {
    zav_share share = {};
    share.name = name;
    share.service = service;
    share.service_text = zav_service_name(service);
    share.state = state;
    share.path = "/mnt/data/films";
    share.comment = "";
    share.users = "";
    share.is_mounted = 1;
    share.filesystem = 0;
    share.pool = 0;
    return share;
}

// sda and sdb in md0 (RAID 1) below group "data" with pool and file system "films", which carries
// the Samba share "films". sdc is a hot spare.
struct Records {
    static constexpr std::array<std::uint32_t, 2> first_two = {0, 1};

    std::vector<zav_member> members = {{"sda", 0, ZAV_MEMBER_ACTIVE, 0},
                                       {"sdb", 1, ZAV_MEMBER_ACTIVE, 1}};
    std::vector<zav_volume> volumes = {{"md0", 0, ZAV_NONE, 100 * gib, 40 * gib}};
    std::vector<zav_smart_attribute> attributes = {{"Spin_Up_Time", 97, 96, 5, 12, "-"}};

    std::vector<zav_disk> disks = {disk_record("sda", 1, 0), disk_record("sdb", 2, 0),
                                   disk_record("sdc", 3, ZAV_NONE)};
    std::vector<zav_array> arrays = {
        {"md0", "raid1", ZAV_ARRAY_CLEAN, "clean", 100 * gib, "0", nullptr, 0, {0, 0.0, -1}, 0}};
    std::vector<zav_group> groups = {
        {"data", "resizable", "0", 100 * gib, 40 * gib, nullptr, 0, {first_two.data(), 1}}};
    std::vector<zav_pool> pools = {
        {"films", "/dev/data/films", 0, 40 * gib, 1, 0, {first_two.data(), 1}}};
    std::vector<zav_filesystem> filesystems = {{0,
                                                "/dev/data/films",
                                                0,
                                                "/mnt/data/films",
                                                "xfs",
                                                ZAV_FILESYSTEM_AVAILABLE,
                                                40 * gib,
                                                10 * gib,
                                                {first_two.data(), 1}}};
    std::vector<zav_share> shares = {share_record("films", ZAV_SERVICE_SAMBA)};
    std::vector<zav_service> services = {{ZAV_SERVICE_SAMBA, "samba", ZAV_RUNNING},
                                         {ZAV_SERVICE_NFS, "nfs", ZAV_STOPPED}};
    std::vector<zav_failure> failures = {};
    zav_health health = {
        "nas",    "KOR7206H", "1.0.0", "1.0", "2026-11-20 10:00", "41", 41, "fan1:2400,fan2:2380",
        "normal", 50.0,       20.0};

    Records() {
        disks[2].is_hotspare = 1;
        shares[0].disks = {first_two.data(), 2};
    }

    // With the first array, group and disk pointing to what they have here.
    zav::View view() {
        if (!arrays.empty()) {
            arrays[0].members = members.data();
            arrays[0].member_count = members.size();
        }
        if (!groups.empty()) {
            groups[0].volumes = volumes.data();
            groups[0].volume_count = volumes.size();
        }
        if (!disks.empty()) {
            disks[0].attributes = attributes.data();
            disks[0].attribute_count = attributes.size();
        }
        return {disks, arrays, groups, pools, filesystems, shares, services, failures, &health};
    }
};

// One record more of each kind for each state that it can have, with names that try every escape.
inline Records every_state() {
    Records records;
    static constexpr const char* odd = "o\"dd \\ | = \n\x1b[31m \xff '";
    for (int state = ZAV_DISK_UNKNOWN; state <= ZAV_DISK_OTHER; ++state) {
        zav_disk disk = disk_record("", 4 + state, ZAV_NONE);
        disk.state = static_cast<zav_disk_state>(state);
        disk.smart = static_cast<zav_verdict>(state % 3);
        disk.temperature_c = ZAV_UNKNOWN;
        disk.model = odd;
        records.disks.push_back(disk);
    }
    for (int state = ZAV_ARRAY_UNKNOWN; state <= ZAV_ARRAY_INACTIVE; ++state) {
        records.arrays.push_back({odd,
                                  "",
                                  static_cast<zav_array_state>(state),
                                  "",
                                  gib,
                                  "",
                                  nullptr,
                                  0,
                                  {state % 2, 0.126, state - 1},
                                  ZAV_NONE});
    }
    for (int state = ZAV_MEMBER_UNKNOWN; state <= ZAV_MEMBER_MISSING; ++state) {
        records.members.push_back(
            {"", ZAV_NONE, static_cast<zav_member_state>(state), ZAV_UNKNOWN});
    }
    for (int state = ZAV_FILESYSTEM_AVAILABLE; state <= ZAV_FILESYSTEM_UNUSABLE; ++state) {
        for (const int is_netdisk : {0, 1}) {
            records.filesystems.push_back({is_netdisk,
                                           odd,
                                           ZAV_NONE,
                                           "/mnt/x",
                                           "",
                                           static_cast<zav_filesystem_state>(state),
                                           0,
                                           0,
                                           {}});
        }
    }
    for (int state = ZAV_SHARE_SERVED; state <= ZAV_SHARE_NOT_REGISTERED; ++state) {
        zav_share share = share_record(odd, ZAV_SERVICE_NFS, static_cast<zav_share_state>(state));
        share.service_text = state == ZAV_SHARE_FORBIDDEN ? "" : "nfs,iSCSI";
        share.comment = odd;
        share.users = "anna, bert";
        share.pool = share.filesystem = ZAV_NONE;
        records.shares.push_back(share);
    }
    records.services.push_back({ZAV_SERVICE_FTP, "ftp", ZAV_RUNNING_UNKNOWN});
    records.services.push_back({ZAV_SERVICE_MANAGEMENT, "management", ZAV_RUNNING});
    records.failures.push_back({"pools", odd, ZAV_E_POOL_OUTPUT_UNREAD, "not to be read"});
    records.health = {"", "", "", "", "", "", ZAV_UNKNOWN, "fan1:x,fan", "", -1.0, -1.0};
    return records;
}

} // namespace zavinfo::test

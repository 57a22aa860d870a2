// SPDX-License-Identifier: MIT
#include "machines.h"

#include <array>

namespace zavinfo::test {

MadeMachine::MadeMachine() {
    health_ = {
        "nas",    "KOR7206H", "1.4.2", "2.0", "2026-11-20 10:00", "41", 41, "fan1:2400,fan2:2380",
        "normal", 48.0,       12.0};
}

zav_disk& MadeMachine::disk(int channel, const std::string& name) {
    zav_disk disk = {};
    disk.name = keep(name);
    disk.channel = channel;
    disk.device = "0";
    disk.size_bytes = 4 * tib;
    disk.model = "DISK-4000";
    disk.state = ZAV_DISK_RUNNING;
    disk.state_text = "running";
    disk.array = ZAV_NONE;
    disk.smart = ZAV_VERDICT_PASSED;
    disk.serial = keep("S1D" + std::to_string(1000 + channel));
    disk.firmware = "F2";
    disk.temperature_c = 33 + channel % 4;
    return disks_.emplace_back(disk);
}

zav_array& MadeMachine::array(const std::string& name, const std::string& level,
                              const std::vector<int>& disks, zav_array_state state) {
    std::vector<zav_member>& members = members_.emplace_back();
    for (const int index : disks) {
        zav_disk& disk = disks_[static_cast<std::size_t>(index)];
        members.push_back(
            {disk.name, index, ZAV_MEMBER_ACTIVE, static_cast<std::int32_t>(members.size())});
        disk.array = static_cast<std::int32_t>(arrays_.size());
        disk.is_used = 1;
    }
    zav_array array = {};
    array.name = keep(name);
    array.level = keep(level);
    array.state = state;
    array.state_text = zav_array_state_name(state);
    array.size_bytes = 4 * tib;
    array.device = "0";
    array.rebuild.seconds_left = -1;
    array.group = ZAV_NONE;
    return arrays_.emplace_back(array);
}

void MadeMachine::member(std::size_t array, std::size_t at, zav_member_state state) {
    zav_member& member = members_[array][at];
    member.state = state;
    if (state == ZAV_MEMBER_MISSING) {
        member.disk = ZAV_NONE;
        member.name = "";
    }
}

void MadeMachine::group(const std::string& name, const std::vector<int>& arrays,
                        std::uint64_t size) {
    std::vector<zav_volume>& volumes = volumes_.emplace_back();
    for (const int index : arrays) {
        zav_array& array = arrays_[static_cast<std::size_t>(index)];
        array.group = static_cast<std::int32_t>(groups_.size());
        volumes.push_back({array.name, index, ZAV_NONE, size / arrays.size(), 0});
    }
    groups_.push_back({keep(name), "resizable", "0", size, 0, nullptr, 0, {}});
}

void MadeMachine::pool(const std::string& name, std::uint64_t size, double used) {
    const auto index = static_cast<std::int32_t>(pools_.size());
    zav_group& group = groups_.back();
    const std::string place = std::string(group.name) + "/" + name;
    group.used_bytes += size;
    const bool has_filesystem = used >= 0;
    const auto filesystem = static_cast<std::int32_t>(filesystems_.size());
    pools_.push_back({keep(name),
                      keep("/dev/" + place),
                      static_cast<std::int32_t>(groups_.size() - 1),
                      size,
                      1,
                      has_filesystem ? filesystem : ZAV_NONE,
                      {}});
    if (has_filesystem) {
        filesystems_.push_back({0,
                                pools_.back().path,
                                index,
                                keep("/mnt/" + place),
                                "xfs",
                                ZAV_FILESYSTEM_AVAILABLE,
                                size,
                                static_cast<std::uint64_t>(used * static_cast<double>(size)),
                                {}});
    }
}

zav_filesystem& MadeMachine::filesystem() {
    return filesystems_.back();
}

void MadeMachine::netdisk(const std::string& label, std::uint64_t size, double used) {
    netdisks_.push_back({1,
                         keep(label),
                         ZAV_NONE,
                         keep("/mnt/netdisk/" + label),
                         "xfs",
                         ZAV_FILESYSTEM_AVAILABLE,
                         size,
                         static_cast<std::uint64_t>(used * static_cast<double>(size)),
                         {}});
}

zav_share& MadeMachine::share(const std::string& name, zav_service_kind service,
                              zav_share_state state) {
    const zav_pool& pool = pools_.back();
    zav_share share = {};
    share.name = keep(name);
    share.service = state == ZAV_SHARE_FORBIDDEN ? ZAV_SERVICE_NONE : service;
    share.service_text = state == ZAV_SHARE_FORBIDDEN ? "" : zav_service_name(service);
    share.state = state;
    share.path = pool.filesystem == ZAV_NONE ? pool.path : filesystems_.back().mount_point;
    share.comment = "";
    share.users = "";
    share.is_mounted = 1;
    share.filesystem = pool.filesystem;
    share.pool = static_cast<std::int32_t>(pools_.size() - 1);
    return shares_.emplace_back(share);
}

void MadeMachine::service(zav_service_kind kind, zav_running running) {
    services_.push_back({kind, zav_service_name(kind), running});
}

void MadeMachine::failure(const char* part, int code) {
    failures_.push_back({part, "", code, zav_strerror(code)});
}

void MadeMachine::forget_health() {
    health_ = {"", "", "", "", "", "", ZAV_UNKNOWN, "", "", -1.0, -1.0};
}

zav_links MadeMachine::links(const std::vector<std::uint32_t>& indices) {
    const std::vector<std::uint32_t>& list = lists_.emplace_back(indices);
    return {list.data(), list.size()};
}

zav::View MadeMachine::view() {
    filesystems_.insert(filesystems_.end(), netdisks_.begin(), netdisks_.end());
    netdisks_.clear();
    std::vector<std::vector<std::uint32_t>> of_groups(groups_.size());
    std::vector<std::vector<std::uint32_t>> of_pools(pools_.size());
    std::vector<std::vector<std::uint32_t>> of_filesystems(filesystems_.size());
    for (std::uint32_t at = 0; at < pools_.size(); ++at) {
        of_groups[static_cast<std::size_t>(pools_[at].group)].push_back(at);
    }
    for (std::uint32_t at = 0; at < shares_.size(); ++at) {
        if (shares_[at].pool != ZAV_NONE) {
            of_pools[static_cast<std::size_t>(shares_[at].pool)].push_back(at);
        }
        if (shares_[at].filesystem != ZAV_NONE) {
            of_filesystems[static_cast<std::size_t>(shares_[at].filesystem)].push_back(at);
        }
    }
    for (std::size_t at = 0; at < arrays_.size(); ++at) {
        arrays_[at].members = members_[at].data();
        arrays_[at].member_count = members_[at].size();
    }
    for (std::size_t at = 0; at < groups_.size(); ++at) {
        groups_[at].volumes = volumes_[at].data();
        groups_[at].volume_count = volumes_[at].size();
        groups_[at].pools = links(of_groups[at]);
    }
    for (std::size_t at = 0; at < pools_.size(); ++at) {
        pools_[at].shares = links(of_pools[at]);
    }
    for (std::size_t at = 0; at < filesystems_.size(); ++at) {
        filesystems_[at].shares = links(of_filesystems[at]);
    }
    std::vector<std::vector<std::uint32_t>> disks_of_groups(groups_.size());
    for (std::uint32_t at = 0; at < disks_.size(); ++at) {
        const zav_array* array = zav::follow(std::span<const zav_array>(arrays_), disks_[at].array);
        if (array != nullptr && array->group != ZAV_NONE) {
            disks_[at].groups = links({static_cast<std::uint32_t>(array->group)});
            disks_of_groups[static_cast<std::size_t>(array->group)].push_back(at);
        }
    }
    for (zav_share& share : shares_) {
        if (share.pool != ZAV_NONE) {
            const zav_pool& pool = pools_[static_cast<std::size_t>(share.pool)];
            share.disks = links(disks_of_groups[static_cast<std::size_t>(pool.group)]);
        }
    }
    return {disks_,  arrays_,   groups_,   pools_,  filesystems_,
            shares_, services_, failures_, &health_};
}

namespace {

void add_services(MadeMachine& machine) {
    for (const zav_service_kind kind : {ZAV_SERVICE_SAMBA, ZAV_SERVICE_NFS, ZAV_SERVICE_FTP,
                                        ZAV_SERVICE_ISCSI, ZAV_SERVICE_MANAGEMENT}) {
        machine.service(kind, ZAV_RUNNING);
    }
}

void add_disks(MadeMachine& machine, int count) {
    for (int at = 0; at < count; ++at) {
        machine.disk(at + 1, std::string("sd") + static_cast<char>('a' + at));
    }
}

// Eight bays: a RAID 5 of four, a mirror, a hot spare, and one that is free.
MadeMachine storage() {
    constexpr std::uint64_t tib = MadeMachine::tib;
    MadeMachine machine;
    add_disks(machine, 8);
    machine.disk_at(6).is_hotspare = 1;
    machine.array("md0", "raid5", {0, 1, 2, 3}).size_bytes = 12 * tib;
    machine.array("md1", "raid1", {4, 5});
    machine.group("data", {0}, 12 * tib);
    machine.pool("films", 6 * tib, 0.62);
    machine.share("films", ZAV_SERVICE_SAMBA).comment = "All films";
    machine.share("archive", ZAV_SERVICE_NFS).users = "10.0.0.0/8";
    machine.pool("music", 2 * tib, 0.35);
    machine.share("music", ZAV_SERVICE_SAMBA).users = "anna,bert";
    machine.pool("disk1", tib, -1);
    machine.share("disk1", ZAV_SERVICE_ISCSI).users = "anna";
    machine.group("office", {1}, 4 * tib);
    machine.pool("letters", tib, 0.18);
    machine.share("letters", ZAV_SERVICE_SAMBA).users = "anna";
    machine.pool("guest", tib / 2, 0.07);
    machine.share("guest", ZAV_SERVICE_FTP).is_read_only = 1;
    machine.share("old", ZAV_SERVICE_SAMBA, ZAV_SHARE_FORBIDDEN);
    machine.netdisk("usb", 2 * tib, 0.41);
    return machine;
}

} // namespace

MadeMachine healthy_machine() {
    MadeMachine machine = storage();
    add_services(machine);
    return machine;
}

std::vector<LoggedError> errors_of_log() {
    return last_errors(
        "Nov 22 03:14:07 0.1.2 ERROR zavbox[812]:system(\"/usr/local/bin/diskformat /dev/sdh\") "
        "return normal with exit(127) for 'Success'\n"
        "\n"
        "Nov 22 03:15:40 0.1.2 ERROR zavbox[815]:system(\"/sbin/mkfs.xfs -f -ssize=4k "
        "/dev/office/letters > /dev/null\") return normal with exit(1) for 'Success'\n"
        "Nov 22 03:15:40 0.1.2 ERROR zavbox[815]:fs_create[41]: return with -603\n",
        10);
}

MadeMachine empty_machine() {
    MadeMachine machine;
    add_disks(machine, 4);
    add_services(machine);
    return machine;
}

MadeMachine bare_machine() {
    MadeMachine machine;
    machine.forget_health();
    return machine;
}

MadeMachine large_machine() {
    MadeMachine machine;
    constexpr int disks = 16;
    constexpr int pools_of_group = 4;
    constexpr int shares = 1000;
    int made = 0;
    add_disks(machine, disks);
    for (int at = 0; at < disks; ++at) {
        const std::string number = std::to_string(at);
        machine.array("md" + number, "linear", {at});
        machine.group("group" + number, {at}, 4 * MadeMachine::tib);
        for (int pool = 0; pool < pools_of_group; ++pool) {
            machine.pool("pool" + number + "_" + std::to_string(pool), MadeMachine::tib, 0.5);
            for (; made < shares * (at * pools_of_group + pool + 1) / (disks * pools_of_group);
                 ++made) {
                machine.share("share" + std::to_string(made), ZAV_SERVICE_SAMBA);
            }
        }
    }
    add_services(machine);
    return machine;
}

} // namespace zavinfo::test

// SPDX-License-Identifier: MIT
// The services, the appliance's health, and the links that lead back.
#include "api/snapshot.h"
#include "base/text.h"
#include "zav/service_state.h"
#include "zav/system_status.h"

#include <array>
#include <set>

namespace zav {

namespace {

struct Probe {
    zav_service_kind kind;
    int (*probe)();
};

constexpr std::array<Probe, 5> probes = {{{ZAV_SERVICE_SAMBA, samba_status_get},
                                          {ZAV_SERVICE_NFS, nfs_status_get},
                                          {ZAV_SERVICE_FTP, ftp_status_get},
                                          {ZAV_SERVICE_ISCSI, iscsi_status_get},
                                          {ZAV_SERVICE_MANAGEMENT, zav_status_get}}};

/// What a getter of the status interface tells; empty when it fails.
template <class Getter>
const char* text_of(SnapshotWork& work, Getter getter) {
    std::array<char, ZAV_FAN_SPEED_SIZE> text = {};
    return getter(text.data(), text.size()) == 0 ? work.keep(text.data()) : "";
}

int get_fans(char* buffer, std::size_t) {
    return fan_speed_get(buffer);
}

double percentage(int (*getter)(float*)) {
    constexpr double not_known = -1.0;
    float percent = 0;
    return getter(&percent) == 0 ? static_cast<double>(percent) : not_known;
}

/// The number that a temperature begins with.
std::int32_t degrees(std::string_view text) {
    text = trim(text);
    const bool is_negative = text.starts_with('-');
    text.remove_prefix(is_negative ? 1 : 0);
    constexpr int most = 1000;
    if (text.empty() || !is_digit(text.front()) || decimal_int(text) > most) {
        return ZAV_UNKNOWN;
    }
    return is_negative ? -decimal_int(text) : decimal_int(text);
}

std::size_t place(std::int32_t index) {
    return static_cast<std::size_t>(index);
}

void link_disks_of_groups(SnapshotWork& work, std::vector<std::set<std::uint32_t>>& groups) {
    const zav_snapshot& snapshot = work.snapshot;
    for (std::size_t at = 0; at < snapshot.groups.size(); ++at) {
        const zav_group& group = snapshot.groups[at];
        for (std::size_t i = 0; i < group.volume_count; ++i) {
            const zav_volume& volume = group.volumes[i];
            if (volume.disk != ZAV_NONE) {
                groups[place(volume.disk)].insert(static_cast<std::uint32_t>(at));
            }
            for (std::size_t disk = 0; disk < snapshot.disks.size(); ++disk) {
                if (volume.array != ZAV_NONE && snapshot.disks[disk].array == volume.array) {
                    groups[disk].insert(static_cast<std::uint32_t>(at));
                }
            }
        }
    }
}

/// Disks that are mounted by themselves, such as network disks.
void mark_mounted(SnapshotWork& work) {
    for (const Mount& mount : work.mounts) {
        const auto name = name_in_dev(mount.device);
        const std::int32_t disk = name ? find(work.disks, whole_disk_name(*name)) : ZAV_NONE;
        if (disk != ZAV_NONE) {
            work.snapshot.disks[place(disk)].is_used = 1;
        }
    }
}

} // namespace

void add_services(SnapshotWork& work) {
    for (const Probe& service : probes) {
        const int result = service.probe();
        const std::size_t known_failures = work.snapshot.failures.size();
        work.end_part("services", Code::ok);
        // That it does not run is an answer, which is told without a failure.
        const bool is_told = work.snapshot.failures.size() == known_failures;
        work.snapshot.services.push_back({service.kind, zav_service_name(service.kind),
                                          result == 0 ? ZAV_RUNNING
                                          : is_told   ? ZAV_STOPPED
                                                      : ZAV_RUNNING_UNKNOWN});
    }
}

void add_health(SnapshotWork& work) {
    zav_health& health = work.snapshot.health.emplace();
    health.host_name = text_of(work, hostname_get);
    health.model = text_of(work, devmodel_get);
    health.software_version = text_of(work, softversion_get);
    health.hardware_version = text_of(work, hardversion_get);
    health.start_time = text_of(work, starttime_get);
    health.temperature_text = text_of(work, tmp_get);
    health.temperature_c = degrees(health.temperature_text);
    health.fans = text_of(work, get_fans);
    health.power = text_of(work, pwstate_get);
    health.memory_percent = percentage(get_mem_utility);
    health.processor_percent = percentage(get_cpu_utility);
    work.end_part("health", Code::ok);
}

void link_back(SnapshotWork& work) {
    zav_snapshot& snapshot = work.snapshot;
    std::vector<Links> pools(snapshot.groups.size());
    std::vector<Links> shares_on_pools(snapshot.pools.size());
    std::vector<Links> shares_on_filesystems(snapshot.filesystems.size());
    std::vector<std::set<std::uint32_t>> groups(snapshot.disks.size());
    for (std::size_t at = 0; at < snapshot.pools.size(); ++at) {
        if (snapshot.pools[at].group != ZAV_NONE) {
            pools[place(snapshot.pools[at].group)].push_back(static_cast<std::uint32_t>(at));
        }
    }
    for (std::size_t at = 0; at < snapshot.shares.size(); ++at) {
        const zav_share& share = snapshot.shares[at];
        if (share.pool != ZAV_NONE) {
            shares_on_pools[place(share.pool)].push_back(static_cast<std::uint32_t>(at));
        }
        if (share.filesystem != ZAV_NONE) {
            shares_on_filesystems[place(share.filesystem)].push_back(
                static_cast<std::uint32_t>(at));
        }
    }
    link_disks_of_groups(work, groups);
    for (std::size_t at = 0; at < snapshot.groups.size(); ++at) {
        snapshot.groups[at].pools = work.keep(std::move(pools[at]));
    }
    for (std::size_t at = 0; at < snapshot.pools.size(); ++at) {
        snapshot.pools[at].shares = work.keep(std::move(shares_on_pools[at]));
    }
    for (std::size_t at = 0; at < snapshot.filesystems.size(); ++at) {
        snapshot.filesystems[at].shares = work.keep(std::move(shares_on_filesystems[at]));
    }
    for (std::size_t at = 0; at < snapshot.disks.size(); ++at) {
        zav_disk& disk = snapshot.disks[at];
        disk.is_used = disk.array != ZAV_NONE || !groups[at].empty() ? 1 : 0;
        disk.groups = work.keep(Links(groups[at].begin(), groups[at].end()));
    }
    mark_mounted(work);
}

} // namespace zav

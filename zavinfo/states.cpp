// SPDX-License-Identifier: MIT
#include "zavinfo/states.h"

#include "zavinfo/names.h"
#include "zavinfo/text.h"

#include <optional>

namespace zavinfo {

namespace {

/// Of a disk that its array has no part on, or not yet.
std::optional<State> state_in_arrays(const zav::View& view, const zav_disk& disk) {
    for (const zav_array& array : view.arrays) {
        for (const zav_member& member : zav::members(array)) {
            if (zav::follow(view.disks, member.disk) != &disk) {
                continue;
            }
            if (member.state == ZAV_MEMBER_FAULTY) {
                return State{Mark::bad, "failed in " + plain(array.name)};
            }
            if (member.state == ZAV_MEMBER_REBUILDING) {
                return State{Mark::doubtful, "being rebuilt"};
            }
        }
    }
    return std::nullopt;
}

} // namespace

State state_of(const zav::View& view, const zav_disk& disk) {
    if (disk.state == ZAV_DISK_OFFLINE) {
        return {Mark::bad, "offline"};
    }
    if (const auto state = state_in_arrays(view, disk)) {
        return *state;
    }
    if (disk.smart == ZAV_VERDICT_FAILED) {
        return {Mark::bad, "expects to fail"};
    }
    if (disk.state != ZAV_DISK_RUNNING) {
        return {Mark::unknown,
                disk.state == ZAV_DISK_OTHER ? plain(disk.state_text) : "state not known"};
    }
    if (disk.is_hotspare != 0) {
        return {Mark::idle, "hot spare"};
    }
    return disk.is_used != 0 ? State{Mark::good, "running"} : State{Mark::idle, "not in use"};
}

State state_of(const zav_array& array) {
    switch (array.state) {
    case ZAV_ARRAY_CLEAN:
        return {Mark::good, "complete"};
    case ZAV_ARRAY_DEGRADED:
        return {Mark::bad, "degraded"};
    case ZAV_ARRAY_REBUILDING: {
        constexpr double hundred = 100;
        return {Mark::doubtful,
                array.rebuild.is_running != 0
                    ? "rebuilding, " + rounded_text(array.rebuild.done * hundred, 0) + " %"
                    : "rebuilding"};
    }
    case ZAV_ARRAY_INACTIVE:
        return {Mark::bad, "lost"};
    default:
        return {Mark::unknown, "state not known"};
    }
}

State state_of(const zav_pool& pool) {
    return pool.is_available != 0 ? State{Mark::good, "on"} : State{Mark::bad, "switched off"};
}

State state_of(const zav_filesystem& filesystem, const Limits& limits) {
    if (filesystem.state == ZAV_FILESYSTEM_UNMOUNTED) {
        return {Mark::bad, "not mounted"};
    }
    if (filesystem.state == ZAV_FILESYSTEM_UNUSABLE) {
        return {Mark::bad, "cannot be used"};
    }
    if (filesystem.size_bytes == 0) {
        return {Mark::good, "mounted"};
    }
    const double percent = percent_of(filesystem.used_bytes, filesystem.size_bytes);
    return {percent >= limits.critical  ? Mark::bad
            : percent >= limits.warning ? Mark::doubtful
                                        : Mark::good,
            rounded_text(percent, 0) + " % full"};
}

State state_of(const zav::View& view, const zav_share& share) {
    if (share.state == ZAV_SHARE_FORBIDDEN) {
        return {Mark::idle, "forbidden"};
    }
    if (share.state == ZAV_SHARE_NOT_SERVED) {
        return {Mark::bad, "not served"};
    }
    if (share.state == ZAV_SHARE_NOT_REGISTERED) {
        return {Mark::doubtful, "not registered"};
    }
    return is_reachable(view, share) ? State{Mark::good, "served"}
           : share.is_mounted == 0   ? State{Mark::bad, "not mounted"}
                                     : State{Mark::bad, "service stopped"};
}

State state_of(const zav_service& service) {
    return service.running == ZAV_RUNNING   ? State{Mark::good, "running"}
           : service.running == ZAV_STOPPED ? State{Mark::idle, "stopped"}
                                            : State{Mark::unknown, "not known"};
}

State state_of(Severity severity) {
    switch (severity) {
    case Severity::ok:
        return {Mark::good, "well"};
    case Severity::unknown:
        return {Mark::unknown, "not known"};
    case Severity::warning:
        return {Mark::doubtful, "warning"};
    case Severity::critical:
        break;
    }
    return {Mark::bad, "critical"};
}

std::string bay_text(const zav_disk& disk) {
    const std::string_view device = disk.device;
    const std::string bay = "bay " + std::to_string(disk.channel);
    return device == "0" || device.empty() ? bay : bay + " of device " + plain(device);
}

} // namespace zavinfo

// SPDX-License-Identifier: MIT
#include "zavinfo/metrics.h"

#include "zavinfo/metric_family.h"
#include "zavinfo/names.h"
#include "zavinfo/text.h"

#include <array>
#include <map>

namespace zavinfo {

namespace {

/// Writes all states of a record, of which one is 1.
template <class State, std::size_t Count>
void add_states(MetricFamily& family, const Labels& labels, const std::array<State, Count>& states,
                State current) {
    for (const State state : states) {
        Labels all = labels;
        all.push_back({"state", std::string(zav::name(state))});
        family.add(all, state == current);
    }
}

Labels labels_of(const zav_disk& disk) {
    return {
        {"disk", id_of(disk)}, {"device", disk.device}, {"channel", std::to_string(disk.channel)}};
}

Labels labels_of(const zav_filesystem& filesystem) {
    return {{"filesystem", filesystem.name},
            {"mount_point", filesystem.mount_point},
            {"kind", filesystem.is_netdisk != 0 ? "netdisk" : "pool"}};
}

void add_disk_states(std::string& out, const zav::View& view) {
    constexpr std::array states = {ZAV_DISK_UNKNOWN, ZAV_DISK_RUNNING, ZAV_DISK_OFFLINE,
                                   ZAV_DISK_OTHER};
    MetricFamily family(out, "zav_disk_state", "", "1 for the state that the disk is in.");
    for (const zav_disk& disk : view.disks) {
        add_states(family, labels_of(disk), states, disk.state);
    }
    MetricFamily spares(out, "zav_disk_hotspare", "", "1 for a global hot spare.");
    for (const zav_disk& disk : view.disks) {
        spares.add(labels_of(disk), disk.is_hotspare != 0);
    }
    MetricFamily used(out, "zav_disk_used", "",
                      "1 for a disk in an array, a group or a mounted file system.");
    for (const zav_disk& disk : view.disks) {
        used.add(labels_of(disk), disk.is_used != 0);
    }
}

void add_disk_sizes(std::string& out, const zav::View& view) {
    MetricFamily family(out, "zav_disk_size_bytes", "bytes", "Size of the disk.");
    for (const zav_disk& disk : view.disks) {
        if (disk.size_bytes != 0) {
            family.add(labels_of(disk), disk.size_bytes);
        }
    }
}

void add_disk_health(std::string& out, const zav::View& view) {
    MetricFamily verdicts(out, "zav_disk_smart_failed", "",
                          "1 for a disk that expects to fail; absent when it tells nothing.");
    for (const zav_disk& disk : view.disks) {
        if (disk.smart != ZAV_VERDICT_UNKNOWN) {
            verdicts.add(labels_of(disk), disk.smart == ZAV_VERDICT_FAILED);
        }
    }
    MetricFamily degrees(out, "zav_disk_temperature_celsius", "celsius",
                         "Temperature of the disk.");
    for (const zav_disk& disk : view.disks) {
        if (disk.temperature_c != ZAV_UNKNOWN) {
            degrees.add(labels_of(disk), static_cast<double>(disk.temperature_c));
        }
    }
}

/// One of the figures of every attribute of every disk.
void add_attributes(std::string& out, const zav::View& view, std::string_view name,
                    std::uint32_t zav_smart_attribute::*figure, std::string_view help) {
    MetricFamily family(out, name, "", help);
    for (const zav_disk& disk : view.disks) {
        for (const zav_smart_attribute& attribute : zav::attributes(disk)) {
            Labels labels = labels_of(disk);
            labels.push_back({"attribute", attribute.name});
            family.add(labels, std::uint64_t{attribute.*figure});
        }
    }
}

void add_disks(std::string& out, const zav::View& view) {
    add_disk_states(out, view);
    add_disk_sizes(out, view);
    add_disk_health(out, view);
    add_attributes(out, view, "zav_disk_attribute_value", &zav_smart_attribute::value,
                   "SMART attribute, normalised: less is worse.");
    add_attributes(out, view, "zav_disk_attribute_threshold", &zav_smart_attribute::threshold,
                   "Value from which on downwards the attribute has failed.");
    add_attributes(out, view, "zav_disk_attribute_raw", &zav_smart_attribute::raw,
                   "SMART attribute in the unit of the disk's maker.");
}

void add_array_states(std::string& out, const zav::View& view) {
    constexpr std::array states = {ZAV_ARRAY_UNKNOWN, ZAV_ARRAY_CLEAN, ZAV_ARRAY_DEGRADED,
                                   ZAV_ARRAY_REBUILDING, ZAV_ARRAY_INACTIVE};
    MetricFamily family(out, "zav_array_state", "", "1 for the state that the array is in.");
    for (const zav_array& array : view.arrays) {
        add_states(family, {{"array", array.name}, {"level", array.level}}, states, array.state);
    }
    MetricFamily sizes(out, "zav_array_size_bytes", "bytes", "Size of the array.");
    for (const zav_array& array : view.arrays) {
        sizes.add({{"array", array.name}}, array.size_bytes);
    }
}

void add_array_members(std::string& out, const zav::View& view) {
    constexpr std::array states = {ZAV_MEMBER_UNKNOWN, ZAV_MEMBER_ACTIVE,     ZAV_MEMBER_FAULTY,
                                   ZAV_MEMBER_SPARE,   ZAV_MEMBER_REBUILDING, ZAV_MEMBER_MISSING};
    MetricFamily family(out, "zav_array_members", "", "Members of the array that are in a state.");
    for (const zav_array& array : view.arrays) {
        std::map<zav_member_state, std::uint64_t> counts;
        for (const zav_member& member : zav::members(array)) {
            ++counts[member.state];
        }
        for (const zav_member_state state : states) {
            family.add({{"array", array.name}, {"state", std::string(zav::name(state))}},
                       counts[state]);
        }
    }
}

void add_rebuilds(std::string& out, const zav::View& view) {
    MetricFamily done(out, "zav_array_rebuild_done_ratio", "ratio",
                      "How far a rebuild or check that is running has come, from 0 to 1.");
    for (const zav_array& array : view.arrays) {
        if (array.rebuild.is_running != 0) {
            done.add({{"array", array.name}}, array.rebuild.done);
        }
    }
    MetricFamily left(out, "zav_array_rebuild_left_seconds", "seconds",
                      "How long it will take as the kernel estimates.");
    for (const zav_array& array : view.arrays) {
        if (array.rebuild.is_running != 0 && array.rebuild.seconds_left >= 0) {
            left.add({{"array", array.name}},
                     static_cast<std::uint64_t>(array.rebuild.seconds_left));
        }
    }
}

void add_groups(std::string& out, const zav::View& view) {
    MetricFamily sizes(out, "zav_group_size_bytes", "bytes", "Size of the volume group.");
    for (const zav_group& group : view.groups) {
        sizes.add({{"group", group.name}}, group.size_bytes);
    }
    MetricFamily used(out, "zav_group_used_bytes", "bytes", "What pools take of the group.");
    for (const zav_group& group : view.groups) {
        used.add({{"group", group.name}}, group.used_bytes);
    }
}

void add_pools(std::string& out, const zav::View& view) {
    MetricFamily sizes(out, "zav_pool_size_bytes", "bytes", "Size of the pool.");
    for (const zav_pool& pool : view.pools) {
        sizes.add({{"pool", pool.path}}, pool.size_bytes);
    }
    MetricFamily available(out, "zav_pool_available", "", "1 for a pool that is switched on.");
    for (const zav_pool& pool : view.pools) {
        available.add({{"pool", pool.path}}, pool.is_available != 0);
    }
}

void add_filesystems(std::string& out, const zav::View& view) {
    constexpr std::array states = {ZAV_FILESYSTEM_AVAILABLE, ZAV_FILESYSTEM_UNMOUNTED,
                                   ZAV_FILESYSTEM_UNUSABLE};
    MetricFamily family(out, "zav_filesystem_state", "",
                        "1 for the state that the file system is in.");
    for (const zav_filesystem& filesystem : view.filesystems) {
        add_states(family, labels_of(filesystem), states, filesystem.state);
    }
    MetricFamily sizes(out, "zav_filesystem_size_bytes", "bytes", "Size of the file system.");
    for (const zav_filesystem& filesystem : view.filesystems) {
        if (filesystem.size_bytes != 0) {
            sizes.add(labels_of(filesystem), filesystem.size_bytes);
        }
    }
    MetricFamily used(out, "zav_filesystem_used_bytes", "bytes",
                      "What is used of a mounted file system.");
    for (const zav_filesystem& filesystem : view.filesystems) {
        if (filesystem.state == ZAV_FILESYSTEM_AVAILABLE) {
            used.add(labels_of(filesystem), filesystem.used_bytes);
        }
    }
}

void add_shares(std::string& out, const zav::View& view) {
    MetricFamily family(out, "zav_share_reachable", "",
                        "1 for a share that is served, mounted, and whose service is not stopped.");
    std::map<zav_share_state, std::uint64_t> counts;
    for (const zav_share& share : view.shares) {
        ++counts[share.state];
        if (share.state != ZAV_SHARE_FORBIDDEN) {
            family.add({{"share", share.name}, {"service", std::string(zav::name(share.service))}},
                       is_reachable(view, share));
        }
    }
    constexpr std::array states = {ZAV_SHARE_SERVED, ZAV_SHARE_FORBIDDEN, ZAV_SHARE_NOT_SERVED,
                                   ZAV_SHARE_NOT_REGISTERED};
    MetricFamily sums(out, "zav_shares", "", "Shares that are in a state.");
    for (const zav_share_state state : states) {
        sums.add({{"state", std::string(zav::name(state))}}, counts[state]);
    }
}

void add_services(std::string& out, const zav::View& view) {
    MetricFamily family(out, "zav_service_running", "",
                        "1 for a service that runs; absent when it is not known.");
    for (const zav_service& service : view.services) {
        if (service.running != ZAV_RUNNING_UNKNOWN) {
            family.add({{"service", service.name}}, service.running == ZAV_RUNNING);
        }
    }
}

void add_use(std::string& out, const char* name, const char* help, double percent) {
    constexpr double hundred = 100;
    if (percent >= 0) {
        MetricFamily(out, name, "ratio", help).add({}, percent / hundred);
    }
}

void add_health(std::string& out, const zav::View& view) {
    if (view.health == nullptr) {
        return;
    }
    const zav_health& health = *view.health;
    MetricFamily(out, "zav_appliance", "", "Always 1; the labels tell the appliance.")
        .add({{"host_name", health.host_name},
              {"model", health.model},
              {"software_version", health.software_version},
              {"hardware_version", health.hardware_version}},
             true);
    if (health.temperature_c != ZAV_UNKNOWN) {
        MetricFamily(out, "zav_temperature_celsius", "celsius", "Temperature of the appliance.")
            .add({}, static_cast<double>(health.temperature_c));
    }
    MetricFamily fans(out, "zav_fan_rpm", "rpm", "Speed of the fan in turns a minute.");
    for (const Fan& fan : fans_of(health.fans)) {
        fans.add({{"fan", fan.name}}, static_cast<double>(fan.rpm));
    }
    add_use(out, "zav_memory_used_ratio", "What is used of the memory.", health.memory_percent);
    add_use(out, "zav_processor_used_ratio", "What is used of the processor.",
            health.processor_percent);
}

void add_failures(std::string& out, const zav::View& view) {
    std::map<std::string, std::uint64_t> counts;
    for (const zav_failure& failure : view.failures) {
        ++counts[failure.part];
    }
    MetricFamily family(out, "zav_unread", "", "Sources of a part that could not be read.");
    for (const auto& [part, count] : counts) {
        family.add({{"part", part}}, count);
    }
}

} // namespace

std::string metrics_text(const zav::View& view, const Limits& limits) {
    std::string out;
    add_disks(out, view);
    add_array_states(out, view);
    add_array_members(out, view);
    add_rebuilds(out, view);
    add_groups(out, view);
    add_pools(out, view);
    add_filesystems(out, view);
    add_shares(out, view);
    add_services(out, view);
    add_health(out, view);
    add_failures(out, view);
    const int status = plugin_status(worst_of(findings_of(view, limits)));
    MetricFamily(out, "zav_check_status", "",
                 "What --check ends with: 0 ok, 1 warning, 2 critical, 3 unknown.")
        .add({}, static_cast<double>(status));
    return out + "# EOF\n";
}

} // namespace zavinfo

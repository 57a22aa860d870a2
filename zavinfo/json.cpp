// SPDX-License-Identifier: MIT
#include "zavinfo/json.h"

#include "zavinfo/names.h"
#include "zavinfo/text.h"

#include <nlohmann/json.hpp>

namespace zavinfo {

namespace {

using Json = nlohmann::ordered_json; // in the order of the schema

Json text_or_null(const char* text) {
    return *text != '\0' ? Json(text) : Json();
}

Json number_or_null(std::int32_t number) {
    return number != ZAV_UNKNOWN ? Json(number) : Json();
}

Json percent_or_null(double percent) {
    return percent >= 0 ? Json(percent) : Json();
}

/// The name of what a link leads to.
template <class Record, class Name>
Json name_or_null(std::span<const Record> records, std::int32_t index, Name name) {
    const Record* record = zav::follow(records, index);
    return record != nullptr ? Json(name(*record)) : Json();
}

template <class Record, class Name>
Json names(std::span<const Record> records, const zav_links& links, Name name) {
    Json list = Json::array();
    for (const std::uint32_t index : zav::items(links)) {
        list.push_back(name(records[index]));
    }
    return list;
}

const char* name_of(const zav_array& array) {
    return array.name;
}

const char* group_name(const zav_group& group) {
    return group.name;
}

const char* path_of(const zav_pool& pool) {
    return pool.path;
}

const char* filesystem_name(const zav_filesystem& filesystem) {
    return filesystem.name;
}

const char* share_name(const zav_share& share) {
    return share.name;
}

Json attribute_json(const zav_smart_attribute& attribute) {
    const std::string_view when = attribute.when_failed;
    return {{"name", attribute.name},
            {"value", attribute.value},
            {"worst", attribute.worst},
            {"threshold", attribute.threshold},
            {"raw", attribute.raw},
            {"when_failed", when == "-" ? Json() : text_or_null(attribute.when_failed)}};
}

Json to_json(const zav::View& view, const zav_disk& disk) {
    Json attributes = Json::array();
    for (const zav_smart_attribute& attribute : zav::attributes(disk)) {
        attributes.push_back(attribute_json(attribute));
    }
    return {{"id", id_of(disk)},
            {"name", text_or_null(disk.name)},
            {"channel", disk.channel},
            {"device", disk.device},
            {"size_bytes", disk.size_bytes},
            {"model", text_or_null(disk.model)},
            {"state", zav::name(disk.state)},
            {"reported_state", text_or_null(disk.state_text)},
            {"hotspare", disk.is_hotspare != 0},
            {"used", disk.is_used != 0},
            {"array", name_or_null(view.arrays, disk.array, name_of)},
            {"groups", names(view.groups, disk.groups, group_name)},
            {"smart", zav::name(disk.smart)},
            {"serial", text_or_null(disk.serial)},
            {"firmware", text_or_null(disk.firmware)},
            {"temperature_celsius", number_or_null(disk.temperature_c)},
            {"attributes", std::move(attributes)}};
}

Json to_json(const zav::View& view, const zav_array& array) {
    Json members = Json::array();
    for (const zav_member& member : zav::members(array)) {
        members.push_back({{"name", text_or_null(member.name)},
                           {"disk", name_or_null(view.disks, member.disk, id_of)},
                           {"state", zav::name(member.state)},
                           {"slot", number_or_null(member.slot)}});
    }
    const bool is_running = array.rebuild.is_running != 0;
    const bool is_estimated = is_running && array.rebuild.seconds_left >= 0;
    return {{"name", array.name},
            {"level", text_or_null(array.level)},
            {"state", zav::name(array.state)},
            {"reported_state", text_or_null(array.state_text)},
            {"size_bytes", array.size_bytes},
            {"device", text_or_null(array.device)},
            {"members", std::move(members)},
            {"rebuild_running", is_running},
            {"rebuild_done", is_running ? Json(array.rebuild.done) : Json()},
            {"rebuild_seconds_left", is_estimated ? Json(array.rebuild.seconds_left) : Json()},
            {"group", name_or_null(view.groups, array.group, group_name)}};
}

Json to_json(const zav::View& view, const zav_group& group) {
    Json volumes = Json::array();
    for (const zav_volume& volume : zav::volumes(group)) {
        volumes.push_back({{"name", volume.name},
                           {"array", name_or_null(view.arrays, volume.array, name_of)},
                           {"disk", name_or_null(view.disks, volume.disk, id_of)},
                           {"size_bytes", volume.size_bytes},
                           {"used_bytes", volume.used_bytes}});
    }
    return {{"name", group.name},
            {"reported_state", text_or_null(group.state_text)},
            {"device", text_or_null(group.device)},
            {"size_bytes", group.size_bytes},
            {"used_bytes", group.used_bytes},
            {"volumes", std::move(volumes)},
            {"pools", names(view.pools, group.pools, path_of)}};
}

Json to_json(const zav::View& view, const zav_pool& pool) {
    return {{"path", pool.path},
            {"name", pool.name},
            {"group", name_or_null(view.groups, pool.group, group_name)},
            {"size_bytes", pool.size_bytes},
            {"available", pool.is_available != 0},
            {"filesystem", name_or_null(view.filesystems, pool.filesystem, filesystem_name)},
            {"shares", names(view.shares, pool.shares, share_name)}};
}

/// A network disk has no pool, and its name is its label.
Json to_json(const zav::View& view, const zav_filesystem& filesystem) {
    Json json = {{"name", filesystem.name}};
    if (filesystem.is_netdisk == 0) {
        json["pool"] = name_or_null(view.pools, filesystem.pool, path_of);
    }
    json["mount_point"] = filesystem.mount_point;
    json["type"] = text_or_null(filesystem.type);
    json["state"] = zav::name(filesystem.state);
    json["size_bytes"] = filesystem.size_bytes;
    json["used_bytes"] = filesystem.used_bytes;
    json["shares"] = names(view.shares, filesystem.shares, share_name);
    return json;
}

Json to_json(const zav::View& view, const zav_share& share) {
    return {{"name", share.name},
            {"services", services_of(share)},
            {"state", zav::name(share.state)},
            {"path", text_or_null(share.path)},
            {"comment", share.comment},
            {"users", words(share.users, ", ")},
            {"read_only", share.is_read_only != 0},
            {"mounted", share.is_mounted != 0},
            {"filesystem", name_or_null(view.filesystems, share.filesystem, filesystem_name)},
            {"pool", name_or_null(view.pools, share.pool, path_of)},
            {"disks", names(view.disks, share.disks, id_of)}};
}

Json to_json(const zav::View&, const zav_service& service) {
    const bool is_known = service.running != ZAV_RUNNING_UNKNOWN;
    return {{"name", service.name},
            {"running", is_known ? Json(service.running == ZAV_RUNNING) : Json()}};
}

Json to_json(const zav::View&, const zav_failure& failure) {
    return {{"part", failure.part},
            {"command", text_or_null(failure.command)},
            {"code", failure.code},
            {"name", zav_error_name(failure.code)},
            {"sentence", failure.sentence}};
}

Json health_json(const zav_health& health) {
    Json fans = Json::array();
    for (const Fan& fan : fans_of(health.fans)) {
        fans.push_back({{"name", fan.name}, {"rpm", fan.rpm}});
    }
    return {{"host_name", text_or_null(health.host_name)},
            {"model", text_or_null(health.model)},
            {"software_version", text_or_null(health.software_version)},
            {"hardware_version", text_or_null(health.hardware_version)},
            {"start_time", text_or_null(health.start_time)},
            {"temperature_celsius", number_or_null(health.temperature_c)},
            {"fans", std::move(fans)},
            {"power", text_or_null(health.power)},
            {"memory_percent", percent_or_null(health.memory_percent)},
            {"processor_percent", percent_or_null(health.processor_percent)}};
}

template <class Record>
Json list_json(const zav::View& view, std::span<const Record> records) {
    Json list = Json::array();
    for (const Record& record : records) {
        list.push_back(to_json(view, record));
    }
    return list;
}

Json filesystems_json(const zav::View& view, bool are_netdisks) {
    Json list = Json::array();
    for (const zav_filesystem& filesystem : view.filesystems) {
        if ((filesystem.is_netdisk != 0) == are_netdisks) {
            list.push_back(to_json(view, filesystem));
        }
    }
    return list;
}

Json part_json(const zav::View& view, Part part) {
    switch (part) {
    case Part::disks:
        return list_json(view, view.disks);
    case Part::arrays:
        return list_json(view, view.arrays);
    case Part::groups:
        return list_json(view, view.groups);
    case Part::pools:
        return list_json(view, view.pools);
    case Part::filesystems:
        return filesystems_json(view, false);
    case Part::netdisks:
        return filesystems_json(view, true);
    case Part::shares:
        return list_json(view, view.shares);
    case Part::services:
        return list_json(view, view.services);
    case Part::health:
        return view.health != nullptr ? health_json(*view.health) : Json();
    }
    return {};
}

} // namespace

std::string json_text(const zav::View& view, const Parts& parts, std::int64_t taken_at) {
    Json json = {{"schema", json_schema}, {"version", zav_version()}, {"taken_at", taken_at}};
    for (const PartName& part : part_names) {
        if (parts.contains(part.part)) {
            json[std::string(part.name)] = part_json(view, part.part);
        }
    }
    json["failures"] = list_json(view, view.failures);
    constexpr int indent = 2;
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace zavinfo

// SPDX-License-Identifier: MIT
#include "inventory/arrays.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/text.h"
#include "base/units.h"
#include "inventory/array_members.h"
#include "inventory/disks.h"
#include "platform/models.h"
#include "platform/product_model.h"
#include "records/raid_level.h"
#include "sources/mdadm.h"
#include "sources/mdstat.h"
#include "sources/partitions.h"
#include "sources/sys_block.h"
#include "sources/vexadm.h"

#include <algorithm>
#include <cstdio>

namespace zav {

namespace {

constexpr const char* mdstat_template = "/tmp/mdstat.XXXXXX";

/// Captures /proc/mdstat for `reader`. 0, error::command_failed, or error::array_status_unread.
int read_mdstat(std::string& text, LogSite reader) {
    const Capture capture(mdstat_template);
    if (capture.run_and_log(format_text(mdstat_command, capture.path())) != 0) {
        return error::command_failed;
    }
    auto output = capture.read();
    if (!output) {
        std::printf("cannot open %s\n", capture.path());
        return fail_with_errno(error::array_status_unread, reader);
    }
    text = std::move(*output);
    return 0;
}

/// Reads the details of one array into its record. A detail that is missing ends it.
void read_details(std::string_view detail, mdinfo& array) {
    constexpr std::size_t longest_value = 128;
    char level[decltype(array.type)::capacity + 1] = "";
    if (get_mdinfo_type(detail, level, sizeof level, detail_key::level) != 0) {
        return;
    }
    array.type = level;
    char size[longest_value] = "";
    if (get_mdinfo_type(detail, size, sizeof size, detail_key::array_size) != 0 &&
        get_mdinfo_type(detail, size, sizeof size, detail_key::device_size) != 0) {
        return;
    }
    array.allsize = kibibytes_to_gib(decimal(size));
    char state[decltype(array.status)::capacity + 1] = "";
    if (get_mdinfo_type(detail, state, sizeof state, detail_key::state) == 0 && *state != '\0') {
        array.status = state;
    }
}

/// A member attribute's text without white space at its end. Nothing, printed and logged, when it
/// cannot be read.
std::optional<std::string> read_attribute(const char* path, int value_if_unread, LogSite reader) {
    auto text = read_attribute_file(path);
    if (!text) {
        std::printf("cannot cat %s\n", path);
        log_errno(value_if_unread, reader);
        return std::nullopt;
    }
    text->resize(text->find_last_not_of(white_space) + 1);
    return text;
}

struct MemberCounts {
    int present = 0;
    int faulty = 0;
    int spare = 0;
    int in_sync = 0;
};

void add_member(const std::string& directory, const std::string& entry, const disk_list& disks,
                mdinfo& array, MemberCounts& counts) {
    const std::string_view name = member_of_entry(entry);
    ++counts.present;
    if (!array.members.empty()) {
        array.members.append(",");
    }
    array.members.append(name);
    const auto disk = std::ranges::find_if(
        disks, [name](const disk_info& candidate) { return candidate.name == name; });
    if (disk != disks.end()) {
        array.device = disk->device.view(); // of several members the last one's
    }
    // Read for each question anew: the kernel may change it between two.
    const std::string state = directory + "/" + entry + "/state";
    if (get_disk_state(state.c_str()) == DiskState::faulty) {
        array.members.append("(F)");
        ++counts.faulty;
    }
    if (get_disk_state(state.c_str()) == DiskState::spare) {
        array.members.append("(S)");
        ++counts.spare;
    }
    if (get_disk_state(state.c_str()) == DiskState::in_sync) {
        ++counts.in_sync;
    }
}

/// Whether an array with such members can run.
bool can_run(std::string_view type, int raid_disks, int missing, const MemberCounts& counts) {
    const RaidLevel* level = find_raid_level(type);
    if (level != nullptr && level->tolerated_losses) {
        return raid_disks - counts.in_sync <= *level->tolerated_losses;
    }
    // Even a spare member alone stops the levels without redundancy; that is meant so strictly.
    return counts.faulty == 0 && missing <= 0 && counts.spare == 0;
}

/// Reads members and health of one array. 0 or error::array_directory_unread.
int read_members(const disk_list& disks, mdinfo& array) {
    const std::string directory = format_text(array_directory_path, array.name.c_str());
    const auto entries = directory_entries(directory.c_str());
    if (!entries) {
        std::printf("cannot open dir %s\n", directory.c_str());
        return fail_with_errno(error::array_directory_unread,
                               LogSite::here("get_mdinfo_from_sysblock"));
    }
    const int raid_disks = get_raid_disks((directory + "/raid_disks").c_str());
    array.members.clear();
    MemberCounts counts;
    for (const std::string& entry : *entries) {
        if (!member_of_entry(entry).empty()) {
            add_member(directory, entry, disks, array, counts);
        }
    }
    const int missing = raid_disks - counts.present;
    for (int i = 0; i < missing && !array.members.full(); ++i) {
        array.members.append(",*(M)");
    }
    if (!can_run(array.type, raid_disks, missing, counts)) {
        array.status = inactive_state;
    }
    return 0;
}

/// Discovers all arrays and finds one. 0, error::no_array_list, or `code_if_missing`.
int find_in_all_arrays(const char* name, mdinfo_list& arrays, mdinfo*& array, int code_if_missing) {
    if (get_mdinfo(arrays) != 0) {
        return error::no_array_list;
    }
    array = find_array(arrays, name);
    return array != nullptr ? 0 : code_if_missing;
}

} // namespace

int get_mdinfo(mdinfo_list& list) {
    if (product_model() == controller_model) {
        return get_mdinfo_from_vexadm(list);
    }
    if (const int result = get_mdinfo_from_proc(list); result != 0) {
        return result;
    }
    // An array whose details cannot be read keeps its defaults.
    get_mdinfo_from_mdadm(list);
    if (const int result = get_mdinfo_from_sysblock(list); result != 0) {
        return result;
    }
    return get_mdinfo_from_mdstat(list);
}

int get_mdinfo_from_proc(mdinfo_list& list) {
    std::string mdstat;
    if (const int result = read_mdstat(mdstat, LogSite::here()); result != 0) {
        return result;
    }
    for (const std::string& name : parse_mdstat_names(mdstat)) {
        list.append().name = name;
    }
    return 0;
}

int get_mdinfo_from_mdadm(mdinfo_list& list) {
    int result = 0;
    for (mdinfo& array : list) {
        const Capture capture(format_text("/tmp/%s.XXXXXX", array.name.c_str()));
        if (capture.run_and_log(
                format_text(array_detail_command, array.name.c_str(), capture.path())) != 0) {
            continue;
        }
        if (const auto detail = capture.read()) {
            read_details(*detail, array);
        } else {
            result = fail_with_errno(error::array_output_unread);
        }
    }
    return result;
}

int get_mdinfo_from_sysblock(mdinfo_list& list) {
    disk_list disks;
    if (const int result = get_disk_list(disks); result != 0) {
        // Only the devices of the arrays suffer.
        log_errno(result);
        disks.clear();
    }
    for (mdinfo& array : list) {
        if (const int result = read_members(disks, array); result != 0) {
            return result;
        }
    }
    return 0;
}

int get_mdinfo_from_mdstat(mdinfo_list& list) {
    std::string mdstat;
    if (const int result = read_mdstat(mdstat, LogSite::here()); result != 0) {
        return result;
    }
    const RebuildProgress progress(mdstat);
    for (mdinfo& array : list) {
        if (is_rebuilding(array.status)) {
            array.progress = progress.of(array.name);
        }
    }
    return 0;
}

int get_mdinfo_from_vexadm(mdinfo_list& list) {
    const Capture capture(mdstat_template);
    if (capture.run_and_log(format_text(controller_arrays_command, capture.path())) != 0) {
        return error::command_failed;
    }
    const auto output = capture.read();
    if (!output) {
        return fail_with_errno(error::array_output_unread);
    }
    parse_controller_arrays(*output, list);
    return 0;
}

int get_mdinfo_from_partitions(mdinfo_list& list) {
    const auto partitions = read_file(partitions_path);
    if (!partitions) {
        return fail_with_errno(error::partitions_unread);
    }
    for (const std::string& name : parse_partition_arrays(*partitions)) {
        list.append().name = name;
    }
    return 0;
}

int get_mdinfo_type(std::string_view detail, char* destination, std::size_t capacity,
                    const char* key) {
    const auto value = parse_detail_value(detail, key);
    if (!value) {
        return fail_with_errno(error::array_key_missing);
    }
    copy_bounded(destination, capacity, std::string(*value).c_str());
    return 0;
}

DiskState get_disk_state(const char* path) {
    const auto state = read_attribute(path, -1, LogSite::here());
    if (!state) {
        return DiskState::unreadable;
    }
    return parse_member_state(*state);
}

int get_raid_disks(const char* path) {
    const auto text = read_attribute(path, 0, LogSite::here());
    return text ? decimal_int(*text) : 0;
}

int disks_to_ch(mdinfo_list& list) {
    disk_list disks;
    if (get_disk_list(disks) != 0) {
        const LogSite site = LogSite::here();
        log_error("%s:[%d] return with %d\n", site.function, site.line, error::no_disk_list);
        return error::no_disk_list;
    }
    for (mdinfo& array : list) {
        members_to_channels(array, disks);
    }
    return 0;
}

int check_raid_state(const char* name) {
    mdinfo_list arrays;
    mdinfo* array = nullptr;
    if (const int result = find_in_all_arrays(name, arrays, array, error::bad_array_name);
        result != 0) {
        return result;
    }
    return array->status == inactive_state ? error::array_inactive : 0;
}

int get_raid_type(const char* name, BoundedText<8>& type) {
    mdinfo_list arrays;
    mdinfo* array = nullptr;
    if (const int result = find_in_all_arrays(name, arrays, array, error::bad_array_name);
        result != 0) {
        return result;
    }
    type = array->type;
    return 0;
}

int get_disks_from_md(const char* name, disk_list& members) {
    mdinfo_list arrays;
    if (get_mdinfo(arrays) != 0) {
        return error::no_array_list;
    }
    if (name != nullptr && find_array(arrays, name) == nullptr) {
        return error::no_such_array;
    }
    disk_list disks;
    if (get_disk_list(disks) != 0) {
        return log_return(error::no_disk_list);
    }
    for (const mdinfo& array : arrays) {
        if (name != nullptr && array.name != name) {
            continue;
        }
        for (const std::string_view member : split(array.members, ",")) {
            const auto disk = std::ranges::find_if(disks, [member](const disk_info& candidate) {
                return names_disk(member, candidate);
            });
            if (disk != disks.end()) {
                append_copy(members, *disk);
            }
        }
    }
    return 0;
}

} // namespace zav

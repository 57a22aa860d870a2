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
#include "records/raid_level.h"
#include "sources/mdadm.h"
#include "sources/mdstat.h"
#include "sources/partitions.h"
#include "sources/sys_block.h"
#include "sources/vexadm.h"

#include <algorithm>

namespace zav {

namespace {

constexpr const char* mdstat_template = "/tmp/mdstat.XXXXXX";

/// The text of /proc/mdstat, for `reader`; Code::command_failed or Code::array_status_unread.
Result<std::string> read_mdstat(LogSite reader, Sink& out) {
    const Capture capture(mdstat_template);
    if (failed(capture.run_and_log(format_text(mdstat_command, capture.path())))) {
        return Code::command_failed;
    }
    auto output = capture.read();
    if (!output) {
        out.print("cannot open %s\n", capture.path());
        return fail_with_errno(Code::array_status_unread, reader);
    }
    return std::move(*output);
}

/// Reads the details of one array into its record. A detail that is missing ends it.
void read_details(std::string_view detail, mdinfo& array) {
    constexpr std::size_t longest_value = 128;
    char level[decltype(array.type)::capacity + 1] = "";
    if (failed(get_mdinfo_type(detail, level, sizeof level, detail_key::level))) {
        return;
    }
    array.type = level;
    char size[longest_value] = "";
    if (failed(get_mdinfo_type(detail, size, sizeof size, detail_key::array_size)) &&
        failed(get_mdinfo_type(detail, size, sizeof size, detail_key::device_size))) {
        return;
    }
    array.allsize = rounded<Gib>(Kib{decimal(size)});
    char state[decltype(array.status)::capacity + 1] = "";
    if (!failed(get_mdinfo_type(detail, state, sizeof state, detail_key::state)) &&
        *state != '\0') {
        array.status = state;
    }
}

/// A member attribute's text without white space at its end. Nothing, printed and logged, when it
/// cannot be read.
std::optional<std::string> read_attribute(const char* path, int value_if_unread, LogSite reader,
                                          Sink& out) {
    auto text = read_attribute_file(path);
    if (!text) {
        out.print("cannot cat %s\n", path);
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
                mdinfo& array, MemberCounts& counts, Sink& out) {
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
    // Read again for each question: the kernel may change it in between.
    const std::string state = directory + "/" + entry + "/state";
    if (get_disk_state(state.c_str(), out) == DiskState::faulty) {
        array.members.append("(F)");
        ++counts.faulty;
    }
    if (get_disk_state(state.c_str(), out) == DiskState::spare) {
        array.members.append("(S)");
        ++counts.spare;
    }
    if (get_disk_state(state.c_str(), out) == DiskState::in_sync) {
        ++counts.in_sync;
    }
}

/// Whether an array with such members can run.
bool can_run(std::string_view type, int raid_disks, int missing, const MemberCounts& counts) {
    const RaidLevel* level = find_raid_level(type);
    if (level != nullptr && level->tolerated_losses) {
        return raid_disks - counts.in_sync <= *level->tolerated_losses;
    }
    // Even a spare member alone stops the levels without redundancy; that strictness is intended.
    return counts.faulty == 0 && missing <= 0 && counts.spare == 0;
}

/// Reads members and health of one array. Code::ok or Code::array_directory_unread.
Code read_members(const disk_list& disks, mdinfo& array, Sink& out) {
    const std::string directory = format_text(array_directory_path, array.name.c_str());
    const auto entries = directory_entries(directory.c_str());
    if (!entries) {
        out.print("cannot open dir %s\n", directory.c_str());
        return fail_with_errno(Code::array_directory_unread,
                               LogSite::here("get_mdinfo_from_sysblock"));
    }
    const int raid_disks = get_raid_disks((directory + "/raid_disks").c_str(), out);
    array.members.clear();
    MemberCounts counts;
    for (const std::string& entry : *entries) {
        if (!member_of_entry(entry).empty()) {
            add_member(directory, entry, disks, array, counts, out);
        }
    }
    const int missing = raid_disks - counts.present;
    for (int i = 0; i < missing && !array.members.full(); ++i) {
        array.members.append(",*(M)");
    }
    if (!can_run(array.type, raid_disks, missing, counts)) {
        array.status = inactive_state;
    }
    return Code::ok;
}

/// Discovers all arrays and finds one: Code::no_array_list, or Code::bad_array_name when there is
/// none of that name.
Result<mdinfo*> find_in_all_arrays(const char* name, mdinfo_list& arrays, Sink& out) {
    if (failed(get_mdinfo(arrays, out))) {
        return Code::no_array_list;
    }
    mdinfo* array = find_array(arrays, name);
    return array != nullptr ? Result<mdinfo*>(array) : Code::bad_array_name;
}

} // namespace

Code get_mdinfo(mdinfo_list& list, Sink& out) {
    if (product_model().has_raid_controller) {
        return get_mdinfo_from_vexadm(list);
    }
    if (const Code result = get_mdinfo_from_proc(list, out); failed(result)) {
        return result;
    }
    // An array whose details cannot be read keeps its defaults.
    ignore(get_mdinfo_from_mdadm(list));
    if (const Code result = get_mdinfo_from_sysblock(list, out); failed(result)) {
        return result;
    }
    return get_mdinfo_from_mdstat(list, out);
}

Code get_mdinfo_from_proc(mdinfo_list& list, Sink& out) {
    const auto mdstat = read_mdstat(LogSite::here(), out);
    if (!mdstat) {
        return mdstat.code();
    }
    for (const std::string& name : parse_mdstat_names(*mdstat)) {
        list.append().name = name;
    }
    return Code::ok;
}

Code get_mdinfo_from_mdadm(mdinfo_list& list) {
    Code result = Code::ok;
    for (mdinfo& array : list) {
        const Capture capture(format_text("/tmp/%s.XXXXXX", array.name.c_str()));
        if (failed(capture.run_and_log(
                format_text(array_detail_command, array.name.c_str(), capture.path())))) {
            continue;
        }
        if (const auto detail = capture.read()) {
            read_details(*detail, array);
        } else {
            result = fail_with_errno(Code::array_output_unread);
        }
    }
    return result;
}

Code get_mdinfo_from_sysblock(mdinfo_list& list, Sink& out) {
    disk_list disks;
    if (const Code result = get_disk_list(disks, out); failed(result)) {
        // Only the devices of the arrays suffer.
        log_errno(result);
        disks.clear();
    }
    for (mdinfo& array : list) {
        if (const Code result = read_members(disks, array, out); failed(result)) {
            return result;
        }
    }
    return Code::ok;
}

Code get_mdinfo_from_mdstat(mdinfo_list& list, Sink& out) {
    const auto mdstat = read_mdstat(LogSite::here(), out);
    if (!mdstat) {
        return mdstat.code();
    }
    const RebuildProgress progress(*mdstat);
    for (mdinfo& array : list) {
        if (is_rebuilding(array.status)) {
            array.progress = progress.of(array.name);
        }
    }
    return Code::ok;
}

Code get_mdinfo_from_vexadm(mdinfo_list& list) {
    const Capture capture(mdstat_template);
    if (failed(capture.run_and_log(format_text(controller_arrays_command, capture.path())))) {
        return Code::command_failed;
    }
    const auto output = capture.read();
    if (!output) {
        return fail_with_errno(Code::array_output_unread);
    }
    parse_controller_arrays(*output, list);
    return Code::ok;
}

Code get_mdinfo_from_partitions(mdinfo_list& list) {
    const auto partitions = read_file(partitions_path);
    if (!partitions) {
        return fail_with_errno(Code::partitions_unread);
    }
    for (const std::string& name : parse_partition_arrays(*partitions)) {
        list.append().name = name;
    }
    return Code::ok;
}

Code get_mdinfo_type(std::string_view detail, char* destination, std::size_t capacity,
                     const char* key) {
    const auto value = parse_detail_value(detail, key);
    if (!value) {
        return fail_with_errno(Code::array_key_missing);
    }
    copy_bounded(destination, capacity, std::string(*value).c_str());
    return Code::ok;
}

DiskState get_disk_state(const char* path, Sink& out) {
    const auto state = read_attribute(path, number_of(DiskState::unreadable), LogSite::here(), out);
    if (!state) {
        return DiskState::unreadable;
    }
    return parse_member_state(*state);
}

int get_raid_disks(const char* path, Sink& out) {
    const auto text = read_attribute(path, 0, LogSite::here(), out);
    return text ? decimal_int(*text) : 0;
}

Code disks_to_ch(mdinfo_list& list, Sink& out) {
    disk_list disks;
    if (failed(get_disk_list(disks, out))) {
        const LogSite site = LogSite::here();
        log_error("%s:[%d] return with %d\n", site.function, site.line,
                  number_of(Code::no_disk_list));
        return Code::no_disk_list;
    }
    for (mdinfo& array : list) {
        members_to_channels(array, disks);
    }
    return Code::ok;
}

Code check_raid_state(const char* name, Sink& out) {
    mdinfo_list arrays;
    const auto array = find_in_all_arrays(name, arrays, out);
    if (!array) {
        return array.code();
    }
    return (*array)->status == inactive_state ? Code::array_inactive : Code::ok;
}

Result<BoundedText<8>> get_raid_type(const char* name, Sink& out) {
    mdinfo_list arrays;
    const auto array = find_in_all_arrays(name, arrays, out);
    if (!array) {
        return array.code();
    }
    return (*array)->type;
}

Code get_disks_from_md(const char* name, disk_list& members, Sink& out) {
    mdinfo_list arrays;
    if (failed(get_mdinfo(arrays, out))) {
        return Code::no_array_list;
    }
    if (name != nullptr && find_array(arrays, name) == nullptr) {
        return Code::no_such_array;
    }
    disk_list disks;
    if (failed(get_disk_list(disks, out))) {
        return log_return(Code::no_disk_list);
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
    return Code::ok;
}

} // namespace zav

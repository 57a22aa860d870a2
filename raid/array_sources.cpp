// SPDX-License-Identifier: MIT
#include "raid/array_sources.h"

#include "frame/text.h"

#include <algorithm>

namespace zav {

namespace {

constexpr std::string_view array_prefix = "md";

/// A name of one character and a mark, such as a(S).
constexpr std::size_t shortest_marked_member = 4;

char lower_mark(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool is_spare_member(std::string_view member) {
    return member.size() >= shortest_marked_member && lower_mark(member[member.size() - 2]) == 's';
}

bool first_mark_is_faulty_or_spare(std::string_view members) {
    const std::size_t open = members.find('(');
    if (open == std::string_view::npos || open + 1 == members.size()) {
        return false;
    }
    const char mark = lower_mark(members[open + 1]);
    return mark == 'f' || mark == 's';
}

bool lacks_too_many(const mdinfo& array, int missing) {
    if (equal_ignoring_case(array.type, raid_type::linear) ||
        equal_ignoring_case(array.type, raid_type::raid0)) {
        return missing > 0;
    }
    if (equal_ignoring_case(array.type, raid_type::raid1)) {
        return missing >= 2 || (missing == 1 && first_mark_is_faulty_or_spare(array.members));
    }
    return false;
}

/// The pieces after "#" of the controller's member field.
std::string controller_members(std::string_view text) {
    std::string members;
    for (const std::string_view word : split(text, blanks)) {
        if (word.starts_with('#')) {
            append_item(members, word.substr(1));
        }
    }
    return members;
}

void add_controller_array(std::string_view line, mdinfo_list& list) {
    const std::string_view name = field(line, blanks, 0);
    if (!name.starts_with(array_prefix) || !is_plain_name(name)) {
        return;
    }
    const auto value = [line](std::size_t index) {
        return cut_at(field(line, "/", index), blanks);
    };
    mdinfo& array = list.append();
    array.name = name;
    array.type = "raid" + std::string(value(1));
    array.status = value(3);
    array.allsize = decimal(value(4));
    array.device = value(5);
    array.members = controller_members(field(line, "/", 6));
}

} // namespace

std::vector<std::string> parse_mdstat_names(std::string_view mdstat) {
    std::vector<std::string> names;
    LinePieces pieces(mdstat);
    std::string_view line;
    while (pieces.next(line)) {
        const std::size_t colon = line.find(':');
        const std::string_view name = trim(line.substr(0, colon));
        // The name becomes part of commands.
        if (colon != std::string_view::npos && name.starts_with(array_prefix) &&
            is_plain_name(name)) {
            names.emplace_back(name);
        }
    }
    return names;
}

std::vector<std::string> parse_partition_arrays(std::string_view partitions) {
    constexpr std::size_t name_field = 3;
    std::vector<std::string> names;
    LinePieces pieces(partitions);
    std::string_view line;
    while (pieces.next(line)) {
        const std::string_view name = field(trim_right(line), blanks, name_field);
        if (name.starts_with(array_prefix) && is_plain_name(name)) {
            names.emplace_back(name);
        }
    }
    return names;
}

std::optional<std::string_view> parse_detail_value(std::string_view detail, const char* key) {
    const auto line = get_line(detail, key, 0, ":");
    if (!line) {
        return std::nullopt;
    }
    return field(*line, ":", 1);
}

std::uint64_t kilobytes_to_gigabytes(std::uint64_t kilobytes) {
    constexpr std::uint64_t half = std::uint64_t{1} << 19;
    constexpr int shift = 20;
    return kilobytes > UINT64_MAX - half ? UINT64_MAX >> shift : (kilobytes + half) >> shift;
}

bool is_rebuilding(std::string_view status) {
    return std::ranges::any_of(split(status, " ,"), [](std::string_view word) {
        word = word.substr(0, word.rfind('('));
        return word == "recovering" || word == "resyncing";
    });
}

RebuildProgress::RebuildProgress(std::string_view mdstat) {
    // The line of an array, the two below it, and the name two lines back.
    std::string_view two_back;
    std::string_view one_back;
    LinePieces pieces(mdstat);
    std::string_view line;
    while (pieces.next(line)) {
        if (!two_back.empty()) {
            progress_lines_.emplace(two_back, line);
        }
        const std::size_t colon = line.find(':');
        two_back = one_back;
        one_back = colon != std::string_view::npos ? trim_right(line.substr(0, colon)) : "";
    }
}

std::string RebuildProgress::of(std::string_view array) const {
    constexpr std::size_t percent_field = 3;
    constexpr std::size_t speed_field = 6;
    constexpr std::size_t longest_percent = 31;
    const auto found = progress_lines_.find(array);
    if (found == progress_lines_.end()) {
        return "";
    }
    const std::string_view percent = field(found->second, " ", percent_field);
    const std::size_t sign = percent.find('%');
    if (sign == std::string_view::npos) {
        return "";
    }
    std::string done(percent.substr(0, std::min(sign, longest_percent)));
    const std::string_view speed = field(found->second, " ", speed_field);
    const std::size_t equals = speed.find('=');
    if (equals == std::string_view::npos) {
        return done;
    }
    // Whole megabytes: the two decimals are always 00, and readers of the listing expect them.
    const std::uint64_t megabytes = decimal(speed.substr(equals + 1)) >> 10;
    return format_text("%s%%(%.2fMB/s)", done.c_str(), static_cast<double>(megabytes));
}

void parse_controller_arrays(std::string_view file, mdinfo_list& list) {
    bool in_table = false;
    LinePieces pieces(file);
    std::string_view line;
    while (pieces.next(line)) {
        const std::string_view content = trim(line);
        if (content.empty()) {
            continue;
        }
        if (in_table) {
            add_controller_array(content, list);
        }
        in_table = in_table || content.find_first_not_of('=') == std::string_view::npos;
    }
}

void members_to_channels(mdinfo& array, const disk_list& disks) {
    if (array.members.empty()) {
        return;
    }
    std::string channels;
    std::string spares;
    int missing = 0;
    for (const std::string_view member : split(array.members, ",")) {
        const auto disk = std::ranges::find_if(
            disks, [member](const disk_info& candidate) { return names_disk(member, candidate); });
        if (disk == disks.end()) {
            ++missing;
            continue;
        }
        const std::string channel = std::to_string(disk->channel);
        append_item(channels, channel);
        channels += member.substr(disk->name.size());
        if (is_spare_member(member)) {
            append_item(spares, channel);
        }
    }
    if (lacks_too_many(array, missing)) {
        array.status = inactive_state;
    }
    array.members = channels;
    array.spare = spares;
}

} // namespace zav

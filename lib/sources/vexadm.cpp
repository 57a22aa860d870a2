// SPDX-License-Identifier: MIT
#include "sources/vexadm.h"

#include "base/text.h"
#include "sources/smart_attributes.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace zav {

namespace {

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
    if (!name.starts_with("md") || !is_plain_name(name)) {
        return;
    }
    const auto value = [line](std::size_t index) {
        return cut_at(field(line, "/", index), blanks);
    };
    mdinfo& array = list.append();
    array.name = name;
    array.type = "raid" + std::string(value(1));
    array.status = value(3);
    array.allsize = {decimal(value(4))};
    array.device = value(5);
    array.members = controller_members(field(line, "/", 6));
}

/// The numbers behind a name. Words that are no numbers are passed over.
void get_smart_value_vexadm(std::string_view values, smart_attribute& attribute) {
    for (std::uint32_t* target :
         {&attribute.value, &attribute.worst, &attribute.threshold, &attribute.raw}) {
        std::string_view word;
        do {
            word = take_word(values);
            if (word.starts_with('(')) {
                word.remove_prefix(1);
            }
        } while (!values.empty() && (word.empty() || !is_digit(word.front())));
        *target = attribute_number(word);
    }
}

} // namespace

void parse_controller_scan(std::string_view file, disk_list& list) {
    LinePieces pieces(file);
    std::string_view line;
    while (pieces.next(line)) {
        const std::string_view slot = field(line, blanks, 0);
        if (line.starts_with('=') || slot.empty() || !std::ranges::all_of(slot, is_digit)) {
            continue;
        }
        const std::string_view model = trim(field(line, "/", 1));
        if (model == "N.A.") {
            continue; // an empty slot
        }
        disk_info& disk = list.append();
        disk.channel = static_cast<std::int32_t>(
            std::min<std::int64_t>(std::int64_t{decimal_int(slot)} + 1, INT32_MAX));
        disk.model = model;
        disk.device = disk_device::main_controller;
        disk.space = {decimal(field(line, "/", 2))};
        disk.status = trim(field(line, "/", 3));
        disk.usage = trim(get_field(line, "/", 4).value_or(""));
        disk.hotspare = disk.usage == "Hot Spare" ? 1 : 0;
    }
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

void parse_controller_attributes(std::string_view output, smart_attribute_list& list) {
    CountedLines lines(output);
    std::string_view line;
    std::size_t taken = 0;
    while (taken < most_attributes && lines.next(line)) {
        const std::string_view name = trim(cut_at(line, ":"));
        if (is_shown(name, &AttributeName::controller)) {
            smart_attribute& attribute = list.append();
            attribute.name = name;
            const std::size_t values = std::min(cut_at(line, ":").size() + 1, line.size());
            get_smart_value_vexadm(line.substr(values), attribute);
            ++taken;
        }
    }
}

} // namespace zav

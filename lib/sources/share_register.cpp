// SPDX-License-Identifier: MIT
#include "sources/share_register.h"

#include "base/codes.h"
#include "base/key_value.h"
#include "base/text.h"

#include <algorithm>
#include <cstdlib>

namespace zav {

namespace {

constexpr std::size_t shortest_entry = 3;

/// What a signed number of 32 bits holds of it: larger sizes do not survive the register.
SignedGib size_of(std::string_view value) {
    return {static_cast<std::int32_t>(std::strtoll(std::string(value).c_str(), nullptr, 10))};
}

void take_register_key(const KeyValue& pair, RegisterServices services, share_info& share) {
    if (pair.key == "sharename") {
        fill(share.name, pair.value.substr(0, share_name_length));
    } else if (pair.key == "comment") {
        fill(share.comment, pair.value);
    } else if (pair.key == "path") {
        fill(share.path, pair.value);
    } else if (pair.key == "size") {
        share.size = size_of(pair.value);
    } else if (pair.value == "1" &&
               std::ranges::find(services, pair.key, &RegisterService::key) != services.end()) {
        fill(share.type, pair.key);
    }
}

} // namespace

FileCode parse_register_sections(std::string_view text, RegisterServices services,
                                 share_list& list) {
    ShareLines lines(text, shortest_entry);
    std::string_view line;
    share_info* share = nullptr;
    while (lines.next(line)) {
        KeyValue pair;
        if (is_malformed_header(line) || has_second(line, '=')) {
            return FileCode::malformed;
        }
        if (line.starts_with('[')) {
            share = &list.append();
        } else if (!split_key(line, pair)) {
            return FileCode::malformed;
        } else if (share != nullptr) {
            take_register_key(pair, services, *share);
        }
    }
    return FileCode::ok;
}

void scan_register(std::string_view text, RegisterServices services, share_list& list) {
    const KeyValueIndex sections(text);
    CountedLines lines(text);
    std::string_view line;
    while (lines.next(line)) {
        if (!line.starts_with('[')) {
            continue;
        }
        line.remove_prefix(1);
        line.remove_suffix(line.ends_with(']') ? 1 : 0);
        const std::string section(line);
        share_info& share = list.append();
        share.name = sections.get(section, "sharename").value_or("").substr(0, share_name_length);
        share.comment = sections.get(section, "comment").value_or("");
        share.path = sections.get(section, "path").value_or("");
        share.size = {
            static_cast<std::int64_t>(decimal(sections.get(section, "size").value_or("")))};
        for (const auto& [key, shown] : services) {
            if (sections.get(section, key) == "1") {
                share.type.append(share.type.empty() ? "" : ",").append(shown);
            }
        }
    }
}

Lines register_lines(const share_info& share, RegisterServices services) {
    Lines lines = {format_text("[%s]\n", share.name.c_str()), key_line("sharename", share.name),
                   key_line("path", share.path),
                   key_line("size", std::to_string(share.size.count))};
    for (const RegisterService& service : services) {
        lines.push_back(key_line(service.key, is_type(share, service.key) ? "1" : "0"));
    }
    lines.push_back(key_line("comment", share.comment));
    return lines;
}

} // namespace zav

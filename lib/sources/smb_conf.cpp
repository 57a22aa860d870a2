// SPDX-License-Identifier: MIT
#include "sources/smb_conf.h"

#include "base/codes.h"
#include "base/key_value.h"
#include "base/text.h"

#include <algorithm>
#include <vector>

namespace zav {

namespace {

constexpr std::size_t shortest_header = 3;
constexpr std::size_t access_room = 20;
constexpr std::size_t users_room = 256;

/// What key_value_get() leaves of a value in a buffer of that size.
std::string_view cut(std::string_view value, std::size_t room) {
    return value.substr(0, room - 1);
}

void take_samba_key(const KeyValue& pair, share_info& share) {
    if (pair.key == "comment") {
        fill(share.comment, pair.value);
    } else if (pair.key == "path") {
        fill(share.path, pair.value);
    } else if (pair.key == "writable" || pair.key == "writeable") {
        share.write = pair.value == "yes" ? 1 : 0; // the last one counts
    } else if (pair.key == "valid users") {
        fill(share.users, pair.value);
    }
}

/// A section of the file, from its header to the next one.
struct Section {
    std::size_t start = 0;
    std::size_t bracket = 0; ///< where its "[" stands
    std::size_t end = 0;
    bool is_sambas = false;
};

std::vector<Section> sections_of(std::string_view text) {
    std::vector<Section> sections;
    ByteLines lines(text, share_line_size);
    std::string line;
    for (std::size_t at = 0; lines.next(line); at = text.size() - lines.rest().size()) {
        const std::string_view header = skip_blanks(line);
        if (!header.starts_with('[') || header.size() < shortest_header) {
            continue;
        }
        if (!sections.empty()) {
            sections.back().end = at;
        }
        sections.push_back(
            {.start = at,
             .bracket = text.find('[', at),
             .end = text.size(),
             .is_sambas = is_samba_own_section(header.substr(1, header.size() - 2))});
    }
    return sections;
}

void end_line(std::string& text) {
    if (!trim_right(text.substr(text.rfind('\n') + 1)).empty()) {
        text += '\n';
    }
}

} // namespace

bool is_samba_own_section(std::string_view name) {
    return name == "global" || equal_ignoring_case(name, "homes") ||
           equal_ignoring_case(name, "printers");
}

FileCode parse_samba(std::string_view text, share_list& list) {
    ShareLines lines(text, shortest_header);
    std::string_view line;
    share_info* share = nullptr; // none in the global section
    while (lines.next(line)) {
        KeyValue pair;
        if (line.starts_with('#')) {
            continue;
        }
        if (is_malformed_header(line)) {
            return FileCode::malformed;
        }
        if (line.starts_with('[')) {
            const std::string_view section = line.substr(1, line.size() - 2);
            share = is_samba_own_section(section) ? nullptr : &list.append();
            if (share != nullptr) {
                share->name = section.substr(0, share_name_length);
                share->type = share_type::samba;
            }
        } else if (share != nullptr) {
            if (has_second(line, '=') || !split_key(line, pair)) {
                return FileCode::malformed;
            }
            take_samba_key(pair, *share);
        }
    }
    return FileCode::ok;
}

void scan_samba(std::string_view text, share_list& list) {
    const KeyValueIndex sections(text);
    for (share_info& share : list) {
        // A share of several services is not refreshed.
        if (share.type != share_type::samba) {
            continue;
        }
        const std::string section = share.name.c_str();
        auto access = sections.get(section, "writable");
        if (!access) {
            access = sections.get(section, "writeable");
        }
        if (access && cut(*access, access_room) == "no") {
            share.write = 0;
        }
        if (const auto users = sections.get(section, "valid users")) {
            share.users = cut(*users, users_room);
        }
    }
}

std::size_t samba_global_size(std::string_view text) {
    const std::size_t first = text.find('[');
    const std::size_t second = first == std::string_view::npos ? first : text.find('[', first + 1);
    return std::min(second, text.size());
}

std::string samba_kept(std::string_view text) {
    const std::vector<Section> sections = sections_of(text);
    const bool begins_with_share = !sections.empty() && !sections.front().is_sambas &&
                                   sections.front().bracket == text.find('[');
    std::size_t end = begins_with_share ? sections.front().start : samba_global_size(text);
    std::string kept(text.substr(0, end));
    for (const Section& section : sections) {
        if (section.is_sambas && section.bracket >= end) {
            const std::size_t start = std::max(section.start, end);
            end_line(kept);
            kept += text.substr(start, section.end - start);
            end = section.end;
        }
    }
    if (end == text.size()) {
        end_line(kept); // a section of a share is to follow
    }
    return kept;
}

Lines samba_lines(const share_info& share, std::string_view access_key) {
    return {format_text("[%s]\n", share.name.c_str()),
            key_line("comment", share.comment),
            key_line("path", share.path),
            key_line("public", "yes"),
            key_line(access_key, share.write == 1 ? "yes" : "no"),
            key_line("printable", "no"),
            key_line("create mask", "0777"),
            key_line("valid users", share.users)};
}

} // namespace zav

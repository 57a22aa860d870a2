// SPDX-License-Identifier: MIT
#include "sources/fstab.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

namespace {

std::string_view trimmed(std::string_view line) {
    return trim_right(skip_blanks(line));
}

bool has_mount_point(std::string_view line, std::string_view mntpoint) {
    const auto word = get_field(line, blanks, 1);
    return word && cut_at(*word, blanks) == mntpoint;
}

} // namespace

void parse_register(std::string_view text, fs_list& list,
                    const std::function<void(fs_info&, std::string_view)>& fill) {
    LinePieces pieces(text);
    std::string_view line;
    while (pieces.next(line)) {
        const auto words = split(trim_right(line), blanks);
        if (words.size() < 3) {
            continue;
        }
        fs_info& fs = list.append();
        fs.mntpoint = words[1];
        fs.fstype = words[2];
        fill(fs, words[0]);
    }
}

bool register_has(std::string_view text, std::string_view mntpoint) {
    LinePieces pieces(text);
    std::string_view line;
    while (pieces.next(line)) {
        if (has_mount_point(trimmed(line), mntpoint)) {
            return true;
        }
    }
    return false;
}

std::optional<std::string> register_without(std::string_view text, std::string_view mntpoint) {
    std::string kept;
    bool found = false;
    LinePieces pieces(text);
    std::string_view piece;
    while (pieces.next(piece)) {
        const std::string_view line = trimmed(piece);
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        if (has_mount_point(line, mntpoint)) {
            found = true;
        } else {
            kept.append(line).append("\n");
        }
    }
    return found ? std::optional(kept) : std::nullopt;
}

} // namespace zav

// SPDX-License-Identifier: MIT
#include "pools/fs_sources.h"

#include "frame/text.h"

#include <algorithm>

namespace zav {

namespace {

constexpr std::size_t device_directory_length = 5; // of "/dev/", whatever is there

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

void parse_mdfstab(std::string_view text, fs_list& list) {
    parse_register(text, list, [](fs_info& fs, std::string_view path) {
        fs.name = path;
        fs.ownername = field(path.substr(std::min(device_directory_length, path.size())), "/", 0);
    });
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

void set_sizes(const struct statfs& figures, fs_info& fs) {
    constexpr std::uint64_t kibibyte = 1024;
    const std::uint64_t block = static_cast<std::uint64_t>(figures.f_bsize) / kibibyte;
    fs.allsize = figures.f_blocks * block / kibibyte;
    fs.usedsize = (figures.f_blocks - figures.f_bavail) * block / kibibyte;
}

} // namespace zav

// SPDX-License-Identifier: MIT
#include "inventory/mounts.h"

#include "base/file.h"

#include <algorithm>

namespace zav {

std::optional<MountTable> read_mounts() {
    const auto table = read_file(mounts_path);
    return table ? std::optional(parse_mounts(*table)) : std::nullopt;
}

std::optional<MountTable> read_mounts_or_print(Sink& out) {
    auto mounts = read_mounts();
    if (!mounts) {
        out.print("setmntent '%s' fail\n", mounts_path);
    }
    return mounts;
}

std::unordered_set<std::string> mounted_directories() {
    std::unordered_set<std::string> directories;
    for (Mount& mount : read_mounts().value_or(MountTable())) {
        directories.insert(std::move(mount.directory));
    }
    return directories;
}

bool fs_is_mounted(std::string_view directory) {
    return mounted_directories().contains(std::string(directory));
}

bool is_mount_point(const MountTable& mounts, std::string_view directory) {
    return std::ranges::find(mounts, directory, &Mount::directory) != mounts.end();
}

} // namespace zav

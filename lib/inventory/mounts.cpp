// SPDX-License-Identifier: MIT
#include "inventory/mounts.h"

#include "base/file.h"

#include <cstdio>

namespace zav {

std::optional<MountTable> read_mounts() {
    const auto table = read_file(mounts_path);
    return table ? std::optional(parse_mounts(*table)) : std::nullopt;
}

std::optional<MountTable> read_mounts_or_print() {
    auto mounts = read_mounts();
    if (!mounts) {
        std::printf("setmntent '%s' fail\n", mounts_path);
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

int fs_is_mounted(std::string_view directory) {
    return mounted_directories().contains(std::string(directory)) ? 0 : -1;
}

} // namespace zav

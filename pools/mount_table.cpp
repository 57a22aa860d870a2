// SPDX-License-Identifier: MIT
#include "pools/mount_table.h"

#include "frame/file.h"
#include "frame/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <mntent.h>

namespace zav {

namespace {

constexpr const char* mounts_path = "/proc/mounts";
constexpr int longest_entry = 4096;

struct CloseStream {
    void operator()(FILE* stream) const { std::fclose(stream); }
};

} // namespace

MountTable parse_mounts(std::string_view table) {
    MountTable mounts;
    if (table.empty()) {
        return mounts; // the C library opens no empty text
    }
    std::string text(table);
    const std::unique_ptr<FILE, CloseStream> stream(::fmemopen(text.data(), text.size(), "r"));
    std::array<char, longest_entry> line = {};
    mntent entry = {};
    while (stream && ::getmntent_r(stream.get(), &entry, line.data(), longest_entry) != nullptr) {
        mounts.push_back({entry.mnt_fsname, entry.mnt_dir});
    }
    return mounts;
}

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

const Mount* find_mount_named(const MountTable& mounts, std::string_view name) {
    const auto found = std::ranges::find_if(
        mounts, [name](const Mount& mount) { return last_component(mount.directory) == name; });
    return found != mounts.end() ? &*found : nullptr;
}

int fs_is_mounted(std::string_view directory) {
    return mounted_directories().contains(std::string(directory)) ? 0 : -1;
}

} // namespace zav

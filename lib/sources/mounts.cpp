// SPDX-License-Identifier: MIT
#include "sources/mounts.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <mntent.h>

namespace zav {

namespace {

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

const Mount* find_mount_named(const MountTable& mounts, std::string_view name) {
    const auto found = std::ranges::find_if(
        mounts, [name](const Mount& mount) { return last_component(mount.directory) == name; });
    return found != mounts.end() ? &*found : nullptr;
}

} // namespace zav

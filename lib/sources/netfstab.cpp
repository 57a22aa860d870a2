// SPDX-License-Identifier: MIT
#include "sources/netfstab.h"

#include "base/text.h"
#include "sources/fstab.h"

#include <algorithm>

namespace zav {

namespace {

// Whatever is there: "LABEL=", and "/mnt/".
constexpr std::size_t tag_length = 6;
constexpr std::size_t mount_directory_length = 5;

std::string_view behind(std::string_view text, std::size_t length) {
    return text.substr(std::min(length, text.size()));
}

} // namespace

void parse_netfstab(std::string_view text, fs_list& list) {
    parse_register(text, list, [](fs_info& fs, std::string_view source) {
        fs.name = behind(source, tag_length);
        fs.ownername = field(behind(fs.mntpoint, mount_directory_length), "/", 0);
        fs.device = netdisk_device;
    });
}

} // namespace zav

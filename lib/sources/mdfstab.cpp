// SPDX-License-Identifier: MIT
#include "sources/mdfstab.h"

#include "base/text.h"
#include "sources/fstab.h"

#include <algorithm>

namespace zav {

namespace {

constexpr std::size_t device_directory_length = 5; // of "/dev/", whatever is there

} // namespace

void parse_mdfstab(std::string_view text, fs_list& list) {
    parse_register(text, list, [](fs_info& fs, std::string_view path) {
        fs.name = path;
        fs.ownername = field(path.substr(std::min(device_directory_length, path.size())), "/", 0);
    });
}

} // namespace zav

// SPDX-License-Identifier: MIT
#include "records/disk.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

bool is_disk_name(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, is_letter_or_digit);
}

bool names_disk(std::string_view text, const disk_info& disk) {
    return !disk.name.empty() && text.starts_with(disk.name.view());
}

disk_info& append_copy(disk_list& list, const disk_info& disk) {
    disk_info& copy = list.append();
    copy.name = disk.name;
    copy.channel = disk.channel;
    copy.space = disk.space;
    copy.status = disk.status;
    copy.model = disk.model;
    copy.usage = disk.usage;
    copy.device = disk.device;
    copy.hotspare = disk.hotspare;
    return copy;
}

void disk_place_show(const disk_info& disk, Sink& out) {
    out.print("disk : ch = %d, devcie = %s, name = %s\n", disk.channel, disk.device.c_str(),
              disk.name.c_str());
}

} // namespace zav

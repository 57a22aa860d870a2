// SPDX-License-Identifier: MIT
#include "records/disk.h"

#include "base/text.h"

#include <algorithm>
#include <cstdio>

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

void disk_show(const disk_info& disk) {
    std::printf("'%s'\t'%d'\t'%lld'\t'%s'\t'%s'\t'%s'\t'%s'\t'%d'\n", disk.name.c_str(),
                disk.channel, static_cast<long long>(disk.space), disk.status.c_str(),
                disk.model.c_str(), disk.usage.c_str(), disk.device.c_str(), disk.hotspare);
    if (disk.model == virtual_disk_model) {
        return;
    }
    smart_summary_show(disk.smart);
    show_list(&disk.smart_attributes, smart_attribute_show);
}

void disk_place_show(const disk_info& disk, Sink& out) {
    out.print("disk : ch = %d, devcie = %s, name = %s\n", disk.channel, disk.device.c_str(),
              disk.name.c_str());
}

void display_disk_show(const display_disk_info& disk) {
    std::printf("'%s'\t'%d'\t'%lld'\t'%s'\t'%s'\t'%s'\t'%s'\t'%s'\t'%d'\t'%s'\n",
                disk.diskname.c_str(), disk.channel, static_cast<long long>(disk.space),
                disk.status.c_str(), disk.model.c_str(), disk.state.c_str(), disk.device.c_str(),
                disk.raid.c_str(), disk.use, disk.hotspare == 1 ? "H" : "NH");
}

void display_disk_list_show(const display_disk_list* list) {
    if (list != nullptr) {
        std::puts("diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\traid\tuse\thotspare");
        std::puts("*****************************************************");
    }
    show_list(list, display_disk_show, "Can't show NULL disklist");
}

int display_disk_list_destroy(display_disk_list* list) {
    return destroy_list(list, "Can't destory NULL disklist");
}

} // namespace zav

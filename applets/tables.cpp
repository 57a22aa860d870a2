// SPDX-License-Identifier: MIT
#include "applets/tables.h"

namespace zav {

namespace {

void pvinfo_display(const pvinfo& volume) {
    std::printf("\t%s\t%s\t%s\t%dG\t%dG\t%s\n", volume.name.c_str(), volume.allocatable.c_str(),
                volume.device.c_str(), static_cast<std::int32_t>(volume.size.count),
                static_cast<std::int32_t>(volume.used.count), volume.vgname.c_str());
}

} // namespace

void vginfo_display(const vginfo& group) {
    std::printf("%s\t%s\t%s\t%lldG\t%lldG\n", group.name.c_str(), group.status.c_str(),
                group.device.c_str(), static_cast<long long>(group.allsize.count),
                static_cast<long long>(group.usedsize.count));
    show_list(&group.physical_volumes, pvinfo_display);
}

void vginfo_list_display(const vginfo_list* list) {
    show_list(list, vginfo_display);
}

int vginfo_list_destroy(vginfo_list* list) {
    return destroy_list(list);
}

void fs_show(const fs_info& fs) {
    std::printf("%s\t%s\t%s\t%lldM\t%lldM\t%s\t%s\n", fs.name.c_str(),
                text_or(fs.mntpoint, not_available), text_or(fs.status, not_available),
                static_cast<long long>(fs.allsize.count), static_cast<long long>(fs.usedsize.count),
                text_or(fs.ownername, not_available), text_or(fs.device, not_available));
}

void fs_list_show(const fs_list* list) {
    show_list(list, fs_show);
}

void fs_table_show(const fs_list& list) {
    std::puts("name\tmntpoint\tstatus\tallsize\tusedsize\townername\tdevice");
    std::puts("***********************************************************");
    fs_list_show(&list);
}

int fs_list_destroy(fs_list* list) {
    return destroy_list(list);
}

void live_pv_list_display(const live_pv_list* list) {
    if (list != nullptr) {
        std::puts("uuid\t\tpvname");
    }
    show_list(list, [](const live_pv& volume) {
        std::printf("%s\t%s\n", volume.uuid.c_str(), volume.pvname.c_str());
    });
}

} // namespace zav

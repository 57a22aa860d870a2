// SPDX-License-Identifier: MIT
#include "records/group.h"

#include <cstdio>

namespace zav {

namespace {

void pvinfo_display(const pvinfo& volume) {
    std::printf("\t%s\t%s\t%s\t%dG\t%dG\t%s\n", volume.name.c_str(), volume.allocatable.c_str(),
                volume.device.c_str(), static_cast<std::int32_t>(volume.size),
                static_cast<std::int32_t>(volume.used), volume.vgname.c_str());
}

} // namespace

void vginfo_display(const vginfo& group) {
    std::printf("%s\t%s\t%s\t%lldG\t%lldG\n", group.name.c_str(), group.status.c_str(),
                group.device.c_str(), static_cast<long long>(group.allsize),
                static_cast<long long>(group.usedsize));
    show_list(&group.physical_volumes, pvinfo_display);
}

void vginfo_list_display(const vginfo_list* list) {
    show_list(list, vginfo_display);
}

int vginfo_list_destroy(vginfo_list* list) {
    return destroy_list(list);
}

} // namespace zav

// SPDX-License-Identifier: MIT
#include "records/filesystem.h"

#include <cstdio>

namespace zav {

namespace {

template <std::size_t Size>
void fill_empty(BoundedText<Size>& text) {
    if (text.empty()) {
        text = "N.A.";
    }
}

} // namespace

void fs_show(fs_info& fs) {
    fill_empty(fs.mntpoint);
    fill_empty(fs.status);
    fill_empty(fs.ownername);
    fill_empty(fs.device);
    std::printf("%s\t%s\t%s\t%lldM\t%lldM\t%s\t%s\n", fs.name.c_str(), fs.mntpoint.c_str(),
                fs.status.c_str(), static_cast<long long>(fs.allsize),
                static_cast<long long>(fs.usedsize), fs.ownername.c_str(), fs.device.c_str());
    if (fs.allsize == 0) {
        // Only now: the row still has it.
        fs.usedsize = 0;
    }
}

void fs_list_show(fs_list* list) {
    show_list(list, fs_show);
}

void fs_table_show(fs_list& list) {
    std::puts("name\tmntpoint\tstatus\tallsize\tusedsize\townername\tdevice");
    std::puts("***********************************************************");
    fs_list_show(&list);
}

int fs_list_destroy(fs_list* list) {
    return destroy_list(list);
}

} // namespace zav

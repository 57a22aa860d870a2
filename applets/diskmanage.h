// SPDX-License-Identifier: MIT
/// \file
/// The disk listing, as diskmanage prints it.
#pragma once

#include "records/disk.h"

namespace zav {

/// Prints one row of the disk listing.
void display_disk_show(const display_disk_info& disk);

/// Prints the listing's header, its rule and its rows; for no list "Can't show NULL disklist".
void display_disk_list_show(const display_disk_list* list);

/// Empties the list. 0, or -1 and a message for no list.
int display_disk_list_destroy(display_disk_list* list);

} // namespace zav

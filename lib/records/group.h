// SPDX-License-Identifier: MIT
/// \file
/// The volume-group record and, within it, the physical-volume record.
#pragma once

#include "base/bounded_text.h"
#include "base/lists.h"
#include "base/units.h"

#include <cstdint>

namespace zav {

/// One physical volume of a group.
struct pvinfo {
    /// Of the array, such as md0; of a single disk its channel; behind the RAID controller that of
    /// the controller's array.
    BoundedText<32> name;
    BoundedText<32> allocatable;
    BoundedText<8> device;
    Gib size;
    Gib used;
    BoundedText<32> vgname;
    ListLink link;
};

using pvinfo_list = RecordList<pvinfo>;

/// One volume group.
struct vginfo {
    BoundedText<33> name;
    BoundedText<32> status;
    BoundedText<8> device; ///< of the last physical volume that has one
    Gib allsize;
    Gib usedsize;
    pvinfo_list physical_volumes; ///< in the order of the tool's output
    ListLink link;
};

using vginfo_list = RecordList<vginfo>;

} // namespace zav

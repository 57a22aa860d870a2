// SPDX-License-Identifier: MIT
/// \file
/// The records of volume-group recovery.
#pragma once

#include "base/bounded_text.h"
#include "base/lists.h"

#include <string_view>

namespace zav {

/// A physical volume as LVM's backup names it.
struct backup_pv {
    BoundedText<128> id;     ///< the UUID
    BoundedText<128> device; ///< such as md0
    ListLink link;
};

/// A physical volume as LVM sees it now.
struct live_pv {
    BoundedText<128> uuid;
    BoundedText<128> pvname; ///< such as md0, or unknown_device
    ListLink link;
};

/// The name that stands for the device of a missing volume.
inline constexpr std::string_view unknown_device = "unknown";

using backup_pv_list = RecordList<backup_pv>;
using live_pv_list = RecordList<live_pv>;

/// How a physical volume of the backup stands.
enum class PvState {
    moved = -1,  ///< on another device than the backup says: nothing may be restored
    present = 0, ///< on a plain device, or on a RAM disk that took its place
    missing = 1,
    on_array = 2
};

PvState pv_state(const backup_pv& volume, const live_pv_list& live);

} // namespace zav

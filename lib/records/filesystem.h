// SPDX-License-Identifier: MIT
/// \file
/// The record of a registered file system, on a pool or on a network disk.
#pragma once

#include "base/bounded_text.h"
#include "base/lists.h"
#include "base/units.h"

#include <cstdint>
#include <string_view>

namespace zav {

struct fs_info {
    BoundedText<128> name; ///< a pool's device path, or a network disk's label
    BoundedText<128> mntpoint;
    BoundedText<16> fstype;
    BoundedText<32> status; ///< "available", "not available" or "umount"
    Mib allsize;
    Mib usedsize;
    BoundedText<33> ownername; ///< the pool's group
    BoundedText<8> device;     ///< the pool's
    ListLink link;
};

/// The types that appliances make.
inline constexpr std::string_view reiserfs_type = "reiserfs";
inline constexpr std::string_view xfs_type = "xfs";

using fs_list = RecordList<fs_info>;

inline constexpr const char* fs_available = "available";
inline constexpr const char* fs_not_available = "not available";
inline constexpr const char* fs_unmounted = "umount";

} // namespace zav

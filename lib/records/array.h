// SPDX-License-Identifier: MIT
/// \file
/// The array record.
#pragma once

#include "base/bounded_text.h"
#include "base/lists.h"
#include "base/units.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zav {

/// The levels as the tools spell them.
namespace raid_type {
inline constexpr std::string_view linear = "linear";
inline constexpr std::string_view raid0 = "raid0";
inline constexpr std::string_view raid1 = "raid1";
inline constexpr std::string_view raid5 = "raid5";
inline constexpr std::string_view raid6 = "raid6";
} // namespace raid_type

/// The state of an array that cannot run, and of one that nothing is known about.
inline constexpr std::string_view inactive_state = "inactive";

/// One array.
struct mdinfo {
    BoundedText<32> name; ///< of the kernel, such as md0
    BoundedText<8> type;
    BoundedText<48> status{inactive_state}; ///< else what mdadm gives as the state
    BoundedText<32> progress;               ///< of a rebuild, such as 12.6%(12.00MB/s)
    Gib allsize;
    Gib usedsize; ///< not discovered
    /// Separated by commas: kernel names with their marks, such as sda,sdb(F),sdc(S),*(M) for a
    /// faulty, a spare and a missing member; after disks_to_ch() channels with the same marks.
    BoundedText<128> members;
    BoundedText<32> spare; ///< channels of the spare members, separated by commas
    BoundedText<8> device; ///< of the member disks
    ListLink link;
};

using mdinfo_list = RecordList<mdinfo>;

/// Makes the record as new: everything empty, the state inactive.
int mdinfo_init(mdinfo& array);

/// The array of that name, or null.
mdinfo* find_array(mdinfo_list& list, std::string_view name);

/// Adds an item to a list separated by commas.
void append_item(std::string& list, std::string_view item);

} // namespace zav

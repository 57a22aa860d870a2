// SPDX-License-Identifier: MIT
/// \file
/// LVM: the texts of its commands, and the parsers of what they print. The listings' fields are
/// separated by ":", and of a line of more than 255 characters only the first 255 are looked at.
/// Uneven blanks in the commands stay: those who read logs compare them.
#pragma once

#include "records/backup_volume.h"
#include "records/group.h"
#include "records/pool.h"

#include <functional>
#include <string_view>
#include <unordered_map>

namespace zav {

// Listings; the last argument is the captured output's path.
inline constexpr const char* vgdisplay_template = "/tmp/vgdisplay.XXXXXX";
inline constexpr const char* pvdisplay_template = "/tmp/pvdisplay.XXXXXX";
inline constexpr char vgdisplay_command[] = "/sbin/vgdisplay -c > %s";
inline constexpr char vgdisplay_group_command[] = "/sbin/vgdisplay -c %s > %s";
inline constexpr char pvdisplay_command[] = "/sbin/pvdisplay -c > %s";
inline constexpr const char* lvdisplay_template = "/tmp/lvdisplay.XXXXXX";
// The blank at the end belongs to the text: logs show it.
inline constexpr char lvdisplay_command[] = "/sbin/lvdisplay -c > %s ";
// The same for shares.
inline constexpr char lvdisplay_plain_command[] = "/sbin/lvdisplay -c > %s";
inline constexpr char lvdisplay_pool_command[] = "/sbin/lvdisplay -c %s/%s > %s"; // group, pool

// Volumes and groups. The arguments: volume; volume; group and its volumes, each with a blank in
// front; group; group and volume.
inline constexpr char create_volume_command[] = "/sbin/pvcreate /dev/%s > /dev/null";
inline constexpr char remove_volume_command[] = "/sbin/pvremove /dev/%s > /dev/null";
inline constexpr char create_group_command[] = "/sbin/vgcreate %s %s > /dev/null";
inline constexpr char remove_group_command[] = "/sbin/vgremove %s > /dev/null";
inline constexpr char extend_group_command[] = "/sbin/vgextend %s /dev/%s > /dev/null";

// Pools. The arguments: size in GiB, pool, group; size in GiB, group, pool; group, pool.
inline constexpr char create_pool_command[] = "/sbin/lvcreate -L %lldG -n %s %s > /dev/null";
inline constexpr char extend_pool_command[] = "/sbin/lvextend -L %lldG /dev/%s/%s > /dev/null";
inline constexpr char remove_pool_command[] = "/sbin/lvremove -f %s/%s > /dev/null";

// Recovery. The arguments: UUID, number of the RAM disk; group; none.
inline constexpr char substitute_command[] = "/sbin/pvcreate -u %s /dev/ram%d";
inline constexpr char restore_group_command[] = "/sbin/vgcfgrestore %s";
inline constexpr char scan_groups_command[] = "/sbin/vgscan > /dev/null";

/// Adds the groups of vgdisplay -c to the list. Lines without fields are the tool's remarks.
void parse_vgdisplay(std::string_view output, vginfo_list& list);

/// Sets the device and the final name of a physical volume that has its short name (md0, sdc), and
/// the device of its group.
using LocateVolume = std::function<void(pvinfo& volume, vginfo& group)>;

/// Adds the physical volumes of pvdisplay -c to the groups that they name. Lines of unknown groups
/// are passed over.
void parse_pvdisplay(std::string_view output, vginfo_list& list, const LocateVolume& locate);

/// Whether vgdisplay -c printed a line of that group.
bool has_group_line(std::string_view output, std::string_view name);

/// Adds every physical volume of pvdisplay -c to the list, whatever its group.
void parse_live_volumes(std::string_view output, live_pv_list& list);

/// Whether "pvdisplay -c" has printed volumes, and nothing else but its remarks on them, to the end
/// of the last line. What else it prints tells nothing of the volumes that it does not name.
bool is_whole_volume_list(std::string_view output);

/// Adds the pools of lvdisplay -c to the list, each with the device of its group.
void parse_lvdisplay(std::string_view output, const vginfo_list& groups, pool_list& list);

/// Whether a line of lvdisplay -c names a pool of that name.
bool has_pool_line(std::string_view output, std::string_view pool);

using GroupsByPool = std::unordered_map<std::string_view, std::string_view>;

/// The groups of all pools by their names, in the output of lvdisplay -c, which has to outlive the
/// result. Of namesakes the first one counts.
GroupsByPool groups_of_pools(std::string_view output);

/// The groups of all pools of that name, in their order.
std::vector<std::string_view> groups_with_pool(std::string_view output, std::string_view pool);

} // namespace zav

// SPDX-License-Identifier: MIT
#include "sources/mount.h"

#include "base/text.h"
#include "records/filesystem.h"

namespace zav {

namespace {

/// Whether XFS of that kernel has inodes beyond 1 TiB. The texts are compared, not the versions:
/// 2.6.4 counts as later than 2.6.30.
bool has_inode64(std::string_view release) {
    constexpr std::string_view first_release = "2.6.30";
    return release.substr(0, first_release.size() + 1) >= first_release;
}

} // namespace

std::string mount_text(const char* mntpoint, const std::string& source, std::string_view type,
                       const char* reiserfs_mount, std::string_view release) {
    if (type == reiserfs_type) {
        return format_text(mount_command, reiserfs_mount, reiserfs_type.data(), source.c_str(),
                           mntpoint);
    }
    return has_inode64(release)
               ? format_text(mount_with_option_command, xfs_type.data(), "inode64", source.c_str(),
                             mntpoint)
               : format_text(mount_command, "mount", xfs_type.data(), source.c_str(), mntpoint);
}

} // namespace zav

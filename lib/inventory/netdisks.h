// SPDX-License-Identifier: MIT
/// \file
/// Network disks: whole block devices that carry a file system known by its label.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/filesystem.h"
#include "sources/netfstab.h"

#include <string>
#include <string_view>

namespace zav {

/// Adds every network disk of the register to the list. Code::ok, or Code::register_unread, which
/// is logged.
Code netfstab_read(fs_list& list);

/// Whether a network disk of that label is registered.
Presence netfs_label_used(std::string_view label);

/// The device, such as /dev/sdf, of the mounted disk of that label: the one on the registered mount
/// point, or else the one on directories whose last component is the label. Empty when there is
/// none; when these name several devices, or one while another carries the label, which is logged;
/// or when the mount table cannot be read, which is printed. Reads /etc/netfstab, /proc/mounts and
/// /dev/disk/by-label.
std::string mounted_device(std::string_view label, Sink& out);

/// mounted_device(), when it is mounted where network disks of that label are, or carries the
/// label: a directory of that name alone may be on anybody's device. Else empty, which is logged.
std::string device_to_clear(std::string_view label, Sink& out);

/// The device that carries the label, mounted or not; empty when the kernel knows none. Reads
/// /dev/disk/by-label.
std::string labelled_device(std::string_view label);

/// Adds the network disks to the list, each as mounted or not. Code::register_unread is
/// printed.
Code netfs_list_get(fs_list& list, Sink& out);

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// What diskmanage does to disks. As in all files of this folder, arguments are texts as they were
/// typed, null where one was not given; each is checked. A failure is in the log when the action
/// returns its code.
#pragma once

#include "actions/disks/disks.h"
#include "base/codes.h"
#include "base/sink.h"
#include "records/disk.h"

namespace zav::commands {

struct DiskArguments {
    const char* channel = nullptr;
    const char* device = disk_device::main_controller;
};

/// Clears a disk. Code::bad_device, Code::bad_channel, or a code of zav_disk_init().
Code initialize_disk(const DiskArguments& arguments, Sink& out);

/// Makes a disk a hot spare, or an ordinary one again. Code::bad_device, Code::bad_channel, or a
/// code of zav_set_hotspare().
Code set_hotspare(const DiskArguments& arguments, HotspareMode mode, Sink& out);

} // namespace zav::commands

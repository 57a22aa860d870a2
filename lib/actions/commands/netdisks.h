// SPDX-License-Identifier: MIT
/// \file
/// What netmanage does to network disks.
#pragma once

#include "base/codes.h"
#include "base/sink.h"

namespace zav::commands {

struct NewNetdiskArguments {
    const char* label = nullptr;
    const char* disk = nullptr; ///< as under /dev
};

/// Makes a network disk. Code::bad_group_name, Code::pool_name_taken, or a code of create_netfs().
Code create_netdisk(const NewNetdiskArguments& arguments);

/// Removes a registered network disk. Code::ok, also for one that is not registered, which is
/// logged; Code::bad_group_name, Code::register_unread, or a code of delete_netfs().
Code remove_netdisk(const char* label, Sink& out);

/// Repairs the file system on a network disk. Code::bad_pool_name, or a code of repair_kor_netfs().
Code repair_netdisk(const char* label, Sink& out);

} // namespace zav::commands

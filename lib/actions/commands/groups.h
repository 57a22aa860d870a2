// SPDX-License-Identifier: MIT
/// \file
/// What vgmanage does to volume groups.
#pragma once

#include "base/codes.h"
#include "base/sink.h"

namespace zav::commands {

struct NewGroupArguments {
    const char* name = nullptr;
    const char* volumes = nullptr;
    const char* device = nullptr;
};

/// Makes a group. Code::bad_group_name, Code::bad_volume_list, Code::bad_device,
/// Code::group_not_created, or a code of create_group() in actions/groups.
Code create_group(const NewGroupArguments& arguments, Sink& out);

/// Removes a group, brought back as far as that takes. Code::bad_group_name,
/// Code::group_not_deleted, Code::group_output_unread, or a code of find_group_to_delete() or
/// remove_group().
Code remove_group(const char* name, Sink& out);

} // namespace zav::commands

// SPDX-License-Identifier: MIT
/// \file
/// The parser of the register of network disks. It takes text and gives records.
#pragma once

#include "pools/fs_record.h"

#include <string_view>

namespace zav {

/// Adds the network disks of /etc/netfstab to the list, each under its label.
void parse_netfstab(std::string_view text, fs_list& list);

} // namespace zav

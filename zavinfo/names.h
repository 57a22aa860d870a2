// SPDX-License-Identifier: MIT
/// \file
/// How records are named where others refer to them.
#pragma once

#include "zav/zav.hpp"

#include <string>
#include <vector>

namespace zavinfo {

/// The kernel's name, such as "sda"; behind a RAID controller, which hides it, device and channel,
/// such as "0:3".
std::string id_of(const zav_disk& disk);

/// The names of the services that have a share, such as "samba".
std::vector<std::string> services_of(const zav_share& share);

/// Whether clients are to reach it, as far as the registers tell.
bool is_offered(const zav_share& share);

/// Whether clients do reach it: it is served, mounted, and its service is not known to be stopped.
bool is_reachable(const zav::View& view, const zav_share& share);

} // namespace zavinfo

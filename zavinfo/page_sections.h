// SPDX-License-Identifier: MIT
/// \file
/// What stands in the sections of the page.
#pragma once

#include "zavinfo/html.h"
#include "zavinfo/page.h"

namespace zavinfo {

// page.cpp
Html findings_section(const std::vector<Finding>& findings);
Html map_section(const zav::View& view, const Limits& limits);

// page_storage.cpp
Html disks_section(const zav::View& view);
Html arrays_section(const zav::View& view);
Html space_section(const zav::View& view, const Limits& limits);

// page_services.cpp
Html shares_section(const zav::View& view);
Html services_section(const zav::View& view);
Html appliance_section(const zav::View& view);
Html errors_section(const std::vector<LoggedError>& errors);

} // namespace zavinfo

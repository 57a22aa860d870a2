// SPDX-License-Identifier: MIT
#pragma once

#include "base/codes.h"

namespace zav {

/// Hands a changed configuration item to the appliance's configuration tool, chosen by the product
/// model. Reads /etc/sys_info and /etc/nas_base.conf, runs xconf or nasconf. The
/// model getter's code, or Code::command_failed.
Code conf_save(const char* item);

} // namespace zav

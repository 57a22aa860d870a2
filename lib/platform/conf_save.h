// SPDX-License-Identifier: MIT
#pragma once

namespace zav {

/// Hands a changed configuration item to the appliance's configuration tool, chosen by the product
/// model. Reads /etc/sys_info and /etc/nas_base.conf, runs xconf or nasconf. 0, the model getter's
/// code, or error::command_failed.
int conf_save(const char* item);

} // namespace zav

// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace zav {

/// The product model, at most 31 characters; empty, which is no special model, when it cannot be
/// read. Reads /etc/sys_info and /etc/nas_base.conf.
std::string product_model();

} // namespace zav

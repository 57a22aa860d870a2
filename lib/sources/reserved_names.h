// SPDX-License-Identifier: MIT
/// \file
/// The file of reserved array names: one a line.
#pragma once

#include <string>
#include <string_view>

namespace zav {

inline constexpr const char* reservation_path = "/tmp/mdname.test";

/// Whether a line is the name.
bool is_reserved(std::string_view names, std::string_view name);

/// The lines that do not begin with the name, as they are.
std::string lines_without(std::string_view names, std::string_view name);

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// Releases of the kernel.
#pragma once

#include <cstdint>
#include <string_view>

namespace zav {

/// major * 1,000,000 + minor * 1,000 + patch of a kernel release such as 6.1.0-13-amd64; -1 for a
/// text of another form.
std::int64_t kernel_version(std::string_view release);

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// Units that the tools and the kernel count in.
#pragma once

#include <cstdint>
#include <limits>

namespace zav {

/// GiB of a number of 512-byte sectors, rounded to the nearest, a half up.
constexpr std::uint64_t sectors_to_gib(std::uint64_t sectors) {
    constexpr std::uint64_t half = std::uint64_t{1} << 20;
    constexpr int shift = 21;
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    return sectors > largest - half ? largest >> shift : (sectors + half) >> shift;
}

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// Units that the tools and the kernel count in.
#pragma once

#include <cstdint>
#include <limits>

namespace zav {

/// GiB of a number of 512-byte sectors, rounded half up.
constexpr std::uint64_t sectors_to_gib(std::uint64_t sectors) {
    constexpr std::uint64_t half = std::uint64_t{1} << 20;
    constexpr int shift = 21;
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    return sectors > largest - half ? largest >> shift : (sectors + half) >> shift;
}

/// GiB of a number of KiB, rounded half up.
constexpr std::uint64_t kibibytes_to_gib(std::uint64_t kibibytes) {
    constexpr std::uint64_t half = std::uint64_t{1} << 19;
    constexpr int shift = 20;
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    return kibibytes > largest - half ? largest >> shift : (kibibytes + half) >> shift;
}

} // namespace zav

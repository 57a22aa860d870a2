// SPDX-License-Identifier: MIT
/// \file
/// Sizes that know their unit: the tools and the kernel count in five.
#pragma once

#include <compare>
#include <cstdint>
#include <limits>

namespace zav {

/// A number of units of `Bytes` bytes each. Sizes in different units do not mix.
template <std::uint64_t Bytes, typename Number = std::uint64_t>
struct Size {
    static constexpr std::uint64_t unit = Bytes;
    Number count = 0;

    constexpr bool operator==(const Size&) const = default;
    constexpr auto operator<=>(const Size& other) const { return count <=> other.count; }
};

using Sectors = Size<512>;
using Kib = Size<std::uint64_t{1} << 10>;
using Mib = Size<std::uint64_t{1} << 20>;
using Gib = Size<std::uint64_t{1} << 30>;

/// Of shares, whose register may hold any number.
using SignedGib = Size<Gib::unit, std::int64_t>;
/// The use of shares, which is printed in hundredths of a GiB: 102.4 of these make one.
using TenMib = Size<10 * Mib::unit, std::int64_t>;

/// What makes and checks pools takes any bits that a share has for its size.
constexpr Gib unsigned_size(SignedGib size) {
    return {static_cast<std::uint64_t>(size.count)};
}

template <std::uint64_t Bytes>
constexpr std::uint64_t in_bytes(Size<Bytes> size) {
    return size.count * Bytes;
}

/// A size in a larger unit, rounded half up.
template <class To, std::uint64_t Bytes>
constexpr To rounded(Size<Bytes> size) {
    constexpr std::uint64_t ratio = To::unit / Bytes;
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t count =
        size.count > largest - ratio / 2 ? largest / ratio : (size.count + ratio / 2) / ratio;
    return {static_cast<decltype(To::count)>(count)};
}

/// A size in a larger unit, rounded down.
template <class To, std::uint64_t Bytes>
constexpr To whole(Size<Bytes> size) {
    return {static_cast<decltype(To::count)>(size.count / (To::unit / Bytes))};
}

} // namespace zav

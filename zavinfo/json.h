// SPDX-License-Identifier: MIT
/// \file
/// A snapshot as JSON. docs/zavinfo.schema.json says what is in it.
#pragma once

#include "zav/zav.hpp"
#include "zavinfo/parts.h"

#include <cstdint>
#include <string>

namespace zavinfo {

/// The version of the schema. It grows when a field goes or changes its meaning; new fields may be
/// added without that.
inline constexpr int json_schema = 1;

/// `taken_at` is in seconds since 1970. Bytes that are not UTF-8 are replaced. Ends in a line feed.
std::string json_text(const zav::View& view, const Parts& parts, std::int64_t taken_at);

} // namespace zavinfo

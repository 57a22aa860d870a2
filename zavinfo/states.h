// SPDX-License-Identifier: MIT
/// \file
/// The states of things in words for people, and how good they are.
#pragma once

#include "zavinfo/findings.h"

#include <string>

namespace zavinfo {

/// How a thing is. Each has a shape and a word besides its colour.
enum class Mark { good, doubtful, bad, idle, unknown };

struct State {
    Mark mark;
    std::string text;
};

/// What its array says of it counts too.
State state_of(const zav::View& view, const zav_disk& disk);
State state_of(const zav_array& array);
State state_of(const zav_pool& pool);
/// With how full it is.
State state_of(const zav_filesystem& filesystem, const Limits& limits);
State state_of(const zav::View& view, const zav_share& share);
State state_of(const zav_service& service);
State state_of(Severity severity);

/// "bay 3", "bay 3 of device 1".
std::string bay_text(const zav_disk& disk);

} // namespace zavinfo

// SPDX-License-Identifier: MIT
/// \file
/// A snapshot as OpenMetrics text, all of it gauges: with no type that the older text format lacks,
/// a node exporter's text-file collector reads it too.
#pragma once

#include "zavinfo/findings.h"

#include <string>

namespace zavinfo {

std::string metrics_text(const zav::View& view, const Limits& limits = {});

} // namespace zavinfo

// SPDX-License-Identifier: MIT
#pragma once

#include "applets/options.h"

#include <span>

namespace zav {

/// What an applet takes and how it explains itself. A usage that begins with a backspace means
/// that there is no help.
struct AppletText {
    OptionSettings options;
    const char* usage;
};

/// In the order of the applet table.
std::span<const AppletText> applet_texts();

} // namespace zav

// SPDX-License-Identifier: MIT
#pragma once

#include "base/sink.h"

namespace zav {

/// What the library has to say goes to standard output, in order with what the commands print.
Sink& standard_output();

} // namespace zav

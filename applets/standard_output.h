// SPDX-License-Identifier: MIT
#pragma once

#include "base/sink.h"

namespace zav {

/// What the library has to say goes to standard output, in order with what the commands print.
Sink& standard_output();

/// Ends the program. When something that it printed could not be written, as on a full disk or to a
/// front end that is gone, that is logged, and a status of success becomes one of failure: whoever
/// reads the output must not take a part of it for the whole.
[[noreturn]] void end_run(int status);

} // namespace zav

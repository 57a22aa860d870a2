// SPDX-License-Identifier: MIT
// The executable under test: the build's, or the one that $ZAVBOX_EXECUTABLE names. Linked into the
// programs whose tests run it, and into no other: there a run fails for want of an executable.
#include "executable.h"

#include <cstdlib>

const char* zav_executable_under_test() {
    const char* path = std::getenv("ZAVBOX_EXECUTABLE");
    return path != nullptr ? path : ZAVBOX_EXECUTABLE;
}

// SPDX-License-Identifier: MIT
#pragma once

// The host's path of the executable under test, which a private root sees as /usr/bin/zavbox. There
// is such a function in the programs whose tests run the executable only.
extern "C" const char* zav_executable_under_test() __attribute__((weak));

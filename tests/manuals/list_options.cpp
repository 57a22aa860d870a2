// SPDX-License-Identifier: MIT
// Prints for every command a line with its name, its getopt string and its long options, as the
// option parser gets them.
#include "applets/applets.h"

#include <cstdio>

int main() {
    for (const zav::Applet& applet : zav::applets()) {
        std::printf("%s %s", applet.name, applet.options.short_options);
        for (const option* at = applet.options.long_options; at->name != nullptr; ++at) {
            std::printf(" %s", at->name);
        }
        std::printf("\n");
    }
    return 0;
}

// SPDX-License-Identifier: MIT
// The kernel's release text as a number.
#include "sources/kernel_release.h"

#include "fuzz.h"

namespace zav::fuzz {

void run(std::string_view input) {
    const long version = kernel_version(input);
    require(version >= -1, "a version is a number, or -1");
    require(version == -1 || (!input.empty() && input.front() >= '0' && input.front() <= '9'),
            "a version begins with a digit");
}

} // namespace zav::fuzz

// SPDX-License-Identifier: MIT
// /proc/meminfo and the output of vmstat.
#include "fuzz.h"
#include "sources/meminfo.h"
#include "sources/vmstat.h"

#include <cmath>

namespace zav::fuzz {

void run(std::string_view input) {
    const auto memory = memory_in_use(input);
    require(!memory || std::isfinite(*memory), "memory in use is a number");
    require(!memory || *memory <= 100.0F, "and at most all of it");
    const auto processor = processor_in_use(input);
    require(!processor || *processor <= 100.0F, "a processor is in use at most wholly");
}

} // namespace zav::fuzz

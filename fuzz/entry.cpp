// SPDX-License-Identifier: MIT
#include "fuzz.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zav::fuzz::run({reinterpret_cast<const char*>(data), size});
    return 0;
}

// SPDX-License-Identifier: MIT
/// \file
/// What a disk says about its health, as part of the disk record.
#pragma once

#include "base/bounded_text.h"
#include "base/lists.h"

#include <cstdint>

namespace zav {

struct smart_summary {
    BoundedText<32> device_model;
    BoundedText<32> serial_number;
    BoundedText<16> firmware_version;
    BoundedText<32> user_capacity;
    BoundedText<8> ata_version;
    BoundedText<64> ata_standard;
    BoundedText<64> support;         ///< the first "SMART support is" line: whether it is there
    BoundedText<16> support_enabled; ///< the second: whether it is switched on
    BoundedText<16> health;
};

struct smart_attribute {
    BoundedText<4> id;
    BoundedText<32> name;
    std::uint32_t value = 0;
    std::uint32_t worst = 0;
    std::uint32_t threshold = 0;
    BoundedText<16> when_failed;
    std::uint32_t raw = 0;
    ListLink link;
};

using smart_attribute_list = RecordList<smart_attribute>;

} // namespace zav

// SPDX-License-Identifier: MIT
// Values of mdadm's details.
#include "base/text.h"
#include "base/units.h"
#include "fuzz.h"
#include "sources/mdadm.h"

namespace zav::fuzz {

void run(std::string_view input) {
    for (const char* key : {detail_key::level, detail_key::array_size, detail_key::device_size,
                            detail_key::state, detail_key::raid_devices}) {
        const auto value = parse_detail_value(input, key);
        require(value.has_value() == get_line(input, key, 0, ":").has_value(),
                "a key has a value when it has a line");
        if (!value) {
            continue;
        }
        require(value->find(':') == value->npos, "a value ends before a colon");
        require(value->empty() || white_space.find(value->front()) == white_space.npos,
                "a value begins without white space");
        const std::uint64_t kilobytes = decimal(*value);
        require(rounded<Gib>(Kib{kilobytes}).count - (kilobytes >> 20) <= 1,
                "gigabytes are rounded to the nearest");
        is_rebuilding(*value);
    }
    require(!is_rebuilding(input) || input.find("recovering") != input.npos ||
                input.find("resyncing") != input.npos,
            "a rebuild is called one");
}

} // namespace zav::fuzz

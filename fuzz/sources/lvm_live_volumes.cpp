// SPDX-License-Identifier: MIT
// What pvdisplay prints, and how the volumes of a backup relate to it.
#include "base/text.h"
#include "fuzz.h"
#include "sources/lvm.h"

#include <string>

namespace zav::fuzz {

namespace {

constexpr std::string_view no_text_of_a_line = "\n";

void check_record(const live_pv& volume, std::string_view output) {
    const std::string_view uuid = volume.uuid;
    const std::string_view name = volume.pvname;
    require(uuid.find(':') == uuid.npos, "a UUID is what stands behind the last colon");
    require(uuid.empty() || white_space.find(uuid.front()) == white_space.npos,
            "a UUID begins with no white space");
    require(output.find(uuid) != output.npos, "a UUID is in the output");
    require(name.find(':') == name.npos, "a name ends before the first colon");
    const std::string path = "/dev/" + std::string(name);
    require(name == unknown_device || output.find(path) != output.npos,
            "a name stood below the devices' directory");
}

PvState state(const live_pv_list& live, std::string_view id, std::string_view device) {
    backup_pv volume;
    volume.id = id;
    volume.device = device;
    return pv_state(volume, live);
}

// The state of the first volume with the id of `volume`.
void check_states(const live_pv_list& live, const live_pv& volume) {
    const std::string_view name = volume.pvname;
    require(state(live, volume.uuid, name) ==
                (name.starts_with("md") ? PvState::on_array : PvState::present),
            "a volume on its own device is on an array or present");
    const PvState elsewhere = state(live, volume.uuid, no_text_of_a_line);
    require(elsewhere == (name.starts_with("ram")  ? PvState::present
                          : name == unknown_device ? PvState::missing
                                                   : PvState::moved),
            "a volume on another device is on a RAM disk, missing, or moved");
}

} // namespace

void run(std::string_view input) {
    live_pv_list live;
    parse_live_volumes(input, live);
    for (const live_pv& volume : live) {
        check_record(volume, input);
    }
    if (!live.empty()) {
        check_states(live, *live.begin());
    }
    require(state(live, no_text_of_a_line, "md0") == PvState::missing,
            "a volume that nobody sees is missing");
}

} // namespace zav::fuzz

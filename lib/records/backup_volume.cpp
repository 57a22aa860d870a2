// SPDX-License-Identifier: MIT
#include "records/backup_volume.h"

#include <algorithm>

namespace zav {

PvState pv_state(const backup_pv& volume, const live_pv_list& live) {
    const auto found = std::ranges::find_if(
        live, [&volume](const live_pv& candidate) { return candidate.uuid == volume.id; });
    if (found == live.end()) {
        return PvState::missing;
    }
    const std::string_view device = found->pvname;
    if (device == volume.device.view()) {
        return device.starts_with("md") ? PvState::on_array : PvState::present;
    }
    if (device.starts_with("ram")) {
        return PvState::present;
    }
    return device == unknown_device ? PvState::missing : PvState::moved;
}

} // namespace zav

// SPDX-License-Identifier: MIT
#include "zavinfo/names.h"

#include "zavinfo/text.h"

#include <algorithm>

namespace zavinfo {

std::string id_of(const zav_disk& disk) {
    return *disk.name != '\0' ? std::string(disk.name)
                              : std::string(disk.device) + ":" + std::to_string(disk.channel);
}

std::vector<std::string> services_of(const zav_share& share) {
    return words(lower(share.service_text), ", ");
}

bool is_offered(const zav_share& share) {
    return share.state == ZAV_SHARE_SERVED || share.state == ZAV_SHARE_NOT_SERVED;
}

bool is_reachable(const zav::View& view, const zav_share& share) {
    const bool is_stopped =
        std::ranges::any_of(view.services, [&share](const zav_service& service) {
            return service.kind == share.service && service.running == ZAV_STOPPED;
        });
    return share.state == ZAV_SHARE_SERVED && share.is_mounted != 0 && !is_stopped;
}

} // namespace zavinfo

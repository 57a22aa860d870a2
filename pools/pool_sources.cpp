// SPDX-License-Identifier: MIT
#include "pools/pool_sources.h"

#include "frame/text.h"
#include "frame/units.h"

#include <algorithm>
#include <unordered_map>

namespace zav {

namespace {

/// Whether an integer is not 0, whatever its sign.
bool is_set(std::string_view integer) {
    integer.remove_prefix(integer.starts_with('-') ? 1 : 0);
    return decimal(integer) != 0;
}

std::string_view trim_left(std::string_view line) {
    return line.substr(std::min(line.find_first_not_of(white_space), line.size()));
}

} // namespace

void parse_lvdisplay(std::string_view output, const vginfo_list& groups, pool_list& list) {
    std::unordered_map<std::string_view, std::string_view> devices;
    for (const vginfo& group : groups) {
        devices.emplace(group.name.view(), group.device.view()); // of namesakes the first
    }
    LinePieces pieces(output);
    std::string_view line;
    while (pieces.next(line)) {
        line = trim_left(line);
        if (!line.starts_with("/dev/") || line.find(':') == std::string_view::npos) {
            continue; // a remark of the tool
        }
        pool_info& pool = list.append();
        pool.name = cut_at(line, ":");
        pool.status = is_set(field(line, ":", 3)) ? "available" : "not available";
        pool.vgname = field(line, ":", 1);
        pool.allsize = sectors_to_gib(decimal(field(line, ":", 6)));
        if (const auto device = devices.find(pool.vgname); device != devices.end()) {
            pool.device = device->second;
        }
    }
}

bool has_pool_line(std::string_view output, std::string_view pool) {
    LinePieces pieces(output);
    std::string_view line;
    while (pieces.next(line)) {
        // Of a longer line the first piece alone counts.
        if (pieces.starts_line() && last_component(cut_at(trim_left(line), ":")) == pool) {
            return true;
        }
    }
    return false;
}

} // namespace zav

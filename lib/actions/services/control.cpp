// SPDX-License-Identifier: MIT
#include "actions/services/control.h"

#include "base/command.h"
#include "base/text.h"
#include "records/share.h"
#include "sources/init_script.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zav {

namespace {

constexpr std::array<std::pair<std::string_view, const char*>, 4> scripts = {{
    {share_type::samba, "samba"},
    {share_type::nfs, "nfs"},
    {share_type::ftp, "vsftpd"},
    {share_type::iscsi, "iscsi-target"},
}};

} // namespace

void restart_service(std::string_view type) {
    const auto* script = std::ranges::find_if(
        scripts, [type](const auto& entry) { return equal_ignoring_case(entry.first, type); });
    if (script == scripts.end()) {
        return;
    }
    for (const char* action : {"stop", "start"}) {
        ignore(run_and_log(format_text(service_command, script->second, action)));
    }
}

} // namespace zav

// SPDX-License-Identifier: MIT
#include "actions/services/control.h"

#include "base/command.h"
#include "base/text.h"
#include "platform/services.h"
#include "sources/init_script.h"

namespace zav {

void restart_service(std::string_view type) {
    const Service* service = find_service(type);
    if (service == nullptr) {
        return;
    }
    for (const char* action : {"stop", "start"}) {
        ignore(run_and_log(format_text(service_command, service->script, action)));
    }
}

} // namespace zav

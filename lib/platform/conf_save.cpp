// SPDX-License-Identifier: MIT
#include "platform/conf_save.h"

#include "base/command.h"
#include "base/text.h"
#include "platform/models.h"
#include "sources/conf_tools.h"
#include "zav/system_status.h"

namespace zav {

Code conf_save(const char* item) {
    char model[32] = "";
    if (const int result = devmodel_get(model, sizeof model); result != 0) {
        log_errno(result, LogSite::numbered(28));
        return static_cast<Code>(result);
    }
    return run_or_fail(find_model(model).save_tool == SaveTool::xconf
                           ? format_text(server_save_command, item)
                           : format_text(save_command, item));
}

} // namespace zav

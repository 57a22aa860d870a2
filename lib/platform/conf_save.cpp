// SPDX-License-Identifier: MIT
#include "platform/conf_save.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "platform/models.h"
#include "sources/conf_tools.h"
#include "zav/system_status.h"

namespace zav {

namespace {

/// One model of the other family is saved by the server family's tool.
constexpr std::string_view server_saved_model = "VEL7206P";

} // namespace

int conf_save(const char* item) {
    char model[32] = "";
    if (const int result = devmodel_get(model, sizeof model); result != 0) {
        log_errno(result, LogSite::numbered(28));
        return result;
    }
    const bool by_server_tool = is_server_family(model) || model == server_saved_model;
    return run_or_fail(by_server_tool ? format_text(server_save_command, item)
                                      : format_text(save_command, item));
}

} // namespace zav

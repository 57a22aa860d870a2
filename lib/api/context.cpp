// SPDX-License-Identifier: MIT
#include "api/context.h"

#include "base/text.h"

#include <new>

namespace zav {

namespace {

constexpr unsigned known_targets = ZAV_LOG_FILE | ZAV_LOG_CALLBACK;

void pass_line(void* user, Severity severity, const char* text) {
    const auto& ctx = *static_cast<const zav_ctx*>(user);
    ctx.log(ctx.log_user, severity == Severity::error ? ZAV_SEVERITY_ERROR : ZAV_SEVERITY_DEBUG,
            text);
}

} // namespace

} // namespace zav

using namespace zav;

zav_ctx* zav_ctx_new() {
    return new (std::nothrow) zav_ctx();
}

void zav_ctx_free(zav_ctx* ctx) {
    delete ctx;
}

int zav_ctx_set_log(zav_ctx* ctx, unsigned targets, zav_log_callback callback, void* user) {
    const bool calls = (targets & ZAV_LOG_CALLBACK) != 0;
    if (ctx == nullptr || (targets & ~known_targets) != 0 || (calls && callback == nullptr)) {
        return ZAV_E_INVALID_ARGUMENT;
    }
    ctx->settings.logs_to_file = (targets & ZAV_LOG_FILE) != 0;
    ctx->settings.log = calls ? pass_line : nullptr;
    ctx->settings.log_user = ctx;
    if (calls) {
        ctx->log = callback;
        ctx->log_user = user;
    }
    return ZAV_OK;
}

int zav_ctx_set_command_time_limit(zav_ctx* ctx, unsigned milliseconds) {
    if (ctx == nullptr) {
        return ZAV_E_INVALID_ARGUMENT;
    }
    ctx->settings.command_time_limit = std::chrono::milliseconds(milliseconds);
    return ZAV_OK;
}

int zav_ctx_set_progress(zav_ctx* ctx, zav_progress_callback callback, void* user) {
    if (ctx == nullptr) {
        return ZAV_E_INVALID_ARGUMENT;
    }
    ctx->settings.progress = callback;
    ctx->settings.progress_user = user;
    return ZAV_OK;
}

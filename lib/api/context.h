// SPDX-License-Identifier: MIT
/// \file
/// The context of the C interface, and how its calls end.
#pragma once

#include "base/session.h"
#include "zav/context.h"

struct zav_ctx {
    zav::SessionSettings settings;
    zav_log_callback log = nullptr;
    void* log_user = nullptr;
};

namespace zav {

/// Fills in what a code means; no command has failed. `error` may be null. Returns the code.
int set_error(zav_error* error, int code) noexcept;

/// The same with the session's last command that failed, and with what the code is to `command`,
/// unless that is null.
int set_error(zav_error* error, int code, const Session& session,
              const char* command = nullptr) noexcept;

} // namespace zav

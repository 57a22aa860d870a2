// SPDX-License-Identifier: MIT
#include "api/actions.h"

#include "actions/commands/interrupted.h"
#include "base/session.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <mutex>

namespace zav {

namespace {

/// A process has the name of one array reserved at a time. Besides, what is refused to another
/// process while an action uses it waits here in another thread.
constinit std::mutex one_action;

/// Memory that runs out ends an action anywhere.
int fail_half_done(zav_error* error) {
    set_error(error, ZAV_E_NO_MEMORY);
    if (error != nullptr) {
        error->left = "What the call has done so far stays.";
    }
    return ZAV_E_NO_MEMORY;
}

} // namespace

bool take_arguments(const void* given, void* known, std::size_t known_size) noexcept {
    if (given == nullptr) {
        return false;
    }
    std::size_t size = 0;
    std::memcpy(&size, given, sizeof size);
    if (size < known_size) {
        return false;
    }
    const auto* bytes = static_cast<const unsigned char*>(given);
    const bool is_known =
        std::all_of(bytes + known_size, bytes + size, [](unsigned char byte) { return byte == 0; });
    std::memcpy(known, given, known_size);
    return is_known;
}

int run_in_context(zav_ctx* ctx, const char* command, const ActionCall& call, zav_error* error) {
    if (current_session() != nullptr) { // a callback calls
        return set_error(error, ZAV_E_INVALID_ARGUMENT);
    }
    try {
        const std::lock_guard<std::mutex> lock(one_action);
        Session session(ctx->settings, Session::Kind::action);
        const SessionScope scope(session);
        commands::finish_interrupted_changes();
        SilentSink out;
        return set_error(error, number_of(call(out)), session, command);
    } catch (const std::exception&) {
        return fail_half_done(error);
    }
}

} // namespace zav

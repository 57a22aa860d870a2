// SPDX-License-Identifier: MIT
/// \file
/// What the calls of zav/actions.h do alike: they take a struct of arguments, run an action of a
/// command as that command would, in a session, and explain how it ended.
#pragma once

#include "api/context.h"
#include "base/codes.h"
#include "base/sink.h"
#include "zav/actions.h"

#include <cstddef>
#include <functional>
#include <string>

namespace zav {

/// Copies the arguments that a program gave into `known`, all of whose members are zero. False when
/// they are null or older than the first version, or say what this version does not know.
bool take_arguments(const void* given, void* known, std::size_t known_size) noexcept;

/// An action with the commands' own words for the user, which nobody reads here.
using ActionCall = std::function<Code(Sink& out)>;

/// Runs it for a context. `command` is the one whose action it is: codes are explained as its.
int run_in_context(zav_ctx* ctx, const char* command, const ActionCall& call, zav_error* error);

/// A call of the interface: `act` gets the arguments.
template <class Arguments, class Act>
int run_action(zav_ctx* ctx, const Arguments* args, zav_error* error, const char* command,
               Act act) noexcept {
    Arguments known = {};
    if (ctx == nullptr || !take_arguments(args, &known, sizeof known)) {
        return set_error(error, ZAV_E_INVALID_ARGUMENT);
    }
    // A reference is kept in place: no memory is needed for it.
    const auto call = [&known, &act](Sink& out) { return act(known, out); };
    return run_in_context(ctx, command, std::ref(call), error);
}

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// What every command does alike: it chooses an action by the options, and ends.
#pragma once

#include "applets/applets.h"

#include <cstddef>
#include <cstdint>

namespace zav {

/// What a command does when a mode is given.
template <class Arguments>
struct Action {
    std::uint32_t mode; ///< the option's bit
    int (*run)(const Arguments& arguments);
};

/// Runs the first action whose mode is among `modes`, and returns what it returns. Without any of
/// them, as an unknown option came before the mode, there is nothing to do: `otherwise`.
template <class Arguments, std::size_t Size>
int run_action(const Action<Arguments> (&actions)[Size], std::uint32_t modes,
               const Arguments& arguments, int otherwise = 0) {
    for (const Action<Arguments>& action : actions) {
        if ((modes & action.mode) != 0) {
            return action.run(arguments);
        }
    }
    return otherwise;
}

/// How a command fails: as fail_command(), in the name of the command's main function, from the
/// line of the call or under the number that support knows the failure by.
class Fail {
  public:
    constexpr explicit Fail(const char* main_function) : function_(main_function) {}
    int operator()(Code code, int line = __builtin_LINE()) const {
        return fail_command(code, {function_, line});
    }

  private:
    const char* function_;
};

/// How a command ends with a result: with 0, or it fails with the code.
class End {
  public:
    constexpr explicit End(Fail fail) : fail_(fail) {}
    int operator()(Code result, int line = __builtin_LINE()) const {
        return failed(result) ? fail_(result, line) : 0;
    }

  private:
    Fail fail_;
};

} // namespace zav

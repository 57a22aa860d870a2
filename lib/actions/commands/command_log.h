// SPDX-License-Identifier: MIT
/// \file
/// How the actions of a command tell the log that they failed: in the name of the command's main
/// function, whoever calls them.
#pragma once

#include "base/codes.h"
#include "base/log.h"

namespace zav {

class CommandLog {
  public:
    constexpr explicit CommandLog(const char* main_function) : function_(main_function) {}

    /// Logs the code, from the line of the call or under the number that support knows the failure
    /// by, and gives it back.
    Code fail(Code code, int line = __builtin_LINE()) const {
        return log_return(code, {function_, line});
    }

    /// The same for a result that may be Code::ok, which is not logged.
    Code end(Code result, int line = __builtin_LINE()) const {
        return failed(result) ? fail(result, line) : result;
    }

  private:
    const char* function_;
};

} // namespace zav

// SPDX-License-Identifier: MIT
#include "applets/standard_output.h"

#include "base/log.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace zav {

namespace {

class StandardOutput : public Sink {
  public:
    void write(std::string_view text) override { std::fwrite(text.data(), 1, text.size(), stdout); }
};

} // namespace

Sink& standard_output() {
    static StandardOutput output;
    return output;
}

void end_run(int status) {
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        log_error("%s[%d]: cannot write the output: %s", __func__, __LINE__,
                  errno != 0 ? std::strerror(errno) : "an earlier write failed");
        std::exit(status != 0 ? status : EXIT_FAILURE);
    }
    std::exit(status);
}

} // namespace zav

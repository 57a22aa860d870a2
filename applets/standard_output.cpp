// SPDX-License-Identifier: MIT
#include "applets/standard_output.h"

#include <cstdio>

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

} // namespace zav

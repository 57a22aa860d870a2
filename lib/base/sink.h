// SPDX-License-Identifier: MIT
/// \file
/// Where the library's own words for the user go. Some reads and operations have something to say
/// that front ends look for; only their caller knows what becomes of it.
#pragma once

#include <string_view>

namespace zav {

class Sink {
  public:
    Sink() = default;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    virtual ~Sink() = default;

    virtual void write(std::string_view text) = 0;

    /// Formats and writes.
    [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);
};

/// For callers who are told by codes and records: these words are for the commands' users.
class SilentSink : public Sink {
  public:
    void write(std::string_view /*text*/) override {}
};

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// What the readers of the share register and of the services' files have in common.
#pragma once

#include "base/bounded_text.h"
#include "base/codes.h"
#include "base/text.h"

#include <cstddef>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// The lines of a service's file, or of a share's section in it.
using Lines = std::vector<std::string>;

/// What the lines of a share need to know besides the share.
struct LineContext {
    std::time_t now;
    std::function<std::string(std::string_view user)> secret_of; ///< empty for a user without one
};

/// A line of a section, such as "    path = /mnt/data/pub".
inline std::string key_line(std::string_view key, std::string_view value) {
    return std::string("    ").append(key).append(" = ").append(value).append("\n");
}

inline constexpr std::size_t share_line_size = 256;

/// The lines, read byte by byte as at most 255 characters, of at least `shortest` characters,
/// without blanks at either end.
class ShareLines {
  public:
    ShareLines(std::string_view text, std::size_t shortest)
        : lines_(text, share_line_size), shortest_(shortest) {}

    bool next(std::string_view& line) {
        while (lines_.next(buffer_)) {
            line = skip_blanks(buffer_);
            if (line.size() >= shortest_) {
                return true;
            }
        }
        return false;
    }

  private:
    ByteLines lines_;
    std::size_t shortest_;
    std::string buffer_;
};

struct KeyValue {
    std::string_view key;
    std::string_view value;
};

/// False for a line that is no key with a value.
inline bool split_key(std::string_view line, KeyValue& pair) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return false;
    }
    pair.key = trim_right(line.substr(0, equals));
    pair.value = skip_blanks(line.substr(equals + 1));
    return true;
}

/// A section's first line without its bracket at the end.
inline bool is_malformed_header(std::string_view line) {
    return line.starts_with('[') && !line.ends_with(']');
}

inline bool has_second(std::string_view line, char c) {
    return line.find(c) != line.rfind(c);
}

/// Of several the first counts.
template <std::size_t Size>
void fill(BoundedText<Size>& field, std::string_view value) {
    if (field.empty()) {
        field = value;
    }
}

} // namespace zav

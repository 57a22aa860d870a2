// SPDX-License-Identifier: MIT
/// \file
/// Sectioned text files: "[section]" lines, each followed by "key = value" lines. ";" begins a
/// comment line; a line that ends in "+" continues on the next line.
///
/// Lines are read byte by byte: carriage returns are dropped, a line feed or NUL ends a line, a
/// form feed or Ctrl-Z ends it and belongs to it, and after 511 characters a new line begins.
#pragma once

#include "base/codes.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace zav {

/// Reads a value: whole when it is shorter than `room`, else its first `room` - 1 characters. After
/// a change that was cut short it is that of the finished file. On a failure `value` stays as it
/// was.
FileCode key_value_get(const char* path, const char* section, const char* key, char* value,
                       std::size_t room);

/// The same with the buffer first.
FileCode key_value_get(char* value, std::size_t room, const char* path, const char* section,
                       const char* key);

/// The lookups of key_value_get() in a text that is read once. The text has to outlive it.
class KeyValueIndex {
  public:
    explicit KeyValueIndex(std::string_view file);

    /// The value that key_value_get() reads, whole; nothing where it gives a code.
    [[nodiscard]] std::optional<std::string> get(const std::string& section,
                                                 std::string_view key) const;

  private:
    std::unordered_map<std::string, std::string_view> sections_; ///< what stands behind each header
};

/// Sets a key in its place, or directly after the section's header when the section lacks it. A
/// missing section, or file, is appended. The file keeps its mode, owner and inode, and its content
/// when it cannot be written whole; a change that was cut short is finished by the next. On success
/// it is durable. Of two changes at once the second waits, at most for longest_wait:
/// FileCode::not_created then.
FileCode key_value_set(const char* path, const char* section, const char* key, const char* value);

/// Takes `item` out of a value of at most 127 characters. An item that begins with a letter or a
/// digit only ever empties a value that equals it; otherwise its first character is the separator
/// of the list, and the rest the element to drop.
FileCode key_value_remove(const char* item, const char* path, const char* section, const char* key);

} // namespace zav

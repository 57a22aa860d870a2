// SPDX-License-Identifier: MIT
/// \file
/// The text helpers of all parsers. They take text and give text, touch nothing else, and read
/// ASCII: the locale has no say in what a letter or a blank is.
///
/// A parameter called `file` is the whole text of a file or of a tool's output.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

inline constexpr std::string_view white_space = " \t\n\v\f\r";
inline constexpr std::string_view blanks = " \t";

/// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string format_text(const char* format, ...);
[[gnu::format(printf, 1, 0)]] std::string format_text_list(const char* format, va_list arguments);

/// Without the blanks, carriage returns and line feeds at its end; a tab stays.
std::string_view trim_right(std::string_view text);

/// From the first character that is neither blank nor tab.
std::string_view skip_blanks(std::string_view text);

/// Without white space at its start.
std::string_view trim_left(std::string_view text);

/// Without any white space at either end.
std::string_view trim(std::string_view text);

/// Up to the first of `separators`, or all of it.
std::string_view cut_at(std::string_view text, std::string_view separators);

/// Copies at most `size` - 1 characters and terminates. Does nothing when a pointer is null,
/// `source` is empty or `size` is 0: the old content then stays.
void copy_bounded(char* destination, std::size_t size, const char* source);

/// Whether a caller's buffer takes a text, be it an empty one.
inline bool has_room_for_text(const char* buffer, std::size_t size) {
    return buffer != nullptr && size > 0;
}

/// The last part of a path: all behind its last "/".
std::string_view last_component(std::string_view path);

/// Where the system has its devices.
inline constexpr std::string_view device_directory = "/dev/";

/// What a path below /dev names there, such as "sda"; nothing for any other text.
std::optional<std::string_view> name_in_dev(std::string_view path);

/// The pieces between separators; a run of separators counts as one, and leading and trailing ones
/// make no empty piece.
std::vector<std::string_view> split(std::string_view text, std::string_view separators);

/// From field `index` (counted from 0) to the END of the text: the caller cuts the field. Fields
/// are counted as split() does, within the first 255 characters, and white space before the field
/// is skipped. Nothing when there are not that many fields.
std::optional<std::string_view> get_field(std::string_view text, std::string_view separators,
                                          std::size_t index);

/// Field `index`, cut at the next of `separators`; empty when there are not that many fields.
std::string_view field(std::string_view text, std::string_view separators, std::size_t index);

/// The decimal number that the text begins with, after white space; 0 without a digit, the largest
/// number when it does not fit. There is no sign.
std::uint64_t decimal(std::string_view text);

/// The same for a place or a number of things in memory: SIZE_MAX when it does not fit.
std::size_t decimal_size(std::string_view text);

/// The same for a channel, a count or a percentage: INT_MAX when it does not fit.
int decimal_int(std::string_view text);

bool is_digit(char c);
bool is_letter_or_digit(char c);
/// Of an ASCII letter.
char to_lower(char c);

bool starts_with_ignoring_case(std::string_view text, std::string_view start);
bool equal_ignoring_case(std::string_view left, std::string_view right);

/// Whether a text that the kernel or a tool printed may become part of a command or of a file's
/// name: letters, digits, "_", "-", "." and "+", not beginning with "-", and neither "." nor "..".
bool is_plain_name(std::string_view text);

/// Whether a path may become part of a command: it begins with "/" and holds nothing that a shell
/// would expand, quote or join, nor a component that leads elsewhere ("." or "..").
bool is_plain_path(std::string_view text);

/// Whether anything in the text is a control character, such as the end of a line.
bool has_control_characters(std::string_view text);

/// Whether a character means itself to every shell, wherever in a word it stands: letters, digits
/// and "_-+./:,=@%".
bool is_plain_character(char c);

/// The lines of a text as a line buffer of 256 bytes gives them: pieces of at most 255 characters,
/// line feed included, so that the rest of a longer line comes as the next piece. A NUL ends the
/// piece's text.
class LinePieces {
  public:
    explicit LinePieces(std::string_view file) : rest_(file) {}

    /// The next piece without its line feed; false at the end.
    bool next(std::string_view& piece);

    /// Whether the piece just read is the first of its line.
    [[nodiscard]] bool starts_line() const { return starts_line_; }

  private:
    std::string_view rest_;
    bool starts_line_ = true;
    bool next_starts_line_ = true;
};

/// The lines of a text as they are read byte by byte: carriage returns are dropped, a line feed or
/// NUL ends a line, a form feed or Ctrl-Z ends it and belongs to it, and after `size` - 1
/// characters a new line begins. Blanks and line ends are removed from a line's end.
class ByteLines {
  public:
    ByteLines(std::string_view file, std::size_t size) : rest_(file), size_(size) {}

    /// False at the end of the text.
    bool next(std::string& line);

    /// Of the line just read, counted from 1.
    [[nodiscard]] std::size_t number() const { return number_; }

    /// What has not been read yet.
    [[nodiscard]] std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
    std::size_t size_;
    std::size_t number_ = 0;
};

/// The counted lines of a text: its pieces without leading white space and without trailing blanks
/// and line ends, those that are then empty left out.
class CountedLines {
  public:
    explicit CountedLines(std::string_view file) : pieces_(file) {}
    bool next(std::string_view& line);

  private:
    LinePieces pieces_;
};

/// The lines of a file without blanks around them, without empty lines and those that begin with
/// "#". A line has any length, so that a file can be written back from them.
std::vector<std::string> content_lines(std::string_view file);

/// Whether a content line of the file begins with that field.
bool has_first_field(std::string_view file, std::string_view separators, std::string_view field);

/// A counted line of the file, cut to `room` - 1 characters: with a key the `occurrence`-th (from
/// 0) whose first field, trimmed at both ends, is the key; without one (null) the `occurrence`-th
/// of all. Nothing when the file ends first.
std::optional<std::string_view> get_line(std::string_view file, const char* key,
                                         std::size_t occurrence, std::string_view separators,
                                         std::size_t room = 256);

/// What stands after the first separator on the line that get_line() finds.
std::optional<std::string_view> get_value_from_file(std::string_view file, const char* key,
                                                    std::size_t occurrence,
                                                    std::string_view separators);

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// The checks that every argument passes before it is used. A letter is an ASCII letter. A null
/// text is an argument that was not given.
#pragma once

#include <cstddef>

namespace zav {

template <std::size_t Size>
class BoundedText;

/// What a check finds. Most callers only ask whether the argument was accepted.
enum class [[nodiscard]] Check : int{accepted = 0, wrong_character = -1, wrong_length = -2};

constexpr bool failed(Check check) {
    return check != Check::accepted;
}

/// 1 to 8 letters, digits, "_" or "-" (a device).
Check check_name8(const char* text);

/// The same for 1 to 32 characters: the name of an array, volume group, pool or share.
Check check_name32(const char* text);

/// 1 to 8 decimal digits.
Check check_number8(const char* text);

/// Names as check_name32() takes them, separated by commas. Commas in a row and a comma at the end
/// are passed over, one at the start is refused. Whatever is wrong is wrong_character.
Check check_name_list(const char* text);

/// 1 to 128 characters that are decimal numbers separated by commas, which are passed over wherever
/// they stand. Whatever is wrong is wrong_character.
Check check_number_list(const char* text);

/// Copies 1 to 128 characters. Accepted too when `text` is null and nothing is copied;
/// wrong_character for an empty or longer text.
Check copy_text128(BoundedText<129>& destination, const char* text);

} // namespace zav

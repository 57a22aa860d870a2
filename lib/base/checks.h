// SPDX-License-Identifier: MIT
/// \file
/// The checks that every argument passes before it is used. A letter is an ASCII letter. A null
/// text is an argument that was not given.
#pragma once

#include "base/bounded_text.h"

namespace zav {

/// 0 for 1 to 8 letters, digits, "_" or "-" (a device); -2 when null, empty or longer, -1 for any
/// other character.
int check_name8(const char* text);

/// The same for 1 to 32 characters: the name of an array, volume group, pool or share.
int check_name32(const char* text);

/// 0 for 1 to 8 decimal digits; -2 when null, empty or longer, -1 for any other character.
int check_number8(const char* text);

/// 0 for names as check_name32() takes them, separated by commas; -1 otherwise. Commas in a row
/// and a comma at the end are passed over, one at the start is refused.
int check_name_list(const char* text);

/// 0 for 1 to 128 characters that are decimal numbers separated by commas; -1 otherwise. Commas
/// are passed over wherever they stand.
int check_number_list(const char* text);

/// Copies 1 to 128 characters. 0 when copied, or when `text` is null and nothing is copied; -1 for
/// an empty or longer text.
int copy_text128(BoundedText<129>& destination, const char* text);

} // namespace zav

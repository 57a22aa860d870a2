// SPDX-License-Identifier: MIT
// Arguments that pass a check contain only allowed characters.
#include "base/checks.h"

#include "base/bounded_text.h"
#include "base/codes.h"
#include "fuzz.h"

#include <algorithm>
#include <string>

namespace zav::fuzz {

namespace {

constexpr std::string_view digits = "0123456789";
constexpr std::string_view name_characters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";

bool consists_of(std::string_view text, std::string_view characters) {
    return text.find_first_not_of(characters) == text.npos;
}

/// A check has one of three results, and 0 exactly for 1 to `longest` of the characters.
void check_result(int result, std::string_view text, std::size_t longest,
                  std::string_view characters) {
    const bool good_length = !text.empty() && text.size() <= longest;
    require((result == -2) == !good_length, "-2 is for the length");
    require((result == 0) == (good_length && consists_of(text, characters)),
            "0 is for the length and the characters");
    require(result == 0 || result == -1 || result == -2, "there is no other result");
}

bool has_long_item(std::string_view list) {
    std::size_t length = 0;
    return std::ranges::any_of(list, [&length](char c) {
        length = c == ',' ? 0 : length + 1;
        return length > 32;
    });
}

} // namespace

void run(std::string_view input) {
    const std::string argument(input);
    const std::string_view text = argument.c_str();
    check_result(number_of(check_name8(argument.c_str())), text, 8, name_characters);
    check_result(number_of(check_name32(argument.c_str())), text, 32, name_characters);
    check_result(number_of(check_number8(argument.c_str())), text, 8, digits);

    const bool names = !text.empty() && text.front() != ',' && !has_long_item(text) &&
                       consists_of(text, std::string(name_characters) + ",");
    require(number_of(check_name_list(argument.c_str())) == (names ? 0 : -1),
            "names between commas");
    const bool numbers =
        !text.empty() && text.size() <= 128 && consists_of(text, std::string(digits) + ",");
    require(number_of(check_number_list(argument.c_str())) == (numbers ? 0 : -1),
            "numbers between commas");

    BoundedText<129> copy("before");
    const bool copied = !failed(copy_text128(copy, argument.c_str()));
    require(copied == (!text.empty() && text.size() <= 128), "a text of 1 to 128 is copied");
    require(copy == (copied ? text : "before"), "whole or not at all");
}

} // namespace zav::fuzz

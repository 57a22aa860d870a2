// SPDX-License-Identifier: MIT
#include "base/checks.h"

#include "base/bounded_text.h"
#include "base/text.h"

#include <algorithm>

namespace zav {

namespace {

constexpr Check refused = Check::wrong_character; // the one answer of the lists
constexpr std::size_t name_list_item_length = 32;
constexpr std::size_t number_list_length = 128;

bool is_name_character(char c) {
    return is_letter_or_digit(c) || c == '_' || c == '-';
}

template <class Accepts>
Check check(const char* text, std::size_t longest, Accepts accepts) {
    const std::string_view view = text != nullptr ? text : "";
    if (view.empty() || view.size() > longest) {
        return Check::wrong_length;
    }
    return std::ranges::all_of(view, accepts) ? Check::accepted : Check::wrong_character;
}

} // namespace

Check check_name8(const char* text) {
    return check(text, 8, is_name_character);
}

Check check_name32(const char* text) {
    return check(text, 32, is_name_character);
}

Check check_number8(const char* text) {
    return check(text, 8, is_digit);
}

Check check_name_list(const char* text) {
    if (text == nullptr || *text == '\0' || *text == ',') {
        return refused;
    }
    const auto names = split(text, ",");
    const bool good = std::ranges::all_of(names, [](std::string_view name) {
        return name.size() <= name_list_item_length && std::ranges::all_of(name, is_name_character);
    });
    return good ? Check::accepted : refused;
}

Check check_number_list(const char* text) {
    const std::string_view view = text != nullptr ? text : "";
    if (view.empty() || view.size() > number_list_length) {
        return refused;
    }
    const bool good = std::ranges::all_of(view, [](char c) { return is_digit(c) || c == ','; });
    return good ? Check::accepted : refused;
}

Check copy_text128(BoundedText<129>& destination, const char* text) {
    if (text == nullptr) {
        return Check::accepted;
    }
    const std::string_view view = text;
    if (view.empty() || view.size() > BoundedText<129>::capacity) {
        return refused;
    }
    destination = view;
    return Check::accepted;
}

} // namespace zav

// SPDX-License-Identifier: MIT
#include "base/code_advice.h"

#include <algorithm>

namespace zav {

namespace {

constexpr CodeAdvice advice_rows[] = {
#define ZAV_CODE_FOR(name, commands, meaning, left, next)                                          \
    {Code::name, #name, meaning, commands, left, next},
#include "base/codes_by_command.def"
#undef ZAV_CODE_FOR
#define ZAV_CODE(name, number, meaning, used_by, left, next)                                       \
    {Code::name, #name, meaning, used_by, left, next},
#include "base/codes.def"
#undef ZAV_CODE
};

constexpr int first_of_all = 0
#define ZAV_CODE_FOR(name, commands, meaning, left, next) +1
#include "base/codes_by_command.def"
#undef ZAV_CODE_FOR
    ;

// Front ends rely on these.
constexpr OtherStatus statuses[] = {
    {Code::group_not_created, "vgmanage", 0, ""},
    {Code::bad_pool_name, "lvmanage", 0, "with --display"},
    {Code::pool_output_unread, "fsmanage", 255, ""},
};

constexpr bool names_command(std::string_view commands, std::string_view command) {
    while (!commands.empty()) {
        const std::size_t end = std::min(commands.find(' '), commands.size());
        if (commands.substr(0, end) == command) {
            return true;
        }
        commands.remove_prefix(std::min(end + 1, commands.size()));
    }
    return false;
}

} // namespace

std::span<const CodeAdvice> code_advice() {
    return advice_rows;
}

const CodeAdvice* find_code_advice(int number, std::string_view command) {
    const auto is_of_command = [number, command](const CodeAdvice& row) {
        return number_of(row.code) == number && names_command(row.used_by, command);
    };
    if (!command.empty()) {
        if (const auto* row = std::ranges::find_if(advice_rows, is_of_command);
            row != std::end(advice_rows)) {
            return row;
        }
    }
    const auto has_number = [number](const CodeAdvice& row) {
        return number_of(row.code) == number;
    };
    const auto* row =
        std::find_if(std::begin(advice_rows) + first_of_all, std::end(advice_rows), has_number);
    return row != std::end(advice_rows) ? row : nullptr;
}

const char* code_left(int number, std::string_view command) {
    const CodeAdvice* row = find_code_advice(number, command);
    return row != nullptr ? row->left : "";
}

const char* code_next(int number, std::string_view command) {
    const CodeAdvice* row = find_code_advice(number, command);
    return row != nullptr ? row->next : "";
}

std::span<const OtherStatus> other_statuses() {
    return statuses;
}

} // namespace zav

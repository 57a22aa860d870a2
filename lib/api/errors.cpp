// SPDX-License-Identifier: MIT
#include "api/context.h"
#include "base/code_advice.h"
#include "base/codes.h"
#include "base/text.h"

#include <algorithm>
#include <array>

namespace zav {

namespace {

struct OwnCode {
    int number;
    const char* name;
    const char* meaning;
    const char* left;
    const char* next;
};

/// Codes that no command ends with.
constexpr std::array<OwnCode, 3> own_codes = {{
    {ZAV_OK, "ok", "", "", ""},
    {ZAV_E_NO_MEMORY, "no_memory", "there is not enough memory", "Nothing has changed.",
     "Free memory, or raise the program's limit, and call again."},
    {ZAV_E_INVALID_ARGUMENT, "invalid_argument",
     "a pointer is null, or a value is none of its enumeration", "Nothing has changed.",
     "Mend the program: its call is wrong."},
}};

OwnCode find_code(int code) {
    const auto* own = std::ranges::find(own_codes, code, &OwnCode::number);
    if (own != own_codes.end()) {
        return *own;
    }
    const auto table = code_table();
    const auto row = std::ranges::find_if(
        table, [code](const CodeRow& candidate) { return number_of(candidate.code) == code; });
    return row != table.end()
               ? OwnCode{code, row->name, row->meaning, code_left(code), code_next(code)}
               : OwnCode{code, "unknown", "unknown code", "", ""};
}

} // namespace

int set_error(zav_error* error, int code) noexcept {
    if (error != nullptr) {
        const OwnCode known = find_code(code);
        *error = {};
        error->code = code;
        error->name = known.name;
        error->sentence = known.meaning;
        error->left = known.left;
        error->next = known.next;
    }
    return code;
}

int set_error(zav_error* error, int code, const Session& session) noexcept {
    set_error(error, code);
    if (error != nullptr) {
        const FailedCommand& failure = session.last_failure();
        copy_bounded(error->command, sizeof error->command, failure.command.c_str());
        error->command_status = number_of(failure.status);
        copy_bounded(error->command_output, sizeof error->command_output, failure.output.c_str());
    }
    return code;
}

} // namespace zav

using namespace zav;

const char* zav_version() {
    return ZAV_VERSION;
}

const char* zav_strerror(int code) {
    return find_code(code).meaning;
}

const char* zav_error_name(int code) {
    return find_code(code).name;
}

const char* zav_error_left(int code) {
    return find_code(code).left;
}

const char* zav_error_advice(int code) {
    return find_code(code).next;
}

const char* zav_error_advice_for(int code, const char* command) {
    const CodeAdvice* advice = command != nullptr ? find_code_advice(code, command) : nullptr;
    return advice != nullptr ? advice->next : zav_error_advice(code);
}

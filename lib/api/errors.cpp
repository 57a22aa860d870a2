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
constexpr std::array<OwnCode, 4> own_codes = {{
    {ZAV_OK, "ok", "", "", ""},
    {ZAV_E_NO_MEMORY, "no_memory", "there is not enough memory", "Nothing has changed.",
     "Free memory, or raise the program's limit, and call again."},
    {ZAV_E_INVALID_ARGUMENT, "invalid_argument",
     "a pointer is null, a value is none of its enumeration, or a callback calls",
     "Nothing has changed.", "Mend the program: its call is wrong."},
    {ZAV_E_ARRAY_MADE_WITH_ERROR, "array_made_with_error",
     "a command failed, and an array of that name is there",
     "An array of that name; whether all of its disks are in it is not known.",
     "See 'zavbox mdmanage --display' and 'mdadm -D' for its state, and the log for the command."},
}};

/// As `command` returns it, unless that is null.
OwnCode find_code(int code, const char* command = nullptr) {
    const auto* own = std::ranges::find(own_codes, code, &OwnCode::number);
    if (own != own_codes.end()) {
        return *own;
    }
    const CodeAdvice* row = find_code_advice(code, command != nullptr ? command : "");
    return row != nullptr ? OwnCode{code, row->name, row->meaning, row->left, row->next}
                          : OwnCode{code, "unknown", "unknown code", "", ""};
}

zav_error error_of(const OwnCode& known) {
    zav_error error = {};
    error.code = known.number;
    error.name = known.name;
    error.sentence = known.meaning;
    error.left = known.left;
    error.next = known.next;
    return error;
}

} // namespace

int set_error(zav_error* error, int code) noexcept {
    if (error != nullptr) {
        *error = error_of(find_code(code));
    }
    return code;
}

int set_error(zav_error* error, int code, const Session& session, const char* command) noexcept {
    if (error != nullptr) {
        *error = error_of(find_code(code, command));
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
    return find_code(code, command).next;
}

int zav_error_explain(int code, const char* command, zav_error* error) {
    if (error == nullptr) {
        return ZAV_E_INVALID_ARGUMENT;
    }
    *error = error_of(find_code(code, command));
    return ZAV_OK;
}

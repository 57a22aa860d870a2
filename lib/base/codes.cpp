// SPDX-License-Identifier: MIT
#include "base/codes.h"

namespace zav {

namespace {

constexpr CodeRow rows[] = {
#define ZAV_CODE(name, number, meaning, used_by, left, next) {Code::name, #name, meaning, used_by},
#include "base/codes.def"
#undef ZAV_CODE
};

} // namespace

std::span<const CodeRow> code_table() {
    return rows;
}

} // namespace zav

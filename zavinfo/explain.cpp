// SPDX-License-Identifier: MIT
#include "zavinfo/explain.h"

#include "zav/zav.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <optional>

namespace zavinfo {

namespace {

constexpr int statuses = 256;

constexpr std::array<const char*, 8> commands = {"diskmanage", "disksmart",  "mdmanage",
                                                 "vgmanage",   "lvmanage",   "fsmanage",
                                                 "netmanage",  "sharemanage"};

/// What a command ends with after a code when that is not status_of().
struct OtherStatus {
    int code;
    std::string_view command;
    int status;
    std::string_view when; ///< empty for always
};

constexpr std::array<OtherStatus, 3> other_statuses = {
    {{ZAV_E_BAD_POOL_NAME, "lvmanage", 0, "with --display"},
     {ZAV_E_GROUP_NOT_CREATED, "vgmanage", 0, ""},
     {ZAV_E_POOL_OUTPUT_UNREAD, "fsmanage", 255, ""}}};

bool is_of(const OtherStatus& other, const CodeInfo& code) {
    return other.code == code.number &&
           (code.commands.empty() ||
            std::ranges::find(code.commands, other.command) != code.commands.end());
}

bool may_end_with(const CodeInfo& code, int status) {
    return status_of(code.number) == status ||
           std::ranges::any_of(other_statuses, [&](const OtherStatus& other) {
               return other.status == status && is_of(other, code);
           });
}

CodeInfo code_info(int number, const char* command) {
    zav_error error;
    zav_error_explain(number, command, &error);
    return {number, error.name, error.sentence, error.left, error.next, {}};
}

bool says_the_same(const CodeInfo& one, const CodeInfo& other) {
    return one.name == other.name && one.sentence == other.sentence && one.left == other.left &&
           one.next == other.next;
}

/// What the code is at first, then what else it is to commands.
void add_code(std::vector<CodeInfo>& codes, int number) {
    const std::size_t first = codes.size();
    codes.push_back(code_info(number, nullptr));
    for (const char* command : commands) {
        CodeInfo code = code_info(number, command);
        const auto known = std::find_if(
            codes.begin() + static_cast<std::ptrdiff_t>(first), codes.end(),
            [&code](const CodeInfo& candidate) { return says_the_same(candidate, code); });
        if (known == codes.end()) {
            code.commands = {command};
            codes.push_back(std::move(code));
        } else if (!known->commands.empty()) {
            known->commands.emplace_back(command);
        }
    }
}

/// A number without blanks or anything else around it.
std::optional<int> whole_number(std::string_view text) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

void add_line(std::string& text, std::string_view head, std::string_view line) {
    if (!line.empty()) {
        text.append("  ").append(head).append(line).append("\n");
    }
}

std::string paragraph(const CodeInfo& code) {
    std::string text = std::to_string(code.number) + "  " + code.name + "  (exit status " +
                       std::to_string(status_of(code.number));
    for (const OtherStatus& other : other_statuses) {
        if (is_of(other, code)) {
            text.append("; ").append(std::to_string(other.status)).append(" of ");
            text.append(other.command).append(other.when.empty() ? "" : " ").append(other.when);
        }
    }
    text.append(")");
    for (const std::string& command : code.commands) {
        text.append(&command == code.commands.data() ? "  of " : ", ").append(command);
    }
    text.append("\n");
    add_line(text, "Meaning: ", code.sentence);
    add_line(text, "Left:    ", code.left);
    add_line(text, "Next:    ", code.next);
    return text;
}

/// The paragraphs of the codes that a predicate picks.
std::string paragraphs(const std::vector<CodeInfo>& codes,
                       const std::function<bool(const CodeInfo&)>& is_meant) {
    std::string text;
    for (const CodeInfo& code : codes) {
        if (is_meant(code)) {
            text.append(text.empty() ? "" : "\n").append(paragraph(code));
        }
    }
    return text;
}

std::string explain_status(int status, const std::vector<CodeInfo>& codes) {
    const std::string candidates =
        paragraphs(codes, [status](const CodeInfo& code) { return may_end_with(code, status); });
    const std::string head = "exit status " + std::to_string(status);
    if (status == 0) {
        return head + ": the command succeeded" +
               (candidates.empty() ? "\n" : ", or failed with one of\n\n" + candidates);
    }
    return candidates.empty() ? "" : head + " stands for\n\n" + candidates;
}

std::string explain_number(int number, bool is_signed, const std::vector<CodeInfo>& codes) {
    const int wanted = is_signed ? number : -number;
    std::string text =
        paragraphs(codes, [wanted](const CodeInfo& code) { return code.number == wanted; });
    if (!is_signed && number < statuses) {
        const std::string of_status = explain_status(number, codes);
        text.append(text.empty() || of_status.empty() ? "" : "\n").append(of_status);
    }
    return text;
}

} // namespace

std::vector<CodeInfo> known_codes() {
    constexpr int last = -12100; // behind the last one
    const std::string unknown = zav_error_name(last);
    std::vector<CodeInfo> codes;
    for (int number = -1; number > last; --number) {
        if (zav_error_name(number) != unknown) {
            add_code(codes, number);
        }
    }
    return codes;
}

int status_of(int code) {
    return (code % statuses + statuses) % statuses;
}

std::string explain(std::string_view what, const std::vector<CodeInfo>& codes) {
    if (const auto number = whole_number(what)) {
        return explain_number(*number, what.starts_with('-'), codes);
    }
    const std::string name = lower(what);
    return paragraphs(codes, [&name](const CodeInfo& code) { return code.name == name; });
}

} // namespace zavinfo

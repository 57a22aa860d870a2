// SPDX-License-Identifier: MIT
// Prints the tables of the commands and of the codes as JSON. scripts/manuals writes from it what
// must agree with them: parts of the manual pages, zavbox-errors(7), the completions of the shells.
#include "applets/applet_table.h"
#include "base/code_advice.h"
#include "base/version.h"

#include <array>
#include <cstdio>
#include <functional>
#include <string_view>

namespace zav {
namespace {

constexpr std::array<std::reference_wrapper<const AppletTable>, 8> tables = {
    diskmanage_table, disksmart_table, fsmanage_table,    lvmanage_table,
    mdmanage_table,   netmanage_table, sharemanage_table, vgmanage_table,
};

const char* word_of(Argument argument) {
    switch (argument) {
    case Argument::none:
        return "";
    case Argument::channel:
        return "channel";
    case Argument::channels:
        return "channels";
    case Argument::array:
        return "array";
    case Argument::volumes:
        return "volumes";
    case Argument::group:
        return "group";
    case Argument::pool:
        return "pool";
    case Argument::share:
        return "share";
    case Argument::service:
        return "service";
    case Argument::size:
        return "size";
    case Argument::device:
        return "device";
    case Argument::disk:
        return "disk";
    case Argument::level:
        return "level";
    case Argument::access:
        return "access";
    case Argument::state:
        return "state";
    case Argument::label:
        return "label";
    case Argument::users:
        return "users";
    case Argument::comment:
        return "comment";
    }
    return "";
}

void print_text(std::string_view text) {
    std::putchar('"');
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            std::printf("\\%c", c);
        } else if (static_cast<unsigned char>(c) < ' ') {
            std::printf("\\u%04x", static_cast<unsigned>(c));
        } else {
            std::putchar(c);
        }
    }
    std::putchar('"');
}

/// A member of an object: the first of one has no comma before it.
void print_member(std::string_view key, std::string_view text, const char* before = ", ") {
    std::fputs(before, stdout);
    print_text(key);
    std::fputs(": ", stdout);
    print_text(text);
}

/// Calls `print` for each member of a list, with commas between.
template <class List, class Print>
void print_list(const char* key, const List& list, Print print) {
    std::printf("\"%s\": [", key);
    const char* before = "\n";
    for (const auto& member : list) {
        std::fputs(before, stdout);
        print(member);
        before = ",\n";
    }
    std::fputs("]", stdout);
}

const char* role_of(const OptionRow& row) {
    if (row.role == Role::only_shown) {
        return "only_shown";
    }
    return is_mode(row) ? "mode" : "detail";
}

void print_option(const OptionRow& row) {
    print_member("letter", {&row.letter, 1}, "  {");
    print_member("name", row.name != nullptr ? row.name : "");
    print_member("argument", word_of(row.argument));
    print_member("operand", word_of(row.operand));
    print_member("role", role_of(row));
    print_member("help", row.help != nullptr ? row.help : "");
    std::fputs(", ", stdout);
    print_list("ways", row.ways,
               [](const Way& way) { print_text(way.with != nullptr ? way.with : ""); });
    std::fputs("}", stdout);
}

void print_table(const AppletTable& table) {
    print_member("name", table.name, " {");
    print_member("summary", table.summary);
    std::fputs(",\n ", stdout);
    print_list("options", table.options, print_option);
    std::fputs("}", stdout);
}

void print_advice(const CodeAdvice& row) {
    std::printf(" {\"number\": %d, \"status\": %d", number_of(row.code),
                exit_status_of(number_of(row.code)));
    print_member("name", row.name);
    print_member("meaning", row.meaning);
    print_member("used_by", row.used_by);
    print_member("left", row.left);
    print_member("next", row.next);
    std::fputs("}", stdout);
}

void print_status(const OtherStatus& row) {
    std::printf(" {\"number\": %d, \"status\": %d", number_of(row.code), row.status);
    print_member("command", row.command);
    print_member("when", row.when);
    std::fputs("}", stdout);
}

void print_tables() {
    print_member("version", zavbox_version, "{");
    std::fputs(",\n", stdout);
    print_list("commands", tables, print_table);
    std::fputs(",\n", stdout);
    print_list("codes", code_table(), [](const CodeRow& row) { print_text(row.name); });
    std::fputs(",\n", stdout);
    print_list("advice", code_advice(), print_advice);
    std::fputs(",\n", stdout);
    print_list("other_statuses", other_statuses(), print_status);
    std::fputs("}\n", stdout);
}

} // namespace
} // namespace zav

int main() {
    zav::print_tables();
    return std::ferror(stdout) != 0 ? 1 : 0;
}

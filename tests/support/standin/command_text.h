// SPDX-License-Identifier: MIT
// Shell command texts, as far as the test harness must understand them, and the record format of
// the files that the harness and its stand-in program share.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav::test {

// A record is "LENGTH:BYTES,": safe for any bytes, newlines included.
void append_record(std::string& to, std::string_view bytes);
std::string record(std::string_view bytes);
std::vector<std::string> split_records(std::string_view data);

// The text without its unquoted redirections and without blanks at either end; inner blanks stay as
// they are.
std::string without_redirections(std::string_view text);

// The simple commands of a text, split at unquoted ";", "|", "&", "&&", "||" and newlines.
std::vector<std::string> simple_commands(std::string_view text);

// The words of a simple command, quotes and backslashes removed; no expansion of any kind.
std::vector<std::string> words_of(std::string_view command);

// Whether the text is one simple command whose first word is a program (no shell builtin, keyword,
// assignment or operator), so that "exec TEXT" means the same.
bool is_plain_program_call(std::string_view text);

// A call that can be interpreted without a shell: words of plain characters and redirections of
// output between blanks (" > FILE", " >> FILE", " 2> FILE", " 2>> FILE").
struct PlainCall {
    struct Redirection {
        int descriptor;
        bool append;
        std::string path;
    };
    std::vector<std::string> words;
    std::vector<Redirection> redirections;
};
std::optional<PlainCall> plain_call(std::string_view text);

} // namespace zav::test

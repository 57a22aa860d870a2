// SPDX-License-Identifier: MIT
#include "command_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

namespace zav::test {
namespace {

constexpr std::string_view blanks = " \t";

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Length of the quoted piece or escaped character that starts at `at`; 1 for anything else.
size_t unit_length(std::string_view text, size_t at) {
    const char c = text[at];
    if (c == '\\') {
        return std::min<size_t>(2, text.size() - at);
    }
    if (c != '\'' && c != '"') {
        return 1;
    }
    for (size_t end = at + 1; end < text.size(); ++end) {
        if (text[end] == c) {
            return end - at + 1;
        }
        if (c == '"' && text[end] == '\\') {
            ++end;
        }
    }
    return text.size() - at;
}

std::string trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

// The end of the redirection whose "<" or ">" is at `at`: operator, blanks, target word.
size_t redirection_end(std::string_view text, size_t at) {
    size_t end = at + 1;
    while (end < text.size() && (text[end] == '>' || text[end] == '<' || text[end] == '&' ||
                                 (text[end] == '|' && text[at] == '>'))) {
        ++end;
    }
    while (end < text.size() && is_blank(text[end])) {
        ++end;
    }
    while (end < text.size() && std::string_view(" \t\n;|&<>").find(text[end]) == text.npos) {
        end += unit_length(text, end);
    }
    return std::min(end, text.size());
}

// Removes a descriptor number that is a separate word at the end.
void drop_descriptor_number(std::string& text) {
    size_t begin = text.size();
    while (begin > 0 && is_digit(text[begin - 1])) {
        --begin;
    }
    if (begin == 0 || is_blank(text[begin - 1])) {
        text.resize(begin);
    }
}

bool is_shell_word(std::string_view word) {
    static constexpr std::array words = {
        ".",        ":",      "!",     "[",       "{",       "}",        "alias", "bg",
        "break",    "case",   "cd",    "chdir",   "command", "continue", "do",    "echo",
        "eval",     "exec",   "exit",  "export",  "false",   "fg",       "for",   "getopts",
        "hash",     "if",     "jobs",  "kill",    "local",   "printf",   "pwd",   "read",
        "readonly", "return", "set",   "shift",   "test",    "times",    "trap",  "true",
        "type",     "ulimit", "umask", "unalias", "unset",   "until",    "wait",  "while"};
    return std::find(words.begin(), words.end(), word) != words.end();
}

} // namespace

void append_record(std::string& to, std::string_view bytes) {
    to += std::to_string(bytes.size());
    to += ':';
    to += bytes;
    to += ',';
}

std::string record(std::string_view bytes) {
    std::string result;
    append_record(result, bytes);
    return result;
}

std::vector<std::string> split_records(std::string_view data) {
    std::vector<std::string> records;
    while (!data.empty()) {
        size_t length = 0;
        const auto parsed = std::from_chars(data.data(), data.data() + data.size(), length);
        const auto digits = static_cast<size_t>(parsed.ptr - data.data());
        if (parsed.ec != std::errc() || data.size() < digits + length + 2) {
            break;
        }
        records.emplace_back(data.substr(digits + 1, length));
        data.remove_prefix(digits + length + 2);
    }
    return records;
}

std::string without_redirections(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        if (text[at] == '<' || text[at] == '>') {
            drop_descriptor_number(result);
            at = redirection_end(text, at);
            while (!result.empty() && is_blank(result.back()) && at < text.size() &&
                   is_blank(text[at])) {
                ++at;
            }
            continue;
        }
        const size_t length = unit_length(text, at);
        result += text.substr(at, length);
        at += length;
    }
    return trimmed(result);
}

std::vector<std::string> simple_commands(std::string_view text) {
    std::vector<std::string> commands(1);
    for (size_t at = 0; at < text.size();) {
        const char c = text[at];
        const bool duplicates = c == '&' && at > 0 && (text[at - 1] == '>' || text[at - 1] == '<');
        if (!duplicates && (c == ';' || c == '|' || c == '&' || c == '\n')) {
            commands.emplace_back();
            ++at;
            continue;
        }
        const size_t length = unit_length(text, at);
        commands.back() += text.substr(at, length);
        at += length;
    }
    for (std::string& command : commands) {
        command = trimmed(command);
    }
    std::erase(commands, "");
    return commands;
}

std::vector<std::string> words_of(std::string_view command) {
    std::vector<std::string> words;
    bool in_word = false;
    for (size_t at = 0; at < command.size();) {
        if (is_blank(command[at])) {
            in_word = false;
            ++at;
            continue;
        }
        if (!in_word) {
            words.emplace_back();
        }
        in_word = true;
        const size_t length = unit_length(command, at);
        std::string_view unit = command.substr(at, length);
        if (unit.size() > 1) {
            unit.remove_prefix(1);
            if (command[at] != '\\') {
                unit.remove_suffix(1);
            }
        }
        words.back() += unit;
        at += length;
    }
    return words;
}

bool is_plain_program_call(std::string_view text) {
    if (text.find_first_of("\n()`") != std::string_view::npos ||
        simple_commands(text) != std::vector{trimmed(text)}) {
        return false;
    }
    const std::vector<std::string> words = words_of(without_redirections(text));
    if (words.empty() || is_shell_word(words.front())) {
        return false;
    }
    const auto plain = [](unsigned char c) {
        return std::isalnum(c) != 0 ||
               std::string_view("_./+-").find(static_cast<char>(c)) != std::string_view::npos;
    };
    return std::all_of(words.front().begin(), words.front().end(), plain) &&
           text.substr(text.find_first_not_of(blanks)).starts_with(words.front());
}

std::optional<PlainCall> plain_call(std::string_view text) {
    if (!is_plain_program_call(text)) {
        return std::nullopt;
    }
    const auto plain = [](unsigned char c) {
        return std::isalnum(c) != 0 ||
               std::string_view("_-+./:,=@% ").find(static_cast<char>(c)) != std::string_view::npos;
    };
    PlainCall call;
    const std::vector<std::string> words = words_of(text);
    for (size_t at = 0; at < words.size(); ++at) {
        const std::string& word = words[at];
        const bool redirects = word == ">" || word == ">>" || word == "2>" || word == "2>>";
        if (redirects && at + 1 < words.size()) {
            call.redirections.push_back(
                {word.front() == '2' ? 2 : 1, word.ends_with(">>"), words[++at]});
        } else {
            call.words.push_back(word);
        }
        if (!std::all_of(words[at].begin(), words[at].end(), plain)) {
            return std::nullopt;
        }
    }
    if (text.find_first_of("\"'\\") != std::string_view::npos) {
        return std::nullopt;
    }
    return call;
}

} // namespace zav::test

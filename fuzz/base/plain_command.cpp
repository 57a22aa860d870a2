// SPDX-License-Identifier: MIT
// A command that is started without a shell must mean the same to a shell.
#include "base/command.h"
#include "base/text.h"
#include "fuzz.h"

namespace zav::fuzz {

namespace {

constexpr std::string_view harmless =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+./:,=@%";

bool is_harmless(std::string_view word) {
    return !word.empty() && word.find_first_not_of(harmless) == word.npos;
}

} // namespace

void run(std::string_view input) {
    const auto command = parse_plain_command(input);
    if (!command) {
        return;
    }
    // Reassembled in the order of the text: there is nothing but words and redirections.
    auto word = command->words.begin();
    auto redirection = command->redirections.begin();
    const auto pieces = split(input, " ");
    for (auto piece = pieces.begin(); piece != pieces.end(); ++piece) {
        if (*piece == ">" || *piece == "2>>") {
            require(redirection != command->redirections.end(), "every redirection is kept");
            require(redirection->append == (*piece == "2>>"), "it appends when it says so");
            require(redirection->descriptor == (*piece == ">" ? 1 : 2), "it is of its descriptor");
            require(++piece != pieces.end() && *piece == redirection->path, "its path is kept");
            require(is_harmless(redirection->path), "a path holds nothing that a shell reads");
            ++redirection;
        } else {
            require(word != command->words.end() && *piece == *word, "every word is kept");
            require(is_harmless(*word), "a word holds nothing that a shell reads");
            ++word;
        }
    }
    require(word == command->words.end(), "no word is added");
    require(redirection == command->redirections.end(), "no redirection is added");
    const std::string& program = command->words.front();
    require(program.find('=') == program.npos, "the program is no assignment");
    require(program == "cat" || program.find('/') != program.npos, "nor a builtin of the shell");
}

} // namespace zav::fuzz

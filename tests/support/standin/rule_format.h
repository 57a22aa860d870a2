// SPDX-License-Identifier: MIT
// The answers of stand-in tools to commands, as a test states them and as the rules file stores
// them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zav::test {

struct Answer {
    std::string snippet;  // shell commands run first, the tool's arguments as $1, $2, ...
    std::string output;   // then written to standard output
    size_t filler = 0;    // and this many bytes of filler lines
    std::string errors;   // written to standard error
    int exit_status = -1; // -1: the snippet's status, 0 without a snippet
    int signal = 0;       // killed by this signal instead
};

enum class Match { exact, prefix, any };

struct RuleState {
    std::string tool; // path of the stand-in
    Match match = Match::any;
    std::string pattern;
    size_t number = 0;              // place in the order of declaration
    bool spends = false;            // retires after `answers.size() * rounds` uses
    size_t rounds = 1;              // how often the whole sequence is given
    bool optional = false;          // may stay unused
    bool is_default = false;        // tried after other rules of its kind
    std::vector<Answer> answers{1}; // given in order; the last one repeats

    size_t capacity() const { return answers.size() * rounds; }
    const Answer& answer(size_t use) const;
    bool matches(std::string_view command) const;
};

// Rules in the order in which they are tried.
std::string to_bytes(const std::vector<RuleState>& rules);
std::vector<RuleState> rules_from_bytes(std::string_view bytes);

} // namespace zav::test

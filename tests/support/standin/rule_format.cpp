// SPDX-License-Identifier: MIT
#include "rule_format.h"

#include "command_text.h"

#include <algorithm>
#include <cstdlib>

namespace zav::test {
namespace {

size_t number_from(const std::string& text) {
    return std::strtoull(text.c_str(), nullptr, 10);
}

std::string bytes_of(const Answer& answer) {
    std::string bytes;
    append_record(bytes, answer.snippet);
    append_record(bytes, answer.output);
    append_record(bytes, std::to_string(answer.filler));
    append_record(bytes, answer.errors);
    append_record(bytes, std::to_string(answer.exit_status));
    append_record(bytes, std::to_string(answer.signal));
    return bytes;
}

Answer answer_from(std::string_view bytes) {
    std::vector<std::string> fields = split_records(bytes);
    fields.resize(6);
    return {fields[0],
            fields[1],
            number_from(fields[2]),
            fields[3],
            std::atoi(fields[4].c_str()),
            std::atoi(fields[5].c_str())};
}

} // namespace

const Answer& RuleState::answer(size_t use) const {
    if (spends) {
        return answers[use % answers.size()];
    }
    return answers[std::min(use, answers.size() - 1)];
}

bool RuleState::matches(std::string_view command) const {
    switch (match) {
    case Match::exact:
        return command == pattern;
    case Match::prefix:
        return command.starts_with(pattern);
    case Match::any:
        break;
    }
    return true;
}

std::string to_bytes(const std::vector<RuleState>& rules) {
    std::string all;
    for (const RuleState& rule : rules) {
        std::string bytes;
        append_record(bytes, rule.tool);
        append_record(bytes, std::to_string(static_cast<int>(rule.match)));
        append_record(bytes, rule.pattern);
        append_record(bytes, std::to_string(rule.number));
        append_record(bytes, rule.spends ? "1" : "0");
        append_record(bytes, std::to_string(rule.rounds));
        for (const Answer& answer : rule.answers) {
            append_record(bytes, bytes_of(answer));
        }
        append_record(all, bytes);
    }
    return all;
}

std::vector<RuleState> rules_from_bytes(std::string_view bytes) {
    constexpr size_t head = 6;
    std::vector<RuleState> rules;
    for (const std::string& one : split_records(bytes)) {
        const std::vector<std::string> fields = split_records(one);
        if (fields.size() <= head) {
            continue;
        }
        RuleState rule;
        rule.tool = fields[0];
        rule.match = static_cast<Match>(std::atoi(fields[1].c_str()));
        rule.pattern = fields[2];
        rule.number = number_from(fields[3]);
        rule.spends = fields[4] == "1";
        rule.rounds = number_from(fields[5]);
        rule.answers.clear();
        for (size_t at = head; at < fields.size(); ++at) {
            rule.answers.push_back(answer_from(fields[at]));
        }
        rules.push_back(std::move(rule));
    }
    return rules;
}

} // namespace zav::test

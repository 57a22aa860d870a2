// SPDX-License-Identifier: MIT
#include "tools.h"

#include "recorded.h"
#include "standin/rule_format.h"

#include <algorithm>
#include <utility>

namespace zav::test {
namespace {

bool same_question(const RuleState& a, const RuleState& b) {
    return a.tool == b.tool && a.match == b.match && a.pattern == b.pattern &&
           a.is_default == b.is_default;
}

bool tried_before(const RuleState& a, const RuleState& b) {
    if (a.match != b.match) {
        return a.match < b.match;
    }
    if (a.is_default != b.is_default) {
        return b.is_default;
    }
    if (a.pattern.size() != b.pattern.size()) {
        return a.pattern.size() > b.pattern.size();
    }
    return a.spends && !b.spends;
}

} // namespace

Rule::Rule(std::shared_ptr<RuleState> state) : state_(std::move(state)) {}

Rule& Rule::prints(std::string text) {
    state_->answers.back().output += text;
    return *this;
}

Rule& Rule::prints_bytes(size_t count) {
    state_->answers.back().filler = count;
    return *this;
}

Rule& Rule::complains(std::string text) {
    state_->answers.back().errors += text;
    return *this;
}

Rule& Rule::does(std::string snippet) {
    state_->answers.back().snippet = std::move(snippet);
    return *this;
}

Rule& Rule::exits(int status) {
    state_->answers.back().exit_status = status;
    return *this;
}

Rule& Rule::killed_by(int signal) {
    state_->answers.back().signal = signal;
    return *this;
}

Rule& Rule::replays(const std::string& capture) {
    const Recorded run = recorded(capture);
    return prints(run.text).complains(run.errors).exits(run.exit_status);
}

Rule& Rule::then() {
    state_->answers.emplace_back();
    return *this;
}

Rule& Rule::times(size_t n) {
    state_->spends = true;
    state_->rounds = n;
    return *this;
}

Rule& Rule::optional() {
    state_->optional = true;
    return *this;
}

Rule& Rule::as_default() {
    state_->is_default = true;
    return optional();
}

Tool::Tool(RuleBook& book, std::string path) : book_(&book), path_(std::move(path)) {}

Rule Tool::on(const std::string& command) {
    RuleState state;
    state.tool = path_;
    state.match = Match::exact;
    state.pattern = command;
    return book_->add(std::move(state));
}

Rule Tool::on_prefix(const std::string& beginning) {
    RuleState state;
    state.tool = path_;
    state.match = Match::prefix;
    state.pattern = beginning;
    return book_->add(std::move(state));
}

Rule Tool::any() {
    RuleState state;
    state.tool = path_;
    return book_->add(std::move(state));
}

Rule Tool::replays(const std::string& capture) {
    Rule rule = on(recorded(capture).command);
    return rule.replays(capture);
}

Rule RuleBook::add(RuleState state) {
    state.number = rules_.size();
    rules_.push_back(std::make_shared<RuleState>(std::move(state)));
    return Rule(rules_.back());
}

std::vector<RuleState> RuleBook::in_force() const {
    std::vector<RuleState> rules;
    for (auto at = rules_.begin(); at != rules_.end(); ++at) {
        const auto replaces = [at](const auto& later) {
            return !later->spends && same_question(*later, **at);
        };
        if ((*at)->spends || std::none_of(at + 1, rules_.end(), replaces)) {
            rules.push_back(**at);
        }
    }
    std::stable_sort(rules.begin(), rules.end(), tried_before);
    return rules;
}

} // namespace zav::test

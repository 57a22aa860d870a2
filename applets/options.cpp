// SPDX-License-Identifier: MIT
#include "applets/options.h"

#include "applets/applets.h"
#include "base/log.h"
#include "base/text.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace zav {

namespace {

constexpr std::size_t most_options = 32;
constexpr int no_limit = -1;

struct Option {
    char letter = '\0';
    std::uint32_t own_bit = 0;
    std::uint32_t set_bits = 0;
    std::uint32_t clear_bits = 0;
    std::uint32_t excludes = 0;
    std::uint32_t requires_one_of = 0;
    const OptionTarget* argument = nullptr;
    const OptionTarget* counter = nullptr;
};

/// Hands out the targets in their order; null once there are no more.
class Targets {
  public:
    explicit Targets(std::span<const OptionTarget> targets) : rest_(targets) {}
    const OptionTarget* take() {
        if (rest_.empty()) {
            return nullptr;
        }
        const OptionTarget* target = &rest_.front();
        rest_ = rest_.subspan(1);
        return target;
    }

  private:
    std::span<const OptionTarget> rest_;
};

class Parser {
  public:
    Parser(const OptionSettings& settings, std::span<const OptionTarget> targets)
        : settings_(settings), targets_(targets) {
        make_options();
        read_rules(settings.rules != nullptr ? settings.rules : "");
    }

    std::uint32_t parse(int argc, char** argv);

  private:
    void make_options();
    void read_rules(std::string_view rules);
    void read_option_rule(std::string_view rule);
    void read_pair_rule(Option& option, std::string_view rule);
    Option* find(char letter);
    Option& find_for_rule(char letter);
    void apply(const Option& option, const char* argument);
    void check(int operands) const;

    const OptionSettings& settings_;
    Targets targets_;
    std::vector<Option> options_;
    Option unknown_; ///< takes what rules say about letters that are no options; never read
    std::uint32_t flags_ = 0;
    std::uint32_t needed_ = 0;
    int least_operands_ = 0;
    int most_operands_ = no_limit;
    bool usage_on_conflict_ = false;
};

void Parser::make_options() {
    std::string_view letters = settings_.short_options;
    if (letters.starts_with('+') || letters.starts_with('-')) {
        letters.remove_prefix(1);
    }
    for (std::size_t i = 0; i < letters.size(); ++i) {
        if (std::ranges::find(options_, letters[i], &Option::letter) != options_.end()) {
            continue;
        }
        if (options_.size() == most_options) {
            return;
        }
        Option option;
        option.letter = letters[i];
        option.own_bit = option.set_bits = std::uint32_t{1} << options_.size();
        if (letters.substr(i + 1).starts_with(':')) {
            option.argument = targets_.take();
        }
        while (letters.substr(i + 1).starts_with(':')) {
            ++i;
        }
        options_.push_back(option);
    }
}

Option* Parser::find(char letter) {
    const auto found = std::ranges::find(options_, letter, &Option::letter);
    return found != options_.end() ? &*found : nullptr;
}

Option& Parser::find_for_rule(char letter) {
    Option* option = find(letter);
    return option != nullptr ? *option : unknown_;
}

void Parser::read_rules(std::string_view rules) {
    while (!rules.empty()) {
        const bool digit_follows = rules.size() > 1 && is_digit(rules[1]);
        std::size_t used = 1;
        switch (rules.front()) {
        case ':':
            break;
        case '?':
            if (digit_follows) {
                most_operands_ = rules[1] - '0';
                used = 2;
            } else {
                usage_on_conflict_ = true;
            }
            break;
        case '-':
            if (digit_follows) {
                least_operands_ = rules[1] - '0';
                used = 2;
            } else if (rules.starts_with("--")) {
                used = 2;
            }
            break;
        default:
            used = cut_at(rules, ":").size();
            if (used == 1 && rules.substr(1).starts_with("::")) {
                used = 3; // a list: its target says so, and it is not one of those needed
            } else {
                read_option_rule(rules.substr(0, used));
            }
            break;
        }
        rules.remove_prefix(used);
    }
}

/// `rule` is one token, from its letter to the next colon.
void Parser::read_option_rule(std::string_view rule) {
    const char letter = rule.front();
    Option& option = find_for_rule(letter);
    if (rule.size() == 1) {
        needed_ |= option.own_bit;
        return;
    }
    if (rule.substr(1) == "-") {
        flags_ |= option.own_bit;
        option.excludes |= option.own_bit;
        return;
    }
    rule.remove_prefix(1);
    if (rule.front() == letter) {
        option.counter = targets_.take();
        rule.remove_prefix(1);
    }
    read_pair_rule(option, rule);
}

void Parser::read_pair_rule(Option& option, std::string_view rule) {
    std::uint32_t* bits = &option.set_bits;
    for (const char c : rule) {
        if (c == '?') {
            bits = &option.requires_one_of;
        } else if (c == '-') {
            bits = bits == &option.clear_bits ? &option.excludes : &option.clear_bits;
        } else {
            *bits |= find_for_rule(c).own_bit;
        }
    }
}

void Parser::apply(const Option& option, const char* argument) {
    if ((option.excludes & flags_) != 0) {
        if (usage_on_conflict_) {
            applet_usage_show();
        }
        flags_ |= conflict_bit;
    }
    if (option.counter != nullptr) {
        option.counter->count();
    }
    if (option.argument != nullptr) {
        option.argument->store(argument);
    }
    const std::uint32_t flipped = option.set_bits & option.clear_bits;
    flags_ &= ~(option.clear_bits ^ flipped);
    flags_ |= option.set_bits ^ flipped;
    flags_ ^= flipped;
}

void Parser::check(int operands) const {
    const bool requirement_missing = std::ranges::any_of(options_, [this](const Option& option) {
        return option.requires_one_of != 0 && (flags_ & option.own_bit) != 0 &&
               (flags_ & option.requires_one_of) == 0;
    });
    const bool none_of_needed = needed_ != 0 && (flags_ & needed_) == 0;
    const bool wrong_count =
        operands < least_operands_ || (most_operands_ != no_limit && operands > most_operands_);
    if (requirement_missing || none_of_needed || wrong_count) {
        applet_usage_show();
    }
}

std::uint32_t Parser::parse(int argc, char** argv) {
    static constexpr option no_long_options[] = {{nullptr, 0, nullptr, 0}};
    const option* long_options =
        settings_.long_options != nullptr ? settings_.long_options : no_long_options;
    int letter = 0;
    while ((letter = ::getopt_long(argc, argv, settings_.short_options, long_options, nullptr)) !=
           -1) {
        const Option* option = find(static_cast<char>(letter));
        if (option == nullptr) {
            const LogSite site = LogSite::numbered(499, "zav_getopt");
            log_error("%s[%d]: other option: %c", site.function, site.line, letter);
            return flags_;
        }
        apply(*option, optarg);
    }
    check(argc - optind);
    return flags_;
}

} // namespace

void OptionTarget::store(const char* argument) const {
    if (list_ != nullptr) {
        list_->push_front(argument);
    } else if (text_ != nullptr) {
        *text_ = argument;
    }
}

void OptionTarget::count() const {
    if (counter_ != nullptr) {
        ++*counter_;
    }
}

std::uint32_t zav_getopt(int argc, char** argv, const OptionSettings& settings,
                         std::initializer_list<OptionTarget> targets) {
    return Parser(settings, {targets.begin(), targets.size()}).parse(argc, argv);
}

} // namespace zav

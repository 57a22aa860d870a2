// SPDX-License-Identifier: MIT
// What a command's table comes to: its options with their bits, what excludes or needs what, and
// the usage to the letter, which front ends and manuals quote, misspellings included. Each
// command's test gives what is expected of it:
//
//     INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));
#pragma once

#include "applets/applets.h"
#include "applets/options/option_fixture.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zav::test {

struct Description {
    const char* applet;
    const char* short_options;
    const char* rules;
    std::vector<std::pair<std::string, char>> long_options;
    std::map<char, std::uint32_t> bits;
    std::vector<std::string> conflicts; // pairs of letters that conflict when the second is read
    const char* usage;
};

inline void PrintTo(const Description& description, std::ostream* out) {
    *out << description.applet;
}

// What rules say, whatever the order of the rules and of the letters in one of them.
inline std::set<std::string> meaning_of(const std::string& rules) {
    std::set<std::string> meaning;
    std::size_t at = 0;
    while (at < rules.size()) {
        const std::size_t end = std::min(rules.find(':', at), rules.size());
        std::string rule = rules.substr(at, end - at);
        const std::size_t letters = rule.find_last_of("-?") + 1;
        std::sort(rule.begin() + static_cast<std::ptrdiff_t>(letters), rule.end());
        if (!rule.empty()) {
            meaning.insert(rule);
        }
        at = end + 1;
    }
    return meaning;
}

// With more targets than any applet needs.
inline std::uint32_t parse_for(const char* applet, const std::vector<std::string>& words) {
    const char* text = nullptr;
    return parse(applet_options(applet), words,
                 {&text, &text, &text, &text, &text, &text, &text, &text, &text, &text, &text,
                  &text, &text, &text, &text});
}

// Seen from outside: the usage instead of anything else.
inline bool shows_usage_of(const char* applet, std::vector<std::string> words) {
    PrivateRoot root;
    words.insert(words.begin(), applet);
    const Result result = root.run(words);
    return result.exit_status == 0 &&
           result.out.starts_with(std::string("zavbox 0.1.0\n\nUsage: ") + applet + " \n--");
}

class DescribedApplet : public testing::TestWithParam<Description> {
  protected:
    static const char* applet() { return GetParam().applet; }
    static const OptionSettings& settings() { return applet_options(applet()); }
    static std::uint32_t parse_words(const std::vector<std::string>& words) {
        return parse_for(applet(), words);
    }

    // The option, with an argument when it takes one.
    static std::vector<std::string> given(char letter) {
        const std::string taking = GetParam().short_options;
        std::vector<std::string> words = {std::string("-") + letter};
        if (taking.find(std::string(1, letter) + ":") != std::string::npos) {
            words.emplace_back("1");
        }
        return words;
    }
    static std::vector<std::string> given(char first, char second) {
        std::vector<std::string> words = given(first);
        const std::vector<std::string> more = given(second);
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    // An option and what it needs: one of the letters behind its question mark.
    static void give_with_what_it_needs(const std::vector<std::string>& option, char letter) {
        std::vector<std::string> words = {"-S"}; // a mode, which every applet needs
        words.insert(words.end(), option.begin(), option.end());
        std::uint32_t expected = GetParam().bits.at('S') | GetParam().bits.at(letter);
        const std::string rules = GetParam().rules;
        const std::size_t needs = rules.find(std::string(1, letter) + "?");
        if (needs != std::string::npos) {
            const std::vector<std::string> more = given(rules.at(needs + 2));
            words.insert(words.end(), more.begin(), more.end());
            expected |= GetParam().bits.at(rules.at(needs + 2));
        }
        EXPECT_EQ(parse_words(words) & ~conflict_bit, expected) << option.front();
    }

    static bool is_mode(char letter) {
        return meaning_of(GetParam().rules).contains(std::string(1, letter));
    }

    static std::string page() {
        return std::string("zavbox 0.1.0\n\nUsage: ") + applet() + " " + GetParam().usage + "\n\n";
    }
};

TEST_P(DescribedApplet, HasItsLettersInTheirOrder) {
    EXPECT_STREQ(settings().short_options, GetParam().short_options);
}

TEST_P(DescribedApplet, HasItsRules) {
    EXPECT_EQ(meaning_of(settings().rules), meaning_of(GetParam().rules));
}

TEST_P(DescribedApplet, HasLongOptionsThatStandForLetters) {
    const option* at = settings().long_options;
    for (const auto& [name, letter] : GetParam().long_options) {
        ASSERT_NE(at->name, nullptr);
        EXPECT_EQ(at->name, name);
        EXPECT_EQ(at->has_arg, given(letter).size() == 1 ? no_argument : required_argument);
        EXPECT_EQ(at->flag, nullptr);
        EXPECT_EQ(at->val, letter);
        ++at;
    }
    EXPECT_EQ(at->name, nullptr);
    EXPECT_EQ(at->has_arg, 0);
    EXPECT_EQ(at->flag, nullptr);
    EXPECT_EQ(at->val, 0);
}

TEST_P(DescribedApplet, SetsTheBitOfEachLetter) {
    for (const auto& [letter, bit] : GetParam().bits) {
        give_with_what_it_needs(given(letter), letter);
    }
}

TEST_P(DescribedApplet, SetsTheBitOfItsLetterForEachLongOption) {
    for (const auto& [name, letter] : GetParam().long_options) {
        std::vector<std::string> words = given(letter);
        words.front() = "--" + name;
        give_with_what_it_needs(words, letter);
    }
}

TEST_P(DescribedApplet, SeesAConflictInJustThesePairsOfLetters) {
    PrivateRoot root;
    const Result result = root.call([] {
        for (const auto& [first, first_bit] : GetParam().bits) {
            for (const auto& [second, second_bit] : GetParam().bits) {
                std::vector<std::string> words = given(first, second);
                words.emplace_back("--unknown"); // so that a missing mode is not looked at
                const std::string pair = {first, second};
                const bool conflict = testing::Value(GetParam().conflicts, testing::Contains(pair));
                EXPECT_EQ(parse_words(words),
                          first_bit | second_bit | (conflict ? conflict_bit : 0))
                    << pair;
            }
        }
        return 0;
    });
    EXPECT_TRUE(result.has_returned);
}

TEST_P(DescribedApplet, TakesAnOperandAloneForNoMode) {
    EXPECT_TRUE(shows_usage_of(applet(), {"operand"}));
}

TEST_P(DescribedApplet, TakesAllLettersThatAreNoModesForNone) {
    std::vector<std::string> words;
    for (const auto& [letter, bit] : GetParam().bits) {
        if (!is_mode(letter)) {
            const std::vector<std::string> more = given(letter);
            words.insert(words.end(), more.begin(), more.end());
        }
    }
    EXPECT_TRUE(shows_usage_of(applet(), words));
}

TEST_P(DescribedApplet, HasItsUsage) {
    const auto all = applets();
    const auto found = std::ranges::find_if(
        all, [](const Applet& candidate) { return std::string(candidate.name) == applet(); });
    ASSERT_NE(found, all.end());
    EXPECT_STREQ(found->get().usage, GetParam().usage);
}

TEST_P(DescribedApplet, PrintsItsUsageForHelpAndEndsWithStatus0) {
    PrivateRoot root;
    const Result result = root.run({applet(), "--help"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, page());
    EXPECT_EQ(result.err, "");
}

// Every applet needs one of its modes.
TEST_P(DescribedApplet, PrintsItsUsageWithoutOptionsAndEndsWithStatus0) {
    PrivateRoot root;
    const Result result = root.run({applet()});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, page());
    EXPECT_EQ(result.err, "");
    EXPECT_FALSE(root.exists("/var/log/log.libzav"));
}

TEST_P(DescribedApplet, HasAUsageThatIsNotMarkedAsMissing) {
    EXPECT_NE(GetParam().usage[0], '\b');
}

} // namespace zav::test

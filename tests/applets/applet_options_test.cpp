// SPDX-License-Identifier: MIT
// The options of every applet: settings, bits, exclusions and requirements.
#include "applets/applets.h"
#include "applets/options/option_fixture.h"

#include <gmock/gmock.h>
#include <map>
#include <ostream>
#include <string>
#include <utility>

namespace zav::test {
namespace {

struct Settings {
    const char* applet;
    const char* short_options;
    const char* rules;
    std::vector<std::pair<std::string, char>> long_options;
    std::map<char, std::uint32_t> bits;
};

void PrintTo(const Settings& settings, std::ostream* out) {
    *out << settings.applet;
}

const Settings all_settings[] = {
    {"diskmanage",
     "ISHa:n:r:d:",
     "S:H:I:S--HI:H--SI:I--SH:H?ar:a--r",
     {{"init", 'I'}, {"display", 'S'}, {"hotspare", 'H'}},
     {{'I', 0x1}, {'S', 0x2}, {'H', 0x4}, {'a', 0x8}, {'n', 0x10}, {'r', 0x20}, {'d', 0x40}}},
    {"disksmart",
     "Sen:d:",
     "S:",
     {{"display", 'S'}, {"detail", 'e'}},
     {{'S', 0x1}, {'e', 0x2}, {'n', 0x4}, {'d', 0x8}}},
    {"fsmanage",
     "CSDRn:s:g:",
     "C:S:D:R:C--SDR:S--CDR:D--SCR:R--CSD",
     {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}, {"repair", 'R'}},
     {{'C', 0x1}, {'S', 0x2}, {'D', 0x4}, {'R', 0x8}, {'n', 0x10}, {'s', 0x20}, {'g', 0x40}}},
    {"lvmanage",
     "CSDn:L:",
     "C:S:D:C--SD:S--CD:D--SC",
     {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}},
     {{'C', 0x1}, {'S', 0x2}, {'D', 0x4}, {'n', 0x8}, {'L', 0x10}}},
    {"mdmanage",
     "CSDRgn:l:d:a:r:",
     "C:S:D:R:a:r:C--SDR:S--CDR:D--SCR:R--CSD:a--r",
     {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}, {"recover", 'R'}, {"fg-init", 'g'}},
     {{'C', 0x1},
      {'S', 0x2},
      {'D', 0x4},
      {'R', 0x8},
      {'g', 0x10},
      {'n', 0x20},
      {'l', 0x40},
      {'d', 0x80},
      {'a', 0x100},
      {'r', 0x200}}},
    {"netmanage",
     "CSDRn:g:",
     "C:S:D:R:C--SDR:S--CDR:D--SCR:R--CSD",
     {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}, {"repair", 'R'}},
     {{'C', 0x1}, {'S', 0x2}, {'D', 0x4}, {'R', 0x8}, {'n', 0x10}, {'g', 0x20}}},
    {"sharemanage",
     "CSDERQn:f:s:u:x:c:b:",
     "C:S:D:E:R:Q:C--SDREQ:S--CDREQ:D--SCREQ:E--CSDRQ:R--CSDEQ:Q--CSDER",
     {{"create", 'C'},
      {"display", 'S'},
      {"delete", 'D'},
      {"edit", 'E'},
      {"repair", 'R'},
      {"restore", 'Q'}},
     {{'C', 0x1},
      {'S', 0x2},
      {'D', 0x4},
      {'E', 0x8},
      {'R', 0x10},
      {'Q', 0x20},
      {'n', 0x40},
      {'f', 0x80},
      {'s', 0x100},
      {'u', 0x200},
      {'x', 0x400},
      {'c', 0x800},
      {'b', 0x1000}}},
    {"vgmanage",
     "CSDn:c:d:",
     "C:S:D:C--SD:S--CD:D--SC",
     {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}},
     {{'C', 0x1}, {'S', 0x2}, {'D', 0x4}, {'n', 0x8}, {'c', 0x10}, {'d', 0x20}}},
};

// With as many targets as the applet with the most arguments needs.
std::uint32_t parse_for(const char* applet, const std::vector<std::string>& words) {
    const char* text = nullptr;
    return parse(applet_options(applet), words, {&text, &text, &text, &text, &text, &text, &text});
}

class AppletOptions : public testing::TestWithParam<Settings> {
  protected:
    // The option, with an argument if it takes one.
    static std::vector<std::string> given(char letter) {
        const std::string taking = GetParam().short_options;
        std::vector<std::string> words = {std::string("-") + letter};
        if (taking.find(std::string(1, letter) + ":") != std::string::npos) {
            words.emplace_back("1");
        }
        return words;
    }
};

INSTANTIATE_TEST_SUITE_P(EveryApplet, AppletOptions, testing::ValuesIn(all_settings),
                         [](const auto& test) { return std::string(test.param.applet); });

TEST_P(AppletOptions, ShortOptionsAndRules) {
    const OptionSettings& settings = applet_options(GetParam().applet);
    EXPECT_STREQ(settings.short_options, GetParam().short_options);
    EXPECT_STREQ(settings.rules, GetParam().rules);
}

TEST_P(AppletOptions, LongOptionsStandForLetters) {
    const option* at = applet_options(GetParam().applet).long_options;
    for (const auto& [name, letter] : GetParam().long_options) {
        ASSERT_NE(at->name, nullptr);
        EXPECT_EQ(at->name, name);
        EXPECT_EQ(at->has_arg, no_argument);
        EXPECT_EQ(at->flag, nullptr);
        EXPECT_EQ(at->val, letter);
        ++at;
    }
    EXPECT_EQ(at->name, nullptr);
    EXPECT_EQ(at->has_arg, 0);
    EXPECT_EQ(at->flag, nullptr);
    EXPECT_EQ(at->val, 0);
}

TEST_P(AppletOptions, EachLetterSetsItsBit) {
    for (const auto& [letter, bit] : GetParam().bits) {
        std::vector<std::string> words = given(letter);
        words.insert(words.begin(), "-S"); // every applet needs a mode
        std::uint32_t expected = GetParam().bits.at('S') | bit;
        if (std::string(GetParam().applet) == "diskmanage" && letter == 'H') {
            words.insert(words.end(), {"-a", "1"}); // required by -H
            expected |= GetParam().bits.at('a');
        }
        EXPECT_EQ(parse_for(GetParam().applet, words) & ~conflict_bit, expected) << letter;
    }
}

TEST_P(AppletOptions, EachLongOptionSetsTheBitOfItsLetter) {
    for (const auto& [name, letter] : GetParam().long_options) {
        std::vector<std::string> words = {"-S", "--" + name};
        std::uint32_t expected = GetParam().bits.at('S') | GetParam().bits.at(letter);
        if (name == "hotspare") {
            words.insert(words.end(), {"-r", "1"});
            expected |= GetParam().bits.at('r');
        }
        EXPECT_EQ(parse_for(GetParam().applet, words) & ~conflict_bit, expected) << name;
    }
}

// The pairs of letters that conflict when the second one is parsed.
const std::map<std::string, std::vector<std::string>> conflicts = {
    {"diskmanage", {"SH", "SI", "HS", "HI", "IS", "IH", "ra"}},
    {"disksmart", {}},
    {"fsmanage", {"CS", "CD", "CR", "SC", "SD", "SR", "DC", "DS", "DR", "RC", "RS", "RD"}},
    {"lvmanage", {"CS", "CD", "SC", "SD", "DC", "DS"}},
    {"mdmanage", {"CS", "CD", "CR", "SC", "SD", "SR", "DC", "DS", "DR", "RC", "RS", "RD", "ra"}},
    {"netmanage", {"CS", "CD", "CR", "SC", "SD", "SR", "DC", "DS", "DR", "RC", "RS", "RD"}},
    {"sharemanage",
     {"CS", "CD", "CE", "CR", "CQ", "SC", "SD", "SE", "SR", "SQ", "DC", "DS", "DE", "DR", "DQ",
      "EC", "ES", "ED", "ER", "EQ", "RC", "RS", "RD", "RE", "RQ", "QC", "QS", "QD", "QE", "QR"}},
    {"vgmanage", {"CS", "CD", "SC", "SD", "DC", "DS"}},
};

TEST_P(AppletOptions, EachPairOfLettersConflictsOrNot) {
    const auto parse_pair = [](char first, char second) {
        std::vector<std::string> words = given(first);
        const std::vector<std::string> more = given(second);
        words.insert(words.end(), more.begin(), more.end());
        words.emplace_back("--unknown"); // so that a missing mode does not matter
        return parse_for(GetParam().applet, words);
    };
    PrivateRoot root;
    const Result result = root.call([&] {
        for (const auto& [first, first_bit] : GetParam().bits) {
            for (const auto& [second, second_bit] : GetParam().bits) {
                const std::string pair = {first, second};
                const bool conflict =
                    testing::Value(conflicts.at(GetParam().applet), testing::Contains(pair));
                EXPECT_EQ(parse_pair(first, second),
                          first_bit | second_bit | (conflict ? conflict_bit : 0))
                    << pair;
            }
        }
        return 0;
    });
    EXPECT_TRUE(result.has_returned);
}

// Whether missing requirements make the applet print its usage and nothing else.
bool shows_usage_of(const char* applet, std::vector<std::string> words) {
    PrivateRoot root;
    words.insert(words.begin(), applet);
    const Result result = root.run(words);
    return result.exit_status == 0 &&
           result.out.starts_with(std::string("zavbox 0.1.0\n\nUsage: ") + applet + " \n--");
}

TEST_P(AppletOptions, OperandAloneIsNoMode) {
    EXPECT_TRUE(shows_usage_of(GetParam().applet, {"operand"}));
}

TEST_P(AppletOptions, LettersThatAreNoModesDoNotReplaceOne) {
    std::vector<std::string> words;
    for (const auto& [letter, bit] : GetParam().bits) {
        const bool is_mode =
            std::string(GetParam().rules).find(std::string(1, letter) + ":") == 0 ||
            std::string(GetParam().rules).find(std::string(":") + letter + ":") !=
                std::string::npos;
        if (!is_mode) {
            const std::vector<std::string> more = given(letter);
            words.insert(words.end(), more.begin(), more.end());
        }
    }
    EXPECT_TRUE(shows_usage_of(GetParam().applet, words));
}

TEST(DiskmanageOptions, HotspareNeedsAChannelToAddOrToRemove) {
    EXPECT_TRUE(shows_usage_of("diskmanage", {"--hotspare"}));
    EXPECT_TRUE(shows_usage_of("diskmanage", {"--hotspare", "-n", "1", "-d", "0"}));
    EXPECT_EQ(parse_for("diskmanage", {"--hotspare", "-a", "1"}), 0xcu);
    EXPECT_EQ(parse_for("diskmanage", {"--hotspare", "-r", "1"}), 0x24u);
}

TEST(DiskmanageOptions, ChannelsOfAllKindsMayShareOnePlace) {
    const char* channel = nullptr;
    const char* device = nullptr;
    CommandLine line({"-H", "-a", "3", "-n", "5", "-d", "0"});
    EXPECT_EQ(line.parse(applet_options("diskmanage"), {&channel, &channel, &channel, &device}),
              0x5cu);
    EXPECT_STREQ(channel, "5");
    EXPECT_STREQ(device, "0");
}

TEST(MdmanageOptions, AddingOrRemovingADiskIsAMode) {
    EXPECT_EQ(parse_for("mdmanage", {"-a", "1", "md1"}), 0x100u);
    EXPECT_EQ(parse_for("mdmanage", {"-r", "1", "md1"}), 0x200u);
    EXPECT_EQ(parse_for("mdmanage", {"-C", "-a", "1"}), 0x101u) << "no conflict";
}

TEST(MdmanageOptions, TwoLongNamesBeginWithD) {
    EXPECT_EQ(parse_for("mdmanage", {"--del"}), 0x4u);
    EXPECT_EQ(parse_for("mdmanage", {"--di"}), 0x2u);
}

TEST(VgmanageOptions, CreateAndDisplayTogetherAreBothSeen) {
    EXPECT_EQ(parse_for("vgmanage", {"-C", "-S"}), 0x3u | conflict_bit);
}

} // namespace
} // namespace zav::test

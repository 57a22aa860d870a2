// SPDX-License-Identifier: MIT
// The rule language, with invented options.
#include "applets/options/option_fixture.h"

#include <gmock/gmock.h>
#include <string>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::StrEq;

constexpr std::uint32_t x = 0x1;
constexpr std::uint32_t y = 0x2;
constexpr std::uint32_t z = 0x4;
constexpr std::uint32_t w = 0x8;

OptionSettings rules(const char* text) {
    return {"xyzw", text, nullptr};
}

TEST(OptionRules, NoRulesMayBeNullOrEmpty) {
    EXPECT_EQ(parse({"xy", nullptr, nullptr}, {"-x", "-y"}), x | y);
    EXPECT_EQ(parse({"xy", "", nullptr}, {"-y", "-x"}), x | y);
}

TEST(OptionRules, EmptyTokensMeanNothing) {
    EXPECT_EQ(parse(rules(":::"), {}), 0u);
}

// "X": needed.

TEST(OptionRules, OneOfTheNeededOptionsIsEnough) {
    EXPECT_EQ(parse(rules("x:y"), {"-x"}), x);
    EXPECT_EQ(parse(rules("x:y"), {"-y"}), y);
    EXPECT_EQ(parse(rules("x:y"), {"-y", "-z"}), y | z);
}

TEST(OptionRules, NoneOfTheNeededOptionsShowsTheUsage) {
    EXPECT_TRUE(shows_usage(rules("x:y"), {}));
    EXPECT_TRUE(shows_usage(rules("x:y"), {"-z"}));
}

TEST(OptionRules, OptionWithAPairRuleIsNotNeeded) {
    EXPECT_EQ(parse(rules("x--y:y-z:z?w:wx"), {}), 0u);
}

TEST(OptionRules, NeededOptionThatWasClearedAgainIsMissing) {
    EXPECT_TRUE(shows_usage(rules("x:y-x"), {"-x", "-y"}));
}

// "X--YZ": exclusion.

TEST(OptionRules, ExcludedOptionGivenBeforeSetsTheConflictBit) {
    EXPECT_EQ(parse(rules("x--yz"), {"-y", "-x"}), x | y | conflict_bit);
    EXPECT_EQ(parse(rules("x--yz"), {"-z", "-x"}), x | z | conflict_bit);
}

TEST(OptionRules, ExcludedOptionGivenLaterIsNoConflict) {
    EXPECT_EQ(parse(rules("x--yz"), {"-x", "-y"}), x | y);
}

TEST(OptionRules, ExclusionDoesNotReachOtherOptions) {
    EXPECT_EQ(parse(rules("x--yz"), {"-w", "-x"}), x | w);
}

TEST(OptionRules, ConflictStoresTheArgumentAndContinues) {
    const char* text = nullptr;
    CommandLine line({"-y", "-x", "given", "-z"});
    EXPECT_EQ(line.parse({"x:yz", "x--y", nullptr}, {&text}), x | y | z | conflict_bit);
    EXPECT_STREQ(text, "given");
}

TEST(OptionRules, ConflictPrintsAndLogsNothing) {
    const Outcome outcome = parse_apart(rules("x--y"), {"-y", "-x"});
    EXPECT_FALSE(outcome.showed_usage);
    EXPECT_EQ(outcome.diagnostics, "");
    EXPECT_TRUE(outcome.log.empty());
}

TEST(OptionRules, RepeatedOptionDoesNotExcludeItself) {
    EXPECT_EQ(parse(rules("x--y"), {"-x", "-x"}), x);
}

TEST(OptionRules, OptionMayExcludeItself) {
    EXPECT_EQ(parse(rules("x--x"), {"-x"}), x);
    EXPECT_EQ(parse(rules("x--x"), {"-x", "-x"}), x | conflict_bit);
}

TEST(OptionRules, The32ndOptionLooksLikeAConflict) {
    const OptionSettings settings = {"abcdefghijklmnopqrstuvwxyzABCDEF", "a--F", nullptr};
    EXPECT_EQ(parse(settings, {"-F"}), conflict_bit);
    EXPECT_EQ(parse(settings, {"-F", "-a"}), 0x80000001u);
}

TEST(OptionRules, ConflictBitCountsAsThe32ndOptionForLaterExclusions) {
    const OptionSettings settings = {"abcdefghijklmnopqrstuvwxyzABCDEF", "a--b:c-F", nullptr};
    EXPECT_EQ(parse(settings, {"-b", "-a"}), 0x80000003u);
    EXPECT_EQ(parse(settings, {"-b", "-a", "-c"}), 0x7u) << "c clears bit 31";
}

// "?": usage on conflict.

TEST(OptionRules, QuestionMarkAloneMakesAConflictShowTheUsage) {
    EXPECT_TRUE(shows_usage(rules("?:x--y"), {"-y", "-x"}));
    EXPECT_TRUE(shows_usage(rules("x--y:?"), {"-y", "-x"}));
    EXPECT_EQ(parse(rules("?:x--y"), {"-x", "-y"}), x | y);
}

TEST(OptionRules, CharacterAfterTheQuestionMarkIsANewToken) {
    EXPECT_TRUE(shows_usage(rules("?x--y"), {"-y", "-x"}));
    EXPECT_TRUE(shows_usage(rules("?x"), {"-y"})) << "x is needed";
    EXPECT_EQ(parse(rules("?x"), {"-x"}), x);
}

TEST(OptionRules, The32ndOptionMayBeExcluded) {
    const OptionSettings settings = {"abcdefghijklmnopqrstuvwxyzABCDEF", "?:a--F", nullptr};
    EXPECT_TRUE(shows_usage(settings, {"-F", "-a"}));
    EXPECT_EQ(parse(settings, {"-a", "-F"}), 0x80000001u);
}

// "X?YZ": requirement.

TEST(OptionRules, RequirementIsMetByEitherOption) {
    EXPECT_EQ(parse(rules("x?yz"), {"-x", "-y"}), x | y);
    EXPECT_EQ(parse(rules("x?yz"), {"-z", "-x"}), x | z);
}

TEST(OptionRules, RequirementThatIsNotMetShowsTheUsage) {
    EXPECT_TRUE(shows_usage(rules("x?yz"), {"-x"}));
    EXPECT_TRUE(shows_usage(rules("x?yz"), {"-x", "-w"}));
}

TEST(OptionRules, RequirementOfAnOptionNotGivenIsNotLookedAt) {
    EXPECT_EQ(parse(rules("x?yz"), {}), 0u);
    EXPECT_EQ(parse(rules("x?yz"), {"-w"}), w);
}

// "X-YZ": clearing.

TEST(OptionRules, OptionClearsWhatWasSeenBefore) {
    EXPECT_EQ(parse(rules("x-yz"), {"-y", "-z", "-w", "-x"}), x | w);
}

TEST(OptionRules, ClearedOptionMayBeSetAgain) {
    EXPECT_EQ(parse(rules("x-y"), {"-y", "-x", "-y"}), x | y);
}

TEST(OptionRules, OptionAfterItsOwnDashToggles) {
    EXPECT_EQ(parse(rules("x-x"), {"-x"}), 0u | x);
    EXPECT_EQ(parse(rules("x-x"), {"-x", "-x"}), 0u);
    EXPECT_EQ(parse(rules("x-x"), {"-x", "-x", "-x"}), x);
}

TEST(OptionRules, TogglingOptionStillClearsTheOthers) {
    EXPECT_EQ(parse(rules("x-xy"), {"-y", "-z", "-x"}), x | z);
    EXPECT_EQ(parse(rules("x-xy"), {"-x", "-y", "-x"}), 0u);
}

TEST(OptionRules, BitBothSetAndClearedIsFlippedToo) {
    EXPECT_EQ(parse(rules("xy-y"), {"-x"}), x | y);
    EXPECT_EQ(parse(rules("xy-y"), {"-x", "-x"}), x);
}

// "XYZ": setting.

TEST(OptionRules, LettersThatFollowDirectlyAreSetToo) {
    EXPECT_EQ(parse(rules("xyz"), {"-x"}), x | y | z);
    EXPECT_EQ(parse(rules("xyz"), {"-y"}), y);
}

TEST(OptionRules, BitThatIsSetTooMeetsANeed) {
    EXPECT_EQ(parse(rules("y:xy"), {"-x"}), x | y);
}

TEST(OptionRules, AnotherOptionsSetBitsAreNotInherited) {
    EXPECT_EQ(parse(rules("yz:xy"), {"-x"}), x | y) << "own bits only";
}

TEST(OptionRules, ImpliedOptionCountsForExclusions) {
    EXPECT_EQ(parse(rules("xy:z--y"), {"-x", "-z"}), x | y | z | conflict_bit);
}

// Several parts in one rule.

TEST(OptionRules, OneRuleMaySetClearRequireAndExclude) {
    const OptionSettings settings = {"abcdef", "ab-c-d?e", nullptr};
    EXPECT_EQ(parse(settings, {"-c", "-e", "-a"}), 0x13u) << "b set, c cleared, e required";
    EXPECT_EQ(parse(settings, {"-d", "-e", "-a"}), 0x1bu | conflict_bit) << "d excluded";
    EXPECT_TRUE(shows_usage(settings, {"-a"})) << "e required";
}

TEST(OptionRules, ThirdDashGoesBackToClearing) {
    EXPECT_EQ(parse(rules("x--y-z"), {"-z", "-x"}), x);
    EXPECT_EQ(parse(rules("x--y-z"), {"-y", "-x"}), x | y | conflict_bit);
}

TEST(OptionRules, DashAfterARequirementClears) {
    EXPECT_EQ(parse(rules("x?y-z"), {"-y", "-z", "-x"}), x | y);
}

TEST(OptionRules, SeveralRulesForOneOptionAddUp) {
    EXPECT_EQ(parse(rules("x--y:x--z"), {"-z", "-x"}), x | z | conflict_bit);
    EXPECT_EQ(parse(rules("x--y:x--z"), {"-y", "-x"}), x | y | conflict_bit);
}

// "X-": on from the start.

TEST(OptionRules, OptionMayBeOnFromTheStart) {
    EXPECT_EQ(parse(rules("x-"), {}), x);
    EXPECT_EQ(parse(rules("x-:y-"), {"-z"}), x | y | z);
}

TEST(OptionRules, GivingAnOptionThatIsOnIsAConflict) {
    EXPECT_EQ(parse(rules("x-"), {"-x"}), x | conflict_bit);
}

TEST(OptionRules, OptionThatIsOnMeetsANeed) {
    EXPECT_EQ(parse(rules("x-:x:y"), {}), x);
}

TEST(OptionRules, OptionThatIsOnMayBeCleared) {
    EXPECT_EQ(parse(rules("x-:y-x"), {"-y"}), y);
    EXPECT_EQ(parse(rules("x-:y-x"), {"-y", "-x"}), x | y) << "no conflict any more";
}

// "XX": counters.

TEST(OptionRules, CounterCountsEveryOccurrence) {
    int count = 5;
    EXPECT_EQ(parse(rules("xx"), {"-x", "-y", "-xx"}, {&count}), x | y);
    EXPECT_EQ(count, 8);
}

TEST(OptionRules, CounterOfAnOptionNotGivenStays) {
    int count = 5;
    EXPECT_EQ(parse(rules("xx"), {"-y"}, {&count}), y);
    EXPECT_EQ(count, 5);
}

TEST(OptionRules, CountersFollowTheRulesAfterTheArguments) {
    const char* text = nullptr;
    int of_z = 0;
    int of_x = 0;
    CommandLine line({"-z", "-x", "-z", "-y", "text"});
    EXPECT_EQ(line.parse({"xy:z", "zz:xx", nullptr}, {&text, &of_z, &of_x}), x | y | z);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(of_z, 2);
    EXPECT_EQ(of_x, 1);
}

TEST(OptionRules, CountedOptionIsNotNeeded) {
    int count = 0;
    EXPECT_EQ(parse(rules("xx"), {}, {&count}), 0u);
}

TEST(OptionRules, CounterRuleMayContinueAsAPairRule) {
    int count = 0;
    EXPECT_EQ(parse(rules("xx--y"), {"-y", "-x", "-x"}, {&count}), x | y | conflict_bit);
    EXPECT_EQ(count, 2) << "a conflict counts as well";
    EXPECT_EQ(parse(rules("xxy"), {"-x"}, {&count}), x | y);
}

TEST(OptionRules, CounterAndArgumentOfOneOption) {
    const char* text = nullptr;
    int count = 0;
    CommandLine line({"-x", "a", "-xb"});
    EXPECT_EQ(line.parse({"x:", "xx", nullptr}, {&text, &count}), x);
    EXPECT_STREQ(text, "b");
    EXPECT_EQ(count, 2);
}

// "X::": lists.

TEST(OptionRules, ListOptionIsNotNeeded) {
    OptionList list;
    EXPECT_EQ(parse({"x:y", "x::y", nullptr}, {"-y"}, {&list}), y);
    EXPECT_TRUE(list.empty());
}

TEST(OptionRules, TokenAfterAListIsRead) {
    OptionList list;
    CommandLine line({"-y", "-x", "1"});
    EXPECT_EQ(line.parse({"x:y", "x::x--y", nullptr}, {&list}), x | y | conflict_bit);
    EXPECT_THAT(list, ElementsAre(StrEq("1")));
}

// "-N" and "?N": operands.

TEST(OptionRules, TooFewOperandsShowTheUsage) {
    EXPECT_TRUE(shows_usage(rules("-2"), {"one"}));
    EXPECT_TRUE(shows_usage(rules("-1"), {"-x"}));
    EXPECT_EQ(parse(rules("-2"), {"one", "two"}), 0u);
    EXPECT_EQ(parse(rules("-2"), {"one", "two", "three"}), 0u) << "no upper bound";
}

TEST(OptionRules, TooManyOperandsShowTheUsage) {
    EXPECT_TRUE(shows_usage(rules("?1"), {"one", "two"}));
    EXPECT_EQ(parse(rules("?1"), {"one"}), 0u);
    EXPECT_EQ(parse(rules("?1"), {}), 0u);
}

TEST(OptionRules, NoOperandAtAllMayBeAllowed) {
    EXPECT_TRUE(shows_usage(rules("?0"), {"one"}));
    EXPECT_EQ(parse(rules("?0"), {"-x"}), x);
}

TEST(OptionRules, OperandsAreCountedWithoutTheOptions) {
    EXPECT_EQ(parse(rules("-1:?1"), {"-x", "one", "-y"}), x | y);
    EXPECT_TRUE(shows_usage(rules("-1:?1"), {"-x", "one", "-y", "two"}));
}

TEST(OptionRules, BoundIsASingleDigit) {
    // "-1", then the option "2" is needed.
    EXPECT_TRUE(shows_usage({"x2", "-12", nullptr}, {"-x", "one"}));
    EXPECT_EQ(parse({"x2", "-12", nullptr}, {"-2", "one"}), 0x2u);
    EXPECT_TRUE(shows_usage({"x2", "?12", nullptr}, {"-x"}));
    EXPECT_EQ(parse({"x2", "?12", nullptr}, {"-2", "one"}), 0x2u);
}

TEST(OptionRules, DashesBeforeATokenAreSkipped) {
    EXPECT_TRUE(shows_usage(rules("-x"), {})) << "x is needed";
    EXPECT_EQ(parse(rules("-x"), {"-x"}), x);
    EXPECT_TRUE(shows_usage(rules("--x"), {}));
    EXPECT_EQ(parse(rules("--"), {"one"}), 0u);
}

TEST(OptionRules, TwoDashesBeforeADigitAreNoBound) {
    // "--" is skipped; the option "3" is needed.
    EXPECT_TRUE(shows_usage({"x3", "--3", nullptr}, {"a", "b", "c"}));
    EXPECT_EQ(parse({"x3", "--3", nullptr}, {"-3"}), 0x2u);
}

// Letters that are no options.

TEST(OptionRules, UnknownLetterHasNoEffect) {
    EXPECT_EQ(parse(rules("q"), {}), 0u) << "it is not needed";
    EXPECT_EQ(parse(rules("q-"), {}), 0u);
    EXPECT_EQ(parse(rules("q--x:q?y:qz"), {"-x"}), x);
    EXPECT_EQ(parse(rules("x--q:y-q:zq"), {"-x", "-y", "-z"}), x | y | z);
}

TEST(OptionRules, OneUnknownLetterDoesNotPassItsBitsToAnother) {
    EXPECT_EQ(parse(rules("qx:yr"), {"-y"}), y);
}

TEST(OptionRules, RequirementOfAnUnknownLetterIsNoRequirement) {
    EXPECT_EQ(parse(rules("x?q"), {"-x"}), x);
}

TEST(OptionRules, CounterOfAnUnknownLetterTakesItsTarget) {
    int of_q = 0;
    int of_x = 0;
    EXPECT_EQ(parse(rules("qq:xx"), {"-x"}, {&of_q, &of_x}), x);
    EXPECT_EQ(of_q, 0);
    EXPECT_EQ(of_x, 1);
}

TEST(OptionRules, LetterAfterThe32ndHasNoEffectInRules) {
    const OptionSettings settings = {"abcdefghijklmnopqrstuvwxyzABCDEFG", "a--G:G:aG", nullptr};
    EXPECT_EQ(parse(settings, {"-a"}), 0x1u);
}

} // namespace
} // namespace zav::test

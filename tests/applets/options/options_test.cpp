// SPDX-License-Identifier: MIT
// Parsing: the bit that an option sets, the target of its argument, unknown options.
#include "applets/options/option_fixture.h"

#include <gmock/gmock.h>
#include <string>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char thirty_two_letters[] = "abcdefghijklmnopqrstuvwxyzABCDEF";

OptionSettings options(const char* short_options, const char* rules = "") {
    return {short_options, rules, nullptr};
}

constexpr option long_options[] = {{"create", no_argument, nullptr, 'C'},
                                   {"delete", no_argument, nullptr, 'D'},
                                   {"display", no_argument, nullptr, 'S'},
                                   {nullptr, 0, nullptr, 0}};
constexpr OptionSettings with_long_options = {"CDSn:", "", long_options};

TEST(Options, BitFollowsThePositionInTheShortOptions) {
    EXPECT_EQ(parse(options("xyz"), {"-x"}), 0x1u);
    EXPECT_EQ(parse(options("xyz"), {"-y"}), 0x2u);
    EXPECT_EQ(parse(options("xyz"), {"-z", "-x"}), 0x5u);
}

TEST(Options, WithoutOptionsNoBitIsSet) {
    EXPECT_EQ(parse(options("xyz"), {}), 0u);
    EXPECT_EQ(parse(options("xyz"), {"operand"}), 0u);
}

TEST(Options, ColonTakesNoBit) {
    const char* text = nullptr;
    EXPECT_EQ(parse(options("a:b"), {"-b"}, {&text}), 0x2u);
    EXPECT_EQ(parse(options("a::b"), {"-b"}, {&text}), 0x2u);
}

TEST(Options, RepeatedLetterGetsNoSecondBit) {
    EXPECT_EQ(parse(options("abac"), {"-a"}), 0x1u);
    EXPECT_EQ(parse(options("abac"), {"-c"}), 0x4u);
}

TEST(Options, LeadingPlusIsNoOptionAndStillEndsTheOptionsAtAnOperand) {
    EXPECT_EQ(parse(options("+ab"), {"-a", "-b"}), 0x3u);
    CommandLine line({"-a", "operand", "-b"});
    EXPECT_EQ(line.parse(options("+ab")), 0x1u);
    EXPECT_THAT(line.operands(), ElementsAre("operand", "-b"));
}

TEST(Options, LeadingMinusIsNoOptionAndMakesAnOperandAnUnknownOption) {
    const Outcome outcome = parse_apart(options("-ab"), {"-a", "operand", "-b"});
    EXPECT_EQ(outcome.flags, 0x1u);
    ASSERT_THAT(outcome.log, SizeIs(1));
    EXPECT_EQ(outcome.log[0].text, "zav_getopt[499]: other option: \1");
}

TEST(Options, ThirtySecondLetterSetsTheHighestBit) {
    EXPECT_EQ(parse(options(thirty_two_letters), {"-E"}), 0x40000000u);
    EXPECT_EQ(parse(options(thirty_two_letters), {"-F"}), 0x80000000u);
    EXPECT_EQ(conflict_bit, 0x80000000u);
}

TEST(Options, LetterAfterThe32ndIsUnknown) {
    const std::string letters = std::string(thirty_two_letters) + "GH";
    const Outcome outcome = parse_apart(options(letters.c_str()), {"-b", "-G", "-a"});
    EXPECT_EQ(outcome.flags, 0x2u);
    EXPECT_THAT(outcome.diagnostics, IsEmpty()) << "getopt knows the letter";
    ASSERT_THAT(outcome.log, SizeIs(1));
    EXPECT_EQ(outcome.log[0].text, "zav_getopt[499]: other option: G");
}

TEST(Options, LetterAfterThe32ndTakesNoTarget) {
    const std::string letters = std::string(thirty_two_letters) + "G:";
    int count = 0;
    EXPECT_EQ(parse(options(letters.c_str(), "aa"), {"-a", "-a"}, {&count}), 0x1u);
    EXPECT_EQ(count, 2);
}

TEST(Options, TargetsFollowTheShortOptions) {
    const char* first = nullptr;
    const char* second = nullptr;
    CommandLine line({"-z", "two", "-x", "one"});
    EXPECT_EQ(line.parse(options("x:yz:"), {&first, &second}), 0x5u);
    EXPECT_STREQ(first, "one");
    EXPECT_STREQ(second, "two");
}

TEST(Options, OptionNotGivenLeavesItsTargetAsItWas) {
    const char* text = "default";
    EXPECT_EQ(parse(options("x:y"), {"-y"}, {&text}), 0x2u);
    EXPECT_STREQ(text, "default");
}

TEST(Options, LastArgumentStays) {
    const char* text = nullptr;
    CommandLine line({"-x", "first", "-x", "last"});
    EXPECT_EQ(line.parse(options("x:"), {&text}), 0x1u);
    EXPECT_STREQ(text, "last");
}

TEST(Options, OneTargetMayServeSeveralOptions) {
    const char* channel = nullptr;
    CommandLine line({"-a", "3", "-n", "5"});
    EXPECT_EQ(line.parse(options("a:n:r:"), {&channel, &channel, &channel}), 0x3u);
    EXPECT_STREQ(channel, "5");
}

TEST(Options, MissingOptionalArgumentIsStoredAsNull) {
    const char* text = "before";
    EXPECT_EQ(parse(options("x::"), {"-x"}, {&text}), 0x1u);
    EXPECT_EQ(text, nullptr);
}

TEST(Options, OptionalArgumentIsStored) {
    const char* text = nullptr;
    CommandLine line({"-xnow"});
    EXPECT_EQ(line.parse(options("x::"), {&text}), 0x1u);
    EXPECT_STREQ(text, "now");
}

TEST(Options, LettersAndArgumentMayBeJoined) {
    const char* name = nullptr;
    CommandLine line({"-CDnmd1"});
    EXPECT_EQ(line.parse(options("CDn:"), {&name}), 0x7u);
    EXPECT_STREQ(name, "md1");
}

TEST(Options, EmptyArgumentIsStored) {
    const char* name = nullptr;
    CommandLine line({"-n", ""});
    EXPECT_EQ(line.parse(options("n:"), {&name}), 0x1u);
    EXPECT_STREQ(name, "");
}

TEST(Options, ListCollectsItsArgumentsLastFirst) {
    OptionList list;
    CommandLine line({"-n", "one", "-n", "two", "-nthree"});
    EXPECT_EQ(line.parse(options("n:", "n::"), {&list}), 0x1u);
    EXPECT_THAT(list,
                ElementsAre(testing::StrEq("three"), testing::StrEq("two"), testing::StrEq("one")));
}

TEST(Options, ListOptionNotGivenLeavesTheListEmpty) {
    OptionList list;
    EXPECT_EQ(parse(options("n:x", "n::"), {"-x"}, {&list}), 0x2u);
    EXPECT_TRUE(list.empty());
}

TEST(Options, OperandsMayStandBeforeAndBetweenOptions) {
    const char* name = nullptr;
    CommandLine line({"1,2,3", "-n", "md1", "more", "-C"});
    EXPECT_EQ(line.parse(options("Cn:"), {&name}), 0x3u);
    EXPECT_STREQ(name, "md1");
    EXPECT_THAT(line.operands(), ElementsAre("1,2,3", "more"));
}

TEST(Options, TwoDashesEndTheOptions) {
    CommandLine line({"-C", "--", "-D"});
    EXPECT_EQ(line.parse(options("CD")), 0x1u);
    EXPECT_THAT(line.operands(), ElementsAre("-D"));
}

TEST(Options, LongOptionSetsTheBitOfItsLetter) {
    EXPECT_EQ(parse(with_long_options, {"--delete"}), 0x2u);
    EXPECT_EQ(parse(with_long_options, {"--display", "--create"}), 0x5u);
}

TEST(Options, UniquePrefixOfALongOptionIsTaken) {
    EXPECT_EQ(parse(with_long_options, {"--del"}), 0x2u);
    EXPECT_EQ(parse(with_long_options, {"--c"}), 0x1u);
}

TEST(Options, AmbiguousPrefixIsAnUnknownOption) {
    const Outcome outcome = parse_apart(with_long_options, {"--create", "--d", "--display"});
    EXPECT_EQ(outcome.flags, 0x1u);
    EXPECT_THAT(outcome.diagnostics, HasSubstr("applet: option '--d' is ambiguous"));
    ASSERT_THAT(outcome.log, SizeIs(1));
    EXPECT_EQ(outcome.log[0].text, "zav_getopt[499]: other option: ?");
}

TEST(Options, LongOptionRefusesAnArgument) {
    const Outcome outcome = parse_apart(with_long_options, {"--delete=1"});
    EXPECT_EQ(outcome.flags, 0u);
    EXPECT_EQ(outcome.diagnostics, "applet: option '--delete' doesn't allow an argument\n");
    ASSERT_THAT(outcome.log, SizeIs(1));
    EXPECT_EQ(outcome.log[0].text, "zav_getopt[499]: other option: ?");
}

TEST(Options, UnknownOptionEndsTheParsingWithTheBitsSoFar) {
    const Outcome outcome = parse_apart(options("CDS"), {"-C", "-q", "-D"});
    EXPECT_EQ(outcome.flags, 0x1u);
    EXPECT_EQ(outcome.diagnostics, "applet: invalid option -- 'q'\n");
    ASSERT_THAT(outcome.log, SizeIs(1));
    EXPECT_EQ(outcome.log[0].level, "ERROR");
    EXPECT_EQ(outcome.log[0].text, "zav_getopt[499]: other option: ?");
}

TEST(Options, UnknownOptionSkipsEveryRequirement) {
    const Outcome none_needed = parse_apart(options("CDx", "C:D:x?D:-2"), {"-x", "-q"});
    EXPECT_FALSE(none_needed.showed_usage);
    EXPECT_EQ(none_needed.flags, 0x4u);
}

TEST(Options, MissingArgumentEndsTheParsingLikeAnUnknownOption) {
    const char* name = "before";
    const Outcome outcome = parse_apart(options("Cn:", "C"), {"-n"}, {&name});
    EXPECT_FALSE(outcome.showed_usage);
    EXPECT_EQ(outcome.flags, 0u);
    EXPECT_EQ(outcome.diagnostics, "applet: option requires an argument -- 'n'\n");
    ASSERT_THAT(outcome.log, SizeIs(1));
    EXPECT_EQ(outcome.log[0].text, "zav_getopt[499]: other option: ?");
}

TEST(Options, UnknownOptionMayAlsoBeALongOne) {
    const Outcome outcome = parse_apart(with_long_options, {"-S", "--bogus"});
    EXPECT_EQ(outcome.flags, 0x4u);
    EXPECT_EQ(outcome.diagnostics, "applet: unrecognized option '--bogus'\n");
    EXPECT_THAT(outcome.log, SizeIs(1));
}

TEST(Options, WithoutAProblemNothingIsLoggedOrPrinted) {
    const Outcome outcome = parse_apart(with_long_options, {"-S", "--create", "x"});
    EXPECT_FALSE(outcome.showed_usage);
    EXPECT_EQ(outcome.flags, 0x5u);
    EXPECT_THAT(outcome.diagnostics, IsEmpty());
    EXPECT_THAT(outcome.log, IsEmpty());
}

} // namespace
} // namespace zav::test

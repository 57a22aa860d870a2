// SPDX-License-Identifier: MIT
// The checks of arguments.
#include "base/bounded_text.h"
#include "base/checks.h"
#include "fixtures/library.h"

#include <gtest/gtest.h>
#include <string>

namespace zav::test {
namespace {

constexpr char name_characters[] =
    "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";

std::string text_of(std::size_t length, char c = 'a') {
    return std::string(length, c);
}

// The single characters, except NUL, that a check accepts.
std::string characters_taken(Check (*check)(const char*)) {
    std::string taken;
    for (int byte = 1; byte < 256; ++byte) {
        const char text[] = {static_cast<char>(byte), '\0'};
        taken += check(text) == 0 ? text : "";
    }
    return taken;
}

TEST(CheckName8, TakesOneToEightCharacters) {
    EXPECT_EQ(check_name8("a"), 0);
    EXPECT_EQ(check_name8("sda"), 0);
    EXPECT_EQ(check_name8("12345678"), 0);
}

TEST(CheckName8, RefusesAWrongLengthWithMinus2) {
    EXPECT_EQ(check_name8(nullptr), -2);
    EXPECT_EQ(check_name8(""), -2);
    EXPECT_EQ(check_name8("123456789"), -2);
}

TEST(CheckName8, RefusesAWrongCharacterWithMinus1) {
    EXPECT_EQ(check_name8("sd a"), -1);
    EXPECT_EQ(check_name8("sda;"), -1);
    EXPECT_EQ(check_name8("/sda"), -1);
    EXPECT_EQ(check_name8("sda\n"), -1);
}

TEST(CheckName8, LooksAtTheLengthFirst) {
    EXPECT_EQ(check_name8("much too long;"), -2);
}

TEST(CheckName8, TakesAsciiLettersDigitsUnderscoreAndDash) {
    EXPECT_EQ(characters_taken(check_name8), name_characters);
}

TEST(CheckName32, TakesOneToThirtyTwoCharacters) {
    EXPECT_EQ(check_name32("a"), 0);
    EXPECT_EQ(check_name32(text_of(32).c_str()), 0);
}

TEST(CheckName32, RefusesAWrongLengthWithMinus2) {
    EXPECT_EQ(check_name32(nullptr), -2);
    EXPECT_EQ(check_name32(""), -2);
    EXPECT_EQ(check_name32(text_of(33).c_str()), -2);
    EXPECT_EQ(check_name32(text_of(33, ';').c_str()), -2);
}

TEST(CheckName32, RefusesAWrongCharacterWithMinus1) {
    EXPECT_EQ(check_name32("md 1"), -1);
    EXPECT_EQ(check_name32("../md1"), -1);
    EXPECT_EQ(check_name32((text_of(31) + "$").c_str()), -1);
}

TEST(CheckName32, TakesAsciiLettersDigitsUnderscoreAndDash) {
    EXPECT_EQ(characters_taken(check_name32), name_characters);
}

TEST(CheckNumber8, TakesOneToEightDigits) {
    EXPECT_EQ(check_number8("0"), 0);
    EXPECT_EQ(check_number8("12345678"), 0);
}

TEST(CheckNumber8, RefusesAWrongLengthWithMinus2) {
    EXPECT_EQ(check_number8(nullptr), -2);
    EXPECT_EQ(check_number8(""), -2);
    EXPECT_EQ(check_number8("123456789"), -2);
    EXPECT_EQ(check_number8("12345678x"), -2);
}

TEST(CheckNumber8, RefusesAnythingButDigitsWithMinus1) {
    EXPECT_EQ(characters_taken(check_number8), "0123456789");
    EXPECT_EQ(check_number8("-1"), -1);
    EXPECT_EQ(check_number8("1.5"), -1);
    EXPECT_EQ(check_number8("10G"), -1);
}

TEST(CheckNameList, TakesNamesSeparatedByCommas) {
    EXPECT_EQ(check_name_list("a"), 0);
    EXPECT_EQ(check_name_list("alice,bob-2,_c"), 0);
    EXPECT_EQ(check_name_list((text_of(32) + "," + text_of(32)).c_str()), 0);
}

TEST(CheckNameList, RefusesNothingAtAll) {
    EXPECT_EQ(check_name_list(nullptr), -1);
    EXPECT_EQ(check_name_list(""), -1);
}

TEST(CheckNameList, RefusesACommaAtTheStart) {
    EXPECT_EQ(check_name_list(",a"), -1);
    EXPECT_EQ(check_name_list(","), -1);
}

TEST(CheckNameList, PassesOverCommasInARowAndAtTheEnd) {
    EXPECT_EQ(check_name_list("a,,b"), 0);
    EXPECT_EQ(check_name_list("a,"), 0);
    EXPECT_EQ(check_name_list("a,,,"), 0);
}

TEST(CheckNameList, RefusesANameOfMoreThan32Characters) {
    EXPECT_EQ(check_name_list(text_of(33).c_str()), -1);
    EXPECT_EQ(check_name_list(("a," + text_of(33) + ",b").c_str()), -1);
}

TEST(CheckNameList, RefusesAWrongCharacterInAnyName) {
    EXPECT_EQ(check_name_list("a b,c"), -1);
    EXPECT_EQ(check_name_list("a,b;c"), -1);
    EXPECT_EQ(check_name_list("a, b"), -1);
    EXPECT_EQ(characters_taken(check_name_list), name_characters);
}

TEST(CheckNameList, MayBeOfAnyLength) {
    std::string list = "sda";
    for (int i = 0; i < 100; ++i) {
        list += ",sdb";
    }
    EXPECT_EQ(check_name_list(list.c_str()), 0);
    EXPECT_EQ(check_name_list((list + ";").c_str()), -1) << "the end is looked at too";
}

TEST(CheckNumberList, TakesNumbersSeparatedByCommas) {
    EXPECT_EQ(check_number_list("1,2,3"), 0);
    EXPECT_EQ(check_number_list("10"), 0);
}

TEST(CheckNumberList, RefusesNothingAtAll) {
    EXPECT_EQ(check_number_list(nullptr), -1);
    EXPECT_EQ(check_number_list(""), -1);
}

TEST(CheckNumberList, PassesOverCommasAnywhere) {
    EXPECT_EQ(check_number_list(",1"), 0);
    EXPECT_EQ(check_number_list("1,,2,"), 0);
    EXPECT_EQ(check_number_list(","), 0);
}

TEST(CheckNumberList, RefusesAnythingButDigitsAndCommas) {
    EXPECT_EQ(characters_taken(check_number_list), ",0123456789");
    EXPECT_EQ(check_number_list("1,a"), -1);
    EXPECT_EQ(check_number_list("1, 2"), -1);
    EXPECT_EQ(check_number_list("-1"), -1);
    EXPECT_EQ(check_number_list("1;reboot"), -1);
}

TEST(CheckNumberList, TakesUpTo128Characters) {
    EXPECT_EQ(check_number_list(text_of(128, '1').c_str()), 0);
    EXPECT_EQ(check_number_list(text_of(129, '1').c_str()), -1);
    EXPECT_EQ(check_number_list(text_of(129, ',').c_str()), -1);
}

class CopyText128 : public testing::Test {
  protected:
    CopyText128() { copy = "before"; }
    BoundedText<129> copy;
};

TEST_F(CopyText128, CopiesOneTo128Characters) {
    EXPECT_EQ(copy_text128(copy, "x"), 0);
    EXPECT_EQ(copy, "x");
    EXPECT_EQ(copy_text128(copy, text_of(128).c_str()), 0);
    EXPECT_EQ(copy, text_of(128).c_str());
}

TEST_F(CopyText128, TakesAnyCharacter) {
    EXPECT_EQ(copy_text128(copy, "a \"quoted\" $text; \xc3\xa4\n"), 0);
    EXPECT_EQ(copy, "a \"quoted\" $text; \xc3\xa4\n");
}

TEST_F(CopyText128, OfNullCopiesNothing) {
    EXPECT_EQ(copy_text128(copy, nullptr), 0);
    EXPECT_EQ(copy, "before");
}

TEST_F(CopyText128, RefusesAnEmptyText) {
    EXPECT_EQ(copy_text128(copy, ""), -1);
    EXPECT_EQ(copy, "before");
}

TEST_F(CopyText128, RefusesMoreThan128Characters) {
    EXPECT_EQ(copy_text128(copy, text_of(129).c_str()), -1);
    EXPECT_EQ(copy, "before");
}

} // namespace
} // namespace zav::test

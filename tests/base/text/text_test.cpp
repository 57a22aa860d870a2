// SPDX-License-Identifier: MIT
// The text helpers of the parsers.
#include "base/text.h"

#include <climits>
#include <cstdint>
#include <gmock/gmock.h>
#include <string>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string times(std::size_t count, const std::string& text) {
    std::string result;
    for (; count > 0; --count) {
        result += text;
    }
    return result;
}

TEST(FormatText, PrintsWhatPrintfPrints) {
    EXPECT_EQ(format_text("%s[%d]: %c %%", "name", -7, 'x'), "name[-7]: x %");
    EXPECT_EQ(format_text("%s", ""), "");
}

TEST(FormatText, IsNotCut) {
    const std::string text(100000, 'a');
    EXPECT_EQ(format_text("<%s>", text.c_str()), "<" + text + ">");
}

TEST(TrimRight, RemovesBlanksAndLineEndsInAnyOrder) {
    EXPECT_EQ(trim_right("text\r\n"), "text");
    EXPECT_EQ(trim_right("text \n\r  \r\n "), "text");
    EXPECT_EQ(trim_right("text"), "text");
}

TEST(TrimRight, LeavesInnerAndLeadingBlanks) {
    EXPECT_EQ(trim_right("  some\n text \n"), "  some\n text");
}

TEST(TrimRight, LeavesTabsAndOtherWhiteSpaceAtTheEnd) {
    EXPECT_EQ(trim_right("text\t"), "text\t");
    EXPECT_EQ(trim_right("text\t \n"), "text\t");
    EXPECT_EQ(trim_right("text\v\n"), "text\v");
    EXPECT_EQ(trim_right("text\f\n"), "text\f");
}

TEST(TrimRight, MayLeaveNothing) {
    EXPECT_EQ(trim_right(" \r\n"), "");
    EXPECT_EQ(trim_right(""), "");
}

TEST(SkipBlanks, SkipsBlanksAndTabsAtTheStart) {
    EXPECT_EQ(skip_blanks(" \t text "), "text ");
    EXPECT_EQ(skip_blanks("text"), "text");
}

TEST(SkipBlanks, StopsAtAnyOtherWhiteSpace) {
    EXPECT_EQ(skip_blanks(" \ntext"), "\ntext");
    EXPECT_EQ(skip_blanks(" \rtext"), "\rtext");
    EXPECT_EQ(skip_blanks(" \vtext"), "\vtext");
    EXPECT_EQ(skip_blanks(" \ftext"), "\ftext");
}

TEST(SkipBlanks, OfBlanksOnlyIsTheEndOfTheText) {
    const std::string_view text = " \t ";
    EXPECT_EQ(skip_blanks(text), "");
    EXPECT_EQ(skip_blanks(text).data(), text.data() + text.size());
    EXPECT_EQ(skip_blanks(""), "");
}

TEST(Trim, RemovesAllWhiteSpaceAtBothEnds) {
    EXPECT_EQ(trim(" \t\v\f\r\nsome text \t\v\f\r\n"), "some text");
    EXPECT_EQ(trim("\t"), "");
    EXPECT_EQ(trim(""), "");
}

TEST(CutAt, EndsBeforeTheFirstSeparator) {
    EXPECT_EQ(cut_at("a:b=c", ":="), "a");
    EXPECT_EQ(cut_at("a=b:c", ":="), "a");
    EXPECT_EQ(cut_at(":b", ":"), "");
    EXPECT_EQ(cut_at("abc", ":"), "abc");
    EXPECT_EQ(cut_at("abc", ""), "abc");
}

class CopyBounded : public testing::Test {
  protected:
    std::string copied(std::size_t size, const char* source) {
        copy_bounded(buffer_, size, source);
        return buffer_;
    }
    char buffer_[16] = "before";
};

TEST_F(CopyBounded, CopiesAndTerminates) {
    EXPECT_EQ(copied(sizeof buffer_, "new"), "new");
}

TEST_F(CopyBounded, CopiesOneCharacterLessThanTheSize) {
    EXPECT_EQ(copied(4, "abcdef"), "abc");
    EXPECT_EQ(copied(4, "abc"), "abc");
    EXPECT_EQ(copied(4, "ab"), "ab");
    EXPECT_EQ(copied(1, "abc"), "");
}

TEST_F(CopyBounded, WritesNothingBeyondTheEnd) {
    copied(4, "abcdef");
    EXPECT_EQ(std::string(buffer_ + 4, 2), "re");
}

TEST_F(CopyBounded, EmptySourceLeavesTheOldContent) {
    EXPECT_EQ(copied(sizeof buffer_, ""), "before");
}

TEST_F(CopyBounded, NullSourceLeavesTheOldContent) {
    EXPECT_EQ(copied(sizeof buffer_, nullptr), "before");
}

TEST_F(CopyBounded, SizeOfZeroLeavesTheOldContent) {
    EXPECT_EQ(copied(0, "new"), "before");
}

TEST_F(CopyBounded, NullDestinationIsPassedOver) {
    copy_bounded(nullptr, 4, "new");
}

TEST(Split, CountsARunOfSeparatorsAsOne) {
    EXPECT_THAT(split("a::b:c", ":"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(split("a: :b", ": "), ElementsAre("a", "b"));
}

TEST(Split, MakesNoEmptyPieces) {
    EXPECT_THAT(split(",a,,b,", ","), ElementsAre("a", "b"));
    EXPECT_THAT(split(",,", ","), IsEmpty());
    EXPECT_THAT(split("", ","), IsEmpty());
}

TEST(Split, WithoutSeparatorsIsOnePiece) {
    EXPECT_THAT(split("a b", ""), ElementsAre("a b"));
    EXPECT_THAT(split("a b", ","), ElementsAre("a b"));
}

TEST(GetField, RunsToTheEndOfTheText) {
    EXPECT_EQ(get_field("one two three", " ", 0), "one two three");
    EXPECT_EQ(get_field("one two three", " ", 1), "two three");
    EXPECT_EQ(get_field("one two three", " ", 2), "three");
}

TEST(GetField, PointsIntoTheText) {
    const std::string_view text = "key : value";
    EXPECT_EQ(get_field(text, ":", 1)->data(), text.data() + 6);
}

TEST(GetField, IsNothingWhenThereAreNotThatManyFields) {
    EXPECT_EQ(get_field("one two", " ", 2), std::nullopt);
    EXPECT_EQ(get_field("one ", " ", 1), std::nullopt);
    EXPECT_EQ(get_field("", " ", 0), std::nullopt);
    EXPECT_EQ(get_field(" : ", " :", 0), std::nullopt);
    EXPECT_EQ(get_field("one", " ", 1000000), std::nullopt);
}

TEST(GetField, EmptyFieldsVanish) {
    EXPECT_EQ(get_field("a::b", ":", 1), "b");
    EXPECT_EQ(get_field("::a:b", ":", 0), "a:b");
}

TEST(GetField, SkipsTheWhiteSpaceBeforeTheField) {
    EXPECT_EQ(get_field("key: \t\r\n\v\fvalue", ":", 1), "value");
    EXPECT_EQ(get_field("  key:value", ":", 0), "key:value");
}

TEST(GetField, OfBlanksOnlyIsEmpty) {
    EXPECT_EQ(get_field("key:   ", ":", 1), "");
    EXPECT_EQ(get_field("   ", ":", 0), "");
}

TEST(GetField, WhiteSpaceFieldBeforeASeparatorBeginsAtIt) {
    EXPECT_EQ(get_field("a: :b", ":", 1), ":b");
}

TEST(GetField, WithoutSeparatorsTheWholeTextIsOneField) {
    EXPECT_EQ(get_field("a b", "", 0), "a b");
    EXPECT_EQ(get_field("a b", "", 1), std::nullopt);
}

TEST(GetField, CountsFieldsInTheFirst255Characters) {
    const std::string long_word(253, 'a');
    EXPECT_EQ(get_field(long_word + ":bcd", ":", 1), "bcd") << "b is character 255";
    EXPECT_EQ(get_field(long_word + "a:bcd", ":", 1), std::nullopt) << "b is character 256";
}

TEST(GetField, ThatBeginsWithin255CharactersRunsBeyondThem) {
    const std::string tail(1000, 'b');
    EXPECT_EQ(get_field("a:" + tail, ":", 1), tail);
}

TEST(GetField, SeparatorsAfter255CharactersAreNotSeen) {
    const std::string text = times(127, "a ") + "b c d";
    EXPECT_EQ(get_field(text, " ", 127), "b c d");
    EXPECT_EQ(get_field(text, " ", 128), std::nullopt);
}

TEST(Field, EndsAtTheNextSeparator) {
    EXPECT_EQ(field("one two three", " ", 1), "two");
    EXPECT_EQ(field("one:two three:x", ":", 1), "two three");
    EXPECT_EQ(field("one two", " ", 1), "two");
}

TEST(Field, IsEmptyWhenThereAreNotThatMany) {
    EXPECT_EQ(field("one two", " ", 2), "");
    EXPECT_EQ(field("", " ", 0), "");
}

TEST(Decimal, ReadsTheDigitsAtTheStart) {
    EXPECT_EQ(decimal("42"), 42u);
    EXPECT_EQ(decimal(" \t007x9"), 7u);
    EXPECT_EQ(decimal("12,5"), 12u) << "a comma is no part of a number";
}

TEST(Decimal, WithoutADigitIsZero) {
    EXPECT_EQ(decimal(""), 0u);
    EXPECT_EQ(decimal("x1"), 0u);
    EXPECT_EQ(decimal("-1"), 0u);
    EXPECT_EQ(decimal("+1"), 0u);
}

TEST(Decimal, ReadsUpToTheLargestNumber) {
    EXPECT_EQ(decimal("18446744073709551614"), UINT64_MAX - 1);
    EXPECT_EQ(decimal("18446744073709551615"), UINT64_MAX);
}

TEST(Decimal, ThatDoesNotFitIsTheLargestNumber) {
    EXPECT_EQ(decimal("18446744073709551616"), UINT64_MAX);
    EXPECT_EQ(decimal("18446744073709551620"), UINT64_MAX);
    EXPECT_EQ(decimal(std::string(128, '9')), UINT64_MAX);
}

TEST(DecimalInt, ThatDoesNotFitIsTheLargestInt) {
    EXPECT_EQ(decimal_int("2147483646"), INT_MAX - 1);
    EXPECT_EQ(decimal_int("2147483647"), INT_MAX);
    EXPECT_EQ(decimal_int("2147483648"), INT_MAX);
    EXPECT_EQ(decimal_int("4294967297"), INT_MAX);
    EXPECT_EQ(decimal_int(std::string(128, '9')), INT_MAX);
}

// Every byte, not only ASCII.
template <class Test>
std::string characters_for_which(Test test) {
    std::string found;
    for (int byte = 0; byte < 256; ++byte) {
        if (test(static_cast<char>(byte))) {
            found += static_cast<char>(byte);
        }
    }
    return found;
}

constexpr char digits[] = "0123456789";
constexpr char letters_and_digits[] =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

TEST(Characters, DigitsAndLettersAreThoseOfAscii) {
    EXPECT_EQ(characters_for_which(is_digit), digits);
    EXPECT_EQ(characters_for_which(is_letter_or_digit), letters_and_digits);
}

TEST(Characters, ThatAreNothingButThemselvesToAShell) {
    EXPECT_EQ(characters_for_which(is_plain_character),
              "%+,-./0123456789:=@ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz");
}

TEST(EqualIgnoringCase, ComparesAsciiLettersOnly) {
    EXPECT_TRUE(equal_ignoring_case("SdA", "sDa"));
    EXPECT_FALSE(equal_ignoring_case("sda", "sdaa"));
    EXPECT_FALSE(equal_ignoring_case("sda", "sdb"));
    EXPECT_FALSE(equal_ignoring_case("\xc4", "\xe4"));
    EXPECT_FALSE(equal_ignoring_case("[", "{"));
    EXPECT_TRUE(equal_ignoring_case("", ""));
}

TEST(StartsWithIgnoringCase, TakesThePrefix) {
    EXPECT_TRUE(starts_with_ignoring_case("SDaa1", "sdA"));
    EXPECT_TRUE(starts_with_ignoring_case("sda", "sda"));
    EXPECT_TRUE(starts_with_ignoring_case("sda", ""));
    EXPECT_FALSE(starts_with_ignoring_case("sd", "sda"));
    EXPECT_FALSE(starts_with_ignoring_case("xsda", "sda"));
}

TEST(NameInDev, IsWhatFollowsTheDirectory) {
    EXPECT_EQ(name_in_dev("/dev/sda"), "sda");
    EXPECT_EQ(name_in_dev("/dev/mapper/x"), "mapper/x");
    EXPECT_EQ(name_in_dev("/dev/"), "");
    for (const char* other : {"", "sda", "/dev", "/devices/sda", " /dev/sda", "dev/sda"}) {
        EXPECT_EQ(name_in_dev(other), std::nullopt) << other;
    }
}

TEST(LastComponent, IsAllAfterTheLastSlash) {
    EXPECT_EQ(last_component("/dev/data/pool"), "pool");
    EXPECT_EQ(last_component("data/pool"), "pool");
    EXPECT_EQ(last_component("pool"), "pool");
    EXPECT_EQ(last_component("/pool"), "pool");
    EXPECT_EQ(last_component("/mnt/pool/"), "");
    EXPECT_EQ(last_component("/"), "");
    EXPECT_EQ(last_component(""), "");
}

TEST(IsPlainPath, TakesPathsOfPlainCharacters) {
    for (const char* path : {"/", "/mnt/data/pool", "/dev/md0", "/mnt/a_b-c+d.e:f,g=h@i%j",
                             "/mnt/.x/..y/z./...", "//", "/-rf"}) {
        EXPECT_TRUE(is_plain_path(path)) << path;
    }
}

TEST(IsPlainPath, RefusesWhatDoesNotBeginAtTheRoot) {
    for (const char* path : {"", "mnt/data", "-/mnt", "./x", " /mnt", "~/x"}) {
        EXPECT_FALSE(is_plain_path(path)) << path;
    }
}

TEST(IsPlainPath, RefusesWhatLeadsElsewhere) {
    for (const char* path : {"/..", "/.", "/mnt/../x", "/mnt/..", "/mnt/./x", "/mnt/.", "//../"}) {
        EXPECT_FALSE(is_plain_path(path)) << path;
    }
}

TEST(IsPlainPath, RefusesWhatAShellWouldInterpret) {
    for (const char* path :
         {"/a b", "/a\tb", "/a;b", "/a$b", "/a`b", "/a'b",  "/a\"b",     "/a|b",
          "/a&b", "/a>b",  "/a<b", "/a*",  "/a?",  "/a[b]", "/a\nb",     "/a\\b",
          "/a(b", "/a{b",  "/a#",  "/a!",  "/~",   "/a^",   "/\xc3\xa4", "/a "}) {
        EXPECT_FALSE(is_plain_path(path)) << path;
    }
    EXPECT_FALSE(is_plain_path(std::string_view("/a\0b", 4)));
}

TEST(IsPlainName, TakesNamesOfDisksArraysAndGroups) {
    for (const char* name : {"sda", "md127", "md_d0", "a", "0", "vg-data", "x.y+z"}) {
        EXPECT_TRUE(is_plain_name(name)) << name;
    }
}

TEST(IsPlainName, TakesSignsAtTheBeginning) {
    for (const char* name : {"_x", "+x", ".x", "...", "x-", "1"}) {
        EXPECT_TRUE(is_plain_name(name)) << name;
    }
}

TEST(IsPlainName, RefusesWhatAShellOrAPathWouldInterpret) {
    for (const char* name :
         {"",     "-f",  ".",   "..",  "a b", "a/b", "a;b",  "a$b",  "a`b",      "a'b",
          "a\"b", "a|b", "a&b", "a>b", "a*",  "a?",  "a\nb", "a\\b", "\xc3\xa4", "a\xc3\xa4"}) {
        EXPECT_FALSE(is_plain_name(name)) << name;
    }
    EXPECT_FALSE(is_plain_name(std::string_view("a\0b", 3)));
}

} // namespace
} // namespace zav::test

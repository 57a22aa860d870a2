// SPDX-License-Identifier: MIT
// Lines of a text: the pieces of a 256-byte buffer, counted lines, lines with a key.
#include "base/text.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> pieces(std::string_view file) {
    LinePieces reader(file);
    std::vector<std::string> result;
    for (std::string_view piece; reader.next(piece);) {
        result.emplace_back(piece);
    }
    return result;
}

std::vector<bool> line_starts(std::string_view file) {
    LinePieces reader(file);
    std::vector<bool> result;
    for (std::string_view piece; reader.next(piece);) {
        result.push_back(reader.starts_line());
    }
    return result;
}

std::vector<std::string> counted(std::string_view file) {
    CountedLines reader(file);
    std::vector<std::string> result;
    for (std::string_view line; reader.next(line);) {
        result.emplace_back(line);
    }
    return result;
}

TEST(LinePieces, AreTheLinesWithoutTheirLineFeeds) {
    EXPECT_THAT(pieces("one\n two \n\nthree\n"), ElementsAre("one", " two ", "", "three"));
}

TEST(LinePieces, LastLineNeedsNoLineFeed) {
    EXPECT_THAT(pieces("a\nb"), ElementsAre("a", "b"));
}

TEST(LinePieces, OfAnEmptyTextAreNone) {
    EXPECT_THAT(pieces(""), IsEmpty());
}

TEST(LinePieces, KeepCarriageReturns) {
    EXPECT_THAT(pieces("a\r\n"), ElementsAre("a\r"));
}

TEST(LinePieces, OfALongLineAre255CharactersEach) {
    const std::string a(255, 'a');
    const std::string b(255, 'b');
    EXPECT_THAT(pieces(a + b + "c\nd\n"), ElementsAre(a, b, "c", "d"));
}

TEST(LinePieces, LineFeedCountsAmongThe255) {
    const std::string a(254, 'a');
    EXPECT_THAT(pieces(a + "\nb\n"), ElementsAre(a, "b"));
    EXPECT_THAT(pieces(a + "a\nb\n"), ElementsAre(a + "a", "", "b"));
}

TEST(LinePieces, KnowWhichOfThemStartsALine) {
    const std::string a(255, 'a');
    EXPECT_THAT(line_starts(a + a + "c\nd\ne"), ElementsAre(true, false, false, true, true));
    EXPECT_THAT(line_starts(a + "\nb\n"), ElementsAre(true, false, true));
    EXPECT_THAT(line_starts("a\n\nb"), ElementsAre(true, true, true));
}

TEST(LinePieces, NulEndsTheTextOfAPiece) {
    EXPECT_THAT(pieces(std::string_view("ab\0cd\nef\n", 9)), ElementsAre("ab", "ef"));
    EXPECT_THAT(pieces(std::string_view("\0\n", 2)), ElementsAre(""));
}

TEST(CountedLines, LeaveOutWhatIsEmptyAfterTrimming) {
    EXPECT_THAT(counted("one\n\n \t\r\n\v\f\ntwo\n"), ElementsAre("one", "two"));
    EXPECT_THAT(counted(" \n\n"), IsEmpty());
}

TEST(CountedLines, AreWithoutLeadingWhiteSpace) {
    EXPECT_THAT(counted(" \t\v\f\rone two\n"), ElementsAre("one two"));
}

TEST(CountedLines, AreWithoutTrailingBlanksAndLineEnds) {
    EXPECT_THAT(counted("one \r \n"), ElementsAre("one"));
}

TEST(CountedLines, KeepATabAtTheEnd) {
    EXPECT_THAT(counted("one\t\n two \t \n"), ElementsAre("one\t", "two \t"));
}

TEST(CountedLines, SecondPieceOfALongLineCounts) {
    const std::string a(255, 'a');
    EXPECT_THAT(counted(a + "  b\nc\n"), ElementsAre(a, "b", "c"));
    EXPECT_THAT(counted(a + "\nc\n"), ElementsAre(a, "c")) << "the line feed alone does not";
}

constexpr char details[] = "/dev/md1:\n"
                           "\n"
                           "           Version : 1.2\n"
                           "        Raid Level : raid5\n"
                           "  Raid Devices : 3\r\n"
                           "Raid Level : second\n"
                           "     Update Time:Fri Nov 20 10:00:00 2026\n"
                           "no separator\n";

TEST(GetLine, WithoutAKeyCountsFromZero) {
    EXPECT_EQ(get_line(details, nullptr, 0, ":"), "/dev/md1:");
    EXPECT_EQ(get_line(details, nullptr, 1, ":"), "Version : 1.2") << "the empty line is passed";
    EXPECT_EQ(get_line(details, nullptr, 3, ":"), "Raid Devices : 3");
}

TEST(GetLine, WithAKeyIsTheWholeTrimmedLine) {
    EXPECT_EQ(get_line(details, "Raid Level", 0, ":"), "Raid Level : raid5");
    EXPECT_EQ(get_line(details, "Update Time", 0, ":"), "Update Time:Fri Nov 20 10:00:00 2026");
}

TEST(GetLine, WithAKeyCountsTheLinesThatMatch) {
    EXPECT_EQ(get_line(details, "Raid Level", 1, ":"), "Raid Level : second");
    EXPECT_EQ(get_line(details, "Raid Level", 2, ":"), std::nullopt);
}

TEST(GetLine, ComparesTheKeyExactly) {
    EXPECT_EQ(get_line(details, "Raid level", 0, ":"), std::nullopt);
    EXPECT_EQ(get_line(details, "Raid", 0, ":"), std::nullopt);
    EXPECT_EQ(get_line(details, "Raid Level ", 0, ":"), std::nullopt);
    EXPECT_EQ(get_line(details, "", 0, ":"), std::nullopt);
}

TEST(GetLine, KeyIsTrimmedAtBothEnds) {
    EXPECT_EQ(get_line("\t key \t: value\n", "key", 0, ":"), "key \t: value");
    EXPECT_EQ(get_line("key\v\f= value\n", "key", 0, "="), "key\v\f= value");
}

TEST(GetLine, KeyEndsAtTheFirstOfTheSeparators) {
    EXPECT_EQ(get_line("a=b:c\n", "a", 0, ":="), "a=b:c");
    EXPECT_EQ(get_line("a b c\n", "a", 0, " \t"), "a b c");
    EXPECT_EQ(get_line("a\tb c\n", "a", 0, " \t"), "a\tb c");
}

TEST(GetLine, LineWithoutASeparatorIsAKeyAsAWhole) {
    EXPECT_EQ(get_line(details, "no separator", 0, ":"), "no separator");
}

TEST(GetLine, IsNothingWhenTheFileEndsFirst) {
    EXPECT_EQ(get_line(details, nullptr, 7, ":"), std::nullopt);
    EXPECT_EQ(get_line(details, "Spare Devices", 0, ":"), std::nullopt);
    EXPECT_EQ(get_line("", nullptr, 0, ":"), std::nullopt);
}

TEST(GetLine, IsCutToTheRoom) {
    EXPECT_EQ(get_line("abcdef\n", nullptr, 0, ":", 4), "abc");
    EXPECT_EQ(get_line("abc\n", nullptr, 0, ":", 4), "abc");
    EXPECT_EQ(get_line("abc\n", nullptr, 0, ":", 1), "");
    EXPECT_EQ(get_line("abc\n", nullptr, 0, ":", 0), "");
}

TEST(GetLine, KeyIsComparedBeforeTheLineIsCut) {
    EXPECT_EQ(get_line("long key: value\n", "long key", 0, ":", 5), "long");
}

TEST(GetLine, PieceAfter255CharactersIsALineOfItsOwn) {
    const std::string a(255, 'a');
    EXPECT_EQ(get_line(a + "key: value\n", "key", 0, ":"), "key: value");
    EXPECT_EQ(get_line(a + "key: value\nlast\n", nullptr, 2, ":"), "last");
}

TEST(GetValueFromFile, IsWhatStandsAfterTheFirstSeparator) {
    EXPECT_EQ(get_value_from_file(details, "Raid Devices", 0, ":"), "3");
    EXPECT_EQ(get_value_from_file(details, "Update Time", 0, ":"), "Fri Nov 20 10:00:00 2026");
    EXPECT_EQ(get_value_from_file("a==b\n", "a", 0, "="), "=b");
}

TEST(GetValueFromFile, IsWithoutLeadingBlanksAndTabs) {
    EXPECT_EQ(get_value_from_file("a: \t b c \r\n", "a", 0, ":"), "b c");
}

TEST(GetValueFromFile, CountsOccurrences) {
    EXPECT_EQ(get_value_from_file(details, "Raid Level", 0, ":"), "raid5");
    EXPECT_EQ(get_value_from_file(details, "Raid Level", 1, ":"), "second");
    EXPECT_EQ(get_value_from_file(details, "Raid Level", 2, ":"), std::nullopt);
}

TEST(GetValueFromFile, MayBeEmpty) {
    EXPECT_EQ(get_value_from_file("a:\n", "a", 0, ":"), "");
    EXPECT_EQ(get_value_from_file("a\n", "a", 0, ":"), "") << "no separator at all";
}

TEST(GetValueFromFile, WithoutAKeyTakesTheCountedLine) {
    EXPECT_EQ(get_value_from_file(details, nullptr, 1, ":"), "1.2");
}

} // namespace
} // namespace zav::test

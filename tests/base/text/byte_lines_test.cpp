// SPDX-License-Identifier: MIT
// Lines that are read byte by byte, and lines of a file that is rewritten.
#include "base/text.h"

#include <gmock/gmock.h>
#include <string>
#include <string_view>
#include <vector>

namespace zav::test {
namespace {

using namespace std::literals;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> lines_of(std::string_view file, std::size_t size = 256) {
    ByteLines lines(file, size);
    std::vector<std::string> result;
    std::string line;
    while (lines.next(line)) {
        result.push_back(line);
        EXPECT_EQ(lines.number(), result.size());
    }
    EXPECT_EQ(lines.rest(), "");
    return result;
}

TEST(ByteLines, EndAtALineFeedOrNul) {
    EXPECT_THAT(lines_of("one\ntwo\0three\n"sv), ElementsAre("one", "two", "three"));
    EXPECT_THAT(lines_of("\n\0\n"sv), ElementsAre("", "", ""));
}

TEST(ByteLines, LastNeedsNoEnd) {
    EXPECT_THAT(lines_of("one\ntwo"), ElementsAre("one", "two"));
}

TEST(ByteLines, OfAnEmptyTextAreNone) {
    EXPECT_THAT(lines_of(""), IsEmpty());
}

TEST(ByteLines, FormFeedAndControlZEndALineAndBelongToIt) {
    EXPECT_THAT(lines_of("a\fb\x1a\fc"), ElementsAre("a\f", "b\x1a", "\f", "c"));
    EXPECT_THAT(lines_of("a\f\nb"), ElementsAre("a\f", "", "b"));
}

TEST(ByteLines, AreWithoutCarriageReturns) {
    EXPECT_THAT(lines_of("a\rb\r\r\nc\r"), ElementsAre("ab", "c"));
    EXPECT_THAT(lines_of("\r"), ElementsAre(""));
}

TEST(ByteLines, AreWithoutBlanksAtTheirEnd) {
    EXPECT_THAT(lines_of("a  \n \t\n b\t \n"), ElementsAre("a", " \t", " b\t"));
}

TEST(ByteLines, HaveOneCharacterLessThanTheirSize) {
    EXPECT_THAT(lines_of("abc\nabcd\nabcdefgh\n", 4),
                ElementsAre("abc", "abc", "d", "abc", "def", "gh"));
    const std::string a(255, 'a');
    EXPECT_THAT(lines_of(a + "\n" + a + "b\nc"), ElementsAre(a, a, "b", "c"));
}

TEST(ByteLines, EndAndCarriageReturnsDoNotCount) {
    EXPECT_THAT(lines_of("a\rb\r\rc\r\nd\n", 4), ElementsAre("abc", "d"));
    EXPECT_THAT(lines_of("abc\0d\n"sv, 4), ElementsAre("abc", "d"));
}

TEST(ByteLines, KeptEndCounts) {
    EXPECT_THAT(lines_of("ab\fc\n", 4), ElementsAre("ab\f", "c"));
    EXPECT_THAT(lines_of("abc\fd\n", 4), ElementsAre("abc", "\f", "d"));
}

TEST(ByteLines, LeaveTheRest) {
    ByteLines lines("one\ntwo\nthree\n", 256);
    std::string line;
    EXPECT_EQ(lines.number(), 0u);
    EXPECT_EQ(lines.rest(), "one\ntwo\nthree\n");
    ASSERT_TRUE(lines.next(line));
    EXPECT_EQ(lines.rest(), "two\nthree\n");
    EXPECT_EQ(lines.number(), 1u);
}

TEST(ContentLines, AreWithoutCommentsAndEmptyLines) {
    EXPECT_THAT(content_lines("# a\none\n\n  # b\n \t \r\n two # c\n#\n"),
                ElementsAre("one", "two # c"));
    EXPECT_THAT(content_lines(""), IsEmpty());
    EXPECT_THAT(content_lines("\n\n"), IsEmpty());
}

TEST(ContentLines, AreTrimmed) {
    EXPECT_THAT(content_lines(" \t one \t two  \r \n\tthree"), ElementsAre("one \t two", "three"));
}

TEST(ContentLines, HaveAnyLength) {
    const std::string a(254, 'a');
    const std::string text(5000, 'x');
    EXPECT_THAT(content_lines(text + "\n" + a + "#b c\n# " + text + "\nd"),
                ElementsAre(text, a + "#b c", "d"));
}

} // namespace
} // namespace zav::test

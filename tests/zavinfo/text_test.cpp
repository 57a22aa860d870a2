// SPDX-License-Identifier: MIT
#include "zavinfo/text.h"

#include <gmock/gmock.h>

namespace zavinfo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PlainText, HasNoControlCharacters) {
    EXPECT_EQ(plain("gr\u00fc\u00dfe \U0001f4be"), "gr\u00fc\u00dfe \U0001f4be");
    EXPECT_EQ(plain("a\x1b[31m\nb\x7f"), "a?[31m?b?");
    EXPECT_EQ(plain("\xc2\x9b"), "?"); // a control sequence in one character
}

TEST(PlainText, IsUtf8) {
    const std::string bad = "\xef\xbf\xbd";
    EXPECT_EQ(plain("\xff"), bad);
    EXPECT_EQ(plain("a\xc3"), "a" + bad);
    EXPECT_EQ(plain("\xc0\xaf"), bad + bad);                     // overlong
    EXPECT_EQ(plain("\xe0\x80\xaf"), bad + bad + bad);           // overlong
    EXPECT_EQ(plain("\xed\xa0\x80"), bad + bad + bad);           // a surrogate
    EXPECT_EQ(plain("\xf4\x90\x80\x80"), bad + bad + bad + bad); // beyond the last character
}

TEST(Sizes, HaveAtMostFourDigits) {
    EXPECT_EQ(size_text(0), "0 B");
    EXPECT_EQ(size_text(1023), "1023 B");
    EXPECT_EQ(size_text(1024), "1.0 KiB");
    EXPECT_EQ(size_text(10 * 1024), "10 KiB");
    EXPECT_EQ(size_text(1024 * 1024 - 1), "1.0 MiB");
    EXPECT_EQ(size_text(2000398934016), "1.8 TiB");
    EXPECT_EQ(size_text(UINT64_MAX), "16 EiB");
}

TEST(Durations, HaveTwoUnits) {
    EXPECT_EQ(duration_text(0), "0 s");
    EXPECT_EQ(duration_text(60), "1 min");
    EXPECT_EQ(duration_text(7650), "2 h 7 min");
    EXPECT_EQ(duration_text(273600), "3 d 4 h");
}

TEST(Numbers, AreTheShortest) {
    EXPECT_EQ(number_text(0.126), "0.126");
    EXPECT_EQ(number_text(33), "33");
    EXPECT_EQ(rounded_text(12.66, 1), "12.7");
}

TEST(Fans, AreReadWithTheirSpeeds) {
    const auto fans = fans_of("fan1:2400,fan2:2380,fan3:x,fan4");
    ASSERT_EQ(fans.size(), 2);
    EXPECT_EQ(fans[1].name, "fan2");
    EXPECT_EQ(fans[1].rpm, 2380);
    EXPECT_THAT(fans_of(""), IsEmpty());
}

TEST(Words, AreBetweenAnyOfTheSeparators) {
    EXPECT_THAT(words(" a, b,,c", ", "), ElementsAre("a", "b", "c"));
    EXPECT_THAT(words("", ","), IsEmpty());
    EXPECT_EQ(joined({"a", "b"}, "; "), "a; b");
}

} // namespace
} // namespace zavinfo::test

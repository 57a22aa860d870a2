// SPDX-License-Identifier: MIT
#include "base/bounded_text.h"

#include <gtest/gtest.h>
#include <string>

namespace zav::test {
namespace {

TEST(BoundedText, BeginsEmpty) {
    const BoundedText<8> text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.size(), 0u);
    EXPECT_STREQ(text.c_str(), "");
}

TEST(BoundedText, KeepsOneCharacterLessThanItsSize) {
    EXPECT_EQ(BoundedText<8>::capacity, 7u);
    EXPECT_EQ(BoundedText<8>(std::string_view("1234567")), "1234567");
    EXPECT_EQ(BoundedText<8>(std::string_view("12345678")), "1234567");
    EXPECT_EQ(sizeof(BoundedText<8>), 8u);
}

TEST(BoundedText, AssignmentReplacesAndCuts) {
    BoundedText<8> text;
    text = std::string_view("a longer text");
    EXPECT_EQ(text, "a longe");
    text = "b";
    EXPECT_EQ(text, "b");
    EXPECT_EQ(text.size(), 1u);
    text = "";
    EXPECT_TRUE(text.empty());
    text = std::string_view();
    EXPECT_TRUE(text.empty());
}

TEST(BoundedText, MayBeAssignedAPartOfItself) {
    BoundedText<8> text;
    text = "sda(F)";
    text = text.view();
    EXPECT_EQ(text, "sda(F)");
    text = text.view().substr(0, 3);
    EXPECT_EQ(text, "sda");
    text = text.view().substr(1);
    EXPECT_EQ(text, "da");
}

TEST(BoundedText, AppendsWhatThereIsRoomFor) {
    BoundedText<8> text;
    text.append("123").append("45");
    EXPECT_EQ(text, "12345");
    EXPECT_FALSE(text.full());
    text.append("6");
    EXPECT_FALSE(text.full());
    text.append("789");
    EXPECT_EQ(text, "1234567");
    EXPECT_TRUE(text.full());
    text.append("x");
    EXPECT_EQ(text, "1234567");
}

TEST(BoundedText, MayBeAppendedToItself) {
    BoundedText<8> text;
    text = "abc";
    text.append(text);
    EXPECT_EQ(text, "abcabc");
}

TEST(BoundedText, ClearEmpties) {
    BoundedText<8> text;
    text = "abc";
    text.clear();
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text, "");
}

TEST(BoundedText, ComparesByItsText) {
    BoundedText<8> left;
    BoundedText<16> right;
    left = "abc";
    right = "abc";
    EXPECT_TRUE(left == right);
    right = "abcd";
    EXPECT_FALSE(left == right);
    EXPECT_TRUE(left == std::string_view("abc"));
    EXPECT_FALSE(left == "ab");
    EXPECT_FALSE(left == "abcd");
}

TEST(BoundedText, OldCharactersBeyondTheEndDoNotCount) {
    BoundedText<8> left;
    BoundedText<8> right;
    left = "abcdef";
    left = "x";
    right = "x";
    EXPECT_TRUE(left == right);
}

} // namespace
} // namespace zav::test

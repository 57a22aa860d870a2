// SPDX-License-Identifier: MIT
// Reading sectioned key/value files, byte by byte.
#include "base/key_value.h"
#include "base/key_value/memory_file.h"
#include "fixtures/library.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <string_view>

namespace zav::test {
namespace {

using namespace std::string_literals;

struct Reading {
    int code = 0;
    std::string value;

    bool operator==(const Reading&) const = default;
};

void PrintTo(const Reading& reading, std::ostream* out) {
    *out << reading.code << " '" << reading.value << "'";
}

Reading found(const std::string& value) {
    return {0, value};
}
Reading failed(int code) {
    return {code, "before"};
}

// Reads key "k" of section "s".
Reading get(std::string_view file, std::size_t room = 600, const char* section = "s",
            const char* key = "k") {
    const MemoryFile source(file);
    std::string value(700, '\0');
    value.replace(0, 6, "before");
    const auto code = key_value_get(source.path(), section, key, value.data(), room);
    return {number_of(code), value.c_str()};
}

// Reads a key with a large enough buffer.
Reading get_key(std::string_view file, const char* key) {
    return get(file, 600, "s", key);
}
Reading get_section(std::string_view file, const char* section) {
    return get(file, 600, section, "k");
}

TEST(KeyValueGet, ReadsTheKeyOfTheSection) {
    EXPECT_EQ(get("[a]\nk=1\n[s]\nx=2\nk=3\n[b]\nk=4\n"), found("3"));
}

TEST(KeyValueGet, BothEntryPointsAreAlike) {
    const MemoryFile file("[s]\nk = value\n");
    char value[8] = "";
    EXPECT_EQ(key_value_get(value, sizeof value, file.path(), "s", "k"), 0);
    EXPECT_STREQ(value, "value");
    EXPECT_EQ(key_value_get(value, 3, file.path(), "s", "k"), 0);
    EXPECT_STREQ(value, "va");
    EXPECT_EQ(key_value_get(value, sizeof value, file.path(), "s", "x"), -2);
}

TEST(KeyValueGet, FirstOfTwoEqualKeysIsTaken) {
    EXPECT_EQ(get("[s]\nk=1\nk=2\n"), found("1"));
}

TEST(KeyValueGet, FirstOfTwoEqualSectionsIsTaken) {
    EXPECT_EQ(get("[s]\nx=1\n[s]\nk=2\n"), failed(-2));
}

// Codes.

TEST(KeyValueGet, FileThatCannotBeOpenedIsMinus10) {
    char value[8] = "before";
    EXPECT_EQ(key_value_get("/nonexistent/file", "s", "k", value, sizeof value), -10);
    EXPECT_STREQ(value, "before");
}

TEST(KeyValueGet, FileThatCannotBeReadIsMinus12) {
    char value[8] = "before";
    EXPECT_EQ(key_value_get("/", "s", "k", value, sizeof value), -12);
    EXPECT_STREQ(value, "before");
}

TEST(KeyValueGet, MissingSectionIsMinus1) {
    EXPECT_EQ(get("[a]\nk=1\n"), failed(-1));
    EXPECT_EQ(get("k=1\n"), failed(-1)) << "a key before every section";
    EXPECT_EQ(get(""), failed(-1));
}

TEST(KeyValueGet, MissingKeyIsMinus2) {
    EXPECT_EQ(get("[s]\nx=1\n"), failed(-2)) << "the end of the file";
    EXPECT_EQ(get("[s]"), failed(-2));
    EXPECT_EQ(get("[s]\nx=1\n[t]\nk=1\n"), failed(-2)) << "the next section";
}

TEST(KeyValueGet, LineWithoutEqualsSignIsMinus14) {
    EXPECT_EQ(get("[s]\nnote\nk=1\n"), failed(-14));
}

TEST(KeyValueGet, LineWithoutEqualsSignAfterTheKeyIsNotSeen) {
    EXPECT_EQ(get("[s]\nk=1\nnote\n"), found("1"));
}

TEST(KeyValueGet, LineWithoutEqualsSignInAnotherSectionIsPassedOver) {
    EXPECT_EQ(get("note\n[a]\nnote\n[s]\nk=1\n"), found("1"));
}

TEST(KeyValueGet, HeaderWithoutItsBracketIsMinus14) {
    EXPECT_EQ(get("[abc\n[s]\nk=1\n"), failed(-14));
    EXPECT_EQ(get("[s] x\nk=1\n"), failed(-14));
    EXPECT_EQ(get("[s]\t\nk=1\n"), failed(-14)) << "a tab at the end is not trimmed";
}

TEST(KeyValueGet, HeaderWithoutItsBracketAfterTheSectionEndsIt) {
    EXPECT_EQ(get("[s]\nx=1\n[abc\nk=1\n"), failed(-2));
}

// Headers.

TEST(KeyValueGet, SectionIsComparedExactly) {
    EXPECT_EQ(get("[S]\nk=1\n"), failed(-1));
    EXPECT_EQ(get("[s ]\nk=1\n"), failed(-1));
    EXPECT_EQ(get("[ s]\nk=1\n"), failed(-1));
    EXPECT_EQ(get("[ss]\nk=1\n"), failed(-1));
    EXPECT_EQ(get_section("[two words]\nk=1\n", "two words"), found("1"));
    EXPECT_EQ(get_section("[a]b]\nk=1\n", "a]b"), found("1"));
}

TEST(KeyValueGet, HeaderOfTwoCharactersIsTakenAsItIs) {
    EXPECT_EQ(get("[s\nk=1\n"), found("1"));
    EXPECT_EQ(get_section("[]\nk=1\n", "]"), found("1"));
    EXPECT_EQ(get("[x\n[]\n[\n[s]\nk=1\n"), found("1")) << "and is no malformed line";
}

TEST(KeyValueGet, BracketAloneIsTheSectionWithoutAName) {
    EXPECT_EQ(get_section("[\nk=1\n", ""), found("1"));
}

TEST(KeyValueGet, HeaderMayBeIndentedAndFollowedByBlanks) {
    EXPECT_EQ(get(" \t [s]  \r\nk=1\n"), found("1"));
}

// Comments and empty lines.

TEST(KeyValueGet, SemicolonBeginsAComment) {
    EXPECT_EQ(get(";[s]\n;x\n[s]\n; note\n \t;k=0\nk=1\n"), found("1"));
}

TEST(KeyValueGet, CommentIsNotContinued) {
    EXPECT_EQ(get("[s]\n; note +\nk=1\n"), found("1"));
}

TEST(KeyValueGet, NumberSignBeginsNoComment) {
    EXPECT_EQ(get("[s]\n# note\nk=1\n"), failed(-14));
    EXPECT_EQ(get("[s]\n#k=1\nk=2\n"), found("2")) << "but a key of another name";
    EXPECT_EQ(get_key("[s]\n#k=1\nk=2\n", "#k"), found("1"));
}

TEST(KeyValueGet, EmptyLinesArePassedOver) {
    EXPECT_EQ(get("\n \t \n[s]\n\n \r\n\t\t\nk=1\n"), found("1"));
}

// Keys and values.

TEST(KeyValueGet, KeyIsTrimmed) {
    EXPECT_EQ(get("[s]\n \t k \r =1\n"), found("1"));
    EXPECT_EQ(get("[s]\nk\t=1\n"), failed(-2)) << "a tab behind the key belongs to it";
    EXPECT_EQ(get_key("[s]\nk\t=1\n", "k\t"), found("1"));
}

TEST(KeyValueGet, KeyIsComparedExactly) {
    EXPECT_EQ(get("[s]\nK=1\nkk=2\nk k=3\n"), failed(-2));
    EXPECT_EQ(get_key("[s]\nvalid users=a\n", "valid users"), found("a"));
    EXPECT_EQ(get_key("[s]\n=a\n", ""), found("a"));
}

TEST(KeyValueGet, ValueIsWithoutLeadingBlanksAndTabs) {
    EXPECT_EQ(get("[s]\nk= \t a b\n"), found("a b"));
}

TEST(KeyValueGet, ValueIsWithoutTrailingBlanks) {
    EXPECT_EQ(get("[s]\nk=a b  \r\n"), found("a b"));
    EXPECT_EQ(get("[s]\nk=a\t\n"), found("a\t")) << "a tab stays";
}

TEST(KeyValueGet, ValueBeginsAfterTheFirstEqualsSign) {
    EXPECT_EQ(get("[s]\nk=a=b=c\n"), found("a=b=c"));
    EXPECT_EQ(get("[s]\nk==\n"), found("="));
}

TEST(KeyValueGet, ValueMayBeEmpty) {
    EXPECT_EQ(get("[s]\nk=\n"), found(""));
    EXPECT_EQ(get("[s]\nk =   \n"), found(""));
}

TEST(KeyValueGet, LastLineNeedsNoLineFeed) {
    EXPECT_EQ(get("[s]\nk=1"), found("1"));
}

// Buffer size.

TEST(KeyValueGet, ValueShorterThanTheRoomIsCopiedWhole) {
    EXPECT_EQ(get("[s]\nk=abcd\n", 5), found("abcd"));
}

TEST(KeyValueGet, ValueAsLongAsTheRoomIsCut) {
    EXPECT_EQ(get("[s]\nk=abcd\n", 4), found("abc"));
    EXPECT_EQ(get("[s]\nk=abcd\n", 2), found("a"));
    EXPECT_EQ(get("[s]\nk=abcd\n", 1), found(""));
}

TEST(KeyValueGet, WithoutRoomNothingIsWritten) {
    EXPECT_EQ(get("[s]\nk=abcd\n", 0), (Reading{0, "before"}));
}

// Bytes.

TEST(KeyValueGet, CarriageReturnsAreDroppedAnywhere) {
    EXPECT_EQ(get("[\rs]\r\nk\r=a\rb\r\n"), found("ab"));
}

TEST(KeyValueGet, NulEndsALine) {
    EXPECT_EQ(get("[s]\0k=a\0b=c\n"s), found("a"));
    EXPECT_EQ(get_key("[s]\nx=a\0k=c\n"s, "k"), found("c"));
}

TEST(KeyValueGet, FormFeedEndsALineAndBelongsToIt) {
    EXPECT_EQ(get("[s]\nk=a\fb=c\n"), found("a\f"));
    EXPECT_EQ(get_key("[s]\nx=a\fk=c\n", "k"), found("c"));
    EXPECT_EQ(get("[s]\f\nk=a\n"), failed(-14)) << "so the header has no bracket at its end";
    EXPECT_EQ(get("[s]\n\f\nk=a\n"), failed(-14)) << "so the line is not empty";
}

TEST(KeyValueGet, ControlZEndsALineAndBelongsToIt) {
    EXPECT_EQ(get("[s]\nk=a\x1a\n"), found("a\x1a"));
    EXPECT_EQ(get_key("[s]\nx=a\x1ak=c\n", "k"), found("c")) << "and ends no file";
}

TEST(KeyValueGet, OtherControlCharactersAreText) {
    EXPECT_EQ(get("[s]\nk=\x01\x0b\x7f\xff\n"), found("\x01\x0b\x7f\xff"));
}

TEST(KeyValueGet, LineIsCutAfter511Characters) {
    const std::string whole(511 - 2, 'a');
    EXPECT_EQ(get("[s]\nk=" + whole + "\n"), found(whole));
    EXPECT_EQ(get("[s]\nk=" + whole + "b\n"), found(whole));
}

TEST(KeyValueGet, RestOfALongLineIsTheNextLine) {
    const std::string filler = "x=" + std::string(509, 'a');
    EXPECT_EQ(get("[s]\n" + filler + "k=1\n"), found("1"));
    EXPECT_EQ(get("[s]\n" + filler + "note\nk=1\n"), failed(-14));
}

TEST(KeyValueGet, DroppedCarriageReturnsDoNotCountAmongThe511) {
    const std::string whole(511 - 2, 'a');
    EXPECT_EQ(get("[s]\nk=" + std::string(100, '\r') + whole + "\r\n"), found(whole));
}

// Continuation.

TEST(KeyValueGet, PlusAtTheEndJoinsTheNextLine) {
    EXPECT_EQ(get("[s]\nk=a+\nb\n"), found("ab"));
    EXPECT_EQ(get("[s]\nk=a +  \r\nb\n"), found("a b")) << "blanks behind the sign do not matter";
}

TEST(KeyValueGet, JoinedLineMayContinueToo) {
    EXPECT_EQ(get("[s]\nk=a+\nb+\nc\nx=d\n"), found("abc"));
}

TEST(KeyValueGet, JoinedLineKeepsItsLeadingBlanks) {
    EXPECT_EQ(get("[s]\nk=a+\n \tb  \n"), found("a \tb"));
}

TEST(KeyValueGet, JoinedLineIsTextWhateverItLooksLike) {
    EXPECT_EQ(get("[s]\nk=a+\n; note\n"), found("a; note"));
    EXPECT_EQ(get("[s]\nk=a+\n[t]\n"), found("a[t]"));
    EXPECT_EQ(get("[s]\nk=a+\nx=b\n"), found("ax=b"));
}

TEST(KeyValueGet, OnlyTheLastPlusIsTheSign) {
    EXPECT_EQ(get("[s]\nk=C++\nx=1\n"), found("C+x=1"));
}

TEST(KeyValueGet, JoiningEndsWithALineThatHasNoPlus) {
    EXPECT_EQ(get("[s]\nk=C++\n\nx=1\n"), found("C+")) << "the empty line is joined";
    EXPECT_EQ(get("[s]\nk=C+++\n  \nx=1\n"), found("C++"));
}

TEST(KeyValueGet, PlusBeforeTheEndOfTheFileIsRemoved) {
    EXPECT_EQ(get("[s]\nk=a+"), found("a"));
    EXPECT_EQ(get("[s]\nk=a+\n"), found("a"));
    EXPECT_EQ(get("[s]\nk=C++\n"), found("C+"));
}

TEST(KeyValueGet, OtherKeysAreContinuedToo) {
    EXPECT_EQ(get("[s]\nx=a+\nk=1\nk=2\n"), found("2")) << "the first k belongs to x";
}

TEST(KeyValueGet, ContinuedLineMayGetItsEqualsSignLater) {
    EXPECT_EQ(get("[s]\nk+\n=a\n"), found("a"));
    EXPECT_EQ(get("[s]\nnote+\nmore\nk=1\n"), failed(-14));
}

TEST(KeyValueGet, JoinedTextOfUpTo512CharactersIsTaken) {
    const std::string first = "k=" + std::string(298, 'a');
    EXPECT_EQ(get("[s]\n" + first + "+\n" + std::string(212, 'b') + "\n"),
              found(std::string(298, 'a') + std::string(212, 'b')));
    EXPECT_EQ(get("[s]\n" + first + "+\n" + std::string(213, 'b') + "\n"), failed(-22));
}

TEST(KeyValueGet, JoinedTextOfAnotherKeyMayNotBeLongerEither) {
    const std::string first = "x=" + std::string(298, 'a');
    EXPECT_EQ(get("[s]\n" + first + "+\n" + std::string(213, 'b') + "\nk=1\n"), failed(-22));
}

TEST(KeyValueGet, ManyShortLinesMayBeJoined) {
    std::string file = "[s]\nk=";
    for (int i = 0; i < 100; ++i) {
        file += "a+\n";
    }
    EXPECT_EQ(get(file + "b\n"), found(std::string(100, 'a') + "b"));
}

} // namespace
} // namespace zav::test

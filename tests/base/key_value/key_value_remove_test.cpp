// SPDX-License-Identifier: MIT
// Removing one item from the value of a key.
#include "base/key_value.h"
#include "base/key_value/memory_file.h"
#include "fixtures/library.h"

#include <gtest/gtest.h>
#include <string>

namespace zav::test {
namespace {

// The line of key "k" in section "s" after removing `item` from `value`.
std::string line_after(const std::string& value, const char* item) {
    const MemoryFile file("[s]\nk=" + value + "\n");
    EXPECT_EQ(key_value_remove(item, file.path(), "s", "k"), 0);
    const std::string text = file.text();
    EXPECT_TRUE(text.starts_with("[s]\n") && text.ends_with("\n")) << text;
    return text.substr(4, text.size() - 5);
}

TEST(KeyValueRemove, ItemThatEqualsTheValueEmptiesIt) {
    EXPECT_EQ(line_after("alice", "alice"), "\tk = ");
    EXPECT_EQ(line_after("1", "1"), "\tk = ");
}

TEST(KeyValueRemove, ItemThatIsOnlyAPartOfTheValueChangesNothing) {
    EXPECT_EQ(line_after("alice,bob", "alice"), "\tk = alice,bob");
    EXPECT_EQ(line_after("alice", "Alice"), "\tk = alice");
}

TEST(KeyValueRemove, FirstCharacterThatIsNoLetterOrDigitSeparatesTheList) {
    EXPECT_EQ(line_after("alice,bob,carol", ",bob"), "\tk = alice,carol");
    EXPECT_EQ(line_after("alice bob carol", " bob"), "\tk = alice carol");
}

TEST(KeyValueRemove, FirstAndLastElementMayBeDropped) {
    EXPECT_EQ(line_after("alice,bob,carol", ",alice"), "\tk = bob,carol");
    EXPECT_EQ(line_after("alice,bob,carol", ",carol"), "\tk = alice,bob");
}

TEST(KeyValueRemove, LastElementThatIsLeftLeavesAnEmptyValue) {
    EXPECT_EQ(line_after("alice", ",alice"), "\tk = ");
}

TEST(KeyValueRemove, EveryEqualElementIsDropped) {
    EXPECT_EQ(line_after("bob,alice,bob", ",bob"), "\tk = alice");
}

TEST(KeyValueRemove, ElementsAreComparedExactly) {
    EXPECT_EQ(line_after("bob1,bo,Bob, bob", ",bob"), "\tk = bob1,bo,Bob, bob");
}

TEST(KeyValueRemove, ElementThatIsNotThereChangesNothing) {
    EXPECT_EQ(line_after("alice,bob", ",dave"), "\tk = alice,bob");
}

TEST(KeyValueRemove, EmptyElementsStay) {
    EXPECT_EQ(line_after(",alice,,bob,", ",dave"), "\tk = ,alice,,bob,");
    EXPECT_EQ(line_after("a,,b", ",b"), "\tk = a,");
    EXPECT_EQ(line_after("a,,b", ",a"), "\tk = ,b");
    EXPECT_EQ(line_after("a::b:c", ":b"), "\tk = a::c");
    EXPECT_EQ(line_after("", ",a"), "\tk = ");
}

TEST(KeyValueRemove, EmptyElementsAreDroppedWhenTheyAreAskedFor) {
    EXPECT_EQ(line_after(",alice,,bob,", ","), "\tk = alice,bob");
}

TEST(KeyValueRemove, EmptyItemChangesNothing) {
    EXPECT_EQ(line_after("alice,bob", ""), "\tk = alice,bob");
}

TEST(KeyValueRemove, ValueIsWrittenBackCutAt127Characters) {
    const std::string name(120, 'a');
    EXPECT_EQ(line_after(name + ",bcdefghij", ",x"), "\tk = " + name + ",bcdefg");
    EXPECT_EQ(line_after(name + ",bcdefghij", "x"), "\tk = " + name + ",bcdefg");
    EXPECT_EQ(line_after(name + ",bcdefghij", ",bcdefg"), "\tk = " + name)
        << "elements are those of the cut value";
}

TEST(KeyValueRemove, ValueOf127CharactersIsWhole) {
    const std::string value(127, 'a');
    EXPECT_EQ(line_after(value, "x"), "\tk = " + value);
    EXPECT_EQ(line_after(value, value.c_str()), "\tk = ");
}

TEST(KeyValueRemove, ContinuationLinesAreJoinedIntoOne) {
    EXPECT_EQ(line_after("alice,+\nbob,carol", ",carol"), "\tk = alice,bob");
}

TEST(KeyValueRemove, FailedReadingIsReturnedAndNothingWritten) {
    const MemoryFile file("[s]\nk=alice\n");
    EXPECT_EQ(key_value_remove("alice", file.path(), "t", "k"), -1);
    EXPECT_EQ(key_value_remove("alice", file.path(), "s", "x"), -2);
    EXPECT_EQ(file.text(), "[s]\nk=alice\n");
    EXPECT_EQ(key_value_remove("alice", "/nonexistent/file", "s", "k"), -10);
    EXPECT_EQ(key_value_remove("alice", "/", "s", "k"), -12);
    const MemoryFile malformed("[s]\nnote\nk=alice\n");
    EXPECT_EQ(key_value_remove("alice", malformed.path(), "s", "k"), -14);
}

} // namespace
} // namespace zav::test

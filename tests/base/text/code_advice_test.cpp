// SPDX-License-Identifier: MIT
// What the table of codes says of what is left and what to do.
#include "base/code_advice.h"

#include <gmock/gmock.h>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <utility>

namespace zav::test {
namespace {

using testing::HasSubstr;
using testing::IsNull;
using testing::MatchesRegex;
using testing::Not;
using testing::StrEq;

std::set<std::string> words(const char* text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

TEST(CodeAdvice, HasARowForEachCode) {
    std::set<std::string> names;
    for (const CodeAdvice& row : code_advice()) {
        names.insert(row.name);
    }
    for (const CodeRow& row : code_table()) {
        EXPECT_TRUE(names.contains(row.name)) << row.name;
    }
    EXPECT_EQ(names.size(), code_table().size());
}

TEST(CodeAdvice, SpeaksInSentences) {
    for (const CodeAdvice& row : code_advice()) {
        EXPECT_THAT(row.left, MatchesRegex("[A-Z].*[.]")) << row.name;
        EXPECT_THAT(row.next, MatchesRegex("[A-Z].*[.]")) << row.name;
        EXPECT_THAT(row.meaning, Not(HasSubstr(". "))) << row.name;
    }
}

// A row of some commands is about codes that codes.def gives to these commands.
TEST(CodeAdvice, NamesNoCommandThatTheTableOfCodesDoesNotName) {
    for (const CodeAdvice& row : code_advice()) {
        for (const CodeRow& general : code_table()) {
            if (std::string(general.name) == row.name) {
                for (const std::string& user : words(row.used_by)) {
                    EXPECT_TRUE(words(general.used_by).contains(user)) << row.name << ' ' << user;
                }
            }
        }
    }
}

TEST(CodeAdvice, OneRowOfACommandExplainsANumber) {
    std::set<std::pair<std::string, std::string>> own;
    for (const CodeAdvice& row : code_advice()) {
        if (&row - code_advice().data() < std::ssize(code_advice()) - std::ssize(code_table())) {
            for (const std::string& user : words(row.used_by)) {
                EXPECT_TRUE(own.emplace(row.name, user).second) << row.name << ' ' << user;
            }
        }
    }
    EXPECT_GT(own.size(), 50U);
}

TEST(CodeAdvice, DiffersBetweenCommands) {
    EXPECT_THAT(code_left(-601, "netmanage"), HasSubstr("the disk has been overwritten"));
    EXPECT_THAT(code_left(-601, "sharemanage"), HasSubstr("still forbidden"));
    EXPECT_THAT(code_next(-1, "fsmanage"), HasSubstr("/etc/mdfstab"));
    EXPECT_THAT(code_next(-1, "netmanage"), HasSubstr("/etc/netfstab"));
    EXPECT_THAT(code_next(-1, "sharemanage"), HasSubstr("type column"));
}

TEST(CodeAdvice, IsTheSameForAllCommandsWhereNoneHasItsOwn) {
    EXPECT_STREQ(code_next(-203, "diskmanage"), "There is nothing left to do.");
    EXPECT_STREQ(code_left(-203, "mdmanage"), code_left(-203));
}

TEST(CodeAdvice, TakesTheFirstRowOfTheTableWithoutACommand) {
    EXPECT_STREQ(find_code_advice(-509)->name, "fs_not_repaired");
    EXPECT_STREQ(find_code_advice(-509, "sharemanage")->name, "share_not_repaired");
    EXPECT_STREQ(find_code_advice(-601)->meaning, "the file system could not be mounted");
    EXPECT_STREQ(find_code_advice(-601, "no such command")->meaning,
                 "the file system could not be mounted");
    EXPECT_STREQ(find_code_advice(-601, "manage")->meaning, "the file system could not be mounted");
}

TEST(CodeAdvice, KnowsOnlyCodes) {
    EXPECT_THAT(find_code_advice(0), IsNull());
    EXPECT_THAT(find_code_advice(-999, "fsmanage"), IsNull());
    EXPECT_THAT(code_left(-999), StrEq(""));
    EXPECT_THAT(code_next(1), StrEq(""));
}

TEST(CodeAdvice, TellsTheStatusOfACode) {
    EXPECT_EQ(exit_status_of(-201), 55);
    EXPECT_EQ(exit_status_of(-1), 255);
    EXPECT_EQ(exit_status_of(-11000), 8);
    for (const OtherStatus& row : other_statuses()) {
        EXPECT_NE(find_code_advice(number_of(row.code), row.command), nullptr) << row.command;
        EXPECT_NE(row.status, exit_status_of(number_of(row.code))) << row.command;
    }
}

} // namespace
} // namespace zav::test

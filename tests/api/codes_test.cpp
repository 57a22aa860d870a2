// SPDX-License-Identifier: MIT
// The codes of the C interface are those of the table.
#include "base/code_advice.h"
#include "base/codes.h"
#include "zav/zav.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <regex>
#include <string>

namespace zav::test {
namespace {

// The names and numbers of the enumeration.
std::multimap<std::string, int> enumerated() {
    std::ifstream file(ZAV_TEST_CODES_HEADER);
    EXPECT_TRUE(file.is_open());
    const std::regex row("^ *ZAV_E_([A-Z0-9_]+) = (-[0-9]+).*");
    std::multimap<std::string, int> codes;
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (std::regex_match(line, match, row)) {
            std::string name = match[1];
            std::ranges::transform(name, name.begin(), [](char c) {
                return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
            });
            codes.emplace(name, std::stoi(match[2]));
        }
    }
    return codes;
}

TEST(CodesOfTheInterface, AreThoseOfTheTableAndAFewOfItsOwn) {
    std::multimap<std::string, int> expected = {
        {"no_memory", ZAV_E_NO_MEMORY},
        {"invalid_argument", ZAV_E_INVALID_ARGUMENT},
        {"array_made_with_error", ZAV_E_ARRAY_MADE_WITH_ERROR}};
    for (const CodeRow& row : code_table()) {
        expected.emplace(row.name, number_of(row.code));
    }
    EXPECT_EQ(enumerated(), expected);
}

TEST(CodesOfTheInterface, HaveNamesAndSentences) {
    EXPECT_STREQ(zav_error_name(ZAV_OK), "ok");
    EXPECT_STREQ(zav_strerror(ZAV_OK), "");
    EXPECT_STREQ(zav_error_name(ZAV_E_NO_SUCH_DISK), "no_such_disk");
    EXPECT_STREQ(zav_strerror(-202), "there is no disk with that channel and device");
    EXPECT_STREQ(zav_strerror(ZAV_E_NO_MEMORY), "there is not enough memory");
    EXPECT_STREQ(zav_error_name(7), "unknown");
    EXPECT_STREQ(zav_strerror(-99999), "unknown code");
    for (const CodeRow& row : code_table()) {
        EXPECT_STRNE(zav_strerror(number_of(row.code)), "") << row.name;
    }
}

// The texts behind a code that the commands end with.
TEST(CodesOfTheInterface, SayWhatIsLeftAndWhatToDo) {
    for (const CodeRow& row : code_table()) {
        EXPECT_STREQ(zav_error_left(number_of(row.code)), code_left(number_of(row.code)));
        EXPECT_STREQ(zav_error_advice(number_of(row.code)), code_next(number_of(row.code)));
    }
    EXPECT_STREQ(zav_error_left(ZAV_E_ALREADY_HOTSPARE), "Nothing has changed.");
    EXPECT_STREQ(zav_error_advice(ZAV_E_ALREADY_HOTSPARE), "There is nothing left to do.");
    EXPECT_STRNE(zav_error_advice(ZAV_E_NO_MEMORY), "");
    EXPECT_STREQ(zav_error_left(ZAV_OK), "");
    EXPECT_STREQ(zav_error_advice(ZAV_OK), "");
    EXPECT_STREQ(zav_error_left(-99999), "");
}

TEST(CodesOfTheInterface, SayWhatToDoAfterACommand) {
    EXPECT_STREQ(zav_error_advice_for(-601, "sharemanage"), code_next(-601, "sharemanage"));
    EXPECT_STRNE(zav_error_advice_for(-601, "sharemanage"), zav_error_advice(-601));
    EXPECT_STREQ(zav_error_advice_for(-601, "no such command"), zav_error_advice(-601));
    EXPECT_STREQ(zav_error_advice_for(-601, nullptr), zav_error_advice(-601));
    EXPECT_STREQ(zav_error_advice_for(ZAV_E_NO_MEMORY, "sharemanage"),
                 zav_error_advice(ZAV_E_NO_MEMORY));
    EXPECT_STREQ(zav_error_advice_for(ZAV_OK, "sharemanage"), "");
}

TEST(CodesOfTheInterface, AreExplainedAsACommandReturnsThem) {
    zav_error error;
    EXPECT_EQ(zav_error_explain(-509, "sharemanage", &error), ZAV_OK);
    EXPECT_EQ(error.code, -509);
    EXPECT_STREQ(error.name, "share_not_repaired");
    EXPECT_STREQ(error.sentence, "the share could not be repaired");
    EXPECT_STREQ(error.left, code_left(-509, "sharemanage"));
    EXPECT_STREQ(error.next, code_next(-509, "sharemanage"));
    EXPECT_STREQ(error.command, "");
    EXPECT_EQ(zav_error_explain(-509, nullptr, &error), ZAV_OK);
    EXPECT_STREQ(error.name, zav_error_name(-509));
    EXPECT_STREQ(error.left, zav_error_left(-509));
    EXPECT_EQ(zav_error_explain(-99999, "sharemanage", &error), ZAV_OK);
    EXPECT_STREQ(error.name, "unknown");
    EXPECT_EQ(zav_error_explain(-509, nullptr, nullptr), ZAV_E_INVALID_ARGUMENT);
}

TEST(ErrorsOfCalls, SayWhatIsLeftAndWhatToDo) {
    zav_error error;
    EXPECT_EQ(zav_snapshot_take(nullptr, ZAV_ALL, &error), nullptr);
    EXPECT_EQ(error.code, ZAV_E_INVALID_ARGUMENT);
    EXPECT_STREQ(error.left, "Nothing has changed.");
    EXPECT_STREQ(error.next, zav_error_advice(ZAV_E_INVALID_ARGUMENT));
}

TEST(VersionOfTheInterface, IsThatOfTheLibrary) {
    EXPECT_STREQ(zav_version(), ZAV_VERSION);
    EXPECT_EQ(std::string(ZAV_VERSION), std::to_string(ZAV_VERSION_MAJOR) + "." +
                                            std::to_string(ZAV_VERSION_MINOR) + "." +
                                            std::to_string(ZAV_VERSION_PATCH));
}

} // namespace
} // namespace zav::test

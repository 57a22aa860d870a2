// SPDX-License-Identifier: MIT
#include "base/code_advice.h"
#include "zav/zav.h"
#include "zavinfo/explain.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace zavinfo::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::vector<CodeInfo> codes = {
    {-101, "early", "it is early", "Nothing.", "Wait.", {}},
    {-411, "unread", "it is unread", "", "Look.", {}},
    {-411, "unread", "it is unread", "All.", "Look again.", {"mdmanage", "vgmanage"}},
    {-667, "other", "it is another", "A file.", "", {}},
    {-1024, "silent", "it is silent", "", "", {}}};

TEST(Explanation, TellsACode) {
    const std::string text = "-411  unread  (exit status 101)\n"
                             "  Meaning: it is unread\n"
                             "  Next:    Look.\n"
                             "\n"
                             "-411  unread  (exit status 101)  of mdmanage, vgmanage\n"
                             "  Meaning: it is unread\n"
                             "  Left:    All.\n"
                             "  Next:    Look again.\n";
    EXPECT_EQ(explain("-411", codes), text);
    EXPECT_EQ(explain("411", codes), text);
    EXPECT_EQ(explain("unread", codes), text);
    EXPECT_EQ(explain("UNREAD", codes), text);
}

TEST(Explanation, TellsAllCandidatesOfAStatus) {
    const std::string text = explain("101", codes);
    EXPECT_THAT(text, StartsWith("-101  early  (exit status 155)\n"));
    EXPECT_THAT(text, HasSubstr("\nexit status 101 stands for\n\n-411  unread"));
    EXPECT_THAT(text, HasSubstr("\n\n-667  other  (exit status 101)\n  Meaning: it is another\n"
                                "  Left:    A file.\n"));
    EXPECT_THAT(explain("-101", codes), Not(HasSubstr("-411")));
}

TEST(Explanation, TellsThatAStatusOfZeroMayHideAFailure) {
    EXPECT_THAT(explain("0", codes), StartsWith("exit status 0: the command succeeded, or failed "
                                                "with one of\n\n-1024  silent"));
    EXPECT_EQ(explain("0", {}), "exit status 0: the command succeeded\n");
}

TEST(Explanation, IsEmptyWhenThereIsNoSuchCode) {
    for (const char* what : {"", "-5", "5", "411x", "300", "99999999999", "nothing", "-"}) {
        EXPECT_EQ(explain(what, codes), "") << what;
    }
}

// What a command leaves is not told as what another one does.
TEST(Explanation, TellsWhatACodeIsToEachCommand) {
    const auto known = known_codes();
    EXPECT_THAT(explain("-601", known),
                HasSubstr("-601  fs_not_mounted  (exit status 167)  of netmanage\n"));
    EXPECT_THAT(explain("-601", known), HasSubstr("the disk has been overwritten"));
    EXPECT_THAT(explain("share_not_repaired", known),
                StartsWith("-509  share_not_repaired  (exit status 3)  of sharemanage\n"));
    EXPECT_THAT(explain("-1", known), HasSubstr("-1  register_unread  (exit status 255)  of "));
    EXPECT_EQ(explain("-203", known), "-203  already_hotspare  (exit status 53)\n"
                                      "  Meaning: the disk is a hot spare already\n"
                                      "  Left:    Nothing has changed.\n"
                                      "  Next:    There is nothing left to do.\n");
}

TEST(Explanation, KnowsTheCodesOfTheLibrary) {
    const auto known = known_codes();
    for (const int code : {ZAV_E_EDIT_MODE_INVALID, ZAV_E_ARRAY_DETAILS_UNREAD,
                           ZAV_E_COMMAND_FAILED, ZAV_E_INVALID_ARGUMENT}) {
        EXPECT_GE(std::ranges::count(known, static_cast<int>(code), &CodeInfo::number), 1) << code;
    }
    EXPECT_THAT(explain("101", known), HasSubstr("-411  array_details_unread"));
    EXPECT_EQ(status_of(-411), 101);
    EXPECT_EQ(status_of(-256), 0);
    EXPECT_EQ(status_of(-1), 255);
}

// Of some failures the status tells nothing, or something else.
TEST(Explanation, KnowsTheStatusesThatNoCodeBecomes) {
    const auto known = known_codes();
    for (const zav::OtherStatus& other : zav::other_statuses()) {
        const int number = zav::number_of(other.code);
        const std::string heading = std::to_string(number) + "  " + zav_error_name(number) +
                                    "  (exit status " + std::to_string(status_of(number)) + "; " +
                                    std::to_string(other.status) + " of " +
                                    std::string(other.command) + (other.when.empty() ? "" : " ") +
                                    std::string(other.when) + ")";
        EXPECT_THAT(explain(std::to_string(other.status), known), HasSubstr(heading));
        EXPECT_THAT(explain(std::to_string(number), known), StartsWith(heading));
    }
    EXPECT_THAT(explain("0", known), Not(HasSubstr("-411")));
}

} // namespace
} // namespace zavinfo::test

// SPDX-License-Identifier: MIT
// The users of the appliance and of the system.
#include "sources/nas_users.h"
#include "sources/passwd.h"

#include <gmock/gmock.h>
#include <string>

namespace zav::test {
namespace {

TEST(Secret, IsTheLastFieldOfItsUsersLine) {
    const char* file = "anna|1001|annasecret\nbert|x|y|z|bertsecret\n";
    EXPECT_EQ(secret_of_user(file, "anna"), "annasecret");
    EXPECT_EQ(secret_of_user(file, "bert"), "bertsecret");
}

TEST(Secret, IsEmptyForAnUnknownUser) {
    EXPECT_EQ(secret_of_user("anna|1|s\n", "ann"), "");
    EXPECT_EQ(secret_of_user("anna|1|s\n", "annabel"), "");
    EXPECT_EQ(secret_of_user("anna|1|s\n", "Anna"), "");
    EXPECT_EQ(secret_of_user("", "anna"), "");
}

TEST(Secret, IsEmptyWithoutAThirdField) {
    EXPECT_EQ(secret_of_user("anna|secret\nanna|1|later\n", "anna"), "");
    EXPECT_EQ(secret_of_user("anna\nanna|1|later\n", "anna"), "");
    EXPECT_EQ(secret_of_user("anna|1|\n", "anna"), "");
}

TEST(Secret, OfTheFirstLineCounts) {
    EXPECT_EQ(secret_of_user("bert|1|b\nanna|1|first\nanna|1|second\n", "anna"), "first");
}

TEST(Secret, IsTrimmedWithItsLine) {
    EXPECT_EQ(secret_of_user("\n  \n \tanna|1| a b \r\n", "anna"), " a b");
    EXPECT_EQ(secret_of_user("anna|1|s", "anna"), "s");
    EXPECT_EQ(secret_of_user("anna |1|s\n", "anna"), "") << "the name itself is not";
}

TEST(Secret, IsReadOfAtMost255Characters) {
    const std::string secret(255 - 7, 's');
    EXPECT_EQ(secret_of_user("anna|1|" + secret + "more\n", "anna"), secret);
}

TEST(UserFile, HasTheUserWhoseNameStandsInFront) {
    const char* file = "anna|1001|s\n  bert|1|\ncarla\n";
    for (const char* user : {"anna", "bert", "carla"}) {
        EXPECT_TRUE(has_appliance_user(file, user)) << user;
    }
    for (const char* user : {"ann", "annabel", "ANNA", "1001", "s", "", "anna|1001"}) {
        EXPECT_FALSE(has_appliance_user(file, user)) << user;
    }
}

TEST(UserFile, OfTheSystemHasAnotherSeparator) {
    EXPECT_TRUE(has_system_user("root:x:0\nanna:x:1\n", "anna"));
    EXPECT_FALSE(has_appliance_user("root:x:0\nanna:x:1\n", "anna"));
}

TEST(UserFile, HasNoUsersInCommentsAndEmptyLines) {
    EXPECT_FALSE(has_appliance_user("#anna|1|s\n  # bert|1|s\n\n", "#anna"));
    EXPECT_FALSE(has_appliance_user("#anna|1|s\n\n", "anna"));
    EXPECT_FALSE(has_appliance_user("\n\n", ""));
}

} // namespace
} // namespace zav::test

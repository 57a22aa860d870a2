// SPDX-License-Identifier: MIT
// The FTP users' files: read and written.
#include "fixtures/share_lists.h"
#include "fixtures/share_machine.h"
#include "sources/vsftpd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;

class FtpUserScan : public testing::Test {
  protected:
    const share_info& scanned(const std::string& file, const char* type = "ftp") {
        list.clear();
        add(list, "other", "ftp");
        share_info& share = add(list, "pub", type);
        share.write = 7;
        scan_ftp_user(file, "anna", list);
        return share;
    }
    share_list list;
};

TEST_F(FtpUserScan, GivesTheShareItsUserAndAccess) {
    const auto& share = scanned("local_root=/home/ftpuser/pub\nwrite_enable=NO\n");
    EXPECT_EQ(share.users, "anna");
    EXPECT_EQ(share.write, 0);
    EXPECT_EQ(list.begin()->users, "");
}

TEST_F(FtpUserScan, TreatsEverythingButNoAsWritable) {
    for (const char* line : {"write_enable=YES\n", "write_enable=no\n", "write_enable=NO!\n", ""}) {
        EXPECT_EQ(scanned(std::string(line) + "local_root=/x/pub\n").write, 1) << line;
    }
}

TEST_F(FtpUserScan, TakesWhatStandsAfterTheLastEqualsSign) {
    EXPECT_EQ(scanned("local_root=a=/x/pub\nwrite_enable=YES=NO\n").write, 0);
    EXPECT_EQ(scanned("local_root=/x/pub=other\n").users, "");
}

TEST_F(FtpUserScan, KnowsAShareByTheLastComponent) {
    EXPECT_EQ(scanned("local_root=pub\n").users, "anna");
    EXPECT_EQ(scanned("local_root=/home/ftpuser/public\n").users, "");
    EXPECT_EQ(scanned("local_root=/home/ftpuser/Pub\n").users, "");
    EXPECT_EQ(scanned("write_enable=NO\n").users, "");
    EXPECT_EQ(list.begin()->write, 1);
}

TEST_F(FtpUserScan, AffectsTheFirstOfNamesakes) {
    add(list, "pub", "ftp");
    add(list, "pub", "ftp");
    scan_ftp_user("local_root=/x/pub\n", "anna", list);
    EXPECT_THAT(users(list), ElementsAre("anna", ""));
}

TEST_F(FtpUserScan, OnlyAffectsFtpShares) {
    EXPECT_EQ(scanned("local_root=/x/pub\n", "FTP").users, "anna");
    EXPECT_EQ(scanned("local_root=/x/pub\n", "samba").users, "");
    EXPECT_EQ(scanned("local_root=/x/pub\n", "samba,ftp").users, "");
}

TEST(FtpUserLines, ComeFromTheDefaultUsersInTheirOrder) {
    EXPECT_THAT(ftp_user_lines({"a=1", "local_umask=022", "b=2", "write_enable=NO", "c=3"},
                               full_share("ftp")),
                ElementsAre("a=1\n", "local_umask=000\n", "b=2\n", "write_enable=YES\n", "c=3\n",
                            "local_root=/mnt/vg1/pub\n"));
}

TEST(FtpUserLines, AreKnownByTheirBeginning) {
    EXPECT_THAT(ftp_user_lines({"local_umaskX", "write_enable", "write_enable_x=1",
                                "x_write_enable=NO", "Local_umask=022", "write_enable = YES"},
                               full_share("ftp")),
                ElementsAre("local_umask=000\n", "write_enable=YES\n", "write_enable=YES\n",
                            "x_write_enable=NO\n", "Local_umask=022\n", "write_enable=YES\n",
                            "local_root=/mnt/vg1/pub\n"));
}

TEST(FtpUserLines, OfAReadOnlyShareForbidWriting) {
    share_info share = full_share("ftp");
    share.write = 0;
    EXPECT_THAT(ftp_user_lines({"write_enable=YES"}, share),
                ElementsAre("write_enable=NO\n", "local_root=/mnt/vg1/pub\n"));
    share.write = 2;
    EXPECT_EQ(ftp_user_lines({"write_enable=NO"}, share).at(0), "write_enable=YES\n");
}

TEST(FtpUserLines, WithoutDefaultsAreTheRootAlone) {
    EXPECT_THAT(ftp_user_lines({}, full_share("ftp")), ElementsAre("local_root=/mnt/vg1/pub\n"));
}

TEST(FtpUserLines, KeepALocalRootOfTheDefaultUser) {
    EXPECT_THAT(ftp_user_lines({"local_root=/x"}, full_share("ftp")),
                ElementsAre("local_root=/x\n", "local_root=/mnt/vg1/pub\n"));
}

} // namespace
} // namespace zav::test

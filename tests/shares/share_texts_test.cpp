// SPDX-License-Identifier: MIT
// What the register and the services' files hold for a share, byte for byte.
#include "shares/share_texts.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <map>

namespace zav::test {
namespace {

using testing::ElementsAre;

share_info share_of(const char* type) {
    share_info share;
    share.name = "pub";
    share.type = type;
    share.path = "/mnt/vg1/pub";
    share.comment = "for all";
    share.users = "anna";
    share.size = 5;
    return share;
}

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

TEST(RegisterSection, HasNineLines) {
    EXPECT_THAT(register_lines(share_of("samba")),
                ElementsAre("[pub]\n", "    sharename = pub\n", "    path = /mnt/vg1/pub\n",
                            "    size = 5\n", "    samba = 1\n", "    nfs = 0\n", "    ftp = 0\n",
                            "    iscsi = 0\n", "    comment = for all\n"));
}

TEST(RegisterSection, HasOneServiceOrNone) {
    const auto services = [](const char* type) {
        const std::string text = joined(register_lines(share_of(type)));
        const std::size_t start = text.find("    samba");
        return text.substr(start, text.find("    comment") - start);
    };
    EXPECT_EQ(services("nfs"), "    samba = 0\n    nfs = 1\n    ftp = 0\n    iscsi = 0\n");
    EXPECT_EQ(services("ftp"), "    samba = 0\n    nfs = 0\n    ftp = 1\n    iscsi = 0\n");
    EXPECT_EQ(services("iscsi"), "    samba = 0\n    nfs = 0\n    ftp = 0\n    iscsi = 1\n");
    EXPECT_EQ(services("SAMBA"), "    samba = 1\n    nfs = 0\n    ftp = 0\n    iscsi = 0\n");
    EXPECT_EQ(services(""), "    samba = 0\n    nfs = 0\n    ftp = 0\n    iscsi = 0\n");
}

TEST(RegisterSection, OfAnEmptyShareHasAllItsLines) {
    EXPECT_EQ(joined(register_lines(share_info())),
              "[]\n    sharename = \n    path = \n    size = 0\n    samba = 0\n    nfs = 0\n"
              "    ftp = 0\n    iscsi = 0\n    comment = \n");
}

TEST(RegisterSection, HoldsTheWholeSize) {
    share_info share = share_of("nfs");
    share.size = 9223372036854775807;
    EXPECT_EQ(register_lines(share).at(3), "    size = 9223372036854775807\n");
    share.size = -1;
    EXPECT_EQ(register_lines(share).at(3), "    size = -1\n");
}

TEST(SambaSection, HasEightLines) {
    EXPECT_THAT(samba_lines(share_of("samba"), "writable"),
                ElementsAre("[pub]\n", "    comment = for all\n", "    path = /mnt/vg1/pub\n",
                            "    public = yes\n", "    writable = yes\n", "    printable = no\n",
                            "    create mask = 0777\n", "    valid users = anna\n"));
}

TEST(SambaSection, TakesTheKeyOfItsFile) {
    share_info share = share_of("samba");
    EXPECT_EQ(samba_lines(share, "writeable").at(4), "    writeable = yes\n");
    share.write = 0;
    EXPECT_EQ(samba_lines(share, "writeable").at(4), "    writeable = no\n");
    EXPECT_EQ(samba_lines(share, "writable").at(4), "    writable = no\n");
}

TEST(SambaSection, WithoutUsersEndsInABlank) {
    share_info share = share_of("samba");
    share.users.clear();
    EXPECT_EQ(samba_lines(share, "writable").back(), "    valid users = \n");
}

TEST(ExportLine, IsPathHostsAndOptions) {
    EXPECT_THAT(export_line(share_of("nfs")),
                ElementsAre("/mnt/vg1/pub anna(rw,sync,no_root_squash)\n"));
}

TEST(ExportLine, OfAReadOnlyShareSaysSo) {
    share_info share = share_of("nfs");
    share.write = 0;
    EXPECT_THAT(export_line(share), ElementsAre("/mnt/vg1/pub anna(ro,sync,no_root_squash)\n"));
}

TEST(ExportLine, WithoutHostsIsForAll) {
    share_info share = share_of("nfs");
    share.users.clear();
    EXPECT_THAT(export_line(share), ElementsAre("/mnt/vg1/pub *(rw,sync,no_root_squash)\n"));
}

TEST(ExportLine, KeepsBlanksInItsHosts) {
    share_info share = share_of("nfs");
    share.users = "a  b";
    EXPECT_THAT(export_line(share), ElementsAre("/mnt/vg1/pub a  b(rw,sync,no_root_squash)\n"));
}

constexpr std::time_t moment = 1714658585; // 2024-05-02 14:03:05 UTC

std::string secret_of(std::string_view user) {
    static const std::map<std::string_view, std::string> secrets = {
        {"anna", "annasecret"}, {"long", "123456789012345"}, {"twelve", "123456789012"}};
    const auto at = secrets.find(user);
    return at != secrets.end() ? at->second : "";
}

class TargetBlock : public testing::Test {
  protected:
    TargetBlock() { zone("UTC0"); }
    ~TargetBlock() override { zone("UTC0"); }

    static void zone(const char* name) {
        ::setenv("TZ", name, 1);
        ::tzset();
    }
    Lines lines() const { return target_lines(share, moment, secret_of); }
    std::string name_line(const char* name) {
        share.name = name;
        return lines().at(0);
    }
    // The lines between the target's name and its Lun.
    Lines users(const char* names) {
        share.users = names;
        const Lines all = lines();
        return {all.begin() + 1, all.end() - 4};
    }
    share_info share = share_of("iscsi");
};

TEST_F(TargetBlock, HasItsLinesInThisOrder) {
    EXPECT_THAT(lines(), ElementsAre("Target iqn.2006-05.com.nas:pub.20240502140305\n",
                                     "\tIncomingUser anna annasecret\n",
                                     "\tLun 0 Path=/mnt/vg1/pub,Type=fileio,IOMode=wb\n",
                                     "\tHeaderDigest\tNone,None\n", "\tDataDigest\tNone,None\n",
                                     "\tWthreads\t16\n"));
}

TEST_F(TargetBlock, HasLocalTimeInItsName) {
    zone("XYZ-2:30");
    EXPECT_EQ(name_line("disk1"), "Target iqn.2006-05.com.nas:disk1.20240502163305\n");
    zone("XYZ20");
    EXPECT_EQ(name_line("disk1"), "Target iqn.2006-05.com.nas:disk1.20240501180305\n");
}

TEST_F(TargetBlock, KeepsANameWithADot) {
    EXPECT_EQ(name_line("disk1.20200101000000"),
              "Target iqn.2006-05.com.nas:disk1.20200101000000\n");
    EXPECT_EQ(name_line("a.b"), "Target iqn.2006-05.com.nas:a.b\n");
    EXPECT_EQ(name_line("."), "Target iqn.2006-05.com.nas:.\n");
}

TEST_F(TargetBlock, HasALineForEachUser) {
    EXPECT_THAT(users("anna, twelve"), ElementsAre("\tIncomingUser anna annasecret\n",
                                                   "\tIncomingUser twelve 123456789012\n"));
    EXPECT_THAT(users("anna twelve"), testing::SizeIs(2));
    EXPECT_THAT(users(" ,anna,, ,twelve, "), testing::SizeIs(2));
}

TEST_F(TargetBlock, WithoutUsersHasNoLineForThem) {
    EXPECT_THAT(users(""), testing::IsEmpty());
    EXPECT_THAT(users(" , "), testing::IsEmpty());
}

TEST_F(TargetBlock, CutsASecretAt12Characters) {
    EXPECT_THAT(users("long"), ElementsAre("\tIncomingUser long 123456789012\n"));
}

TEST_F(TargetBlock, KeepsTheLineOfAnEmptySecret) {
    EXPECT_THAT(users("nobody"), ElementsAre("\tIncomingUser nobody \n"));
}

TEST(FtpUserLines, ComeFromTheDefaultUsersInTheirOrder) {
    EXPECT_THAT(ftp_user_lines({"a=1", "local_umask=022", "b=2", "write_enable=NO", "c=3"},
                               share_of("ftp")),
                ElementsAre("a=1\n", "local_umask=000\n", "b=2\n", "write_enable=YES\n", "c=3\n",
                            "local_root=/mnt/vg1/pub\n"));
}

TEST(FtpUserLines, AreKnownByTheirBeginning) {
    EXPECT_THAT(ftp_user_lines({"local_umaskX", "write_enable", "write_enable_x=1",
                                "x_write_enable=NO", "Local_umask=022", "write_enable = YES"},
                               share_of("ftp")),
                ElementsAre("local_umask=000\n", "write_enable=YES\n", "write_enable=YES\n",
                            "x_write_enable=NO\n", "Local_umask=022\n", "write_enable=YES\n",
                            "local_root=/mnt/vg1/pub\n"));
}

TEST(FtpUserLines, OfAReadOnlyShareForbidWriting) {
    share_info share = share_of("ftp");
    share.write = 0;
    EXPECT_THAT(ftp_user_lines({"write_enable=YES"}, share),
                ElementsAre("write_enable=NO\n", "local_root=/mnt/vg1/pub\n"));
    share.write = 2;
    EXPECT_EQ(ftp_user_lines({"write_enable=NO"}, share).at(0), "write_enable=YES\n");
}

TEST(FtpUserLines, WithoutDefaultsAreTheRootAlone) {
    EXPECT_THAT(ftp_user_lines({}, share_of("ftp")), ElementsAre("local_root=/mnt/vg1/pub\n"));
}

TEST(FtpUserLines, KeepALocalRootOfTheDefaultUser) {
    EXPECT_THAT(ftp_user_lines({"local_root=/x"}, share_of("ftp")),
                ElementsAre("local_root=/x\n", "local_root=/mnt/vg1/pub\n"));
}

TEST(PasswdLine, GetsAnotherHome) {
    EXPECT_EQ(with_home("anna:x:1001:100:Anna A:/home/anna:/bin/sh", "/home/ftpuser"),
              "anna:x:1001:100:Anna A:/home/ftpuser:/bin/sh");
    EXPECT_EQ(with_home("anna:x:1:1:::", "/home/a"), "anna:x:1:1::/home/a:");
    EXPECT_EQ(with_home("anna:x:1:1:: /a b :/bin/sh -l", "/h"), "anna:x:1:1::/h:/bin/sh -l");
}

TEST(PasswdLine, ThatIsNoneStaysAsItIs) {
    for (const std::string line : {"", "anna", "+", "anna:x:1:1:Anna:/home/anna"}) {
        EXPECT_EQ(with_home(line, "/h"), line);
    }
}

} // namespace
} // namespace zav::test

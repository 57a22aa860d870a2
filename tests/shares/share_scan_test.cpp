// SPDX-License-Identifier: MIT
// The steps of collecting shares that only take text: what each of them takes from it.
#include "share_machine.h"
#include "shares/share_scan.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

share_info& add(share_list& list, const char* name, const char* type, const char* path = "") {
    share_info& share = list.append();
    share.name = name;
    share.type = type;
    share.path = path;
    return share;
}

Texts names(const share_list& list) {
    Texts texts;
    for (const share_info& share : list) {
        texts.emplace_back(share.name.view());
    }
    return texts;
}

Texts users(const share_list& list) {
    Texts texts;
    for (const share_info& share : list) {
        texts.emplace_back(share.users.view());
    }
    return texts;
}

// The only share of a register.
share_info only(const std::string& text) {
    share_list list;
    scan_register(text, list);
    EXPECT_THAT(names(list), testing::SizeIs(1));
    return *list.begin();
}

TEST(RegisterScan, TakesEveryField) {
    const share_info share = only(register_section({"pub", "nfs", "/mnt/data/pub", "5", "all"}));
    EXPECT_EQ(share.name, "pub");
    EXPECT_EQ(share.type, "nfs");
    EXPECT_EQ(share.path, "/mnt/data/pub");
    EXPECT_EQ(share.comment, "all");
    EXPECT_EQ(share.device, "N.A.");
    EXPECT_EQ(share.users, "");
    EXPECT_EQ(share.write, 1);
    EXPECT_EQ(share.size, 5);
    EXPECT_EQ(share.usedsize, 0);
}

TEST(RegisterScan, FindsNothingInAnEmptyRegister) {
    share_list list;
    scan_register("", list);
    scan_register("sharename = pub\n", list);
    EXPECT_TRUE(list.empty());
}

TEST(RegisterScan, SpellsIscsiInItsOwnWay) {
    EXPECT_EQ(only(register_section({"disk1", "iscsi"})).type, "iSCSI");
    EXPECT_EQ(only(register_section({"pub", "samba"})).type, "samba");
    EXPECT_EQ(only(register_section({"pub", "ftp"})).type, "ftp");
    EXPECT_EQ(only(register_section({"pub", ""})).type, "");
}

TEST(RegisterScan, JoinsSeveralServicesInTheirOrder) {
    EXPECT_EQ(only("[a]\nnfs = 1\nsamba = 1\n").type, "samba,nfs");
    EXPECT_EQ(only("[a]\niscsi=1\nftp=1\nnfs=1\nsamba=1\n").type, "samba,nfs,ftp,iSCSI");
}

TEST(RegisterScan, CountsAServiceOnlyWhenItsValueIsExactlyOne) {
    EXPECT_EQ(only("[a]\nsamba = 10\nnfs = yes\nftp = 01\niscsi = \n").type, "");
}

TEST(RegisterScan, LooksKeysUpUnderTheSectionsName) {
    const share_info share = only("[section]\n    sharename = other\n    path = /x\n");
    EXPECT_EQ(share.name, "other");
    EXPECT_EQ(share.path, "/x");
    EXPECT_EQ(only("[section]\n    path = /x\n").name, "") << "the key alone gives the name";
}

TEST(RegisterScan, GivesTwoSectionsOfOneNameTheFirstOnesKeys) {
    share_list list;
    scan_register("[a]\nsharename = one\n[a]\nsharename = two\n", list);
    EXPECT_THAT(names(list), ElementsAre("one", "one"));
}

TEST(RegisterScan, KeepsTheOrderOfTheSections) {
    share_list list;
    add(list, "before", "ftp");
    scan_register(register_section({"b"}) + register_section({"a"}), list);
    EXPECT_THAT(names(list), ElementsAre("before", "b", "a"));
}

TEST(RegisterScan, TakesASizeBeyond32Bits) {
    EXPECT_EQ(only("[a]\nsize = 3221225472\n").size, 3221225472);
    EXPECT_EQ(only("[a]\nsize = 5x\n").size, 5);
    EXPECT_EQ(only("[a]\nsize = x\n").size, 0);
    EXPECT_EQ(only("[a]\n").size, 0);
}

TEST(RegisterScan, CutsWhatNoFieldHolds) {
    const std::string text(200, 'x');
    const share_info share =
        only("[a]\nsharename = " + text + "\ncomment = " + text + "\npath = " + text + "\n");
    EXPECT_EQ(share.name, std::string(32, 'x'));
    EXPECT_EQ(share.comment, std::string(128, 'x'));
    EXPECT_EQ(share.path, std::string(127, 'x'));
}

TEST(RegisterScan, ReadsASectionsKeysUpToAMalformedLine) {
    const share_info share = only("[a]\nsharename = pub\nnonsense\npath = /x\nsamba = 1\n");
    EXPECT_EQ(share.name, "pub");
    EXPECT_EQ(share.path, "");
    EXPECT_EQ(share.type, "");
}

class SambaScan : public testing::Test {
  protected:
    // The share "pub" of that type, with the access and users that smb.conf gives it.
    const share_info& scanned(const std::string& text, const char* type = "samba") {
        list.clear();
        share_info& share = add(list, "pub", type);
        share.users = "before";
        scan_samba(text, list);
        return share;
    }
    share_list list;
};

TEST_F(SambaScan, TakesAccessAndUsers) {
    const std::string global = samba_global;
    const auto& read_only =
        scanned(global + samba_section("pub", "/mnt", "anna,bert", "", "writable = no"));
    EXPECT_EQ(read_only.write, 0);
    EXPECT_EQ(read_only.users, "anna,bert");
    EXPECT_EQ(scanned(global + samba_section("pub", "/mnt")).write, 1);
    EXPECT_EQ(list.begin()->users, "") << "nobody in particular";
}

TEST_F(SambaScan, HonoursExactlyNo) {
    for (const char* value : {"NO", "No", "0", "false", "no way", ""}) {
        EXPECT_EQ(scanned(std::string("[pub]\nwritable = ") + value + "\n").write, 1) << value;
    }
}

TEST_F(SambaScan, TakesTheOtherSpellingWhereTheFirstIsMissing) {
    EXPECT_EQ(scanned("[pub]\nwriteable = no\n").write, 0);
    EXPECT_EQ(scanned("[pub]\nwriteable = no\nwritable = yes\n").write, 1);
    EXPECT_EQ(scanned("[pub]\nwriteable = yes\nwritable = no\n").write, 0);
}

TEST_F(SambaScan, LeavesWhatTheFileDoesNotSay) {
    EXPECT_EQ(scanned("[pub]\nwritable = no\n").users, "before");
    EXPECT_EQ(scanned("[other]\nvalid users = anna\nwritable = no\n").users, "before");
    EXPECT_EQ(list.begin()->write, 1);
}

TEST_F(SambaScan, RefreshesSharesOfExactlySambaOnly) {
    for (const char* type : {"samba,nfs", "nfs", "SAMBA", ""}) {
        const auto& share = scanned("[pub]\nwritable = no\nvalid users = anna\n", type);
        EXPECT_EQ(share.write, 1) << type;
        EXPECT_EQ(share.users, "before") << type;
    }
}

TEST_F(SambaScan, CutsUsersAt255Characters) {
    EXPECT_EQ(scanned("[pub]\nvalid users = " + std::string(300, 'u') + "\n").users,
              std::string(255, 'u'));
}

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

TEST_F(FtpUserScan, TakesEverythingButNoForWritable) {
    for (const char* line : {"write_enable=YES\n", "write_enable=no\n", "write_enable=NO!\n", ""}) {
        EXPECT_EQ(scanned(std::string(line) + "local_root=/x/pub\n").write, 1) << line;
    }
}

TEST_F(FtpUserScan, TakesWhatStandsBehindTheLastEqualsSign) {
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

TEST_F(FtpUserScan, MeansTheFirstOfNamesakes) {
    add(list, "pub", "ftp");
    add(list, "pub", "ftp");
    scan_ftp_user("local_root=/x/pub\n", "anna", list);
    EXPECT_THAT(users(list), ElementsAre("anna", ""));
}

TEST_F(FtpUserScan, OnlyMeansFtpShares) {
    EXPECT_EQ(scanned("local_root=/x/pub\n", "FTP").users, "anna");
    EXPECT_EQ(scanned("local_root=/x/pub\n", "samba").users, "");
    EXPECT_EQ(scanned("local_root=/x/pub\n", "samba,ftp").users, "");
}

class ExportsScan : public testing::Test {
  protected:
    const share_info& scanned(const std::string& text, const char* type = "nfs") {
        list.clear();
        share_info& share = add(list, "pub", type, "/mnt/data/pub");
        scan_exports(text, list);
        return share;
    }
    share_list list;
};

TEST_F(ExportsScan, TakesHostsAndAccess) {
    const auto& share = scanned("/mnt/data/pub 10.0.0.0/8(ro,sync,no_root_squash)\n");
    EXPECT_EQ(share.users, "10.0.0.0/8");
    EXPECT_EQ(share.write, 0);
    EXPECT_EQ(scanned("/mnt/data/pub *(rw,sync,no_root_squash)\n").users, "*");
    EXPECT_EQ(list.begin()->write, 1);
}

TEST_F(ExportsScan, TakesTheWholeTextUpToTheBracketForHosts) {
    EXPECT_EQ(scanned("  /mnt/data/pub \t one two (rw)\n").users, "one two");
    EXPECT_EQ(scanned("/mnt/data/pub\tone(rw) two(ro)\n").users, "one");
    EXPECT_EQ(list.begin()->write, 1) << "the options of the first host";
}

TEST_F(ExportsScan, FindsReadOnlyAnywhereInTheOptions) {
    EXPECT_EQ(scanned("/mnt/data/pub *(sync,no_root_squash,ro)\n").write, 0);
    EXPECT_EQ(scanned("/mnt/data/pub *(root,sync,nro,ro_x)\n").write, 1);
    EXPECT_EQ(scanned("/mnt/data/pub *(RO)\n").write, 1);
    EXPECT_EQ(scanned("/mnt/data/pub ro(rw)\n").write, 1);
    EXPECT_EQ(scanned("/mnt/data/pub *(rw) ro\n").write, 1);
}

TEST_F(ExportsScan, NeverMakesAShareWritable) {
    share_info& share = add(list, "a", "nfs", "/a");
    share.write = 0;
    scan_exports("/a *(rw)\n", list);
    EXPECT_EQ(share.write, 0);
}

TEST_F(ExportsScan, PassesOverCommentsAndOtherPaths) {
    EXPECT_EQ(scanned("\n  \n# /mnt/data/pub a(ro)\n#/mnt/data/pub a(ro)\n").users, "");
    EXPECT_EQ(scanned("/mnt/data/pub2 a(ro)\n/mnt/data/ a(ro)\n").users, "");
    EXPECT_EQ(list.begin()->write, 1);
    const share_info& odd = add(list, "odd", "nfs", "#odd");
    scan_exports("#odd a(ro)\n", list);
    EXPECT_EQ(odd.users, "");
}

TEST_F(ExportsScan, OnlyMeansNfsShares) {
    EXPECT_EQ(scanned("/mnt/data/pub a(ro)\n", "NFS").users, "a");
    EXPECT_EQ(scanned("/mnt/data/pub a(ro)\n", "samba").users, "");
    EXPECT_EQ(scanned("/mnt/data/pub a(ro)\n", "samba,nfs").users, "");
}

TEST_F(ExportsScan, MeansTheFirstShareOfAPath) {
    add(list, "samba", "samba", "/a");
    add(list, "one", "nfs", "/a");
    add(list, "two", "nfs", "/a");
    scan_exports("/a host(rw)\n", list);
    EXPECT_THAT(users(list), ElementsAre("", "host", ""));
}

class MountScan : public testing::Test {
  protected:
    share_list list;
};

TEST_F(MountScan, MarksWhatIsMountedAndTakesItsDirectory) {
    share_info& share = add(list, "pub", "samba", "/registered");
    share.comment = "mine";
    scan_mounts({{"/dev/data/pub", "/elsewhere/pub"}}, list);
    EXPECT_EQ(share.path, "/elsewhere/pub");
    EXPECT_EQ(share.usedsize, -1);
    EXPECT_EQ(share.comment, "mine");
}

TEST_F(MountScan, TellsWhatIsNotMounted) {
    share_info& share = add(list, "pub", "samba", "/mnt/data/pub");
    share.comment = "mine";
    share.usedsize = 5;
    scan_mounts({{"proc", "/proc"}, {"/dev/x", "/mnt/data/public"}}, list);
    EXPECT_EQ(share.comment, "Filesystem umounted");
    EXPECT_EQ(share.usedsize, 0);
    EXPECT_EQ(share.path, "/mnt/data/pub");
}

TEST_F(MountScan, TakesTheLastOfSeveralDirectories) {
    const share_info& share = add(list, "pub", "ftp");
    scan_mounts({{"a", "/one/pub"}, {"b", "/two/pub"}}, list);
    EXPECT_EQ(share.path, "/two/pub");
}

TEST_F(MountScan, MeansTheFirstOfNamesakes) {
    const share_info& first = add(list, "pub", "samba");
    const share_info& second = add(list, "pub", "nfs");
    scan_mounts({{"a", "/mnt/pub"}}, list);
    EXPECT_EQ(first.usedsize, -1);
    EXPECT_EQ(second.comment, "Filesystem umounted");
}

TEST_F(MountScan, AsksNoMountOfAnIscsiShare) {
    const share_info& share = add(list, "disk1", "iSCSI", "/dev/data/disk1");
    const share_info& other = add(list, "disk1", "samba");
    scan_mounts({{"a", "/mnt/disk1"}}, list);
    EXPECT_EQ(share.usedsize, -1);
    EXPECT_EQ(share.comment, "");
    EXPECT_EQ(share.path, "/dev/data/disk1");
    EXPECT_EQ(other.path, "/mnt/disk1") << "the mount is that of its namesake";
}

TEST_F(MountScan, FindsNoIscsiShareWhereNothingIsMounted) {
    const share_info& share = add(list, "disk1", "iscsi");
    scan_mounts({}, list);
    EXPECT_EQ(share.comment, "Filesystem umounted");
    EXPECT_EQ(share.usedsize, 0);
}

TEST_F(MountScan, CountsSharesOfSeveralServicesAsMounted) {
    const share_info& share = add(list, "pub", "samba,iSCSI");
    scan_mounts({{"a", "/mnt/pub"}}, list);
    EXPECT_EQ(share.path, "/mnt/pub");
}

class VolumeScan : public testing::Test {
  protected:
    // The names after one more line of the daemon's.
    Texts scanned(const std::string& text) {
        scan_iscsi_volumes(text, list);
        return names(list);
    }
    share_list list;
};

TEST_F(VolumeScan, AddsWhatTheRegisterDoesNotHave) {
    EXPECT_THAT(scanned("tid:1 name:iqn.2006-05.com.nas:disk1.20240502140305\n"
                        "\tlun:0 state:0 iotype:fileio path:/dev/data/disk1\n"),
                ElementsAre("disk1"));
    const share_info& share = *list.begin();
    EXPECT_EQ(share.type, "iSCSI");
    EXPECT_EQ(share.write, 1);
    EXPECT_EQ(share.size, 0);
    EXPECT_EQ(share.usedsize, 0);
    EXPECT_EQ(share.path, "");
}

TEST_F(VolumeScan, UpdatesTheShareOfTheName) {
    share_info& share = add(list, "disk1", "samba", "/dev/data/disk1");
    share.write = 0;
    share.usedsize = -1;
    EXPECT_THAT(scanned("tid:1 name:iqn.2006-05.com.nas:disk1\n"), ElementsAre("disk1"));
    EXPECT_EQ(share.type, "iSCSI");
    EXPECT_EQ(share.write, 1);
    EXPECT_EQ(share.usedsize, 0);
    EXPECT_EQ(share.path, "/dev/data/disk1");
}

TEST_F(VolumeScan, UpdatesTheFirstOfNamesakes) {
    add(list, "disk1", "samba");
    add(list, "disk1", "nfs");
    scanned("tid:1 name:iqn:disk1\ntid:2 name:iqn:disk1\n");
    EXPECT_EQ(list.begin()->type, "iSCSI");
    EXPECT_EQ(std::next(list.begin())->type, "nfs");
}

TEST_F(VolumeScan, ReadsTheNameOnceItIsAdded) {
    EXPECT_THAT(scanned("tid:1 name:iqn:new\ntid:2 name:iqn:new.2024\n"), ElementsAre("new"));
}

TEST_F(VolumeScan, TakesTheFirstFieldWhereNoWordIsNamed) {
    EXPECT_THAT(scanned("tid:disk1.2024 lun\n"), ElementsAre("disk1"));
}

TEST_F(VolumeScan, PassesOverOtherLines) {
    EXPECT_THAT(scanned("lun:0 name:iqn:a\nx tid:1 name:iqn:b\n\n"), IsEmpty());
}

TEST_F(VolumeScan, CutsANameAt32Characters) {
    EXPECT_THAT(scanned("tid:1 name:iqn:" + std::string(40, 'x') + "\n"),
                ElementsAre(std::string(32, 'x')));
}

class TargetScan : public testing::Test {
  protected:
    Texts scanned(const std::string& text) {
        scan_iscsi_targets(text, list);
        return users(list);
    }
    static constexpr auto target = "Target iqn.2006-05.com.nas:disk1.20240502140305\n";
    share_list list;
};

TEST_F(TargetScan, JoinsTheUsersOfATarget) {
    add(list, "disk1", "");
    EXPECT_THAT(scanned(std::string(target) +
                        "\tIncomingUser anna annasecret\n\tIncomingUser bert \n\tLun 0 Path=x\n"),
                ElementsAre("anna,bert"));
    EXPECT_EQ(list.begin()->type, "iSCSI");
}

TEST_F(TargetScan, AddsToTheUsersThatAShareHas) {
    add(list, "disk1", "").users = "carla";
    EXPECT_THAT(scanned(std::string(target) + "IncomingUser anna x\n"), ElementsAre("carla,anna"));
}

TEST_F(TargetScan, MakesAShareWithoutUsersAnIscsiShareToo) {
    add(list, "disk1", "samba");
    EXPECT_THAT(scanned(target), ElementsAre(""));
    EXPECT_EQ(list.begin()->type, "iSCSI");
}

TEST_F(TargetScan, MeansTheLastOfNamesakes) {
    add(list, "disk1", "samba");
    add(list, "disk1", "nfs");
    EXPECT_THAT(scanned(std::string(target) + "IncomingUser anna x\n"), ElementsAre("", "anna"));
    EXPECT_EQ(list.begin()->type, "samba");
}

TEST_F(TargetScan, GivesTheUsersOfAnUnknownTargetToNobody) {
    add(list, "disk1", "");
    EXPECT_THAT(scanned("IncomingUser early x\n" + std::string(target) + "IncomingUser anna x\n" +
                        "Target iqn:other\nIncomingUser late x\n"),
                ElementsAre("anna"));
    EXPECT_THAT(names(list), ElementsAre("disk1")) << "none is added";
}

TEST_F(TargetScan, TakesTheNameBehindTheFirstColon) {
    add(list, "disk1", "");
    add(list, "x:disk1", "");
    EXPECT_THAT(scanned("Target iqn:x:disk1.2\nIncomingUser anna x\n"), ElementsAre("", "anna"));
}

TEST(PoolGroups, AreReadFromTheLinesOfPools) {
    const std::string output = "  WARNING: ignore\n\t/dev/data/pub:data:3:1\n/dev/more/old:more:3\n"
                               "x/dev/data/no:data:3\n";
    EXPECT_THAT(groups_of_pools(output),
                UnorderedElementsAre(Pair("pub", "data"), Pair("old", "more")));
}

TEST(PoolGroups, AreThoseOfTheFirstNamesake) {
    const std::string output = "  /dev/data/pub:data:3\n  /dev/more/pub:more:3\n";
    EXPECT_THAT(groups_of_pools(output), UnorderedElementsAre(Pair("pub", "data")));
}

TEST(PoolGroups, AreFoundInTheOutputOfTheTool) {
    const std::string output = recorded("lvdisplay_c_three").text;
    EXPECT_THAT(groups_of_pools(output),
                UnorderedElementsAre(Pair("full", "vgdisks"), Pair("pub", "vg1"),
                                     Pair("half", "vg1"), Pair("pool", "data")));
}

} // namespace
} // namespace zav::test

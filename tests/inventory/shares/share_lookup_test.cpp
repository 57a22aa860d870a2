// SPDX-License-Identifier: MIT
// Finding the users of FTP shares, and looking up one share in the list.
#include "fixtures/library.h"
#include "fixtures/share_machine.h"
#include "inventory/shares.h"

#include <filesystem>

namespace zav::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

const auto no_home = MatchesRegex("find_one_user:[0-9]+ return -1062 with .+");

// Two FTP shares, the first and the second in the list, and the FTP server's users anna and bert
// with empty files.
class FtpUserCollection : public testing::Test {
  protected:
    FtpUserCollection() {
        machine.shares({{.name = "first", .service = "ftp"}, {.name = "second", .service = "ftp"}})
            .remove(ftp_template)
            .file("/etc/vsftpd/anna", "")
            .file("/etc/vsftpd/bert", "");
    }
    // Users and access of the shares.
    Texts users() {
        const Result result = machine.operation([] {
            share_list list;
            const auto collected = collect_shares(list);
            for (const share_info& share : list) {
                std::printf("%s:%d\n", share.users.c_str(), share.write);
            }
            return collected;
        });
        EXPECT_EQ(result.returned, 0);
        Texts texts;
        for (const std::string_view line : split(result.out, "\n")) {
            texts.emplace_back(line);
        }
        return texts;
    }
    // The server's users, or the entries of a directory, in the directory's order.
    Texts in_order(const std::string& path = "/etc/vsftpd") const {
        Texts names;
        const auto folder = machine.host_path(path);
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename());
        }
        return names;
    }
    ShareMachine machine;
};

TEST_F(FtpUserCollection, GivesAShareToTheUserWithItsDirectory) {
    machine.directory("/home/anna/second").directory("/home/bert/other");
    EXPECT_THAT(users(), ElementsAre(":1", "anna:1"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(FtpUserCollection, StopsAtAUserWhoseDirectoryIsTheFirstShares) {
    machine.directory("/home/anna/first").directory("/home/bert/first");
    EXPECT_THAT(users(), ElementsAre(in_order().front() + ":1", ":1"));
}

TEST_F(FtpUserCollection, ContinuesAfterAUserWhoseDirectoryIsALaterShares) {
    machine.directory("/home/anna/second").directory("/home/bert/second");
    EXPECT_THAT(users(), ElementsAre(":1", in_order().back() + ":1"));
}

TEST_F(FtpUserCollection, CountsSharesOfOtherServicesToo) {
    machine.shares({{.name = "zero"}, {.name = "first", .service = "ftp"}});
    machine.directory("/home/anna/first").directory("/home/bert/first");
    EXPECT_THAT(users(), ElementsAre(":1", in_order().back() + ":1"));
}

TEST_F(FtpUserCollection, LetsAUsersLastDirectoryDecide) {
    const Texts both = in_order();
    for (const std::string& user : both) {
        machine.directory("/home/" + user + "/one").directory("/home/" + user + "/two");
    }
    const Texts names = in_order("/home/" + both.front());
    machine.shares(
        {{.name = names.back(), .service = "ftp"}, {.name = names.front(), .service = "ftp"}});
    EXPECT_THAT(users(), ElementsAre(both.front() + ":1", both.front() + ":1"));
}

TEST_F(FtpUserCollection, StopsAtAUserWithAnEmptyHome) {
    machine.directory("/home/" + in_order().front());
    machine.directory("/home/" + in_order().back() + "/second");
    EXPECT_THAT(users(), ElementsAre(":1", ":1"));
}

TEST_F(FtpUserCollection, StopsAtAUserWithFilesOnly) {
    machine.file("/home/" + in_order().front() + "/second", "");
    machine.directory("/home/" + in_order().back() + "/second");
    EXPECT_THAT(users(), ElementsAre(":1", ":1"));
}

TEST_F(FtpUserCollection, ContinuesAfterADirectoryOfNoShare) {
    machine.directory("/home/" + in_order().front() + "/nothing");
    machine.directory("/home/" + in_order().back() + "/second");
    EXPECT_THAT(users(), ElementsAre(":1", in_order().back() + ":1"));
}

TEST_F(FtpUserCollection, ContinuesAfterAUserWithoutAHome) {
    machine.directory("/home/" + in_order().back() + "/second");
    EXPECT_THAT(users(), ElementsAre(":1", in_order().back() + ":1"));
    EXPECT_THAT(machine.logged(), ElementsAre(no_home));
}

TEST_F(FtpUserCollection, OnlyAffectsFtpShares) {
    machine.shares({{.name = "second"}}).directory("/home/anna/second");
    machine.file("/etc/vsftpd/bert", "local_root=/x/second\nwrite_enable=NO\n");
    EXPECT_THAT(users(), ElementsAre(":1"));
}

TEST_F(FtpUserCollection, TakesTheUsersFileLast) {
    machine.directory("/home/anna/second");
    machine.file("/etc/vsftpd/bert", "local_root=/home/ftpuser/second\nwrite_enable=NO\n");
    EXPECT_THAT(users(), ElementsAre(":1", "bert:0"));
}

TEST_F(FtpUserCollection, TakesEveryUsersFileAlsoAfterTheStop) {
    machine.directory("/home/anna").directory("/home/bert");
    machine.file("/etc/vsftpd/anna", "local_root=/x/first\nwrite_enable=NO\n");
    machine.file("/etc/vsftpd/bert", "local_root=/x/second\nwrite_enable=YES\n");
    EXPECT_THAT(users(), ElementsAre("anna:0", "bert:1"));
}

TEST_F(FtpUserCollection, DoesNotReadTheDefaultUsersFile) {
    machine.file(ftp_template, "local_root=/home/ftpuser/second\nwrite_enable=NO\n");
    machine.remove("/etc/vsftpd/anna").remove("/etc/vsftpd/bert");
    EXPECT_THAT(users(), ElementsAre(":1", ":1"));
    machine.directory("/home/ftpuser/second");
    EXPECT_THAT(users(), ElementsAre(":1", "ftpuser:1")) << "but looks at its home";
}

TEST_F(FtpUserCollection, DoesWithoutTheServersDirectory) {
    machine.remove("/etc/vsftpd");
    EXPECT_THAT(users(), ElementsAre(":1", ":1"));
    EXPECT_THAT(machine.logged(),
                ElementsAre("get_user:483 return with No such file or directory"));
}

TEST_F(FtpUserCollection, LooksAt32Users) {
    for (int number = 0; number < 31; ++number) {
        machine.file("/etc/vsftpd/user" + std::to_string(number), "");
    }
    users();
    EXPECT_THAT(in_order(), SizeIs(33));
    EXPECT_THAT(machine.logged(), SizeIs(32));
    EXPECT_THAT(machine.logged(), Each(no_home));
}

TEST_F(FtpUserCollection, CutsAUsersNameAt32Characters) {
    const std::string name(32, 'u');
    machine.file("/etc/vsftpd/" + name + "rest", "local_root=/x/first\n");
    machine.directory("/home/" + name + "/second");
    EXPECT_THAT(users(), ElementsAre(":1", name + ":1")) << "its file is not found";
}

class ShareLookup : public testing::Test {
  protected:
    Result find(const char* name) {
        return machine.operation([name] {
            share_info share;
            const auto result = find_share(name, share);
            std::printf("%s|%s|%s|%s|%d|%lld|%lld|%s|%s", share.name.c_str(), share.type.c_str(),
                        share.path.c_str(), share.users.c_str(), share.write,
                        static_cast<long long>(share.size.count),
                        static_cast<long long>(share.usedsize.count), share.comment.c_str(),
                        share.device.c_str());
            return result;
        });
    }
    int check(const char* name) {
        return machine.operation([name] { return check_share(name); }).returned;
    }
    ShareMachine machine;
};

TEST_F(ShareLookup, GivesTheWholeShare) {
    machine.shares({{.name = "a"}, {"pub", "samba", "/old", "7", "mine"}});
    machine.mounts({"/dev/data/pub /mnt/data/pub"})
        .file(smb_conf, samba_section("pub", "/", "anna", "", "writable = no"));
    const Result result = find("pub");
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "pub|samba|/mnt/data/pub|anna|0|7|-1|mine|N.A.");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ShareLookup, FindsTheFirstOfNamesakes) {
    machine.shares({{.size = "1"}, {.service = "nfs", .size = "2"}});
    EXPECT_EQ(find("pub").out, "pub|samba|/mnt/data/pub||1|1|0|Filesystem umounted|N.A.");
}

TEST_F(ShareLookup, FindsTargetsThatAreNotRegistered) {
    machine.file("/proc/net/iet/volume", "tid:1 name:iqn:disk1.2024\n");
    EXPECT_EQ(find("disk1").returned, 0);
    EXPECT_EQ(check("disk1"), -514);
}

TEST_F(ShareLookup, ComparesWholeNames) {
    machine.shares({{}});
    for (const char* name : {"Pub", "pu", "pub2", ""}) {
        EXPECT_EQ(find(name).returned, -501) << name;
        EXPECT_EQ(check(name), 0) << name;
    }
    EXPECT_EQ(check("pub"), -514);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ShareLookup, ReportsThatThereIsNoList) {
    machine.shares({{}}).remove(exports).directory(exports);
    EXPECT_EQ(find("pub").returned, -505);
    EXPECT_THAT(machine.logged(), SizeIs(1)) << "the collector's";
    EXPECT_EQ(check("pub"), -505);
    EXPECT_THAT(machine.logged().back(), returned("check_share", -505));
}

TEST_F(ShareLookup, ReportsThatThereIsNoListWithoutTargets) {
    machine.shares({{}}).remove(targets);
    EXPECT_EQ(find("pub").returned, -505);
    EXPECT_EQ(check("other"), -505);
}

} // namespace
} // namespace zav::test

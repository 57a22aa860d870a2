// SPDX-License-Identifier: MIT
// The checks of a share's texts: names, modes, comments, users, NFS hosts.
#include "fixtures/library.h"
#include "fixtures/share_machine.h"
#include "inventory/share_checks.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ShareName, IsThatOfAnyPool) {
    for (const char* name : {"p", "Pub_1-x", "_", "globals", "0"}) {
        EXPECT_EQ(check_share_name(name), 0) << name;
    }
    EXPECT_EQ(check_share_name(std::string(32, 'n').c_str()), 0);
}

// A command would interpret it as an option.
TEST(ShareName, DoesNotBeginWithAHyphen) {
    EXPECT_EQ(check_share_name("-"), -114);
    EXPECT_EQ(check_share_name("-pub"), -114);
}

TEST(ShareName, IsNoOtherText) {
    for (const char* name : {"", "a b", "a.b", "a/b", "p\xc3\xbc", "a\n", "$(x)", "[p]"}) {
        EXPECT_EQ(check_share_name(name), -114) << name;
    }
    EXPECT_EQ(check_share_name(nullptr), -114);
    EXPECT_EQ(check_share_name(std::string(33, 'n').c_str()), -114);
}

TEST(ShareName, IsNotGlobalInAnyCase) {
    for (const char* name : {"global", "GLOBAL", "Global", "gLoBaL"}) {
        EXPECT_EQ(check_share_name(name), -114) << name;
    }
}

// Samba has sections of its own of these names.
TEST(ShareName, IsNeitherHomesNorPrintersInAnyCase) {
    for (const char* name : {"homes", "Homes", "HOMES", "printers", "PRINTERS", "pRinters"}) {
        EXPECT_EQ(check_share_name(name), -114) << name;
    }
    for (const char* name : {"home", "homes1", "printer", "my_printers"}) {
        EXPECT_EQ(check_share_name(name), 0) << name;
    }
}

TEST(ShareMode, IsTheServiceInLowerCase) {
    for (const auto& [mode, service] :
         std::vector<std::pair<const char*, const char*>>{{"samba", "samba"},
                                                          {"SAMBA", "samba"},
                                                          {"ftp", "ftp"},
                                                          {"Ftp", "ftp"},
                                                          {"nfs", "nfs"},
                                                          {"NFS", "nfs"},
                                                          {"iscsi", "iscsi"},
                                                          {"iSCSI", "iscsi"}}) {
        EXPECT_EQ(service_of_mode(mode), service);
    }
}

TEST(ShareMode, CifsIsSamba) {
    for (const char* mode : {"cifs", "CIFS", "Cifs"}) {
        EXPECT_EQ(service_of_mode(mode), "samba") << mode;
    }
}

TEST(ShareMode, IsNoOtherText) {
    for (const char* mode : {"", "smb", "sambas", "samb", " nfs", "nfs ", "samba,nfs", "none"}) {
        EXPECT_EQ(service_of_mode(mode), "") << mode;
    }
    EXPECT_EQ(service_of_mode(nullptr), "");
}

// The comment's code, and the stored text, which is "old" before.
std::pair<int, std::string> take_comment(const char* text) {
    BoundedText<129> comment{"old"};
    const auto code = check_comment(comment, text);
    return {number_of(code), std::string(comment.view())};
}

TEST(ShareComment, IsStoredAsItIs) {
    for (const std::string& text :
         {std::string("all"), std::string("a+b \\ c"), std::string("#1; [x] 'y' \"z\" $(w)"),
          std::string(" t\xc3\xbcr\t"), std::string(128, 'c')}) {
        EXPECT_EQ(take_comment(text.c_str()), std::pair(0, text));
    }
}

TEST(ShareComment, MayBeMissing) {
    EXPECT_EQ(take_comment(nullptr), std::pair(0, std::string("old")));
}

TEST(ShareComment, IsNeitherEmptyNorTooLong) {
    EXPECT_EQ(take_comment(""), std::pair(-118, std::string("old")));
    EXPECT_EQ(take_comment(std::string(129, 'c').c_str()), std::pair(-118, std::string("old")));
}

TEST(ShareComment, HoldsNothingThatEndsALineOrMakesASecondKey) {
    for (const char* text : {"a\nb", "\na", "a\n", "a\rb", "a\r", "a\fb", "a\x1a", "a=b", "="}) {
        EXPECT_EQ(take_comment(text), std::pair(-118, std::string("old"))) << text;
    }
}

TEST(ShareComment, DoesNotContinueOnTheNextLine) {
    for (const char* text : {"a+", "a\\", "+", "\\", "a+ ", "a\\  ", "a\\\t", "a+ \t "}) {
        EXPECT_EQ(take_comment(text), std::pair(-118, std::string("old"))) << text;
    }
}

class ShareUser : public testing::Test {
  protected:
    int check(const std::string& mode, const std::string& users) {
        machine.remove("/var/log/log.libzav");
        run = machine.operation(
            [&] { return check_user(*find_service(mode), users.c_str(), printed()); });
        return run.returned;
    }
    // The NFS host's code, and what is printed.
    std::pair<int, std::string> host(const std::string& text) {
        const int code = check("nfs", text);
        EXPECT_THAT(machine.logged(), code == 0 ? testing::Matcher<Texts>(IsEmpty())
                                                : ElementsAre("check_user[137]: return with -116"))
            << text;
        return {code, run.out};
    }
    void expect_accepted(const std::string& mode, const std::string& users) {
        EXPECT_EQ(check(mode, users), 0) << mode << " " << users;
        EXPECT_THAT(machine.log(), IsEmpty());
        EXPECT_EQ(run.out, "");
    }
    void expect_refused(int code, const std::string& mode, const std::string& users) {
        EXPECT_EQ(check(mode, users), code) << mode << " " << users;
        EXPECT_THAT(machine.logged(), ElementsAre(returned("check_user", code)));
        EXPECT_EQ(run.out, "");
    }
    // The appliance has users of these names.
    void users_named(const Texts& names) {
        std::string text;
        for (const std::string& name : names) {
            text += name + "|1|\n";
        }
        machine.file(user_file, text);
    }
    ShareMachine machine;
    Result run;
};

TEST_F(ShareUser, OfNfsIsAnAddress) {
    for (const char* address : {"192.168.1.7", "0.0.0.0", "255.255.255.255"}) {
        EXPECT_EQ(host(address), std::pair(0, std::string()));
    }
    for (const char* text : {"", "host", "10.0.0", "1.2.3.4.5", "256.0.0.1", "1.2.3.04", "*",
                             "10.0.0.1 ", " 10.0.0.1", "10.0.0.1(rw)", "10.0.0.1\n", "::1"}) {
        EXPECT_EQ(host(text), std::pair(-116, std::string())) << text;
    }
}

TEST_F(ShareUser, OfNfsMayHaveAPrefixWhichIsPrinted) {
    EXPECT_EQ(host("10.0.0.0/8"), std::pair(0, std::string("ip:10.0.0.0 8\n")));
    EXPECT_EQ(host("10.0.0.0/1"), std::pair(0, std::string("ip:10.0.0.0 1\n")));
    EXPECT_EQ(host("10.0.0.1/32"), std::pair(0, std::string("ip:10.0.0.1 32\n")));
    EXPECT_EQ(host("10.0.0.0/08"), std::pair(0, std::string("ip:10.0.0.0 8\n")));
}

TEST_F(ShareUser, OfNfsIsPrintedBeforeAnyCheck) {
    EXPECT_EQ(host("host/24"), std::pair(-116, std::string("ip:host 24\n")));
    EXPECT_EQ(host("/24"), std::pair(-116, std::string("ip: 24\n")));
    EXPECT_EQ(host("0.0.0.0/0"), std::pair(-116, std::string("ip:0.0.0.0 0\n")));
    EXPECT_EQ(host("10.0.0.0/33"), std::pair(-116, std::string("ip:10.0.0.0 33\n")));
    EXPECT_EQ(host("10.0.0.0/-8"), std::pair(-116, std::string("ip:10.0.0.0 -8\n")));
}

TEST_F(ShareUser, OfNfsHasDigitsOnlyAsAPrefix) {
    for (const auto& [prefix, printed] :
         std::vector<std::pair<std::string, std::string>>{{"", "0"},
                                                          {"x", "0"},
                                                          {"24 x", "24"},
                                                          {"24 *(rw)", "24"},
                                                          {" 24", "24"},
                                                          {"24\n", "24"},
                                                          {"8/9", "8"},
                                                          {"8.5", "8"},
                                                          {"255.0.0.0", "255"}}) {
        EXPECT_EQ(host("10.0.0.0/" + prefix), std::pair(-116, "ip:10.0.0.0 " + printed + "\n"));
    }
}

TEST_F(ShareUser, OfNfsIsKnownByTheModeInAnyCase) {
    EXPECT_EQ(check("NFS", "10.0.0.1/8"), 0);
    EXPECT_EQ(run.out, "ip:10.0.0.1 8\n");
}

TEST_F(ShareUser, OfNfsNeedsNoUserFiles) {
    machine.remove(user_file).remove(passwd);
    EXPECT_EQ(host("10.0.0.1"), std::pair(0, std::string()));
}

TEST_F(ShareUser, IsOneOfTheAppliance) {
    machine.remove(passwd); // the system's users are not needed then
    expect_accepted("samba", "anna");
    expect_accepted("ftp", "bert");
    expect_refused(-612, "iscsi", "carla");
}

TEST_F(ShareUser, OrOneOfTheSystem) {
    expect_accepted("samba", "carla");
    expect_accepted("ftp", "ftpuser");
    expect_refused(-613, "iscsi", "nobody");
}

TEST_F(ShareUser, IsNotLookedForWithoutTheAppliancesFile) {
    machine.remove(user_file);
    expect_refused(-611, "samba", "carla");
}

TEST_F(ShareUser, IsAWholeName) {
    for (const char* name :
         {"ann", "annabe", "anna|1001", "root:x", "annasecret", "Anna", " anna"}) {
        expect_refused(-613, "samba", name);
    }
}

TEST_F(ShareUser, IsNotOneOfAComment) {
    machine.file(user_file, "\n # eve|1|\n\t dora|2|\n#fred|3|\n");
    expect_accepted("samba", "dora");
    for (const char* name : {"eve", "# eve", "fred", "#fred"}) {
        expect_refused(-613, "samba", name);
    }
}

TEST_F(ShareUser, MayBeSeveral) {
    expect_accepted("samba", "anna,carla");
    expect_accepted("iscsi", ",anna,,bert,");
    expect_refused(-613, "samba", "anna,nobody,bert");
    expect_refused(-613, "iscsi", "anna, bert");
}

TEST_F(ShareUser, MayBeNone) {
    machine.remove(user_file);
    for (const char* mode : {"samba", "iscsi"}) {
        expect_accepted(mode, "");
        expect_accepted(mode, ",,");
    }
    expect_accepted("ftp", "");
}

TEST_F(ShareUser, ListIsNeverCut) {
    users_named({"x", std::string(255, 'f'), std::string(256, 'f')});
    const auto list = [](std::size_t length) {
        std::string text = "x";
        while (text.size() + 2 <= length) {
            text += ",x";
        }
        return text + std::string(length - text.size(), ',');
    };
    expect_accepted("iscsi", list(255));
    expect_refused(-613, "iscsi", list(256));
    expect_accepted("ftp", std::string(255, 'f'));
    expect_refused(-613, "ftp", std::string(256, 'f'));
    // "    valid users = " counts in the line of 255 characters.
    expect_accepted("samba", list(237));
    expect_refused(-613, "samba", list(238));
    expect_refused(-613, "Samba", list(238));
}

TEST_F(ShareUser, ThatNoLineCanHoldIsRefused) {
    const Texts names = {"a=b",
                         "a\rb",
                         "a\fb",
                         "a\x1a"
                         "b",
                         "ab+",
                         "ab\\"};
    users_named(names);
    for (const std::string& name : names) {
        expect_refused(-613, "samba", name);
        expect_refused(-613, "iscsi", name);
    }
}

TEST_F(ShareUser, OfFtpIsAPlainFileName) {
    const Texts good = {"a.b", "A_b-9", "x"};
    const Texts bad = {"a b", "a/b", "..", ".", "-a", "a+b", "a;b", "$(x)", "a'b", "a,b"};
    Texts all = good;
    all.insert(all.end(), bad.begin(), bad.end());
    all.insert(all.end(), {"a", "b"});
    users_named(all);
    for (const std::string& name : good) {
        expect_accepted("ftp", name);
    }
    for (const std::string& name : bad) {
        expect_refused(-613, "ftp", name);
        expect_refused(-613, "FTP", name);
    }
}

// Its home would become that of all FTP shares.
TEST_F(ShareUser, OfFtpHasNotUid0) {
    machine.file(user_file, "anna|1001|\nadmin|0|\n");
    machine.file(passwd, "root:x:0:0::/root:/bin/sh\nanna:x:1001:100::/:\nadmin:x:00:100::/:\n"
                         "carla:x:10:0::/:\ndora:x:1003:100::/:\ndora:x:0:0::/:\n");
    for (const char* name : {"root", "admin", "dora"}) {
        expect_refused(-613, "ftp", name);
        expect_refused(-613, "FTP", name);
        expect_accepted("samba", name);
    }
    expect_accepted("ftp", "anna");
    expect_accepted("ftp", "carla");
}

TEST_F(ShareUser, OfFtpIsRefusedWhenItsUidCannotBeRead) {
    machine.remove(passwd).directory(passwd);
    expect_refused(-613, "ftp", "anna");
    expect_accepted("samba", "anna");
    expect_refused(-612, "ftp", "carla");
}

// The services' files would treat it as two users.
TEST_F(ShareUser, HasNoBlanks) {
    users_named({"a b", "a", "b"});
    for (const char* mode : {"samba", "iscsi"}) {
        expect_refused(-613, mode, "a b");
        expect_refused(-613, mode, "a, b");
        expect_accepted(mode, "a,b");
    }
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// Binding users to FTP shares: home directories in /etc/passwd, the FTP server's user files.
#include "actions/shares/ftp_users.h"
#include "base/file_locks.h"
#include "fixtures/library.h"
#include "fixtures/refused_calls.h"
#include "fixtures/share_machine.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string move_command = "mv /tmp/passwd.XXXXXX /etc/passwd > /dev/null";
const std::string save_passwd = "/usr/local/bin/xconf -s /etc/passwd > /dev/null";
const std::string save_list = "/usr/local/bin/xconf -s /etc/vsftpd_user.xml > /dev/null";

std::string merge(const std::string& option, const std::string& user) {
    return "/usr/local/bin/fxml --merge -f /etc/vsftpd_user.xml " + option + " /etc/vsftpd/" +
           user + " > /dev/null";
}

// The machine's /etc/passwd with other home directories for anna and annabel.
std::string passwd_with(const std::string& anna = "/home/anna",
                        const std::string& annabel = "/home/annabel") {
    return "root:x:0:0:root:/root:/bin/sh\nanna:x:1001:100:Anna:" + anna +
           ":/bin/sh\nannabel:x:1004:100::" + annabel +
           ":/bin/false\ncarla:x:1003:100::/home/carla:/bin/sh\n"
           "ftpuser:x:500:500::/home/ftpuser:/bin/sh\n";
}

const std::string annas_file =
    "local_umask=000\nwrite_enable=YES\nidle_session_timeout=60\nlocal_root=/home/ftpuser/pub\n";

// Names that are not plain file names.
const Texts unsafe_users = {"../passwd", "a/b", "a;id", "a b", "$(id)", "`id`",
                            "a|b",       "a&b", "a>b",  "a*",  "a\nb",  "a'b",
                            "..",        ".",   "-a",   "",    "a+b",   "\xc3\xa4"};

class FtpUsers : public testing::Test {
  protected:
    static share_info share_of(const std::string& user) {
        share_info share;
        share.name = "pub";
        share.type = "ftp";
        share.path = "/home/ftpuser/pub";
        share.users = user;
        return share;
    }
    Result rehome(const std::string& user, const std::string& home,
                  const RunOptions& options = {}) {
        return machine.operation(
            [=] {
                AccountLock accounts;
                return rewrite_home(user, home, accounts);
            },
            options);
    }
    Result set(const share_info& share, const RunOptions& options = {}) {
        return machine.operation([=] { return ftp_user_set(share); }, options);
    }
    Result remove(const std::string& user) {
        return machine.operation([=] {
            AccountLock accounts;
            return ftp_user_remove(user, accounts);
        });
    }
    Result bind(const std::string& user) {
        return machine.operation([=] {
            AccountLock accounts;
            return ftp_bind(share_of(user), accounts);
        });
    }
    Result mod(const std::string& user, const Texts& old_users) {
        return machine.operation([=] { return ftp_mod(share_of(user), old_users); });
    }
    void expect_untouched(const std::function<void()>& function) {
        const Snapshot before = machine.snapshot();
        function();
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
    ShareMachine machine;
};

TEST_F(FtpUsers, HomeIsRewrittenInPasswd) {
    const Result run = rehome("anna", "/home/ftpuser");
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with("/home/ftpuser"));
    EXPECT_THAT(outside(run), ElementsAre(move_command, save_passwd));
    EXPECT_THAT(machine.log(), IsEmpty());
}

// A power cut left it while the user was given the share.
TEST_F(FtpUsers, RemovalTakesAnUnfinishedFileAlong) {
    machine.file("/etc/vsftpd/.anna.new", annas_file);
    EXPECT_EQ(remove("anna").returned, 0);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/.anna.new"));
}

TEST_F(FtpUsers, AreNotBoundUnlessItIsDurable) {
    const Result rehomed = machine.operation([] {
        AccountLock accounts;
        deny_syncs();
        return rewrite_home("anna", "/home/ftpuser", accounts);
    });
    EXPECT_LT(rehomed.returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with());
    EXPECT_THAT(rehomed.commands, IsEmpty());
    const Result set = machine.operation([] {
        deny_syncs();
        return ftp_user_set(share_of("anna"));
    });
    EXPECT_LT(set.returned, 0);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(FtpUsers, HomeOfALongerNameStays) {
    EXPECT_EQ(rehome("annabel", "/x").returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with("/home/anna", "/x"));
    EXPECT_EQ(rehome("ann", "/y").returned, 0);
    EXPECT_EQ(rehome("nna", "/y").returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with("/home/anna", "/x"));
}

TEST_F(FtpUsers, HomeOfAnUnknownUserRewritesPasswdAsItIs) {
    const Result run = rehome("dora", "/home/ftpuser");
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with());
    EXPECT_THAT(outside(run), ElementsAre(move_command, save_passwd));
}

TEST_F(FtpUsers, RewritingDropsCommentsEmptyLinesAndBlanksAround) {
    machine.file(passwd, "# users\n\n \t root:x:0:0:r r:/root:/bin/sh  \r\n  # more\n"
                         "anna:x:1:1::/home/anna:\nno user\n   \nlast:x:1:1::/:/bin/sh");
    EXPECT_EQ(rehome("anna", "/h").returned, 0);
    EXPECT_EQ(machine.read(passwd), "root:x:0:0:r r:/root:/bin/sh\nanna:x:1:1::/h:\nno user\n"
                                    "last:x:1:1::/:/bin/sh\n");
}

TEST_F(FtpUsers, RewritingKeepsLinesOfAnyLength) {
    const std::string names(600, 'n');
    machine.file(passwd, "anna:x:1:1:" + names + ":/home/anna:/bin/sh\n# " + names +
                             "\nbert:x:1:1:" + names + ":/:/bin/sh\n");
    EXPECT_EQ(rehome("anna", "/h").returned, 0);
    EXPECT_EQ(machine.read(passwd),
              "anna:x:1:1:" + names + ":/h:/bin/sh\nbert:x:1:1:" + names + ":/:/bin/sh\n");
}

TEST_F(FtpUsers, RewritingKeepsModeAndOwnerOfPasswd) {
    for (const mode_t mode : {0644U, 0640U, 0600U}) {
        machine.file(passwd, passwd_with(), mode);
        EXPECT_EQ(rehome("anna", "/h", {.umask = 077}).returned, 0);
        EXPECT_EQ(machine.mode(passwd), mode);
        EXPECT_EQ(machine.read(passwd), passwd_with("/h"));
    }
}

TEST_F(FtpUsers, PasswdOf301LinesIsRewritten) {
    std::string text = "anna:x:1:1::/home/anna:\n";
    for (int number = 1; number < 301; ++number) {
        text += "user" + std::to_string(number) + ":x:1:1::/:\n";
    }
    machine.file(passwd, "# not counted\n\n" + text);
    EXPECT_EQ(rehome("anna", "/home/anna").returned, 0);
    EXPECT_EQ(machine.read(passwd), text);
}

TEST_F(FtpUsers, PasswdOf302LinesIsLeftAlone) {
    std::string text;
    for (int number = 0; number < 302; ++number) {
        text += "user" + std::to_string(number) + ":x:1:1::/:\n";
    }
    machine.file(passwd, "# kept\n" + text);
    const Result run = rehome("user1", "/h");
    EXPECT_EQ(run.returned, -2);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(machine.read(passwd), "# kept\n" + text);
    EXPECT_THAT(machine.logged(), ElementsAre(returned("read_file", -2)));
}

TEST_F(FtpUsers, PasswdThatIsMissingOrLockedIsMinus1) {
    {
        const LockedFile other(machine.host_path(passwd));
        const Result run = rehome("anna", "/h");
        EXPECT_EQ(run.returned, -1);
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_EQ(machine.read(passwd), passwd_with());
    }
    machine.remove(passwd);
    EXPECT_EQ(rehome("anna", "/h").returned, -1);
    EXPECT_FALSE(machine.exists(passwd));
}

TEST_F(FtpUsers, MoveThatFailsLeavesPasswdAndIsLoggedInItsOwnWording) {
    const auto line = [](const std::string& end) {
        return testing::MatchesRegex("system\\(\"mv /tmp/passwd\\.[A-Za-z0-9]{6} /etc/passwd > "
                                     "/dev/null\"\\) return " +
                                     end + "for'.*'");
    };
    for (const char* end : {"exits", "is killed", "is missing"}) {
        Rule rule = machine.tool(pool_tool::mv).any();
        if (end == std::string("exits")) {
            rule.exits(1);
        } else if (end == std::string("is killed")) {
            rule.killed_by(SIGKILL);
        } else {
            machine.PrivateRoot::remove(pool_tool::mv);
        }
        const Result run = rehome("anna", "/h");
        EXPECT_EQ(run.returned, -11000) << end;
        EXPECT_THAT(outside(run), ElementsAre(move_command)) << end;
        EXPECT_EQ(machine.read(passwd), passwd_with());
    }
    EXPECT_THAT(machine.logged(),
                ElementsAre(line("normal with exit\\(1\\)"), line("unnormal with exit\\(0\\)"),
                            line("normal with exit\\(127\\)")));
}

TEST_F(FtpUsers, IncompletePasswdIsNotMoved) {
    const std::string before = passwd_with() + "long:x:1:1:" + std::string(5000, 'n') + ":/:\n";
    machine.file(passwd, before);
    const Result run = rehome("anna", "/h", with_largest_file(4000)); // large enough for the log
    EXPECT_EQ(run.returned, -11000);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(machine.read(passwd), before);
    EXPECT_THAT(
        machine.logged(),
        ElementsAre(testing::MatchesRegex(
                        "system\\(\"mv /tmp/passwd\\.[A-Za-z0-9]{6} /etc/passwd > /dev/null\"\\) "
                        "return unnormal with exit\\(255\\)for'.*'"),
                    testing::EndsWith("was not run: its copy of the file is incomplete")));
}

TEST_F(FtpUsers, PasswdStaysWithoutATemporaryFile) {
    machine.read_only("/tmp");
    const Result run = rehome("anna", "/h");
    EXPECT_EQ(run.returned, -11000);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(machine.read(passwd), passwd_with());
}

TEST_F(FtpUsers, RewrittenPasswdNeedNotBeSaved) {
    machine.tool(pool_tool::xconf).any().exits(1);
    EXPECT_EQ(rehome("anna", "/h").returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with("/h"));
}

TEST_F(FtpUsers, SettingMakesTheUsersFileFromTheDefaultOnes) {
    const Result run = set(share_of("anna"));
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read("/etc/vsftpd/anna"), annas_file);
    EXPECT_THAT(outside(run), ElementsAre(merge("-a", "anna"), save_list));
    EXPECT_EQ(machine.read(passwd), passwd_with());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(FtpUsers, SettingTakesTheAccessOfTheShare) {
    machine.file(ftp_template, "\n  # x\n \twrite_enable=YES  \n\nother=1\n");
    share_info share = share_of("anna");
    share.write = 0;
    EXPECT_EQ(set(share).returned, 0);
    EXPECT_EQ(machine.read("/etc/vsftpd/anna"),
              "write_enable=NO\nother=1\nlocal_root=/home/ftpuser/pub\n");
    machine.file(ftp_template, "other=1\n");
    EXPECT_EQ(set(share).returned, 0);
    EXPECT_EQ(machine.read("/etc/vsftpd/anna"), "other=1\nlocal_root=/home/ftpuser/pub\n");
}

TEST_F(FtpUsers, UsersFileIsMadeForAll) {
    EXPECT_EQ(set(share_of("anna"), {.umask = 0}).returned, 0);
    EXPECT_EQ(machine.mode("/etc/vsftpd/anna"), 0777u);
    EXPECT_EQ(set(share_of("carla"), {.umask = 022}).returned, 0);
    EXPECT_EQ(machine.mode("/etc/vsftpd/carla"), 0755u);
}

TEST_F(FtpUsers, UsersFileIsReplacedWhole) {
    machine.file("/etc/vsftpd/anna", std::string(500, 'x'), 0600);
    EXPECT_EQ(set(share_of("anna")).returned, 0);
    EXPECT_EQ(machine.read("/etc/vsftpd/anna"), annas_file);
    EXPECT_EQ(machine.mode("/etc/vsftpd/anna"), 0600u);
}

TEST_F(FtpUsers, SettingNeedsTheDefaultUsersFile) {
    machine.PrivateRoot::remove(ftp_template);
    const Result run = set(share_of("anna"));
    EXPECT_EQ(run.returned, -1);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));

    std::string lines;
    for (int number = 0; number < 302; ++number) {
        lines += "x\n";
    }
    machine.file(ftp_template, lines);
    EXPECT_EQ(set(share_of("anna")).returned, -2);
    const LockedFile other(machine.host_path(ftp_template));
    EXPECT_EQ(set(share_of("anna")).returned, -1);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(FtpUsers, UsersFileThatCannotBeOpenedIsMinus511) {
    machine.directory("/etc/vsftpd/anna");
    const Result run = set(share_of("anna"));
    EXPECT_EQ(run.returned, -511);
    EXPECT_THAT(run.commands, IsEmpty());
    machine.symlink("/etc/passwd", "/etc/vsftpd/carla");
    EXPECT_EQ(set(share_of("carla")).returned, -511) << "no link is followed";
    EXPECT_EQ(machine.read(passwd), passwd_with());
}

TEST_F(FtpUsers, UsersFileThatCannotBeWrittenIsMinus512) {
    for (const std::size_t room : {0U, 10U, 40U, 80U}) {
        const Snapshot before = machine.snapshot();
        const Result run = set(share_of("anna"), with_largest_file(room));
        EXPECT_EQ(run.returned, -512) << room;
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty()) << "not even a part";
    }
}

TEST_F(FtpUsers, SettingRefusesNamesThatAreNoFileNames) {
    for (const std::string& user : unsafe_users) {
        expect_untouched([&] {
            const Result run = set(share_of(user));
            EXPECT_EQ(run.returned, -511) << user;
            EXPECT_THAT(run.commands, IsEmpty());
        });
    }
}

TEST_F(FtpUsers, SettingIgnoresWhatTheServersListSays) {
    machine.tool("/usr/local/bin/fxml").any().exits(3);
    const Result run = set(share_of("anna"));
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(outside(run), ElementsAre(merge("-a", "anna"), save_list));
    EXPECT_THAT(machine.logged(), ElementsAre(failed(merge("-a", "anna"), "normal with exit(3)")));
}

TEST_F(FtpUsers, RemovingGivesTheUserItsOwnHomeAndDeletesItsFile) {
    machine.file(passwd, passwd_with("/home/ftpuser")).file("/etc/vsftpd/anna", "x\n");
    machine.tool("/usr/local/bin/fxml").any().does("cp /etc/vsftpd/anna /var/seen");
    const Result run = remove("anna");
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with());
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_EQ(machine.read("/var/seen"), "x\n") << "the list is told while the file is there";
    EXPECT_THAT(outside(run),
                ElementsAre(move_command, save_passwd, merge("-d", "anna"), save_list));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(FtpUsers, RemovingIgnoresWhatTheServersListSays) {
    machine.file("/etc/vsftpd/anna", "x\n");
    machine.tool("/usr/local/bin/fxml").any().killed_by(SIGKILL);
    EXPECT_EQ(remove("anna").returned, 0);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed(merge("-d", "anna"), "unnormal with exit(0)")));
    EXPECT_EQ(remove("anna").returned, 0) << "the file may be gone";
}

TEST_F(FtpUsers, RemovingStopsWhenTheHomeStays) {
    machine.file("/etc/vsftpd/anna", "x\n");
    machine.tool(pool_tool::mv).any().exits(1);
    const Result run = remove("anna");
    EXPECT_EQ(run.returned, -513);
    EXPECT_THAT(outside(run), ElementsAre(move_command));
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(FtpUsers, RemovingRefusesNamesThatAreNoFileNames) {
    for (const std::string& user : unsafe_users) {
        expect_untouched([&] {
            const Result run = remove(user);
            EXPECT_EQ(run.returned, -513) << user;
            EXPECT_THAT(run.commands, IsEmpty());
        });
    }
}

TEST_F(FtpUsers, BindingGivesTheHomeFirst) {
    const Result run = bind("anna");
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with("/home/ftpuser"));
    EXPECT_EQ(machine.read("/etc/vsftpd/anna"), annas_file);
    EXPECT_THAT(outside(run),
                ElementsAre(move_command, save_passwd, merge("-a", "anna"), save_list));
}

TEST_F(FtpUsers, BindingTheDefaultUserTouchesNothing) {
    expect_untouched([&] {
        for (const Result& run : {bind("ftpuser"), mod("ftpuser", {})}) {
            EXPECT_EQ(run.returned, 0);
            EXPECT_THAT(run.commands, IsEmpty());
        }
    });
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(FtpUsers, BindingEndsWithTheStepThatFails) {
    machine.directory("/etc/vsftpd/anna");
    EXPECT_EQ(bind("anna").returned, -511);
    EXPECT_EQ(machine.read(passwd), passwd_with()) << "its file is written before its home";
    machine.tool(pool_tool::mv).any().exits(1);
    EXPECT_EQ(bind("carla").returned, -11000);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/carla"));
}

TEST_F(FtpUsers, ChangingUnbindsTheOldUserAndBindsTheNew) {
    machine.file(passwd, passwd_with("/home/ftpuser")).file("/etc/vsftpd/anna", "x\n");
    const Result run = mod("annabel", {"anna"});
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(passwd), passwd_with("/home/anna", "/home/ftpuser"));
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_EQ(machine.read("/etc/vsftpd/annabel"), annas_file);
    EXPECT_THAT(outside(run),
                ElementsAre(move_command, save_passwd, merge("-d", "anna"), move_command,
                            save_passwd, merge("-a", "annabel"), save_list));
}

TEST_F(FtpUsers, ChangingFromNobodyOnlyBinds) {
    const Result run = mod("anna", {});
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(outside(run),
                ElementsAre(move_command, save_passwd, merge("-a", "anna"), save_list));
    EXPECT_TRUE(machine.exists(ftp_template));
}

TEST_F(FtpUsers, ChangingToTheDefaultUserOnlyUnbinds) {
    machine.file("/etc/vsftpd/anna", "x\n");
    const Result run = mod("ftpuser", {"anna"});
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(outside(run), ElementsAre(move_command, save_passwd, merge("-d", "anna")));
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(FtpUsers, ChangingStopsWhenTheOldHomeStays) {
    machine.file("/etc/vsftpd/anna", "x\n");
    machine.tool(pool_tool::mv).any().exits(1);
    const Result run = mod("annabel", {"anna"});
    EXPECT_EQ(run.returned, -507);
    EXPECT_THAT(outside(run), ElementsAre(move_command));
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_EQ(machine.logged().back(), "ftp_mod[679]: return with -507");
}

TEST_F(FtpUsers, ChangingFailsWhenTheNewUserCannotBeBound) {
    machine.file("/etc/vsftpd/anna", "x\n").directory("/etc/vsftpd/annabel");
    const Result run = mod("annabel", {"anna"});
    EXPECT_EQ(run.returned, -507);
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna")) << "nothing has changed";
    EXPECT_THAT(outside(run), testing::IsEmpty());
    EXPECT_THAT(machine.logged().back(), testing::StartsWith("ftp_mod["));

    machine.remove("/etc/vsftpd/anna");
    machine.tool(pool_tool::mv).any().exits(1);
    EXPECT_EQ(mod("anna", {}).returned, -507);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(FtpUsers, ChangingRefusesNamesThatAreNoFileNames) {
    for (const std::string& user : unsafe_users) {
        expect_untouched([&] {
            if (!user.empty()) {
                const Result run = mod("anna", {user});
                EXPECT_EQ(run.returned, -507) << user;
                EXPECT_THAT(run.commands, IsEmpty());
            }
            const Result run = mod(user, {});
            EXPECT_EQ(run.returned, -507) << user;
            EXPECT_THAT(outside(run), testing::Not(Contains(testing::HasSubstr("fxml"))));
        });
    }
}

} // namespace
} // namespace zav::test

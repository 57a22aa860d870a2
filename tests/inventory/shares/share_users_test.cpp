// SPDX-License-Identifier: MIT
// The users of shares: secrets, the appliance's and the system's users, the FTP server's user
// files.
#include "base/file_locks.h"
#include "fixtures/library.h"
#include "fixtures/share_machine.h"
#include "inventory/share_users.h"

#include <array>
#include <filesystem>
#include <utility>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ShareUsers : public testing::Test {
  protected:
    // The result of looking up a user.
    template <class Look>
    int returned_by(Look look, const std::string& user) {
        return machine.operation([=] { return look(user); }).returned;
    }
    // The result of reading a file's lines, and the lines.
    std::pair<int, Texts> lines_of(const std::string& path, const RunOptions& options = {}) {
        const Result run = machine.operation(
            [=] {
                const auto lines = read_file_lines(path.c_str());
                for (const std::string& line : lines ? *lines : Texts()) {
                    std::puts(line.c_str());
                }
                return lines.code();
            },
            options);
        Texts lines;
        for (const std::string_view line : split(run.out, "\n")) {
            lines.emplace_back(line);
        }
        return {run.returned, lines};
    }
    // The FTP users of a share, joined by blanks.
    std::string users_of(const std::string& share, const RunOptions& options = {}) {
        const Result run = machine.operation(
            [=] {
                const auto users = users_of_share(share);
                const char* separator = "";
                for (const std::string& user : users ? *users : Texts{"unknown"}) {
                    std::printf("%s%s", std::exchange(separator, " "), user.c_str());
                }
                return number_of(users.code());
            },
            options);
        EXPECT_EQ(run.returned, run.out == "unknown" ? -1 : 0);
        return run.out;
    }
    // The names of the FTP server's files in the directory's order.
    Texts in_directory_order() const {
        Texts names;
        for (const auto& entry :
             std::filesystem::directory_iterator(machine.host_path("/etc/vsftpd"))) {
            names.push_back(entry.path().filename());
        }
        return names;
    }
    ShareMachine machine;
};

TEST_F(ShareUsers, SecretIsReadFromTheAppliancesUserFile) {
    machine.file(user_file, "bert|1|bertsecret\nanna|1001|annasecret\n");
    machine.operation([] {
        const auto anna = get_user_secret("anna");
        EXPECT_EQ(anna ? *anna : "none", "annasecret");
        const auto dora = get_user_secret("dora");
        EXPECT_EQ(dora ? *dora : "none", "") << "unknown";
        return 0;
    });
}

TEST_F(ShareUsers, SecretOfAnUnknownUserIsMinus1) {
    machine.operation([] {
        EXPECT_EQ(get_user_secret("").code(), -1);
        return 0;
    });
}

TEST_F(ShareUsers, SecretWithoutAUserFileIsMinus2069) {
    machine.remove(user_file);
    machine.operation([] {
        EXPECT_EQ(get_user_secret("anna").code(), -2069);
        return 0;
    });
}

TEST_F(ShareUsers, UserIsOneOfTheApplianceOrOfTheSystem) {
    EXPECT_EQ(returned_by(check_username, "bert"), 0) << "of the appliance";
    EXPECT_EQ(returned_by(check_username, "carla"), 0) << "of the system";
    EXPECT_EQ(returned_by(check_username, "dora"), -613);
    EXPECT_EQ(returned_by(check_username, "carl"), -613);
    EXPECT_EQ(returned_by(check_username, ""), -613);
}

TEST_F(ShareUsers, UserInACommentIsNone) {
    machine.file(user_file, "# dora|1|\n#dora|1|\n\n  emil|1|\n");
    machine.file(passwd, "#dora:x:1:1::/:\n  franz:x:1:1::/:\n");
    EXPECT_EQ(returned_by(check_username, "dora"), -613);
    EXPECT_EQ(returned_by(check_username, "#dora"), -613);
    EXPECT_EQ(returned_by(check_username, "emil"), 0);
    EXPECT_EQ(returned_by(check_username, "franz"), 0);
}

TEST_F(ShareUsers, UserWithoutItsFilesIsMinus611OrMinus612) {
    machine.remove(passwd);
    EXPECT_EQ(returned_by(check_username, "bert"), 0) << "found before";
    EXPECT_EQ(returned_by(check_username, "carla"), -612);
    machine.remove(user_file);
    EXPECT_EQ(returned_by(check_username, "bert"), -611);
}

TEST_F(ShareUsers, LinesAreTrimmedAndWithoutComments) {
    machine.file("/etc/lines", "one\n\n \t two  \r\n# no\n  # no\n   \nthree # x\nfour");
    EXPECT_EQ(lines_of("/etc/lines"), std::pair(0, Texts{"one", "two", "three # x", "four"}));
}

TEST_F(ShareUsers, LinesOfAnyLengthStayWhole) {
    const std::string text(1000, 'x');
    machine.file("/etc/lines", text + "\n# " + text + "\n" + text + "y\n");
    EXPECT_EQ(lines_of("/etc/lines"), std::pair(0, Texts{text, text + "y"}));
}

TEST_F(ShareUsers, LinesOfAMissingFileAreMinus1) {
    EXPECT_EQ(lines_of("/etc/missing"), std::pair(-1, Texts{}));
    EXPECT_EQ(lines_of("/etc"), std::pair(-1, Texts{}));
    machine.file("/etc/secret", "x\n", 0600);
    EXPECT_EQ(lines_of("/etc/secret", {.uid = 65534}), std::pair(-1, Texts{}));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareUsers, LinesOfALockedFileAreMinus1) {
    for (const short type : {short{F_WRLCK}, short{F_RDLCK}}) {
        const LockedFile other(machine.host_path(passwd), 0, 0, type);
        EXPECT_EQ(lines_of(passwd), std::pair(-1, Texts{}));
    }
    EXPECT_EQ(lines_of(passwd).first, 0);
}

TEST_F(ShareUsers, LinesAreAtMost301) {
    std::string text;
    for (int number = 0; number < 301; ++number) {
        text += std::to_string(number) + "\n# a comment\n\n";
    }
    machine.file("/etc/lines", text);
    EXPECT_EQ(lines_of("/etc/lines").first, 0);
    EXPECT_EQ(lines_of("/etc/lines").second.size(), 301u);
    EXPECT_THAT(machine.log(), IsEmpty());
    machine.file("/etc/lines", text + "301\n");
    EXPECT_EQ(lines_of("/etc/lines").first, -2);
    EXPECT_THAT(machine.logged(), ElementsAre(returned("read_file", -2)));
}

TEST_F(ShareUsers, FtpUsersAreTheRegularFiles) {
    machine.file("/etc/vsftpd/anna", "").file("/etc/vsftpd/.hidden", "");
    machine.directory("/etc/vsftpd/directory").fifo("/etc/vsftpd/fifo");
    machine.symlink("missing", "/etc/vsftpd/dangling");
    const Result run = machine.operation([] {
        EXPECT_THAT(*get_user(24, 31), testing::UnorderedElementsAre("anna", "ftpuser", ".hidden"));
        return 0;
    });
    EXPECT_TRUE(run.has_returned);
}

// The run that wrote it was killed.
TEST_F(ShareUsers, FileThatIsNotInItsPlaceIsNoUsers) {
    machine.file("/etc/vsftpd/.anna.new", "local_root=/home/ftpuser/a\n");
    machine.operation([] {
        EXPECT_THAT(*get_user(24, 31), ElementsAre("ftpuser"));
        return 0;
    });
    EXPECT_EQ(users_of("a"), "");
}

TEST_F(ShareUsers, FtpUsersComeInTheDirectorysOrderUntilTheSlotsAreFull) {
    for (int number = 0; number < 50; ++number) {
        machine.file("/etc/vsftpd/user" + std::to_string(number * 7919 % 1000), "");
    }
    const Texts all = in_directory_order();
    machine.operation([&all] {
        for (const std::size_t slots : {0U, 1U, 24U, 50U, 51U, 60U}) {
            const std::size_t count = std::min(slots, all.size());
            EXPECT_EQ(*get_user(slots, 31),
                      Texts(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)));
        }
        return 0;
    });
}

TEST_F(ShareUsers, FtpUserIsCutToItsSlot) {
    machine.remove(ftp_template).file("/etc/vsftpd/" + std::string(40, 'u'), "");
    machine.operation([] {
        EXPECT_THAT(get_user(24, 31).value_or(std::vector<std::string>()),
                    ElementsAre(std::string(31, 'u')));
        return 0;
    });
}

TEST_F(ShareUsers, FtpUsersWithoutTheirDirectoryCannotBeListed) {
    machine.remove("/etc/vsftpd");
    const auto users = [this] {
        return machine.operation([] { return get_user(24, 31) ? 1 : 0; }).returned;
    };
    EXPECT_EQ(users(), 0);
    machine.file("/etc/vsftpd", "");
    EXPECT_EQ(users(), 0);
    EXPECT_THAT(machine.logged(), ElementsAre("get_user:483 return with No such file or directory",
                                              "get_user:483 return with Not a directory"));
}

TEST_F(ShareUsers, FtpUserHasAFileOfThatName) {
    machine.file("/etc/vsftpd/anna", "").directory("/etc/vsftpd/bert");
    EXPECT_EQ(returned_by(check_user_from_vsftpd, "anna"), 1);
    EXPECT_EQ(returned_by(check_user_from_vsftpd, "ftpuser"), 1);
    for (const char* user : {"ann", "annabel", "Anna", "bert", "", ".", "..", "../passwd"}) {
        EXPECT_EQ(returned_by(check_user_from_vsftpd, user), 0) << user;
    }
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareUsers, FtpUserWithoutADirectoryIsUnknown) {
    machine.remove("/etc/vsftpd");
    EXPECT_EQ(returned_by(check_user_from_vsftpd, "anna"), -1);
    machine.file("/etc/vsftpd", "");
    EXPECT_EQ(returned_by(check_user_from_vsftpd, "anna"), -1);
    const std::string message = "check_user_from_vsftpd[125]: return with -1";
    EXPECT_THAT(machine.logged(), ElementsAre(message, message));
}

TEST_F(ShareUsers, FtpUserInADirectoryThatCannotBeListedIsUnknown) {
    machine.directory("/etc/vsftpd", 0700).file("/var/log/log.libzav", "", 0666);
    const Result run =
        machine.operation([] { return check_user_from_vsftpd("anna"); }, {.uid = 65534});
    EXPECT_EQ(run.returned, -1);
    EXPECT_THAT(machine.logged(), ElementsAre("check_user_from_vsftpd[133]: return with -2"));
}

TEST_F(ShareUsers, UsersOfAShareAreTakenToADirectoryOfItsName) {
    machine.file("/etc/vsftpd/anna", "x=1\nlocal_root=/home/ftpuser/a\n");
    machine.file("/etc/vsftpd/bert", "  local_root = x=/elsewhere/b  \r\nlocal_root=/c\n");
    machine.file("/etc/vsftpd/carla", "#local_root=/d\nxlocal_root=/d\nlocal_roots=/d\n");
    machine.file(ftp_template, "local_root=/home/ftpuser/e\n");
    EXPECT_EQ(users_of("a"), "anna");
    EXPECT_EQ(users_of("b"), "bert");
    for (const char* none : {"", "ab", "c", "d", "ftpuser"}) {
        EXPECT_EQ(users_of(none), "") << none;
    }
    EXPECT_EQ(users_of("e"), "") << "the default user has no share of its own";
}

TEST_F(ShareUsers, UsersOfAShareAreAllOfTheDirectory) {
    for (const char* user : {"anna", "bert", "carla", "dora"}) {
        machine.file(std::string("/etc/vsftpd/") + user, "local_root=/home/ftpuser/a\n");
    }
    Texts order = in_directory_order();
    std::erase(order, "ftpuser");
    EXPECT_EQ(users_of("a"), order[0] + " " + order[1] + " " + order[2] + " " + order[3]);
}

TEST_F(ShareUsers, UsersOfAShareAreLookedForAmongAllFiles) {
    const std::string last(60, 'u');
    for (int number = 0; number < 40; ++number) {
        const std::string user = last.substr(0, 20U + static_cast<unsigned>(number));
        machine.file("/etc/vsftpd/" + user, "local_root=/x/" + std::to_string(number) + "\n");
    }
    for (int number = 0; number < 40; ++number) {
        EXPECT_EQ(users_of(std::to_string(number)).size(), 20U + static_cast<unsigned>(number));
    }
}

TEST_F(ShareUsers, UsersOfAShareAreMissingWithoutFiles) {
    machine.directory("/etc/vsftpd/directory").fifo("/etc/vsftpd/fifo");
    machine.symlink("missing", "/etc/vsftpd/dangling");
    EXPECT_EQ(users_of("a"), "");
    machine.remove("/etc/vsftpd");
    EXPECT_EQ(users_of("a"), "");
    machine.file("/etc/vsftpd", "");
    EXPECT_EQ(users_of("a"), "");
}

TEST_F(ShareUsers, UsersOfAShareAreUnknownWhenAFileCannotBeRead) {
    machine.file("/etc/vsftpd/bert", "", 0600);
    EXPECT_EQ(users_of("a", {.uid = 65534}), "unknown");
    machine.remove("/etc/vsftpd/bert").directory("/etc/vsftpd", 0700);
    EXPECT_EQ(users_of("a", {.uid = 65534}), "unknown");
    machine.bind("/proc/self/mem", "/etc/vsftpd/bert", true);
    EXPECT_EQ(users_of("a"), "unknown") << "its beginning cannot be read";
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// The users that are bound to an FTP share: all that the FTP server takes there, and nobody else.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class BoundUsers : public ShareOperation {
  protected:
    // Bound at their homes and in the server's files.
    void has_two_users() {
        machine.file("/etc/vsftpd/anna", "local_root=/home/ftpuser/pub\n");
        machine.file("/etc/vsftpd/carla", "local_root=/home/ftpuser/pub\n");
        machine.file(passwd, users_at("/home/ftpuser", "/home/ftpuser"));
    }
    static std::string users_at(const std::string& anna, const std::string& carla) {
        return "anna:x:1001:100:Anna:" + anna + ":/bin/sh\ncarla:x:1003:100::" + carla +
               ":/bin/sh\n";
    }
    void expect_both_free() {
        EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
        EXPECT_EQ(machine.read(passwd), users_at("/home/anna", "/home/carla"));
    }
    Result edit(int state, const std::string& users = "ftpuser") {
        return operate([=] {
            share_info share = share_of("ftp", users.c_str());
            return edit_share(share, state, printed());
        });
    }
    Result remove() {
        return operate([] { return delete_share("pub", printed()); });
    }
};

TEST_F(BoundUsers, AllAreFreedWhenTheShareIsForbidden) {
    has_share("ftp");
    has_two_users();
    EXPECT_EQ(edit(0).returned, 0);
    expect_both_free();
    has_two_users();
    EXPECT_EQ(edit(0).returned, 0) << "also when it is forbidden already";
    expect_both_free();
}

TEST_F(BoundUsers, AllAreFreedWhenTheShareIsDeleted) {
    has_share("ftp");
    has_two_users();
    EXPECT_EQ(remove().returned, 0);
    expect_both_free();
    has_forbidden_share();
    has_two_users();
    EXPECT_EQ(remove().returned, 0) << "also a forbidden one";
    expect_both_free();
}

TEST_F(BoundUsers, AllAreFreedForAnotherOne) {
    has_share("ftp");
    has_two_users();
    EXPECT_EQ(edit(1).returned, 0);
    expect_both_free();
    has_two_users();
    EXPECT_EQ(edit(1, "carla").returned, 0);
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("carla", "ftpuser"));
    EXPECT_EQ(machine.read(passwd), users_at("/home/anna", "/home/ftpuser"));
}

TEST_F(BoundUsers, ThoseThatAreLeftAreFreedWhenItIsPutInUse) {
    has_forbidden_share();
    machine.file("/etc/vsftpd/anna", "local_root=/home/ftpuser/pub\n");
    machine.file(passwd, users_at("/home/ftpuser", "/home/carla"));
    const Result result = edit(1, "carla");
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("carla", "ftpuser"));
    EXPECT_EQ(machine.read(passwd), users_at("/home/anna", "/home/ftpuser"));
    has_forbidden_share();
    EXPECT_EQ(edit(1).returned, 0);
    expect_both_free();
    has_forbidden_share();
    has_two_users();
    EXPECT_EQ(edit(1, "anna").returned, 0);
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("anna", "ftpuser"));
}

TEST_F(BoundUsers, NothingIsMountedForOneWhoCannotBeFreed) {
    has_forbidden_share();
    has_two_users();
    fails(pool_tool::mv, "mv /tmp/passwd.");
    const Result result = edit(1, "carla");
    EXPECT_EQ(result.returned, -507);
    EXPECT_THAT(result.commands, Not(Contains(xfs_mount("/dev/data/pub", ftp_directory))));
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(BoundUsers, OfAnotherDirectoryOfTheNameAreNotThoseOfAForbiddenShare) {
    has_forbidden_share();
    machine.file("/etc/vsftpd/anna", "local_root=/srv/pub\n");
    EXPECT_EQ(remove().returned, 0);
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
}

// The users make their directories themselves.
TEST_F(BoundUsers, AreNotToldByADirectory) {
    for (const int state : {0, 1, 2}) {
        has_share("ftp");
        const std::string users = users_at("/home/anna", "/home/ftpuser");
        machine.file("/etc/vsftpd/carla", "local_root=/home/ftpuser/own\n");
        machine.directory("/home/carla/pub").file(passwd, users);
        machine.remove("/home/ftpuser/pub");
        EXPECT_EQ((state == 2 ? remove() : edit(state)).returned, 0) << state;
        EXPECT_TRUE(machine.exists("/etc/vsftpd/carla")) << state;
        EXPECT_EQ(machine.read(passwd), users) << state;
    }
}

} // namespace
} // namespace zav::test

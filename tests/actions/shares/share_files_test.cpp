// SPDX-License-Identifier: MIT
// The share register and the services' files: read, rewritten, locked.
#include "actions/shares/files.h"
#include "base/file_locks.h"
#include "fixtures/library.h"
#include "fixtures/share_lists.h"
#include "fixtures/share_machine.h"
#include "inventory/shares.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto first_export = "/mnt/data/pub *(rw,sync,no_root_squash)\n";

share_info new_share(const char* type, const char* name = "new") {
    share_info share;
    share.name = name;
    share.type = type;
    share.path = std::string("/mnt/data/") + name;
    share.size = {2};
    return share;
}

Code open_register() {
    return ShareFiles().open({&share_register_file()});
}

Code rewrite_file(const ShareFile* file) {
    ShareFiles files;
    const Code result = files.open({file});
    return failed(result) ? result : files.write({file});
}

class FilesOfShares : public testing::Test {
  protected:
    // Opens the file of a service, adds a share, writes it.
    Result add(const ShareFile* file, const share_info& share, const RunOptions& options = {}) {
        return machine.operation(
            [=] {
                ShareFiles files;
                if (const Code result = files.open({file}); failed(result)) {
                    return result;
                }
                files.shares(*file).append(std::make_unique<share_info>(share));
                return files.write({file});
            },
            options);
    }
    ShareMachine machine;
};

TEST_F(FilesOfShares, OpeningMakesAMissingFileForItsOwnerOnly) {
    const Result run = machine.operation([] {
        FileDescriptor fd;
        EXPECT_EQ(file_lock_open("/etc/new", fd, Code::service_file_unopened), 0);
        EXPECT_TRUE(fd);
        return ::fcntl(fd.get(), F_GETFL) & O_ACCMODE;
    });
    EXPECT_EQ(run.returned, O_RDWR);
    EXPECT_EQ(machine.read("/etc/new"), "");
    EXPECT_EQ(machine.mode("/etc/new"), 0700u);
}

TEST_F(FilesOfShares, OpeningLeavesContentAndModeOfAFile) {
    machine.file("/etc/old", "text\n", 0640);
    EXPECT_EQ(machine
                  .operation([] {
                      FileDescriptor fd;
                      return file_lock_open("/etc/old", fd, Code::service_file_unopened);
                  })
                  .returned,
              0);
    EXPECT_EQ(machine.read("/etc/old"), "text\n");
    EXPECT_EQ(machine.mode("/etc/old"), 0640u);
}

TEST_F(FilesOfShares, OpeningFailsWithoutADirectory) {
    machine.directory("/etc/dir");
    const auto open = [this](const char* path, const RunOptions& options = {}) {
        return machine
            .operation(
                [path] {
                    FileDescriptor fd;
                    const auto result = file_lock_open(path, fd, Code::service_file_unopened);
                    EXPECT_FALSE(fd);
                    return result;
                },
                options)
            .returned;
    };
    EXPECT_EQ(open("/missing/file"), -2061);
    EXPECT_EQ(open("/etc/dir"), -2061);
    EXPECT_EQ(open(share_register, {.uid = 65534}), -2061);
    EXPECT_FALSE(machine.exists("/missing"));
}

TEST_F(FilesOfShares, OpenFileIsLockedUntilItIsClosed) {
    machine.tool("/bin/tool").any().does("echo > /var/open; while ! [ -e /var/go ]; do :; done");
    StartedRun run = machine.start_call([] {
        FileDescriptor fd;
        EXPECT_EQ(file_lock_open(share_register, fd, Code::service_file_unopened), 0);
        return std::system("/bin/tool");
    });
    ASSERT_TRUE(machine.appears("/var/open"));
    EXPECT_THROW(LockedFile(machine.host_path(share_register)), std::runtime_error);
    EXPECT_THROW(LockedFile(machine.host_path(share_register), 5000, 1), std::runtime_error);
    EXPECT_THROW(LockedFile(machine.host_path(share_register), 0, 0, F_RDLCK), std::runtime_error);
    machine.file("/var/go", "");
    EXPECT_EQ(run.wait().returned, 0);
    EXPECT_NO_THROW(LockedFile(machine.host_path(share_register)));
}

TEST_F(FilesOfShares, SecondProcessIsTurnedAwayAtOnce) {
    machine.file(exports, first_export);
    for (const short type : {short{F_WRLCK}, short{F_RDLCK}}) {
        const LockedFile other(machine.host_path(exports), 0, 0, type);
        EXPECT_EQ(add(live_file("nfs"), new_share("nfs")).returned, -2062);
        EXPECT_EQ(machine
                      .operation([] {
                          FileDescriptor fd;
                          const auto result =
                              file_lock_open(exports, fd, Code::service_file_unopened);
                          EXPECT_FALSE(fd);
                          return result;
                      })
                      .returned,
                  -2062);
        EXPECT_EQ(machine.read(exports), first_export);
    }
    EXPECT_EQ(add(live_file("nfs"), new_share("nfs")).returned, 0);
}

TEST_F(FilesOfShares, LockOnAnyPartOfAFileTurnsAway) {
    const LockedFile other(machine.host_path(share_register), 100000, 1);
    EXPECT_EQ(machine.operation(open_register).returned, -2062);
}

TEST_F(FilesOfShares, EachFileIsLockedForItself) {
    const LockedFile other(machine.host_path(smb_conf));
    EXPECT_EQ(add(live_file("nfs"), new_share("nfs")).returned, 0);
    EXPECT_EQ(add(recycle_file("samba"), new_share("samba")).returned, 0);
    EXPECT_EQ(add(live_file("samba"), new_share("samba")).returned, -2062);
    EXPECT_EQ(machine.operation(open_register).returned, 0);
}

// The tool that saves a file runs while the file is still locked.
TEST_F(FilesOfShares, LockEndsAfterTheFileIsSaved) {
    machine.tool(pool_tool::xconf)
        .any()
        .does("echo > /var/saving; "
              "while ! [ -e /var/go ]; do :; done");
    StartedRun run = machine.start_call([] { return rewrite_file(live_file("nfs")); });
    ASSERT_TRUE(machine.appears("/var/saving"));
    EXPECT_THROW(LockedFile(machine.host_path(exports)), std::runtime_error);
    machine.file("/var/go", "");
    EXPECT_EQ(run.wait().returned, 0);
}

TEST_F(FilesOfShares, ToolsInheritNoLockedFile) {
    const auto open_in_the_tool = [this](const Function& write) {
        machine.tool(pool_tool::xconf)
            .any()
            .does("for fd in /proc/self/fd/*; do readlink $fd; done > /var/fds");
        EXPECT_EQ(machine.operation(write).returned, 0);
        return machine.read("/var/fds");
    };
    EXPECT_THAT(open_in_the_tool([] { return rewrite_file(live_file("nfs")); }),
                testing::Not(testing::HasSubstr(exports)));
    EXPECT_THAT(open_in_the_tool([] { return rewrite_file(&share_register_file()); }),
                testing::Not(testing::HasSubstr(share_register)));
}

TEST_F(FilesOfShares, RegisterIsWrittenAndSaved) {
    machine.shares({{}, {.name = "b", .service = "", .path = "/mnt/b", .size = "0"}});
    const Result run = machine.operation([] {
        ShareFiles entries;
        EXPECT_EQ(entries.open({&share_register_file()}), 0);
        entries.registered().append(std::make_unique<share_info>(new_share("iscsi")));
        return entries.write({&share_register_file()});
    });
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(share_register),
              register_section({}) +
                  register_section({.name = "b", .service = "", .path = "/mnt/b", .size = "0"}) +
                  register_section(
                      {.name = "new", .service = "iscsi", .path = "/mnt/data/new", .size = "2"}));
    EXPECT_THAT(outside(run), ElementsAre(saved(share_register)));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(FilesOfShares, RegisterWithoutSharesIsEmptyAndSaved) {
    machine.shares({{}});
    const Result run = machine.operation([] {
        ShareFiles entries;
        EXPECT_EQ(entries.open({&share_register_file()}), 0);
        entries.registered().clear();
        return entries.write({&share_register_file()});
    });
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_THAT(outside(run), ElementsAre(saved(share_register)));
}

TEST_F(FilesOfShares, MalformedRegisterIsNotUsed) {
    machine.file(share_register, register_section({}) + "[broken\n");
    EXPECT_EQ(machine.operation(open_register).returned, -2063);
    EXPECT_EQ(machine.read(share_register), register_section({}) + "[broken\n");
}

TEST_F(FilesOfShares, RegisterThatCannotBeOpenedIsMinus2060) {
    machine.remove(share_register).directory(share_register);
    EXPECT_EQ(machine.operation(open_register).returned, -2060);
}

TEST_F(FilesOfShares, AThousandSharesComeBackByteForByte) {
    std::string text;
    for (int number = 0; number < 1000; ++number) {
        const std::string name = "share" + std::to_string(number);
        text +=
            register_section({.name = name, .path = "/mnt/data/" + name, .comment = "no " + name});
    }
    machine.file(share_register, text);
    const Result run = machine.operation([] {
        ShareFiles entries;
        EXPECT_EQ(entries.open({&share_register_file()}), 0);
        EXPECT_EQ(entries.registered().size(), 1000u);
        return entries.write({&share_register_file()});
    });
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(share_register), text);
}

TEST_F(FilesOfShares, SambaFileKeepsItsGlobalPart) {
    machine.file(smb_conf,
                 std::string(samba_global) + "  # kept = as it is \n[old]\npath = /old\n");
    const Result run = add(live_file("samba"), new_share("samba"));
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(smb_conf), std::string(samba_global) + "  # kept = as it is \n" +
                                          samba_section("old", "/old") +
                                          samba_section("new", "/mnt/data/new"));
    EXPECT_THAT(outside(run), ElementsAre(saved(smb_conf)));
}

TEST_F(FilesOfShares, SambaFileIsCutAtItsSecondBracketWhereverItStands) {
    machine.file(smb_conf, "[global]\n# see [x]\nworkgroup = NAS\n[old]\npath = /old\n");
    EXPECT_EQ(add(live_file("cifs"), new_share("samba")).returned, 0);
    EXPECT_EQ(machine.read(smb_conf), "[global]\n# see " + samba_section("old", "/old") +
                                          samba_section("new", "/mnt/data/new"));
}

TEST_F(FilesOfShares, SambaFileWithoutAGlobalPartHasItsFirstShareOnce) {
    const std::string old = samba_section("old", "/old");
    machine.file(smb_conf, old);
    EXPECT_EQ(add(live_file("samba"), new_share("samba")).returned, 0);
    EXPECT_EQ(machine.read(smb_conf), old + samba_section("new", "/mnt/data/new"));
}

TEST_F(FilesOfShares, EmptySambaFileGetsItsSectionsOnly) {
    machine.file(smb_conf, "");
    EXPECT_EQ(add(live_file("samba"), new_share("samba")).returned, 0);
    EXPECT_EQ(machine.read(smb_conf), samba_section("new", "/mnt/data/new"));
}

TEST_F(FilesOfShares, SectionsBeginOnALineOfTheirOwn) {
    machine.file(smb_conf, "[global]\nworkgroup = NAS");
    EXPECT_EQ(add(live_file("samba"), new_share("samba")).returned, 0);
    EXPECT_EQ(machine.read(smb_conf),
              "[global]\nworkgroup = NAS\n" + samba_section("new", "/mnt/data/new"));
}

TEST_F(FilesOfShares, SambaFileWithoutSharesIsItsGlobalPartAndSaved) {
    machine.file(smb_conf, samba_global + samba_section("old", "/old"));
    const Result run = machine.operation([] {
        ShareFiles files;
        const ShareFile* samba = live_file("samba");
        EXPECT_EQ(files.open({samba}), 0);
        files.shares(*samba).clear();
        return files.write({samba});
    });
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    EXPECT_THAT(outside(run), ElementsAre(saved(smb_conf)));
}

TEST_F(FilesOfShares, SambaRecycleFileHasNoGlobalPartAndItsOwnSpelling) {
    machine.file(smb_recycle, "[global]\nx = y\n[old]\npath = /old\nwriteable = no\n");
    const Result run = add(recycle_file("cifs"), new_share("samba"));
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(smb_recycle),
              samba_section("old", "/old", "", "", "writeable = no") +
                  samba_section("new", "/mnt/data/new", "", "", "writeable = yes"));
    EXPECT_THAT(outside(run), ElementsAre(saved(smb_recycle)));
}

TEST_F(FilesOfShares, ExportsAreTheirSharesOnly) {
    machine.file(exports, std::string("# comment\n\n") + "/mnt/data/pub host(ro,sync)\n");
    const Result run = add(live_file("nfs"), new_share("nfs"));
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub host(rw,sync,no_root_squash)\n"
                                     "/mnt/data/new *(rw,sync,no_root_squash)\n");
    EXPECT_THAT(outside(run), ElementsAre(saved(exports)));
}

TEST_F(FilesOfShares, ForbiddenExportsAreSavedUnderAnotherName) {
    const Result run = add(recycle_file("nfs"), new_share("nfs"));
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read(exports_recycle), "/mnt/data/new *(rw,sync,no_root_squash)\n");
    EXPECT_THAT(outside(run), ElementsAre(saved("/etc/exports_recy.conf")));
    EXPECT_FALSE(machine.exists("/etc/exports_recy.conf"));
}

TEST_F(FilesOfShares, TargetsGetTheSecretsOfTheirUsers) {
    share_info share = new_share("iscsi", "disk1.20240502140305");
    share.path = "/dev/data/disk1";
    share.users = "anna,bert dora";
    machine.file(user_file, "anna|1001|annas longer secret\nbert|1002|\n");
    const Result run = add(live_file("iscsi"), share);
    EXPECT_EQ(run.returned, 0);
    const std::string block =
        "Target iqn.2006-05.com.nas:disk1.20240502140305\n\tIncomingUser anna annas longer\n"
        "\tIncomingUser bert \n\tIncomingUser dora \n"
        "\tLun 0 Path=/dev/data/disk1,Type=fileio,IOMode=wb\n\tHeaderDigest\tNone,None\n"
        "\tDataDigest\tNone,None\n\tWthreads\t16\n";
    EXPECT_EQ(machine.read(targets), block);
    EXPECT_THAT(outside(run), ElementsAre(saved(targets)));

    EXPECT_EQ(add(live_file("iscsi"), new_share("iscsi", "x.y")).returned, 0);
    EXPECT_TRUE(machine.read(targets).starts_with(block)) << "rewritten as it was";
}

TEST_F(FilesOfShares, TargetsWithoutAUserFileHaveEmptySecrets) {
    machine.remove(user_file);
    share_info share = new_share("iscsi", "x.y");
    share.users = "anna";
    EXPECT_EQ(add(live_file("iscsi"), share).returned, 0);
    EXPECT_THAT(machine.read(targets), testing::HasSubstr("\n\tIncomingUser anna \n\tLun"));
    EXPECT_FALSE(machine.exists(user_file));
}

TEST_F(FilesOfShares, TargetGetsTheLocalTimeOfItsWriting) {
    const auto now = [] {
        std::array<char, 20> text = {};
        const std::time_t time = std::time(nullptr) + 9000; // the time zone's two and a half hours
        std::strftime(text.data(), text.size(), "%Y%m%d%H%M%S", std::gmtime(&time));
        return std::string(text.data());
    };
    const std::string before = now();
    EXPECT_EQ(
        add(live_file("iscsi"), new_share("iscsi", "disk1"), {.environment = {{"TZ", "XYZ-2:30"}}})
            .returned,
        0);
    const std::string start = "Target iqn.2006-05.com.nas:disk1.";
    const std::string line = machine.read(targets).substr(0, start.size() + 14);
    EXPECT_GE(line, start + before);
    EXPECT_LE(line, start + now());
}

TEST_F(FilesOfShares, FtpHasNoFile) {
    const Snapshot before = machine.snapshot();
    const Result run = add(live_file("ftp"), new_share("ftp"));
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(FilesOfShares, AreMadeWhenTheyAreMissing) {
    for (const char* path : {smb_conf, exports, targets, smb_recycle, exports_recycle}) {
        machine.remove(path);
    }
    for (const char* service : {"samba", "nfs", "iscsi"}) {
        EXPECT_EQ(add(live_file(service), new_share(service)).returned, 0) << service;
    }
    for (const char* service : {"samba", "nfs"}) {
        EXPECT_EQ(add(recycle_file(service), new_share(service)).returned, 0) << service;
    }
    for (const char* path : {smb_conf, exports, targets, smb_recycle, exports_recycle}) {
        EXPECT_EQ(machine.mode(path), 0700u) << path;
    }
    EXPECT_EQ(machine.read(smb_conf), samba_section("new", "/mnt/data/new"));
}

TEST_F(FilesOfShares, ServicesAreKnownByNameInAnyCase) {
    const auto path_of = [](const ShareFile* file) {
        return file == nullptr ? "unknown" : file->path == nullptr ? "none" : file->path;
    };
    for (const auto& [service, live, recycle] :
         std::vector<std::array<const char*, 3>>{{"Samba", smb_conf, smb_recycle},
                                                 {"CIFS", smb_conf, smb_recycle},
                                                 {"Ftp", "none", "unknown"},
                                                 {"Nfs", exports, exports_recycle},
                                                 {"Iscsi", targets, "unknown"},
                                                 {"samba", smb_conf, smb_recycle},
                                                 {"cifs", smb_conf, smb_recycle},
                                                 {"nFS", exports, exports_recycle},
                                                 {"iSCSI", targets, "unknown"},
                                                 {"ftp", "none", "unknown"},
                                                 {"", "unknown", "unknown"},
                                                 {"samb", "unknown", "unknown"},
                                                 {"samba2", "unknown", "unknown"}}) {
        EXPECT_STREQ(path_of(live_file(service)), live) << service;
        EXPECT_STREQ(path_of(recycle_file(service)), recycle) << service;
    }
}

// A lock that keeps readers and writers of one file apart, held until it is destroyed.
class Flock {
  public:
    Flock(const ShareMachine& machine, const char* path, int operation)
        : fd_(::open(machine.host_path(path).c_str(), O_RDONLY | O_CLOEXEC)),
          held_(fd_.get() >= 0 && ::flock(fd_.get(), operation | LOCK_NB) == 0) {}
    bool is_held() const { return held_; }

  private:
    FileDescriptor fd_;
    bool held_;
};

constexpr useconds_t while_it_waits = 300000;

TEST_F(FilesOfShares, AreReadAsTheyAreAtOneMoment) {
    machine.file(share_register, register_section({}));
    auto writing = std::make_unique<Flock>(machine, smb_conf, LOCK_EX);
    StartedRun reading = machine.start_call([] {
        share_list list;
        return collect_shares(list);
    });
    ::usleep(while_it_waits);
    EXPECT_FALSE(Flock(machine, share_register, LOCK_EX).is_held())
        << "whoever changes several files locks the register first";
    writing.reset();
    EXPECT_EQ(reading.wait().returned, 0);
}

TEST_F(FilesOfShares, AreNotWrittenWhileTheRegisterIsRead) {
    auto reading = std::make_unique<Flock>(machine, share_register, LOCK_SH);
    StartedRun writing = machine.start_call([] {
        zav::ShareFiles files;
        const ShareFile* file = live_file("nfs");
        EXPECT_EQ(files.open({file}), 0);
        files.shares(*file).append(std::make_unique<share_info>(new_share("nfs")));
        return files.write({file});
    });
    ::usleep(while_it_waits);
    EXPECT_EQ(machine.read(exports), "");
    reading.reset();
    EXPECT_EQ(writing.wait().returned, 0);
    EXPECT_EQ(machine.read(exports), "/mnt/data/new *(rw,sync,no_root_squash)\n");
}

TEST_F(FilesOfShares, UnknownServiceIsMinus2068) {
    machine.file(exports, first_export);
    machine.operation([] {
        ShareFiles file;
        EXPECT_EQ(service_conf_open(file, "smb"), -2068);
        EXPECT_EQ(recy_conf_open(file, "ftp"), -2068);
        EXPECT_EQ(recy_conf_open(file, "iscsi"), -2068);
        EXPECT_EQ(service_conf_open(file, "NFS"), 0);
        EXPECT_EQ(file.shares(*live_file("nfs")).size(), 1u);
        EXPECT_EQ(service_conf_open(file, "ftp"), 0);
        return 0;
    });
}

} // namespace
} // namespace zav::test

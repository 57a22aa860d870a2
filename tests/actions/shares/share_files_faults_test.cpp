// SPDX-License-Identifier: MIT
// Faults of the share files: they cannot be opened, are malformed, are on a full disk, or the tool
// that saves them is missing.
#include "actions/shares/files.h"
#include "base/codes.h"
#include "fixtures/library.h"
#include "fixtures/share_machine.h"
#include "sources/share_register.h"

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Case {
    const char* service;
    bool is_live;
    const char* path;
    const char* malformed; // content
    std::string written;   // the contents with one new share
};

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"samba", true, smb_conf, "[broken\n", samba_section("new", "/new")},
        {"samba", false, smb_recycle, "[a]\nnot a key\n",
         samba_section("new", "/new", "", "", "writeable = yes")},
        {"nfs", true, exports, "/a b(rw) c(rw)\n", "/new *(rw,sync,no_root_squash)\n"},
        {"nfs", false, exports_recycle, "/a b(rw) c(rw)\n", "/new *(rw,sync,no_root_squash)\n"},
        {"iscsi", true, targets, nullptr,
         "Target iqn.2006-05.com.nas:new.1\n\tIncomingUser dora \n"
         "\tLun 0 Path=/new,Type=fileio,IOMode=wb\n\tHeaderDigest\tNone,None\n"
         "\tDataDigest\tNone,None\n\tWthreads\t16\n"},
    };
    return all;
}

// Rewrites the file with one share.
Result rewrite(ShareMachine& machine, const Case& test, const RunOptions& options = {}) {
    return machine.operation(
        [&test] {
            OpenServiceFile file;
            const ShareFile* service =
                test.is_live ? live_file(test.service) : recycle_file(test.service);
            if (const Code result = file.open(*service); failed(result)) {
                return result;
            }
            share_info& share = file.shares().append();
            share.name = test.service == std::string("iscsi") ? "new.1" : "new";
            share.path = "/new";
            share.users = test.service == std::string("iscsi") ? "dora" : "";
            return file.write();
        },
        options);
}

TEST(ShareFileFault, FileThatCannotBeOpenedIsMinus2061) {
    for (const Case& test : cases()) {
        ShareMachine machine;
        machine.remove(test.path).directory(test.path);
        const Result run = rewrite(machine, test);
        EXPECT_EQ(run.returned, -2061) << test.path;
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST(ShareFileFault, MalformedFileIsMinus2063AndStays) {
    for (const Case& test : cases()) {
        if (test.malformed == nullptr) {
            continue; // targets are never malformed
        }
        ShareMachine machine;
        machine.file(test.path, test.malformed);
        const Result run = rewrite(machine, test);
        EXPECT_EQ(run.returned, -2063) << test.path;
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_EQ(machine.read(test.path), test.malformed);
    }
}

TEST(ShareFileFault, FullDiskLeavesTheFileShortAndUnsaved) {
    for (const Case& test : cases()) {
        for (std::size_t room = 0; room < test.written.size(); room += 13) {
            ShareMachine machine;
            machine.file(test.path, "");
            const Result run = rewrite(machine, test, with_largest_file(room));
            EXPECT_EQ(run.returned, -2065) << test.path << " " << room;
            EXPECT_THAT(run.commands, IsEmpty());
            EXPECT_EQ(machine.read(test.path), test.written.substr(0, room));
        }
        ShareMachine machine;
        machine.file(test.path, "");
        EXPECT_EQ(rewrite(machine, test).returned, 0);
        EXPECT_EQ(machine.read(test.path), test.written);
    }
}

TEST(ShareFileFault, FullDiskKeepsSambasGlobalPart) {
    ShareMachine machine;
    machine.file(smb_conf, samba_global + samba_section("old", "/old"));
    const std::size_t global = std::string(samba_global).size();
    EXPECT_EQ(rewrite(machine, cases().front(), with_largest_file(global + 5)).returned, -2065);
    EXPECT_EQ(machine.read(smb_conf), std::string(samba_global) + "[old]");
}

TEST(ShareFileFault, FullDiskAfterAnOpenLineIsMinus2065) {
    ShareMachine machine;
    machine.file(smb_conf, "[global]");
    const Result run = rewrite(machine, cases().front(), with_largest_file(8));
    EXPECT_EQ(run.returned, -2065);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(machine.read(smb_conf), "[global]");
}

TEST(ShareFileFault, FullDiskLeavesTheRegisterShort) {
    for (const std::size_t room : {0U, 1U, 6U, 20U, 150U}) {
        ShareMachine machine;
        machine.shares({{}, {.name = "b"}});
        const std::string before = machine.read(share_register);
        const Result run = machine.operation(
            [] {
                FileDescriptor fd;
                share_list list;
                EXPECT_EQ(file_lock_open(share_register, fd, Code::service_file_unopened), 0);
                EXPECT_EQ(share_list_read(fd, list), 0);
                return share_list_write(fd, list);
            },
            with_largest_file(room));
        EXPECT_EQ(run.returned, -13) << room;
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_EQ(machine.read(share_register), before.substr(0, room));
    }
}

TEST(ShareFileFault, RegisterThatCannotBeWrittenIsMinus2064) {
    ShareMachine machine;
    machine.shares({{}});
    EXPECT_EQ(machine
                  .operation(
                      [] {
                          OpenRegister entries;
                          EXPECT_EQ(entries.open(), 0);
                          return entries.write();
                      },
                      with_largest_file(10))
                  .returned,
              -2064);
    EXPECT_EQ(machine.read(share_register), "[pub]\n    ");
}

// The memory of a process cannot be read at its beginning.
TEST(ShareFileFault, FileThatCannotBeReadIsMinus12OrMinus2063) {
    ShareMachine machine;
    for (const char* path : {share_register, smb_conf}) {
        machine.bind("/proc/self/mem", path, true);
    }
    machine.operation([] {
        FileDescriptor fd;
        share_list list;
        EXPECT_EQ(file_lock_open(share_register, fd, Code::service_file_unopened), 0);
        EXPECT_EQ(share_list_read(fd, list), -12);
        fd.close();
        EXPECT_EQ(OpenRegister().open(), -2063);
        OpenServiceFile file;
        EXPECT_EQ(file.open(*live_file("samba")), -2063);
        EXPECT_EQ(read_exports_file(share_register, list), -2063);
        return 0;
    });
}

// Adds a share to the register in its own process.
Code register_share(int number) {
    OpenRegister entries;
    if (const Code result = entries.open(); failed(result)) {
        return result;
    }
    entries.shares().append().name = "share" + std::to_string(number);
    return entries.write();
}

TEST(ShareFileFault, OfManyChangesAtOnceThoseThatGotTheLockAreMade) {
    ShareMachine machine;
    const Result run = machine.operation([] {
        for (int number = 0; number < 12; ++number) {
            if (::fork() == 0) {
                const Code result = register_share(number);
                ::_exit(result == 0 ? 0 : result == -2062 ? 1 : 2);
            }
        }
        int made = 0;
        int status = 0;
        while (::wait(&status) > 0) {
            EXPECT_LE(WEXITSTATUS(status), 1);
            made += status == 0 ? 1 : 0;
        }
        EXPECT_EQ(register_share(99), 0);
        return made;
    });
    EXPECT_GE(run.returned, 1);
    share_list list;
    EXPECT_EQ(parse_register_sections(machine.read(share_register), register_services(), list), 0);
    EXPECT_EQ(list.size(), static_cast<std::size_t>(run.returned) + 1);
}

TEST(ShareFileFault, DescriptorThatCannotBeWrittenIsMinus13) {
    ShareMachine machine;
    machine.shares({{}});
    const Result run = machine.operation([] {
        const FileDescriptor fd = FileDescriptor::open(share_register, O_RDONLY);
        return share_list_write(fd, share_list());
    });
    EXPECT_EQ(run.returned, -13);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(machine.read(share_register), register_section({}));
}

TEST(ShareFileFault, FileIsWrittenThoughItCannotBeSaved) {
    for (const Case& test : cases()) {
        ShareMachine machine;
        machine.file(test.path, "");
        machine.tool(pool_tool::xconf).any().exits(1);
        EXPECT_EQ(rewrite(machine, test).returned, 0) << test.path;
        EXPECT_EQ(machine.read(test.path), test.written);
        EXPECT_THAT(machine.logged(),
                    ElementsAre(testing::StartsWith("system(\"/usr/local/bin/xconf -s ")));
    }
}

TEST(ShareFileFault, FileIsWrittenOnAMachineWithoutAModel) {
    for (const Case& test : cases()) {
        ShareMachine machine;
        machine.file(test.path, "").remove("/etc/sys_info");
        const Result run = rewrite(machine, test);
        EXPECT_EQ(run.returned, 0) << test.path;
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_EQ(machine.read(test.path), test.written);
    }
}

TEST(ShareFileFault, OtherModelsSaveWithTheirOwnTool) {
    ShareMachine machine("VEL7205U");
    const Result run = rewrite(machine, cases().back());
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(outside(run), ElementsAre("/usr/local/bin/nasconf -s /etc/ietd.conf > /dev/null"));
}

} // namespace
} // namespace zav::test

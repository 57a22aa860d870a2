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
            ShareFiles files;
            const ShareFile* service =
                test.is_live ? live_file(test.service) : recycle_file(test.service);
            if (const Code result = files.open({service}); failed(result)) {
                return result;
            }
            share_info& share = files.shares(*service).append();
            share.name = test.service == std::string("iscsi") ? "new.1" : "new";
            share.path = "/new";
            share.users = test.service == std::string("iscsi") ? "dora" : "";
            return files.write({service});
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

TEST(ShareFileFault, FullDiskLeavesTheFileAsItWasAndUnsaved) {
    for (const Case& test : cases()) {
        for (std::size_t room = 0; room < test.written.size(); room += 13) {
            ShareMachine machine;
            machine.file(test.path, "");
            const Snapshot before = machine.snapshot();
            const Result run = rewrite(machine, test, with_largest_file(room));
            EXPECT_EQ(run.returned, -2065) << test.path << " " << room;
            EXPECT_THAT(run.commands, IsEmpty());
            EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
        }
        ShareMachine machine;
        machine.file(test.path, "");
        EXPECT_EQ(rewrite(machine, test).returned, 0);
        EXPECT_EQ(machine.read(test.path), test.written);
    }
}

TEST(ShareFileFault, FullDiskLeavesTheRegisterAsItWas) {
    for (const std::size_t room : {0U, 1U, 6U, 20U, 150U}) {
        ShareMachine machine;
        machine.shares({{}, {.name = "b"}});
        const Snapshot before = machine.snapshot();
        const Result run = machine.operation(
            [] {
                ShareFiles files;
                EXPECT_EQ(files.open({&share_register_file()}), 0);
                return files.write({&share_register_file()});
            },
            with_largest_file(room));
        EXPECT_EQ(run.returned, -2064) << room;
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
}

// The memory of a process cannot be read at its beginning.
TEST(ShareFileFault, FileThatCannotBeReadIsMinus2063) {
    ShareMachine machine;
    machine.bind("/proc/self/mem", smb_conf, true);
    EXPECT_EQ(machine.operation([] { return ShareFiles().open({live_file("samba")}); }).returned,
              -2063);
}

// Adds a share to the register in its own process.
Code register_share(int number) {
    ShareFiles entries;
    if (const Code result = entries.open({&share_register_file()}); failed(result)) {
        return result;
    }
    entries.registered().append().name = "share" + std::to_string(number);
    return entries.write({&share_register_file()});
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

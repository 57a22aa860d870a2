// SPDX-License-Identifier: MIT
// Listings and changes of the share files at the same time: a listing sees a file as it was or as
// it is after the change, and no change fails for it.
#include "actions/shares/files.h"
#include "fixtures/library.h"
#include "fixtures/share_operation.h"
#include "inventory/shares.h"

#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace zav::test {
namespace {

// The lock that keeps a reader and the one who rewrites a file apart, as another instance has it.
class ReaderLock {
  public:
    ReaderLock(const std::filesystem::path& path, int operation)
        : fd_(FileDescriptor::open(path.c_str(), O_RDONLY)) {
        EXPECT_EQ(::flock(fd_.get(), operation | LOCK_NB), 0) << path;
    }

  private:
    FileDescriptor fd_;
};

class ShareReaders : public ShareOperation {
  protected:
    // "name|users" of each share in a listing.
    static Code list_users() {
        share_list list;
        const Code result = collect_shares(list);
        for (const share_info& share : list) {
            std::printf("%s|%s\n", share.name.c_str(), share.users.c_str());
        }
        return result;
    }
    // Waits until a run has locked the file, as writers do before anything else.
    bool is_locked(const char* path) const {
        const FileDescriptor fd = FileDescriptor::open(machine.host_path(path).c_str(), O_RDONLY);
        for (int attempt = 0; attempt < 5000; ++attempt) {
            struct flock lock = {};
            lock.l_type = F_RDLCK;
            lock.l_whence = SEEK_SET;
            if (::fcntl(fd.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type == F_WRLCK) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
};

TEST_F(ShareReaders, WaitForTheEndOfARewrite) {
    machine.shares({{}, {.name = "b", .path = "/mnt/data/b"}});
    const std::string whole = samba_global + samba_section("pub", directory, "anna") +
                              samba_section("b", "/mnt/data/b", "bert");
    machine.file(smb_conf, whole.substr(0, whole.size() / 2));
    const LockedFile writer(machine.host_path(smb_conf));
    auto rewriting = std::make_unique<ReaderLock>(machine.host_path(smb_conf), LOCK_EX);
    StartedRun listing = machine.start_call(list_users);
    ASSERT_TRUE(writer.is_waited_for());
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // whoever does not wait, reads
    writer.write(whole.substr(whole.size() / 2));
    rewriting.reset();
    const Result result = listing.wait();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "pub|anna\nb|bert\n");
}

TEST_F(ShareReaders, DoNotMakeAChangeFail) {
    for (const char* path : {share_register, smb_conf, smb_recycle}) {
        has_share("samba", "anna");
        auto reading = std::make_unique<ReaderLock>(machine.host_path(path), LOCK_SH);
        StartedRun change = machine.start_call([] {
            share_info share = share_of("samba");
            return edit_share(share, 0, printed());
        });
        ASSERT_TRUE(is_locked(smb_recycle)) << path;
        reading.reset();
        EXPECT_EQ(change.wait().returned, 0) << path;
        EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
        machine.file(smb_recycle, "");
    }
}

// Gives all forbidden shares of Samba another user, again and again.
void change_users() {
    for (int round = 0; round < 60; ++round) {
        ShareFiles files;
        const ShareFile* samba = recycle_file("samba");
        EXPECT_EQ(files.open({samba}), 0) << round;
        for (share_info& share : files.shares(*samba)) {
            share.users = round % 2 == 0 ? "bert-with-a-longer-name" : "anna";
        }
        EXPECT_EQ(files.write({samba}), 0) << round;
    }
}

// Lists the forbidden shares, which must all have the same user.
void list_forbidden(int count) {
    share_list list;
    for (int number = 0; number < count; ++number) {
        list.append().name = "share" + std::to_string(number);
    }
    merge_forbidden_shares(list);
    for (const share_info& share : list) {
        EXPECT_THAT(std::string(share.users.view()),
                    testing::AnyOf("anna", "bert-with-a-longer-name"));
        EXPECT_EQ(share.users, list.begin()->users.view()) << share.name.c_str();
    }
}

TEST_F(ShareReaders, SeeTheOldOrTheNewContentOfAFile) {
    static constexpr int count = 400;
    std::string text;
    for (int number = 0; number < count; ++number) {
        text += recycled("share" + std::to_string(number), "anna");
    }
    // Without a model no tool is told of a change: they follow each other at once.
    machine.file(smb_recycle, text).remove("/etc/sys_info");
    const Result run = operate([] {
        const pid_t writer = ::fork();
        if (writer == 0) {
            change_users();
            ::_exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = 0;
        int listings = 0;
        for (; ::waitpid(writer, &status, WNOHANG) == 0; ++listings) {
            list_forbidden(count);
        }
        EXPECT_EQ(status, 0) << "no change fails";
        return listings;
    });
    EXPECT_GT(run.returned, 0);
}

} // namespace
} // namespace zav::test

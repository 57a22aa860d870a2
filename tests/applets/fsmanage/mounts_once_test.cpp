// SPDX-License-Identifier: MIT
// A listing reads the mount table, which can be long, only once. Here the table is a pipe that one
// writer fills once: opening it again would block forever.
#include "fixtures/pool_machine.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::HasSubstr;

// A process that writes the text into the pipe as soon as it is opened for reading.
class Writer {
  public:
    Writer(const std::string& pipe, const std::string& text) : pid_(::fork()) {
        if (pid_ == 0) {
            const int fd = ::open(pipe.c_str(), O_WRONLY);
            ::_exit(::write(fd, text.data(), text.size()) < 0 ? 1 : 0);
        }
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }

  private:
    pid_t pid_;
};

class MountTableOnce : public testing::Test {
  protected:
    // Runs a listing while another process writes the table.
    Result listing(const std::string& command, const std::string& table) {
        machine.remove("/proc/mounts").fifo("/proc/mounts");
        const Writer writer(machine.host_path("/proc/mounts").string(), table);
        return machine.manage({command, "-S"}, {.time_limit = std::chrono::seconds(20)});
    }
    PoolMachine machine;
};

TEST_F(MountTableOnce, IsReadByFsmanage) {
    machine.pools({"/dev/data/a", "/dev/data/b"})
        .registered({"/dev/data/a /mnt/data/a xfs", "/dev/data/b /mnt/data/b xfs"});
    machine.directory("/mnt/data/a").directory("/mnt/data/b");
    const Result run = listing("fsmanage", "/dev/mapper/data-b /mnt/data/b xfs rw 0 0\n");
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_THAT(run.out, HasSubstr("/dev/data/a\t/mnt/data/a\tumount\t"));
    EXPECT_THAT(run.out, HasSubstr("/dev/data/b\t/mnt/data/b\tavailable\t"));
}

TEST_F(MountTableOnce, IsReadByNetmanage) {
    machine.registered({"LABEL=a /mnt/netdisk/a xfs", "LABEL=b /mnt/netdisk/b xfs"}, netfstab);
    machine.directory("/mnt/netdisk/a").directory("/mnt/netdisk/b");
    const Result run = listing("netmanage", "/dev/sdb /mnt/netdisk/b xfs rw 0 0\n");
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_THAT(run.out, HasSubstr("a\t/mnt/netdisk/a\tumount\t"));
    EXPECT_THAT(run.out, HasSubstr("b\t/mnt/netdisk/b\tavailable\t"));
}

} // namespace
} // namespace zav::test

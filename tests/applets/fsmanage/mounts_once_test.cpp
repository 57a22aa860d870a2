// SPDX-License-Identifier: MIT
// A listing reads the mount table, which can be long, only once.
#include "fixtures/pool_machine.h"

#include <algorithm>
#include <array>
#include <sys/inotify.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::HasSubstr;

// How often a file is opened while this exists.
class Openings {
  public:
    explicit Openings(const std::string& path) : fd_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        EXPECT_GE(::inotify_add_watch(fd_, path.c_str(), IN_OPEN | IN_CLOSE), 0);
    }
    Openings(const Openings&) = delete;
    Openings& operator=(const Openings&) = delete;
    ~Openings() { ::close(fd_); }

    // The kernel joins equal events that follow each other: the closings keep the openings apart.
    int count() const {
        std::array<inotify_event, 64> events = {};
        const ssize_t size = ::read(fd_, events.data(), sizeof events);
        return static_cast<int>(std::count_if(
            events.begin(), events.begin() + std::max<ssize_t>(size, 0) / ssize_t(sizeof events[0]),
            [](const inotify_event& event) { return (event.mask & IN_OPEN) != 0; }));
    }

  private:
    int fd_;
};

class MountTableOnce : public testing::Test {
  protected:
    // Runs a listing, which is to open the table once.
    Result listing(const std::string& command, const std::string& table) {
        machine.file("/proc/mounts", table);
        const Openings openings(machine.host_path("/proc/mounts"));
        const Result run = machine.manage({command, "-S"});
        EXPECT_EQ(openings.count(), 1);
        return run;
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

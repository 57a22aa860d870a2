// SPDX-License-Identifier: MIT
// Two contexts in two threads: the program threads, which the preset "tsan" builds with the thread
// sanitizer.
#include "base/command/real_tools_root.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <string>

namespace zav::test {
namespace {

TEST(Threads, WithAContextEachReadAndChangeAtOnce) {
    RealToolsRoot root;
    root.bind(ZAV_TEST_THREADS, "/usr/bin/threads");
    root.file("/etc/sys_info", "[product]\n\ttype = KOR7206H\n[version]\n\tsoftware = 1.0.0\n"
                               "\thardware = 1.0\n");
    root.file("/proc/scsi/mvSata/1",
              "Serial ATA controller\nPCI location : 0,1,4\nInterrupt    : 18\nQueue depth  : 31\n"
              "Mode         : AHCI\nPorts        : 4\n\nConnected    : 1\nDisks\n"
              "Id Adapter Port Target Lun Type Link Queue Cache Name\n"
              "0  0  0  0  0  disk  3.0Gb/s  31  on  sda\n");
    root.script("/usr/local/bin/hotspare", "echo 'Global hotspare disk: sda'");
    root.script("/usr/local/bin/diskformat", "exit 0");
    root.script("/usr/bin/vmstat", "echo a; echo b; echo 0 0 0 0 0 0 0 0 0 0 0 0 0 0 80");
    root.script("/bin/busybox", "exit 1"); // pidof finds nothing
    root.script("/bin/cat", "while read -r line; do echo \"$line\"; done < $1");
    root.file("/proc/meminfo", "MemTotal: 9 kB\nMemFree: 4 kB\nBuffers: 1 kB\nCached: 1 kB\n");
    root.file("/proc/mounts", "").directory("/etc/vsftpd");
    root.file("/etc/nas_start_time.conf", "2026-11-20 10:00\n");
    root.file("/var/run/sys_state", "[status]\n\ttemp(cpu) = 41\n\tpower = normal\n");
    for (const char* path :
         {"/etc/sharefolder.conf", "/etc/samba/smb.conf", "/etc/exports", "/etc/ietd.conf"}) {
        root.file(path, "");
    }
    const Result run = root.run({}, {.argv0 = "threads",
                                     .program = "/usr/bin/threads",
                                     .time_limit = std::chrono::seconds(100)});
    const std::string line = "samba=stopped nfs=stopped ftp=stopped iscsi=stopped "
                             "management=stopped sda health:-1006 init:0 remove:0\n";
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, line + line);
    EXPECT_EQ(run.exit_status, 0);
    // Besides, the actions say which tools this machine lacks.
    EXPECT_EQ(std::ranges::count_if(root.log(),
                                    [](const LogLine& logged) {
                                        return logged.text.find("hostname_get") !=
                                               std::string::npos;
                                    }),
              4);
}

} // namespace
} // namespace zav::test

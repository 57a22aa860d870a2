// SPDX-License-Identifier: MIT
// The C example program: the whole status page of an appliance.
#include "fixtures/status_root.h"

namespace zav::test {
namespace {

using testing::IsEmpty;
using testing::MatchesRegex;

class StatusPage : public testing::Test {
  protected:
    StatusPage() { root.bind(ZAV_TEST_STATUS_PAGE, "/usr/bin/status_page"); }
    std::string page() {
        run = root.run({}, {.argv0 = "status_page", .program = "/usr/bin/status_page"});
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_EQ(run.err, "");
        EXPECT_THAT(root.tmp(), IsEmpty());
        return run.out;
    }
    StatusRoot root;
    Result run;
};

TEST_F(StatusPage, ShowsAnApplianceThatWorks) {
    root.file("/etc/hostname", "nas\n").file("/etc/nas_start_time.conf", "2026-11-20 10:00\n");
    root.file("/etc/sys_info", "[product]\n\ttype = KOR7206LB\n"
                               "[version]\n\tsoftware = 3.1\n\thardware = 2.0\n");
    root.file("/var/run/sys_state",
              "[status]\n\ttemp = 41\n\tfan1 = 2400\n\tfan7 = 2380\n\tpower = normal\n");
    root.file("/proc/meminfo", "MemTotal: 100 kB\nMemFree: 40 kB\nBuffers: 5 kB\nCached: 5 kB\n");
    root.file("/etc/vsftpd.conf", "local_max_rate=102400\nmax_clients=30\nmax_per_ip=4\n");
    root.tool("/usr/bin/vmstat").any().prints("a\nb\n0 0 0 0 0 0 0 0 0 0 0 0 0 0 80\n");
    for (const char* process : {"smbd", "nmbd", "vsftpd", "zav"}) {
        root.tool("/bin/busybox").on(std::string("/bin/busybox pidof ") + process).prints("812\n");
    }
    root.tool("/bin/busybox").on("/bin/busybox pidof nfsd").exits(1);
    root.tool("/bin/busybox").on("/bin/busybox pidof ietd").prints("-1\n");
    EXPECT_THAT(page(), MatchesRegex("host              nas\n"
                                     "model             KOR7206LB\n"
                                     "software          3.1\n"
                                     "hardware          2.0\n"
                                     "started           2026-11-20 10:00\n"
                                     "time              [0-9-]{10} [0-9:]{8}\n"
                                     "temperature       41\n"
                                     "fans              fan1:2400,fan7:2380\n"
                                     "power             normal\n"
                                     "memory            50\\.0 %\n"
                                     "processor         20\\.0 %\n"
                                     "Samba             running\n"
                                     "NFS               stopped\n"
                                     "FTP               running\n"
                                     "iSCSI             stopped\n"
                                     "management        running\n"
                                     "FTP limits        102400 bytes/s, 30 clients, 4 from one "
                                     "address\n"));
    root.expect_all_used();
}

TEST_F(StatusPage, ShowsCodesForWhatABareSystemLacks) {
    EXPECT_THAT(page(), MatchesRegex("host              \\(-1006\\)\n"
                                     "model             \\(-1001\\)\n"
                                     "software          \\(-1008\\)\n"
                                     "hardware          \\(-1007\\)\n"
                                     "started           \\(-1004\\)\n"
                                     "time              [0-9-]{10} [0-9:]{8}\n"
                                     "temperature       \\(-1001\\)\n"
                                     "fans              \\(-1001\\)\n"
                                     "power             \\(-1001\\)\n"
                                     "memory            \\(-1\\)\n"
                                     "processor         \\(-1\\)\n"
                                     "Samba             stopped\n"
                                     "NFS               stopped\n"
                                     "FTP               stopped\n"
                                     "iSCSI             stopped\n"
                                     "management        stopped\n"
                                     "FTP limits        \\(-1063\\)\n"));
}

} // namespace
} // namespace zav::test

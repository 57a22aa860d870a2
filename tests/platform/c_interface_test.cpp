// SPDX-License-Identifier: MIT
// The getters, called from C.
#include "fixtures/status_root.h"
#include "platform/status_page.h"

namespace zav::test {
namespace {

std::string status_page(PrivateRoot& root, int failures) {
    const Result result = root.call([] {
        char page[2048];
        const int failed = make_status_page(page, sizeof page);
        std::fputs(page, stdout);
        return failed;
    });
    EXPECT_EQ(result.returned, failures);
    return result.out;
}

TEST(CInterface, EveryGetterWorksFromC) {
    StatusRoot root;
    root.file("/etc/hostname", "nas\n").file("/etc/nas_start_time.conf", "10:00\n");
    root.file("/etc/sys_info", "[product]\n\ttype = VEL7205P\n"
                               "[version]\n\tsoftware = 3.1\n\thardware = 2.0\n");
    root.file("/tmp/nas_state.conf", "[misc]\n\ttemp = 41\n\tfan1 = 2400\n\tfan8 = 2380\n");
    root.file("/proc/meminfo", "MemTotal: 100 kB\nMemFree: 40 kB\nBuffers: 5 kB\nCached: 5 kB\n");
    root.tool("/usr/local/bin/pwstate").any().prints("Power: normal\n");
    root.tool("/usr/bin/vmstat").any().prints("a\nb\n0 0 0 0 0 0 0 0 0 0 0 0 0 0 80\n");
    EXPECT_THAT(status_page(root, 0),
                testing::StartsWith("host: nas (0)\nstart: 10:00 (0)\nsoftware: 3.1 (0)\n"
                                    "hardware: 2.0 (0)\nmodel: VEL7205P (0)\n"
                                    "temperature: 41 (0)\nfans: fan1:2400,fan8:2380 (0)\n"
                                    "power: normal (0)\nmemory: 50.0 (0)\n"
                                    "processor: 20.0 (0)\ntime: 20"));
}

TEST(CInterface, EveryGetterGivesItsCodeOnABareSystem) {
    StatusRoot root;
    EXPECT_THAT(status_page(root, 10),
                testing::StartsWith("host:  (-1006)\nstart:  (-1004)\nsoftware:  (-1008)\n"
                                    "hardware:  (-1007)\nmodel:  (-1001)\n"
                                    "temperature:  (-1001)\nfans:  (-1001)\n"
                                    "power:  (-1001)\nmemory: 0.0 (-1)\n"
                                    "processor: 0.0 (-1)\ntime: 20"));
}

} // namespace
} // namespace zav::test

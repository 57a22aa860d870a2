// SPDX-License-Identifier: MIT
// The picture of a product whose RAID controller hides the disks' names and makes the arrays.
#include "api/snapshot_print.h"
#include "fixtures/share_machine.h"

#include <array>

namespace zav::test {
namespace {

class SnapshotsBehindTheController : public testing::Test {
  protected:
    SnapshotsBehindTheController() {
        machine.tool("/usr/local/bin/vexadm")
            .on("/usr/local/bin/vexadm --misc --scan")
            .prints("====\n0 /D-1/931/Online/RAID\n1 /D-2/931/Online/RAID\n2 /D-3/931/Ready/Hot "
                    "Spare\n");
        machine.tool("/usr/local/bin/vexadm")
            .on("/usr/local/bin/vexadm --display --scan")
            .prints("====\nmd0 /1/x/Normal/931/sda/#1 #2\n");
        machine.group_lines("  data:r/w:772:-1:0:1:0:-1:0:1:1:2449408:4096:598:512:86:QtywLH\n",
                            "  /dev/sda:data:4194304:-1:8:8:-1:4096:512:0:512:Z322lO\n");
    }

    std::string picture() {
        const Result run = machine.operation([] {
            std::array<char, 8192> messages = {};
            return print_snapshot(ZAV_DISKS | ZAV_ARRAYS | ZAV_GROUPS, messages.data(),
                                  messages.size());
        });
        EXPECT_EQ(run.returned, 0);
        return run.out;
    }

    ShareMachine machine{"VEL7205U"};
};

TEST_F(SnapshotsBehindTheController, LinkArraysToDisksByTheirChannels) {
    EXPECT_EQ(picture(), "disk |1|0|999653638144|D-1|other|Online|0|1|0|[0]|unknown|||?\n"
                         "disk |2|0|999653638144|D-2|other|Online|0|1|0|[0]|unknown|||?\n"
                         "disk |3|0|999653638144|D-3|other|Ready|1|0|-1|[]|unknown|||?\n"
                         "array md0|raid1|clean|Normal|999653638144|sda|0|0.000|-1|0\n"
                         "  member |0|active|?\n"
                         "  member |1|active|?\n"
                         "group data|resizable|0|2147483648|2147483648|[]\n"
                         "  volume md0|0|-1|2147483648|2147483648\n");
}

} // namespace
} // namespace zav::test

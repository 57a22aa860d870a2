// SPDX-License-Identifier: MIT
#include "zavinfo/metrics.h"
#include "zavinfo/records.h"
#include "zavinfo/validate.h"

#include <gmock/gmock.h>

namespace zavinfo::test {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(Metrics, TellFigures) {
    Records records;
    records.arrays[0].rebuild = {1, 0.126, 7650};
    const std::string text = metrics_text(records.view());
    for (const char* line :
         {"# TYPE zav_disk_size_bytes gauge\n# UNIT zav_disk_size_bytes bytes\n"
          "# HELP zav_disk_size_bytes Size of the disk.\n"
          "zav_disk_size_bytes{disk=\"sda\",device=\"0\",channel=\"1\"} 107374182400\n",
          "\nzav_disk_temperature_celsius{disk=\"sdc\",device=\"0\",channel=\"3\"} 33\n",
          "\nzav_disk_hotspare{disk=\"sdc\",device=\"0\",channel=\"3\"} 1\n",
          "\nzav_disk_smart_failed{disk=\"sda\",device=\"0\",channel=\"1\"} 0\n",
          "\nzav_array_state{array=\"md0\",level=\"raid1\",state=\"clean\"} 1\n",
          "\nzav_array_state{array=\"md0\",level=\"raid1\",state=\"degraded\"} 0\n",
          "\nzav_array_members{array=\"md0\",state=\"active\"} 2\n",
          "\nzav_array_rebuild_done_ratio{array=\"md0\"} 0.126\n",
          "\nzav_array_rebuild_left_seconds{array=\"md0\"} 7650\n",
          "\nzav_filesystem_used_bytes{filesystem=\"/dev/data/films\","
          "mount_point=\"/mnt/data/films\",kind=\"pool\"} 10737418240\n",
          "\nzav_share_reachable{share=\"films\",service=\"samba\"} 1\n",
          "\nzav_shares{state=\"served\"} 1\n", "\nzav_service_running{service=\"nfs\"} 0\n",
          "\nzav_fan_rpm{fan=\"fan2\"} 2380\n", "\nzav_memory_used_ratio 0.5\n",
          "\nzav_check_status 0\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
    EXPECT_THAT(text, testing::EndsWith("# EOF\n"));
}

TEST(Metrics, LeaveOutWhatIsNotKnown) {
    Records records;
    records.health.memory_percent = -1;
    records.disks.resize(1);
    records.disks[0].smart = ZAV_VERDICT_UNKNOWN;
    records.disks[0].temperature_c = ZAV_UNKNOWN;
    const std::string text = metrics_text(records.view());
    for (const char* name : {"zav_memory_used_ratio", "zav_disk_smart_failed",
                             "zav_disk_temperature_celsius", "zav_array_rebuild"}) {
        EXPECT_THAT(text, Not(HasSubstr(name)));
    }
}

TEST(Metrics, TellAShareThatIsOutOfReach) {
    Records records;
    records.services[0].running = ZAV_STOPPED;
    EXPECT_THAT(metrics_text(records.view()),
                HasSubstr("zav_share_reachable{share=\"films\",service=\"samba\"} 0\n"));
}

TEST(Metrics, SuitTheReaders) {
    Records well;
    EXPECT_EQ(metrics_faults(metrics_text(well.view())), "");
    Records states = every_state();
    EXPECT_EQ(metrics_faults(metrics_text(states.view())), "");
    EXPECT_EQ(metrics_faults(metrics_text({})), "");
}

TEST(Metrics, HaveOneSampleForTheSameLabels) {
    Records records;
    records.shares.push_back(records.shares[0]);
    EXPECT_EQ(metrics_faults(metrics_text(records.view())), "");
    EXPECT_THAT(metrics_text(records.view()), HasSubstr("zav_shares{state=\"served\"} 2\n"));
}

TEST(Metrics, AreRefusedByTheReadersWhenALineDiffers) {
    EXPECT_THAT(metrics_faults("# TYPE a gauge\na 1\n"), HasSubstr("OpenMetrics"));
    EXPECT_THAT(metrics_faults("# TYPE a stateset\na{a=\"x\"} 1\n# EOF\n"),
                HasSubstr("text format"));
}

} // namespace
} // namespace zavinfo::test

// SPDX-License-Identifier: MIT
// What cannot be read is listed; what does not depend on it is there all the same.
#include "api/snapshot_machine.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr auto no_command = "|-11000|an outside command failed, or could not be run";

class FailingSources : public testing::Test {
  protected:
    SnapshotMachine machine;
};

TEST_F(FailingSources, AreListedOnceWithTheirCommand) {
    machine.tool("/usr/local/bin/hotspare").on("/usr/local/bin/hotspare --list").exits(3);
    const Picture picture = machine.picture();
    EXPECT_EQ(picture.run.returned, 0);
    EXPECT_THAT(picture.failures(),
                Contains(std::string("disks|/usr/local/bin/hotspare --list") + no_command));
    EXPECT_THAT(picture.counts(), Contains(testing::Pair("/usr/local/bin/hotspare --list", 1)));
    EXPECT_THAT(picture.lines("disk"), SizeIs(7));
    EXPECT_THAT(picture.lines("array"), SizeIs(2));
    EXPECT_THAT(picture.lines("share"), SizeIs(5));
}

TEST_F(FailingSources, AreLoggedOnce) {
    machine.tool("/usr/local/bin/hotspare").on("/usr/local/bin/hotspare --list").exits(3);
    const Picture picture = machine.picture();
    Texts logged = machine.logged();
    std::erase_if(logged, [](const std::string& line) {
        return line.find("hotspare --list") == std::string::npos;
    });
    EXPECT_THAT(logged, ElementsAre(StartsWith("system(\"/usr/local/bin/hotspare --list > /tmp/")));
    EXPECT_THAT(picture.messages, StartsWith("0 system(\"/usr/local/bin/hotspare --list > /tmp/"));
    EXPECT_EQ(picture.messages.find("hotspare", picture.messages.find("for '")), std::string::npos);
}

TEST_F(FailingSources, LeaveTheOtherArrays) {
    machine.tool("/sbin/mdadm").on("/sbin/mdadm --detail /dev/md0").exits(1);
    const Picture picture = machine.picture();
    EXPECT_THAT(picture.failures(),
                ElementsAre(std::string("arrays|/sbin/mdadm --detail /dev/md0") + no_command));
    EXPECT_THAT(picture.lines("array"),
                ElementsAre(StartsWith("md0||unknown|"), StartsWith("md1|raid5|rebuilding|")));
}

TEST_F(FailingSources, OfPoolsLeaveGroupsAndShares) {
    machine.tool("/sbin/lvdisplay").on("/sbin/lvdisplay -c").killed_by(SIGSEGV);
    const Picture picture = machine.picture();
    EXPECT_THAT(picture.failures(),
                ElementsAre(std::string("pools|/sbin/lvdisplay -c") + no_command,
                            "pools||-1051|lvdisplay failed; what it printed is read all the same"));
    EXPECT_THAT(picture.lines("group"), SizeIs(2));
    EXPECT_THAT(picture.lines("filesystem"), SizeIs(3));
    EXPECT_THAT(picture.lines("share"), SizeIs(5));
}

// The line in the log has no code.
TEST_F(FailingSources, HaveTheCodeOfTheirPart) {
    machine.remove("/proc/scsi/mvSata");
    const Picture picture = machine.picture(ZAV_DISKS | ZAV_GROUPS);
    EXPECT_THAT(picture.failures(),
                Contains("disks||-1021|the SATA controller's directory cannot be listed"));
    EXPECT_THAT(picture.failures(), testing::Not(Contains(HasSubstr("|0|"))));
    EXPECT_THAT(picture.lines("group"), SizeIs(2));
}

TEST_F(FailingSources, MayBeFiles) {
    machine.remove("/etc/hostname").remove(smb_recycle).directory(smb_recycle);
    const Picture picture = machine.picture();
    EXPECT_THAT(picture.failures(), ElementsAre("shares||-2061|the service's file cannot be opened",
                                                "health||-1006|the host name cannot be read"));
    EXPECT_THAT(picture.lines("health"), ElementsAre(StartsWith("|KOR7206H|")));
    EXPECT_THAT(picture.lines("share"), SizeIs(5));
}

TEST_F(FailingSources, LeaveAServicesStateOpen) {
    machine.tool("/bin/busybox").on("/bin/busybox pidof nfsd").exits(127);
    const Picture picture = machine.picture(ZAV_SERVICES);
    EXPECT_THAT(picture.lines("service"),
                ElementsAre("samba|samba|running", "nfs|nfs|unknown", "ftp|ftp|stopped",
                            "iscsi|iscsi|stopped", "management|management|stopped"));
    EXPECT_THAT(picture.failures(),
                ElementsAre(std::string("services|/bin/busybox pidof nfsd") + no_command));
}

TEST_F(FailingSources, OfDisksHealthAreAskedOnce) {
    machine.tool("/usr/local/sbin/smartctl").any().exits(127);
    const Picture picture = machine.picture(ZAV_DISKS | ZAV_SMART);
    EXPECT_THAT(picture.failures(), ElementsAre(StartsWith("smart|/usr/local/sbin/smartctl ")));
    EXPECT_THAT(picture.lines("disk"), SizeIs(7));
    EXPECT_THAT(picture.lines("disk"), testing::Each(testing::EndsWith("|unknown|||?")));
}

TEST_F(FailingSources, MayHang) {
    machine.tool("/usr/bin/vmstat").any().does("sleep 30");
    const Result run = machine.operation([] {
        zav_ctx* ctx = zav_ctx_new();
        zav_error error;
        zav_ctx_set_command_time_limit(ctx, 1000);
        zav_snapshot* snapshot = zav_snapshot_take(ctx, ZAV_HEALTH | ZAV_SERVICES, &error);
        std::size_t count = 0;
        const zav_failure* failures = zav_snapshot_failures(snapshot, &count);
        for (std::size_t i = 0; i < count; ++i) {
            std::printf("%s|%s|%d\n", failures[i].part, failures[i].command, failures[i].code);
        }
        std::printf("%s %d\n", error.command, error.command_status);
        zav_snapshot_services(snapshot, &count);
        zav_snapshot_free(snapshot);
        zav_ctx_free(ctx);
        return count;
    });
    EXPECT_EQ(run.returned, 5);
    EXPECT_THAT(run.out, StartsWith("health|/usr/bin/vmstat|-11000\n"));
    EXPECT_FALSE(run.left_processes);
    EXPECT_THAT(machine.logged(), Contains(HasSubstr("was ended: it took longer than 1000 ms")));
}

TEST_F(FailingSources, TellWhatTheToolSaid) {
    machine.tool("/usr/bin/vmstat").any().complains("no such figure\n").exits(4);
    const Result run = machine.operation([] {
        zav_ctx* ctx = zav_ctx_new();
        zav_error error;
        zav_ctx_set_log(ctx, ZAV_LOG_NOWHERE, nullptr, nullptr);
        zav_snapshot_free(zav_snapshot_take(ctx, ZAV_HEALTH, &error));
        zav_ctx_free(ctx);
        std::printf("%d|%s|%s|%s|%d|%s", error.code, error.name, error.sentence, error.command,
                    error.command_status, error.command_output);
        return error.code;
    });
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(run.out, "0|ok||/usr/bin/vmstat|1024|no such figure");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST(SnapshotArguments, AreChecked) {
    zav_error error;
    zav_ctx* ctx = zav_ctx_new();
    for (const unsigned what : {0U, 1U << 10, ~0U}) {
        EXPECT_EQ(zav_snapshot_take(ctx, what, &error), nullptr);
        EXPECT_EQ(error.code, ZAV_E_INVALID_ARGUMENT);
        EXPECT_STREQ(error.name, "invalid_argument");
    }
    EXPECT_EQ(zav_snapshot_take(nullptr, ZAV_ALL, &error), nullptr);
    EXPECT_EQ(error.code, ZAV_E_INVALID_ARGUMENT);
    EXPECT_EQ(zav_snapshot_take(nullptr, ZAV_ALL, nullptr), nullptr);
    zav_ctx_free(ctx);
    zav_ctx_free(nullptr);
    zav_snapshot_free(nullptr);
    std::size_t count = 7;
    EXPECT_EQ(zav_snapshot_disks(nullptr, &count), nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(zav_snapshot_shares(nullptr, nullptr), nullptr);
    EXPECT_EQ(zav_snapshot_health(nullptr), nullptr);
}

} // namespace
} // namespace zav::test

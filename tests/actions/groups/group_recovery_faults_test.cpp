// SPDX-License-Identifier: MIT
// Restoring a group with tools that fail, are killed, or are missing, each in turn.
#include "fixtures/group_recovery.h"
#include "fixtures/library.h"

#include <array>
#include <csignal>

namespace zav::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

enum class Fault { fails, is_killed, is_missing };

// How the log describes it.
std::string outcome(Fault fault) {
    switch (fault) {
    case Fault::fails:
        return " return normal with exit(5)";
    case Fault::is_killed:
        return " return unnormal with exit(0)";
    case Fault::is_missing:
        return " return normal with exit(127)";
    }
    return "";
}

class FaultyTools : public testing::TestWithParam<Fault> {
  protected:
    // The tool at `path` has the fault in commands that begin with `beginning`.
    void break_tool(const std::string& path, const std::string& beginning) {
        switch (GetParam()) {
        case Fault::fails:
            machine.tool(path).on_prefix(beginning).exits(5);
            break;
        case Fault::is_killed:
            machine.tool(path).on_prefix(beginning).killed_by(SIGKILL);
            break;
        case Fault::is_missing:
            machine.remove(path);
            break;
        }
    }
    void restore(const std::vector<Volume>& volumes) {
        run = restore_group(machine, backup_of(volumes));
    }
    // The only line in the log, up to the reason.
    void expect_logged(const std::string& command, const std::string& wording) {
        EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("system(\"" + command + "\")" +
                                                             outcome(GetParam()) + wording)));
    }

    RecoveryMachine machine;
    Result run;
};

std::string name_of_fault(const testing::TestParamInfo<Fault>& fault) {
    const std::array<const char*, 3> names = {"Failing", "Killed", "Missing"};
    return names.at(static_cast<std::size_t>(fault.param));
}

INSTANTIATE_TEST_SUITE_P(All, FaultyTools,
                         testing::Values(Fault::fails, Fault::is_killed, Fault::is_missing),
                         name_of_fault);

TEST_P(FaultyTools, PvcreateStopsTheWork) {
    break_tool(RecoveryMachine::pvcreate, "/sbin/pvcreate -u a");
    restore({{"a", "sdx"}, {"b", "sdy"}});
    EXPECT_EQ(run.returned, -3);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(actions(run), ElementsAre("/sbin/pvcreate -u a /dev/ram2"));
    expect_logged("/sbin/pvcreate -u a /dev/ram2", "for'");
}

TEST_P(FaultyTools, PvcreateComesAfterAnArrayIsGivenUp) {
    break_tool(RecoveryMachine::pvcreate, "/sbin/pvcreate -u a");
    machine.sees(live("a", "/dev/md1"));
    restore({{"a", "md1"}});
    EXPECT_EQ(run.returned, -3);
    EXPECT_THAT(actions(run), ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sdc",
                                          "dd if=/dev/zero of=/dev/md1 bs=1M count=4 > /dev/null",
                                          "/sbin/pvcreate -u a /dev/ram2"));
}

TEST_P(FaultyTools, VgcfgrestoreIsOnlyLogged) {
    break_tool(RecoveryMachine::vgcfgrestore, "/sbin/vgcfgrestore vg1");
    restore({{"a", "sdx"}});
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(run.out, "vg restore: yes\n");
    expect_logged("/sbin/vgcfgrestore vg1", " for '");
}

TEST_P(FaultyTools, DdIsOnlyLogged) {
    break_tool(RecoveryMachine::dd, "dd if=/dev/zero of=/dev/md1");
    machine.sees(live("a", "/dev/md1"));
    restore({{"a", "md1"}});
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(run.out, "vg restore: yes\n");
    EXPECT_THAT(actions(run),
                ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sdc",
                            "dd if=/dev/zero of=/dev/md1 bs=1M count=4 > /dev/null",
                            "/sbin/pvcreate -u a /dev/ram2", "/sbin/vgcfgrestore vg1"));
    expect_logged("dd if=/dev/zero of=/dev/md1 bs=1M count=4 > /dev/null", " for '");
}

// Without mdadm nothing would be known about the array.
TEST_P(FaultyTools, MdadmIsOnlyLoggedForAMember) {
    const bool missing = GetParam() == Fault::is_missing;
    const std::string command = "/sbin/mdadm /dev/md1 -f /dev/sdc";
    if (missing) {
        machine.tool(RecoveryMachine::pvdisplay)
            .on("/sbin/pvdisplay -c")
            .does("rm /sbin/mdadm")
            .prints(live("a", "/dev/md1"));
    } else {
        break_tool(RecoveryMachine::mdadm, command);
        machine.sees(live("a", "/dev/md1"));
    }
    restore({{"a", "md1"}});
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(actions(run),
                ElementsAre(command, "dd if=/dev/zero of=/dev/md1 bs=1M count=4 > /dev/null",
                            "/sbin/pvcreate -u a /dev/ram2", "/sbin/vgcfgrestore vg1"));
    expect_logged(command, " for '");
}

// What it has printed by then counts.
TEST_P(FaultyTools, PvdisplayIsOnlyLogged) {
    if (GetParam() == Fault::is_missing) {
        machine.remove(RecoveryMachine::pvdisplay);
    } else {
        Rule rule = machine.tool(RecoveryMachine::pvdisplay).on("/sbin/pvdisplay -c");
        rule.prints(live("b", "/dev/ram2"));
        GetParam() == Fault::fails ? rule.exits(5) : rule.killed_by(SIGKILL);
    }
    restore({{"a", "md0"}});
    const std::string ram = GetParam() == Fault::is_missing ? "/dev/ram2" : "/dev/ram3";
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(run.out, "vg restore: yes\n");
    EXPECT_THAT(actions(run), ElementsAre("/sbin/pvcreate -u a " + ram, "/sbin/vgcfgrestore vg1"));
    EXPECT_THAT(machine.logged(),
                ElementsAre(AllOf(StartsWith("system(\"/sbin/pvdisplay -c > /tmp/pvdisplay."),
                                  HasSubstr(outcome(GetParam()) + " for '"))));
}

TEST_P(FaultyTools, CatTakesTheArrayListAway) {
    machine.tool("/bin/cat").any().does("exec /.harness/busybox cat \"$1\"").optional();
    break_tool("/bin/cat", "cat /proc/mdstat");
    machine.sees(live("a", "/dev/md0"));
    restore({{"a", "md0"}});
    EXPECT_EQ(run.returned, -2);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(actions(run), IsEmpty());
    EXPECT_THAT(machine.logged("raid_restore"), ElementsAre(EndsWith("return with -11000")));
}

// An array is inactive until its details say otherwise.
TEST_P(FaultyTools, MdadmMakesAnArrayInactiveWithoutItsDetails) {
    if (GetParam() == Fault::is_missing) {
        machine.remove(RecoveryMachine::mdadm);
    } else {
        Rule rule = machine.tool(RecoveryMachine::mdadm).on("/sbin/mdadm --detail /dev/md0");
        GetParam() == Fault::fails ? rule.exits(5) : rule.killed_by(SIGKILL);
    }
    machine.sees(live("a", "/dev/md0"));
    restore({{"a", "md0"}});
    EXPECT_EQ(run.returned, 0);
    Texts commands = actions(run);
    ASSERT_THAT(commands, testing::SizeIs(5));
    std::sort(commands.begin(), commands.begin() + 2); // the directory is not sorted
    EXPECT_THAT(commands,
                ElementsAre("/sbin/mdadm /dev/md0 -f /dev/sda", "/sbin/mdadm /dev/md0 -f /dev/sdb",
                            "dd if=/dev/zero of=/dev/md0 bs=1M count=4 > /dev/null",
                            "/sbin/pvcreate -u a /dev/ram2", "/sbin/vgcfgrestore vg1"));
}

TEST_P(FaultyTools, HotspareChangesNothing) {
    if (GetParam() == Fault::is_missing) {
        machine.remove("/usr/local/bin/hotspare");
    } else {
        Rule rule = machine.tool("/usr/local/bin/hotspare").on("/usr/local/bin/hotspare --list");
        GetParam() == Fault::fails ? rule.exits(5) : rule.killed_by(SIGKILL);
    }
    machine.sees(live("a", "/dev/md0"));
    restore({{"a", "md0"}, {"b", "sdf"}});
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(run.out, "vg restore: yes\n");
    EXPECT_THAT(actions(run),
                ElementsAre("/sbin/pvcreate -u b /dev/ram2", "/sbin/vgcfgrestore vg1"));
    EXPECT_THAT(machine.logged("hotspare --list"), testing::SizeIs(1));
}

class RestoreWithoutLiveVolumes : public testing::Test {
  protected:
    RestoreWithoutLiveVolumes() { machine.sees_nothing_that_can_be_read(); }
    void restore(const std::vector<Volume>& volumes) {
        run = restore_group(machine, backup_of(volumes));
    }

    RecoveryMachine machine;
    Result run;
};

TEST_F(RestoreWithoutLiveVolumes, TreatsEveryVolumeAsMissingAndFails) {
    restore({{"a", "md0"}, {"b", "md1"}, {"c", "sdx"}});
    EXPECT_EQ(run.returned, -1);
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/pvdisplay\\..{6}\nvg restore: yes\n"));
    EXPECT_THAT(actions(run),
                ElementsAre("/sbin/pvcreate -u a /dev/ram2", "/sbin/pvcreate -u b /dev/ram3",
                            "/sbin/pvcreate -u c /dev/ram4", "/sbin/vgcfgrestore vg1"));
    EXPECT_THAT(
        machine.logged(),
        ElementsAre(MatchesRegex("get_idpv_from_pvdisplay:[0-9]+ return 0 with No such file "
                                 "or directory"),
                    MatchesRegex("raid_restore\\[[0-9]+\\]: return with -1040")));
}

TEST_F(RestoreWithoutLiveVolumes, FailsForABackupWithoutVolumesToo) {
    restore({});
    EXPECT_EQ(run.returned, -1);
    EXPECT_THAT(run.out, EndsWith("\nvg restore: no\n"));
    EXPECT_THAT(actions(run), IsEmpty());
}

TEST_F(RestoreWithoutLiveVolumes, ReportsAStopInstead) {
    machine.tool(RecoveryMachine::pvcreate).on_prefix("/sbin/pvcreate -u b").exits(5);
    restore({{"a", "md0"}, {"b", "md1"}});
    EXPECT_EQ(run.returned, -3);
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/pvdisplay\\..{6}\n"));
    EXPECT_THAT(actions(run),
                ElementsAre("/sbin/pvcreate -u a /dev/ram2", "/sbin/pvcreate -u b /dev/ram3"));
}

// Today's pvcreate requires one more option and refuses.
TEST(RestoreWithTodaysPvcreate, Stops) {
    RecoveryMachine machine;
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .replays("lvm_B_pvdisplay_missing");
    machine.tool(RecoveryMachine::pvcreate).replays("lvm_B_pvcreate_plain");
    const Result run = restore_group(machine, recorded("lvm_B_backup").text);
    EXPECT_EQ(run.returned, -3);
    EXPECT_THAT(machine.logged(), ElementsAre(HasSubstr("return normal with exit(3)for'")));
    machine.expect_all_used();
}

} // namespace
} // namespace zav::test

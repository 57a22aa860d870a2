// SPDX-License-Identifier: MIT
// mdmanage --delete: stopping the array and clearing its former members.
#include "fixtures/array_machine.h"

namespace zav::test {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

class Delete : public testing::Test {
  protected:
    // md1 has one disk, so that nothing depends on the order of a directory.
    Delete() {
        machine.box(6);
        machine.running("md1", "raid1", {"sdb"});
    }
    int remove(const std::string& name) {
        run = machine.mdmanage({"-D", "-n", name});
        return run.exit_status;
    }
    Rule stop() { return machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -S /dev/md1"); }
    ArrayMachine machine;
    Result run;
};

TEST_F(Delete, RunsTheseCommandsInThisOrder) {
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_THAT(outside(run), ElementsAreArray(joined({array_list_commands({"md1"}),
                                                       disk_list_commands(),
                                                       array_list_commands({"md1"}),
                                                       group_list_commands({"md1"}),
                                                       {"/sbin/mdadm -S /dev/md1 > /dev/null"},
                                                       disk_list_commands(),
                                                       {"/usr/local/bin/diskformat /dev/sdb"}})));
    EXPECT_EQ(run.out, "disk : ch = 2, devcie = 1, name = sdb\n");
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(Delete, TakesTheLongName) {
    EXPECT_EQ(machine.mdmanage({"--delete", "-n", "md1"}).exit_status, 0);
}

TEST_F(Delete, PreparesTheMembersOneByOneEachFoundAnew) {
    machine.running("md2", "raid5", {"sda", "sdc", "sdd"});
    machine.tool(ArrayMachine::diskformat).any().prints("prepared\n");
    EXPECT_EQ(remove("md2"), 0);
    Texts names = {"sda", "sdc", "sdd"};
    const std::string order =
        machine.in_directory_order("md2", {{"sda", "sda"}, {"sdc", "sdc"}, {"sdd", "sdd"}});
    std::ranges::sort(names, {}, [&order](const std::string& name) { return order.find(name); });
    Texts after_stop = {"/sbin/mdadm -S /dev/md2 > /dev/null"};
    std::string printed;
    for (const std::string& name : names) {
        const std::string channel = std::to_string(name.back() - 'a' + 1);
        after_stop =
            joined({after_stop, disk_list_commands(), {"/usr/local/bin/diskformat /dev/" + name}});
        printed += "disk : ch = " + channel + ", devcie = 1, name = " + name + "\nprepared\n";
    }
    const Texts all = outside(run);
    ASSERT_GE(all.size(), after_stop.size());
    EXPECT_THAT(Texts(all.end() - static_cast<std::ptrdiff_t>(after_stop.size()), all.end()),
                ElementsAreArray(after_stop));
    EXPECT_EQ(run.out, printed);
}

TEST_F(Delete, PreparesFaultyMembersAndPassesOverMissingOnes) {
    machine.mdstat("").array("md1", "raid1", "clean, degraded", 2, {{"sdb", "faulty"}});
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_EQ(run.out, "disk : ch = 2, devcie = 1, name = sdb\n");
    EXPECT_EQ(changes(run).back(), "/usr/local/bin/diskformat /dev/sdb");
}

TEST_F(Delete, SucceedsWhenADiskCannotBePrepared) {
    machine.tool(ArrayMachine::diskformat).any().exits(1);
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_THAT(last_message(machine), HasSubstr("diskformat /dev/sdb"));
}

TEST_F(Delete, PassesOverADiskThatIsGone) {
    stop().does("/.harness/busybox sed -i s/sdb/sdx/ /proc/scsi/mvSata/0; "
                "/.harness/busybox sed -i 's/0 0 1 - /0 1 1 - /' /proc/scsi/mvSata/0");
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_EQ(run.out, "disk : ch = 2, devcie = 1, name = sdb\n");
    EXPECT_EQ(changes(run).back(), "/sbin/mdadm -S /dev/md1 > /dev/null");
}

// The disk is found by its channel and device: its name may have changed.
TEST_F(Delete, PreparesTheDiskThatIsInThePlaceNow) {
    stop().does("/.harness/busybox sed -i s/sdb/sdx/ /proc/scsi/mvSata/0");
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_EQ(run.out, "disk : ch = 2, devcie = 1, name = sdb\n");
    EXPECT_EQ(changes(run).back(), "/usr/local/bin/diskformat /dev/sdx");
}

TEST_F(Delete, PreparesADiskOnTheDeviceOfTheMember) {
    machine.disk("sdx", 2);
    machine.running("md2", "raid1", {"sdx"});
    EXPECT_EQ(remove("md2"), 0);
    EXPECT_EQ(run.out, "disk : ch = 2, devcie = 0, name = sdx\n");
    EXPECT_EQ(changes(run).back(), "/usr/local/bin/diskformat /dev/sdx");
}

TEST_F(Delete, SucceedsWithoutADiskListForTheMembers) {
    stop().does("/.harness/busybox rm -r /proc/scsi/mvSata");
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/mdadm -S /dev/md1 > /dev/null");
    EXPECT_THAT(last_message(machine), testing::EndsWith("]: return with -205"));
}

TEST_F(Delete, ReportsAnArrayThatIsStillThere) {
    stop().replays("mdadm_stop_busy");
    remove("md1");
    expect_failure(machine, run, -415);
    EXPECT_EQ(run.out, "for errno '-415'\n");
    EXPECT_EQ(outside(run).back(), "cat /proc/mdstat > /tmp/mdstat.XXXXXX");
}

TEST_F(Delete, SucceedsWhenTheArrayIsGoneAnyway) {
    stop().does("echo 'md10 : active' > /proc/mdstat").exits(1);
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_EQ(run.out, "disk : ch = 2, devcie = 1, name = sdb\n");
    EXPECT_EQ(changes(run).back(), "/usr/local/bin/diskformat /dev/sdb");
}

TEST_F(Delete, ReportsAKilledStop) {
    stop().killed_by(9);
    remove("md1");
    expect_failure(machine, run, -415);
}

// The array may well run on.
TEST_F(Delete, ClearsNothingWhenItCannotBeToldWhetherTheArrayIsStillThere) {
    for (const char* fault : {"rm /proc/mdstat", "mv /etc/empty /proc/mdstat"}) {
        machine.mdstat("").file("/etc/empty", "");
        machine.running("md1", "raid1", {"sdb"});
        stop().does("/.harness/busybox " + std::string(fault)).exits(1);
        remove("md1");
        expect_failure(machine, run, -415);
        EXPECT_EQ(changes(run).back(), "/sbin/mdadm -S /dev/md1 > /dev/null") << fault;
    }
}

TEST_F(Delete, TouchesNothingWithoutTheGroupList) {
    machine.without_group_list();
    remove("md1");
    expect_failure(machine, run, -415);
    EXPECT_EQ(run.out, "for errno '-415'\n");
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(Delete, TouchesNothingWithoutTheGroupListWhateverHappensToTheArrays) {
    machine.tool("/sbin/vgdisplay")
        .on("/sbin/vgdisplay -c")
        .does("/.harness/busybox rm /proc/mdstat")
        .exits(5);
    remove("md1");
    expect_failure(machine, run, -415);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(Delete, RefusesAnArrayThatCarriesAGroupWithALongName) {
    machine.group(std::string(40, 'g'), {"/dev/md1"});
    remove("md1");
    expect_failure(machine, run, -2035);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(Delete, RefusesAnArrayThatCarriesAGroup) {
    machine.group("vg1", {"/dev/md1"});
    remove("md1");
    expect_failure(machine, run, -2035);
    EXPECT_EQ(run.out, "for errno '-2035'\n");
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(Delete, RefusesAnUnknownArray) {
    remove("md7");
    expect_failure(machine, run, -423);
    EXPECT_THAT(outside(run), ElementsAreArray(array_list_commands({"md1"})));
}

TEST_F(Delete, RefusesInvalidNames) {
    machine.file(ArrayMachine::reservations, "md1\n");
    for (const std::string& name : {std::string(""), std::string("a b"), std::string(33, 'n')}) {
        remove(name);
        expect_failure(machine, run, -127);
        EXPECT_THAT(run.commands, IsEmpty());
    }
    run = machine.mdmanage({"-D"});
    expect_failure(machine, run, -127);
    EXPECT_EQ(machine.read(ArrayMachine::reservations), "md1\n");
}

TEST_F(Delete, ReleasesTheNameAndThoseThatBeginWithIt) {
    machine.file(ArrayMachine::reservations, "md1\nmd10\nmd19\nmd2\n");
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_EQ(machine.read(ArrayMachine::reservations), "md2\n");
}

TEST_F(Delete, ReleasesTheNameOfAnUnknownArrayToo) {
    machine.file(ArrayMachine::reservations, "md7\nmd70\nmd1\n");
    remove("md7");
    expect_failure(machine, run, -423);
    EXPECT_EQ(machine.read(ArrayMachine::reservations), "md1\n");
}

TEST_F(Delete, ReleasesTheNameBeforeTheFirstCommand) {
    machine.file(ArrayMachine::reservations, "md1\n");
    machine.tool(ArrayMachine::mdadm)
        .on("/sbin/mdadm --detail /dev/md1")
        .does("/.harness/busybox cat /tmp/mdname.test >> /var/seen; echo end >> /var/seen");
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_THAT(machine.read("/var/seen"), testing::StartsWith("end\n"));
}

TEST_F(Delete, DoesNotMakeTheFileOfReservations) {
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(Delete, ContinuesWithAFileOfReservationsThatCannotBeUsed) {
    machine.symlink("/var/other", ArrayMachine::reservations);
    EXPECT_EQ(remove("md1"), 0);
}

TEST_F(Delete, NeedsTheDiskList) {
    machine.without_disk_controller();
    remove("md1");
    expect_failure(machine, run, -205);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(Delete, NeedsTheArrayList) {
    machine.without_array_list();
    remove("md1");
    expect_failure(machine, run, -422);
}

} // namespace
} // namespace zav::test

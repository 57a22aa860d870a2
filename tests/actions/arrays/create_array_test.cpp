// SPDX-License-Identifier: MIT
// Creating an array with all checks: what is refused, in which order, and which commands are run.
#include "actions/arrays/creation.h"
#include "fixtures/array_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::IsEmpty;

struct NewArray {
    std::string name = "data";
    std::string type = "raid1";
    std::string members = "1,2";
    std::string device = "1";
    std::string spare = "";
    std::string status = "";
};

class CreateArray : public testing::Test {
  protected:
    CreateArray() { machine.box(6); }

    int create(const NewArray& wanted = {}) {
        run = machine.operation([&wanted] {
            mdinfo array;
            array.name = wanted.name;
            array.type = wanted.type;
            array.members = wanted.members;
            array.device = wanted.device;
            array.spare = wanted.spare;
            array.status = wanted.status;
            return create_array(array, printed());
        });
        return run.returned;
    }
    // Nothing was changed, and this is the last message in the log.
    void expect_refused(const std::string& message) {
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_EQ(last_message(machine), message);
    }
    void expect_refused_silently() {
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_THAT(machine.log(), IsEmpty());
    }

    ArrayMachine machine;
    Result run;
};

TEST_F(CreateArray, RunsTheListsThenPreparesTheDisksThenCreates) {
    EXPECT_EQ(create(), 0);
    EXPECT_THAT(outside(run),
                ElementsAreArray(joined(
                    {disk_list_commands(),
                     array_list_commands(),
                     group_list_commands(),
                     disk_list_commands(),
                     {"/usr/local/bin/diskformat /dev/sda", "/usr/local/bin/diskformat /dev/sdb",
                      "/sbin/mdadm -C  /dev/data -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null"}})));
    EXPECT_THAT(machine.log(), IsEmpty());
    EXPECT_EQ(run.out, "");
}

TEST_F(CreateArray, PassesTheMembersInTheOrderOfTheDiskList) {
    machine.box({{"sdc", 3}, {"sda", 1}, {"sdb", 2}});
    EXPECT_EQ(create({.type = "raid0", .members = "1,2,3"}), 0);
    EXPECT_EQ(changes(run).back(),
              "/sbin/mdadm -C  /dev/data -l 0 -n 3 -R /dev/sdc /dev/sda /dev/sdb > /dev/null");
}

TEST_F(CreateArray, InTheForeground) {
    EXPECT_EQ(create({.status = "foreground"}), 0);
    EXPECT_EQ(changes(run).back(),
              "/sbin/mdadm -C /dev/data --fg-init -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null");
}

TEST_F(CreateArray, ReportsAFailedCommand) {
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -C").exits(1);
    EXPECT_EQ(create(), -11000);
}

TEST_F(CreateArray, RefusesAnUnknownTypeWithoutAMessage) {
    for (const char* type : {"raid10", "raid2", "raid5x", "RAID5", "Linear", ""}) {
        EXPECT_EQ(create({.type = type}), -2032) << type;
        expect_refused_silently();
    }
}

TEST_F(CreateArray, RefusesAnUnknownTypeBeforeUnknownChannels) {
    EXPECT_EQ(create({.type = "raid10", .members = "9"}), -2032);
}

TEST_F(CreateArray, RefusesAChannelThatNoDiskHas) {
    EXPECT_EQ(create({.members = "1,9"}), -2033);
    expect_refused("'1,9 in 1' includes invalid channelIDs");
}

TEST_F(CreateArray, RefusesChannelsOfAnotherDevice) {
    EXPECT_EQ(create({.device = "0"}), -2033);
    expect_refused("'1,2 in 0' includes invalid channelIDs");
}

TEST_F(CreateArray, RefusesAChannelThatIsNamedTwice) {
    EXPECT_EQ(create({.members = "1,1"}), -2033);
    expect_refused("'1,1 in 1' includes invalid channelIDs");
}

TEST_F(CreateArray, RefusesAChannelThatTwoDisksHave) {
    machine.box({{"sda", 1}, {"sdb", 1}, {"sdc", 2}});
    EXPECT_EQ(create(), -2033);
}

TEST_F(CreateArray, RefusesUnknownChannelsBeforeATakenName) {
    machine.running("data", "raid1", {"sdc", "sdd"});
    EXPECT_EQ(create({.members = "1,9"}), -2033);
}

TEST_F(CreateArray, RefusesANameThatAnArrayHas) {
    machine.running("md1", "raid1", {"sdc", "sdd"});
    EXPECT_EQ(create({.name = "md1"}), -2031);
    expect_refused("'md1' used");
}

TEST_F(CreateArray, TakesANameThatIsTheBeginningOfAnother) {
    machine.running("md10", "raid1", {"sdc", "sdd"});
    EXPECT_EQ(create({.name = "md1"}), 0);
}

TEST_F(CreateArray, RefusesAMemberOfAnotherArray) {
    machine.running("md1", "raid1", {"sdb", "sdc"});
    EXPECT_EQ(create(), -2030);
    expect_refused("'sda,sdb' or '' includes used disk in md1");
}

TEST_F(CreateArray, RefusesAFaultyMemberOfAnotherArray) {
    machine.array("md1", "raid1", "clean, degraded", 2, {{"sdb", "faulty"}, {"sdc", "in_sync"}});
    EXPECT_EQ(create(), -2030);
    expect_refused("'sda,sdb' or '' includes used disk in md1");
}

TEST_F(CreateArray, RefusesASpareMemberOfAnotherArray) {
    machine.array("md1", "raid1", "clean", 2,
                  {{"sdb", "spare"}, {"sdc", "in_sync"}, {"sdd", "in_sync"}});
    EXPECT_EQ(create(), -2030);
}

TEST_F(CreateArray, ComparesTheSpareListAsItIs) {
    machine.running("md1", "raid1", {"sdc", "sdd"});
    EXPECT_EQ(create({.spare = "sdd"}), -2030);
    expect_refused("'sda,sdb' or 'sdd' includes used disk in md1");
    EXPECT_EQ(create({.spare = "4"}), 0);
}

// The first array in the list that conflicts decides.
TEST_F(CreateArray, ChecksNameAndDisksArrayByArray) {
    machine.running("md2", "raid1", {"sda", "sdc"}).running("md1", "raid1", {"sde", "sdf"});
    EXPECT_EQ(create({.name = "md1"}), -2030);
    expect_refused("'sda,sdb' or '' includes used disk in md2");
    EXPECT_EQ(create({.name = "md2"}), -2031);
    expect_refused("'md2' used");
}

TEST_F(CreateArray, RefusesADiskThatIsAPhysicalVolume) {
    machine.group("vg1", {"/dev/sdb"});
    EXPECT_EQ(create(), -2030);
    expect_refused("'sda,sdb' or '' includes used disk in pv");
}

TEST_F(CreateArray, TakesADiskWhenAnArrayIsThePhysicalVolume) {
    machine.running("md1", "raid1", {"sdc", "sdd"}).group("vg1", {"/dev/md1"});
    EXPECT_EQ(create(), 0);
}

TEST_F(CreateArray, RefusesASpareThatIsAPhysicalVolume) {
    machine.running("md1", "raid1", {"sdc", "sdd"}).group("vg1", {"/dev/md1"});
    EXPECT_EQ(create({.spare = "md1"}), -2030);
    expect_refused("'sda,sdb' or 'md1' includes used disk in pv");
}

TEST_F(CreateArray, RefusesAMemberOfAnArrayBeforeAPhysicalVolume) {
    machine.running("md1", "raid1", {"sda", "sdc"}).group("vg1", {"/dev/sdb"});
    EXPECT_EQ(create(), -2030);
    expect_refused("'sda,sdb' or '' includes used disk in md1");
}

TEST_F(CreateArray, RefusesAGlobalHotspare) {
    machine.hotspares("sdf sdb");
    EXPECT_EQ(create(), -2030);
    expect_refused("'sda,sdb' or '' includes global hotspare disk");
}

TEST_F(CreateArray, TakesDisksBesideTheHotspares) {
    machine.hotspares("sdc");
    EXPECT_EQ(create(), 0);
}

TEST_F(CreateArray, RefusesAPhysicalVolumeBeforeAHotspare) {
    machine.hotspares("sda").group("vg1", {"/dev/sdb"});
    EXPECT_EQ(create(), -2030);
    expect_refused("'sda,sdb' or '' includes used disk in pv");
}

TEST_F(CreateArray, RefusesAHotspareBeforeAWrongCount) {
    machine.hotspares("sda");
    EXPECT_EQ(create({.members = "1,2,3"}), -2030);
}

TEST_F(CreateArray, SeesAHotspareThatIsMadeMeanwhile) {
    machine.tool(ArrayMachine::hotspare)
        .on("/usr/local/bin/hotspare --list")
        .prints("Global hotspare disk:\n")
        .times(4); // all lists except the last
    machine.hotspares("sda");
    EXPECT_EQ(create(), -2030);
    expect_refused("'sda,sdb' or '' includes global hotspare disk");
}

TEST_F(CreateArray, RefusesAMirrorOfThree) {
    EXPECT_EQ(create({.members = "1,2,3"}), -2034);
    expect_refused("disks num 3 exceed [2, 2] in raid1");
}

TEST_F(CreateArray, RefusesARaid6OfThree) {
    EXPECT_EQ(create({.type = "raid6", .members = "1,2,3"}), -2034);
    expect_refused("disks num 3 exceed [4, 16] in raid6");
}

TEST_F(CreateArray, RefusesAListWithoutEntries) {
    EXPECT_EQ(create({.type = "raid5", .members = ","}), -2034);
    expect_refused("disks num 0 exceed [3, 16] in raid5");
}

TEST_F(CreateArray, NamesTheFirstArrayMd0) {
    EXPECT_EQ(create({.name = ""}), 0);
    EXPECT_THAT(changes(run).back(), testing::HasSubstr(" /dev/md0 -l 1"));
}

TEST_F(CreateArray, ChoosesTheNumberAfterTheHighest) {
    machine.running("md3", "raid0", {"sdc"})
        .running("md0", "raid0", {"sdd"})
        .running("md1", "raid0", {"sde"});
    EXPECT_EQ(create({.name = ""}), 0);
    EXPECT_THAT(changes(run).back(), testing::HasSubstr(" /dev/md4 -l 1"));
}

TEST_F(CreateArray, ChoosesAfterANumberOfMoreDigits) {
    machine.running("md9", "raid0", {"sdc"}).running("md127", "raid0", {"sdd"});
    EXPECT_EQ(create({.name = ""}), 0);
    EXPECT_THAT(changes(run).back(), testing::HasSubstr(" /dev/md128 -l 1"));
}

TEST_F(CreateArray, CountsAnArrayWithoutANumberAsNumber0) {
    machine.running("md_d3", "raid0", {"sdc"});
    EXPECT_EQ(create({.name = ""}), 0);
    EXPECT_THAT(changes(run).back(), testing::HasSubstr(" /dev/md1 -l 1"));
}

TEST_F(CreateArray, SurvivesANumberThatDoesNotFit) {
    machine.running("md99999999999", "raid0", {"sdc"});
    EXPECT_EQ(create({.name = ""}), 0);
    EXPECT_THAT(changes(run).back(), testing::HasSubstr(" /dev/md2147483648 -l 1"));
}

TEST_F(CreateArray, ChecksTheDisksWhenTheNameIsChosenToo) {
    machine.running("md0", "raid1", {"sda", "sdc"});
    EXPECT_EQ(create({.name = ""}), -2030);
    expect_refused("'sda,sdb' or '' includes used disk in md0");
}

TEST_F(CreateArray, RefusesANameThatNoCommandMayHold) {
    for (const char* name : {"a;b", "$(reboot)", "../x", "a b", "`x`"}) {
        EXPECT_EQ(create({.name = name}), -127) << name;
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(CreateArray, NeedsTheDiskList) {
    machine.without_disk_controller();
    EXPECT_EQ(create(), -205);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -205"));
}

TEST_F(CreateArray, NeedsTheArrayList) {
    machine.without_array_list();
    EXPECT_EQ(create(), -422);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -422"));
}

TEST_F(CreateArray, NeedsTheGroupList) {
    machine.without_group_list();
    EXPECT_EQ(create(), -11000);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -11000"));
}

TEST_F(CreateArray, NeedsTheModelForTheGroupList) {
    machine.remove("/etc/sys_info");
    EXPECT_EQ(create(), -11001);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(CreateArray, NeedsTheSecondDiskListToo) {
    machine.tool(ArrayMachine::hotspare)
        .on("/usr/local/bin/hotspare --list")
        .prints("Global hotspare disk:\n")
        .times(4);
    machine.tool(ArrayMachine::hotspare).on("/usr/local/bin/hotspare --list").exits(1);
    EXPECT_EQ(create(), -205);
    EXPECT_THAT(changes(run), IsEmpty());
}

// Sixteen disks on the main controller, each in its own file, in the order of the directory.
TEST(CreateArrayOfSixteen, NamesEveryDisk) {
    ArrayMachine machine;
    machine.disks(16);
    const Result run = machine.operation([] {
        mdinfo array;
        array.name = "data";
        array.type = "raid6";
        array.members = "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16";
        array.device = "0";
        array.status = "";
        return create_array(array, printed());
    });
    EXPECT_EQ(run.returned, 0);
    const std::string command = changes(run).back();
    EXPECT_THAT(command, testing::StartsWith("/sbin/mdadm -C  /dev/data -l 6 -n 16 -R /dev/sd"));
    for (char letter = 'a'; letter <= 'p'; ++letter) {
        EXPECT_THAT(command, testing::HasSubstr(std::string(" /dev/sd") + letter + " "));
    }
    EXPECT_THAT(changes(run), testing::SizeIs(17));
}

// Behind the RAID controller disks have channels but no kernel names.
TEST(CreateArrayOnTheController, FindsNoDisksToTake) {
    ArrayMachine machine("VEL7205U");
    machine.tool(ArrayMachine::vexadm)
        .on("/usr/local/bin/vexadm --misc --scan")
        .prints("==\n0 /ST3/500/Normal/Free\n1 /ST3/500/Normal/Free\n");
    machine.tool(ArrayMachine::vexadm).on("/usr/local/bin/vexadm --display --scan").prints("==\n");
    const Result run = machine.operation([] {
        mdinfo array;
        array.name = "data";
        array.type = "raid1";
        array.members = "1,2";
        array.device = "0";
        array.status = "";
        return create_array(array, printed());
    });
    EXPECT_EQ(run.returned, -2034);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_EQ(last_message(machine), "disks num 0 exceed [2, 2] in raid1");
}

} // namespace
} // namespace zav::test

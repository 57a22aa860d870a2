// SPDX-License-Identifier: MIT
// Creating, deleting and extending volume groups: the commands, their order, and what a failed one
// leaves.
#include "actions/groups/groups.h"
#include "fixtures/group_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class CreateGroup : public testing::Test {
  protected:
    int create(const Texts& volumes, const std::string& group_name = "data",
               const std::string& device = "0") {
        machine.remove("/var/log/log.libzav");
        run = machine.operation([&] {
            vginfo group;
            group.name = group_name;
            group.device = device;
            for (const std::string& name : volumes) {
                pvinfo& volume = group.physical_volumes.append();
                volume.name = name;
                volume.device = device;
            }
            return create_group(group, printed());
        });
        return run.returned;
    }
    GroupMachine machine;
    Result run;
};

TEST_F(CreateGroup, ChecksThenRunsTheCommands) {
    EXPECT_EQ(create({"md0"}), 0);
    EXPECT_EQ(steps(run), joined({group_list,
                                  {"disks"},
                                  array_list,
                                  group_list,
                                  {"/sbin/pvcreate /dev/md0 > /dev/null",
                                   "/sbin/vgcreate data  /dev/md0 > /dev/null"}}));
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(CreateGroup, ChecksEveryVolumeAgainstTheSameDiskList) {
    EXPECT_EQ(create({"4", "md0"}), 0);
    EXPECT_EQ(steps(run),
              joined({group_list,
                      {"disks"},
                      array_list,
                      group_list,
                      array_list,
                      group_list,
                      {"/usr/local/bin/diskformat /dev/sdd", "/sbin/pvcreate /dev/sdd > /dev/null",
                       "/sbin/pvcreate /dev/md0 > /dev/null",
                       "/sbin/vgcreate data  /dev/sdd /dev/md0 > /dev/null"}}));
}

TEST_F(CreateGroup, PreparesEachDiskBeforeItBecomesAVolume) {
    EXPECT_EQ(create({"6", "sdd", "5"}, "vg-1_x"), 0);
    EXPECT_THAT(
        changes(run),
        ElementsAre("/usr/local/bin/diskformat /dev/sdf", "/sbin/pvcreate /dev/sdf > /dev/null",
                    "/usr/local/bin/diskformat /dev/sdd", "/sbin/pvcreate /dev/sdd > /dev/null",
                    "/usr/local/bin/diskformat /dev/sde", "/sbin/pvcreate /dev/sde > /dev/null",
                    "/sbin/vgcreate vg-1_x  /dev/sdf /dev/sdd /dev/sde > /dev/null"));
}

TEST_F(CreateGroup, TakesTheDisksOfTheDevice) {
    EXPECT_EQ(create({"4"}, "data", "1"), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/vgcreate data  /dev/sdx > /dev/null");
}

TEST_F(CreateGroup, PreparesNoDiskWhoseNameBeginsOtherwise) {
    machine.disk({.name = "hdg", .channel = 9});
    EXPECT_EQ(create({"9"}), 0);
    EXPECT_THAT(changes(run), ElementsAre("/sbin/pvcreate /dev/hdg > /dev/null",
                                          "/sbin/vgcreate data  /dev/hdg > /dev/null"));
}

TEST_F(CreateGroup, LetsThePreparationPrintAndNothingElse) {
    machine.tool(group_tool::diskformat).any().prints("prepared\n");
    machine.tool(group_tool::pvcreate).any().prints("volume created\n").complains("a warning\n");
    machine.tool(group_tool::vgcreate).any().prints("group created\n").complains("a warning\n");
    EXPECT_EQ(create({"4"}), 0);
    EXPECT_EQ(run.out, "prepared\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(CreateGroup, GivesNoToolAnInputToWaitOn) {
    for (const char* tool : {group_tool::diskformat, group_tool::pvcreate, group_tool::vgcreate}) {
        machine.tool(tool).any().does("echo asked >> /var/asked; read answer && exit 3; true");
    }
    run = machine.operation(
        [] {
            vginfo group;
            group.name = "data";
            pvinfo& volume = group.physical_volumes.append();
            volume.name = "4";
            volume.device = "0";
            return create_group(group, printed());
        },
        {.input = "y\ny\ny\n"});
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(machine.read("/var/asked"), "asked\nasked\nasked\n");
    EXPECT_THAT(machine.log(), IsEmpty());
}

// Refusals.

TEST_F(CreateGroup, RefusesTheNameBeforeItListsTheDisks) {
    machine.on("data", {"/dev/md1"}).without_disk_controller();
    EXPECT_EQ(create({"9"}), -2041);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_EQ(create({"9"}, ""), -2040);
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(CreateGroup, NeedsTheDiskListEvenForAnArray) {
    machine.without_disk_controller();
    EXPECT_EQ(create({"md0"}), -205);
    EXPECT_THAT(machine.last_message(), returned("create_group", -205));
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(CreateGroup, ReturnsTheCodeOfTheFirstVolumeThatIsRefused) {
    machine.on("other", {"/dev/md1"});
    EXPECT_EQ(create({"4", "md7", "1", "9"}), -2044);
    EXPECT_EQ(create({"4", "1", "md7", "9"}), -2043);
    EXPECT_EQ(create({"4", "9", "1", "md7"}), -2042);
    EXPECT_EQ(create({"4", "md1", "9", "1"}), -2045);
    EXPECT_THAT(logged(machine), ElementsAre("'md1' is used in vg"));
    EXPECT_THAT(changes(run), IsEmpty());
}

// A list that is too long. The command has 28 characters, plus the name, plus 9 per disk.

class CreateGroupOnManyDisks : public CreateGroup {
  protected:
    // Five status files with five disks each.
    CreateGroupOnManyDisks() {
        machine.without_disk_controller().remove_array("md0").remove_array("md1");
        for (int number = 0; number < 5; ++number) {
            std::string status = "PCI location : 1,4\n";
            for (int line = 1; line < 9; ++line) {
                status += "controller line\n";
            }
            for (int port = 0; port < 5; ++port) {
                const char letter = static_cast<char>('A' + 5 * number + port);
                names.push_back(std::string("sd") + letter);
                status += "0 0 " + std::to_string(port) + " - - - - - - " + names.back() + "\n";
            }
            machine.file("/proc/scsi/mvSata/" + std::to_string(number), status);
        }
    }
    int create_on(std::ptrdiff_t disks, std::size_t name_length) {
        return create(Texts(names.begin(), names.begin() + disks), std::string(name_length, 'g'));
    }
    Texts names;
};

TEST_F(CreateGroupOnManyDisks, RunsACommandOf255Characters) {
    EXPECT_EQ(create_on(24, 11), 0);
    EXPECT_EQ(run.commands.back().size(), 255U);
    EXPECT_THAT(run.commands.back(), StartsWith("/sbin/vgcreate ggggggggggg  /dev/sdA /dev/sdB "));
    EXPECT_THAT(run.commands.back(), EndsWith(" /dev/sdW /dev/sdX > /dev/null"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(CreateGroupOnManyDisks, RefusesAListThatWouldBeCutBeforeTheFirstCommand) {
    const auto expect_refused = [this](int disks, std::size_t name_length) {
        EXPECT_EQ(create_on(disks, name_length), -11000);
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_EQ(run.out, "");
        const std::string last = " /dev/" + names[static_cast<std::size_t>(disks) - 1];
        EXPECT_THAT(logged(machine),
                    ElementsAre(AllOf(StartsWith("system(\"/sbin/vgcreate ggg"),
                                      HasSubstr("g  /dev/sdA /dev/sdB "),
                                      HasSubstr(last + " > /dev/null\") return unnormal with "
                                                       "exit(255) for '")),
                                testing::EndsWith("was not run: it is too long to be run whole")));
    };
    expect_refused(24, 12); // 256 characters
    expect_refused(25, 3);
}

// Commands that fail.

TEST_F(CreateGroup, ContinuesWhenADiskCannotBePrepared) {
    const auto expect_created = [this](const char* end) {
        EXPECT_EQ(create({"4"}), 0);
        EXPECT_EQ(changes(run).back(), "/sbin/vgcreate data  /dev/sdd > /dev/null");
        EXPECT_THAT(logged(machine),
                    ElementsAre(failed("/usr/local/bin/diskformat /dev/sdd", end)));
        EXPECT_EQ(run.out, "");
    };
    machine.tool(group_tool::diskformat).any().exits(1);
    expect_created("normal with exit(1)");
    machine.tool(group_tool::diskformat).any().killed_by(9);
    expect_created("unnormal with exit(0)");
    machine.remove(group_tool::diskformat);
    expect_created("normal with exit(127)");
}

class CreateGroupOnThree : public CreateGroup {
  protected:
    // What was done before the failing volume stays; what comes after it is not touched.
    void expect_stopped(const char* end) {
        EXPECT_EQ(create({"md0", "4", "5"}), -11000);
        EXPECT_EQ(run.out, "cannot create sdd\n");
        EXPECT_THAT(changes(run), ElementsAre("/sbin/pvcreate /dev/md0 > /dev/null",
                                              "/usr/local/bin/diskformat /dev/sdd",
                                              "/sbin/pvcreate /dev/sdd > /dev/null"));
        EXPECT_THAT(logged(machine),
                    ElementsAre(failed("/sbin/pvcreate /dev/sdd > /dev/null", end)));
    }
};

TEST_F(CreateGroupOnThree, StopsAtAVolumeThatCannotBeMade) {
    machine.tool(group_tool::pvcreate).on("/sbin/pvcreate /dev/sdd").exits(5);
    expect_stopped("normal with exit(5)");
}

TEST_F(CreateGroupOnThree, StopsWhenASignalEndsPvcreate) {
    machine.tool(group_tool::pvcreate).on("/sbin/pvcreate /dev/sdd").killed_by(9);
    expect_stopped("unnormal with exit(0)");
}

TEST_F(CreateGroup, StopsWithoutPvcreate) {
    machine.remove(group_tool::pvcreate);
    EXPECT_EQ(create({"md0", "md1"}), -11000);
    EXPECT_EQ(run.out, "cannot create md0\n");
    EXPECT_THAT(changes(run), ElementsAre("/sbin/pvcreate /dev/md0 > /dev/null"));
    EXPECT_THAT(logged(machine), ElementsAre(failed("/sbin/pvcreate /dev/md0 > /dev/null",
                                                    "normal with exit(127)")));
}

TEST_F(CreateGroup, ReportsAFailedVgcreateInTheLogAlone) {
    const auto expect_failed = [this](const char* end) {
        EXPECT_EQ(create({"md0", "md1"}), -11000);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(changes(run).back(), "/sbin/vgcreate data  /dev/md0 /dev/md1 > /dev/null");
        EXPECT_THAT(logged(machine),
                    ElementsAre(failed("/sbin/vgcreate data  /dev/md0 /dev/md1 > /dev/null", end)));
    };
    machine.tool(group_tool::vgcreate).any().exits(5);
    expect_failed("normal with exit(5)");
    machine.tool(group_tool::vgcreate).any().killed_by(11);
    expect_failed("unnormal with exit(0)");
    machine.remove(group_tool::vgcreate);
    expect_failed("normal with exit(127)");
}

// Behind the RAID controller disks have channels but no names.
TEST(CreateGroupOnTheController, RunsNoCommandForADiskWithoutAName) {
    GroupMachine machine;
    machine.model("VEL7205U");
    Tool controller = machine.tool("/usr/local/bin/vexadm");
    controller.on("/usr/local/bin/vexadm --misc --scan").prints("==\n3 /ST3/500/Normal/Free\n");
    controller.on("/usr/local/bin/vexadm --display --scan")
        .prints("==\nmd1 /5/x/Normal/1000/0/#1 #2 #3\n");
    const Result run = machine.operation([] {
        vginfo group;
        group.name = "data";
        pvinfo& volume = group.physical_volumes.append();
        volume.name = "4";
        volume.device = "0";
        return create_group(group, printed());
    });
    EXPECT_LT(run.returned, 0);
    EXPECT_THAT(changes(run), IsEmpty());
}

// Deleting.

class DeleteGroup : public testing::Test {
  protected:
    int remove(const std::string& name = "data") {
        machine.remove("/var/log/log.libzav");
        run = machine.operation([&] { return delete_group(name.c_str(), printed()); });
        return run.returned;
    }
    void expect_nothing_done(int code) {
        EXPECT_EQ(remove(), code);
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_EQ(run.out, "");
    }
    GroupMachine machine;
    Result run;
};

TEST_F(DeleteGroup, RemovesTheGroupThenItsVolumes) {
    machine.on("other", {"/dev/sdf"}).on("data", {"/dev/md1", "/dev/md0"});
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(steps(run),
              joined({group_list,
                      {"/sbin/vgremove data > /dev/null", "/sbin/pvremove /dev/md1 > /dev/null",
                       "/sbin/pvremove /dev/md0 > /dev/null"}}));
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(DeleteGroup, TranslatesChannels) {
    machine.on("data", {"/dev/sdx", "/dev/md0", "/dev/sde"});
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(
        steps(run),
        joined({group_list,
                {"disks", "/sbin/vgremove data > /dev/null", "/sbin/pvremove /dev/sdx > /dev/null",
                 "/sbin/pvremove /dev/md0 > /dev/null", "/sbin/pvremove /dev/sde > /dev/null"}}));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(DeleteGroup, ReleasesADiskThatHasNoChannelUnderItsName) {
    machine.on("data", {"/dev/sdq", "/dev/mapper/backup"});
    EXPECT_EQ(remove(), 0);
    EXPECT_THAT(changes(run), ElementsAre("/sbin/vgremove data > /dev/null",
                                          "/sbin/pvremove /dev/sdq > /dev/null",
                                          "/sbin/pvremove /dev/backup > /dev/null"));
}

TEST_F(DeleteGroup, TriesTheChannelOfADiskThatIsGoneByThen) {
    machine.on("data", {"/dev/sdf"});
    machine.tool(group_tool::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .does("rm /proc/scsi/mvSata/6")
        .prints("  /dev/sdf:data:4194304:-1:8:8:-1:4096:512:512:0:Z322lO\n");
    machine.tool(group_tool::pvremove).on("/sbin/pvremove /dev/6").exits(5);
    EXPECT_EQ(remove(), -11000);
    EXPECT_EQ(run.out, "cannot del 6\n");
}

TEST_F(DeleteGroup, LetsTheToolsPrintNothing) {
    machine.on("data", {"/dev/md0"});
    machine.tool(group_tool::vgremove).any().prints("group removed\n").complains("a warning\n");
    machine.tool(group_tool::pvremove).any().prints("volume removed\n").complains("a warning\n");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST_F(DeleteGroup, RefusesAnUnknownGroupSilently) {
    machine.on("data1", {"/dev/md0"}).on("dat", {"/dev/md1"});
    expect_nothing_done(-2046);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(DeleteGroup, KeepsAGroupThatHoldsPoolsSilently) {
    machine.on("data", {"/dev/md0"}, 256); // 1 GiB
    expect_nothing_done(-2047);
    EXPECT_THAT(machine.log(), IsEmpty());
}

// The used size is in whole GiB, rounded down.
TEST_F(DeleteGroup, IgnoresPoolsOfLessThanAGigabyteInAll) {
    machine.on("data", {"/dev/md0"}, 255);
    EXPECT_EQ(remove(), 0);
    EXPECT_THAT(changes(run), Contains("/sbin/vgremove data > /dev/null"));
}

TEST_F(DeleteGroup, AddsUpWhatPoolsUseOnAllVolumes) {
    machine.group({.name = "data",
                   .volumes = {{.device = "/dev/md0", .allocated = 128},
                               {.device = "/dev/md1", .allocated = 128}}});
    expect_nothing_done(-2047);
}

// The last command decides.

TEST_F(DeleteGroup, SucceedsWhenVgremoveFailedAndTheVolumesAreReleased) {
    machine.on("data", {"/dev/md0"});
    const auto expect_released = [this](const char* end) {
        EXPECT_EQ(remove(), 0);
        EXPECT_THAT(changes(run), ElementsAre("/sbin/vgremove data > /dev/null",
                                              "/sbin/pvremove /dev/md0 > /dev/null"));
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(logged(machine), ElementsAre(failed("/sbin/vgremove data > /dev/null", end)));
    };
    machine.tool(group_tool::vgremove).any().exits(5);
    expect_released("normal with exit(5)");
    machine.tool(group_tool::vgremove).any().killed_by(9);
    expect_released("unnormal with exit(0)");
    machine.remove(group_tool::vgremove);
    expect_released("normal with exit(127)");
}

TEST_F(DeleteGroup, ReportsAFailedVgremoveOfAGroupWithoutVolumes) {
    machine.on("data", {});
    machine.tool(group_tool::vgremove).any().exits(5);
    EXPECT_EQ(remove(), -11000);
    EXPECT_EQ(run.out, "");
}

TEST_F(DeleteGroup, StopsAtAVolumeThatCannotBeReleased) {
    machine.on("data", {"/dev/md0", "/dev/sdd", "/dev/md1"});
    const auto expect_stopped = [this](const char* end) {
        EXPECT_EQ(remove(), -11000);
        EXPECT_THAT(changes(run), ElementsAre("/sbin/vgremove data > /dev/null",
                                              "/sbin/pvremove /dev/md0 > /dev/null",
                                              "/sbin/pvremove /dev/sdd > /dev/null"));
        EXPECT_EQ(run.out, "cannot del sdd\n");
        EXPECT_THAT(logged(machine),
                    ElementsAre(failed("/sbin/pvremove /dev/sdd > /dev/null", end)));
    };
    machine.tool(group_tool::pvremove).on("/sbin/pvremove /dev/sdd").exits(5);
    expect_stopped("normal with exit(5)");
    machine.tool(group_tool::pvremove).on("/sbin/pvremove /dev/sdd").killed_by(9);
    expect_stopped("unnormal with exit(0)");
}

TEST_F(DeleteGroup, StopsWithoutPvremove) {
    machine.on("data", {"/dev/md0", "/dev/md1"});
    machine.remove(group_tool::pvremove);
    EXPECT_EQ(remove(), -11000);
    EXPECT_EQ(changes(run).back(), "/sbin/pvremove /dev/md0 > /dev/null");
    EXPECT_EQ(run.out, "cannot del md0\n");
}

TEST_F(DeleteGroup, StopsAtAVolumeWhoseNameIsNotPlain) {
    for (const char* device : {"/dev/md0;reboot", "/dev/$(reboot)", "/dev/md 0", "/dev/-ff"}) {
        machine.only_on("data", {device, "/dev/md1"});
        EXPECT_EQ(remove(), -11000) << device;
        EXPECT_THAT(changes(run), ElementsAre("/sbin/vgremove data > /dev/null")) << device;
        const std::string name = std::string(device).substr(5);
        EXPECT_EQ(run.out, "cannot del " + name + "\n");
        EXPECT_THAT(logged(machine),
                    ElementsAre(failed("/sbin/pvremove /dev/" + name + " > /dev/null",
                                       "unnormal with exit(255)"),
                                "'/sbin/pvremove /dev/" + name + " > /dev/null' was not run: '" +
                                    name + "' is not a plain name"));
    }
}

TEST_F(DeleteGroup, RunsNoCommandWithANameThatIsNotPlain) {
    for (const std::string name : {"data;reboot", "$(reboot)", "da ta", "-f"}) {
        machine.only_on(name, {"/dev/md1"});
        EXPECT_LT(remove(name), 0) << name;
        EXPECT_THAT(changes(run), IsEmpty());
    }
}

// Lists that cannot be built.

TEST_F(DeleteGroup, NeedsTheGroupList) {
    machine.on("data", {"/dev/md0"});
    machine.tool(group_tool::pvdisplay).on("/sbin/pvdisplay -c").exits(5);
    expect_nothing_done(-11000);
    EXPECT_THAT(machine.last_message(), returned("find_group_to_delete", -11000));
    machine.remove("/etc/sys_info");
    expect_nothing_done(-11001);
    EXPECT_THAT(machine.last_message(), returned("find_group_to_delete", -11001));
}

TEST_F(DeleteGroup, NeedsTheDiskListForChannels) {
    machine.on("data", {"/dev/sdf"});
    machine.tool(group_tool::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .does("rm -r /proc/scsi/mvSata")
        .prints("  /dev/sdf:data:4194304:-1:8:8:-1:4096:512:512:0:Z322lO\n");
    expect_nothing_done(-205);
    EXPECT_THAT(machine.last_message(), returned("remove_group", -205));
}

} // namespace
} // namespace zav::test

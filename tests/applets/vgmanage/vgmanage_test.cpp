// SPDX-License-Identifier: MIT
// vgmanage --create and --display, and which of several modes is carried out.
#include "fixtures/group_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class VgCreate : public testing::Test {
  protected:
    int create(Texts arguments) {
        arguments.insert(arguments.begin(), "-C");
        machine.remove("/var/log/log.libzav");
        run = machine.vgmanage(arguments);
        return run.exit_status;
    }
    int create_data() { return create({"-n", "data", "-c", "md0"}); }
    // The command is refused, prints only this code, and changes nothing.
    void expect_refused(int code, const Texts& arguments) {
        create(arguments);
        expect_failure(machine, run, code);
        EXPECT_THAT(changes(run), IsEmpty());
    }
    // The failure is printed and logged, but the status is 0.
    void expect_only_printed(const std::string& before = "") {
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_EQ(run.out, before + "for errno '-302'\n");
        EXPECT_EQ(run.err, "");
        EXPECT_THAT(machine.last_message(), returned("vgmanage_main", -302));
    }
    GroupMachine machine;
    Result run;
};

TEST_F(VgCreate, MakesAGroupOfAnArray) {
    EXPECT_EQ(create_data(), 0);
    EXPECT_THAT(changes(run), ElementsAre("/sbin/pvcreate /dev/md0 > /dev/null",
                                          "/sbin/vgcreate data  /dev/md0 > /dev/null"));
    EXPECT_EQ(outside(run).back(), "/sbin/vgcreate data  /dev/md0 > /dev/null");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(VgCreate, TakesTheLongName) {
    run = machine.vgmanage({"--create", "-n", "data", "-c", "md0"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(changes(run).back(), "/sbin/vgcreate data  /dev/md0 > /dev/null");
}

TEST_F(VgCreate, TakesAListInItsOrder) {
    EXPECT_EQ(create({"-n", "data", "-c", "6,md0,sdd"}), 0);
    EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/diskformat /dev/sdf",
                                          "/sbin/pvcreate /dev/sdf > /dev/null",
                                          "/sbin/pvcreate /dev/md0 > /dev/null",
                                          "/usr/local/bin/diskformat /dev/sdd",
                                          "/sbin/pvcreate /dev/sdd > /dev/null",
                                          "/sbin/vgcreate data  /dev/sdf /dev/md0 /dev/sdd > "
                                          "/dev/null"));
}

TEST_F(VgCreate, LooksForChannelsOnDevice0WithoutADevice) {
    EXPECT_EQ(create({"-n", "data", "-c", "4"}), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/vgcreate data  /dev/sdd > /dev/null");
}

TEST_F(VgCreate, LooksForChannelsOnTheDevice) {
    EXPECT_EQ(create({"-n", "data", "-c", "4", "-d", "1"}), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/vgcreate data  /dev/sdx > /dev/null");
    expect_refused(-2042, {"-n", "data", "-c", "5", "-d", "1"});
}

TEST_F(VgCreate, ChecksTheNameBeforeTheListBeforeTheDevice) {
    expect_refused(-123, {"-n", "a b", "-c", "m;d", "-d", "0/1"});
    expect_refused(-122, {"-n", "data", "-c", "m;d", "-d", "0/1"});
    expect_refused(-121, {"-n", "data", "-c", "md7", "-d", "0/1"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(VgCreate, RefusesInvalidNames) {
    for (const std::string& name :
         {std::string(""), std::string("a b"), std::string("a.b"), std::string(33, 'n')}) {
        expect_refused(-123, {"-n", name, "-c", "md0"});
        EXPECT_THAT(run.commands, IsEmpty());
    }
    expect_refused(-123, {"-c", "md0"});
    EXPECT_EQ(create({"-n", std::string(32, 'n'), "-c", "md0"}), 0);
}

TEST_F(VgCreate, RefusesInvalidLists) {
    for (const std::string& list :
         {std::string(""), std::string(",md0"), std::string("md0 md1"), std::string("md0;"),
          std::string("md0,") + std::string(33, '1'), std::string("/dev/md0")}) {
        expect_refused(-122, {"-n", "data", "-c", list});
        EXPECT_THAT(run.commands, IsEmpty());
    }
    expect_refused(-122, {"-n", "data"});
}

TEST_F(VgCreate, RefusesInvalidDevices) {
    for (const char* device : {"", "0 ", "1/2", "123456789"}) {
        expect_refused(-121, {"-n", "data", "-c", "md0", "-d", device});
        EXPECT_THAT(run.commands, IsEmpty());
    }
    EXPECT_EQ(create({"-n", "data", "-c", "md0", "-d", "12345678"}), 0);
}

TEST_F(VgCreate, ReportsWhatTheChecksRefuse) {
    machine.on("used", {"/dev/md1"}).hotspares({"sdf"});
    const std::vector<std::tuple<int, std::string, std::string, std::string>> refusals = {
        {-2041, "used", "9", "vgname 'used' used"},
        {-2042, "data", "4,9", "invalid disk channelID: '9'"},
        {-2042, "data", "sdabcdefg", "invalid disk channelID: 'sdabcde'"},
        {-2043, "data", "2", "disk channelID '2' used in raid"},
        {-2043, "data", "4,6", "disk channelID '6' used hotspare disk"},
        {-2044, "data", "md7", "cannot find md 'md7'"},
        {-2045, "data", "md0,md1", "'md1' is used in vg"}};
    for (const auto& [code, name, list, message] : refusals) {
        expect_refused(code, {"-n", name, "-c", list});
        EXPECT_THAT(logged(machine), ElementsAre(message, returned("vgmanage_main", code)));
    }
}

TEST_F(VgCreate, ReportsListsThatCannotBeBuilt) {
    machine.remove("/proc/mdstat");
    expect_refused(-422, {"-n", "data", "-c", "md0"});
    machine.without_disk_controller();
    expect_refused(-205, {"-n", "data", "-c", "md0"});
    machine.remove("/etc/sys_info");
    expect_refused(-11001, {"-n", "data", "-c", "md0"});
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").does("rm -f /tmp/vgdisplay.*");
    create_data();
    EXPECT_EQ(run.exit_status, -1040 & 0xff);
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/vgdisplay\\.[^ ]{6}\nfor errno '-1040'\n"));
}

TEST_F(VgCreate, SucceedsAndPrintsWhenVgcreateFailedAndThereIsNoGroup) {
    machine.tool(group_tool::vgdisplay)
        .on("/sbin/vgdisplay -c data")
        .replays("vgdisplay_c_unknown");
    machine.tool(group_tool::vgcreate).any().exits(5);
    create_data();
    expect_only_printed();
    EXPECT_EQ(outside(run).back(), "/sbin/vgdisplay -c data > /tmp/vgdisplay.XXXXXX");
    machine.tool(group_tool::vgcreate).any().killed_by(9);
    create_data();
    expect_only_printed();
    machine.remove(group_tool::vgcreate);
    create_data();
    expect_only_printed();
}

TEST_F(VgCreate, SucceedsInSilenceWhenVgcreateFailedAndTheGroupIsThere) {
    machine.tool(group_tool::vgcreate).any().exits(5);
    machine.tool(group_tool::vgdisplay)
        .on("/sbin/vgdisplay -c data")
        .prints("  data:r/w:772:-1:0:0:0:-1:0:1:1:2449408:4096:598:0:598:QtywLH\n");
    EXPECT_EQ(create_data(), 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(outside(run).back(), "/sbin/vgdisplay -c data > /tmp/vgdisplay.XXXXXX");
    EXPECT_THAT(logged(machine), ElementsAre(failed("/sbin/vgcreate data  /dev/md0 > /dev/null",
                                                    "normal with exit(5)")));
}

TEST_F(VgCreate, TreatsAGroupThatCannotBeLookedUpAsMissing) {
    machine.tool(group_tool::vgcreate).any().exits(5);
    machine.tool(group_tool::vgdisplay)
        .on("/sbin/vgdisplay -c data")
        .does("rm -f /tmp/vgdisplay.*");
    create_data();
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/vgdisplay\\.[^ ]{6}\nfor errno '-302'\n"));
    EXPECT_THAT(machine.last_message(), returned("vgmanage_main", -302));
}

TEST_F(VgCreate, SucceedsAndPrintsWhenAVolumeCannotBeMade) {
    machine.tool(group_tool::pvcreate).on("/sbin/pvcreate /dev/md1").exits(5);
    create({"-n", "data", "-c", "md0,md1,4"});
    expect_only_printed("cannot create md1\n");
    EXPECT_THAT(changes(run), ElementsAre("/sbin/pvcreate /dev/md0 > /dev/null",
                                          "/sbin/pvcreate /dev/md1 > /dev/null"));
}

TEST_F(VgCreate, SucceedsAndPrintsWhenTheGroupsCannotBeListed) {
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").exits(5);
    create_data();
    expect_only_printed();
    machine.remove(group_tool::vgdisplay);
    create_data();
    expect_only_printed();
    EXPECT_THAT(changes(run), IsEmpty());
}

// Display.

const std::string header = "vgname\tstatus\tdevice\tallsize\tusedsize\tpvname\n"
                           "*****************************************************\n";

class VgDisplay : public testing::Test {
  protected:
    int display(Texts arguments = {}) {
        arguments.insert(arguments.begin(), "-S");
        machine.remove("/var/log/log.libzav");
        run = machine.vgmanage(arguments);
        EXPECT_THAT(changes(run), IsEmpty());
        return run.exit_status;
    }
    void expect_refused(int code, const Texts& arguments = {}) {
        display(arguments);
        expect_failure(machine, run, code);
    }
    GroupMachine machine;
    Result run;
};

TEST_F(VgDisplay, HasHeaderAndRuleOnlyWithoutGroups) {
    EXPECT_EQ(display(), 0);
    EXPECT_EQ(run.out, header);
    EXPECT_EQ(std::ranges::count(run.out, '*'), 53);
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(machine.log(), IsEmpty());
    EXPECT_EQ(machine.vgmanage({"--display"}).out, header);
}

TEST_F(VgDisplay, HasARowForEachGroupWithItsVolumesJoined) {
    machine.group({.name = "data",
                   .volumes = {{.device = "/dev/md1", .allocated = 512},
                               {.device = "/dev/sdx"},
                               {.device = "/dev/md0"}}});
    machine.group({.name = "old", .volumes = {{.device = "/dev/sdf"}}, .status = 770});
    EXPECT_EQ(display(), 0);
    EXPECT_EQ(run.out, header + "data\tresizable\t0\t11177G\t2G\tmd1,4,md0\n"
                                "old\texported/not resizable\t0\t3725G\t0G\t6\n");
    EXPECT_EQ(steps(run), group_list);
}

TEST_F(VgDisplay, ShowsTheDeviceOfTheVolumes) {
    machine.on("data", {"/dev/sdx"});
    EXPECT_EQ(display(), 0);
    EXPECT_EQ(run.out, header + "data\tresizable\t1\t3725G\t0G\t4\n");
}

TEST_F(VgDisplay, HasAnEmptyColumnForAGroupWithoutVolumes) {
    machine.on("data", {});
    EXPECT_EQ(display(), 0);
    EXPECT_EQ(run.out, header + "data\tresizable\t\t0G\t0G\t\n");
}

TEST_F(VgDisplay, ShowsKernelNamesWithoutADiskList) {
    machine.on("data", {"/dev/sdd"}).without_disk_controller();
    EXPECT_EQ(display(), 0);
    EXPECT_EQ(run.out, header + "data\tresizable\t\t3725G\t0G\tsdd\n");
}

TEST_F(VgDisplay, ShowsOneGroupByItsName) {
    machine.on("dat", {"/dev/md0"}).on("data", {"/dev/md1"}).on("data1", {"/dev/sdd"});
    EXPECT_EQ(display({"-n", "data"}), 0);
    EXPECT_EQ(run.out, header + "data\tresizable\t0\t3725G\t0G\tmd1\n");
    EXPECT_EQ(steps(run), group_list);
}

TEST_F(VgDisplay, ReportsAnUnknownGroupWithoutATable) {
    machine.on("data1", {"/dev/md0"});
    for (const char* name : {"data", "DATA1", "data12"}) {
        expect_refused(-303, {"-n", name});
    }
}

TEST_F(VgDisplay, RefusesInvalidNames) {
    for (const std::string& name : {std::string(""), std::string("a b"), std::string(33, 'n')}) {
        expect_refused(-123, {"-n", name});
    }
}

TEST_F(VgDisplay, ReportsListsThatCannotBeBuiltWhateverTheName) {
    machine.tool(group_tool::pvdisplay).on("/sbin/pvdisplay -c").exits(5);
    expect_refused(-304);
    expect_refused(-304, {"-n", "a b"});
    machine.tool(group_tool::pvdisplay).on("/sbin/pvdisplay -c").killed_by(9);
    expect_refused(-304);
    machine.remove(group_tool::pvdisplay);
    expect_refused(-304);
    machine.remove("/etc/sys_info");
    expect_refused(-304);
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").exits(5);
    expect_refused(-304);
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").killed_by(9);
    expect_refused(-304);
    machine.remove(group_tool::vgdisplay);
    expect_refused(-304);
}

// Modes.

TEST(VgMode, CreateComesBeforeDisplayAndDelete) {
    GroupMachine machine;
    for (const char* other : {"-S", "-D"}) {
        const Result run = machine.vgmanage({other, "-C", "-n", "data", "-c", "md0"});
        ASSERT_THAT(changes(run), Not(IsEmpty()));
        EXPECT_EQ(changes(run).back(), "/sbin/vgcreate data  /dev/md0 > /dev/null");
    }
}

TEST(VgMode, DisplayComesBeforeDelete) {
    GroupMachine machine;
    machine.on("data", {"/dev/md0"});
    const Result run = machine.vgmanage({"-D", "-S", "-n", "data"});
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(run.out, testing::HasSubstr(header));
}

TEST(VgMode, DoesNothingWithoutOne) {
    GroupMachine machine;
    for (const Texts& arguments : {Texts{"-x"}, Texts{"-x", "-n", "data", "-c", "md0"}}) {
        const Result run = machine.vgmanage(arguments);
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

} // namespace
} // namespace zav::test

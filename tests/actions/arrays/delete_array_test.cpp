// SPDX-License-Identifier: MIT
// Stopping an array, and marking a member faulty.
#include "actions/arrays/changes.h"
#include "fixtures/array_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class DeleteArray : public testing::Test {
  protected:
    DeleteArray() {
        machine.box(6);
        machine.running("md1", "raid1", {"sda", "sdb"});
    }
    int remove(const char* array) {
        run = machine.operation([&] { return delete_array(array, printed()); });
        return run.returned;
    }
    ArrayMachine machine;
    Result run;
};

TEST_F(DeleteArray, RunsTheListsThenStops) {
    EXPECT_EQ(remove("md1"), 0);
    EXPECT_THAT(outside(run), ElementsAreArray(joined({array_list_commands({"md1"}),
                                                       group_list_commands({"md1"}),
                                                       {"/sbin/mdadm -S /dev/md1 > /dev/null"}})));
    EXPECT_THAT(machine.log(), IsEmpty());
    EXPECT_EQ(run.out, "");
}

TEST_F(DeleteArray, ReportsAnArrayInUse) {
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -S /dev/md1").replays("mdadm_stop_busy");
    EXPECT_EQ(remove("md1"), -11000);
    EXPECT_THAT(last_message(machine),
                StartsWith("system(\"/sbin/mdadm -S /dev/md1 > /dev/null\") return normal with "
                           "exit(1) for '"));
}

TEST_F(DeleteArray, RefusesAnUnknownArraySilently) {
    EXPECT_EQ(remove("md"), -2038);
    EXPECT_EQ(remove("md10"), -2038);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(DeleteArray, RefusesAnArrayThatCarriesAGroupSilently) {
    machine.group("vg1", {"/dev/sdc", "/dev/md1"});
    EXPECT_EQ(remove("md1"), -2035);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(DeleteArray, TakesOneWhoseNameAPhysicalVolumeOnlyBeginsWith) {
    machine.running("md10", "raid1", {"sdc", "sdd"}).group("vg1", {"/dev/md10"});
    EXPECT_EQ(remove("md1"), 0);
}

TEST_F(DeleteArray, NeedsTheArrayList) {
    machine.without_array_list();
    EXPECT_EQ(remove("md1"), -422);
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -422"));
}

TEST_F(DeleteArray, NeedsTheGroupListEvenForAnUnknownArray) {
    machine.without_group_list();
    EXPECT_EQ(remove("md7"), -11000);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -11000"));
}

class FailDisk : public testing::Test {
  protected:
    int fail(const char* array, const char* disk) {
        run = machine.operation([&] { return fail_disk(array, disk); });
        return run.returned;
    }
    ArrayMachine machine;
    Result run;
};

TEST_F(FailDisk, RunsMdadmAlone) {
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm /dev/md1 -f /dev/sda");
    EXPECT_EQ(fail("md1", "sda"), 0);
    EXPECT_THAT(outside(run), ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sda"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(FailDisk, LetsMdadmPrint) {
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm /dev/md1 -f /dev/sda").prints("failed\n");
    EXPECT_EQ(fail("md1", "sda"), 0);
    EXPECT_EQ(run.out, "failed\n");
}

TEST_F(FailDisk, ReturnsTheStatusOfTheCommand) {
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm /dev/md1 -f /dev/sda").exits(2);
    EXPECT_EQ(fail("md1", "sda"), 2 << 8);
    EXPECT_THAT(last_message(machine),
                StartsWith("system(\"/sbin/mdadm /dev/md1 -f /dev/sda\") return normal with "
                           "exit(2) for '"));
}

TEST_F(FailDisk, ReturnsTheSignalThatKilledTheCommand) {
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm /dev/md1 -f /dev/sda").killed_by(9);
    EXPECT_EQ(fail("md1", "sda"), 9);
    EXPECT_THAT(last_message(machine), HasSubstr("return unnormal with exit(0) for '"));
}

TEST_F(FailDisk, RunsNoCommandWithAnInvalidName) {
    EXPECT_EQ(fail("md1", "sda;reboot"), -1);
    EXPECT_EQ(fail("md1", ""), -1);
    EXPECT_EQ(fail("md1;reboot", "sda"), -1);
    EXPECT_EQ(fail("", "sda"), -1);
    EXPECT_THAT(run.commands, IsEmpty());
    const Texts logged = log_texts(machine);
    ASSERT_EQ(logged.size(), 8U);
    EXPECT_THAT(logged.front(), HasSubstr("return unnormal with exit(255) for '"));
    EXPECT_EQ(logged.at(1), "'/sbin/mdadm /dev/md1 -f /dev/sda;reboot' was not run: it names no "
                            "disk of the kernel");
    EXPECT_THAT(logged.at(5), HasSubstr("'md1;reboot' is not a plain name"));
}

} // namespace
} // namespace zav::test

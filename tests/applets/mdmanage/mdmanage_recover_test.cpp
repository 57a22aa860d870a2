// SPDX-License-Identifier: MIT
// mdmanage --recover, and how every failure of mdmanage is reported.
#include "fixtures/array_machine.h"

namespace zav::test {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

const std::string whole_details = "   Raid Devices : 3\n"
                                  " 0 8 0 0 active sync /dev/sda\n"
                                  " 1 8 0 1 active sync /dev/sdb\n"
                                  " 2 8 0 2 active sync /dev/sdc\n";
const std::string details_with_hole = "   Raid Devices : 3\n"
                                      " 0 8 0 0 active sync /dev/sda\n"
                                      " 1 0 0 1 removed\n"
                                      " 2 8 0 2 active sync /dev/sdc\n";

Rule details(ArrayMachine& machine) {
    return machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -D /dev/md1");
}

TEST(RecoverCommand, LooksUpTheTypeThenRecovers) {
    ArrayMachine machine;
    machine.box(3).running("md1", "raid5", {"sda", "sdb", "sdc"});
    details(machine).prints(whole_details);
    for (const char* option : {"-R", "--recover"}) {
        const Result run = machine.mdmanage({option, "-n", "md1"});
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_THAT(outside(run),
                    ElementsAreArray(joined(
                        {array_list_commands({"md1"}),
                         {"/sbin/mdadm -D /dev/md1 > /tmp/mdinfo.XXXXXX",
                          "/sbin/mdadm -S /dev/md1 > /dev/null",
                          "/sbin/mdadm -C /dev/md1 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > "
                          "/dev/null",
                          "/sbin/vgscan > /dev/null"}})));
        EXPECT_EQ(run.out, "disk: /dev/sda\ndisk: /dev/sdb\ndisk: /dev/sdc\n");
        EXPECT_EQ(run.err, "");
    }
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(RecoverCommand, TakesTheTypeThatTheArrayHas) {
    ArrayMachine machine;
    machine.box(3).running("md1", "raid1", {"sda", "sdb"});
    details(machine).prints("Raid Devices : 2\n0 /dev/sda\n1 /dev/sdb\n");
    const Result run = machine.mdmanage({"-R", "-n", "md1"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(changes(run)[2],
              "/sbin/mdadm -C /dev/md1 -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
}

TEST(RecoverCommand, PrintsTheMembersBeforeTheFailure) {
    ArrayMachine machine;
    machine.box(3).running("md1", "raid5", {"sda", "sdb", "sdc"});
    details(machine).prints(whole_details);
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -S /dev/md1").exits(1);
    const Result run = machine.mdmanage({"-R", "-n", "md1"});
    expect_failure(machine, run, -419);
    EXPECT_EQ(run.out, "disk: /dev/sda\ndisk: /dev/sdb\ndisk: /dev/sdc\nfor errno '-419'\n");
}

TEST(RecoverCommand, RefusesInvalidNames) {
    ArrayMachine machine;
    for (const Texts& arguments : {Texts{"-R"}, Texts{"-R", "-n", ""}, Texts{"-R", "-n", "a b"},
                                   Texts{"-R", "-n", std::string(33, 'n')}}) {
        const Result run = machine.mdmanage(arguments);
        expect_failure(machine, run, -127);
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST(RecoverCommand, ReportsAFailedLookUpAsAWrongName) {
    ArrayMachine machine;
    machine.without_array_list();
    expect_failure(machine, machine.mdmanage({"-R", "-n", "md1"}), -127);
}

// With an unknown level it would be re-created as a stripe.
TEST(RecoverCommand, RefusesAnArrayOfAnUnknownLevel) {
    ArrayMachine machine;
    machine.box(3).running("md1", "raid5", {"sda", "sdb", "sdc"});
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm --detail /dev/md1").exits(1);
    const Result run = machine.mdmanage({"-R", "-n", "md1"});
    expect_failure(machine, run, -127);
    EXPECT_THAT(changes(run), IsEmpty());
}

// One failure and its cause, besides md1, a RAID-5 of sda, sdb (faulty) and sdc on device "1".
struct Failure {
    int code;
    const char* name;
    Texts arguments;
    std::function<void(ArrayMachine&)> prepare = [](ArrayMachine&) {};
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.name;
}

class EveryFailure : public testing::TestWithParam<Failure> {};

TEST_P(EveryFailure, IsLoggedAndPrintedAndBecomesTheExitStatus) {
    const Failure& failure = GetParam();
    ArrayMachine machine;
    machine.box(6).array("md1", "raid5", "clean, degraded", 3,
                         {{"sda", "in_sync"}, {"sdb", "faulty"}, {"sdc", "in_sync"}});
    failure.prepare(machine);
    const Result run = machine.mdmanage(failure.arguments);
    expect_failure(machine, run, failure.code);
    EXPECT_EQ(log_texts(machine, "mdmanage_main").size(), 1U);
}

void fail_mdadm(ArrayMachine& machine, const char* mode) {
    machine.tool(ArrayMachine::mdadm).on_prefix(std::string("/sbin/mdadm ") + mode).exits(1);
}

const Texts create_pair = {"-C", "-n", "data", "-l", "1", "-d", "1", "4,5"};

INSTANTIATE_TEST_SUITE_P(
    Of, EveryFailure,
    testing::Values(
        Failure{-111, "Channels", {"-C", "-n", "data", "-l", "1", "-d", "1", "x"}},
        Failure{-121, "Device", {"-C", "-n", "data", "-l", "1", "-d", "a b", "4,5"}},
        Failure{-127, "Name", {"-C"}}, Failure{-127, "UnknownArrayToAddTo", {"-a", "4", "md7"}},
        Failure{-130, "Level", {"-C", "-n", "data", "-l", "2", "-d", "1", "4,5"}},
        Failure{-416, "GroupListToCreate", create_pair,
                [](ArrayMachine& machine) { machine.without_group_list(); }},
        Failure{-417,
                "GroupListToAdd",
                {"-a", "4", "md1"},
                [](ArrayMachine& machine) { machine.without_group_list(); }},
        Failure{-205, "DiskList", create_pair,
                [](ArrayMachine& machine) { machine.without_disk_controller(); }},
        Failure{-410,
                "MissingDisk",
                {"-R", "-n", "md1"},
                [](ArrayMachine& machine) {
                    details(machine).prints(details_with_hole);
                    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -E").exits(1);
                }},
        Failure{-411,
                "Details",
                {"-R", "-n", "md1"},
                [](ArrayMachine& machine) { details(machine).exits(1); }},
        Failure{-412, "Reservation", create_pair,
                [](ArrayMachine& machine) { machine.file("/tmp/mdname.test", "data\n"); }},
        Failure{-415,
                "Stop",
                {"-D", "-n", "md1"},
                [](ArrayMachine& machine) { fail_mdadm(machine, "-S"); }},
        Failure{-416, "Creation", create_pair,
                [](ArrayMachine& machine) { fail_mdadm(machine, "-C"); }},
        Failure{-417,
                "Adding",
                {"-a", "4", "md1"},
                [](ArrayMachine& machine) { fail_mdadm(machine, "--manage"); }},
        Failure{-418,
                "Removing",
                {"-r", "2", "md1"},
                [](ArrayMachine& machine) { fail_mdadm(machine, "--manage"); }},
        Failure{-419,
                "Recovery",
                {"-R", "-n", "md1"},
                [](ArrayMachine& machine) {
                    details(machine).prints(whole_details);
                    fail_mdadm(machine, "-S");
                }},
        Failure{-421,
                "InactiveArray",
                {"-a", "4", "md1"},
                [](ArrayMachine& machine) { machine.members("md1", "5", {}); }},
        Failure{
            -422, "ArrayList", {"-S"}, [](ArrayMachine& machine) { machine.without_array_list(); }},
        Failure{-423, "ArrayToShow", {"-S", "-n", "md7"}},
        Failure{-2030, "UsedDisk", {"-a", "1", "md1"}},
        Failure{-2031, "UsedName", {"-C", "-n", "md1", "-l", "1", "-d", "1", "4,5"}},
        Failure{-2032, "Type", {"-C", "-n", "data", "-l", "10", "-d", "1", "4,5"}},
        Failure{-2033, "Disk", {"-r", "9", "md1"}},
        Failure{-2034, "Count", {"-C", "-n", "data", "-l", "1", "-d", "1", "4,5,6"}},
        Failure{-2035,
                "CarriedGroup",
                {"-D", "-n", "md1"},
                [](ArrayMachine& machine) { machine.group("vg1", {"/dev/md1"}); }},
        Failure{-2036, "HealthyDisk", {"-r", "1", "md1"}},
        Failure{-2037,
                "FixedLevel",
                {"-a", "6", "md2"},
                [](ArrayMachine& machine) { machine.running("md2", "raid0", {"sdd"}); }},
        Failure{-2038, "UnknownArray", {"-r", "2", "md7"}},
        Failure{-11001,
                "Model",
                {"-a", "4", "md1"},
                [](ArrayMachine& machine) { machine.remove("/etc/sys_info"); }}),
    [](const auto& test) { return test.param.name; });

} // namespace
} // namespace zav::test

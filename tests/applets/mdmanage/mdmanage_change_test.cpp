// SPDX-License-Identifier: MIT
// mdmanage -a and -r, several modes or none, and the usage.
#include "fixtures/array_machine.h"

namespace zav::test {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Change : public testing::Test {
  protected:
    // md1 of sda, sdb, sdc; sdb is faulty.
    Change() {
        machine.box(6);
        machine.array("md1", "raid5", "clean, degraded", 3,
                      {{"sda", "in_sync"}, {"sdb", "faulty"}, {"sdc", "in_sync"}});
    }
    int manage(Texts arguments) {
        run = machine.mdmanage(std::move(arguments));
        return run.exit_status;
    }
    void expect_refused(Texts arguments, int code) {
        manage(std::move(arguments));
        expect_failure(machine, run, code);
        EXPECT_EQ(run.out, "for errno '" + std::to_string(code) + "'\n");
        EXPECT_THAT(run.commands, IsEmpty());
    }
    ArrayMachine machine;
    Result run;
};

TEST_F(Change, AddingLooksAtTheStateThenAdds) {
    EXPECT_EQ(manage({"-a", "4", "md1"}), 0);
    EXPECT_THAT(outside(run), ElementsAreArray(joined(
                                  {array_list_commands({"md1"}),
                                   disk_list_commands(),
                                   array_list_commands({"md1"}),
                                   group_list_commands({"md1"}),
                                   {"/sbin/mdadm --manage /dev/md1 --add /dev/sdd > /dev/null"}})));
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(Change, RemovingDoesNotLookAtTheState) {
    EXPECT_EQ(manage({"-r", "2", "md1"}), 0);
    EXPECT_THAT(outside(run),
                ElementsAreArray(joined({disk_list_commands(),
                                         array_list_commands({"md1"}),
                                         {"/sbin/mdadm --manage /dev/md1 -r /dev/sdb > "
                                          "/dev/null"}})));
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(Change, TakesTheArrayBeforeTheOptionsToo) {
    EXPECT_EQ(manage({"md1", "-r", "2"}), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/mdadm --manage /dev/md1 -r /dev/sdb > /dev/null");
}

TEST_F(Change, RefusesInvalidNamesBeforeChannels) {
    for (const char* option : {"-a", "-r"}) {
        expect_refused({option, "x"}, -127);
        expect_refused({option, "x", ""}, -127);
        expect_refused({option, "x", "a b"}, -127);
        expect_refused({option, "4", std::string(33, 'n')}, -127);
    }
}

TEST_F(Change, RefusesInvalidChannels) {
    for (const char* option : {"-a", "-r"}) {
        for (const std::string& channel :
             {std::string(""), std::string("x"), std::string("4;5"), std::string(129, '4')}) {
            expect_refused({option, channel, "md1"}, -111);
        }
    }
}

TEST_F(Change, AddsNothingToAnArrayThatCannotRun) {
    machine.mdstat("").array("md1", "raid5", "clean, FAILED", 3, {{"sda", "in_sync"}});
    machine.members("md1", "3", {{"sdb", "faulty"}, {"sdc", "faulty"}});
    manage({"-a", "4", "md1"});
    expect_failure(machine, run, -421);
    EXPECT_THAT(outside(run), ElementsAreArray(array_list_commands({"md1"})));
}

TEST_F(Change, RemovesFromAnArrayThatCannotRun) {
    machine.members("md1", "5", {});
    EXPECT_EQ(manage({"-r", "2", "md1"}), 0);
}

TEST_F(Change, AddingReportsAnUnknownArrayOtherThanRemoving) {
    manage({"-a", "4", "md7"});
    expect_failure(machine, run, -127);
    manage({"-r", "2", "md7"});
    expect_failure(machine, run, -2038);
}

TEST_F(Change, ReportsWhatMdadmRefuses) {
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm --manage").exits(1);
    manage({"-a", "4", "md1"});
    expect_failure(machine, run, -417);
    EXPECT_EQ(run.out, "for errno '-417'\n");
    manage({"-r", "2", "md1"});
    expect_failure(machine, run, -418);
}

TEST_F(Change, ReportsAKilledMdadm) {
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm --manage").killed_by(15);
    manage({"-a", "4", "md1"});
    expect_failure(machine, run, -417);
    EXPECT_THAT(log_texts(machine, "--add").front(), HasSubstr("return unnormal with exit(0)"));
}

TEST_F(Change, PassesOtherCodesOn) {
    manage({"-a", "2", "md1"});
    expect_failure(machine, run, -2030);
    manage({"-r", "1", "md1"});
    expect_failure(machine, run, -2036);
}

// Of several modes, the first of create, display, add, remove, recover, delete is carried out.
class Modes : public Change {};

TEST_F(Modes, CreateComesBeforeDisplay) {
    expect_refused({"-S", "-C"}, -127);
    expect_refused({"-C", "-S"}, -127);
    EXPECT_EQ(manage({"-S", "-C", "-n", "data", "-l", "1", "-d", "1", "4,5"}), 0);
    EXPECT_EQ(changes(run).back(),
              "/sbin/mdadm -C  /dev/data -l 1 -n 2 -R /dev/sdd /dev/sde > /dev/null");
    EXPECT_EQ(run.out, "");
}

TEST_F(Modes, DisplayComesBeforeAdd) {
    EXPECT_EQ(manage({"-a", "4", "-S", "md1"}), 0);
    EXPECT_THAT(run.out, StartsWith("raidname\t"));
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(Modes, AddComesBeforeRemove) {
    for (const Texts& arguments :
         {Texts{"-a", "4", "-r", "2", "md1"}, Texts{"-r", "2", "-a", "4", "md1"}}) {
        EXPECT_EQ(manage(arguments), 0);
        EXPECT_EQ(changes(run).back(), "/sbin/mdadm --manage /dev/md1 --add /dev/sdd > /dev/null");
    }
}

TEST_F(Modes, RemoveComesBeforeRecover) {
    EXPECT_EQ(manage({"-R", "-r", "2", "-n", "md1", "md1"}), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/mdadm --manage /dev/md1 -r /dev/sdb > /dev/null");
}

TEST_F(Modes, RecoverComesBeforeDelete) {
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -D /dev/md1").exits(1);
    manage({"-D", "-R", "-n", "md1"});
    expect_failure(machine, run, -411);
}

TEST_F(Modes, NoneShowsTheUsage) {
    for (const Texts& arguments : {Texts{}, Texts{"-n", "md1"}, Texts{"-l", "5", "1,2"}}) {
        EXPECT_EQ(manage(arguments), 0);
        EXPECT_THAT(run.out, StartsWith("zavbox 0.1.0"));
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

// The bits of the options seen so far.
TEST_F(Modes, NoneBeforeAnUnknownOptionIsTheMaskOfTheOthers) {
    EXPECT_EQ(manage({"-n", "x", "--bogus"}), 0x20);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(manage({"-g", "-n", "x", "-l", "5", "-d", "1", "-x"}), 0xf0);
    EXPECT_EQ(manage({"-z", "-n", "x"}), 0);
    EXPECT_EQ(manage({"-n"}), 0);
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(Modes, OneBeforeAnUnknownOptionIsDone) {
    EXPECT_EQ(manage({"-S", "--bogus"}), 0);
    EXPECT_THAT(run.out, HasSubstr("md1\traid5\tclean, degraded\t"));
}

TEST_F(Modes, HelpIsTheUsageOfTheApplet) {
    EXPECT_EQ(manage({"--help"}), 0);
    EXPECT_THAT(
        run.out,
        HasSubstr(
            "\n--display\t\tdisplay all raid info\n"
            "--display -n raidname\t\tdisplay a raid info specified by 'raidname'\n"
            "-a channel raidname\t\tremove disk with 'channel' form the raid 'raidname'\n"
            "-r channel raidname\t\tadd disk with 'channel' to the raid 'raidname'\n"
            "--delete -n raidname\t\tdelete a raid specified by 'raidname'\n"
            "--recover -n raidname\t\trecover the raid in state of 'NOT START'\n"
            "--create [--fg-init] -n raidname -l raidlevel -d dev channels\t\tcreate a raid with "
            "'raidname' 'raidlevel' and 'channels' in 'device'\n"
            "\nmanage the raid info\nOptions:\n"
            " -d\t\tspecify a device\n"
            " -n\t\tspecify raidname\n"
            " -l\t\tspecify raidlevel\n"
            " -c\t\tspecify strip size\n"
            " --fg-init\t\tintialize raid\n"
            " -r\t\tremove disk to raid\n"
            " -a\t\tadd disk to raid\n\n"));
    EXPECT_THAT(run.commands, IsEmpty());
}

} // namespace
} // namespace zav::test

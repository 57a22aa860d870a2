// SPDX-License-Identifier: MIT
// mdmanage --create: arguments, reservation, and a whole creation from the first command to the
// last.
#include "fixtures/array_machine.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

class Create : public testing::Test {
  protected:
    Create() { machine.box(6); }
    // With these arguments after -C.
    int create(Texts arguments) {
        arguments.insert(arguments.begin(), "-C");
        run = machine.mdmanage(arguments);
        return run.exit_status;
    }
    void expect_code(int code) {
        expect_failure(machine, run, code);
        EXPECT_THAT(changes(run), IsEmpty());
    }
    // Refused before any command is run.
    void expect_refused(Texts arguments, int code) {
        create(std::move(arguments));
        expect_failure(machine, run, code);
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_EQ(run.out, "for errno '" + std::to_string(code) + "'\n");
    }

    ArrayMachine machine;
    Result run;
};

TEST_F(Create, RunsTheseCommandsInThisOrder) {
    EXPECT_EQ(create({"-n", "data", "-l", "5", "-d", "1", "3,1,2"}), 0);
    EXPECT_THAT(
        outside(run),
        ElementsAreArray(joined(
            {disk_list_commands(),
             array_list_commands(),
             group_list_commands(),
             disk_list_commands(),
             {"/usr/local/bin/diskformat /dev/sda", "/usr/local/bin/diskformat /dev/sdb",
              "/usr/local/bin/diskformat /dev/sdc",
              "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384  /dev/data -l 5 -n 3 -R "
              "/dev/sda /dev/sdb /dev/sdc > /dev/null"}})));
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(machine.log(), IsEmpty());
    EXPECT_EQ(machine.read(ArrayMachine::reservations), "");
}

TEST_F(Create, TakesTheLongName) {
    run = machine.mdmanage({"--create", "-n", "data", "-l", "0", "-d", "1", "1,2"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(changes(run).back(),
              "/sbin/mdadm -C  /dev/data -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
}

TEST_F(Create, InTheForeground) {
    for (const char* option : {"-g", "--fg-init"}) {
        EXPECT_EQ(create({option, "-n", "data", "-l", "1", "-d", "1", "1,2"}), 0);
        EXPECT_EQ(changes(run).back(), "/sbin/mdadm -C /dev/data --fg-init -l 1 -n 2 -R /dev/sda "
                                       "/dev/sdb > /dev/null");
    }
}

TEST_F(Create, MakesALinearArrayOfJbod) {
    for (const char* level : {"JBOD", "jbod", "JbOd"}) {
        EXPECT_EQ(create({"-n", "data", "-l", level, "-d", "1", "1,2"}), 0);
        EXPECT_EQ(changes(run).back(),
                  "/sbin/mdadm -C /dev/data -l linear -n 2 -R /dev/sda /dev/sdb > /dev/null");
    }
}

TEST_F(Create, TakesTheLevels0156) {
    for (const auto& [level, channels] : {std::pair{"0", "1,2"}, std::pair{"1", "1,2"},
                                          std::pair{"5", "1,2,3"}, std::pair{"6", "1,2,3,4"}}) {
        EXPECT_EQ(create({"-n", "data", "-l", level, "-d", "1", channels}), 0) << level;
        EXPECT_THAT(changes(run).back(), HasSubstr(std::string(" -l ") + level + " -n "));
    }
}

TEST_F(Create, RefusesOtherLevels) {
    for (const char* level : {"", "2", "3", "4", "7", "9", "JBO", "JBODx", "raid5", " 5", "-1"}) {
        expect_refused({"-n", "data", "-l", level, "-d", "1", "1,2"}, -130);
    }
}

TEST_F(Create, NeedsALevel) {
    expect_refused({"-n", "data", "-d", "1", "1,2"}, -130);
}

// Here only the first character of a level decides; the type is checked later, with the disks.
TEST_F(Create, RefusesLevelsThatBeginLikeOne) {
    for (const char* level : {"10", "5x", "50", "01", "666666666"}) {
        create({"-n", "data", "-l", level, "-d", "1", "1,2,3,4"});
        expect_code(-2032);
        EXPECT_THAT(outside(run),
                    ElementsAreArray(joined({disk_list_commands(), array_list_commands()})));
    }
}

TEST_F(Create, RefusesInvalidNames) {
    for (const std::string& name : {std::string(""), std::string(33, 'n'), std::string("a b"),
                                    std::string("a/b"), std::string("a.b"), std::string("\xc3")}) {
        expect_refused({"-n", name, "-l", "1", "-d", "1", "1,2"}, -127);
    }
}

TEST_F(Create, NeedsAName) {
    expect_refused({"-l", "1", "-d", "1", "1,2"}, -127);
}

TEST_F(Create, RefusesInvalidDevices) {
    for (const char* device : {"", "123456789", "1;2", "a b"}) {
        expect_refused({"-n", "data", "-l", "1", "-d", device, "1,2"}, -121);
    }
}

TEST_F(Create, TakesADeviceOfEightCharacters) {
    create({"-n", "data", "-l", "1", "-d", "12345678", "1,2"});
    expect_code(-2033);
    EXPECT_THAT(log_texts(machine, "channelIDs"),
                ElementsAre("'1,2 in 1234567' includes invalid channelIDs"));
}

TEST_F(Create, FindsNoDisksWithoutADevice) {
    create({"-n", "data", "-l", "1", "1,2"});
    expect_code(-2033);
    EXPECT_THAT(log_texts(machine, "channelIDs"),
                ElementsAre("'1,2 in ' includes invalid channelIDs"));
}

TEST_F(Create, RefusesInvalidChannels) {
    for (const char* channels : {"", "a", "1,b", "1;2", "1 2", "sda", "1.5", "+1"}) {
        expect_refused({"-n", "data", "-l", "1", "-d", "1", channels}, -111);
    }
}

TEST_F(Create, NeedsChannels) {
    expect_refused({"-n", "data", "-l", "1", "-d", "1"}, -111);
}

// The record holds 127 characters: a longer list would be truncated, perhaps within a channel.
TEST_F(Create, RefusesAListOfChannelsThatDoesNotFit) {
    EXPECT_EQ(create({"-n", "data", "-l", "1", "-d", "1", "1,2" + std::string(124, ',')}), 0);
    for (const std::size_t length : {128U, 129U}) {
        expect_refused({"-n", "data", "-l", "1", "-d", "1", "1," + std::string(length - 2, '2')},
                       -111);
    }
}

TEST_F(Create, ChecksNameLevelDeviceChannelsInThisOrder) {
    expect_refused({"-n", "a b", "-l", "2", "-d", "a b", "x"}, -127);
    expect_refused({"-n", "data", "-l", "2", "-d", "a b", "x"}, -130);
    expect_refused({"-n", "data", "-l", "1", "-d", "a b", "x"}, -121);
    machine.file(ArrayMachine::reservations, "data\n");
    expect_refused({"-n", "data", "-l", "1", "-d", "1", "x"}, -111);
    expect_refused({"-n", "data", "-l", "10", "-d", "1", "1,2"}, -412);
}

TEST_F(Create, ReportsAReservedNameBeforeAnyOtherCheck) {
    machine.file(ArrayMachine::reservations, "data\n");
    expect_refused({"-n", "data", "-l", "10", "-d", "1", "1,2"}, -412);
    expect_refused({"-n", "data", "-l", "1", "-d", "1", "9"}, -412);
    machine.running("md1", "raid1", {"sda", "sdb"});
    expect_refused({"-n", "data", "-l", "1", "-d", "1", "1,2"}, -412);
    expect_refused({"-n", "data", "-l", "1", "-d", "1", "4,5,6"}, -412);
}

TEST_F(Create, LeavesAnotherProcessItsReservation) {
    machine.file(ArrayMachine::reservations, "data\ndata2\n");
    create({"-n", "data", "-l", "1", "-d", "1", "1,2"});
    expect_failure(machine, run, -412);
    EXPECT_EQ(machine.read(ArrayMachine::reservations), "data\ndata2\n");
}

TEST_F(Create, ReportsAReservationFileThatCannotBeUsed) {
    machine.file("/run/zavbox", "in the way of its lock");
    expect_refused({"-n", "data", "-l", "1", "-d", "1", "1,2"}, -412);
}

TEST_F(Create, HasTheNameReservedWhileItRuns) {
    machine.file(ArrayMachine::reservations, "md7\n");
    machine.tool(ArrayMachine::mdadm)
        .on_prefix("/sbin/mdadm -C")
        .does("cat /tmp/mdname.test > /var/reserved");
    EXPECT_EQ(create({"-n", "data", "-l", "1", "-d", "1", "1,2"}), 0);
    EXPECT_EQ(machine.read("/var/reserved"), "md7\ndata\n");
    EXPECT_EQ(machine.read(ArrayMachine::reservations), "md7\n");
}

TEST_F(Create, ReleasesTheNameAfterAFailureToo) {
    create({"-n", "data", "-l", "1", "-d", "1", "1,9"});
    expect_code(-2033);
    EXPECT_EQ(machine.read(ArrayMachine::reservations), "");
}

TEST_F(Create, RefusesASecondCreationOfTheNameAtOnce) {
    machine.tool(ArrayMachine::mdadm)
        .on_prefix("/sbin/mdadm -C")
        .does("echo >> /var/creations; while [ ! -e /var/go ]; do usleep 1000; done");
    const Texts arguments = {"mdmanage", "-C", "-n", "data", "-l", "1", "-d", "1", "1,2"};
    StartedRun first = machine.start(arguments);
    ASSERT_TRUE(machine.appears("/var/creations"));
    create({"-n", "data", "-l", "1", "-d", "1", "3,4"});
    machine.file("/var/go", "");
    EXPECT_EQ(first.wait().exit_status, 0);
    EXPECT_EQ(run.exit_status, -412 & 0xff);
    EXPECT_EQ(run.out, "for errno '-412'\n");
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(machine.read("/var/creations"), "\n");
}

// A name of 32 characters is reserved as typed, and the array gets the first 31.
TEST_F(Create, CutsANameOf32CharactersForTheArray) {
    const std::string name = std::string(31, 'n') + "X";
    machine.tool(ArrayMachine::mdadm)
        .on_prefix("/sbin/mdadm -C")
        .does("cat /tmp/mdname.test > /var/reserved");
    EXPECT_EQ(create({"-n", name, "-l", "1", "-d", "1", "1,2"}), 0);
    EXPECT_THAT(changes(run).back(), HasSubstr("  /dev/" + std::string(31, 'n') + " -l 1 "));
    EXPECT_EQ(machine.read("/var/reserved"), name + "\n");
    EXPECT_EQ(machine.read(ArrayMachine::reservations), "");
}

class FailedCreate : public Create {
  protected:
    // mdadm fails, and /proc/mdstat then contains these lines.
    int create_with_mdstat(const std::string& mdstat, const std::string& name = "data") {
        machine.file("/var/mdstat", mdstat);
        machine.tool(ArrayMachine::mdadm)
            .on_prefix("/sbin/mdadm -C")
            .does("/.harness/busybox cat /var/mdstat > /proc/mdstat")
            .exits(1);
        return create({"-n", name, "-l", "1", "-d", "1", "1,2"});
    }
    void expect_not_created() {
        expect_failure(machine, run, -416);
        EXPECT_EQ(machine.read(ArrayMachine::reservations), "");
    }
    void expect_created_with_error() {
        EXPECT_EQ(run.exit_status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(machine.read(ArrayMachine::reservations), "");
    }
};

TEST_F(FailedCreate, IsReportedWhenTheArrayIsNotListed) {
    create_with_mdstat("Personalities : [raid1]\nmd1 : active raid1\n");
    expect_not_created();
    EXPECT_EQ(run.out, "for errno '-416'\n");
    EXPECT_EQ(outside(run).back(), "cat /proc/mdstat > /tmp/mdstat.XXXXXX");
}

TEST_F(FailedCreate, IsSilentWithStatus1WhenTheArrayIsListed) {
    create_with_mdstat("Personalities : [raid1]\ndata : active raid1 sda[0] sdb[1]\n");
    expect_created_with_error();
    EXPECT_THAT(
        log_texts(machine, "mdadm -C"),
        ElementsAre(MatchesRegex("system\\(.*\\) return normal with exit\\(1\\) for '.*'")));
}

TEST_F(FailedCreate, FindsTheArrayAfterWhiteSpaceAndBeforeAColon) {
    create_with_mdstat(" \t data: active\n");
    expect_created_with_error();
}

TEST_F(FailedCreate, FindsTheArrayOnALineWithoutAnEnd) {
    create_with_mdstat("data");
    expect_created_with_error();
}

TEST_F(FailedCreate, DoesNotMistakeAnotherArrayForIt) {
    create_with_mdstat("data2 : active\nDATA : active\nmd1 : data\nmydata : active\n");
    expect_not_created();
}

TEST_F(FailedCreate, LooksAtTheFirst255CharactersOfALineOnly) {
    create_with_mdstat(std::string(255, 'x') + "data : active\n");
    expect_not_created();
    create_with_mdstat(std::string(251, ' ') + "data : active\n");
    expect_created_with_error();
}

TEST_F(FailedCreate, DoesNotFindANameOf32CharactersByItsFirst31) {
    create_with_mdstat(std::string(31, 'n') + " : active\n", std::string(31, 'n') + "X");
    expect_not_created();
}

TEST_F(FailedCreate, AfterASignalIsReportedToo) {
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -C").killed_by(9);
    create({"-n", "data", "-l", "1", "-d", "1", "1,2"});
    expect_not_created();
    EXPECT_THAT(log_texts(machine, "mdadm -C").front(), HasSubstr("return unnormal with exit(0)"));
}

TEST_F(FailedCreate, WithoutMdadmIsReportedToo) {
    machine.remove("/sbin/mdadm");
    create({"-n", "data", "-l", "1", "-d", "1", "1,2"});
    expect_not_created();
}

// The fifth read of /proc/mdstat looks for the new array.
class FailedCreateWithoutState : public FailedCreate {
  protected:
    Rule fifth_state() {
        machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -C").exits(1);
        Tool cat = machine.tool("/bin/cat");
        cat.any().does("/.harness/busybox cat \"$@\"");
        cat.on("cat /proc/mdstat").does("/.harness/busybox cat \"$@\"").times(4);
        return cat.on("cat /proc/mdstat");
    }
};

TEST_F(FailedCreateWithoutState, ReadsWhatAFailingCatPrints) {
    fifth_state().prints("data : active\n").exits(1);
    create({"-n", "data", "-l", "1", "-d", "1", "1,2"});
    expect_created_with_error();
    EXPECT_THAT(last_message(machine), HasSubstr("cat /proc/mdstat > /tmp/mdstat."));
}

TEST_F(FailedCreateWithoutState, TreatsAFailingCatAsNotFound) {
    fifth_state().exits(1);
    create({"-n", "data", "-l", "1", "-d", "1", "1,2"});
    expect_not_created();
    EXPECT_EQ(run.out, "for errno '-416'\n");
}

TEST_F(FailedCreateWithoutState, TreatsAFileThatIsGoneAsNotFound) {
    fifth_state().does("rm /tmp/mdstat.*");
    create({"-n", "data", "-l", "1", "-d", "1", "1,2"});
    expect_not_created();
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/mdstat\\.......\nfor errno '-416'\n"));
}

TEST_F(FailedCreateWithoutState, SurvivesAMegabyteOfState) {
    fifth_state().prints_bytes(1048576);
    create({"-n", "data", "-l", "1", "-d", "1", "1,2"});
    expect_not_created();
}

} // namespace
} // namespace zav::test

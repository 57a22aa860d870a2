// SPDX-License-Identifier: MIT
// vgmanage takes no disk that something else uses, and no name that a tool takes for an option.
#include "fixtures/group_machine.h"
#include "fixtures/held_lock.h"
#include "fixtures/library.h"

#include <memory>

namespace zav::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class VgSafety : public testing::Test {
  protected:
    Result create(const std::string& volumes, const std::string& name = "data") {
        return machine.vgmanage({"-C", "-n", name, "-c", volumes});
    }
    void expect_refused(int code, const std::string& volumes) {
        const Result run = create(volumes);
        expect_failure(machine, run, code);
        EXPECT_THAT(changes(run), IsEmpty());
    }
    GroupMachine machine;
};

TEST_F(VgSafety, RefusesWhatAnotherCommandUses) {
    const HeldLock disk(machine, claim_on("sde"));
    const HeldLock array(machine, claim_on("md1"));
    expect_refused(-2043, "5");
    expect_refused(-2043, "4,sde");
    expect_refused(-2045, "md1");
    EXPECT_THAT(logged(machine), Contains("'md1' is held by another command"));
    EXPECT_EQ(create("4,md0").exit_status, 0);
}

TEST_F(VgSafety, ClaimsAllVolumesBeforeTheFirstIsMade) {
    machine.tool(group_tool::diskformat)
        .any()
        .does("echo > /var/clearing; while ! [ -e /var/go ]; do sleep 0.01; done");
    StartedRun run = machine.start({"vgmanage", "-C", "-n", "data", "-c", "4,5,md0"});
    ASSERT_TRUE(machine.appears("/var/clearing"));
    EXPECT_EQ(machine.list("/run/zavbox"), (Texts{"disk-md0", "disk-sdd", "disk-sde"}));
    machine.file("/var/go", "");
    EXPECT_EQ(run.wait().exit_status, 0);
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

// Another command makes a disk a hot spare right after this one has read the list of them, for the
// third time: the two before are for the list of groups.
TEST_F(VgSafety, ClaimsADiskBeforeItLooksWhetherItIsAHotspare) {
    machine.tool("/usr/local/bin/hotspare")
        .on("/usr/local/bin/hotspare --list")
        .does("echo 'Global hotspare disk:'; echo >>/var/lists; "
              "if [ $(wc -l </var/lists) = 3 ]; then "
              "zavbox diskmanage -H -a 5 >/dev/null; echo $? >/var/status; fi");
    machine.tool("/bin/df").any().prints("Filesystem 1K-blocks Used Available Use% Mounted on\n");
    const Result run = machine.run({"vgmanage", "-C", "-n", "data", "-c", "4,5"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(machine.read("/var/status"), "55\n"); // -201
    EXPECT_THAT(changes(run), Contains("/sbin/vgcreate data  /dev/sdd /dev/sde > /dev/null"));
    EXPECT_THAT(changes(run), Not(Contains("/usr/local/bin/hotspare -a /dev/sde")));
}

// It is the claimed disk that was looked at, whatever becomes free meanwhile.
TEST_F(VgSafety, RefusesADiskThatWasUsedWhenItLookedAtIt) {
    auto claim = std::make_unique<HeldLock>(machine, claim_on("sde"));
    machine.tool("/usr/local/bin/hotspare")
        .on("/usr/local/bin/hotspare --list")
        .does("echo 'Global hotspare disk:'; echo >>/var/lists; "
              "if [ $(wc -l </var/lists) = 3 ]; then echo >/var/looking; "
              "while ! [ -e /var/go ]; do sleep 0.01; done; fi");
    StartedRun run = machine.start({"vgmanage", "-C", "-n", "data", "-c", "5"});
    ASSERT_TRUE(machine.appears("/var/looking"));
    claim.reset();
    machine.file("/var/go", "");
    const Result result = run.wait();
    expect_failure(machine, result, -2043);
    EXPECT_THAT(changes(result), IsEmpty());
}

TEST_F(VgSafety, RefusesWhatTheKernelHolds) {
    machine.directory("/sys/block/sde/sde1/holders/dm-4");
    expect_refused(-2043, "5");
    machine.file("/proc/mounts", "/dev/md0 /srv xfs rw 0 0\n");
    expect_refused(-2045, "md0");
    EXPECT_THAT(logged(machine), Contains("'md0' is held by the kernel"));
}

TEST_F(VgSafety, RefusesDisksThatAreUsedByAPartition) {
    machine.array({.name = "md2", .level = "raid1", .members = {{"sdd1"}, {"sde1"}}});
    expect_refused(-2043, "4");
    machine.on("more", {"/dev/sdf3"});
    expect_refused(-2045, "6");
}

TEST_F(VgSafety, RunsNothingWithANameThatLooksLikeAnOption) {
    for (const char* name : {"--version", "-v", "--"}) {
        const Result run = create("md0", name);
        EXPECT_EQ(run.out, "for errno '-302'\n") << name;
        EXPECT_THAT(run.commands, Not(Contains(HasSubstr(std::string("-c ") + name)))) << name;
        EXPECT_THAT(logged(machine), Contains(HasSubstr(std::string("was not run: '") + name +
                                                        "' is not a plain "
                                                        "name")));
        EXPECT_THAT(logged(machine), Contains(HasSubstr("'/sbin/vgdisplay -c ")));
    }
}

} // namespace
} // namespace zav::test

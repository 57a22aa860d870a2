// SPDX-License-Identifier: MIT
// Adding a physical volume to a group, with and without the checks.
#include "actions/groups/groups.h"
#include "fixtures/group_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ExtendGroup : public testing::Test {
  protected:
    ExtendGroup() { machine.on("data", {"/dev/md0"}); }
    int extend(const char* volume, const char* group = "data") {
        machine.remove("/var/log/log.libzav");
        run = machine.operation([&] { return extend_group(group, volume); });
        EXPECT_EQ(run.out, "");
        return run.returned;
    }
    int extend_checked(const char* volume, const char* device = "0") {
        machine.remove("/var/log/log.libzav");
        run = machine.operation(
            [&] { return extend_group_checked("data", volume, device, printed()); });
        EXPECT_EQ(run.out, "");
        return run.returned;
    }
    GroupMachine machine;
    Result run;
};

TEST_F(ExtendGroup, MakesTheVolumeThenAddsIt) {
    EXPECT_EQ(extend("md1"), 0);
    EXPECT_THAT(outside(run), ElementsAre("/sbin/pvcreate /dev/md1 > /dev/null",
                                          "/sbin/vgextend data /dev/md1 > /dev/null"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ExtendGroup, PreparesNoDisk) {
    EXPECT_EQ(extend("sdd"), 0);
    EXPECT_THAT(outside(run), ElementsAre("/sbin/pvcreate /dev/sdd > /dev/null",
                                          "/sbin/vgextend data /dev/sdd > /dev/null"));
}

TEST_F(ExtendGroup, StopsWhenTheVolumeCannotBeMade) {
    const auto expect_stopped = [this](const char* end) {
        EXPECT_EQ(extend("md1"), -11000);
        EXPECT_THAT(outside(run), ElementsAre("/sbin/pvcreate /dev/md1 > /dev/null"));
        EXPECT_THAT(logged(machine),
                    ElementsAre(failed("/sbin/pvcreate /dev/md1 > /dev/null", end)));
    };
    machine.tool(group_tool::pvcreate).any().exits(5);
    expect_stopped("normal with exit(5)");
    machine.tool(group_tool::pvcreate).any().killed_by(9);
    expect_stopped("unnormal with exit(0)");
    machine.remove(group_tool::pvcreate);
    expect_stopped("normal with exit(127)");
}

TEST_F(ExtendGroup, ReportsAVolumeThatCannotBeAdded) {
    const auto expect_failed = [this](const char* end) {
        EXPECT_EQ(extend("md1"), -11000);
        EXPECT_THAT(logged(machine),
                    ElementsAre(failed("/sbin/vgextend data /dev/md1 > /dev/null", end)));
    };
    machine.tool(group_tool::vgextend).any().exits(5);
    expect_failed("normal with exit(5)");
    machine.tool(group_tool::vgextend).any().killed_by(9);
    expect_failed("unnormal with exit(0)");
    machine.remove(group_tool::vgextend);
    expect_failed("normal with exit(127)");
}

TEST_F(ExtendGroup, RunsNoCommandWithANameThatIsNotPlain) {
    for (const char* name : {"", "md1;reboot", "$(reboot)", "md 1", "-ff"}) {
        EXPECT_LT(extend(name), 0) << name;
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_LT(extend("md1", name), 0) << name;
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(ExtendGroup, ChecksAnArrayFirst) {
    EXPECT_EQ(extend_checked("md1"), 0);
    EXPECT_EQ(steps(run), joined({{"disks"},
                                  array_list,
                                  group_list,
                                  {"/sbin/pvcreate /dev/md1 > /dev/null",
                                   "/sbin/vgextend data /dev/md1 > /dev/null"}}));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ExtendGroup, TranslatesAChannelAfterItsCheck) {
    EXPECT_EQ(extend_checked("4"), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/vgextend data /dev/sdd > /dev/null");
    EXPECT_EQ(extend_checked("4", "1"), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/vgextend data /dev/sdx > /dev/null");
}

TEST_F(ExtendGroup, ChangesNothingWhenTheCheckRefuses) {
    machine.hotspares({"sdf"});
    const std::vector<std::pair<const char*, int>> refusals = {
        {"9", -2042}, {"1", -2043}, {"6", -2043}, {"md7", -2044}, {"md0", -2045}};
    for (const auto& [volume, code] : refusals) {
        EXPECT_EQ(extend_checked(volume), code);
        EXPECT_THAT(changes(run), IsEmpty());
    }
}

TEST_F(ExtendGroup, NeedsTheDiskListForItsCheck) {
    machine.without_disk_controller();
    EXPECT_EQ(extend_checked("md1"), -205);
    EXPECT_THAT(machine.last_message(), returned("extend_group_checked", -205));
    EXPECT_THAT(changes(run), IsEmpty());
}

} // namespace
} // namespace zav::test

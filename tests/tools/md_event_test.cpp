// SPDX-License-Identifier: MIT
// What happens when an array loses a member: the spare that takes over, by zavbox's own commands,
// and who is told.
#include "tools/services_root.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t sectors = 2000000;

// md1 of sda, sdb and sdc (sdc has failed); what else there is are spares.
constexpr auto program = "/usr/sbin/zavbox-md-event";

class MdEvent : public testing::Test {
  public:
    MdEvent() {
        for (const char* name : {"sda", "sdb", "sdc"}) {
            root.disk({.name = name, .sectors = sectors});
        }
        root.file("/etc/mdadm/mdadm.conf", "MAILADDR storage@example.org\n");
        root.recorded("/usr/sbin/sendmail").does("cat >>/mail");
        lost({"sdc"});
    }

    void lost(const std::vector<std::string>& names, const std::string& level = "raid5") {
        MachineArray array = {.name = "md1", .level = level, .state = "clean, degraded"};
        for (const char* name : {"sda", "sdb", "sdc"}) {
            const bool is_lost = std::find(names.begin(), names.end(), name) != names.end();
            array.members.push_back({name, is_lost ? "faulty" : "in_sync"});
        }
        root.array(array);
        const std::string md = "/sys/block/md1/md/";
        root.file(md + "level", level + "\n")
            .file(md + "degraded", std::to_string(names.size()) + "\n");
        root.file(md + "component_size", std::to_string((sectors - 10000) / 2) + "\n");
        root.file(md + "dev-sda/offset", "2048\n");
        root.file("/dev/md1", "");
    }

    // A spare of the machine's list; what the tools do to it is done to the list and the array.
    void spares(const std::vector<std::string>& names) {
        std::string list;
        for (const std::string& name : names) {
            list += " " + name;
        }
        root.file("/spares", "Global hotspare disk:" + list + "\n");
        Tool hotspare = root.tool("/usr/local/bin/hotspare");
        hotspare.on("/usr/local/bin/hotspare --list").does("cat /spares").optional();
        hotspare.on_prefix("/usr/local/bin/hotspare -r ")
            .does("sed -i \"s| ${2#/dev/}||\" /spares; echo \"hotspare $*\" >>/calls")
            .optional();
        hotspare.on_prefix("/usr/local/bin/hotspare -a ")
            .does("sed -i \"s|\\$| ${2#/dev/}|\" /spares; echo \"hotspare $*\" >>/calls")
            .optional();
        root.tool("/sbin/mdadm")
            .on_prefix("/sbin/mdadm --manage /dev/md1 --add ")
            .does("mkdir -p /sys/block/md1/md/dev-${4#/dev/}; "
                  "echo spare >/sys/block/md1/md/dev-${4#/dev/}/state; "
                  "echo \"mdadm $*\" >>/calls")
            .optional();
    }

    Result event(const std::string& name) {
        return root.run({name, "/dev/md1", "/dev/sdc"}, ServicesRoot::as(program));
    }

    std::string mail() const { return root.exists("/mail") ? root.read("/mail") : ""; }

    WithTools<Machine> root;
};

TEST_F(MdEvent, PutsTheSmallestSufficientSpareOfTheDeviceIn) {
    root.disk({.name = "sdd", .sectors = sectors * 2});
    root.disk(
        {.name = "sde", .sectors = sectors - 9000}); // too small with the room before the data
    root.disk({.name = "sdf", .channel = 1, .device = "1", .sectors = sectors});
    root.disk({.name = "sdg", .channel = 7, .sectors = sectors});
    spares({"sdd", "sde", "sdf", "sdg"});
    EXPECT_EQ(event("Fail").exit_status, 0);
    EXPECT_THAT(root.calls(),
                ElementsAre("hotspare -r /dev/sdg", "mdadm --manage /dev/md1 --add /dev/sdg"));
    EXPECT_EQ(root.read("/spares"), "Global hotspare disk: sdd sde sdf\n");
    EXPECT_THAT(root.log(), IsEmpty()); // no other was tried
    EXPECT_THAT(mail(), HasSubstr("To: storage@example.org\nSubject: Fail on md1 of "));
    EXPECT_THAT(mail(), HasSubstr("The hot spare of channel 7, device 0 (sdg) takes the place"));
    EXPECT_THAT(root.logged(), ElementsAre(HasSubstr("hot spare of channel 7")));
}

TEST_F(MdEvent, TakesNoSecondSpareForTheSameLoss) {
    root.disk({.name = "sdd", .sectors = sectors}).disk({.name = "sde", .sectors = sectors});
    spares({"sdd", "sde"});
    event("Fail");
    event("DegradedArray");
    event("RebuildFinished");
    EXPECT_EQ(root.read("/spares"), "Global hotspare disk: sde\n");
}

TEST_F(MdEvent, TwoAtOnceTakeOneSpare) {
    root.disk({.name = "sdd", .sectors = sectors}).disk({.name = "sde", .sectors = sectors});
    spares({"sdd", "sde"});
    std::vector<StartedRun> runs;
    for (const char* name : {"Fail", "DegradedArray", "Fail"}) {
        runs.push_back(root.start({name, "/dev/md1"}, ServicesRoot::as(program)));
    }
    for (StartedRun& run : runs) {
        EXPECT_EQ(run.wait().exit_status, 0);
    }
    EXPECT_THAT(root.calls(), testing::SizeIs(2));
}

TEST_F(MdEvent, PutsInAsManyAsAreLost) {
    lost({"sdb", "sdc"}, "raid6");
    root.disk({.name = "sdd", .sectors = sectors}).disk({.name = "sde", .sectors = sectors});
    spares({"sdd", "sde"});
    event("DegradedArray");
    EXPECT_EQ(root.read("/spares"), "Global hotspare disk:\n");
}

TEST_F(MdEvent, LeavesAnArrayAloneThatHasLostTooMany) {
    lost({"sdb", "sdc"});
    root.disk({.name = "sdd", .sectors = sectors});
    spares({"sdd"});
    event("Fail");
    EXPECT_THAT(root.calls(), IsEmpty());
    EXPECT_THAT(mail(), HasSubstr("lost more disks than its level tolerates"));
}

TEST_F(MdEvent, SaysThatNoSpareCouldHelpAndWhy) {
    root.disk({.name = "sdd", .sectors = sectors / 2});
    spares({"sdd"});
    EXPECT_EQ(event("Fail").exit_status, 0);
    EXPECT_THAT(root.calls(), IsEmpty());
    EXPECT_THAT(mail(), HasSubstr("No hot spare of device 0 can take the place of a lost member; "
                                  "channel 4 (sdd) is too small. Replace the disk."));
}

TEST_F(MdEvent, MakesASpareThatIsRefusedAHotSpareAgainAndTakesTheNext) {
    root.disk({.name = "sdd", .sectors = sectors}).disk({.name = "sde", .sectors = sectors + 8});
    spares({"sdd", "sde"});
    root.tool("/sbin/mdadm").on("/sbin/mdadm --manage /dev/md1 --add /dev/sdd").exits(1);
    event("Fail");
    EXPECT_THAT(root.calls(),
                ElementsAre("hotspare -r /dev/sdd", "hotspare -a /dev/sdd", "hotspare -r /dev/sde",
                            "mdadm --manage /dev/md1 --add /dev/sde"));
    EXPECT_FALSE(root.exists("/var/lib/zavbox-tools/spare"));
}

// The power went between the two commands.
TEST_F(MdEvent, FindsASpareAgainThatWasOnItsWay) {
    root.disk({.name = "sdd", .sectors = sectors});
    spares({});
    root.file("/var/lib/zavbox-tools/spare", "4 0\n");
    event("DegradedArray");
    EXPECT_THAT(root.calls(), ElementsAre("hotspare -a /dev/sdd", "hotspare -r /dev/sdd",
                                          "mdadm --manage /dev/md1 --add /dev/sdd"));
}

// Right after the start nothing else may have told the slots yet.
TEST_F(MdEvent, LooksAtTheSlotsFirst) {
    root.remove("/proc/scsi");
    root.recorded("/usr/sbin/zavbox-slots");
    spares({});
    EXPECT_EQ(event("DegradedArray").exit_status, 0);
    EXPECT_THAT(root.calls(), Contains("zavbox-slots "));
}

TEST_F(MdEvent, CallsTheHooksWithWhatHasHappened) {
    root.file("/etc/zavbox/event.d/page",
              "#!/.harness/busybox sh\n"
              "echo \"$1 $2 $3: $ZAVBOX_MESSAGE\" >/paged\n",
              0755);
    spares({});
    event("RebuildStarted");
    EXPECT_EQ(root.read("/paged"),
              "RebuildStarted md1 /dev/sdc: RebuildStarted of md1, /dev/sdc.\n");
    EXPECT_EQ(mail(), "");
}

TEST_F(MdEvent, IsInTheLogWithoutAMailServer) {
    root.remove("/usr/sbin/sendmail");
    spares({});
    EXPECT_EQ(event("TestMessage").exit_status, 0);
    EXPECT_THAT(root.logged(), Contains(HasSubstr("no mail is sent")));
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// The health of the disks as smartctl and the RAID controller's tool report it: the commands, and
// the result of each way to fail.
#include "fixtures/disk_root.h"
#include "fixtures/library.h"
#include "inventory/smart.h"
#include "sources/smart_outputs.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr char smartctl[] = "/usr/local/sbin/smartctl";

/// The commands, with XXXXXX for the random part.
std::string summary_command(const std::string& disk) {
    return "/usr/local/sbin/smartctl -d marvell -T permissive -Hi /dev/" + disk + " > /tmp/smart_" +
           disk + ".XXXXXX 2>> /dev/null";
}
std::string attributes_command(const std::string& disk) {
    return "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/" + disk +
           " > /tmp/smart_" + disk + "_detail.XXXXXX 2>> /dev/null";
}
std::string vexadm_command(const std::string& slot, const std::string& channel) {
    return "/usr/local/bin/vexadm --misc -s -i " + slot + " > /tmp/smart_" + channel +
           "_detail.XXXXXX 2>> /dev/null";
}

struct Health {
    int code = 0;
    std::vector<std::string> disks; // "name|serial number|health|attributes" of each
    std::vector<std::string> commands;
};

/// An appliance on which smartctl reports every disk as healthy.
class SmartRoot : public DiskRoot {
  public:
    explicit SmartRoot(const std::string& model = "KOR7206H") : DiskRoot(model) {
        tool(smartctl).any().prints(smart_output("sata_healthy_attributes"));
        tool(disk_tool::vexadm).any().prints("Spin Up Time: 97 96 25 (4015)\n");
    }
    Rule summary_of(const std::string& disk) {
        return tool(smartctl).on("/usr/local/sbin/smartctl -d marvell -T permissive -Hi /dev/" +
                                 disk);
    }
    Rule attributes_of(const std::string& disk) {
        return tool(smartctl).on(
            "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/" + disk);
    }
    Rule slot(const std::string& number) {
        return tool(disk_tool::vexadm).on("/usr/local/bin/vexadm --misc -s -i " + number);
    }

    /// Fills in the health of the disks that `prepare` adds.
    Health filled(SmartMode mode, const std::function<void(disk_list&)>& prepare,
                  const RunOptions& options = {}) {
        const auto fill = [&] {
            disk_list disks;
            prepare(disks);
            const auto code = fill_smart(disks, mode);
            for (const disk_info& disk : disks) {
                std::printf("%s|%s|%s|%zu\n", disk.name.c_str(), disk.smart.serial_number.c_str(),
                            disk.smart.health.c_str(), disk.smart_attributes.size());
            }
            return code;
        };
        const Result result = call(fill, options);
        Health health{result.returned, {}, result.commands_with_templates()};
        for (const auto row : split(result.out, "\n")) {
            health.disks.emplace_back(row);
        }
        return health;
    }
    Health filled(SmartMode mode, const std::vector<std::string>& names,
                  const RunOptions& options = {}) {
        const auto add = [&names](disk_list& disks) {
            for (const std::string& name : names) {
                add_disk(disks, name.c_str(), static_cast<int>(disks.size()) + 1);
            }
        };
        return filled(mode, add, options);
    }
};

/// An unprivileged user, in a root where such a process can write its log.
RunOptions unprivileged(SmartRoot& root) {
    root.directory("/var/log", 01777);
    RunOptions options;
    options.uid = 65534;
    return options;
}

auto gone(const std::string& path) {
    return MatchesRegex("cannot stat " + path +
                        "\\.[A-Za-z0-9]{6} for 'No such file or directory'");
}

TEST(FillSmart, RunsSmartctlOncePerDiskForTheSummary) {
    SmartRoot root;
    const Health health = root.filled(SmartMode::summary, {"sda", "sdb"});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.commands, ElementsAre(summary_command("sda"), summary_command("sdb")));
    EXPECT_THAT(health.disks, ElementsAre("sda|EMU0001|PASSED|0", "sdb|EMU0001|PASSED|0"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(FillSmart, RunsSmartctlTwicePerDiskForTheDetail) {
    SmartRoot root;
    const Health health = root.filled(SmartMode::detail, {"sda", "sdaa1"});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.commands,
                ElementsAre(summary_command("sda"), attributes_command("sda"),
                            summary_command("sdaa1"), attributes_command("sdaa1")));
    EXPECT_THAT(health.disks, ElementsAre("sda|EMU0001|PASSED|7", "sdaa1|EMU0001|PASSED|7"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(FillSmart, TakesEachPartFromItsOwnRun) {
    SmartRoot root;
    root.summary_of("sda").prints(smart_output("sata_failing"));
    root.attributes_of("sda").prints(smart_output("ssd_attributes"));
    EXPECT_THAT(root.filled(SmartMode::detail, {"sda"}).disks,
                ElementsAre("sda|EMU0002|FAILED!|2"));
}

TEST(FillSmart, LeavesVirtualDisksAlone) {
    for (const char* model : {"KOR7206H", "VEL7205U"}) {
        SmartRoot root(model);
        const Health health = root.filled(SmartMode::detail, [](disk_list& disks) {
            add_disk(disks, "sda", 1).model = "VIRTUAL-DISK";
            add_disk(disks, "", 2).model = "VIRTUAL-DISK";
        });
        EXPECT_EQ(health.code, 0);
        EXPECT_THAT(health.commands, IsEmpty());
        EXPECT_THAT(health.disks, ElementsAre("sda|||0", "|||0"));
        EXPECT_THAT(root.log(), IsEmpty());
    }
}

TEST(FillSmart, TreatsOnlyTheExactModelAsAVirtualDisk) {
    SmartRoot root;
    const Health health = root.filled(SmartMode::summary, [](disk_list& disks) {
        add_disk(disks, "sda", 1).model = "VIRTUAL-DISK2";
        add_disk(disks, "sdb", 2).model = "virtual-disk";
    });
    EXPECT_THAT(health.commands, ElementsAre(summary_command("sda"), summary_command("sdb")));
}

TEST(FillSmart, OfNoDisksDoesNothing) {
    SmartRoot root;
    const Health health = root.filled(SmartMode::detail, std::vector<std::string>{});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.commands, IsEmpty());
}

TEST(FillSmart, BehindTheRaidControllerAsksItsToolForTheAttributes) {
    SmartRoot root("VEL7205U");
    const Health health = root.filled(SmartMode::detail, [](disk_list& disks) {
        add_disk(disks, "", 1);
        add_disk(disks, "sdb", 16);
    });
    EXPECT_EQ(health.code, 0);
    // The tool counts slots from 0.
    EXPECT_THAT(health.commands, ElementsAre(vexadm_command("0", "1"), summary_command("sdb"),
                                             vexadm_command("15", "16")));
    EXPECT_THAT(health.disks, ElementsAre("|||1", "sdb|EMU0001|PASSED|1"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(FillSmart, BehindTheRaidControllerHasNoSummaryOfANamelessDisk) {
    SmartRoot root("VEL7205U");
    const Health health = root.filled(SmartMode::summary, {"", "sdb"});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.commands, ElementsAre(summary_command("sdb")));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(FillSmart, ReturnsTheFirstFailureAndFillsInTheOthers) {
    SmartRoot root;
    root.attributes_of("sdb").does("rm /tmp/smart_sdb_detail.*");
    root.summary_of("sdc").does("chmod 0 /tmp/smart_sdc.*");
    const Health health =
        root.filled(SmartMode::detail, {"sda", "sdb", "sdc", "sdd"}, unprivileged(root));
    EXPECT_EQ(health.code, -11000);
    EXPECT_THAT(health.disks, ElementsAre("sda|EMU0001|PASSED|7", "sdb|EMU0001|PASSED|0", "sdc|||7",
                                          "sdd|EMU0001|PASSED|7"));
    EXPECT_THAT(root.log(), testing::SizeIs(2));
}

TEST(FillSmart, ReturnsTheSummarysFailureBeforeThatOfTheAttributes) {
    SmartRoot root;
    root.summary_of("sda").does("chmod 0 /tmp/smart_sda.*");
    root.attributes_of("sda").does("rm /tmp/smart_sda_detail.*");
    const Health health = root.filled(SmartMode::detail, {"sda"}, unprivileged(root));
    EXPECT_EQ(health.code, -1070);
    EXPECT_THAT(health.commands, ElementsAre(summary_command("sda"), attributes_command("sda")));
}

TEST(FillSmart, WithoutSmartctlLeavesTheFieldsEmpty) {
    SmartRoot root;
    root.remove(smartctl);
    const Health health = root.filled(SmartMode::detail, {"sda", "sdb"});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.disks, ElementsAre("sda|||0", "sdb|||0"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(FillSmart, TakesWhatSmartctlPrintedWhateverItsStatus) {
    SmartRoot root;
    root.summary_of("sda").prints(smart_output("sata_failing")).exits(24);
    root.attributes_of("sda").prints(smart_output("sata_failing_attributes")).exits(4);
    const Health health = root.filled(SmartMode::detail, {"sda"});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.disks, ElementsAre("sda|EMU0002|FAILED!|7"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(FillSmart, TakesWhatAKilledSmartctlPrinted) {
    SmartRoot root;
    root.summary_of("sda").prints("Serial Number: EMU0009\n").killed_by(SIGKILL);
    root.attributes_of("sda").killed_by(SIGSEGV);
    const Health health = root.filled(SmartMode::detail, {"sda"});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.disks, ElementsAre("sda|EMU0009||0"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(FillSmart, TakesWhatAFailingControllersToolPrinted) {
    SmartRoot root("VEL7205U");
    root.slot("0").prints("Spin Up Time: 1\n").exits(1);
    root.slot("1").prints("Spin Up Time: 1\n").killed_by(SIGTERM);
    EXPECT_THAT(root.filled(SmartMode::detail, {"", ""}).disks, ElementsAre("|||1", "|||1"));
    root.remove(disk_tool::vexadm);
    const Health health = root.filled(SmartMode::detail, {""});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.disks, ElementsAre("|||0"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(FillSmart, ReadsAMegabyteOfGarbage) {
    SmartRoot root;
    root.summary_of("sda").prints_bytes(1 << 20);
    root.attributes_of("sda").prints_bytes(1 << 20);
    const Health health = root.filled(SmartMode::detail, {"sda"});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.disks, ElementsAre("sda|||0"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

/// The readers one by one.
class SmartReader : public testing::Test {
  public:
    int summary(const RunOptions& options = {}, const char* disk = "sda") {
        return root
            .call(
                [disk] {
                    smart_summary summary;
                    return get_smart(disk, summary);
                },
                options)
            .returned;
    }
    int attributes(const RunOptions& options = {}, const char* disk = "sda") {
        return root
            .call(
                [disk] {
                    smart_attribute_list list;
                    return get_smart_detail(disk, list);
                },
                options)
            .returned;
    }
    int controller_attributes(const RunOptions& options = {}) {
        return root
            .call(
                [] {
                    smart_attribute_list list;
                    return get_smart_from_vexadm(3, list);
                },
                options)
            .returned;
    }
    /// The inaccessible files in /tmp, with XXXXXX for the random part.
    std::vector<std::string> left_unreadable() const {
        std::vector<std::string> names;
        for (std::string name : root.tmp()) {
            EXPECT_EQ(root.mode("/tmp/" + name), 0U);
            names.push_back(name.replace(name.size() - 6, 6, "XXXXXX"));
        }
        return names;
    }
    SmartRoot root;
};

TEST_F(SmartReader, OfTheSummaryFailsWhenTheOutputIsGone) {
    root.summary_of("sda").does("rm /tmp/smart_sda.*");
    EXPECT_EQ(summary(), -11000);
    EXPECT_THAT(root.log_texts(), ElementsAre(gone("/tmp/smart_sda")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(SmartReader, OfTheAttributesFailsWhenTheOutputIsGone) {
    root.attributes_of("sda").does("rm /tmp/smart_sda_detail.*");
    EXPECT_EQ(attributes(), -11000);
    EXPECT_THAT(root.log_texts(), ElementsAre(gone("/tmp/smart_sda_detail")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(SmartReader, OfTheControllersAttributesFailsWhenTheOutputIsGone) {
    root.slot("2").does("rm /tmp/smart_3_detail.*");
    EXPECT_EQ(controller_attributes(), -11000);
    EXPECT_THAT(root.log_texts(), ElementsAre(gone("/tmp/smart_3_detail")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(SmartReader, OfTheSummaryFailsWhenTheOutputCannotBeOpenedAndLeavesIt) {
    root.summary_of("sda").does("chmod 0 /tmp/smart_sda.*");
    EXPECT_EQ(summary(unprivileged(root)), -1070);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(MatchesRegex("get_smart:[0-9]+ return 0 with Permission denied")));
    EXPECT_THAT(left_unreadable(), ElementsAre("smart_sda.XXXXXX"));
}

TEST_F(SmartReader, OfTheAttributesFailsWhenTheOutputCannotBeOpenedAndLeavesIt) {
    root.attributes_of("sda").does("chmod 0 /tmp/smart_sda_detail.*");
    EXPECT_EQ(attributes(unprivileged(root)), -1071);
    EXPECT_THAT(root.log_texts(), ElementsAre(MatchesRegex(
                                      "get_smart_detail:[0-9]+ return 0 with Permission denied")));
    EXPECT_THAT(left_unreadable(), ElementsAre("smart_sda_detail.XXXXXX"));
}

TEST_F(SmartReader, OfTheControllersAttributesFailsWhenTheOutputCannotBeOpenedAndLeavesIt) {
    root.slot("2").does("chmod 0 /tmp/smart_3_detail.*");
    EXPECT_EQ(controller_attributes(unprivileged(root)), -1071);
    EXPECT_THAT(
        root.log_texts(),
        ElementsAre(MatchesRegex("get_smart_from_vexadm:[0-9]+ return 0 with Permission denied")));
    EXPECT_THAT(left_unreadable(), ElementsAre("smart_3_detail.XXXXXX"));
}

TEST_F(SmartReader, LogsTheToolsStatusWithAnOutputThatCannotBeOpened) {
    root.summary_of("sda").does("chmod 0 /tmp/smart_sda.*").exits(2);
    EXPECT_EQ(summary(unprivileged(root)), -1070);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(MatchesRegex("get_smart:[0-9]+ return 512 with Permission denied")));
}

TEST_F(SmartReader, WithoutAPlaceForTheOutputRunsNothing) {
    root.read_only("/tmp");
    const Health health = root.filled(SmartMode::detail, {"sda"});
    EXPECT_EQ(health.code, -11000);
    EXPECT_THAT(health.commands, IsEmpty());
    EXPECT_THAT(root.log(), testing::SizeIs(2));
}

/// The log line of a command that was not run.
auto not_run(const std::string& beginning) {
    return testing::AllOf(testing::StartsWith("system(\"" + beginning),
                          testing::HasSubstr("\") return unnormal with exit(255) for '"));
}

TEST(FillSmart, NeverLetsANameReachACommandThatIsNotLettersAndDigits) {
    for (const char* name :
         {"x/y",  "",      " ",     "sda b", "sda;",       "$(id)", "`id`", "sd|a",
          "sda&", ">sda",  "sd*",   "-s",    "sd_a",       "sd-a",  "sd.a", "..",
          "sda'", "sda\"", "sda\t", "\\sda", "sd\xc3\xa4", "%s%n"}) {
        SmartRoot root;
        const Health health = root.filled(SmartMode::detail, {name});
        EXPECT_EQ(health.code, 0) << name;
        EXPECT_THAT(health.commands, IsEmpty()) << name;
        const std::string device = std::string("/dev/") + name + " > /tmp/smart_" + name;
        EXPECT_THAT(
            root.log_texts(),
            ElementsAre(
                not_run("/usr/local/sbin/smartctl -d marvell -T permissive -Hi " + device + "."),
                testing::EndsWith("was not run: it names no disk of the kernel"),
                not_run("/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes " +
                        device + "_detail."),
                testing::EndsWith("was not run: it names no disk of the kernel")));
        EXPECT_THAT(root.tmp(), IsEmpty()) << name;
    }
}

TEST(FillSmart, ContinuesAfterADiskWithoutAPlainName) {
    SmartRoot root;
    const Health health = root.filled(SmartMode::summary, {"", "sdb"});
    EXPECT_EQ(health.code, 0);
    EXPECT_THAT(health.commands, ElementsAre(summary_command("sdb")));
    EXPECT_THAT(health.disks, ElementsAre("|||0", "sdb|EMU0001|PASSED|0"));
}

} // namespace
} // namespace zav::test

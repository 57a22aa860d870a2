// SPDX-License-Identifier: MIT
// disksmart: the disks with their health.
#include "fixtures/disk_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr auto smartctl = "/usr/local/sbin/smartctl";
const std::string summary_call = "/usr/local/sbin/smartctl -d marvell -T permissive -Hi /dev/";
const std::string detail_call =
    "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/";

const std::string header = "diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\thotspare\n"
                           "****************************************************************\n";

const std::string identity = "smartctl version 5.38\n"
                             "\n"
                             "=== START OF INFORMATION SECTION ===\n"
                             "Device Model:     EMULATED DISK\n"
                             "Serial Number:    EMU0001\n"
                             "Firmware Version: 1.0\n"
                             "User Capacity:    2,000,398,934,016 bytes\n"
                             "Device is:        Not in smartctl database\n"
                             "ATA Version is:   8\n"
                             "ATA Standard is:  Exact ATA specification draft version\n"
                             "Local Time is:    Thu Jan  1 00:00:00 1970 UTC\n"
                             "SMART support is: Available - device has SMART capability.\n"
                             "SMART support is: Enabled\n"
                             "\n"
                             "=== START OF READ SMART DATA SECTION ===\n"
                             "SMART overall-health self-assessment test result: PASSED\n";

const std::string attributes =
    "\n"
    "General SMART Values:\n"
    "SMART Attributes Data Structure revision number: 16\n"
    "Vendor Specific SMART Attributes with Thresholds:\n"
    "one more line\n"
    "ID# ATTRIBUTE_NAME          FLAG     VALUE WORST THRESH TYPE      UPDATED  WHEN_FAILED "
    "RAW_VALUE\n"
    "  5 Reallocated_Sector_Ct   0x0033   100   099   010    Pre-fail  Always       -       12\n"
    "  9 Power_On_Hours          0x0032   090   090   000    Old_age   Always       -       8765\n"
    "194 Temperature_Celsius     0x0022   067   055   045    Old_age   Always   In_the_past 33 "
    "(Min/Max 20/45)\n";

const std::string block = "=== START OF INFORMATION SECTION ===\n"
                          "Device Model:     EMULATED DISK\n"
                          "Serial Number:    EMU0001\n"
                          "Firmware Version: 1.0\n"
                          "User Capacity:    2,000,398,934,016 bytes\n"
                          "ATA Version is:   8\n"
                          "ATA Standard is:  Exact ATA specification draft version\n"
                          "SMART support is: Available - device has SMART capability.\n"
                          "SMART support is: Enabled\n"
                          "=== START OF READ SMART DATA SECTION ===\n"
                          "'PASSED'\n";

const std::string empty_block = "=== START OF INFORMATION SECTION ===\n"
                                "Device Model:     \n"
                                "Serial Number:    \n"
                                "Firmware Version: \n"
                                "User Capacity:    \n"
                                "ATA Version is:   \n"
                                "ATA Standard is:  \n"
                                "SMART support is: \n"
                                "SMART support is: \n"
                                "=== START OF READ SMART DATA SECTION ===\n"
                                "''\n";

std::string row(const std::string& name, int channel, const std::string& model = "DISK-2000",
                int hotspare = 0) {
    return "'" + name + "'\t'" + std::to_string(channel) + "'\t'1863'\t'running'\t'" + model +
           "'\t''\t'0'\t'" + std::to_string(hotspare) + "'\n";
}

class DiskSmart : public testing::Test {
  protected:
    DiskSmart() {
        machine.tool(smartctl).on_prefix(summary_call).prints(identity).exits(4).optional();
        machine.tool(smartctl)
            .on_prefix(detail_call)
            .prints(identity + attributes)
            .exits(4)
            .optional();
    }
    int disksmart(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "disksmart");
        run = machine.run(arguments);
        EXPECT_THAT(machine.tmp(), IsEmpty());
        return run.exit_status;
    }
    std::vector<std::string> health_commands() const {
        std::vector<std::string> commands = run.commands_with_templates();
        std::erase_if(commands, [](const std::string& command) {
            return command.find("smartctl") == std::string::npos &&
                   command.find("--misc -s") == std::string::npos;
        });
        return commands;
    }
    DiskMachine machine;
    Result run;
};

TEST_F(DiskSmart, ShowsARowAndTheHealthOfADisk) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-S", "-n", "2"}, {"--display", "-n", "2", "-d", "0"}}) {
        EXPECT_EQ(disksmart(arguments), 0);
        EXPECT_EQ(run.out, header + row("sdb", 2) + block);
    }
    EXPECT_THAT(machine.messages(), IsEmpty());
}

TEST_F(DiskSmart, HasARuleOf64Stars) {
    disksmart({"-S"});
    EXPECT_EQ(std::ranges::count(run.out, '*'), 64);
}

TEST_F(DiskSmart, ShowsEveryDiskWithoutAChannel) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-S"}, {"-S", "-n", "0"}}) {
        EXPECT_EQ(disksmart(arguments), 0);
        for (const std::string& disk :
             {row("sda", 1), row("sdb", 2), row("sdc", 3), row("sdd", 4)}) {
            EXPECT_THAT(run.out, HasSubstr("\n" + disk + block));
        }
    }
}

TEST_F(DiskSmart, TakesTheFirstNumberOfAList) {
    EXPECT_EQ(disksmart({"-S", "-n", "2,3"}), 0);
    EXPECT_EQ(run.out, header + row("sdb", 2) + block);
}

TEST_F(DiskSmart, ShowsAttributesWithTheDetail) {
    EXPECT_EQ(disksmart({"-S", "--detail", "-n", "1"}), 0);
    EXPECT_EQ(run.out, header + row("sda", 1) + block +
                           "'5'\t'Reallocated_Sector_Ct'\t'100'\t'99'\t'10'\t'-'\t'12'\n"
                           "'194'\t'Temperature_Celsius'\t'67'\t'55'\t'45'\t'In_the_past'\t'33'\n");
}

TEST_F(DiskSmart, AsksEachDiskOnceAndTwiceWithTheDetail) {
    disksmart({"-S", "-n", "1"});
    EXPECT_THAT(health_commands(),
                ElementsAre(summary_call + "sda > /tmp/smart_sda.XXXXXX 2>> /dev/null"));
    disksmart({"-Se", "-n", "1"});
    EXPECT_THAT(health_commands(),
                ElementsAre(summary_call + "sda > /tmp/smart_sda.XXXXXX 2>> /dev/null",
                            detail_call + "sda > /tmp/smart_sda_detail.XXXXXX 2>> /dev/null"));
}

TEST_F(DiskSmart, ShowsHotSparesAndNeitherArrayNorUse) {
    machine.with_array().hotspares({"sdc"});
    disksmart({"-S", "-n", "3"});
    EXPECT_EQ(run.out, header + row("sdc", 3, "DISK-2000", 1) + block);
    EXPECT_THAT(run.commands_without_redirection(), Not(Contains("/bin/df")));
}

TEST_F(DiskSmart, OfAVirtualDiskIsItsRowOnly) {
    machine.disk({.name = "sde", .channel = 5, .model = "VIRTUAL-DISK"});
    EXPECT_EQ(disksmart({"-Se", "-n", "5"}), 0);
    EXPECT_EQ(run.out, header + row("sde", 5, "VIRTUAL-DISK"));
    EXPECT_THAT(health_commands(), IsEmpty());
}

TEST_F(DiskSmart, IsEmptyWithoutTheTool) {
    DiskMachine bare;
    const Result result = bare.run({"disksmart", "-Se", "-n", "1"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, header + row("sda", 1) + empty_block);
    EXPECT_THAT(bare.messages(), IsEmpty());
    EXPECT_THAT(bare.tmp(), IsEmpty());
}

TEST_F(DiskSmart, BehindTheRaidControllerHasAttributesOnly) {
    DiskMachine behind_controller("VEL7205U");
    Tool vexadm = behind_controller.tool("/usr/local/bin/vexadm");
    vexadm.on("/usr/local/bin/vexadm --misc --scan").prints("2 /DISK/931/OK/Free\n");
    vexadm.on("/usr/local/bin/vexadm --misc -s -i 2")
        .prints("Spin Up Time: 187 184 21 (5633)\nPower On Hours: 90 90 0 (8765)\n");
    const Result result = behind_controller.run({"disksmart", "-Se", "-n", "3"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, header + "''\t'3'\t'931'\t'OK'\t'DISK'\t'Free'\t'0'\t'0'\n" +
                              empty_block + "''\t'Spin Up Time'\t'187'\t'184'\t'21'\t''\t'5633'\n");
    EXPECT_THAT(result.commands_with_templates(),
                Contains("/usr/local/bin/vexadm --misc -s -i 2 > /tmp/smart_3_detail.XXXXXX "
                         "2>> /dev/null"));
    EXPECT_THAT(behind_controller.messages(), IsEmpty());
}

TEST_F(DiskSmart, WhoseOutputIsGoneIsMinus207) {
    machine.tool(smartctl).on(summary_call + "sda").does("/.harness/busybox rm /tmp/smart_sda.*");
    disksmart({"-S"});
    expect_failure(machine, run, -207, "disksmart_main[156]");
    EXPECT_THAT(machine.messages(), Contains("zav_disk_smart_display[64]: return with -11000"));
    EXPECT_EQ(health_commands().size(), 4U) << "the other disks are read all the same";
}

TEST_F(DiskSmart, OfAnUnknownDiskIsMinus202) {
    for (const auto& [channel, device] :
         {std::pair("5", "0"), {"1", "1"}, {"99999999999999999999", "0"}}) {
        disksmart({"-S", "-n", channel, "-d", device});
        expect_failure(machine, run, -202, "disksmart_main[156]");
        EXPECT_THAT(machine.messages(), Contains("zav_disk_smart_display[46]: return with -202"));
    }
}

TEST_F(DiskSmart, WithoutADiskListIsMinus205) {
    machine.without_disk_list();
    disksmart({"-S"});
    expect_failure(machine, run, -205, "disksmart_main[156]");
    EXPECT_THAT(machine.messages(), Contains("zav_disk_smart_display[31]: return with -1021"));
}

TEST_F(DiskSmart, ChecksTheChannelThenTheDevice) {
    for (const char* channel : {"", "x", "-1", "1;reboot"}) {
        disksmart({"-S", "-n", channel, "-d", "123456789"});
        expect_failure(machine, run, -111, "disksmart_main[120]");
        EXPECT_THAT(run.commands, IsEmpty());
    }
    for (const char* device : {"", "123456789", "0;reboot"}) {
        disksmart({"-S", "-n", "1", "-d", device});
        expect_failure(machine, run, -121, "disksmart_main[137]");
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(DiskSmart, WithAnUnknownOptionOnlyDoesNothing) {
    EXPECT_EQ(disksmart({"--bogus"}), 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.commands, IsEmpty());
}

} // namespace
} // namespace zav::test

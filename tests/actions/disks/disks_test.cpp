// SPDX-License-Identifier: MIT
// The two operations that change a disk. A failed command is only logged.
#include "actions/disks/disks.h"
#include "fixtures/disk_root.h"

#include <climits>
#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

struct Operation {
    int code;
    std::vector<std::string> commands;
};

class DiskOperation : public testing::Test {
  public:
    DiskOperation() {
        root.tool(disk_tool::hotspare);
        root.tool(disk_tool::diskformat);
    }
    Operation hot_spare(const char* disk, HotspareMode mode) {
        const Result result = root.call([&] { return hotspare_command(disk, mode); });
        EXPECT_THAT(result.out, IsEmpty());
        return {result.returned, result.commands};
    }
    Operation format(const char* disk) {
        const Result result = root.call([&] { return disk_format(disk); });
        EXPECT_THAT(result.out, IsEmpty());
        return {result.returned, result.commands};
    }
    DiskRoot root;
};

/// The log line of a failed command.
auto failed(const std::string& command, const std::string& end) {
    return MatchesRegex("system\\(\"" + command + "\"\\) return " + end + " for '.*'");
}

TEST_F(DiskOperation, HotSpareIsAddedInMode1) {
    root.tool(disk_tool::hotspare).on("/usr/local/bin/hotspare -a /dev/sdb");
    const Operation done = hot_spare("sdb", HotspareMode::add);
    EXPECT_EQ(done.code, 0);
    EXPECT_THAT(done.commands, ElementsAre("/usr/local/bin/hotspare -a /dev/sdb 2>> /dev/null"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(DiskOperation, HotSpareIsRemovedInModeMinus1) {
    root.tool(disk_tool::hotspare).on("/usr/local/bin/hotspare -r /dev/sdb");
    const Operation done = hot_spare("sdb", HotspareMode::remove);
    EXPECT_EQ(done.code, 0);
    EXPECT_THAT(done.commands, ElementsAre("/usr/local/bin/hotspare -r /dev/sdb 2>> /dev/null"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(DiskOperation, WithoutAModeNothingIsRun) {
    EXPECT_THAT(hot_spare("sdb", HotspareMode::none).commands, IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(DiskOperation, HotSpareReturns0AfterAFailureAndLogsIt) {
    root.tool(disk_tool::hotspare).any().exits(5);
    EXPECT_EQ(hot_spare("sdb", HotspareMode::add).code, 0);
    EXPECT_EQ(hot_spare("sdb", HotspareMode::remove).code, 0);
    EXPECT_THAT(
        root.log_texts(),
        ElementsAre(failed("/usr/local/bin/hotspare -a /dev/sdb", "normal with exit\\(5\\)"),
                    failed("/usr/local/bin/hotspare -r /dev/sdb", "normal with exit\\(5\\)")));
}

TEST_F(DiskOperation, HotSpareReturns0AfterADeathOfItsTool) {
    root.tool(disk_tool::hotspare).any().killed_by(SIGKILL);
    EXPECT_EQ(hot_spare("sdb", HotspareMode::add).code, 0);
    EXPECT_THAT(root.log_texts(), ElementsAre(failed("/usr/local/bin/hotspare -a /dev/sdb",
                                                     "unnormal with exit\\(0\\)")));
}

TEST_F(DiskOperation, HotSpareReturns0WithoutItsTool) {
    root.remove(disk_tool::hotspare);
    EXPECT_EQ(hot_spare("sdb", HotspareMode::add).code, 0);
    EXPECT_THAT(root.log_texts(), ElementsAre(failed("/usr/local/bin/hotspare -a /dev/sdb",
                                                     "normal with exit\\(127\\)")));
}

TEST_F(DiskOperation, FormatTakesAKernelName) {
    root.tool(disk_tool::diskformat).on("/usr/local/bin/diskformat /dev/sdc");
    const Operation done = format("sdc");
    EXPECT_EQ(done.code, 0);
    EXPECT_THAT(done.commands, ElementsAre("/usr/local/bin/diskformat /dev/sdc 2>> /dev/null"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(DiskOperation, FormatTakesAPathUnderDev) {
    root.tool(disk_tool::diskformat).on("/usr/local/bin/diskformat /dev/sdc");
    const Operation done = format("/dev/sdc");
    EXPECT_EQ(done.code, 0);
    EXPECT_THAT(done.commands, ElementsAre("/usr/local/bin/diskformat /dev/sdc 2>> /dev/null"));
}

TEST_F(DiskOperation, FormatReturns0AfterAFailureAndLogsIt) {
    root.tool(disk_tool::diskformat).any().exits(1);
    EXPECT_EQ(format("sdc").code, 0);
    EXPECT_THAT(root.log_texts(), ElementsAre(failed("/usr/local/bin/diskformat /dev/sdc",
                                                     "normal with exit\\(1\\)")));
}

TEST_F(DiskOperation, FormatReturns0AfterADeathOfItsToolAndWithoutIt) {
    root.tool(disk_tool::diskformat).any().killed_by(SIGSEGV);
    EXPECT_EQ(format("sdc").code, 0);
    root.remove(disk_tool::diskformat);
    EXPECT_EQ(format("sdc").code, 0);
    EXPECT_THAT(
        root.log_texts(),
        ElementsAre(failed("/usr/local/bin/diskformat /dev/sdc", "unnormal with exit\\(0\\)"),
                    failed("/usr/local/bin/diskformat /dev/sdc", "normal with exit\\(127\\)")));
}

TEST_F(DiskOperation, WhatTheToolsPrintGoesToStandardOutput) {
    root.tool(disk_tool::diskformat).any().prints("wiped\n");
    const Result result = root.call([] {
        std::puts("before");
        return disk_format("sdc");
    });
    EXPECT_EQ(result.out, "before\nwiped\n");
}

TEST_F(DiskOperation, NameOfAnythingButLettersAndDigitsIsLoggedLikeAFailureAndNeverRun) {
    using testing::StartsWith;
    const std::string end = "\") return unnormal with exit(255) for '";
    const std::string not_run = "' was not run: it names no disk of the kernel";
    for (const std::string name :
         {"",       " ",     "sda sdb", "sda;reboot", "sda&",  "$(reboot)", "`id`",
          "../sda", "sda/x", "sda-1",   "sda_1",      "sda.1", "-a",        "sd*",
          "sd?",    "sda'",  "sda\"",   "sda>x",      "\\",    "sd\xc3\xa4"}) {
        root.remove("/var/log/log.libzav");
        for (const Operation& done :
             {hot_spare(name.c_str(), HotspareMode::add),
              hot_spare(name.c_str(), HotspareMode::remove), format(name.c_str())}) {
            EXPECT_EQ(done.code, 0) << name;
            EXPECT_THAT(done.commands, IsEmpty()) << name;
        }
        EXPECT_THAT(
            root.log_texts(),
            ElementsAre(StartsWith("system(\"/usr/local/bin/hotspare -a /dev/" + name + end),
                        "'/usr/local/bin/hotspare -a /dev/" + name + not_run,
                        StartsWith("system(\"/usr/local/bin/hotspare -r /dev/" + name + end),
                        "'/usr/local/bin/hotspare -r /dev/" + name + not_run,
                        StartsWith("system(\"/usr/local/bin/diskformat /dev/" + name + end),
                        "'/usr/local/bin/diskformat /dev/" + name + not_run));
    }
}

TEST_F(DiskOperation, FormatOfDevAloneOrTwiceIsNeverRun) {
    for (const char* name : {"/dev/", "/dev//dev/sda", "/dev/sda;x", "/devsda", "/sda"}) {
        const Operation done = format(name);
        EXPECT_EQ(done.code, 0) << name;
        EXPECT_THAT(done.commands, IsEmpty()) << name;
    }
    EXPECT_EQ(root.log().size(), 10U);
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// The list of pools.
#include "fixtures/library.h"
#include "fixtures/shown_records.h"
#include "inventory/pools.h"
#include "machine.h"

#include <csignal>
#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr auto lvdisplay = "/sbin/lvdisplay";

// A line of lvdisplay -c.
std::string pool_line(const std::string& path, const std::string& group,
                      const std::string& status = "1", const std::string& sectors = "2097152") {
    return "  " + path + ":" + group + ":3:" + status + ":-1:0:" + sectors + ":256:-1:0:-1:254:0\n";
}

class Pools : public testing::Test {
  protected:
    Pools() {
        machine.disks(2);
        machine.group({.name = "data", .volumes = {{.device = "/dev/sda"}}});
    }
    // Prints the table of all pools; returns the reader's result.
    Result shown() {
        Result result = machine.call([] {
            pool_list pools;
            const auto code = pool_list_get(pools, printed());
            show(pools);
            return code;
        });
        return result;
    }
    Rule tool() { return machine.tool(lvdisplay).any(); }
    std::vector<std::string> messages() const {
        std::vector<std::string> texts;
        for (const LogLine& line : machine.log()) {
            texts.push_back(line.text);
        }
        return texts;
    }
    Machine machine;
};

TEST_F(Pools, AreListedInTheToolsOrderWithTheDeviceOfTheirGroup) {
    tool().prints(pool_line("/dev/data/b", "data") + pool_line("/dev/other/a", "other", "0"));
    const Result result = shown();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "/dev/data/b\tavailable\t1G\t0G\tdata\t0\n"
                          "/dev/other/a\tnot available\t1G\t0G\tother\t\n");
    EXPECT_EQ(result.commands_with_templates().front(),
              "/sbin/lvdisplay -c > /tmp/lvdisplay.XXXXXX  2>> /dev/null");
    EXPECT_THAT(result.commands_without_redirection(), Contains("/sbin/vgdisplay -c"));
    EXPECT_THAT(machine.tmp(), IsEmpty());
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Pools, AreNoneWithoutALine) {
    tool();
    const Result result = shown();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
}

TEST_F(Pools, AreReadFromAToolThatFails) {
    tool().prints(pool_line("/dev/data/a", "data")).exits(5);
    const Result result = shown();
    EXPECT_EQ(result.returned, -1051);
    EXPECT_EQ(result.out, "/dev/data/a\tavailable\t1G\t0G\tdata\t0\n");
    EXPECT_THAT(messages(),
                ElementsAre(MatchesRegex(
                    "system\\(\"/sbin/lvdisplay -c > /tmp/lvdisplay\\..{6} \"\\) return "
                    "normal with exit\\(5\\) for '.*'")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(Pools, AreReadFromAToolThatIsKilledOrMissing) {
    tool().killed_by(SIGKILL);
    EXPECT_EQ(shown().returned, -1051);
    Machine without_lvm;
    without_lvm.disks(1);
    const Result result = without_lvm.call([] {
        pool_list pools;
        return pool_list_get(pools, printed());
    });
    EXPECT_EQ(result.returned, -1051);
}

TEST_F(Pools, HaveNoDeviceWithoutTheGroupList) {
    tool().prints(pool_line("/dev/data/a", "data"));
    machine.tool("/sbin/vgdisplay").on("/sbin/vgdisplay -c").exits(5);
    const Result result = shown();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "/dev/data/a\tavailable\t1G\t0G\tdata\t\n");
    EXPECT_THAT(messages(), Contains(MatchesRegex("get_poolinfo_from_lvdisplay\\[[0-9]+\\]: return "
                                                  "with -11000")));
}

TEST_F(Pools, CannotBeReadWithoutTheOutput) {
    tool().does("/.harness/busybox rm /tmp/lvdisplay.*");
    const Result result = shown();
    EXPECT_EQ(result.returned, -1050);
    EXPECT_THAT(result.out, MatchesRegex("cannot open /tmp/lvdisplay\\..{6}\n"));
    EXPECT_THAT(messages(), ElementsAre(MatchesRegex("get_poolinfo_from_lvdisplay:[0-9]+ return 0 "
                                                     "with No such file or directory")));
}

TEST_F(Pools, LeaveAnOutputThatCannotBeOpened) {
    tool().does("/.harness/busybox chmod 0 /tmp/lvdisplay.*");
    const Result result = machine.call(
        [] {
            pool_list pools;
            return pool_list_get(pools, printed());
        },
        {.uid = 65534});
    EXPECT_EQ(result.returned, -1050);
    EXPECT_THAT(machine.tmp(), ElementsAre(testing::StartsWith("lvdisplay.")));
}

TEST_F(Pools, AreFoundByNameInAnyGroup) {
    tool().prints(pool_line("/dev/data/a", "data") + pool_line("/dev/other/a", "other") +
                  pool_line("/dev/data/ab", "data"));
    for (const auto& [name, found] :
         {std::pair("a", 1), {"ab", 1}, {"b", 0}, {"", 0}, {"data", 0}, {"/dev/data/a", 0}}) {
        const Result result = machine.call([name = name] { return check_lvname(name, printed()); });
        EXPECT_EQ(result.returned, found) << name;
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(Pools, AreFoundByNameWhenTheToolFails) {
    tool().prints(pool_line("/dev/data/a", "data")).exits(5);
    EXPECT_EQ(machine.call([] { return check_lvname("a", printed()); }).returned, 1);
}

TEST_F(Pools, ThatCannotBeReadAreReportedWhereANameIsLookedUp) {
    tool().does("/.harness/busybox rm /tmp/lvdisplay.*");
    const Result result = machine.call([] { return check_lvname("a", printed()); });
    EXPECT_EQ(result.returned, -1);
    EXPECT_THAT(result.out, testing::EndsWith("for errno '-326'\n"));
    EXPECT_THAT(messages().back(), MatchesRegex("check_lvname\\[[0-9]+\\]: return with -326"));
}

} // namespace
} // namespace zav::test

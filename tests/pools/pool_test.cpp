// SPDX-License-Identifier: MIT
// Pools as lvdisplay tells of them: the parser, the list, its rows, names looked up in it.
#include "frame/text.h"
#include "machine.h"
#include "pools/pool_discovery.h"
#include "pools/pool_sources.h"
#include "recorded.h"

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

class PoolParser : public testing::Test {
  protected:
    PoolParser() {
        vginfo& group = groups.append();
        group.name = "data";
        group.device = "0";
    }
    // Every pool as "path|status|size|group|device".
    std::vector<std::string> parse(const std::string& output) const {
        pool_list list;
        parse_lvdisplay(output, groups, list);
        std::vector<std::string> pools;
        for (const pool_info& pool : list) {
            EXPECT_EQ(pool.usedsize, 0U);
            pools.push_back(format_text("%s|%s|%llu|%s|%s", pool.name.c_str(), pool.status.c_str(),
                                        static_cast<unsigned long long>(pool.allsize),
                                        pool.vgname.c_str(), pool.device.c_str()));
        }
        return pools;
    }
    vginfo_list groups;
};

TEST_F(PoolParser, TakesTheLinesOfRealTools) {
    EXPECT_THAT(parse(recorded("lvdisplay_c_inactive").text),
                ElementsAre("/dev/vgdisks/full|not available|2|vgdisks|",
                            "/dev/vg1/pub|available|1|vg1|", "/dev/vg1/half|available|1|vg1|",
                            "/dev/data/pool|available|2|data|0"));
    EXPECT_THAT(parse(recorded("lvm_lvdisplay_c_empty").text), IsEmpty());
}

TEST_F(PoolParser, TakesAnyStatusButZeroForAvailable) {
    EXPECT_THAT(
        parse(pool_line("/dev/data/a", "data", "7") + pool_line("/dev/data/b", "data", "-1") +
              pool_line("/dev/data/c", "data", "0") + pool_line("/dev/data/d", "data", "x")),
        ElementsAre("/dev/data/a|available|1|data|0", "/dev/data/b|available|1|data|0",
                    "/dev/data/c|not available|1|data|0", "/dev/data/d|not available|1|data|0"));
}

TEST_F(PoolParser, RoundsSizesToTheNearestGibHalvesUp) {
    const auto size = [this](const char* sectors) {
        return parse(pool_line("/dev/data/a", "data", "1", sectors)).at(0);
    };
    EXPECT_EQ(size("1048575"), "/dev/data/a|available|0|data|0");
    EXPECT_EQ(size("1048576"), "/dev/data/a|available|1|data|0");
    EXPECT_EQ(size("3145727"), "/dev/data/a|available|1|data|0");
    EXPECT_EQ(size("3145728"), "/dev/data/a|available|2|data|0");
    EXPECT_EQ(size("18446744073709551615"), "/dev/data/a|available|8796093022207|data|0");
}

TEST_F(PoolParser, SkipsLinesThatAreNoPools) {
    EXPECT_THAT(parse("\n  WARNING: /dev/data/a: something\n/dev/data/a without a colon\n"
                      "  No volume groups found\nx /dev/data/a:data:3:1\n \t" +
                      pool_line("/dev/data/b", "data")),
                ElementsAre("/dev/data/b|available|1|data|0"));
}

TEST_F(PoolParser, LeavesTheDeviceOfAnUnknownGroupEmpty) {
    EXPECT_THAT(parse(pool_line("/dev/other/a", "other") + pool_line("/dev/Data/a", "Data")),
                ElementsAre("/dev/other/a|available|1|other|", "/dev/Data/a|available|1|Data|"));
}

TEST_F(PoolParser, TakesTheDeviceOfTheFirstOfTwoGroups) {
    vginfo& namesake = groups.append();
    namesake.name = "data";
    namesake.device = "1";
    EXPECT_THAT(parse(pool_line("/dev/data/a", "data")),
                ElementsAre("/dev/data/a|available|1|data|0"));
}

TEST_F(PoolParser, CutsPathsAndGroups) {
    const std::string path = "/dev/data/" + std::string(150, 'p');
    EXPECT_THAT(parse(pool_line(path, std::string(40, 'g'))),
                ElementsAre(path.substr(0, 127) + "|available|1|" + std::string(32, 'g') + "|"));
}

TEST_F(PoolParser, TakesALineThatEndsEarly) {
    EXPECT_THAT(parse("/dev/data/a:"), ElementsAre("/dev/data/a|not available|0||"));
    EXPECT_THAT(parse("/dev/data/a:data"), ElementsAre("/dev/data/a|not available|0|data|0"));
}

class Pools : public testing::Test {
  protected:
    Pools() {
        machine.disks(2);
        machine.group({.name = "data", .volumes = {{.device = "/dev/sda"}}});
    }
    // The table of all pools; what was returned is the reader's result.
    Result shown() {
        Result result = machine.call([] {
            pool_list pools;
            const int code = pool_list_get(pools);
            pool_list_show(&pools);
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
                          "/dev/other/a\tnot available\t1G\t0G\tother\tN.A.\n");
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
        return pool_list_get(pools);
    });
    EXPECT_EQ(result.returned, -1051);
}

TEST_F(Pools, HaveNoDeviceWithoutTheGroupList) {
    tool().prints(pool_line("/dev/data/a", "data"));
    machine.tool("/sbin/vgdisplay").on("/sbin/vgdisplay -c").exits(5);
    const Result result = shown();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "/dev/data/a\tavailable\t1G\t0G\tdata\tN.A.\n");
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
            return pool_list_get(pools);
        },
        {.uid = 65534});
    EXPECT_EQ(result.returned, -1050);
    EXPECT_THAT(machine.tmp(), ElementsAre(testing::StartsWith("lvdisplay.")));
}

TEST_F(Pools, AreFoundByNameInWhateverGroup) {
    tool().prints(pool_line("/dev/data/a", "data") + pool_line("/dev/other/a", "other") +
                  pool_line("/dev/data/ab", "data"));
    for (const auto& [name, found] :
         {std::pair("a", 1), {"ab", 1}, {"b", 0}, {"", 0}, {"data", 0}, {"/dev/data/a", 0}}) {
        const Result result = machine.call([name = name] { return check_lvname(name); });
        EXPECT_EQ(result.returned, found) << name;
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(Pools, AreFoundByNameWhenTheToolFails) {
    tool().prints(pool_line("/dev/data/a", "data")).exits(5);
    EXPECT_EQ(machine.call([] { return check_lvname("a"); }).returned, 1);
}

TEST_F(Pools, ThatCannotBeReadAreReportedWhereANameIsLookedUp) {
    tool().does("/.harness/busybox rm /tmp/lvdisplay.*");
    const Result result = machine.call([] { return check_lvname("a"); });
    EXPECT_EQ(result.returned, -326);
    EXPECT_THAT(result.out, testing::EndsWith("for errno '-326'\n"));
    EXPECT_THAT(messages().back(), MatchesRegex("check_lvname\\[[0-9]+\\]: return with -326"));
}

TEST(PoolList, CopiesOnePoolByItsWholePath) {
    pool_list source;
    pool_list target;
    pool_info& pool = source.append();
    pool.name = "/dev/data/a";
    pool.status = "available";
    pool.allsize = 7;
    pool.usedsize = 3;
    pool.vgname = "data";
    pool.device = "0";
    EXPECT_EQ(pool_list_copy_one(source, target, "a"), -126);
    EXPECT_EQ(pool_list_copy_one(source, target, "/dev/data/"), -126);
    EXPECT_EQ(target.size(), 0U);
    EXPECT_EQ(pool_list_copy_one(source, target, "/dev/data/a"), 0);
    ASSERT_EQ(target.size(), 1U);
    EXPECT_EQ(source.size(), 1U);
    testing::internal::CaptureStdout();
    pool_list_show(&target);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "/dev/data/a\tavailable\t7G\t3G\tdata\t0\n");
}

TEST(PoolList, ThatIsMissingIsSaid) {
    testing::internal::CaptureStdout();
    pool_list_show(nullptr);
    EXPECT_EQ(pool_list_destroy(nullptr), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Can't show NULL list\nCan't destory NULL list\n");
    pool_list list;
    list.append();
    EXPECT_EQ(pool_list_destroy(&list), 0);
    EXPECT_EQ(list.size(), 0U);
}

} // namespace
} // namespace zav::test

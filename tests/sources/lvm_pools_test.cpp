// SPDX-License-Identifier: MIT
// lvdisplay -c, as parsed for pools and shares.
#include "base/text.h"
#include "sources/lvm.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

TEST(PoolGroups, AreReadFromTheLinesOfPools) {
    const std::string output = "  WARNING: ignore\n\t/dev/data/pub:data:3:1\n/dev/more/old:more:3\n"
                               "x/dev/data/no:data:3\n";
    EXPECT_THAT(groups_of_pools(output),
                UnorderedElementsAre(Pair("pub", "data"), Pair("old", "more")));
}

TEST(PoolGroups, AreThoseOfTheFirstNamesake) {
    const std::string output = "  /dev/data/pub:data:3\n  /dev/more/pub:more:3\n";
    EXPECT_THAT(groups_of_pools(output), UnorderedElementsAre(Pair("pub", "data")));
}

TEST(PoolGroups, AreFoundInTheOutputOfTheTool) {
    const std::string output = recorded("lvdisplay_c_three").text;
    EXPECT_THAT(groups_of_pools(output),
                UnorderedElementsAre(Pair("full", "vgdisks"), Pair("pub", "vg1"),
                                     Pair("half", "vg1"), Pair("pool", "data")));
}

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
            EXPECT_EQ(pool.usedsize.count, 0U);
            pools.push_back(format_text("%s|%s|%llu|%s|%s", pool.name.c_str(), pool.status.c_str(),
                                        static_cast<unsigned long long>(pool.allsize.count),
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

TEST_F(PoolParser, TreatsAnyStatusButZeroAsAvailable) {
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

} // namespace
} // namespace zav::test

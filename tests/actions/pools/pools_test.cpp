// SPDX-License-Identifier: MIT
// Creating, growing and removing pools: the checks, the command, its failures.
#include "actions/pools/pools.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A pool in the output of lvdisplay -c.
std::string line(const std::string& path, const std::string& group, std::uint64_t gib) {
    return "  " + path + ":" + group + ":3:1:-1:0:" + std::to_string(gib << 21) +
           ":512:-1:0:-1:254:0\n";
}

class PoolOperation : public testing::Test {
  protected:
    int check(const char* pool, const char* group, std::uint64_t size = 0) {
        return machine.operation([=] { return pool_check(pool, group, Gib{size}, printed()); })
            .returned;
    }
    int check_name(const char* pool, const char* group) {
        return machine.operation([=] { return pool_name_check(pool, group, printed()); }).returned;
    }
    int check_space(const char* group, std::uint64_t size) {
        return machine.operation([=] { return vg_space_check(group, Gib{size}, printed()); })
            .returned;
    }
    Result create(const char* pool, const char* group, std::uint64_t size) {
        return machine.operation([=] { return pool_create(pool, group, Gib{size}, printed()); });
    }
    Result extend(const char* pool, const char* group, std::uint64_t size) {
        return machine.operation([=] { return pool_extend(pool, group, Gib{size}, printed()); });
    }
    Result remove(const char* pool, const char* group) {
        return machine.operation([=] { return pool_remove(pool, group, printed()); });
    }
    PoolMachine machine;
};

using PoolCheck = PoolOperation;
using PoolNameCheck = PoolOperation;
using GroupSpaceCheck = PoolOperation;
using PoolCreation = PoolOperation;
using PoolExtension = PoolOperation;
using PoolRemoval = PoolOperation;

TEST_F(PoolCheck, FindsAPoolInItsGroup) {
    machine.pools({"/dev/data/other", "/dev/data/pool"});
    EXPECT_EQ(check("pool", "data"), 0);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolCheck, NeedsBothNames) {
    machine.pools({"/dev/data/pool"});
    EXPECT_EQ(check("", "data"), -2050);
    EXPECT_EQ(check("pool", ""), -2050);
    const Result result = machine.operation([] { return pool_check("", "", Gib{}, printed()); });
    EXPECT_EQ(result.returned, -2050);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre("Cannot find poolname!", "Cannot find poolname!",
                                              "Cannot find poolname!"));
}

TEST_F(PoolCheck, FindsNoPoolInAnEmptyList) {
    EXPECT_EQ(check("pool", "data", 5), -2055);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolCheck, ComparesWholeNames) {
    machine.pools({"/dev/data/pool1", "/dev/data/Pool", "/dev/data/xpool", "/dev/pool/data"});
    EXPECT_EQ(check("pool", "data"), -2055);
    EXPECT_EQ(check("data/pool1", "data"), -2055);
    EXPECT_EQ(check("pool1", "Data"), -2052);
}

TEST_F(PoolCheck, ReportsANamesakeInAnotherGroup) {
    machine.pools({"/dev/more/pool", "/dev/third/pool"});
    EXPECT_EQ(check("pool", "data"), -2052);
    EXPECT_THAT(machine.logged(),
                ElementsAre("pool's vgname not match 'data'", "pool's vgname not match 'data'"));
}

TEST_F(PoolCheck, ContinuesAfterANamesake) {
    machine.pools({"/dev/more/pool", "/dev/data/pool"});
    EXPECT_EQ(check("pool", "data"), 0);
    EXPECT_THAT(machine.logged(), ElementsAre("pool's vgname not match 'data'"));
}

TEST_F(PoolCheck, StopsAtThePool) {
    machine.pool_lines(line("/dev/data/pool", "data", 2) + line("/dev/more/pool", "more", 50));
    EXPECT_EQ(check("pool", "data", 10), 0);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolCheck, NeedsAPoolSmallerThanTheSize) {
    machine.pool_lines(line("/dev/data/pool", "data", 5));
    EXPECT_EQ(check("pool", "data", 6), 0);
    EXPECT_EQ(check("pool", "data", 5), -2053);
    EXPECT_EQ(check("pool", "data", 1), -2053);
    EXPECT_THAT(machine.logged(), ElementsAre("/dev/data/pool's size 5G cannot extend to 5G",
                                              "/dev/data/pool's size 5G cannot extend to 1G"));
}

TEST_F(PoolCheck, MeasuresNothingWithoutASize) {
    machine.pool_lines(line("/dev/data/pool", "data", 5));
    EXPECT_EQ(check("pool", "data", 0), 0);
    EXPECT_EQ(check("pool", "data", 0xFFFFFFFF), 0);
    EXPECT_EQ(check("pool", "data", 0x80000000), 0);
}

TEST_F(PoolCheck, MeasuresANamesakeInFrontBeforeItLooksAtTheGroup) {
    machine.pool_lines(line("/dev/more/pool", "more", 5) + line("/dev/data/pool", "data", 1));
    EXPECT_EQ(check("pool", "data", 5), -2053);
    EXPECT_THAT(machine.logged(), ElementsAre("/dev/more/pool's size 5G cannot extend to 5G"));
    EXPECT_EQ(check("pool", "data", 6), 0);
}

TEST_F(PoolCheck, MeasuresNoOtherPool) {
    machine.pool_lines(line("/dev/data/large", "data", 50) + line("/dev/data/pool", "data", 1));
    EXPECT_EQ(check("pool", "data", 5), 0);
}

TEST_F(PoolCheck, MeasuresSizesBeyond32Bits) {
    machine.pool_lines(line("/dev/data/pool", "data", std::uint64_t{1} << 32));
    EXPECT_EQ(check("pool", "data", INT32_MAX), -2053);
    EXPECT_THAT(machine.logged(),
                ElementsAre("/dev/data/pool's size 4294967296G cannot extend to 2147483647G"));
}

TEST_F(PoolCheck, TakesTheListOfAToolThatFails) {
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints(line("/dev/data/pool", "data", 2))
        .exits(5);
    EXPECT_EQ(check("pool", "data"), 0);
    EXPECT_THAT(machine.logged(), ElementsAre(testing::HasSubstr("return normal with exit(5)")));
}

TEST_F(PoolCheck, FindsNoPoolWithoutTheList) {
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints(line("/dev/data/pool", "data", 2))
        .does("/.harness/busybox rm /tmp/lvdisplay.*");
    EXPECT_EQ(check("pool", "data"), -2055);
    EXPECT_THAT(machine.logged(), testing::Contains(returned("pool_check", -1050)));
}

TEST_F(PoolNameCheck, RefusesTheNameOfAPoolInTheGroup) {
    machine.pools({"/dev/more/pool", "/dev/data/pool"});
    EXPECT_EQ(check_name("pool", "data"), -2051);
    EXPECT_THAT(machine.logged(), ElementsAre("poolname 'pool' used"));
}

TEST_F(PoolNameCheck, TakesTheNameOfAPoolInAnotherGroup) {
    machine.pools({"/dev/more/pool", "/dev/data/pool1", "/dev/data/Pool", "/mapper/data/pool"});
    EXPECT_EQ(check_name("pool", "data"), 0);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolNameCheck, NeedsBothNames) {
    EXPECT_EQ(check_name("", "data"), -2050);
    EXPECT_EQ(check_name("pool", ""), -2050);
    EXPECT_THAT(machine.logged(), ElementsAre("Cannot find poolname!", "Cannot find poolname!"));
}

TEST_F(GroupSpaceCheck, NeedsFreeSpaceForTheSize) {
    EXPECT_EQ(check_space("more", 1), 0);
    EXPECT_EQ(check_space("more", 10), 0);
    EXPECT_EQ(check_space("more", 11), -2053);
    EXPECT_EQ(check_space("data", 100), 0);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(GroupSpaceCheck, RefusesASizeOf0) {
    EXPECT_EQ(check_space("data", 0), -2053);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(GroupSpaceCheck, LeavesOutWhatPoolsUse) {
    machine.group({.name = "used",
                   .volumes = {{.device = "/dev/sde",
                                .size_kb = std::uint64_t{20} << 20,
                                .allocated = 8 * 256}}}); // extents of 4 MiB: 8 GiB
    EXPECT_EQ(check_space("used", 12), 0);
    EXPECT_EQ(check_space("used", 13), -2053);
}

TEST_F(GroupSpaceCheck, ComparesAll64Bits) {
    EXPECT_EQ(check_space("data", (std::uint64_t{1} << 32) + 5), -2053);
    EXPECT_EQ(check_space("data", UINT64_MAX), -2053);
    EXPECT_EQ(check_space("data", std::uint64_t{1} << 63), -2053);
}

TEST_F(GroupSpaceCheck, KnowsTheGroupsByTheirWholeName) {
    for (const char* group : {"dat", "data1", "Data", ""}) {
        EXPECT_EQ(check_space(group, 1), -2052) << group;
    }
    EXPECT_THAT(machine.logged(), ElementsAre("Cannot find vg 'dat'!", "Cannot find vg 'data1'!",
                                              "Cannot find vg 'Data'!", "Cannot find vg ''!"));
}

TEST_F(GroupSpaceCheck, FindsNoGroupWithoutTheList) {
    machine.tool("/sbin/vgdisplay").on("/sbin/vgdisplay -c").exits(5);
    EXPECT_EQ(check_space("data", 1), -2052);
    EXPECT_THAT(machine.logged(), testing::Contains("Cannot find vg 'data'!"));
    EXPECT_THAT(machine.logged(), testing::Contains(testing::EndsWith("return with -11000")));
}

TEST_F(PoolCreation, RunsLvcreate) {
    const Result result = create("pool", "data", 5);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(changes(result), ElementsAre("/sbin/lvcreate -L 5G -n pool data > /dev/null"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolCreation, ChecksTheSpaceBeforeTheName) {
    machine.pools({"/dev/more/pool"});
    EXPECT_EQ(create("pool", "more", 11).returned, -2053);
    EXPECT_EQ(create("", "more", 11).returned, -2053);
    EXPECT_EQ(create("", "missing", 1).returned, -2052);
    EXPECT_EQ(create("pool", "more", 0).returned, -2053);
    EXPECT_EQ(create("pool", "more", 10).returned, -2051);
    EXPECT_EQ(create("", "more", 10).returned, -2050);
}

TEST_F(PoolCreation, RunsNothingThatACheckForbids) {
    machine.pools({"/dev/data/pool"});
    for (const auto& [pool, group, size] :
         {std::tuple("pool", "data", 5U), std::tuple("x", "none", 5U),
          std::tuple("x", "data", 101U)}) {
        EXPECT_THAT(changes(create(pool, group, size)), IsEmpty());
    }
}

TEST_F(PoolCreation, FailsWithTheCommand) {
    const std::string command = "/sbin/lvcreate -L 5G -n pool data > /dev/null";
    machine.tool(pool_tool::lvcreate).any().exits(5);
    EXPECT_EQ(create("pool", "data", 5).returned, -11000);
    machine.tool(pool_tool::lvcreate).any().killed_by(SIGKILL);
    EXPECT_EQ(create("pool", "data", 5).returned, -11000);
    machine.remove(pool_tool::lvcreate);
    EXPECT_EQ(create("pool", "data", 5).returned, -11000);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(command, "normal with exit(5)"),
                                              failed(command, "unnormal with exit(0)"),
                                              failed(command, "normal with exit(127)")));
}

TEST_F(PoolCreation, PutsNoNameIntoACommandThatAShellWouldInterpret) {
    for (const char* name : {"p;id", "p ool", "$(id)", "-n", "..", "p/q"}) {
        const Result result = create(name, "data", 5);
        EXPECT_EQ(result.returned, -11000) << name;
        EXPECT_THAT(changes(result), IsEmpty()) << name;
    }
    EXPECT_THAT(machine.logged().front(),
                failed("/sbin/lvcreate -L 5G -n p;id data > /dev/null", "unnormal with exit(255)"));
}

TEST_F(PoolExtension, RunsLvextend) {
    machine.pools({"/dev/more/pool"});
    const Result result = extend("pool", "more", 10);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(changes(result), ElementsAre("/sbin/lvextend -L 10G /dev/more/pool > /dev/null"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolExtension, RefusesTheCurrentSize) {
    machine.pools({"/dev/more/pool"});
    const Result result = extend("pool", "more", 2);
    EXPECT_EQ(result.returned, -2053);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre("/dev/more/pool's size 2G cannot extend to 2G"));
}

TEST_F(PoolExtension, NeedsFreeSpaceForTheWholeNewSize) {
    machine.pools({"/dev/used/pool"});
    machine.group(
        {.name = "used",
         .volumes = {
             {.device = "/dev/sde", .size_kb = std::uint64_t{20} << 20, .allocated = 2 * 256}}});
    EXPECT_EQ(extend("pool", "used", 18).returned, 0);
    machine.remove("/var/log/log.libzav");
    const Result result = extend("pool", "used", 19);
    EXPECT_EQ(result.returned, -2053) << "though 17 more would fit";
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolExtension, ChecksThePoolBeforeTheSpace) {
    machine.pools({"/dev/more/pool"});
    EXPECT_EQ(extend("missing", "more", 1000).returned, -2055);
    EXPECT_EQ(extend("pool", "data", 1000).returned, -2052);
    EXPECT_EQ(extend("", "more", 1000).returned, -2050);
    EXPECT_EQ(extend("pool", "more", 11).returned, -2053);
    EXPECT_EQ(extend("pool", "more", 0).returned, -2053);
}

TEST_F(PoolExtension, ComparesThePoolWithTheLow32BitsOfTheSize) {
    machine.pools({"/dev/data/pool"});
    constexpr std::uint64_t high = std::uint64_t{1} << 32;
    const auto log_of = [&](std::uint64_t size) {
        machine.remove("/var/log/log.libzav");
        EXPECT_EQ(extend("pool", "data", size).returned, -2053);
        return machine.logged();
    };
    EXPECT_THAT(log_of(high + 2), ElementsAre("/dev/data/pool's size 2G cannot extend to 2G"));
    EXPECT_THAT(log_of(high + 3), IsEmpty()) << "no room for the whole";
    EXPECT_THAT(log_of(high), IsEmpty()) << "0 is no size to compare";
    EXPECT_THAT(log_of(high - 1), IsEmpty()) << "neither is -1";
}

TEST_F(PoolExtension, FailsWithTheCommand) {
    machine.pools({"/dev/data/pool"});
    const std::string command = "/sbin/lvextend -L 5G /dev/data/pool > /dev/null";
    machine.tool(pool_tool::lvextend).any().exits(3);
    EXPECT_EQ(extend("pool", "data", 5).returned, -11000);
    machine.tool(pool_tool::lvextend).any().killed_by(SIGTERM);
    EXPECT_EQ(extend("pool", "data", 5).returned, -11000);
    machine.remove(pool_tool::lvextend);
    EXPECT_EQ(extend("pool", "data", 5).returned, -11000);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(command, "normal with exit(3)"),
                                              failed(command, "unnormal with exit(0)"),
                                              failed(command, "normal with exit(127)")));
}

TEST_F(PoolRemoval, RunsLvremove) {
    machine.pools({"/dev/data/pool"});
    const Result result = remove("pool", "data");
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(changes(result), ElementsAre("/sbin/lvremove -f data/pool > /dev/null"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolRemoval, ChecksThePool) {
    machine.pools({"/dev/more/pool"});
    for (const auto& [pool, group, code] :
         {std::tuple("pool", "data", -2052), std::tuple("missing", "more", -2055),
          std::tuple("", "more", -2050), std::tuple("pool", "", -2050)}) {
        const Result result = remove(pool, group);
        EXPECT_EQ(result.returned, code);
        EXPECT_THAT(changes(result), IsEmpty());
    }
}

TEST_F(PoolRemoval, TakesAPoolForRemovedThatIsNotListed) {
    const auto remove_if_any = [this](const char* pool) {
        return machine.operation([=] { return pool_remove_if_any(pool, "data", printed()); });
    };
    machine.pools({"/dev/data/pool"});
    EXPECT_EQ(remove_if_any("missing").returned, 0);
    EXPECT_THAT(changes(remove_if_any("pool")),
                ElementsAre("/sbin/lvremove -f data/pool > /dev/null"));
    EXPECT_EQ(remove_if_any("").returned, -2050);
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").exits(5);
    EXPECT_EQ(remove_if_any("missing").returned, -324);
}

TEST_F(PoolRemoval, FailsWithTheCommand) {
    machine.pools({"/dev/data/pool"});
    const std::string command = "/sbin/lvremove -f data/pool > /dev/null";
    machine.tool(pool_tool::lvremove).any().exits(5);
    EXPECT_EQ(remove("pool", "data").returned, -11000);
    machine.tool(pool_tool::lvremove).any().killed_by(SIGKILL);
    EXPECT_EQ(remove("pool", "data").returned, -11000);
    machine.remove(pool_tool::lvremove);
    EXPECT_EQ(remove("pool", "data").returned, -11000);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(command, "normal with exit(5)"),
                                              failed(command, "unnormal with exit(0)"),
                                              failed(command, "normal with exit(127)")));
}

TEST_F(PoolRemoval, RunsNoCommandOnANameThatAShellWouldInterpret) {
    machine.pool_lines(line("/dev/data/p;id", "data", 2));
    const Result result = remove("p;id", "data");
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(changes(result), IsEmpty());
}

} // namespace
} // namespace zav::test

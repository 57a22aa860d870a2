// SPDX-License-Identifier: MIT
// Whether a group has a pool, according to lvdisplay for that pool alone.
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "inventory/pools.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PoolPresence : public testing::Test {
  protected:
    // The result for that output of the tool.
    int found(const std::string& output, const char* pool = "pool") {
        machine.pool_lines(output);
        return ask("data", pool).returned;
    }
    Result ask(const char* group, const char* pool) {
        return machine.operation([=] { return check_lvdisplay(group, pool, printed()); });
    }
    Rule tool() { return machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c data/pool"); }
    PoolMachine machine;
};

TEST_F(PoolPresence, IsAskedOfLvdisplay) {
    machine.pools({"/dev/data/pool"});
    const Result result = ask("data", "pool");
    EXPECT_EQ(result.returned, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(outside(result),
                ElementsAre("/sbin/lvdisplay -c data/pool > /tmp/lvdisplay.XXXXXX"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolPresence, IsAbsenceWithoutALineOfThePool) {
    EXPECT_EQ(found(""), 0);
    EXPECT_EQ(found("  No volume groups found\n\n"), 0);
    EXPECT_EQ(found("/dev/data/pool1:data:3:1\n/dev/data/xpool:data\n/dev/pool/x:pool\n"), 0);
    EXPECT_EQ(found("x:/dev/data/pool:data\n"), 0) << "behind the first colon";
    EXPECT_EQ(found("/dev/data/Pool:data\n"), 0);
}

TEST_F(PoolPresence, TakesTheLastPartOfThePathUpToTheColon) {
    EXPECT_EQ(found("  WARNING: something\n \t/dev/data/pool:data:3:1\n"), 1);
    EXPECT_EQ(found("/dev/other/pool:other"), 1) << "whatever the group";
    EXPECT_EQ(found("/dev/mapper/pool\n"), 1) << "without a colon";
}

TEST_F(PoolPresence, LooksAtTheFirstPieceOfALongLineAlone) {
    const std::string long_line(255, 'x');
    EXPECT_EQ(found(long_line + "/dev/data/pool:data\n"), 0);
    EXPECT_EQ(found(long_line + "x\n/dev/data/pool:data\n"), 1);
    EXPECT_EQ(found(std::string(254, 'x') + "\n/dev/data/pool:data\n"), 1);
    EXPECT_EQ(found("/dev/data/pool:" + long_line + long_line), 1);
}

TEST_F(PoolPresence, IsTakenFromTheOutputWhateverTheToolsStatus) {
    const std::string command = "/sbin/lvdisplay -c data/pool > /tmp/lvdisplay.";
    tool().prints("/dev/data/pool:data\n").exits(5);
    EXPECT_EQ(ask("data", "pool").returned, 1);
    tool().exits(5);
    EXPECT_EQ(ask("data", "pool").returned, 0);
    tool().killed_by(SIGKILL);
    EXPECT_EQ(ask("data", "pool").returned, 0);
    machine.remove(pool_tool::lvdisplay);
    EXPECT_EQ(ask("data", "pool").returned, 0);
    const auto line = [&](const std::string& end) {
        return testing::AllOf(testing::StartsWith("system(\"" + command),
                              testing::HasSubstr("\") return " + end + " for '"));
    };
    EXPECT_THAT(machine.logged(),
                ElementsAre(line("normal with exit(5)"), line("normal with exit(5)"),
                            line("unnormal with exit(0)"), line("normal with exit(127)")));
}

TEST_F(PoolPresence, IsUnknownWithoutTheOutput) {
    tool().does("/.harness/busybox rm /tmp/lvdisplay.*");
    const Result result = ask("data", "pool");
    EXPECT_EQ(result.returned, -1);
    EXPECT_THAT(result.out, testing::MatchesRegex("cannot open /tmp/lvdisplay\\..{6}\n"));
    EXPECT_THAT(machine.logged(),
                ElementsAre(testing::MatchesRegex(
                    "check_lvdisplay:\\[[0-9]+\\] return -1040 with No such file or directory")));
}

TEST_F(PoolPresence, IsUnknownIfTheOutputIsADirectory) {
    tool().does("f=$(/.harness/busybox echo /tmp/lvdisplay.*); /.harness/busybox rm $f; "
                "/.harness/busybox mkdir $f");
    EXPECT_EQ(machine.call([] { return check_lvdisplay("data", "pool", printed()); }).returned, -1);
}

TEST_F(PoolPresence, IsUnknownWithoutSpaceForTheOutput) {
    machine.remove("/tmp");
    const Result result = machine.call([] { return check_lvdisplay("data", "pool", printed()); });
    EXPECT_EQ(result.returned, -1);
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(PoolPresence, IsNotAskedWithANameThatAShellWouldInterpret) {
    for (const auto& [group, pool] : {std::pair("da;ta", "pool"), std::pair("data", "p`id`"),
                                      std::pair("-c", "pool"), std::pair("", "pool")}) {
        const Result result = ask(group, pool);
        EXPECT_EQ(result.returned, 0) << group << pool;
        EXPECT_THAT(result.commands, IsEmpty());
    }
    EXPECT_THAT(
        machine.logged().front(),
        testing::AllOf(testing::StartsWith("system(\"/sbin/lvdisplay -c da;ta/pool > /tmp/"),
                       testing::HasSubstr("\") return unnormal with exit(255) for '")));
}

TEST_F(PoolPresence, IsNotAskedWithACommandThatWouldBeCut) {
    const std::string name(230, 'p');
    const Result result = ask("data", name.c_str());
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands, IsEmpty());
}

} // namespace
} // namespace zav::test

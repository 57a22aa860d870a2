// SPDX-License-Identifier: MIT
// lvmanage: its modes, its checks, what it runs and prints.
#include "pool_machine.h"

namespace zav::test {
namespace {

using testing::ElementsAre;

class LvManage : public testing::Test {
  protected:
    Result lvmanage(Texts arguments) {
        arguments.insert(arguments.begin(), "lvmanage");
        return machine.manage(arguments);
    }
    PoolMachine machine;
};

TEST_F(LvManage, CreatesAPool) {
    const Result run = lvmanage({"--create", "-n", "pool", "-L", "5", "data"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(changes(run), ElementsAre("/sbin/lvcreate -L 5G -n pool data > /dev/null"));
    EXPECT_THAT(machine.logged(), testing::IsEmpty());
}

TEST_F(LvManage, ListsPools) {
    machine.pools({"/dev/data/pool", "/dev/more/other"});
    const Result run = lvmanage({"--display"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, "lvname\tstatus\tallsize\tusedsize\tvgname\tdevice\n"
                       "*****************************************************\n"
                       "/dev/data/pool\tavailable\t2G\t0G\tdata\t0\n"
                       "/dev/more/other\tavailable\t2G\t0G\tmore\t0\n");
}

} // namespace
} // namespace zav::test

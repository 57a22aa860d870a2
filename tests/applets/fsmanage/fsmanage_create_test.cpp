// SPDX-License-Identifier: MIT
// fsmanage --create: its checks, its steps in order, what each failed step leaves.
#include "applets/fsmanage/pool_steps.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr auto lvcreate = "/sbin/lvcreate -L 5G -n pool data > /dev/null";
constexpr auto mkfs = "/sbin/mkfs.xfs -f -ssize=4k /dev/data/pool > /dev/null";

class FsCreate : public PoolCommand {
  protected:
    FsCreate() : PoolCommand("fsmanage") {}
    // Starts from an empty register.
    void create() {
        machine.file(mdfstab, "");
        manage({"-C", "-n", "pool", "-s", "5", "-g", "data"});
    }
    void expect_registered() const { EXPECT_EQ(machine.read(mdfstab), line + "\n"); }
};

TEST_F(FsCreate, MakesRegistersAndMountsAPool) {
    const Snapshot before = machine.snapshot();
    manage({"--create", "-n", "pool", "-s", "5", "-g", "data"});
    expect_succeeded();
    EXPECT_THAT(changes(run),
                ElementsAre(lvcreate, mkfs, save, mkdir, protect, mount, open_to_all));
    expect_registered();
    EXPECT_THAT(before.changes_to(machine.snapshot()), ElementsAre("changed /etc/mdfstab"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(FsCreate, MakesReiserfsOnTheModelsThatUseIt) {
    for (const auto& [model, tool] : {std::pair{"KOR7206LB", "xconf"},
                                      {"VEL7206P", "xconf"},
                                      {"VEL7205E", "nasconf"},
                                      {"VEL7205P", "nasconf"}}) {
        machine.model(model);
        create();
        expect_succeeded();
        EXPECT_THAT(
            changes(run),
            ElementsAre(lvcreate, "mkfs.reiserfs -f /dev/data/pool > /dev/null",
                        std::string("/usr/local/bin/") + tool + " -s /etc/mdfstab > /dev/null",
                        mkdir, protect,
                        "mount -t reiserfs /dev/data/pool /mnt/data/pool > /dev/null",
                        open_to_all));
        EXPECT_EQ(machine.read(mdfstab),
                  "/dev/data/pool\t/mnt/data/pool\treiserfs\tdefaults\t0 0\n");
    }
}

TEST_F(FsCreate, MakesXfsOnAllOtherModels) {
    for (const char* model : {"VEL7206X", "KOR7206LBX", "kor7206lb", "VEL7205"}) {
        machine.model(model);
        create();
        expect_succeeded();
        EXPECT_EQ(changes(run).at(1), mkfs);
        expect_registered();
    }
}

TEST_F(FsCreate, ChecksTheNamesBeforeTheSize) {
    expect_refused(-123, {"-C", "-n", "a b", "-s", "x", "-g", "data"});
    expect_refused(-123, {"-C", "-n", "pool", "-s", "x", "-g", "a b"});
    expect_refused(-113, {"-C", "-n", "pool", "-s", "x", "-g", "data"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(FsCreate, RefusesWhatIsMissing) {
    expect_refused(-123, {"-C", "-s", "5", "-g", "data"});
    expect_refused(-123, {"-C", "-n", "pool", "-s", "5"});
    expect_refused(-113, {"-C", "-n", "pool", "-g", "data"});
    expect_refused(-123, {"-C", "-n", "pool", "-s", "5", "data"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(FsCreate, RefusesInvalidNamesAndSizes) {
    expect_each_refused(-123, bad_names, [](const std::string& name) {
        return Texts{"-C", "-n", name, "-s", "5", "-g", "data"};
    });
    expect_each_refused(-123, bad_names, [](const std::string& group) {
        return Texts{"-C", "-n", "pool", "-s", "5", "-g", group};
    });
    expect_each_refused(-113, {"", "5G", "-5", " 5", "123456789"}, [](const std::string& size) {
        return Texts{"-C", "-n", "pool", "-s", size, "-g", "data"};
    });
}

TEST_F(FsCreate, RefusesANameRegisteredInAnyGroup) {
    for (const char* path : {"/dev/data/pool", "/dev/more/pool"}) {
        machine.registered({path + std::string(" /mnt/x/y xfs defaults 0 0")});
        expect_refused(-327, {"-C", "-n", "pool", "-s", "5", "-g", "data"});
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(FsCreate, RefusesTheLabelOfANetworkDisk) {
    machine.registered({"LABEL=pool\t/mnt/netdisk/pool\txfs\tdefaults\t0 0"}, netfstab);
    expect_refused(-327, {"-C", "-n", "pool", "-s", "5", "-g", "data"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(FsCreate, RefusesEveryNameWithoutARegister) {
    machine.remove(mdfstab);
    expect_refused(-327, {"-C", "-n", "pool", "-s", "5", "-g", "data"});
    EXPECT_THAT(machine.logged().front(), StartsWith("cannot open /etc/mdfstab for "));
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(FsCreate, NeedsNoRegisterOfNetworkDisks) {
    machine.remove(netfstab);
    create();
    expect_succeeded();
    expect_registered();
}

TEST_F(FsCreate, ReportsWhatTheChecksOfAPoolRefuse) {
    expect_refused(-2052, {"-C", "-n", "pool", "-s", "5", "-g", "none"});
    expect_refused(-2053, {"-C", "-n", "pool", "-s", "101", "-g", "data"});
    expect_refused(-2053, {"-C", "-n", "pool", "-s", "0", "-g", "data"});
    machine.pools({"/dev/data/pool"});
    expect_refused(-2051, {"-C", "-n", "pool", "-s", "5", "-g", "data"});
    EXPECT_THAT(machine.logged(),
                ElementsAre("poolname 'pool' used", returned("fsmanage_main", -2051)));
}

TEST_F(FsCreate, TakesTheNameOfAnUnregisteredPoolOfAnotherGroup) {
    machine.pools({"/dev/more/pool"});
    create();
    expect_succeeded();
    EXPECT_EQ(changes(run).front(), lvcreate);
}

TEST_F(FsCreate, ContinuesAfterAFailureThatLeftNoPool) {
    machine.pools({"/dev/data/other"});
    with_each_fault(pool_tool::lvcreate, [this](const std::string& end) {
        create();
        expect_succeeded();
        EXPECT_THAT(changes(run),
                    ElementsAre(lvcreate, mkfs, save, mkdir, protect, mount, open_to_all));
        EXPECT_THAT(outside(run),
                    testing::Contains("/sbin/lvdisplay -c data/pool > /tmp/lvdisplay.XXXXXX"));
        EXPECT_THAT(machine.logged(), ElementsAre(failed(lvcreate, end)));
    });
}

TEST_F(FsCreate, StopsAfterAFailureWhenThePoolIsThere) {
    machine.pools({"/dev/data/other"});
    list_pool_alone();
    with_each_fault(pool_tool::lvcreate, [this](const std::string&) {
        create();
        expect_failed(-325);
        EXPECT_THAT(changes(run), ElementsAre(lvcreate));
        EXPECT_EQ(machine.read(mdfstab), "");
    });
}

TEST_F(FsCreate, StopsAfterAFailureThatCannotBeChecked) {
    machine.pools({"/dev/data/other"});
    hide_pools("/sbin/lvdisplay -c data/pool");
    machine.tool(pool_tool::lvcreate).any().exits(5);
    create();
    EXPECT_EQ(run.exit_status, -325 & 0xff);
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/lvdisplay\\.[^ ]{6}\nfor errno '-325'\n"));
    EXPECT_THAT(changes(run), ElementsAre(lvcreate));
}

TEST_F(FsCreate, LeavesThePoolWhenNoFileSystemCanBeMade) {
    with_each_fault(pool_tool::mkfs_xfs, [this](const std::string& end) {
        create();
        expect_failed(-603);
        EXPECT_THAT(changes(run), ElementsAre(lvcreate, mkfs));
        EXPECT_EQ(machine.read(mdfstab), "");
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(mkfs, end), returned("fsmanage_main", -603)));
    });
}

TEST_F(FsCreate, LeavesThePoolWhenNoReiserfsCanBeMade) {
    machine.model("VEL7205E");
    with_each_fault(pool_tool::mkfs_reiserfs, [this](const std::string&) {
        create();
        expect_failed(-603);
        EXPECT_THAT(changes(run),
                    ElementsAre(lvcreate, "mkfs.reiserfs -f /dev/data/pool > /dev/null"));
        EXPECT_EQ(machine.read(mdfstab), "");
    });
}

TEST_F(FsCreate, MountsButReportsWhatCannotBeRegistered) {
    machine.read_only("/etc");
    manage({"-C", "-n", "pool", "-s", "5", "-g", "data"});
    expect_failed(-1066);
    EXPECT_THAT(changes(run), ElementsAre(lvcreate, mkfs, mkdir, protect, mount, open_to_all));
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for "),
                                              returned("fsmanage_main", -1066)));
    EXPECT_EQ(machine.read(mdfstab), "");
}

TEST_F(FsCreate, RefusesAMountPointThatIsRegisteredForAnother) {
    const std::string other = "/dev/data/other\t/mnt/data/pool\txfs\tdefaults\t0 0\n";
    machine.file(mdfstab, other);
    manage({"-C", "-n", "pool", "-s", "5", "-g", "data"});
    expect_failed(-327);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(machine.read(mdfstab), other);
}

TEST_F(FsCreate, AddsALineOfItsOwnAfterARegisterWithoutAFinalLineFeed) {
    machine.file(mdfstab, "# kept\n\n/dev/more/b /mnt/more/b xfs defaults 0 0");
    manage({"-C", "-n", "pool", "-s", "5", "-g", "data"});
    expect_succeeded();
    EXPECT_EQ(machine.read(mdfstab),
              "# kept\n\n/dev/more/b /mnt/more/b xfs defaults 0 0\n" + line + "\n");
}

TEST_F(FsCreate, MountsAlthoughTheRegisterCannotBeSaved) {
    with_each_fault(pool_tool::xconf, [this](const std::string& end) {
        create();
        expect_succeeded();
        EXPECT_EQ(changes(run).back(), open_to_all);
        EXPECT_THAT(machine.logged(), ElementsAre(failed(save, end)));
        expect_registered();
    });
}

TEST_F(FsCreate, MountsAlthoughTheMountPointCannotBeMade) {
    with_each_fault(pool_tool::mkdir, [this](const std::string& end) {
        create();
        expect_succeeded();
        EXPECT_THAT(changes(run), ElementsAre(lvcreate, mkfs, save, mkdir, mount, open_to_all));
        EXPECT_THAT(machine.logged(), ElementsAre(failed(mkdir, end)));
    });
}

TEST_F(FsCreate, MountsAlthoughTheMountPointCannotBeProtected) {
    with_each_fault(pool_tool::chattr, [this](const std::string& end) {
        create();
        expect_succeeded();
        EXPECT_THAT(changes(run),
                    ElementsAre(lvcreate, mkfs, save, mkdir, protect, mount, open_to_all));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed("chattr  +i /mnt/data/pool > /dev/null", end, "")));
    });
}

TEST_F(FsCreate, LeavesARegisteredPoolThatCannotBeMounted) {
    with_each_fault(pool_tool::mount, [this](const std::string& end) {
        create();
        expect_failed(-601);
        EXPECT_THAT(changes(run), ElementsAre(lvcreate, mkfs, save, mkdir, protect, mount));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(mount, end), returned("fsmanage_main", -601)));
        expect_registered();
    });
}

TEST_F(FsCreate, ReportsAMountedPoolThatCannotBeOpenedToAll) {
    with_each_fault(pool_tool::chmod, [this](const std::string& end) {
        create();
        expect_failed(-601);
        EXPECT_EQ(changes(run).back(), open_to_all);
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(open_to_all, end), returned("fsmanage_main", -601)));
        expect_registered();
    });
}

TEST_F(FsCreate, PutsNoNameThatLooksLikeAnOptionIntoACommand) {
    manage({"-C", "-n", "-pool", "-s", "5", "-g", "data"});
    expect_failed(-325);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_THAT(machine.logged(),
                testing::Contains(failed("/sbin/lvcreate -L 5G -n -pool data > /dev/null",
                                         "unnormal with exit(255)")));
}

} // namespace
} // namespace zav::test

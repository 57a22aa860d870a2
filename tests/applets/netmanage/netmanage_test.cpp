// SPDX-License-Identifier: MIT
// netmanage --create and --display, and which of several modes is carried out.
#include "applets/netmanage/disk_steps.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr auto mkfs = "/sbin/mkfs.xfs -L disk  -ssize=4k -f /dev/sdf > /dev/null";

class NetCreate : public PoolCommand {
  protected:
    NetCreate() : PoolCommand("netmanage") {}
    // Starts from an empty register.
    void create() {
        machine.file(netfstab, "");
        manage({"-C", "-n", "disk", "-g", "sdf"});
    }
    void expect_registered() const { EXPECT_EQ(machine.read(netfstab), line + "\n"); }
};

TEST_F(NetCreate, MakesRegistersAndMountsADisk) {
    const Snapshot before = machine.snapshot();
    manage({"--create", "-n", "disk", "-g", "sdf"});
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(mkfs, save, mkdir, protect, mount, open_to_all));
    expect_registered();
    EXPECT_THAT(before.changes_to(machine.snapshot()), ElementsAre("changed /etc/netfstab"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(NetCreate, MakesReiserfsOnTheModelsThatUseIt) {
    for (const auto& [model, tool] : {std::pair{"KOR7206LB", "xconf"},
                                      {"VEL7206P", "xconf"},
                                      {"VEL7205E", "nasconf"},
                                      {"VEL7205P", "nasconf"}}) {
        machine.model(model);
        create();
        expect_succeeded();
        EXPECT_THAT(
            outside(run),
            ElementsAre("mkfs.reiserfs -L disk -f /dev/sdf > /dev/null",
                        std::string("/usr/local/bin/") + tool + " -s /etc/netfstab > /dev/null",
                        mkdir, protect, "mount -t reiserfs -L disk /mnt/netdisk/disk > /dev/null",
                        open_to_all));
        EXPECT_EQ(machine.read(netfstab),
                  "LABEL=disk\t/mnt/netdisk/disk\treiserfs\tdefaults\t0 0\n");
    }
}

TEST_F(NetCreate, MakesXfsWithoutAModelAndSavesNothing) {
    machine.remove("/etc/sys_info");
    create();
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(mkfs, mkdir, protect, mount, open_to_all));
    expect_registered();
}

TEST_F(NetCreate, RefusesInvalidNames) {
    expect_each_refused(-123, bad_names, [](const std::string& label) {
        return Texts{"-C", "-n", label, "-g", "sdf"};
    });
    expect_each_refused(-123, bad_names, [](const std::string& device) {
        return Texts{"-C", "-n", "disk", "-g", device};
    });
    expect_refused(-123, {"-C", "-n", "disk"});
    expect_refused(-123, {"-C", "-g", "sdf"});
}

TEST_F(NetCreate, RefusesALabelInUse) {
    machine.registered({"LABEL=a /mnt/netdisk/a xfs", "LABEL=disk /srv/x xfs"}, netfstab);
    expect_refused(-327, {"-C", "-n", "disk", "-g", "sdf"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(NetCreate, RefusesTheNameOfARegisteredPool) {
    machine.registered({"/dev/data/disk\t/mnt/data/disk\txfs\tdefaults\t0 0"});
    expect_refused(-327, {"-C", "-n", "disk", "-g", "sdf"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(NetCreate, RefusesEveryLabelWithoutEitherRegister) {
    for (const char* path : {mdfstab, netfstab}) {
        machine.registered({}).registered({}, netfstab).remove(path);
        expect_refused(-327, {"-C", "-n", "disk", "-g", "sdf"});
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for "),
                                                  returned("netmanage_main", -327)));
        EXPECT_FALSE(machine.exists(path));
    }
}

TEST_F(NetCreate, RegistersNothingThatHasNoFileSystem) {
    with_each_fault(pool_tool::mkfs_xfs, [this](const std::string& end) {
        create();
        expect_failed(-603);
        EXPECT_THAT(outside(run), ElementsAre(mkfs));
        EXPECT_EQ(machine.read(netfstab), "");
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(mkfs, end), returned("netmanage_main", -603)));
    });
    machine.model("VEL7205E");
    with_each_fault(pool_tool::mkfs_reiserfs, [this](const std::string&) {
        create();
        expect_failed(-603);
        EXPECT_THAT(outside(run), ElementsAre("mkfs.reiserfs -L disk -f /dev/sdf > /dev/null"));
        EXPECT_EQ(machine.read(netfstab), "");
    });
}

TEST_F(NetCreate, PutsNoNameThatLooksLikeAnOptionIntoACommand) {
    for (const auto& [label, device] : {std::pair{"-disk", "sdf"}, {"disk", "-sdf"}}) {
        manage({"-C", "-n", label, "-g", device});
        expect_failed(-603);
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_THAT(machine.logged().front(), StartsWith("system(\"/sbin/mkfs.xfs -L "));
        EXPECT_EQ(machine.read(netfstab), "");
    }
}

TEST_F(NetCreate, MountsButReportsWhatCannotBeRegistered) {
    machine.read_only("/etc");
    manage({"-C", "-n", "disk", "-g", "sdf"});
    expect_failed(-1066);
    EXPECT_THAT(outside(run), ElementsAre(mkfs, mkdir, protect, mount, open_to_all));
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for "),
                                              returned("netmanage_main", -1066)));
}

TEST_F(NetCreate, RefusesAMountPointThatIsRegisteredForAnother) {
    machine.file(netfstab, "LABEL=other /mnt/netdisk/disk xfs\n");
    manage({"-C", "-n", "disk", "-g", "sdf"});
    expect_failed(-327);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(machine.read(netfstab), "LABEL=other /mnt/netdisk/disk xfs\n");
}

TEST_F(NetCreate, MountsAlthoughTheRegisterCannotBeSaved) {
    with_each_fault(pool_tool::xconf, [this](const std::string& end) {
        create();
        expect_succeeded();
        EXPECT_THAT(machine.logged(), ElementsAre(failed(save, end)));
        expect_registered();
    });
}

TEST_F(NetCreate, MountsAlthoughTheMountPointCannotBeMadeOrProtected) {
    with_each_fault(pool_tool::mkdir, [this](const std::string& end) {
        create();
        expect_succeeded();
        EXPECT_THAT(outside(run), ElementsAre(mkfs, save, mkdir, mount, open_to_all));
        EXPECT_THAT(machine.logged(), ElementsAre(failed(mkdir, end)));
    });
    with_each_fault(pool_tool::chattr, [this](const std::string& end) {
        create();
        expect_succeeded();
        EXPECT_EQ(outside(run).back(), open_to_all);
        EXPECT_THAT(machine.logged(), ElementsAre(failed(protect, end, "")));
    });
}

TEST_F(NetCreate, LeavesARegisteredDiskThatCannotBeMounted) {
    with_each_fault(pool_tool::mount, [this](const std::string& end) {
        create();
        expect_failed(-601);
        EXPECT_THAT(outside(run), ElementsAre(mkfs, save, mkdir, protect, mount));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(mount, end), returned("netmanage_main", -601)));
        expect_registered();
    });
    with_each_fault(pool_tool::chmod, [this](const std::string&) {
        create();
        expect_failed(-601);
        EXPECT_EQ(outside(run).back(), open_to_all);
        expect_registered();
    });
}

// Display.

const std::string header = "name\tmntpoint\tstatus\tallsize\tusedsize\townername\tdevice\n"
                           "***********************************************************\n";

class NetDisplay : public PoolCommand {
  protected:
    NetDisplay() : PoolCommand("netmanage") { machine.registered({line}, netfstab); }
    // It always ends the same way, runs nothing and changes nothing.
    void display(const char* option = "-S") {
        const Snapshot before = machine.snapshot();
        manage({option});
        EXPECT_EQ(run.exit_status, 255);
        EXPECT_EQ(run.err, "");
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
};

TEST_F(NetDisplay, HasHeaderAndRuleOnlyWithoutDisks) {
    machine.registered({}, netfstab);
    display();
    EXPECT_EQ(run.out, header);
    EXPECT_EQ(std::ranges::count(run.out, '*'), 59);
    display("--display");
    EXPECT_EQ(run.out, header);
}

TEST_F(NetDisplay, ShowsAMountedDiskOnDevice5WithItsSizes) {
    machine.mounts({"/dev/sdf /mnt/netdisk/disk"}).directory("/mnt/netdisk/disk");
    display();
    EXPECT_THAT(run.out.substr(0, header.size()), header);
    EXPECT_THAT(run.out.substr(header.size()),
                MatchesRegex("disk\t/mnt/netdisk/disk\tavailable\t[1-9][0-9]*M\t[0-9]+M\tnetdisk"
                             "\t5\n"));
    EXPECT_THAT(machine.list("/mnt/netdisk/disk"), IsEmpty());
}

TEST_F(NetDisplay, ShowsAMountedDiskThatCannotBeWritten) {
    machine.mounts({"/dev/sdf /mnt/netdisk/disk"}).directory("/mnt/netdisk/disk");
    machine.read_only("/mnt/netdisk/disk");
    display();
    EXPECT_THAT(run.out.substr(header.size()),
                MatchesRegex("disk\t/mnt/netdisk/disk\tnot available\t[1-9][0-9]*M\t[0-9]+M"
                             "\tnetdisk\t5\n"));
}

TEST_F(NetDisplay, ShowsAMountedDiskThatCannotBeMeasured) {
    machine.mounts({"/dev/sdf /mnt/netdisk/disk"});
    display();
    EXPECT_EQ(run.out, header + "disk\t/mnt/netdisk/disk\tnot available\t0M\t0M\tnetdisk\t5\n");
}

TEST_F(NetDisplay, ShowsADiskThatIsNotMounted) {
    machine.registered({line, "LABEL= /mnt xfs"}, netfstab);
    display();
    EXPECT_THAT(run.out, StartsWith(header + "disk\t/mnt/netdisk/disk\tumount\t0M\t0M\tnetdisk"
                                             "\tN.A.\n\t/mnt\tumount\t"));
    EXPECT_THAT(run.out, testing::EndsWith("M\tN.A.\tN.A.\n"));
}

TEST_F(NetDisplay, ReportsARegisterThatCannotBeReadAboveAnEmptyTable) {
    machine.remove(netfstab);
    display();
    EXPECT_EQ(run.out, "for errno '-1'\n" + header);
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for ")));
}

// Modes.

class NetMode : public PoolCommand {
  protected:
    NetMode() : PoolCommand("netmanage") {}
    void manage_registered(Texts arguments) {
        machine.registered({line}, netfstab);
        arguments.insert(arguments.end(), {"-n", "disk"});
        manage(arguments);
    }
};

TEST_F(NetMode, CreateComesFirst) {
    for (const char* other : {"-D", "-R", "-S"}) {
        machine.registered({}, netfstab);
        manage({other, "-C", "-n", "disk", "-g", "sdf"});
        expect_succeeded();
        EXPECT_EQ(outside(run).front(), mkfs);
    }
}

TEST_F(NetMode, DeleteComesBeforeRepairAndDisplay) {
    for (const char* other : {"-R", "-S"}) {
        manage_registered({other, "-D"});
        expect_succeeded();
        EXPECT_EQ(machine.read(netfstab), "");
    }
}

TEST_F(NetMode, RepairComesBeforeDisplay) {
    machine.mounts({"/dev/sdf /mnt/netdisk/disk"});
    manage_registered({"-S", "-R"});
    expect_succeeded();
    EXPECT_EQ(outside(run).at(1), "/sbin/xfs_repair -L /dev/sdf > /dev/null");
}

TEST_F(NetMode, DoesNothingAfterAnUnknownOption) {
    manage({"-x", "-C", "-n", "disk", "-g", "sdf"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("'x'"));
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre("zav_getopt[499]: other option: ?"));
}

TEST_F(NetMode, ShowsItsUsageWithoutOne) {
    for (const Texts& arguments : {Texts{}, Texts{"-n", "disk", "-g", "sdf"}}) {
        manage(arguments);
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_THAT(run.out, HasSubstr("manage the net file system info"));
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

} // namespace
} // namespace zav::test

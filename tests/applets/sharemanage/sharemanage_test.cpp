// SPDX-License-Identifier: MIT
// sharemanage: which of several modes is carried out, how options are parsed; --delete and
// --display.
#include "fixtures/share_command.h"

namespace zav::test {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string header =
    "sharename\ttype\tpath\tuser\taccess\tallsize\tusedsize\tcomment\tdevice\n"
    "************************************************\n";

class ShareModes : public ShareCommand {
  protected:
    struct Mode {
        const char* letter;
        const char* name;
        const char* check; // the check that refuses the mode without options; none for display
    };
    // In the order of precedence.
    const std::vector<Mode> modes = {{"-C", "--create", "create_share_arg_check"},
                                     {"-S", "--display", nullptr},
                                     {"-D", "--delete", "delete_share_arg_check"},
                                     {"-E", "--edit", "edit_share_arg_check"},
                                     {"-R", "--repair", "repair_share_arg_check"},
                                     {"-Q", "--restore", "restore_share_arg_check"}};
    void expect_taken(const Mode& mode) const {
        if (mode.check == nullptr) {
            expect_succeeded(header);
        } else {
            expect_failed(-114, mode.check);
        }
    }
};

TEST_F(ShareModes, AreKnownByLetterAndName) {
    for (const Mode& mode : modes) {
        SCOPED_TRACE(mode.name);
        manage({mode.letter});
        expect_taken(mode);
        manage({mode.name});
        expect_taken(mode);
    }
}

TEST_F(ShareModes, AreTakenInTheirOrderWhereSeveralAreGiven) {
    for (std::size_t first = 0; first < modes.size(); ++first) {
        for (std::size_t second = first + 1; second < modes.size(); ++second) {
            SCOPED_TRACE(std::string(modes[first].name) + " " + modes[second].name);
            manage({modes[first].letter, modes[second].letter});
            expect_taken(modes[first]);
            manage({modes[second].name, modes[first].name});
            expect_taken(modes[first]);
        }
    }
}

TEST_F(ShareModes, AreNeeded) {
    for (const Texts& arguments : {Texts{}, Texts{"-n", "pub"}, Texts{"data"}}) {
        EXPECT_EQ(manage(arguments), 0);
        EXPECT_THAT(run.out, HasSubstr("--display\t\tdisplay all share conf info\n"));
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(ShareModes, AreNotTakenAfterAnUnknownOption) {
    EXPECT_EQ(manage({"-z", "-C"}), 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("z"));
    EXPECT_THAT(machine.logged(), testing::ElementsAre("zav_getopt[499]: other option: ?"));
}

TEST_F(ShareModes, AreTakenWithWhatStoodBeforeAnUnknownOption) {
    EXPECT_EQ(manage({"-C", "-z", "-n", "pub"}), -114 & 0xff);
    EXPECT_EQ(run.out, "for errno '-114'\n");
    EXPECT_EQ(manage({"-C", "-n", "pub", "-z", "-f", "samba"}), -115 & 0xff);
    EXPECT_EQ(manage({"-C", "-n", "pub", "-f"}), -115 & 0xff);
}

TEST_F(ShareModes, TakeTheLastOfAnOptionGivenTwice) {
    manage({"-D", "-n", "a b", "-n", "pub"});
    expect_failed(-501);
}

TEST_F(ShareModes, TakeTheFirstOperandWhereverItStands) {
    manage({"data", "-C", "-n", "pub", "-f", "samba", "-s", "101", "none"});
    expect_failed(-2053, "create_share_arg_check");
    manage({"none", "-C", "-n", "pub", "-f", "samba", "-s", "1", "data"});
    expect_failed(-2052, "create_share_arg_check");
}

class ShareDelete : public ShareCommand {
  protected:
    int remove_pub() { return manage({"--delete", "-n", "pub"}); }
    const Texts lvremove = {"/sbin/lvremove -f data/pub > /dev/null"};
};

TEST_F(ShareDelete, RemovesASambaShare) {
    have_share("samba");
    remove_pub();
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_THAT(changes(run), ElementsAreArray(joined({{"umount /mnt/data/pub > /dev/null"},
                                                       unregistering,
                                                       removing("/mnt/data/pub"),
                                                       lvremove,
                                                       {saved(share_register), saved(smb_conf)}})));
}

TEST_F(ShareDelete, RemovesAnNfsShare) {
    have_share("nfs");
    remove_pub();
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_EQ(machine.read(exports), "");
    EXPECT_THAT(changes(run), ElementsAreArray(joined({{"umount /mnt/data/pub > /dev/null"},
                                                       unregistering,
                                                       removing("/mnt/data/pub"),
                                                       lvremove,
                                                       {saved(share_register), saved(exports)}})));
}

TEST_F(ShareDelete, RemovesAnFtpShareAndItsUser) {
    have_share("ftp", "anna");
    remove_pub();
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined({{"umount /home/ftpuser/pub > /dev/null"},
                                         unregistering,
                                         removing("/home/ftpuser/pub"),
                                         lvremove,
                                         rehoming,
                                         {ftp_list("-d", "anna"), saved("/etc/vsftpd_user.xml"),
                                          saved(share_register)}})));
}

TEST_F(ShareDelete, RemovesAnIscsiTarget) {
    have_share("iscsi");
    remove_pub();
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_EQ(machine.read(targets), "");
    EXPECT_THAT(changes(run), ElementsAreArray(joined({{saved(share_register), saved(targets),
                                                        service("iscsi-target", "stop"),
                                                        service("iscsi-target", "start")},
                                                       lvremove})));
}

TEST_F(ShareDelete, RemovesAForbiddenShare) {
    have_forbidden_share("samba");
    remove_pub();
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_EQ(machine.read(smb_recycle), "");
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined({{saved(mdfstab)},
                                         removing("/mnt/data/pub"),
                                         lvremove,
                                         {saved(smb_recycle), saved("/etc/exports_recy.conf"),
                                          saved(share_register)}})));
}

TEST_F(ShareDelete, NeedsAShare) {
    remove_pub();
    expect_failed(-501);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(ShareDelete, ReportsWhichStepFailed) {
    have_share("samba");
    machine.tool(pool_tool::umount).any().exits(1);
    remove_pub();
    expect_failed(-602);
    machine.tool(pool_tool::umount).any();
    machine.tool(pool_tool::lvremove).any().exits(5);
    remove_pub();
    expect_failed(-324);
}

class ShareDisplay : public ShareCommand {
  protected:
    void display(const Texts& options = {}) {
        Texts arguments = {"--display"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Snapshot before = machine.snapshot();
        manage(arguments);
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
};

TEST_F(ShareDisplay, HasHeaderAndRuleOnlyWithoutShares) {
    display();
    expect_succeeded(header);
    EXPECT_EQ(std::ranges::count(run.out, '*'), 48);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareDisplay, HasARowForEachShare) {
    machine.shares({{.name = "a", .comment = "all"},
                    {.name = "b", .service = "nfs", .path = "/mnt/more/b", .size = "7"},
                    {.name = "c", .service = "ftp", .path = "/home/ftpuser/c", .size = "0"},
                    {.name = "d", .service = "iscsi", .path = "/dev/data/d"}});
    machine.file(smb_conf, samba_global +
                               samba_section("a", "/mnt/data/pub", "anna", "all", "writable = no"));
    machine.file(exports, "/mnt/more/b 10.0.0.7(ro,sync,no_root_squash)\n");
    machine.file(targets, "Target iqn.2006-05.com.nas:d.20240502140305\n\tIncomingUser anna x\n");
    machine.pools({"/dev/data/a", "/dev/more/b", "/dev/data/d"});
    display();
    const std::string unmounted = "\tFilesystem umounted\t";
    expect_succeeded(header + "a\tsamba\t/mnt/data/pub\tanna\tro\t5GB\t0.00GB" + unmounted +
                     "md0\nb\tnfs\t/mnt/more/b\t10.0.0.7\tro\t7GB\t0.00GB" + unmounted +
                     "md1\nc\tftp\t/home/ftpuser/c\t*\trw\t0GB\t0.00GB" + unmounted +
                     "N.A.\nd\tiSCSI\t/dev/data/d\tanna\trw\t5GB\t-0.01GB\t(Null)\tmd0\n");
}

TEST_F(ShareDisplay, ShowsOneShareByItsName) {
    machine.shares({{.name = "a"}, {.name = "b", .size = "0"}, {.name = "c"}});
    machine.pools({"/dev/data/a", "/dev/more/b"});
    display({"-n", "b"});
    expect_succeeded(header +
                     "b\tsamba\t/mnt/data/pub\t*\trw\t0GB\t0.00GB\tFilesystem umounted\tmd1\n");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareDisplay, RefusesANameThatNoShareHas) {
    machine.shares({{.name = "a"}});
    for (const char* name : {"b", "A", "", "a b", "aa"}) {
        display({"-n", name});
        expect_failed(-114);
    }
}

TEST_F(ShareDisplay, RefusesAnInvalidNameEvenIfAShareHasIt) {
    machine.shares({{.name = "a b"}});
    display({"-n", "a b"});
    expect_failed(-114);
}

TEST_F(ShareDisplay, FillsForbiddenSharesFromTheRecycleFiles) {
    machine.shares({{.name = "a", .service = "", .path = "", .size = "0", .comment = "old"},
                    {.name = "b", .service = "", .path = "/mnt/more/b", .size = "0"},
                    {.name = "c", .size = "0"}});
    machine.file(smb_recycle, samba_section("a", "/mnt/data/a", "anna", "new", "writeable = no") +
                                  samba_section("c", "/mnt/x/c", "bert", "", "writeable = no") +
                                  samba_section("gone", "/mnt/x/gone"));
    machine.file(exports_recycle, "/mnt/data/b 10.0.0.7(rw,sync,no_root_squash)\n");
    machine.pools({"/dev/data/a", "/dev/data/b", "/dev/data/c"});
    const std::string first = "a\t\t/mnt/data/a\tanna\tro\t0GB\t0.00GB\tFilesystem umounted\tmd0\n";
    display();
    expect_succeeded(header + first +
                     "b\t\t/mnt/more/b\t10.0.0.7\trw\t0GB\t0.00GB\tFilesystem umounted\tmd0\n"
                     "c\tsamba\t/mnt/data/pub\t*\trw\t0GB\t0.00GB\tFilesystem umounted\tmd0\n");
    display({"-n", "a"});
    expect_succeeded(header + first);
}

TEST_F(ShareDisplay, ReportsAShareListThatCannotBeMade) {
    machine.shares({{.name = "a"}}).remove(targets);
    display();
    expect_failed(-505);
    display({"-n", "a b"});
    expect_failed(-505);
}

TEST_F(ShareDisplay, ShowsSharesWhoseGroupIsUnknownWithoutADevice) {
    machine.shares({{.name = "a", .size = "0"}});
    display();
    expect_succeeded(header +
                     "a\tsamba\t/mnt/data/pub\t*\trw\t0GB\t0.00GB\tFilesystem umounted\tN.A.\n");
}

} // namespace
} // namespace zav::test

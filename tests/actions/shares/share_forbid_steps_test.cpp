// SPDX-License-Identifier: MIT
// The steps for forbidden shares: moved to the recycle files, changed there, removed from them.
#include "actions/shares/steps.h"
#include "fixtures/library.h"
#include "fixtures/share_operation.h"
#include "inventory/shares.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class RecycleSteps : public ShareOperation {
  protected:
    // Also prints the record's service afterwards, which must be empty.
    Result change(Code (*step)(ShareFiles&, share_info&), share_info share) {
        Result result = operate([=] {
            ShareFiles files;
            share_info changed = share;
            const Code code = step(files, changed);
            std::printf("%s", changed.type.c_str());
            return code;
        });
        EXPECT_EQ(result.out, "");
        return result;
    }
    Result forbid(const share_info& share) {
        return change(
            [](ShareFiles& files, share_info& changed) {
                return forbid_share(files, changed, std::string(changed.type.view()));
            },
            share);
    }
    Result use(share_info share) {
        return operate([=] {
            ShareFiles files;
            share_info used = share;
            return use_forbidden_share(files, used);
        });
    }
    Result edit(const share_info& share) { return change(edit_forbidden_share, share); }
};

using ForbidStep = RecycleSteps;
using UnmountStep = RecycleSteps;
using EditForbiddenStep = RecycleSteps;
using RemoveForbiddenStep = RecycleSteps;
using UseStep = RecycleSteps;
using ForbiddenSharesMerge = RecycleSteps;

TEST_F(ForbidStep, MovesASambaShareIntoItsRecycleFile) {
    machine.shares({{.name = "a"}, {.comment = "old"}});
    machine.file(smb_conf, samba_global + samba_section("pub", directory, "anna", "old") +
                               samba_section("a", "/a"));
    machine.file(smb_recycle, recycled("b"));
    const Result result = forbid(read_only(share_of("samba", "bert", "new")));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register),
              register_section({.name = "a"}) +
                  register_section({.service = "", .comment = "new"}));
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("a", "/a"));
    EXPECT_EQ(machine.read(smb_recycle), recycled("b") + recycled("pub", "bert", "new", "no"));
    EXPECT_THAT(outside(result),
                ElementsAre(saved(share_register), saved(smb_conf), saved(smb_recycle)));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ForbidStep, MovesAnExport) {
    machine.shares({{.service = "nfs"}});
    machine.file(exports, export_of(directory, "10.0.0.1") + export_of("/mnt/data/a"));
    const Result result = forbid(share_of("nfs"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), forbidden_section());
    EXPECT_EQ(machine.read(exports), export_of("/mnt/data/a"));
    EXPECT_EQ(machine.read(exports_recycle), export_of(directory, "10.0.0.1"));
    EXPECT_THAT(outside(result),
                ElementsAre(saved(share_register), saved(exports), saved(recycle_item)));
}

TEST_F(ForbidStep, KeepsTheUsersAndTheCommentThatAreNotGiven) {
    machine.shares({{}}).file(smb_conf,
                              samba_global + samba_section("pub", directory, "anna", "mine"));
    EXPECT_EQ(forbid(share_of("samba")).returned, 0);
    EXPECT_EQ(machine.read(smb_recycle), recycled("pub", "anna", "mine"));
}

TEST_F(ForbidStep, OnlyTakesTheTargetOfAnIscsiShare) {
    machine.shares({{"pub", "iscsi", "/dev/data/pub"}});
    machine.file(targets, target_of("pub.20240502140305", "/dev/data/pub"));
    const Result result = forbid(share_of("iscsi"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "", "/dev/data/pub"}));
    EXPECT_EQ(machine.read(targets), "");
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register), saved(targets)));
}

TEST_F(ForbidStep, RecyclesAShareThatWasNotInUse) {
    machine.shares({{}});
    EXPECT_EQ(forbid(share_of("samba", "anna")).returned, -2067);
    EXPECT_EQ(machine.read(smb_recycle), recycled("pub", "anna"));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
}

TEST_F(ForbidStep, RegistersAShareThatWasNotRegistered) {
    machine.file(exports, export_of(directory));
    EXPECT_EQ(forbid(share_of("nfs")).returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "", .size = "0"}));
    EXPECT_EQ(machine.read(exports_recycle), export_of(directory));
}

TEST_F(ForbidStep, ReplacesWhatIsRecycledAlready) {
    machine.shares({{}}).file(smb_conf, samba_global + samba_section("pub", directory, "bert"));
    machine.file(smb_recycle, recycled("pub") + recycled("a", "anna") + recycled("pub", "carla"));
    EXPECT_EQ(forbid(share_of("samba")).returned, -2066);
    EXPECT_EQ(machine.read(smb_recycle), recycled("a", "anna") + recycled("pub", "bert"));
    EXPECT_EQ(machine.read(smb_conf), samba_global);
}

TEST_F(ForbidStep, KeepsWhatOnlyTheRecycleFileKnows) {
    machine.shares({{}}).file(smb_recycle, recycled("pub", "anna", "mine", "no"));
    EXPECT_EQ(forbid(share_of("samba")).returned, -2067);
    EXPECT_EQ(machine.read(smb_recycle), recycled("pub", "anna", "mine", "no"));
    EXPECT_EQ(forbid(share_of("samba", "bert")).returned, -2067);
    EXPECT_EQ(machine.read(smb_recycle), recycled("pub", "bert", "mine", "no"));
}

TEST_F(UnmountStep, UnmountsRemovesAndUnregisters) {
    const std::string directory = "/home/ftpuser/pub";
    machine.shares({{"pub", "ftp", directory}}).file(mdfstab, mdfstab_line(directory));
    const Result result = operate([] {
        ShareFiles files;
        share_info share = share_of("ftp", "anna", "c");
        const auto code = unmount_and_unregister(files, share, "/home/ftpuser/pub");
        EXPECT_TRUE(share.type.empty());
        return code;
    });
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(outside(result),
                ElementsAreArray(joined({{unmounting(directory)},
                                         removing_directory(directory),
                                         {"mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null",
                                          saved(mdfstab), saved(share_register)}})));
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "", directory, "5", "c"}));
}

TEST_F(UnmountStep, GoesOnWhenNothingIsMounted) {
    machine.shares({{.service = "ftp"}}).mounts({"/dev/x /mnt/pub"});
    fails(pool_tool::umount, "umount ");
    const Result result = operate([] {
        ShareFiles files;
        share_info share = share_of("ftp");
        return unmount_and_unregister(files, share, "/home/ftpuser/pub");
    });
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.service = ""}));
}

TEST_F(UnmountStep, StopsAtWhatStaysMounted) {
    machine.shares({{.service = "ftp"}}).mounts({"/dev/data/pub /home/ftpuser/pub"});
    fails(pool_tool::umount, "umount ");
    const Result result = operate([] {
        ShareFiles files;
        share_info share = share_of("ftp");
        return unmount_and_unregister(files, share, "/home/ftpuser/pub");
    });
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(outside(result), ElementsAre(unmounting("/home/ftpuser/pub")));
    EXPECT_EQ(machine.read(share_register), register_section({.service = "ftp"}));
}

TEST_F(EditForbiddenStep, ChangesTheRegisterAndTheRecycleFile) {
    has_forbidden_share(smb_recycle, recycled("a", "u") + recycled("pub", "anna", "old"));
    const Result result = edit(read_only(share_of("samba", "bert", "new")));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "", .comment = "new"}));
    EXPECT_EQ(machine.read(smb_recycle), recycled("a", "u") + recycled("pub", "bert", "new", "no"));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register), saved(smb_recycle)));
}

TEST_F(EditForbiddenStep, KeepsWhatIsNotGiven) {
    has_forbidden_share(exports_recycle, export_of(directory, "10.0.0.1"));
    const Result result = edit(read_only(share_of("nfs")));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(exports_recycle), export_of(directory, "10.0.0.1", "ro"));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register), saved(recycle_item)));
}

TEST_F(EditForbiddenStep, TakesTheServiceOffTheRegister) {
    machine.shares({{}}).file(smb_recycle, recycled("pub"));
    EXPECT_EQ(edit(share_of("samba")).returned, 0);
    EXPECT_EQ(machine.read(share_register), forbidden_section());
}

TEST_F(EditForbiddenStep, AddsWhatIsMissing) {
    has_forbidden_share();
    EXPECT_EQ(edit(share_of("samba", "anna")).returned, -2067) << "not in the recycle file";
    EXPECT_EQ(machine.read(smb_recycle), recycled("pub", "anna"));
    machine.file(share_register, "");
    EXPECT_EQ(edit(share_of("samba")).returned, -2067) << "not in the register";
    EXPECT_EQ(machine.read(share_register), register_section({.service = "", .size = "0"}));
    EXPECT_EQ(machine.read(smb_recycle), recycled("pub", "anna"));
}

TEST_F(EditForbiddenStep, OnlyChangesTheRegisterForFtp) {
    machine.shares({{.service = ""}});
    const Result result = edit(share_of("FTP", "anna", "c"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "", .comment = "c"}));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register)));
    machine.file(share_register, "");
    EXPECT_EQ(edit(share_of("ftp")).returned, -2067);
}

TEST_F(EditForbiddenStep, OnlyChangesTheRegisterForIscsi) {
    machine.shares({{.service = ""}});
    EXPECT_EQ(edit(share_of("iscsi", "", "c")).returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "", .comment = "c"}));
}

// So an older instance left it that could not finish.
TEST_F(EditForbiddenStep, TakesTheShareOffAServiceThatStillHasIt) {
    has_forbidden_share(smb_recycle, recycled("pub"));
    machine.file(smb_conf, samba_global + samba_section("pub", directory));
    EXPECT_EQ(edit(share_of("samba")).returned, 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global);
}

TEST_F(EditForbiddenStep, KeepsTheUsersThatOnlyThatServiceKnows) {
    has_forbidden_share();
    machine.file(smb_conf, samba_global + samba_section("pub", directory, "anna"));
    EXPECT_EQ(edit(share_of("samba")).returned, -2067);
    EXPECT_EQ(machine.read(smb_recycle), recycled("pub", "anna"));
}

TEST_F(RemoveForbiddenStep, TakesTheShareOutOfAllThreeFiles) {
    machine.shares({{.name = "a"}, {.service = ""}});
    machine.file(smb_recycle, recycled("pub") + recycled("a"));
    machine.file(exports_recycle, export_of("/mnt/data/a") + export_of(directory));
    const Result result = operate([] {
        ShareFiles files;
        return remove_from_files(files, share_of(""));
    });
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.name = "a"}));
    EXPECT_EQ(machine.read(smb_recycle), recycled("a"));
    EXPECT_EQ(machine.read(exports_recycle), export_of("/mnt/data/a"));
    EXPECT_THAT(outside(result),
                ElementsAre(saved(smb_recycle), saved(recycle_item), saved(share_register)));
}

TEST_F(RemoveForbiddenStep, NeedsTheShareInOneFileOnly) {
    const auto remove = [] {
        ShareFiles files;
        return remove_from_files(files, share_of(""));
    };
    machine.shares({{.service = ""}});
    EXPECT_EQ(result_of(remove), 0);
    EXPECT_EQ(machine.read(share_register), "");
    machine.file(smb_recycle, recycled("pub"));
    EXPECT_EQ(result_of(remove), 0);
    EXPECT_EQ(machine.read(smb_recycle), "");
    machine.file(exports_recycle, export_of(directory));
    EXPECT_EQ(result_of(remove), 0);
    EXPECT_EQ(machine.read(exports_recycle), "");
    machine.shares({{.name = "a"}});
    EXPECT_EQ(result_of(remove), -2067);
    EXPECT_EQ(machine.read(share_register), register_section({.name = "a"}));
}

TEST_F(UseStep, TakesTheShareOutOfBothRecycleFiles) {
    has_forbidden_share(smb_recycle, recycled("pub") + recycled("a"));
    machine.file(exports_recycle, export_of(directory) + export_of("/mnt/data/a"));
    const Result result = use(share_of("nfs"));
    EXPECT_EQ(result.returned, -2067) << "the exports did not have it";
    EXPECT_EQ(machine.read(smb_recycle), recycled("a"));
    EXPECT_EQ(machine.read(exports_recycle), export_of("/mnt/data/a"));
    EXPECT_EQ(machine.read(exports), export_of(directory));
    EXPECT_THAT(outside(result), ElementsAre(saved(smb_recycle), saved(recycle_item),
                                             saved(share_register), saved(exports)));
}

TEST_F(UseStep, RecallsUsersAndCommentThatAreNotGiven) {
    has_forbidden_share(smb_recycle, recycled("a", "x", "y") + recycled("pub", "anna", "mine"));
    EXPECT_EQ(use(share_of("samba")).returned, -2067);
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "mine"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(UseStep, TakesWhatIsGiven) {
    has_forbidden_share(smb_recycle, recycled("pub", "anna", "mine", "no"));
    EXPECT_EQ(use(share_of("samba", "bert", "new")).returned, -2067);
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "bert", "new"));
}

TEST_F(UseStep, RecallsNothingOfOthersAndWarnsOfAShareOpenToEverybody) {
    has_forbidden_share(smb_recycle, recycled("other", "anna"));
    EXPECT_EQ(use(share_of("samba")).returned, -2067);
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
    EXPECT_THAT(machine.logged(), ElementsAre("nothing tells the users of share 'pub': it is open "
                                              "to everybody"));
}

TEST_F(UseStep, DoesNotWarnOfAShareThatIsKnownToBeOpen) {
    has_forbidden_share(smb_recycle, recycled("pub"));
    EXPECT_EQ(use(share_of("samba")).returned, -2067);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ForbiddenSharesMerge, FillsInTheForbiddenSharesOfAList) {
    machine.file(smb_recycle, recycled("pub", "anna", "comment", "no") + recycled("new"));
    machine.file(exports_recycle, export_of("/mnt/data/n", "host") + export_of("/mnt/data/s"));
    operate([] {
        share_list list;
        list.append().name = "pub";
        share_info& exported = list.append();
        exported.name = "n";
        exported.path = "/registered";
        share_info& in_use = list.append();
        in_use.name = "s";
        in_use.type = "samba";
        merge_forbidden_shares(list);
        EXPECT_EQ(list.size(), 3U) << "none is added";
        const share_info& forbidden = *list.begin();
        EXPECT_EQ(forbidden.users, "anna");
        EXPECT_EQ(forbidden.write, 0);
        EXPECT_EQ(forbidden.path, "/mnt/data/pub");
        EXPECT_EQ(forbidden.type, "");
        EXPECT_EQ(forbidden.comment, "");
        EXPECT_EQ(exported.users, "host");
        EXPECT_EQ(exported.path, "/registered");
        EXPECT_EQ(in_use.users, "");
        EXPECT_EQ(in_use.path, "");
        return 0;
    });
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ForbiddenSharesMerge, AffectsTheFirstOfNamesakes) {
    machine.file(smb_recycle, recycled("pub", "anna"));
    operate([] {
        share_list list;
        list.append().name = "pub";
        list.append().name = "pub";
        merge_forbidden_shares(list);
        EXPECT_EQ(list.begin()->users, "anna");
        EXPECT_EQ(std::next(list.begin())->users, "");
        return 0;
    });
}

TEST_F(ForbiddenSharesMerge, FillsInAThousandShares) {
    std::string text;
    for (int number = 0; number < 1000; ++number) {
        const std::string name = "s" + std::to_string(number);
        text += samba_section(name, "/mnt/" + name, name + "user", "", "writeable = no");
    }
    machine.file(smb_recycle, text);
    operate([] {
        share_list list;
        for (int number = 999; number >= 0; --number) {
            list.append().name = "s" + std::to_string(number);
        }
        merge_forbidden_shares(list);
        for (const share_info& share : list) {
            EXPECT_EQ(std::string(share.users.view()), std::string(share.name.view()) + "user");
        }
        return 0;
    });
}

TEST_F(ForbiddenSharesMerge, ContinuesAfterAFileThatCannotBeRead) {
    machine.file(smb_recycle, "[broken\n").file(exports_recycle, export_of(directory, "host"));
    operate([] {
        share_list list;
        list.append().name = "pub";
        merge_forbidden_shares(list);
        EXPECT_EQ(list.begin()->users, "host");
        return 0;
    });
    EXPECT_THAT(machine.logged(), ElementsAre(returned("merge_forbidden_shares", -2063)));
}

} // namespace
} // namespace zav::test

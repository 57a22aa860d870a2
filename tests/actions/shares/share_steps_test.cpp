// SPDX-License-Identifier: MIT
// The steps that add shares to the register and the services' files, change them there, and remove
// them.
#include "actions/shares/steps.h"
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

class ShareSteps : public ShareOperation {
  protected:
    Result add(const share_info& share) {
        return operate([&] {
            ShareFiles files;
            return add_share(files, share);
        });
    }
    Result apply(const share_info& share) {
        return operate([&] {
            ShareFiles files;
            return apply_share(files, share);
        });
    }
    Result remove(const share_info& share) {
        return operate([&] {
            ShareFiles files;
            const Code prepared = prepare_removal(files, share);
            const Code written = finish_removal(files);
            return failed(written) ? written : prepared;
        });
    }
    // The contents of smb.conf after the global part.
    std::string samba() const {
        const std::string text = machine.read(smb_conf);
        EXPECT_THAT(text, StartsWith(samba_global));
        return text.substr(std::string(samba_global).size());
    }
};

using AddStep = ShareSteps;
using ApplyStep = ShareSteps;
using RemoveStep = ShareSteps;

TEST_F(AddStep, RegistersASambaShareFirst) {
    const Result result = add(read_only(share_of("samba", "anna,bert", "all")));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "all"}));
    EXPECT_EQ(samba(), samba_section("pub", directory, "anna,bert", "all", "writable = no"));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register), saved(smb_conf)));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(AddStep, AddsAnNfsShare) {
    const Result result = add(share_of("nfs", "10.0.0.0/8"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "nfs"}));
    EXPECT_EQ(machine.read(exports), export_of(directory, "10.0.0.0/8"));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register), saved(exports)));
    EXPECT_EQ(add(read_only(share_of("nfs", "", "", "b"))).returned, 0);
    EXPECT_EQ(machine.read(exports),
              export_of(directory, "10.0.0.0/8") + export_of("/mnt/data/b", "*", "ro"));
}

TEST_F(AddStep, AddsATargetWithItsTime) {
    const Result result = add(share_of("iscsi", "anna"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register),
              register_section({.service = "iscsi", .path = "/dev/data/pub"}));
    EXPECT_THAT(machine.read(targets),
                AllOf(MatchesRegex("Target iqn.2006-05.com.nas:pub.[0-9]{14}\n(.|\n)*"),
                      EndsWith("\tIncomingUser anna annasecret\n"
                               "\tLun 0 Path=/dev/data/pub,Type=fileio,IOMode=wb\n"
                               "\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n"
                               "\tWthreads\t16\n")));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register), saved(targets)));
}

TEST_F(AddStep, OnlyRegistersAnFtpShare) {
    const Result result = add(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register),
              register_section({.service = "ftp", .path = "/home/ftpuser/pub"}));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register)));
}

TEST_F(AddStep, RefreshesPathAndCommentOfOtherSharesAndKeepsTheirUsers) {
    machine.shares({{.name = "a", .path = "/new/a", .comment = "new"}, {.name = "b"}});
    machine.file(smb_conf, samba_global +
                               samba_section("a", "/old", "anna", "old", "writable = no") +
                               samba_section("b", "/old", "bert", "kept"));
    EXPECT_EQ(add(share_of("samba")).returned, 0);
    EXPECT_EQ(samba(), samba_section("a", "/new/a", "anna", "new", "writable = no") +
                           samba_section("b", directory, "bert", "kept") +
                           samba_section("pub", directory));
}

TEST_F(AddStep, KeepsTheHostsOfOtherExports) {
    machine.shares({{.name = "a", .service = "nfs", .path = "/mnt/data/a"}})
        .file(exports, export_of("/mnt/data/a", "10.0.0.1"));
    EXPECT_EQ(add(share_of("nfs")).returned, 0);
    EXPECT_EQ(machine.read(exports), export_of("/mnt/data/a", "10.0.0.1") + export_of(directory));
}

TEST_F(AddStep, PutsRegisteredSharesOfTheServiceBack) {
    machine.shares({{.name = "lost", .path = "/mnt/data/lost", .comment = "c"},
                    {.name = "n", .service = "nfs"},
                    {.name = "forbidden", .service = ""}});
    EXPECT_EQ(add(share_of("samba")).returned, 0);
    EXPECT_EQ(samba(),
              samba_section("lost", "/mnt/data/lost", "", "c") + samba_section("pub", directory));
    EXPECT_EQ(machine.read(exports), "") << "other services' files are left alone";
}

TEST_F(AddStep, PutsALostShareBackWithTheUsersThatTheRecycleFileKnows) {
    machine.shares({{.name = "lost", .path = "/mnt/data/lost"}});
    machine.file(smb_recycle, recycled("lost", "anna", "c", "no"));
    EXPECT_EQ(add(share_of("samba")).returned, 0);
    EXPECT_EQ(samba(), samba_section("lost", "/mnt/data/lost", "anna", "c", "writable = no") +
                           samba_section("pub", directory));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(AddStep, WarnsOfALostShareThatItPutsBackForEverybody) {
    machine.shares({{.name = "lost", .path = "/mnt/data/lost"}});
    EXPECT_EQ(add(share_of("samba")).returned, 0);
    EXPECT_THAT(machine.logged(), ElementsAre("nothing tells the users of share 'lost': it is open "
                                              "to everybody"));
}

TEST_F(AddStep, KeepsForeignSharesOfTheFile) {
    machine.file(smb_conf, samba_global + samba_section("foreign", "/x", "u"));
    EXPECT_EQ(add(share_of("samba")).returned, 0);
    EXPECT_EQ(samba(), samba_section("foreign", "/x", "u") + samba_section("pub", directory));
}

TEST_F(AddStep, KnowsATargetWithoutItsTime) {
    machine.shares({{"disk1", "iscsi", "/dev/data/disk1"}, {"disk2", "iscsi", "/dev/data/disk2"}});
    machine.file(targets,
                 target_of("disk1.20240502140305", "/dev/old", "\tIncomingUser anna annasecret\n"));
    EXPECT_EQ(add(share_of("ftp")).returned, 0);
    EXPECT_EQ(add(share_of("iscsi", "", "", "disk2")).returned, -2066);
    EXPECT_THAT(machine.read(targets),
                AllOf(StartsWith(target_of("disk1.20240502140305", "/dev/data/disk1",
                                           "\tIncomingUser anna annasecret\n")),
                      MatchesRegex("(.|\n)*:disk2.[0-9]{14}\n\tLun 0 Path=/dev/data/disk2,.*\n"
                                   ".*\n.*\n.*\n")));
}

TEST_F(AddStep, LeavesTheRegisterAloneForARegisteredNameButRewritesTheFile) {
    machine.shares({{.comment = "registered"}});
    const std::string before = machine.read(share_register);
    const Result result = add(share_of("samba", "anna", "given"));
    EXPECT_EQ(result.returned, -2066);
    EXPECT_EQ(machine.read(share_register), before);
    EXPECT_EQ(samba(), samba_section("pub", directory, "anna", "registered"));
    EXPECT_THAT(outside(result), ElementsAre(saved(smb_conf)));
}

TEST_F(AddStep, ComparesTheServiceOfMissingSharesExactly) {
    machine.shares({{.name = "lost"}});
    EXPECT_EQ(add(share_of("SAMBA")).returned, 0);
    EXPECT_EQ(samba(), samba_section("pub", directory));
    EXPECT_EQ(machine.read(share_register),
              register_section({.name = "lost"}) + register_section({.name = "pub"}));
}

TEST_F(AddStep, RegistersNothingOfAnUnknownService) {
    const Result result = add(share_of("samba,nfs"));
    EXPECT_EQ(result.returned, -2068);
    EXPECT_EQ(machine.read(share_register), "");
}

TEST_F(AddStep, RegistersAmongAThousandShares) {
    std::vector<RegisteredShare> list;
    std::string sections;
    for (int number = 0; number < 1000; ++number) {
        list.push_back({.name = "s" + std::to_string(number), .path = "/p"});
        sections += samba_section(list.back().name, "/p", "anna");
    }
    machine.shares(list).file(smb_conf, samba_global + sections);
    const std::string before = machine.read(share_register);
    EXPECT_EQ(add(share_of("samba", "bert")).returned, 0);
    EXPECT_EQ(machine.read(share_register), before + register_section({}));
    EXPECT_EQ(samba(), sections + samba_section("pub", directory, "bert"));
}

TEST_F(ApplyStep, ChangesTextsAndAccessInBothFiles) {
    machine.shares({{.comment = "old"}, {.name = "other"}});
    machine.file(smb_conf, samba_global + samba_section("pub", "/live", "anna", "old"));
    share_info share = read_only(share_of("samba", "bert", "new"));
    share.path = "/given";
    const Result result = apply(share);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register),
              register_section({.comment = "new"}) + register_section({.name = "other"}));
    EXPECT_EQ(samba(), samba_section("pub", "/live", "bert", "new", "writable = no"));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register), saved(smb_conf)));
}

TEST_F(ApplyStep, KeepsWhatIsNotGiven) {
    machine.shares({{.comment = "old"}});
    machine.file(smb_conf, samba_global + samba_section("pub", directory, "anna", "old"));
    EXPECT_EQ(apply(share_of("samba")).returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "old"}));
    EXPECT_EQ(samba(), samba_section("pub", directory, "anna", "old"));
}

TEST_F(ApplyStep, AddsWhatTheServiceDoesNotHave) {
    machine.shares({{}}).file(exports, export_of("/mnt/data/other"));
    EXPECT_EQ(apply(share_of("nfs", "10.0.0.1")).returned, -2067);
    EXPECT_EQ(machine.read(exports),
              export_of("/mnt/data/other") + export_of(directory, "10.0.0.1"));
    EXPECT_EQ(machine.read(share_register), register_section({})) << "the registered service stays";
}

TEST_F(ApplyStep, AddsWhatIsNotRegistered) {
    machine.file(smb_conf, samba_global + samba_section("pub", directory));
    EXPECT_EQ(apply(share_of("samba", "", "c")).returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "c"}));
}

TEST_F(ApplyStep, GivesAForbiddenEntryItsServiceAndPath) {
    machine.shares({{.service = "", .path = "/old"}});
    EXPECT_EQ(apply(share_of("nfs")).returned, -2067);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "nfs"}));
}

TEST_F(ApplyStep, KnowsATargetWithoutItsTime) {
    machine.shares({{"disk1", "iscsi", "/dev/data/disk1"}});
    machine.file(targets, target_of("disk1.20240502140305", "/dev/data/disk1"));
    EXPECT_EQ(apply(share_of("iscsi", "bert anna", "", "disk1")).returned, 0);
    EXPECT_EQ(machine.read(targets),
              target_of("disk1.20240502140305", "/dev/data/disk1",
                        "\tIncomingUser bert \n\tIncomingUser anna annasecret\n"));
}

TEST_F(ApplyStep, OnlyRegistersAnFtpShare) {
    machine.shares({{.service = "ftp"}});
    const Result result = apply(share_of("FTP", "anna", "c"));
    EXPECT_EQ(result.returned, 0) << "there is no file that could lack it";
    EXPECT_EQ(machine.read(share_register), register_section({.service = "ftp", .comment = "c"}));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register)));
}

TEST_F(RemoveStep, TakesAShareOutOfBothFiles) {
    machine.shares({{.name = "a"}, {}, {.name = "b"}});
    machine.file(smb_conf, samba_global + samba_section("a", "/a", "u") +
                               samba_section("pub", directory) + samba_section("b", "/b"));
    const Result result = remove(share_of("samba"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register),
              register_section({.name = "a"}) + register_section({.name = "b"}));
    EXPECT_EQ(samba(), samba_section("a", "/a", "u") + samba_section("b", "/b"));
    EXPECT_THAT(outside(result), ElementsAre(saved(share_register), saved(smb_conf)));
}

TEST_F(RemoveStep, KnowsATargetWithoutItsTime) {
    machine.shares({{"disk1", "iscsi"}});
    machine.file(targets, target_of("disk1.20240502140305", "/a") + target_of("disk10.2", "/b"));
    EXPECT_EQ(remove(share_of("iSCSI", "", "", "disk1")).returned, 0);
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_EQ(machine.read(targets), target_of("disk10.2", "/b"));
}

TEST_F(RemoveStep, ReportsAShareThatWasMissing) {
    machine.shares({{}});
    EXPECT_EQ(remove(share_of("nfs")).returned, -2067);
    EXPECT_EQ(machine.read(share_register), "");
    machine.file(exports, export_of(directory));
    EXPECT_EQ(remove(share_of("nfs")).returned, -2067);
    EXPECT_EQ(machine.read(exports), "");
    EXPECT_EQ(remove(share_of("ftp")).returned, -2067);
}

TEST_F(RemoveStep, NeedsAKnownService) {
    machine.shares({{}});
    EXPECT_EQ(remove(share_of("samba,webdav")).returned, -2068);
    EXPECT_EQ(machine.read(share_register), register_section({}));
}

} // namespace
} // namespace zav::test

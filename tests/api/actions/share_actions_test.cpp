// SPDX-License-Identifier: MIT
// Shares: a call does what the command does.
#include "api/actions/action_case.h"

namespace zav::test {
namespace {

class ShareAction : public testing::TestWithParam<ActionCase> {};

TEST_P(ShareAction, DoesWhatTheCommandDoes) {
    expect_alike(GetParam());
}

// The share "pub" of Samba, in use and mounted.
void with_share(ActionMachine& machine) {
    const std::string path = "/mnt/data/pub";
    machine.shares({{.service = "samba", .path = path}})
        .pools({"/dev/data/pub"})
        .registered({"/dev/data/pub\t" + path + "\txfs\tdefaults\t0 0"})
        .mounts({"/dev/data/pub " + path})
        .backup("data", {"pub"})
        .file(smb_conf, samba_global + samba_section("pub", path, "anna", "all"))
        .directory(path);
}

// The forbidden share "pub".
void with_forbidden_share(ActionMachine& machine) {
    machine.shares({{.service = ""}})
        .pools({"/dev/data/pub"})
        .file(smb_recycle, samba_section("pub", "/mnt/data/pub", "anna", "all", "writeable = no"));
}

// Registered, but its service's file has lost it.
void with_lost_share(ActionMachine& machine) {
    with_share(machine);
    machine.file(smb_conf, samba_global);
}

// A pool that is no share's.
void with_pool_of_no_share(ActionMachine& machine) {
    machine.pools({"/dev/data/pub"});
}

const std::vector<ActionCase> new_shares = {
    {"CreatesOneOfSamba",
     {},
     {"sharemanage", "-C", "-n", "pub", "-f", "samba", "-s", "5", "-u", "anna", "-c", "all",
      "data"},
     calls(zav_share_create, {.name = "pub",
                              .service = ZAV_SERVICE_SAMBA,
                              .group = "data",
                              .size_gib = 5,
                              .users = "anna",
                              .comment = "all"})},
    {"CreatesOneOfNfsToBeRead",
     {},
     {"sharemanage", "-C", "-n", "pub", "-f", "nfs", "-s", "5", "-u", "10.1.0.0/16", "-x", "ro",
      "data"},
     calls(zav_share_create, {.name = "pub",
                              .service = ZAV_SERVICE_NFS,
                              .group = "data",
                              .size_gib = 5,
                              .users = "10.1.0.0/16",
                              .is_read_only = 1})},
    {"CreatesOneOfFtp",
     {},
     {"sharemanage", "-C", "-n", "pub", "-f", "ftp", "-s", "5", "-u", "anna", "data"},
     calls(zav_share_create, {.name = "pub",
                              .service = ZAV_SERVICE_FTP,
                              .group = "data",
                              .size_gib = 5,
                              .users = "anna"})},
    {"CreatesNoSecondShare",
     with_share,
     {"sharemanage", "-C", "-n", "pub", "-f", "samba", "-s", "5", "data"},
     calls(zav_share_create,
           {.name = "pub", .service = ZAV_SERVICE_SAMBA, .group = "data", .size_gib = 5}),
     ZAV_E_SHARE_EXISTS},
    {"RefusesTheNameOfAShare",
     {},
     {"sharemanage", "-C", "-n", "homes", "-f", "samba", "-s", "5", "data"},
     calls(zav_share_create,
           {.name = "homes", .service = ZAV_SERVICE_SAMBA, .group = "data", .size_gib = 5}),
     ZAV_E_BAD_SHARE_NAME},
    {"RefusesAServiceWithoutShares",
     {},
     {"sharemanage", "-C", "-n", "pub", "-f", "management", "-s", "5", "data"},
     calls(zav_share_create,
           {.name = "pub", .service = ZAV_SERVICE_MANAGEMENT, .group = "data", .size_gib = 5}),
     ZAV_E_BAD_SHARE_MODE},
    {"RefusesAnUnknownUser",
     {},
     {"sharemanage", "-C", "-n", "pub", "-f", "samba", "-s", "5", "-u", "zoe", "data"},
     calls(zav_share_create, {.name = "pub",
                              .service = ZAV_SERVICE_SAMBA,
                              .group = "data",
                              .size_gib = 5,
                              .users = "zoe"}),
     ZAV_E_UNKNOWN_USER},
    {"RefusesAnEmptyComment",
     {},
     {"sharemanage", "-C", "-n", "pub", "-f", "samba", "-s", "5", "-c", "", "data"},
     calls(zav_share_create, {.name = "pub",
                              .service = ZAV_SERVICE_SAMBA,
                              .group = "data",
                              .size_gib = 5,
                              .comment = ""}),
     ZAV_E_BAD_COMMENT},
    {"RefusesAMissingGroup",
     {},
     {"sharemanage", "-C", "-n", "pub", "-f", "samba", "-s", "5"},
     calls(zav_share_create, {.name = "pub", .service = ZAV_SERVICE_SAMBA, .size_gib = 5}),
     ZAV_E_BAD_GROUP_NAME},
    {"RestoresOne",
     with_pool_of_no_share,
     {"sharemanage", "-Q", "-n", "pub", "-f", "samba", "-s", "0", "-u", "bert", "-x", "ro", "data"},
     calls(zav_share_restore, {.name = "pub",
                               .service = ZAV_SERVICE_SAMBA,
                               .group = "data",
                               .users = "bert",
                               .is_read_only = 1})},
    {"RestoresNoneWithoutRoom",
     with_pool_of_no_share,
     {"sharemanage", "-Q", "-n", "pub", "-f", "samba", "-s", "101", "data"},
     calls(zav_share_restore,
           {.name = "pub", .service = ZAV_SERVICE_SAMBA, .group = "data", .size_gib = 101}),
     ZAV_E_SIZE_NOT_POSSIBLE},
};
INSTANTIATE_TEST_SUITE_P(New, ShareAction, testing::ValuesIn(new_shares), name_of);

const std::vector<ActionCase> known_shares = {
    {"DeletesOne",
     with_share,
     {"sharemanage", "-D", "-n", "pub"},
     calls(zav_share_delete, {.name = "pub"})},
    {"DeletesNoUnknownShare",
     {},
     {"sharemanage", "-D", "-n", "pub"},
     calls(zav_share_delete, {.name = "pub"}),
     ZAV_E_NO_SUCH_SHARE},
    {"RefusesToDeleteWithoutAName",
     with_share,
     {"sharemanage", "-D"},
     calls(zav_share_delete, {}),
     ZAV_E_BAD_SHARE_NAME},
    {"ForbidsOne",
     with_share,
     {"sharemanage", "-E", "-n", "pub", "-f", "samba", "-b", "0"},
     calls(zav_share_edit, {.name = "pub", .service = ZAV_SERVICE_SAMBA})},
    {"PutsOneInUse",
     with_forbidden_share,
     {"sharemanage", "-E", "-n", "pub", "-f", "samba", "-u", "bert", "-x", "ro", "-c", "new", "-b",
      "1"},
     calls(zav_share_edit, {.name = "pub",
                            .service = ZAV_SERVICE_SAMBA,
                            .is_in_use = 1,
                            .users = "bert",
                            .is_read_only = 1,
                            .comment = "new"})},
    {"ServesOneThatWasLost",
     with_lost_share,
     {"sharemanage", "-E", "-n", "pub", "-f", "samba", "-b", "1"},
     calls(zav_share_edit, {.name = "pub", .service = ZAV_SERVICE_SAMBA, .is_in_use = 1}),
     ZAV_E_SHARE_NOT_LISTED},
    {"EditsNoneWithoutAService",
     with_share,
     {"sharemanage", "-E", "-n", "pub", "-b", "1"},
     calls(zav_share_edit, {.name = "pub", .is_in_use = 1}),
     ZAV_E_EDIT_MODE_INVALID},
    {"RepairsOne",
     with_share,
     {"sharemanage", "-R", "-n", "pub", "-f", "samba", "data"},
     calls(zav_share_repair, {.name = "pub", .service = ZAV_SERVICE_SAMBA, .group = "data"})},
    {"RepairsNothingOfIscsi",
     {},
     {"sharemanage", "-R", "-n", "pub", "-f", "iscsi", "data"},
     calls(zav_share_repair, {.name = "pub", .service = ZAV_SERVICE_ISCSI, .group = "data"})},
    {"RepairsNoUnknownShare",
     {},
     {"sharemanage", "-R", "-n", "pub", "-f", "samba", "data"},
     calls(zav_share_repair, {.name = "pub", .service = ZAV_SERVICE_SAMBA, .group = "data"}),
     ZAV_E_NO_SUCH_SHARE},
};
INSTANTIATE_TEST_SUITE_P(Known, ShareAction, testing::ValuesIn(known_shares), name_of);

} // namespace
} // namespace zav::test

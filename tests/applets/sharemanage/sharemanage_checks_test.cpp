// SPDX-License-Identifier: MIT
// The checks of sharemanage before it does anything: their codes, their order, and the log.
#include "fixtures/library.h"
#include "fixtures/share_command.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// An option of an action, with a bad and a good value and the code for the bad one, in the order of
// the checks. The option "" is the operand.
struct Checked {
    std::string option;
    std::string bad;
    std::string good;
    int code;
};

const std::vector<Checked> new_share = {{"-n", "a b", "pub", -114}, {"-f", "smb", "samba", -115},
                                        {"-s", "5G", "5", -113},    {"-x", "wr", "ro", -128},
                                        {"-c", "a=b", "all", -118}, {"-u", "nobody", "anna", -613},
                                        {"", "a b", "data", -123}};

class ShareChecks : public ShareCommand {
  protected:
    // The options with good values up to `bad_from`, then with bad ones.
    static Texts arguments(const std::string& action, const std::vector<Checked>& options,
                           std::size_t bad_from) {
        Texts all = {action};
        for (std::size_t at = 0; at < options.size(); ++at) {
            if (!options[at].option.empty()) {
                all.push_back(options[at].option);
            }
            all.push_back(at < bad_from ? options[at].good : options[at].bad);
        }
        return all;
    }
    void expect_order(const std::string& action, const std::string& check,
                      const std::vector<Checked>& options) {
        for (std::size_t at = 0; at < options.size(); ++at) {
            expect_refused(options[at].code, check, arguments(action, options, at));
        }
    }
    // Each text is refused as the value of that option.
    void expect_each_refused(const std::string& action, const std::string& check,
                             const std::vector<Checked>& options, const std::string& option,
                             const Texts& texts) {
        for (const std::string& text : texts) {
            std::vector<Checked> changed = options;
            const auto place = std::ranges::find(changed, option, &Checked::option);
            place->good = text;
            expect_refused(place->code, check, arguments(action, changed, changed.size()));
        }
    }
};

TEST_F(ShareChecks, OfCreateHaveAnOrder) {
    expect_order("-C", "create_share_arg_check", new_share);
}

TEST_F(ShareChecks, OfRestoreHaveTheSame) {
    expect_order("-Q", "restore_share_arg_check", new_share);
}

TEST_F(ShareChecks, OfEditHaveAnOrderAndACodeOfTheirOwnForTheMode) {
    expect_order("-E", "edit_share_arg_check",
                 {{"-n", "a b", "pub", -114},
                  {"-f", "smb", "samba", -1},
                  {"-s", "5G", "5", -113},
                  {"-x", "wr", "ro", -128},
                  {"-c", "a=b", "all", -118},
                  {"-u", "nobody", "anna", -613}});
}

TEST_F(ShareChecks, OfRepairHaveTheGroupBeforeTheMode) {
    expect_order("-R", "repair_share_arg_check",
                 {{"-n", "a b", "pub", -114}, {"", "a b", "data", -123}, {"-f", "x", "nfs", -115}});
}

TEST_F(ShareChecks, OfDeleteAreLoggedAtAKnownLine) {
    expect_refused(-114, "delete_share_arg_check", {"-D", "-n", "a b"});
    EXPECT_THAT(machine.logged(), ElementsAre("delete_share_arg_check[1797]: return with -114"));
    expect_refused(-114, "delete_share_arg_check", {"--delete"});
}

TEST_F(ShareChecks, AreLoggedOnce) {
    expect_refused(-115, "create_share_arg_check", {"-C", "-n", "pub"});
    EXPECT_THAT(machine.logged(), ElementsAre(returned("create_share_arg_check", -115)));
}

TEST_F(ShareChecks, OfUsersAreLoggedWithBothNames) {
    expect_refused(-613, "create_share_arg_check", arguments("-C", new_share, 5));
    EXPECT_THAT(machine.logged(), ElementsAre(returned("check_user", -613),
                                              returned("create_share_arg_check", -613)));
}

TEST_F(ShareChecks, RefuseMissingOptions) {
    const std::string check = "create_share_arg_check";
    expect_refused(-114, check, {"-C", "-f", "samba", "-s", "5", "data"});
    expect_refused(-115, check, {"-C", "-n", "pub", "-s", "5", "data"});
    expect_refused(-113, check, {"-C", "-n", "pub", "-f", "samba", "data"});
    expect_refused(-123, check, {"-C", "-n", "pub", "-f", "samba", "-s", "5"});
    expect_refused(-114, "restore_share_arg_check", {"-Q", "-f", "samba", "-s", "5", "data"});
    expect_refused(-1, "edit_share_arg_check", {"-E", "-n", "pub", "-b", "1"});
    expect_refused(-123, "repair_share_arg_check", {"-R", "-n", "pub", "-f", "samba"});
    expect_refused(-115, "repair_share_arg_check", {"-R", "-n", "pub", "data"});
}

TEST_F(ShareChecks, RefuseInvalidNames) {
    const Texts names = {
        "",    "a.b", "a/b",    "../x",   "$(reboot)", "a;b",   "a\nb",     "[pub]",
        "a=b", "p'b", "global", "GLOBAL", "glObal",    "homes", "Printers", std::string(33, 'n')};
    expect_each_refused("-C", "create_share_arg_check", new_share, "-n", names);
    expect_each_refused("-Q", "restore_share_arg_check", new_share, "-n", {"global", "a\nb"});
    expect_refused(-114, "edit_share_arg_check", {"-E", "-n", "Global", "-f", "nfs", "-b", "1"});
    expect_refused(-114, "repair_share_arg_check", {"-R", "-n", "a b", "-f", "nfs", "data"});
}

TEST_F(ShareChecks, RefuseInvalidModes) {
    expect_each_refused("-C", "create_share_arg_check", new_share, "-f",
                        {"", "samba ", "smb", "samba,nfs", "nfs4"});
}

TEST_F(ShareChecks, RefuseInvalidSizes) {
    expect_each_refused("-C", "create_share_arg_check", new_share, "-s",
                        {"", "-5", "+5", "5.0", " 5", "0x5", "123456789"});
    expect_refused(-113, "edit_share_arg_check",
                   {"-E", "-n", "pub", "-f", "nfs", "-s", "", "-b", "1"});
}

TEST_F(ShareChecks, RefuseInvalidAccess) {
    expect_each_refused("-C", "create_share_arg_check", new_share, "-x",
                        {"", "RW", "Ro", "rw ", "r", "rwx"});
}

TEST_F(ShareChecks, RefuseCommentsThatTheFilesCannotHold) {
    const Texts comments = {"",
                            "a\nb",
                            "a\rb",
                            "a\fb",
                            "a\x1a",
                            "a=b",
                            "a+",
                            "a\\",
                            "a+ ",
                            "a\\ ",
                            std::string(129, 'c'),
                            "a\n[evil]\n    path"};
    expect_each_refused("-C", "create_share_arg_check", new_share, "-c", comments);
    expect_each_refused("-Q", "restore_share_arg_check", new_share, "-c", comments);
    for (const std::string& comment : comments) {
        expect_refused(-118, "edit_share_arg_check",
                       {"-E", "-n", "pub", "-f", "samba", "-c", comment, "-b", "1"});
    }
}

TEST_F(ShareChecks, RefuseUsersThatTheFilesCannotHold) {
    std::string users = "x";
    while (users.size() < 239) {
        users += ",x";
    }
    machine.file(user_file, "x|1|\na=b|1|\na/b|1|\n$(x)|1|\n..|1|\n");
    expect_refused(-613, "create_share_arg_check",
                   {"-C", "-n", "pub", "-f", "samba", "-s", "5", "-u", users, "data"});
    expect_refused(-613, "edit_share_arg_check",
                   {"-E", "-n", "pub", "-f", "samba", "-u", "a=b", "-b", "1"});
    for (const char* user : {"a/b", "$(x)", "..", "x,x", "../../etc/passwd"}) {
        expect_refused(-613, "create_share_arg_check",
                       {"-C", "-n", "pub", "-f", "ftp", "-s", "5", "-u", user, "data"});
        expect_refused(-613, "restore_share_arg_check",
                       {"-Q", "-n", "pub", "-f", "ftp", "-s", "5", "-u", user, "data"});
        expect_refused(-613, "edit_share_arg_check",
                       {"-E", "-n", "pub", "-f", "ftp", "-u", user, "-b", "1"});
    }
}

TEST_F(ShareChecks, ReportWhichUserFileIsMissing) {
    machine.remove(passwd);
    expect_refused(-612, "create_share_arg_check", arguments("-C", new_share, 5));
    machine.remove(user_file);
    expect_refused(-611, "create_share_arg_check", arguments("-C", new_share, 7));
}

TEST_F(ShareChecks, RefuseHostsAfterPrintingThoseWithAPrefix) {
    const auto with_host = [](const char* host) {
        return Texts{"-C", "-n", "pub", "-f", "nfs", "-s", "5", "-u", host, "data"};
    };
    const std::string check = "create_share_arg_check";
    expect_refused(-116, check, with_host(""));
    expect_refused(-116, check, with_host("nas.local"));
    expect_refused(-116, check, with_host("0.0.0.0/0"), "ip:0.0.0.0 0\n");
    expect_refused(-116, check, with_host("10.0.0.0/33"), "ip:10.0.0.0 33\n");
    expect_refused(-116, check, with_host("10.0.0.0/24 *(rw)"), "ip:10.0.0.0 24\n");
    expect_refused(-116, check, with_host("10.0.0.0/"), "ip:10.0.0.0 0\n");
    expect_refused(-116, check, with_host("x/8"), "ip:x 8\n");
    EXPECT_THAT(machine.logged(),
                ElementsAre("check_user[137]: return with -116", returned(check, -116)));
    expect_refused(-116, "edit_share_arg_check",
                   {"-E", "-n", "pub", "-f", "NFS", "-u", "10.0.0.0/99", "-b", "1"},
                   "ip:10.0.0.0 99\n");
}

TEST_F(ShareChecks, RefuseInvalidGroups) {
    expect_each_refused("-C", "create_share_arg_check", new_share, "",
                        {"", "a.b", "../data", "$(x)", "da ta", std::string(33, 'g')});
    expect_refused(-123, "repair_share_arg_check",
                   {"-R", "-n", "pub", "-f", "nfs", std::string(33, 'g')});
}

TEST_F(ShareChecks, KnowAGroupOf32Characters) {
    const std::string group(32, 'g');
    manage({"-C", "-n", "pub", "-f", "samba", "-s", "5", group});
    expect_failed(-2052, "create_share_arg_check");
    EXPECT_THAT(machine.logged(), ElementsAre("Cannot find vg '" + group + "'!",
                                              returned("create_share_arg_check", -2052)));
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(ShareChecks, RefuseMoreThanTheGroupHasFree) {
    for (const auto& [action, check] : std::vector<std::pair<std::string, std::string>>{
             {"-C", "create_share_arg_check"}, {"-Q", "restore_share_arg_check"}}) {
        const Snapshot before = machine.snapshot();
        manage({action, "-n", "pub", "-f", "samba", "-s", "11", "more"});
        expect_failed(-2053, check);
        manage({action, "-n", "pub", "-f", "samba", "-s", "5", "none"});
        expect_failed(-2052, check);
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
}

TEST_F(ShareChecks, OfCreateAloneRefuseASizeOf0) {
    manage({"-C", "-n", "pub", "-f", "iscsi", "-s", "0", "data"});
    expect_failed(-2053, "create_share_arg_check");
    EXPECT_EQ(manage({"-Q", "-n", "pub", "-f", "iscsi", "-s", "0", "data"}), 0);
}

TEST_F(ShareChecks, OfTheStateComeLastAndAreLoggedAtAKnownLine) {
    for (const char* state : {"2", "10", "01", "", "x", " 1", "0 ", "-1"}) {
        expect_refused(-129, "sharemanage_main", {"-E", "-n", "pub", "-f", "samba", "-b", state});
        EXPECT_THAT(machine.logged(), ElementsAre("sharemanage_main[2017]: return with -129"));
    }
    expect_refused(-129, "sharemanage_main", {"-E", "-n", "pub", "-f", "samba"});
    expect_refused(-129, "sharemanage_main", {"-E", "-n", "pub", "-f", "iscsi", "-b", "2"});
    expect_refused(-613, "edit_share_arg_check",
                   {"-E", "-n", "pub", "-f", "samba", "-u", "nobody", "-b", "2"});
}

} // namespace
} // namespace zav::test

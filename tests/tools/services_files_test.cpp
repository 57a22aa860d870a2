// SPDX-License-Identifier: MIT
// The configuration tools: what they keep, whom they tell, and that changes at once lose none.
#include "tools/services_root.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ServiceFiles : public testing::Test {
  public:
    ServiceFiles() { root.recorded("/usr/bin/systemctl"); }

    Result tool(const std::string& name, const std::vector<std::string>& arguments) {
        return root.run_tool(ServicesRoot::adapter("/usr/local/bin/" + name), arguments);
    }

    Result merge(const std::string& action, const std::string& user) {
        return tool("fxml", {"--merge", "-f", list, action, "/etc/vsftpd/" + user});
    }

    void user_file(const std::string& user, const std::string& text) {
        root.file("/etc/vsftpd/" + user, text);
    }

    static constexpr auto list = "/etc/vsftpd_user.xml";
    ServicesRoot root;
};

TEST_F(ServiceFiles, AreKeptUnderTheirOwnPath) {
    root.file("/etc/mdfstab", "/dev/g/p\t/mnt/g/p\txfs\tdefaults\t0 0\n");
    EXPECT_EQ(tool("xconf", {"-s", "/etc/mdfstab"}).exit_status, 0);
    EXPECT_EQ(root.read("/var/lib/saved-config/etc/mdfstab"), root.read("/etc/mdfstab"));
    EXPECT_THAT(root.read("/var/lib/saved-config/log"), HasSubstr("xconf /etc/mdfstab\n"));
    EXPECT_THAT(root.list("/var/lib/saved-config/etc"), ElementsAre("mdfstab"));
    EXPECT_THAT(root.calls(), IsEmpty());
}

TEST_F(ServiceFiles, AreKeptForModelsOfBothFamilies) {
    EXPECT_EQ(tool("nasconf", {"-s", "/etc/exports_recy.conf"}).exit_status, 0);
    EXPECT_THAT(root.read("/var/lib/saved-config/log"), HasSubstr("nasconf /etc/exports_recy\n"));
}

TEST_F(ServiceFiles, OfAServiceThatRunsAreReadAgain) {
    EXPECT_EQ(tool("xconf", {"-s", "/etc/samba/smb.conf"}).exit_status, 0);
    EXPECT_EQ(tool("xconf", {"-s", "/etc/exports"}).exit_status, 0);
    EXPECT_THAT(root.calls(), ElementsAre("systemctl is-active --quiet smbd.service",
                                          "systemctl reload smbd.service",
                                          "systemctl is-active --quiet nfs-server.service",
                                          "systemctl reload nfs-server.service"));
}

TEST_F(ServiceFiles, OfAServiceThatDoesNotRunAreKeptAllTheSame) {
    root.tool("/usr/bin/systemctl").on_prefix("/usr/bin/systemctl is-active").exits(3);
    EXPECT_EQ(tool("xconf", {"-s", "/etc/exports"}).exit_status, 0);
    EXPECT_THAT(root.calls(), IsEmpty());
    root.tool("/usr/bin/systemctl").on_prefix("/usr/bin/systemctl is-active").exits(0);
    root.tool("/usr/bin/systemctl").on_prefix("/usr/bin/systemctl reload").exits(1);
    EXPECT_EQ(tool("xconf", {"-s", "/etc/exports"}).exit_status, 0);
    EXPECT_THAT(root.logged(), ElementsAre(HasSubstr("nfs-server.service was not reloaded")));
}

TEST_F(ServiceFiles, ThatAreNotThereOrNoPlainPathAreRefused) {
    EXPECT_EQ(tool("xconf", {"-s", "/etc/missing"}).exit_status, 1);
    EXPECT_EQ(tool("xconf", {"-s", "/etc/../etc/exports"}).exit_status, 1);
    EXPECT_EQ(tool("xconf", {"-s", "exports"}).exit_status, 1);
    EXPECT_EQ(tool("xconf", {"/etc/exports"}).exit_status, 2);
    EXPECT_FALSE(root.exists("/var/lib/saved-config"));
}

TEST_F(ServiceFiles, UsersAreMergedReplacedAndTakenOut) {
    user_file("anna", "write_enable=YES\nlocal_root=/home/ftpuser/a&b\n");
    user_file("bert", "write_enable=NO\n");
    root.file(list, "", 0640);
    EXPECT_EQ(merge("-a", "anna").exit_status, 0);
    EXPECT_EQ(merge("-a", "bert").exit_status, 0);
    user_file("bert", "write_enable=YES\n");
    EXPECT_EQ(merge("-a", "bert").exit_status, 0);
    EXPECT_EQ(root.read(list), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<users>\n"
                               "  <user name=\"anna\">\n"
                               "    <option name=\"write_enable\">YES</option>\n"
                               "    <option name=\"local_root\">/home/ftpuser/a&amp;b</option>\n"
                               "  </user>\n"
                               "  <user name=\"bert\">\n"
                               "    <option name=\"write_enable\">YES</option>\n"
                               "  </user>\n</users>\n");
    EXPECT_EQ(root.mode(list), 0640u);
    EXPECT_EQ(merge("-d", "anna").exit_status, 0);
    EXPECT_THAT(root.read(list), testing::Not(HasSubstr("anna")));
    EXPECT_THAT(root.read(list), HasSubstr("bert"));
}

TEST_F(ServiceFiles, ManyUsersAtOnceAreAllMerged) {
    constexpr int users = 12;
    std::vector<StartedRun> runs;
    for (int at = 0; at < users; ++at) {
        const std::string user = "user" + std::to_string(at);
        user_file(user, "write_enable=YES\n");
        runs.push_back(root.start({"--merge", "-f", list, "-a", "/etc/vsftpd/" + user},
                                  ServicesRoot::as(ServicesRoot::adapter("/usr/local/bin/fxml"))));
    }
    for (StartedRun& run : runs) {
        EXPECT_EQ(run.wait().exit_status, 0);
    }
    for (int at = 0; at < users; ++at) {
        EXPECT_THAT(root.read(list), HasSubstr("name=\"user" + std::to_string(at) + "\""));
    }
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// /etc/ietd.conf as tgt serves it: what is written for tgt, and a real target with real clients.
#include "tools/services_root.h"

#include <unistd.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr auto configuration = "/etc/tgt/conf.d/zavbox.conf";
constexpr auto heading =
    "# Made of /etc/ietd.conf by zavbox-tools: what is changed here is lost.\n";

// A target as zavbox writes it.
std::string target(const std::string& name, const std::string& users,
                   const std::string& unit = "0 Path=/dev/data/pub,Type=fileio,IOMode=wb") {
    return "Target iqn.2006-05.com.nas:" + name + "\n" + users + "\tLun " + unit +
           "\n\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n\tWthreads\t16\n";
}

class IscsiTarget : public testing::Test {
  public:
    IscsiTarget() { root.directory("/etc/tgt/conf.d"); }

    Result configure(const std::string& text) {
        root.file(targets, text);
        return root.run_tool("/usr/lib/zavbox/iscsi-config");
    }

    std::string written() const { return root.read(configuration); }

    ServicesRoot root;
};

TEST_F(IscsiTarget, HasTheUsersAndTheDiskOfTheShare) {
    const Result result = configure(target("pub.20261122", "\tIncomingUser anna annasecret\n"));
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(written(), std::string(heading) + "<target iqn.2006-05.com.nas:pub.20261122>\n"
                                                "    incominguser anna annasecret\n"
                                                "    <backing-store /dev/data/pub>\n"
                                                "        lun 1\n"
                                                "        scsi_id 0476a5f194bd407f\n"
                                                "        scsi_sn 0476a5f194bd407f\n"
                                                "        write-cache on\n"
                                                "    </backing-store>\n"
                                                "</target>\n");
    EXPECT_EQ(root.mode(configuration), 0600u);
    EXPECT_THAT(root.list("/etc/tgt/conf.d"), ElementsAre("zavbox.conf"));
}

TEST_F(IscsiTarget, KeepsTheIdentityOfADiskWhenOthersComeAndGo) {
    configure(target("b", ""));
    const std::string alone = written().substr(std::string(heading).size());
    configure(target("a", "") + target("b", ""));
    EXPECT_THAT(written(), HasSubstr(alone));
}

TEST_F(IscsiTarget, IsReadOnlyAndWrittenThroughAsTheFileSays) {
    configure(target("a", "", "0 Path=/dev/data/a,Type=blockio,IOMode=ro"));
    EXPECT_THAT(written(), HasSubstr("        write-cache off\n        readonly 1\n"));
    configure(target("a", "", "2 Path=/dev/data/a"));
    EXPECT_THAT(written(), HasSubstr("        lun 3\n"));
    EXPECT_THAT(written(), HasSubstr("        write-cache off\n    </backing-store>"));
}

TEST_F(IscsiTarget, ThatCannotBeKeptToItsUsersIsNotServed) {
    for (const char* user : {"\tIncomingUser anna\n", "\tIncomingUser anna pass;reboot\n",
                             "\tIncomingUser anna a#b\n", "\tOutgoingUser $(x) secret\n"}) {
        const Result result = configure(target("bad", user) + target("good", ""));
        EXPECT_EQ(result.exit_status, 1) << user;
        EXPECT_THAT(result.err, HasSubstr("target iqn.2006-05.com.nas:bad is not served"));
        EXPECT_THAT(result.err, Not(HasSubstr("reboot")));
        EXPECT_THAT(written(), Not(HasSubstr("bad")));
        EXPECT_THAT(written(), HasSubstr("good"));
    }
}

TEST_F(IscsiTarget, IsServedToTheUsersWhoHaveASecret) {
    const Result result =
        configure(target("pub", "\tIncomingUser anna annasecret\n\tIncomingUser bert \n"));
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_THAT(result.err, HasSubstr("user bert has no secret"));
    EXPECT_THAT(written(), HasSubstr("    incominguser anna annasecret\n    <backing-store"));
}

TEST_F(IscsiTarget, ThatTgtWouldNotUnderstandIsNotServed) {
    const std::string good = target("good", "");
    for (const std::string& bad :
         {target("bad`x`", ""), target("bad", "", "0 Path=/dev/a\"b,Type=fileio"),
          target("bad", "", "0 Type=nullio"), target("bad", "", "x Path=/dev/a"),
          target("bad", "", "0 Path=/dev/a,Type=nullio"), std::string("Target\n")}) {
        EXPECT_EQ(configure(bad + good).exit_status, 1) << bad;
        EXPECT_THAT(written(), Not(HasSubstr("bad")));
        EXPECT_THAT(written(), HasSubstr(":good>\n"));
    }
    EXPECT_EQ(configure(good + good).exit_status, 1);
    EXPECT_EQ(configure("IncomingUser for discovery\n" + good).exit_status, 1);
}

TEST_F(IscsiTarget, KnowsAUserByTheSecretOfTheNewestShare) {
    configure(target("a", "\tIncomingUser anna old\n") + target("b", "\tIncomingUser anna new\n"));
    EXPECT_THAT(written(), Not(HasSubstr("old")));
}

TEST_F(IscsiTarget, ServesNothingWithoutTheFile) {
    root.remove(targets);
    EXPECT_EQ(root.run_tool("/usr/lib/zavbox/iscsi-config").exit_status, 0);
    EXPECT_EQ(written(), heading);
}

TEST_F(IscsiTarget, ReadsTheFileAnewWheneverItStarts) {
    root.recorded("/usr/bin/systemctl");
    root.tool("/usr/sbin/tgtadm").any().prints("            Backing store path: /dev/data/pub\n");
    root.file(targets, target("pub", ""));
    const std::string script = ServicesRoot::adapter("/etc/init.d/iscsi-target");
    EXPECT_EQ(root.run_tool(script, {"start"}).exit_status, 0);
    EXPECT_THAT(root.calls(),
                ElementsAre("systemctl stop tgt.service", "systemctl reset-failed tgt.service",
                            "systemctl start tgt.service"));
    EXPECT_THAT(written(), HasSubstr("/dev/data/pub"));
}

TEST_F(IscsiTarget, WithADiskThatTgtPassesOverIsAFailure) {
    root.recorded("/usr/bin/systemctl");
    root.tool("/usr/sbin/tgtadm").any().prints("            Backing store path: None\n");
    root.file(targets, target("pub", ""));
    const std::string script = ServicesRoot::adapter("/etc/init.d/iscsi-target");
    EXPECT_EQ(root.run_tool(script, {"start"}).exit_status, 1);
    EXPECT_THAT(root.logged(), ElementsAre(HasSubstr("/dev/data/pub is not served")));
}

// A real tgtd, started and stopped as its unit says, in place of systemd; real clients.
constexpr auto systemd = R"sh(#!/.harness/busybox sh
port=$(cat /port)
case "$1 $2" in
"start tgt.service")
    /usr/sbin/tgtd -f --iscsi portal=127.0.0.1:$port >/tgtd.log 2>&1 &
    echo $! >/tgtd.pid
    tries=100
    until tgtadm --op update --mode sys --name State -v offline 2>/dev/null; do
        [ $((tries -= 1)) -gt 0 ] || exit 1
        sleep 0.05
    done
    tgt-admin -e -c /etc/tgt/targets.conf >>/tgtd.log 2>&1 || exit 1
    tgtadm --op update --mode sys --name State -v ready ;;
"stop tgt.service")
    [ -e /tgtd.pid ] || exit 0
    kill -9 "$(cat /tgtd.pid)"
    rm /tgtd.pid ;;
esac
)sh";

constexpr auto story = R"sh(#!/.harness/busybox sh
set -eu
script=/usr/lib/zavbox/tools/etc/init.d/iscsi-target
portal=127.0.0.1:$(cat /port)
$script start
iscsi-ls -s "iscsi://anna%annasecret@$portal" >/listed
name=$(sed -n 's/^Target:\([^ ]*\) .*/\1/p' /listed)
disk=$portal/$name/1
qemu-io -f raw -c 'write -P 0xa5 1M 64k' "iscsi://anna%annasecret@$disk"
qemu-io -f raw -c 'read -P 0xa5 1M 64k' -c 'read -P 0 2M 64k' "iscsi://anna%annasecret@$disk"
! qemu-io -f raw -c 'read 0 4k' "iscsi://anna%wrong@$disk" 2>&1 || echo 'a wrong secret is enough'
! qemu-io -f raw -c 'read 0 4k' "iscsi://$disk" 2>&1 || echo 'none is needed'
: >/etc/ietd.conf
$script stop
$script start
echo "left: $(iscsi-ls "iscsi://$portal")"
$script stop
)sh";

TEST_F(IscsiTarget, OfAShareIsReadAndWrittenByAClient) {
    for (const char* program : {"/usr/sbin/tgtd", "/usr/sbin/tgtadm", "/usr/sbin/tgt-admin",
                                "/usr/bin/perl", "/usr/bin/iscsi-ls", "/usr/bin/qemu-io"}) {
        root.bind(program, program);
    }
    root.bind("/usr/share", "/usr/share");
    root.file("/etc/tgt/targets.conf", "include /etc/tgt/conf.d/*.conf\n");
    root.file("/usr/bin/systemctl", systemd, 0755).file("/story", story, 0755);
    root.file("/port", std::to_string(20000 + getpid() % 20000));
    root.symlink("/proc/self/fd", "/dev/fd");
    root.tool("/sbin/lvcreate").any().does("mkdir -p /dev/data; truncate -s 16M /dev/data/pub");
    const Result made = root.run(
        {"sharemanage", "--create", "-n", "pub", "-f", "iscsi", "-s", "1", "-u", "anna", "data"});
    ASSERT_EQ(made.out, "");
    ASSERT_EQ(made.exit_status, 0);

    const Result result = root.run_tool("/story");
    EXPECT_EQ(result.exit_status, 0) << result.out << result.err << root.read("/tgtd.log");
    EXPECT_THAT(root.read("/listed"), HasSubstr("Target:iqn.2006-05.com.nas:pub."));
    EXPECT_THAT(root.read("/listed"), HasSubstr("Lun:1    Type:DIRECT_ACCESS (Size:15M)"));
    EXPECT_THAT(result.out, HasSubstr("wrote 65536/65536 bytes at offset 1048576"));
    EXPECT_THAT(result.out, HasSubstr("read 65536/65536 bytes at offset 1048576"));
    EXPECT_THAT(result.out, Not(HasSubstr("Pattern verification failed")));
    EXPECT_THAT(result.out, Not(HasSubstr("wrong secret is enough")));
    EXPECT_THAT(result.out, Not(HasSubstr("none is needed")));
    EXPECT_THAT(result.out, testing::EndsWith("left: \n"));
    EXPECT_EQ(root.read("/dev/data/pub").substr(1048576, 65536), std::string(65536, '\xa5'));
}

} // namespace
} // namespace zav::test

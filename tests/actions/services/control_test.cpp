// SPDX-License-Identifier: MIT
// Running the init scripts of the services.
#include "actions/services/control.h"
#include "fixtures/share_machine.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ServiceRestart : public testing::Test {
  protected:
    Texts restart(const char* type) {
        return outside(machine.operation([type] {
            restart_service(type);
            return 0;
        }));
    }
    // The two commands of a script.
    static auto stop_and_start(const std::string& script) {
        return ElementsAre("/etc/init.d/" + script + " stop > /dev/null",
                           "/etc/init.d/" + script + " start > /dev/null");
    }
    ShareMachine machine;
};

TEST_F(ServiceRestart, StopsAndStartsTheScriptOfTheService) {
    EXPECT_THAT(restart("samba"), stop_and_start("samba"));
    EXPECT_THAT(restart("nfs"), stop_and_start("nfs"));
    EXPECT_THAT(restart("ftp"), stop_and_start("vsftpd"));
    EXPECT_THAT(restart("iscsi"), stop_and_start("iscsi-target"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ServiceRestart, KnowsTheServiceInAnyCase) {
    EXPECT_THAT(restart("SAMBA"), stop_and_start("samba"));
    EXPECT_THAT(restart("iSCSI"), stop_and_start("iscsi-target"));
}

TEST_F(ServiceRestart, DoesNothingForAnotherName) {
    for (const char* type : {"", "cifs", "samba,nfs", "vsftpd", "; id"}) {
        EXPECT_THAT(restart(type), IsEmpty()) << type;
    }
}

TEST_F(ServiceRestart, StartsAServiceThatCannotBeStopped) {
    machine.tool("/etc/init.d/samba").on("/etc/init.d/samba stop").exits(1);
    machine.tool("/etc/init.d/samba").on("/etc/init.d/samba start").killed_by(SIGKILL);
    EXPECT_THAT(restart("samba"), stop_and_start("samba"));
    EXPECT_THAT(
        machine.logged(),
        ElementsAre(failed("/etc/init.d/samba stop > /dev/null", "normal with exit(1)"),
                    failed("/etc/init.d/samba start > /dev/null", "unnormal with exit(0)")));
}

TEST_F(ServiceRestart, LogsThatAScriptIsMissing) {
    machine.remove("/etc/init.d/nfs");
    EXPECT_THAT(restart("nfs"), stop_and_start("nfs"));
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed("/etc/init.d/nfs stop > /dev/null", "normal with exit(127)"),
                            failed("/etc/init.d/nfs start > /dev/null", "normal with exit(127)")));
}

} // namespace
} // namespace zav::test

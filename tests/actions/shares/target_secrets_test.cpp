// SPDX-License-Identifier: MIT
// The secrets in the targets' file come from the appliance's user file with every change.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::IsEmpty;

class TargetSecrets : public ShareOperation {
  protected:
    TargetSecrets() {
        machine.directory("/etc/lvm/backup");
        has_share("iscsi");
        machine.shares({{.name = "vault", .service = "iscsi", .path = "/dev/data/vault"},
                        {.service = "iscsi", .path = "/dev/data/pub"}});
        machine.file(targets, vault + target_of("pub.20240502140305", "/dev/data/pub"));
    }
    Result remove() {
        return operate([] { return delete_share("pub", printed()); });
    }
    const std::string vault =
        target_of("vault.20240502140305", "/dev/data/vault", "\tIncomingUser anna annasecret\n");
};

TEST_F(TargetSecrets, StayWhenTheUserFileCannotBeRead) {
    const auto expect_refused = [this] {
        const Snapshot before = machine.snapshot();
        const Result result = remove();
        EXPECT_EQ(result.returned, -504);
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
        EXPECT_THAT(machine.logged(), Contains(testing::HasSubstr("return with -2069")));
    };
    machine.file(user_file, "anna|1001|annasecret\n" + std::string(5 << 20, '#'));
    expect_refused();
    machine.remove(user_file).directory(user_file);
    expect_refused();
}

TEST_F(TargetSecrets, AreNotAskedForWithoutUsers) {
    machine.remove(user_file).directory(user_file);
    machine.file(targets, target_of("pub.20240502140305", "/dev/data/pub"));
    EXPECT_EQ(remove().returned, 0);
}

TEST_F(TargetSecrets, AreEmptyWithoutTheUserFile) {
    machine.remove(user_file);
    EXPECT_EQ(remove().returned, 0);
    EXPECT_EQ(machine.read(targets),
              target_of("vault.20240502140305", "/dev/data/vault", "\tIncomingUser anna \n"));
}

} // namespace
} // namespace zav::test

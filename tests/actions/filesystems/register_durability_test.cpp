// SPDX-License-Identifier: MIT
// The register of mounted file systems is whole at every moment: while it is replaced, when that
// fails midway, after a run that was killed. No lock is waited for without an end.
#include "actions/filesystems/filesystems.h"
#include "base/change_journal.h"
#include "base/file_locks.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "inventory/filesystems.h"

#include <csignal>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::IsEmpty;
using testing::Not;

const std::string kept = "/dev/data/a /mnt/data/a xfs\n";
const std::string whole = kept + "/dev/data/pool /mnt/data/pool xfs\n";
const std::string added = "/dev/data/new\t/mnt/data/new\txfs\tdefaults\t0 0\n";

// mv as it works between two file systems: the target is removed, made anew and filled.
constexpr auto slow_copy = "rm \"$2\"; : > \"$2\"; echo > /var/moving; "
                           "while ! [ -e /var/go ]; do sleep 0.01; done; "
                           "cat \"$1\" > \"$2\"; chmod 640 \"$2\"; rm \"$1\"";

class DurableRegister : public testing::Test {
  protected:
    DurableRegister() { machine.file(mdfstab, whole, 0640); }

    StartedRun adding() {
        return machine.start_call(
            [] { return mdfstab_add("/mnt/data/new", "data", "new", product_fs_type()); });
    }
    StartedRun removing() {
        return machine.start_call([] { return mdfstab_remove("/mnt/data/pool"); });
    }
    StartedRun moving() {
        machine.tool(pool_tool::mv).any().does(slow_copy);
        StartedRun run = removing();
        EXPECT_TRUE(machine.appears("/var/moving"));
        return run;
    }
    bool lists(const char* pool) {
        return machine.call([pool] { return mdfstab_has(pool); }).returned == 1;
    }
    // Of the files beside the register none is left.
    Texts left() const {
        Texts names = machine.list("/etc");
        std::erase_if(names, [](const std::string& name) { return !name.starts_with("."); });
        return names;
    }
    // A run that was cut short had begun to write this.
    void write_journal_of(const std::string& text) {
        const JournalEntry entry = {mdfstab, text, whole};
        machine.file(journal_path(mdfstab), journal_text({&entry, 1}), 0640);
    }
    PoolMachine machine;
};

TEST_F(DurableRegister, KeepsALineThatIsAddedWhileItIsReplaced) {
    StartedRun removal = moving();
    StartedRun addition = adding();
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // it must be waiting by now
    machine.file("/var/go", "");
    EXPECT_EQ(removal.wait().returned, 0);
    EXPECT_EQ(addition.wait().returned, 0);
    EXPECT_EQ(machine.read(mdfstab), kept + added);
    EXPECT_THAT(left(), IsEmpty());
}

TEST_F(DurableRegister, IsReadAsAWholeWhileItIsReplaced) {
    StartedRun removal = moving();
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_TRUE(lists("a"));
    EXPECT_FALSE(lists("pool"));
    machine.file("/var/go", "");
    EXPECT_EQ(removal.wait().returned, 0);
}

TEST_F(DurableRegister, StandsWhenAMoveStopsMidway) {
    for (const char* snippet :
         {"rm \"$2\"; exit 1", ": > \"$2\"; exit 1", "head -c 5 \"$1\" > \"$2\"; exit 1",
          "rm \"$2\"; head -c 5 \"$1\" > \"$2\"; chmod 600 \"$2\"; exit 1",
          "rm \"$2\"; head -c 5 \"$1\" > \"$2\"; rm \"$1\"", "rm \"$1\" \"$2\"", ":",
          "mv \"$1\" \"$2\"; exit 1"}) {
        machine.tool(pool_tool::mv).any().does(snippet);
        struct stat before = {};
        ::stat(machine.host_path(mdfstab).c_str(), &before);
        const Result run = removing().wait();
        EXPECT_EQ(run.returned, -11000) << snippet;
        ASSERT_TRUE(machine.exists(mdfstab)) << snippet;
        EXPECT_EQ(machine.read(mdfstab), whole) << snippet;
        EXPECT_EQ(machine.mode(mdfstab), 0640U) << snippet;
        EXPECT_THAT(left(), IsEmpty()) << snippet;
        EXPECT_THAT(outside(run), testing::SizeIs(1)) << "nothing to save: " << snippet;
    }
}

TEST_F(DurableRegister, IsMadeWholeAfterARunThatWasKilledWhileItReplacedIt) {
    StartedRun removal = moving();
    removal.signal(SIGKILL);
    removal.wait();
    EXPECT_EQ(machine.read(mdfstab), "");
    machine.remove("/tmp").directory("/tmp", 01777);
    EXPECT_TRUE(lists("a"));
    EXPECT_EQ(adding().wait().returned, 0);
    EXPECT_EQ(machine.read(mdfstab), kept + added);
    EXPECT_EQ(machine.mode(mdfstab), 0640U);
    EXPECT_THAT(left(), IsEmpty());
}

TEST_F(DurableRegister, BecomesWhatARunThatWasCutShortHadBegunToWrite) {
    for (const std::string& found : {std::string(), whole.substr(0, 30), whole}) {
        machine.file(mdfstab, found, 0640);
        write_journal_of(kept);
        EXPECT_TRUE(lists("a"));
        EXPECT_FALSE(lists("pool"));
        EXPECT_EQ(adding().wait().returned, 0);
        EXPECT_EQ(machine.read(mdfstab), kept + added);
        EXPECT_EQ(machine.mode(mdfstab), 0640U);
        EXPECT_THAT(left(), IsEmpty());
    }
}

TEST_F(DurableRegister, KeepsWhatSomebodyElseWroteAfterARunThatWasCutShort) {
    write_journal_of(kept);
    machine.file(mdfstab, whole + "/dev/data/own /mnt/data/own xfs\n", 0640);
    EXPECT_TRUE(lists("pool"));
    EXPECT_EQ(adding().wait().returned, 0);
    EXPECT_EQ(machine.read(mdfstab), whole + "/dev/data/own /mnt/data/own xfs\n" + added);
    EXPECT_THAT(left(), IsEmpty());
}

TEST_F(DurableRegister, ComesBackWhenARunThatWasCutShortHadRemovedIt) {
    for (const bool adds : {true, false}) {
        machine.remove(mdfstab);
        write_journal_of(whole);
        EXPECT_EQ((adds ? adding() : removing()).wait().returned, 0);
        EXPECT_TRUE(machine.read(mdfstab).starts_with(kept));
        EXPECT_THAT(left(), IsEmpty());
    }
}

TEST_F(DurableRegister, PassesOverAJournalThatWasCutShortItself) {
    const JournalEntry entry = {mdfstab, "nonsense\n"};
    const std::string journal = journal_text({&entry, 1});
    machine.file(journal_path(mdfstab), journal.substr(0, journal.size() - 2), 0600);
    EXPECT_TRUE(lists("pool"));
    EXPECT_EQ(adding().wait().returned, 0);
    EXPECT_EQ(machine.read(mdfstab), whole + added);
}

// Anybody who can read the register can lock it.
TEST_F(DurableRegister, IsNotWaitedForWithoutAnEnd) {
    machine.file(netfstab, "");
    const LockedFile reader(machine.host_path(mdfstab), 0, 0, F_RDLCK);
    const int fd = ::open(machine.host_path(netfstab).c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);
    const auto start = std::chrono::steady_clock::now();
    StartedRun addition = adding();
    StartedRun look_up = machine.start_call([] {
        std::string text;
        return read_register(netfstab, text);
    });
    EXPECT_EQ(addition.wait().returned, -1066);
    EXPECT_EQ(look_up.wait().returned, -1);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    ::close(fd);
    EXPECT_EQ(machine.read(mdfstab), whole);
    EXPECT_THAT(left(), IsEmpty());
    EXPECT_THAT(machine.logged(), Not(IsEmpty()));
}

} // namespace
} // namespace zav::test

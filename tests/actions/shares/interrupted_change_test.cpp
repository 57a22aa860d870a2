// SPDX-License-Identifier: MIT
// A change of several share files that was cut short: finished by the next action before that reads
// anything, read by listings as it will be.
#include "actions/shares/steps.h"
#include "base/change_journal.h"
#include "fixtures/library.h"
#include "fixtures/share_operation.h"
#include "inventory/shares.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto change_journal = "/etc/.sharefolder.conf.zav";

std::string finished(const std::string& path) {
    return "finished the change of " + path + " that was cut short";
}
std::string taken_back(const std::string& path) {
    return "took back the change of " + path + " that was cut short";
}
std::string dropped(const std::string& path) {
    return "the change of " + path + " that was cut short is dropped: it was changed since";
}

// What is on the disk of an entry's file.
std::string half_written(const JournalEntry& entry) {
    const std::size_t half = entry.text.size() / 2;
    return entry.text.substr(0, half) +
           (half < entry.before.size() ? entry.before.substr(half) : "");
}

// The share "pub" of anna was being forbidden: its service leaves the register, its section moves
// from smb.conf to the recycle file.
class InterruptedChange : public ShareOperation {
  protected:
    InterruptedChange() { cut_short(); }

    // The journal is there, and the first files have their new contents, the next one a half of it.
    void cut_short(std::size_t written = 0, bool is_next_half_written = false) {
        machine.file(change_journal, journal_text(entries), 0600);
        for (std::size_t at = 0; at < entries.size(); ++at) {
            const JournalEntry& entry = entries[at];
            const bool is_half = at == written && is_next_half_written;
            machine.file(entry.path, at < written ? entry.text
                                     : is_half    ? half_written(entry)
                                                  : entry.before);
        }
        machine.file(exports, "");
        machine.remove("/var/log/log.libzav");
    }
    // Adds an export, which has nothing to do with the files of Samba.
    Result act(const RunOptions& options = {}) {
        return operate(
            [] {
                ShareFiles files;
                return add_share(files, share_of("nfs", "", "", "second"));
            },
            options);
    }
    void expect_finished() {
        EXPECT_EQ(machine.read(share_register), forbidden_section() + second_section);
        EXPECT_EQ(machine.read(smb_conf), samba_global);
        EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
        EXPECT_EQ(machine.read(exports), export_of("/mnt/data/second"));
        EXPECT_FALSE(machine.exists(change_journal));
    }
    // "name|service|users" of each share that a listing shows.
    std::string listed() {
        return operate([] {
                   share_list list;
                   EXPECT_EQ(collect_shares(list), 0);
                   merge_forbidden_shares(list);
                   for (const share_info& share : list) {
                       std::printf("%s|%s|%s\n", share.name.c_str(), share.type.c_str(),
                                   share.users.c_str());
                   }
                   return 0;
               })
            .out;
    }

    const std::string second_section =
        register_section({.name = "second", .service = "nfs", .path = "/mnt/data/second"});
    const std::string old_samba = samba_global + samba_section("pub", directory, "anna");
    const std::vector<JournalEntry> entries = {
        {share_register, forbidden_section(), register_section({})},
        {smb_conf, samba_global, old_samba},
        {smb_recycle, recycled_pub("anna"), ""}};
};

TEST_F(InterruptedChange, IsFinishedByTheNextActionBeforeAnyFileWasTouched) {
    const Result result = act();
    EXPECT_EQ(result.returned, 0);
    expect_finished();
    EXPECT_THAT(outside(result),
                ElementsAre(saved(share_register), saved(smb_conf), saved(smb_recycle),
                            saved(share_register), saved(exports)));
    EXPECT_THAT(machine.logged(),
                ElementsAre(finished(share_register), finished(smb_conf), finished(smb_recycle)));
}

TEST_F(InterruptedChange, IsFinishedAfterACutInTheMiddleOfAFile) {
    for (std::size_t written = 0; written < entries.size(); ++written) {
        cut_short(written, true);
        EXPECT_EQ(act().returned, 0) << written;
        expect_finished();
    }
}

TEST_F(InterruptedChange, IsFinishedAfterACutBetweenTwoFiles) {
    for (std::size_t written = 1; written < entries.size(); ++written) {
        cut_short(written);
        EXPECT_EQ(act().returned, 0) << written;
        expect_finished();
    }
}

TEST_F(InterruptedChange, IsFinishedWhenOnlyItsJournalWasLeft) {
    cut_short(entries.size());
    const Result result = act();
    EXPECT_EQ(result.returned, 0);
    expect_finished();
    EXPECT_THAT(outside(result), testing::IsSupersetOf({saved(smb_conf), saved(smb_recycle)}))
        << "the configuration tool may not have got them";
}

TEST_F(InterruptedChange, IsFinishedBeforeAnythingElseIsRead) {
    machine.file(change_journal, journal_text({{{share_register, second_section, ""}}}));
    machine.file(share_register, "");
    EXPECT_EQ(act().returned, -2066) << "the name is taken by the change that was cut short";
    EXPECT_EQ(machine.read(share_register), second_section);
}

TEST_F(InterruptedChange, MakesAFileThatIsMissing) {
    machine.remove(smb_recycle);
    EXPECT_EQ(act().returned, 0);
    expect_finished();
}

TEST_F(InterruptedChange, IsWhatAListingReadsHoweverMuchWasWritten) {
    for (std::size_t written = 0; written <= entries.size(); ++written) {
        for (const bool is_next_half_written : {false, true}) {
            cut_short(written, is_next_half_written);
            const Snapshot before = machine.snapshot();
            EXPECT_EQ(listed(), "pub||anna\n") << written;
            EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty()) << "it only reads";
        }
    }
}

// It had failed, and the old texts were not all back.
TEST_F(InterruptedChange, IsTakenBackByTheNextActionWhenItHadFailed) {
    for (std::size_t written = 0; written <= entries.size(); ++written) {
        cut_short(written, true);
        machine.file(std::string(change_journal) + ".back", journal_text(entries));
        machine.remove(change_journal);
        EXPECT_EQ(listed(), "pub|samba|anna\n") << written;
        EXPECT_EQ(act().returned, 0) << written;
        EXPECT_EQ(machine.read(share_register), register_section({}) + second_section);
        EXPECT_EQ(machine.read(smb_conf), old_samba);
        EXPECT_EQ(machine.read(smb_recycle), "");
        EXPECT_FALSE(machine.exists(std::string(change_journal) + ".back"));
    }
}

// The share would be in use without its users, or forbidden and served for ever.
TEST_F(InterruptedChange, IsTakenBackWhenAnOldFileWasEditedSince) {
    for (std::size_t written = 0; written < 2; ++written) {
        cut_short(written, true);
        const std::string edited = old_samba + "# edited by hand\n";
        machine.file(smb_conf, edited);
        EXPECT_EQ(listed(), "pub|samba|anna\n");
        EXPECT_EQ(act().returned, 0);
        EXPECT_EQ(machine.read(smb_conf), edited);
        EXPECT_EQ(machine.read(share_register), register_section({}) + second_section);
        EXPECT_EQ(machine.read(smb_recycle), "");
        EXPECT_FALSE(machine.exists(change_journal));
        EXPECT_THAT(machine.logged(), ElementsAre(taken_back(share_register), dropped(smb_conf),
                                                  taken_back(smb_recycle)));
    }
}

TEST_F(InterruptedChange, IsFinishedWhenANewFileWasEditedSince) {
    cut_short(2);
    const std::string edited = std::string(samba_global) + "# edited by hand\n";
    machine.file(smb_conf, edited);
    EXPECT_EQ(listed(), "pub||anna\n");
    EXPECT_EQ(act().returned, 0);
    EXPECT_EQ(machine.read(smb_conf), edited);
    EXPECT_EQ(machine.read(share_register), forbidden_section() + second_section);
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
    EXPECT_FALSE(machine.exists(change_journal));
    EXPECT_THAT(machine.logged(),
                ElementsAre(finished(share_register), dropped(smb_conf), finished(smb_recycle)));
}

// Its command may have ended with 0.
TEST_F(InterruptedChange, IsNotTakenBackOnceItWasComplete) {
    cut_short(entries.size());
    machine.file(smb_conf, old_samba + "# put back by hand\n");
    EXPECT_EQ(listed(), "pub||anna\n");
    EXPECT_EQ(act().returned, 0);
    EXPECT_EQ(machine.read(share_register), forbidden_section() + second_section);
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
}

TEST_F(InterruptedChange, IsWhatAListingReadsOfTargets) {
    const std::string target =
        target_of("pub.20240502140305", "/dev/data/pub", "\tIncomingUser anna secret\n");
    machine.file(share_register, register_section({.service = "iscsi", .path = "/dev/data/pub"}));
    machine.file(change_journal, journal_text({{{targets, target, ""}}}));
    for (const std::size_t written : {0U, 40U, 100U}) {
        machine.file(targets, target.substr(0, written));
        EXPECT_EQ(listed(), "pub|iSCSI|anna\n") << written;
    }
}

TEST_F(InterruptedChange, IsNotWhatAListingReadsOfAFileThatWasChangedSince) {
    cut_short(0);
    machine.file(share_register, register_section({.service = "nfs", .comment = "by hand"}));
    EXPECT_EQ(listed(), "pub|nfs|\n");
}

TEST_F(InterruptedChange, WithAnIncompleteJournalIsNothing) {
    const std::string journal = journal_text(entries);
    std::string with_a_hole = journal;
    with_a_hole.replace(journal.size() - 80, 40, 40, '\0');
    for (const std::string& incomplete :
         {std::string(), journal.substr(0, 17), journal.substr(0, journal.size() / 2),
          journal.substr(0, journal.size() - 1), with_a_hole}) {
        cut_short();
        machine.file(change_journal, incomplete);
        SCOPED_TRACE(incomplete);
        EXPECT_EQ(listed(), "pub|samba|anna\n");
        EXPECT_EQ(act().returned, 0);
        EXPECT_EQ(machine.read(share_register), register_section({}) + second_section);
        EXPECT_EQ(machine.read(smb_conf), old_samba);
        EXPECT_EQ(machine.read(smb_recycle), "");
        EXPECT_FALSE(machine.exists(change_journal)) << "the change after it has replaced it";
        EXPECT_THAT(machine.logged(), IsEmpty());
    }
}

TEST_F(InterruptedChange, StopsTheNextActionWhileAFileIsLocked) {
    for (const JournalEntry& entry : entries) {
        cut_short(1);
        const Snapshot before = machine.snapshot();
        {
            const LockedFile other(machine.host_path(entry.path));
            EXPECT_EQ(act().returned, -2062) << entry.path;
        }
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty()) << entry.path;
        EXPECT_EQ(act().returned, 0);
        expect_finished();
    }
}

// The memory of a process cannot be read at its beginning.
TEST_F(InterruptedChange, StopsTheNextActionWhenItsJournalCannotBeRead) {
    machine.bind("/proc/self/mem", change_journal, true);
    const Snapshot before = machine.snapshot();
    EXPECT_EQ(act().returned, -2060);
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(InterruptedChange, WaitsForRoomOnAFullDisk) {
    const Result result = act(with_largest_file(recycled_pub("anna").size() - 1));
    EXPECT_EQ(result.returned, -2064);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_EQ(machine.read(change_journal), journal_text(entries));
    EXPECT_EQ(listed(), "pub||anna\n");
    EXPECT_EQ(act().returned, 0) << "once there is room";
    expect_finished();
}

} // namespace
} // namespace zav::test

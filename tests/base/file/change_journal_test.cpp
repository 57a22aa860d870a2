// SPDX-License-Identifier: MIT
// The journal of a change: written beside the file, complete or worth nothing, finished by readers.
#include "base/change_journal.h"
#include "base/shared_sync.h"
#include "fixtures/library.h"
#include "fixtures/refused_calls.h"
#include "private_root.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/resource.h>

namespace zav::test {
namespace {

using testing::IsEmpty;
using testing::Optional;

constexpr auto path = "/etc/register";
constexpr auto journal = "/etc/.register.zav";

std::vector<JournalEntry> two_files() {
    return {{"/etc/register", "first\n", "old\n"}, {"/etc/other", std::string("a\0b", 3)}};
}

TEST(Journal, LiesBesideItsFile) {
    EXPECT_EQ(journal_path("/etc/samba/smb.conf"), "/etc/samba/.smb.conf.zav");
    EXPECT_EQ(journal_path("name"), ".name.zav");
}

TEST(Journal, GivesEntriesBackWhateverTheyHold) {
    const auto entries = parse_journal(journal_text(two_files()));
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 2U);
    EXPECT_EQ((*entries)[0].path, "/etc/register");
    EXPECT_EQ((*entries)[0].text, "first\n");
    EXPECT_EQ((*entries)[0].before, "old\n");
    EXPECT_EQ((*entries)[1].path, "/etc/other");
    EXPECT_EQ((*entries)[1].text, std::string("a\0b", 3));
    EXPECT_THAT(parse_journal(journal_text({})), Optional(testing::SizeIs(0)));
}

TEST(Journal, CutAnywhereIsWorthNothing) {
    const std::string text = journal_text(two_files());
    for (std::size_t size = 0; size < text.size(); ++size) {
        EXPECT_FALSE(parse_journal(text.substr(0, size))) << size;
    }
    EXPECT_FALSE(parse_journal(text + "x"));
}

TEST(Journal, WithAnyOtherByteIsWorthNothing) {
    const std::string text = journal_text(two_files());
    for (std::size_t at = 0; at < text.size(); ++at) {
        std::string changed = text;
        changed[at] = static_cast<char>(changed[at] ^ 1);
        EXPECT_FALSE(parse_journal(changed)) << at;
    }
}

TEST(Journal, IsForItsOwnerAndLeavesNothingElse) {
    PrivateRoot root;
    EXPECT_EQ(root.call([] { return write_journal(path, two_files()); }).returned, 1);
    EXPECT_EQ(root.mode(journal), 0600U);
    EXPECT_EQ(root.read(journal), journal_text(two_files()));
    root.call([] {
        remove_journal(path);
        return 0;
    });
    EXPECT_THAT(root.list("/etc"), IsEmpty());
}

// After a power cut it would be there again, and undo what was done since.
TEST(Journal, IsGoneForGoodWhenTheOperationEnds) {
    PrivateRoot root;
    root.call([] {
        EXPECT_TRUE(write_journal(path, two_files()));
        SharedSync sync;
        deny_syncs();
        remove_journal(path);
        EXPECT_FALSE(sync.finish()) << "its removal was not left to be synced";
        EXPECT_EQ(errno, EIO);
        remove_journal(path);
        EXPECT_TRUE(sync.finish()) << "there was none to remove";
        return 0;
    });
}

TEST(Journal, ThatCannotBeWrittenIsNone) {
    PrivateRoot root;
    for (const rlim_t room : {0U, 1U, 20U, 60U}) {
        const Result run =
            root.call([] { return write_journal(path, two_files()); },
                      {.limits = {{RLIMIT_FSIZE, room}}, .ignored_signals = {SIGXFSZ}});
        EXPECT_EQ(run.returned, 0) << room;
        EXPECT_THAT(root.list("/etc"), IsEmpty()) << room;
    }
}

TEST(Journal, TellsWhatAnInterruptedChangeHasLeftFromWhatSomebodyElseWrote) {
    const JournalEntry entry = {path, "new text\n", "what it was\n"};
    for (const char* left : {"", "what it was\n", "new text\n", "new text", "new text\nas\n",
                             "newtitexas\n", "what ", "new it wxs\n"}) {
        EXPECT_EQ(is_unfinished(entry, left),
                  left != std::string("newtitexas\n") && left != std::string("new it wxs\n"))
            << left;
    }
    EXPECT_TRUE(is_unfinished(entry, std::nullopt));
    EXPECT_FALSE(is_unfinished(entry, "what it was\nand more\n"));
    EXPECT_TRUE(is_unfinished(entry, std::string("new\0text\n", 9)));
    EXPECT_FALSE(is_unfinished(entry, std::string(13, '\0')));
}

TEST(Journal, KnowsRoomThatWasNotFilledYet) {
    const JournalEntry entry = {path, "text, longer than before\n", "text\n"};
    EXPECT_TRUE(is_unfinished(entry, "text\n" + std::string(20, '\0')));
    EXPECT_FALSE(is_unfinished(entry, "text\n" + std::string(21, '\0')));
    EXPECT_TRUE(is_unfinished(entry, std::string(5, '\0')));
}

// Opens a file for change_files() to write to, or not to.
FileChange change_of(const char* file, const FileDescriptor& fd, const char* after) {
    return {file, fd.get(), read_file(file).value_or(""), after};
}

TEST(FilesOfOneChange, AreAllNewAndHaveNoJournal) {
    PrivateRoot root;
    root.file(path, "old\n").file("/etc/other", "other\n");
    root.call([] {
        const auto fd = FileDescriptor::open(path, O_RDWR);
        const auto other = FileDescriptor::open("/etc/other", O_RDWR);
        const std::vector<FileChange> changes = {change_of(path, fd, "new\n"),
                                                 change_of("/etc/other", other, "")};
        EXPECT_FALSE(change_files(path, changes));
        return 0;
    });
    EXPECT_EQ(root.read(path), "new\n");
    EXPECT_EQ(root.read("/etc/other"), "");
    EXPECT_THAT(root.list("/etc"), testing::ElementsAre("other", "register"));
}

TEST(FilesOfOneChange, AreAllOldWhenOneCannotBeWritten) {
    PrivateRoot root;
    root.file(path, "old\n").file("/etc/other", "other\n");
    root.call([] {
        const auto fd = FileDescriptor::open(path, O_RDWR);
        const auto other = FileDescriptor::open("/etc/other", O_RDONLY);
        const std::vector<FileChange> changes = {change_of(path, fd, "new\n"),
                                                 change_of("/etc/other", other, "new\n")};
        const auto failure = change_files(path, changes);
        EXPECT_TRUE(failure && failure->file == 1 && !failure->is_locked);
        return 0;
    });
    EXPECT_EQ(root.read(path), "old\n");
    EXPECT_EQ(root.read("/etc/other"), "other\n");
    // Nothing could be put back into the other: what is found is to be taken back.
    EXPECT_THAT(root.list("/etc"), testing::ElementsAre(".register.zav.back", "other", "register"));
    root.file(path, "new\n");
    root.call([] {
        EXPECT_THAT(read_settled(path, path), Optional(std::string("old\n")));
        remove_journal(path);
        return 0;
    });
    EXPECT_THAT(root.list("/etc"), testing::ElementsAre("other", "register"));
}

// The place of the file that prepare_change() has no room for, when the file system says so.
std::optional<std::size_t> full_file(int error, const char* after) {
    refuse_calls({{SYS_fallocate, error}});
    const auto fd = FileDescriptor::open(path, O_RDWR);
    const auto other = FileDescriptor::open("/etc/other", O_RDWR);
    const std::vector<FileChange> changes = {change_of(path, fd, "new\n"),
                                             change_of("/etc/other", other, after)};
    return prepare_change(path, changes);
}

TEST(PreparedChange, HasRoomForEveryFileThatGrows) {
    PrivateRoot root;
    root.file(path, "old\n").file("/etc/other", "other\n");
    for (const int error : {ENOSPC, EDQUOT, EFBIG}) {
        root.call([error] {
            EXPECT_THAT(full_file(error, "a longer text\n"), Optional(std::size_t{1}));
            return 0;
        });
    }
    root.call([] {
        EXPECT_EQ(full_file(ENOSPC, "short"), std::nullopt);
        return 0;
    });
    // Where no room can be reserved, writing tells.
    root.call([] {
        EXPECT_EQ(full_file(EOPNOTSUPP, "a longer text\n"), std::nullopt);
        return 0;
    });
    EXPECT_EQ(root.read("/etc/other"), "other\n");
}

TEST(FilesOfOneChange, StayWhenSomebodyKeepsReadingOne) {
    PrivateRoot root;
    root.file(path, "old\n").file("/etc/other", "other\n");
    root.call([] {
        const auto reader = FileDescriptor::open("/etc/other", O_RDONLY);
        EXPECT_TRUE(lock_for_reading(reader.get()));
        const auto fd = FileDescriptor::open(path, O_RDWR);
        const auto other = FileDescriptor::open("/etc/other", O_RDWR);
        const std::vector<FileChange> changes = {change_of(path, fd, "new\n"),
                                                 change_of("/etc/other", other, "new\n")};
        const auto failure = change_files(path, changes);
        EXPECT_TRUE(failure && failure->file == 1 && failure->is_locked);
        return 0;
    });
    EXPECT_EQ(root.read(path), "old\n");
    EXPECT_THAT(root.list("/etc"), testing::ElementsAre("other", "register"));
}

// An editor puts a new file in the place of the old one, and knows no lock.
TEST(FilesOfOneChange, StayWhenSomebodyHasReplacedOne) {
    for (const bool is_prepared : {false, true}) {
        PrivateRoot root;
        root.file(path, "old\n").file("/etc/other", "other\n").file("/etc/edited", "edited\n");
        root.call([is_prepared] {
            const auto fd = FileDescriptor::open(path, O_RDWR);
            const auto other = FileDescriptor::open("/etc/other", O_RDWR);
            const std::vector<FileChange> changes = {change_of(path, fd, "new\n"),
                                                     change_of("/etc/other", other, "new\n")};
            EXPECT_FALSE(is_prepared && prepare_change(path, changes));
            EXPECT_EQ(::rename("/etc/edited", "/etc/other"), 0);
            const auto failure =
                is_prepared ? change_prepared_files(path, changes) : change_files(path, changes);
            EXPECT_TRUE(failure && failure->file == 1 && failure->is_locked);
            forget_prepared_change(path);
            return 0;
        });
        EXPECT_EQ(root.read(path), "old\n");
        EXPECT_EQ(root.read("/etc/other"), "edited\n");
        EXPECT_THAT(root.list("/etc"), testing::ElementsAre("other", "register"));
    }
}

TEST(Journal, OfSomebodyElseIsNone) {
    PrivateRoot root;
    root.file(path, "old\n").file(journal, journal_text(two_files()));
    ASSERT_EQ(::chown(root.host_path(journal).c_str(), 1234, 1234), 0);
    root.call([] {
        EXPECT_THAT(read_settled(path, path), Optional(std::string("old\n")));
        return 0;
    });
    root.remove(journal).file("/etc/journal", journal_text(two_files()));
    root.symlink("/etc/journal", journal);
    root.call([] {
        EXPECT_THAT(read_settled(path, path), Optional(std::string("old\n")));
        return 0;
    });
}

TEST(Journal, ThatNothingWouldReadIsNotWritten) {
    PrivateRoot root;
    root.call([] {
        const JournalEntry entry = {path, std::string(longest_file + 1, 'x'), ""};
        EXPECT_FALSE(write_journal(path, {&entry, 1}));
        EXPECT_EQ(errno, EFBIG);
        const std::vector<JournalEntry> long_ones(
            3, {path, std::string(longest_file, 'x'), std::string(longest_file, 'y')});
        EXPECT_TRUE(write_journal(path, long_ones));
        const auto entries = read_journal(path);
        EXPECT_TRUE(entries && entries->size() == 3);
        return 0;
    });
}

TEST(SettledFile, IsTheFileWhenSomebodyHasChangedItSinceTheInterruption) {
    PrivateRoot root;
    root.file(path, "edited\n").file(journal, journal_text(two_files()));
    root.call([] {
        EXPECT_THAT(read_settled(path, path), Optional(std::string("edited\n")));
        return 0;
    });
}

TEST(SettledFile, IsTheFileWithoutAJournal) {
    PrivateRoot root;
    root.file(path, "text\n");
    root.call([] {
        EXPECT_THAT(read_settled(path, path), Optional(std::string("text\n")));
        errno = 0;
        EXPECT_FALSE(read_settled("/etc/missing", path));
        EXPECT_EQ(errno, ENOENT);
        return 0;
    });
}

TEST(SettledFile, IsWhatAnInterruptedChangeWillMakeOfIt) {
    PrivateRoot root;
    root.file(path, "fir").file(journal, journal_text(two_files()));
    root.call([] {
        EXPECT_THAT(read_settled(path, path), Optional(std::string("first\n")));
        EXPECT_THAT(read_settled("/etc/other", path), Optional(std::string("a\0b", 3)))
            << "though it is missing";
        return 0;
    });
}

TEST(SettledFile, IsItselfBesideAnIncompleteJournal) {
    PrivateRoot root;
    root.file(path, "old\n").file(journal, journal_text(two_files()).substr(0, 40));
    root.call([] {
        EXPECT_THAT(read_settled(path, path), Optional(std::string("old\n")));
        return 0;
    });
}

} // namespace
} // namespace zav::test

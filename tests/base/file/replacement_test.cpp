// SPDX-License-Identifier: MIT
// Files that a command replaces: verified, else put back; finished after a run that was cut short.
#include "base/change_journal.h"
#include "base/replacement.h"
#include "fixtures/library.h"
#include "fixtures/refused_calls.h"
#include "private_root.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr auto replaced_path = "/etc/accounts";
constexpr auto replaced_journal = "/etc/.accounts.zav";
constexpr int done = static_cast<int>(Replacement::done);
constexpr int not_done = static_cast<int>(Replacement::failed);

// The command writes `content` and ends with that status.
Function replacing(const std::string& text, const std::string& content, WaitStatus status) {
    return [=] {
        return replace_by_command(replaced_path, text, [=] {
            std::ofstream(replaced_path) << content;
            return status;
        });
    };
}

class ReplacedFile : public testing::Test {
  protected:
    ReplacedFile() { root.file(replaced_path, "old\n", 0640); }
    PrivateRoot root;
};

TEST_F(ReplacedFile, EndsWithoutAJournal) {
    EXPECT_EQ(root.call(replacing("new\n", "new\n", WaitStatus::success)).returned, done);
    EXPECT_EQ(root.read(replaced_path), "new\n");
    EXPECT_THAT(root.list("/etc"), ElementsAre("accounts"));
}

TEST_F(ReplacedFile, HasItsContentInTheJournalMeanwhile) {
    const Result run = root.call([] {
        return replace_by_command(replaced_path, "new\n", [] {
            const auto entries = read_journal(replaced_path);
            EXPECT_TRUE(entries && entries->size() == 1 && entries->front().text == "new\n");
            return WaitStatus::not_started;
        });
    });
    EXPECT_EQ(run.returned, not_done) << "the command was run";
    EXPECT_EQ(root.read(replaced_path), "old\n");
}

TEST_F(ReplacedFile, PutsTheOldContentBackWhenTheCommandFails) {
    for (const char* content : {"", "ne", "new\n"}) {
        EXPECT_EQ(root.call(replacing("new\n", content, WaitStatus{256})).returned, not_done);
        EXPECT_EQ(root.read(replaced_path), "old\n");
        EXPECT_EQ(root.mode(replaced_path), 0640U);
        EXPECT_THAT(root.list("/etc"), ElementsAre("accounts"));
    }
}

TEST_F(ReplacedFile, PutsTheOldContentBackWhenTheNewIsAnother) {
    EXPECT_EQ(root.call(replacing("new\n", "ne", WaitStatus::success)).returned, not_done);
    EXPECT_EQ(root.read(replaced_path), "old\n");
    EXPECT_THAT(root.list("/etc"), ElementsAre("accounts"));
}

TEST_F(ReplacedFile, PutsBackAFileThatTheCommandRemoved) {
    const Result run = root.call([] {
        return replace_by_command(replaced_path, "new\n", [] {
            std::filesystem::remove(replaced_path);
            return WaitStatus{256};
        });
    });
    EXPECT_EQ(run.returned, not_done);
    EXPECT_EQ(root.read(replaced_path), "old\n");
    EXPECT_EQ(root.mode(replaced_path), 0640U);
}

TEST_F(ReplacedFile, IsFinishedAfterARunThatWasKilled) {
    root.call(
        [] {
            return replace_by_command(replaced_path, "new\n", []() -> WaitStatus {
                std::filesystem::remove(replaced_path);
                ::_exit(9);
            });
        },
        {});
    EXPECT_FALSE(root.exists(replaced_path));
    EXPECT_TRUE(root.exists(replaced_journal));
    EXPECT_EQ(root.call([] { return finish_replacement(replaced_path); }).returned, 1);
    EXPECT_EQ(root.read(replaced_path), "new\n");
    EXPECT_EQ(root.mode(replaced_path), 0640U);
    EXPECT_THAT(root.list("/etc"), ElementsAre("accounts"));
}

TEST_F(ReplacedFile, IsLeftAloneWhenItWasChangedSinceTheRunThatWasKilled) {
    root.call(
        [] {
            return replace_by_command(replaced_path, "new\n", []() -> WaitStatus { ::_exit(9); });
        },
        {});
    root.file(replaced_path, "old\nadded\n", 0640);
    EXPECT_EQ(root.call([] { return finish_replacement(replaced_path); }).returned, 1);
    EXPECT_EQ(root.read(replaced_path), "old\nadded\n");
    EXPECT_THAT(root.list("/etc"), ElementsAre("accounts"));
}

ino_t inode_of(const char* file) {
    struct stat status = {};
    return ::stat(file, &status) == 0 ? status.st_ino : 0;
}

// What the command has written waits for no disk.
TEST_F(ReplacedFile, IsACopyThatWasOnTheDiskBefore) {
    root.call([] {
        ino_t copy = 0;
        EXPECT_EQ(replace_by_command(replaced_path, "new\n",
                                     [&copy] {
                                         copy = inode_of("/etc/.accounts.new");
                                         std::ofstream(replaced_path) << "new\n";
                                         return WaitStatus::success;
                                     }),
                  Replacement::done);
        EXPECT_NE(copy, 0U);
        EXPECT_EQ(inode_of(replaced_path), copy);
        return 0;
    });
    EXPECT_EQ(root.read(replaced_path), "new\n");
    EXPECT_EQ(root.mode(replaced_path), 0640U);
    EXPECT_THAT(root.list("/etc"), ElementsAre("accounts"));
}

TEST_F(ReplacedFile, IsThatOfTheCommandWithoutACopy) {
    root.directory("/etc/.accounts.new");
    EXPECT_EQ(root.call(replacing("new\n", "new\n", WaitStatus::success)).returned, done);
    EXPECT_EQ(root.read(replaced_path), "new\n");
}

TEST_F(ReplacedFile, IsTheOldOneWhenTheNewCannotBeMadeDurable) {
    const Result run = root.call([] {
        return replace_by_command(replaced_path, "new\n", [] {
            std::filesystem::remove(replaced_path);
            std::ofstream(replaced_path) << "new\n";
            deny_syncs();
            return WaitStatus::success;
        });
    });
    EXPECT_EQ(run.returned, not_done);
    EXPECT_EQ(root.read(replaced_path), "old\n");
    EXPECT_THAT(root.read("/var/log/log.libzav"),
                HasSubstr("/etc/accounts cannot be made durable for Input/output error"));
}

TEST_F(ReplacedFile, LosesTheCopyOfARunThatWasKilled) {
    root.file("/etc/.accounts.new", "new\n");
    EXPECT_EQ(root.call([] { return finish_replacement(replaced_path); }).returned, 1);
    EXPECT_THAT(root.list("/etc"), ElementsAre("accounts"));
}

TEST_F(ReplacedFile, IsNotReplacedWithoutAJournal) {
    const Result run = root.call(replacing("new\n", "new\n", WaitStatus::success),
                                 {.limits = {{RLIMIT_FSIZE, 3}}, .ignored_signals = {SIGXFSZ}});
    EXPECT_EQ(run.returned, static_cast<int>(Replacement::not_begun));
    EXPECT_EQ(root.read(replaced_path), "old\n");
}

// It may be the only copy.
TEST_F(ReplacedFile, KeepsItsOldContentWhenTheJournalTellsNothing) {
    constexpr auto old = "/etc/.accounts.zav.old";
    root.file(replaced_path, "").file(old, "old\n").file(replaced_journal, "zavbox journal 1\n");
    EXPECT_EQ(root.call([] { return finish_replacement(replaced_path); }).returned, 1);
    EXPECT_EQ(root.read(replaced_path), "old\n");
    EXPECT_FALSE(root.exists(old));
    root.file(replaced_path, "").file(old, "old\n");
    const Result run = root.call([] {
        rlimit usual = {};
        ::getrlimit(RLIMIT_NOFILE, &usual);
        const rlimit none = {0, usual.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none); // the journal cannot be read
        const bool is_finished = finish_replacement(replaced_path);
        ::setrlimit(RLIMIT_NOFILE, &usual); // the sanitizers have some to open at the end
        return is_finished;
    });
    EXPECT_EQ(run.returned, 0);
    EXPECT_TRUE(root.exists(old));
}

// The removal of the second name had failed.
TEST_F(ReplacedFile, MayBeEmptyAfterwards) {
    constexpr auto old = "/etc/.accounts.zav.old";
    root.file(replaced_path, "").file(old, "old\n");
    EXPECT_EQ(root.call([] { return finish_replacement(replaced_path); }).returned, 1);
    EXPECT_EQ(root.read(replaced_path), "");
    EXPECT_FALSE(root.exists(old));
    root.remove(replaced_path).file(old, "old\n");
    EXPECT_EQ(root.call([] { return finish_replacement(replaced_path); }).returned, 1);
    EXPECT_EQ(root.read(replaced_path), "old\n") << "a file that is gone is";
}

TEST_F(ReplacedFile, HasNothingToFinishWithoutAJournal) {
    EXPECT_EQ(root.call([] { return finish_replacement(replaced_path); }).returned, 1);
    EXPECT_EQ(root.read(replaced_path), "old\n");
}

} // namespace
} // namespace zav::test

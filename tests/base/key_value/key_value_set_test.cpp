// SPDX-License-Identifier: MIT
// Writing sectioned key/value files: what changes, what stays, and no leftovers.
#include "base/key_value.h"
#include "fixtures/library.h"
#include "private_root.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zav::test {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class KeyValueSet : public testing::Test {
  protected:
    // Sets key "k" of section "s" to `value`. No temporary file may be left.
    int set(const char* value, const RunOptions& options = {}) {
        const Result result =
            root_.call([&] { return key_value_set(path, "s", "k", value); }, options);
        EXPECT_TRUE(result.has_returned);
        EXPECT_THAT(root_.tmp(), IsEmpty());
        return result.returned;
    }

    // The file after setting "k" of "s" to "new".
    std::string after(const std::string& before) {
        root_.file(path, before);
        EXPECT_EQ(set("new"), 0);
        return root_.read(path);
    }

    // Setting returns the code and leaves the file as it is.
    void expect_refused(int code, const std::string& file) {
        root_.file(path, file);
        const Snapshot before = root_.snapshot();
        EXPECT_EQ(set("new"), code);
        EXPECT_THAT(before.changes_to(root_.snapshot()), IsEmpty());
    }

    static constexpr const char* path = "/etc/test.conf";
    PrivateRoot root_;
};

// A missing section.

TEST_F(KeyValueSet, MissingFileIsMade) {
    EXPECT_EQ(set("new"), 0);
    EXPECT_EQ(root_.read(path), "[s]\n\tk = new\n");
    EXPECT_EQ(root_.mode(path), 0644u);
}

TEST_F(KeyValueSet, MissingSectionIsAppended) {
    EXPECT_EQ(after("[a]\nk=1\n"), "[a]\nk=1\n[s]\n\tk = new\n");
    EXPECT_EQ(after(""), "[s]\n\tk = new\n");
}

TEST_F(KeyValueSet, AppendingLeavesTheRestByteForByte) {
    const std::string rest = "  [a] \r\n\tk=1+  \n2\n\n; note\f\n\x1a\n";
    EXPECT_EQ(after(rest), rest + "[s]\n\tk = new\n");
}

TEST_F(KeyValueSet, AppendedSectionBeginsALine) {
    EXPECT_EQ(after("[a]\nk=1"), "[a]\nk=1\n[s]\n\tk = new\n");
}

// A missing key.

TEST_F(KeyValueSet, MissingKeyIsInsertedAfterTheHeader) {
    EXPECT_EQ(after("[a]\nk=1\n[s]\nx=2\n[b]\nk=3\n"), "[a]\nk=1\n[s]\n\tk = new\nx=2\n[b]\nk=3\n");
    EXPECT_EQ(after("[s]"), "[s]\n\tk = new\n");
    EXPECT_EQ(after("[s]\n"), "[s]\n\tk = new\n");
}

// An existing key.

TEST_F(KeyValueSet, KeyIsReplacedInItsPlace) {
    EXPECT_EQ(after("[a]\nk=1\n[s]\nx=2\nk=3\ny=4\n[b]\nk=5\n"),
              "[a]\nk=1\n[s]\nx=2\n\tk = new\ny=4\n[b]\nk=5\n");
}

TEST_F(KeyValueSet, KeyInTheFirstOrLastLineIsReplaced) {
    EXPECT_EQ(after("[s]\nk=1\n"), "[s]\n\tk = new\n");
    EXPECT_EQ(after("[s]\nk=1"), "[s]\n\tk = new\n");
}

TEST_F(KeyValueSet, OnlyTheFirstOfTwoEqualKeysIsReplaced) {
    EXPECT_EQ(after("[s]\nk=1\nk=2\n"), "[s]\n\tk = new\nk=2\n");
}

TEST_F(KeyValueSet, ContinuationLinesOfTheKeyAreDropped) {
    EXPECT_EQ(after("[s]\nk=a+\nb+\nc\nx=1\n"), "[s]\n\tk = new\nx=1\n");
    EXPECT_EQ(after("[s]\nk=C++\n\nx=1\n"), "[s]\n\tk = new\nx=1\n");
    EXPECT_EQ(after("[s]\nk=a+"), "[s]\n\tk = new\n");
}

TEST_F(KeyValueSet, ContinuationLinesOfOtherKeysStay) {
    EXPECT_EQ(after("[s]\nx=a+\nk=b\nk=1\ny=c+\nd\n"), "[s]\nx=a+\nk=b\n\tk = new\ny=c+\nd\n");
}

TEST_F(KeyValueSet, CommentsAndEmptyLinesStay) {
    EXPECT_EQ(after("; one\n\n[s]\n; two\nk=1\n\n; three\n"),
              "; one\n\n[s]\n; two\n\tk = new\n\n; three\n");
}

TEST_F(KeyValueSet, OtherLinesKeepTheirLeadingBlanks) {
    EXPECT_EQ(after("  [s]\n\t x = 1\n\tk = 2\n    y=3\n"),
              "  [s]\n\t x = 1\n\tk = new\n    y=3\n");
}

TEST_F(KeyValueSet, OtherLinesLoseBlanksAndCarriageReturnsAtTheirEnd) {
    EXPECT_EQ(after("[s] \r\nx=\r1  \r\nk=2\ny=3 \t\n"), "[s]\nx=1\n\tk = new\ny=3 \t\n");
}

TEST_F(KeyValueSet, LastLineGetsALineFeed) {
    EXPECT_EQ(after("[s]\nk=1\ny=2"), "[s]\n\tk = new\ny=2\n");
}

TEST_F(KeyValueSet, LinesThatEndInAnotherByteAreWrittenAsLines) {
    EXPECT_EQ(after("[s]\nx=1\0y=2\nk=3\n"s), "[s]\nx=1\ny=2\n\tk = new\n");
    EXPECT_EQ(after("[s]\nx=1\fy=2\nk=3\n"), "[s]\nx=1\f\ny=2\n\tk = new\n");
}

TEST_F(KeyValueSet, LineOf511CharactersStaysOneLine) {
    const std::string line = "x=" + std::string(509, 'a');
    EXPECT_EQ(after("[s]\n" + line + "\r\nk=1\n"), "[s]\n" + line + "\n\tk = new\n");
}

TEST_F(KeyValueSet, LongerLineIsWrittenAsTwo) {
    const std::string line = "x=" + std::string(509, 'a');
    EXPECT_EQ(after("[s]\n" + line + "y=1\nk=1\n"), "[s]\n" + line + "\ny=1\n\tk = new\n");
}

TEST_F(KeyValueSet, ValueMayBeEmptyOrLong) {
    root_.file(path, "[s]\nk=1\n");
    EXPECT_EQ(set(""), 0);
    EXPECT_EQ(root_.read(path), "[s]\n\tk = \n");
    const std::string value(10000, 'v');
    EXPECT_EQ(set(value.c_str()), 0);
    EXPECT_EQ(root_.read(path), "[s]\n\tk = " + value + "\n");
}

TEST_F(KeyValueSet, PercentSignsAreText) {
    root_.file(path, "[s]\nx=%s%n\nk=1\n");
    EXPECT_EQ(set("%s%n"), 0);
    EXPECT_EQ(root_.read(path), "[s]\nx=%s%n\n\tk = %s%n\n");
}

TEST_F(KeyValueSet, WhatWasSetIsRead) {
    root_.file(path, "[a]\nk=1\n[s]\nk=2\n");
    EXPECT_EQ(set("a b"), 0);
    const Result result = root_.call([] {
        char value[16] = "";
        EXPECT_EQ(key_value_get(path, "s", "k", value, sizeof value), 0);
        EXPECT_STREQ(value, "a b");
        EXPECT_EQ(key_value_get(path, "a", "k", value, sizeof value), 0);
        EXPECT_STREQ(value, "1");
        return 0;
    });
    EXPECT_TRUE(result.has_returned);
}

// The file itself.

TEST_F(KeyValueSet, FileKeepsItsModeOwnerAndInode) {
    root_.file(path, "[s]\nk=a long value that becomes shorter\n", 0640);
    struct stat before = {};
    const uid_t owner = ::geteuid() == 0 ? 1234 : ::geteuid();
    ASSERT_EQ(::chown(root_.host_path(path).c_str(), owner, ::getegid()), 0);
    ASSERT_EQ(::stat(root_.host_path(path).c_str(), &before), 0);
    EXPECT_EQ(set("new"), 0);
    struct stat after = {};
    ASSERT_EQ(::stat(root_.host_path(path).c_str(), &after), 0);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(root_.read(path), "[s]\n\tk = new\n");
}

TEST_F(KeyValueSet, LinkToTheFileStaysALink) {
    root_.file("/etc/real.conf", "[s]\nk=1\n");
    root_.symlink("real.conf", path);
    EXPECT_EQ(set("new"), 0);
    EXPECT_EQ(root_.read("/etc/real.conf"), "[s]\n\tk = new\n");
    EXPECT_TRUE(std::filesystem::is_symlink(root_.host_path(path)));
}

// Refusals and failures.

TEST_F(KeyValueSet, MalformedHeaderIsMinus14) {
    expect_refused(-14, "[abc\n[s]\nk=1\n");
}

TEST_F(KeyValueSet, LineWithoutEqualsSignIsMinus14) {
    expect_refused(-14, "[s]\nnote\nk=1\n");
}

TEST_F(KeyValueSet, TooLongContinuationIsMinus22) {
    expect_refused(-22, "[s]\nk=" + std::string(400, 'a') + "+\n" + std::string(200, 'b') + "\n");
}

TEST_F(KeyValueSet, FileThatCannotBeReadIsMinus12) {
    root_.directory(path);
    EXPECT_EQ(set("new"), -12);
}

TEST_F(KeyValueSet, FileThatCannotBeMadeIsMinus11) {
    const Result result =
        root_.call([] { return key_value_set("/etc/missing/test.conf", "s", "k", "new"); });
    EXPECT_EQ(result.returned, -11);
}

TEST_F(KeyValueSet, FileThatMayNotBeAppendedToIsMinus11) {
    root_.file("/ro/test.conf", "[a]\nk=1\n").read_only("/ro");
    const Result result =
        root_.call([] { return key_value_set("/ro/test.conf", "s", "k", "new"); });
    EXPECT_EQ(result.returned, -11);
    EXPECT_EQ(root_.read("/ro/test.conf"), "[a]\nk=1\n");
}

TEST_F(KeyValueSet, FileThatMayNotBeReplacedIsMinus11) {
    root_.file("/ro/test.conf", "[s]\nk=1\n").read_only("/ro");
    const Result result =
        root_.call([] { return key_value_set("/ro/test.conf", "s", "k", "new"); });
    EXPECT_EQ(result.returned, -11);
    EXPECT_EQ(root_.read("/ro/test.conf"), "[s]\nk=1\n");
    EXPECT_THAT(root_.tmp(), IsEmpty());
}

TEST_F(KeyValueSet, NeedsNoRoomForTemporaryFiles) {
    root_.file(path, "[s]\nk=1\n").read_only("/tmp");
    EXPECT_EQ(set("new"), 0);
    EXPECT_EQ(root_.read(path), "[s]\n\tk = new\n");
}

// A limit on file size simulates a full disk.
RunOptions with_room_for(rlim_t bytes) {
    RunOptions options;
    options.limits = {{RLIMIT_FSIZE, bytes}};
    options.ignored_signals = {SIGXFSZ};
    return options;
}

TEST_F(KeyValueSet, FullDiskWhileReplacingIsMinus13AndLeavesTheFile) {
    const std::string before = "[s]\nk=1\n" + std::string(100, ';') + "\n";
    root_.file(path, before);
    EXPECT_EQ(set("new", with_room_for(50)), -13);
    EXPECT_EQ(root_.read(path), before);
}

TEST_F(KeyValueSet, FullDiskWhileAppendingIsMinus13AndLeavesTheFile) {
    const std::string before = "[a]\nk=1\n";
    root_.file(path, before);
    EXPECT_EQ(set("new", with_room_for(before.size() + 6)), -13);
    EXPECT_EQ(root_.read(path), before);
}

// Sets "k" of "s" to "new" in a file on a one-page disk; expects the code and no change.
void expect_no_room(int code, const std::string& file) {
    PrivateRoot root;
    root.directory("/small");
    const Result result = root.call([&] {
        if (::mount("none", "/small", "tmpfs", 0, "size=4k") != 0) {
            return -1000;
        }
        std::ofstream("/small/test.conf") << file;
        const int returned = number_of(key_value_set("/small/test.conf", "s", "k", "new"));
        std::ostringstream left;
        left << std::ifstream("/small/test.conf").rdbuf();
        EXPECT_EQ(left.str(), file);
        return returned;
    });
    EXPECT_EQ(result.returned, code);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(KeyValueSetOnAFullDisk, ReplacingIsMinus13AndLeavesTheFile) {
    // Eight bytes more than before, six more than fit.
    const std::string file = "[s]\nk=\n" + std::string(4086, ';') + "\n";
    ASSERT_EQ(file.size(), 4094u);
    expect_no_room(-13, file);
}

TEST(KeyValueSetOnAFullDisk, AppendingIsMinus13AndLeavesTheFile) {
    expect_no_room(-13, "[a]\nk=\n" + std::string(4080, ';') + "\n");
}

} // namespace
} // namespace zav::test

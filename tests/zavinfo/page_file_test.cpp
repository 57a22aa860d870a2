// SPDX-License-Identifier: MIT
// zavinfo --page on a machine that has something of everything: the file, and how it comes about.
#include "api/snapshot_machine.h"
#include "zavinfo/validate.h"
#include "zavinfo/whole_file.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <thread>

namespace zavinfo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using zav::test::Result;
using zav::test::RunOptions;

class PageFile : public testing::Test {
  protected:
    PageFile() {
        machine.bind(ZAV_TEST_ZAVINFO, "/usr/bin/zavinfo");
        machine.directory("/var/www");
    }

    Result run(const std::vector<std::string>& arguments, RunOptions options = {}) {
        options.argv0 = "zavinfo";
        options.program = "/usr/bin/zavinfo";
        return machine.run(arguments, options);
    }

    zav::test::SnapshotMachine machine;
};

TEST_F(PageFile, IsMadeAndNothingElse) {
    machine.file("/var/log/log.libzav",
                 "Nov 20 10:11:15 0.1.2 ERROR zavbox[2]:array_delete[12]: return with -415\n");
    const auto before = machine.snapshot();
    const Result result = run({"--page", "/var/www/index.html"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(before.changes_to(machine.snapshot()).size(), 1);
    const std::string page = machine.read("/var/www/index.html");
    EXPECT_EQ(page_faults(page), "");
    EXPECT_THAT(page, HasSubstr("<h1>Storage of nas</h1>"));
    EXPECT_THAT(page, HasSubstr("array_delete ended with -415: "));
    const std::string names = page_names(page);
    for (const char* name :
         {"disks: sda", "disks: sdg", "arrays: md0", "arrays: md1", "space: /mnt/data/films",
          "shares: films", "shares: music", "shares: old", "shares: block", "shares: guest"}) {
        EXPECT_THAT(names, HasSubstr(std::string("\n") + name + "\n"));
    }
}

TEST_F(PageFile, ReplacesTheOldOneWithAModeForAll) {
    machine.file("/var/www/index.html", "old", 0600);
    run({"--page", "/var/www/index.html"});
    EXPECT_EQ(machine.mode("/var/www/index.html"), 0644);
    EXPECT_THAT(machine.read("/var/www/index.html"), StartsWith("<!DOCTYPE html>"));
}

TEST_F(PageFile, IsWrittenAlsoWhenSomethingCannotBeRead) {
    machine.tool("/sbin/lvdisplay").on("/sbin/lvdisplay -c").exits(5);
    EXPECT_EQ(run({"--page", "/var/www/index.html"}).exit_status, 3);
    EXPECT_THAT(page_names(machine.read("/var/www/index.html")),
                HasSubstr("\nfindings: Pools not read: "));
}

TEST_F(PageFile, ThatCannotBeWrittenIsRefusedAndLeavesAllAsItWas) {
    machine.directory("/var/www/folder").file("/var/www/file", "old");
    machine.symlink("/dev/null", "/var/www/link");
    const auto before = machine.snapshot();
    const std::map<std::string, std::string> faults = {
        {"/var/none/index.html", "cannot be written: No such file or directory"},
        {"/var/www/folder", "cannot be replaced: Is a directory"},
        {"/var/www/file/index.html", "cannot be written: Not a directory"},
        {"/dev/null", "cannot be replaced: it is no file"},
        {"", "is no name of a file: Is a directory"}};
    for (const auto& [path, fault] : faults) {
        const Result result = run({"--page", path});
        EXPECT_EQ(result.exit_status, 1) << path;
        EXPECT_EQ(result.err, "zavinfo: '" + path + "' " + fault + "\n");
    }
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(PageFile, TakesThePlaceOfALink) {
    machine.file("/etc/secret", "old").symlink("/etc/secret", "/var/www/index.html");
    EXPECT_EQ(run({"--page", "/var/www/index.html"}).exit_status, 0);
    EXPECT_EQ(machine.read("/etc/secret"), "old");
    EXPECT_THAT(machine.read("/var/www/index.html"), StartsWith("<!DOCTYPE html>"));
}

TEST_F(PageFile, TakesWhatAKilledRunLeftBesideIt) {
    machine.file("/var/www/index.html.new", "half of a longer page" + std::string(1 << 20, '.'),
                 0600);
    EXPECT_EQ(run({"--page", "/var/www/index.html"}).exit_status, 0);
    const std::string page = machine.read("/var/www/index.html");
    EXPECT_EQ(page_faults(page), "");
    EXPECT_EQ(machine.mode("/var/www/index.html"), 0644);
    EXPECT_FALSE(machine.exists("/var/www/index.html.new"));
}

TEST_F(PageFile, IsNotWrittenThroughWhatSomebodyPutBesideIt) {
    machine.file("/etc/secret", "old").symlink("/etc/secret", "/var/www/index.html.new");
    const Result refused = run({"--page", "/var/www/index.html"});
    EXPECT_EQ(refused.exit_status, 1);
    EXPECT_EQ(refused.err, "zavinfo: '/var/www/index.html' cannot be written: "
                           "Too many levels of symbolic links\n");
    EXPECT_EQ(machine.read("/etc/secret"), "old");
    machine.remove("/var/www/index.html.new").fifo("/var/www/index.html.new");
    EXPECT_EQ(run({"--page", "/var/www/index.html"}).exit_status, 1);
    EXPECT_TRUE(machine.exists("/var/www/index.html.new")) << "it is not ours to remove";
}

// Each replaces it; none finds the other's file gone, or writes into it.
TEST(PageOnDisk, IsWholeWhenManyWriteItAtOnce) {
    std::string directory = "/tmp/zavinfo.XXXXXX";
    ASSERT_NE(::mkdtemp(directory.data()), nullptr);
    const std::string path = directory + "/page";
    std::atomic<int> faults = 0;
    std::vector<std::thread> writers;
    for (const char letter : {'a', 'b', 'c'}) {
        writers.emplace_back([&faults, &path, letter] {
            for (int round = 0; round < 30; ++round) {
                try {
                    write_whole_file(path, std::string(10000, letter));
                    std::ifstream file(path);
                    const std::string text{std::istreambuf_iterator<char>(file), {}};
                    const bool is_whole = text.size() == 10000 &&
                                          text.find_first_not_of(text[0]) == std::string::npos;
                    faults += is_whole ? 0 : 1;
                } catch (const std::exception&) {
                    ++faults;
                }
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(std::filesystem::remove_all(directory), 2U);
}

// The calls that concern the page's file, in order: nothing reads half of it, and no crash leaves
// an empty one.
TEST(PageOnDisk, IsSyncedBeforeItHasItsName) {
    std::string directory = "/tmp/zavinfo.XXXXXX";
    ASSERT_NE(::mkdtemp(directory.data()), nullptr);
    // No process can be traced twice: the sanitizer's look for leaks would be the second tracer.
    const std::string command =
        "ASAN_OPTIONS=detect_leaks=0 strace -qq -e trace=fchmod,fsync,rename,unlink -o " +
        directory + "/calls " + ZAV_TEST_PAGE_SAMPLES + " " + directory + " && cut -d'(' -f1 " +
        directory + "/calls";
    std::FILE* reader = ::popen(command.c_str(), "r");
    std::array<char, 4096> buffer = {};
    std::vector<std::string> calls;
    while (std::fgets(buffer.data(), buffer.size(), reader) != nullptr && calls.size() < 4) {
        calls.emplace_back(buffer.data());
    }
    ::pclose(reader);
    EXPECT_EQ(std::system(("rm -r " + directory).c_str()), 0);
    EXPECT_THAT(calls, ElementsAre("fchmod\n", "fsync\n", "rename\n", "fsync\n"));
}

// A limit of the process stands for a full file system.
TEST(PageOnDisk, ThatHasNoRoomLeavesTheOldOne) {
    std::string directory = "/tmp/zavinfo.XXXXXX";
    ASSERT_NE(::mkdtemp(directory.data()), nullptr);
    const std::string path = directory + "/index.html";
    write_whole_file(path, "old");
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {1000, 1000};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THROW(write_whole_file(path, std::string(5000, 'x')), std::runtime_error);
    std::string text;
    std::getline(std::ifstream(path) >> std::ws, text);
    EXPECT_EQ(text, "old");
    const std::filesystem::directory_iterator files(directory);
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
    std::filesystem::remove_all(directory);
}

} // namespace
} // namespace zavinfo::test

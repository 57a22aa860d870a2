// SPDX-License-Identifier: MIT
// The process name in every log line.
#include "base/log.h"
#include "private_root.h"

#include <array>
#include <gmock/gmock.h>

namespace zav {
namespace {

using test::PrivateRoot;
using test::RunOptions;

constexpr std::size_t buffer_size = 256;
constexpr const char* none = "(no name)";

std::string stat_path(pid_t pid) {
    return "/proc/" + std::to_string(pid) + "/stat";
}

// Hides everything in /proc about the process `pid` except what a leak check needs.
void hide(PrivateRoot& root, pid_t pid) {
    const std::string path = "/proc/" + std::to_string(pid);
    root.remove(path).symlink("/.harness" + path + "/task", path + "/task");
}

void tell_about(PrivateRoot& root, pid_t pid, const std::string& text) {
    hide(root, pid);
    root.file(stat_path(pid), text);
}

std::string name_of(PrivateRoot& root, pid_t pid, std::size_t size = buffer_size) {
    const test::Result result = root.call([pid, size] {
        std::array<char, buffer_size> buffer;
        buffer.fill('#');
        const char* name = get_process_name(buffer.data(), size, pid);
        EXPECT_TRUE(name == nullptr || name == buffer.data());
        std::fputs(name != nullptr ? name : none, stdout);
        return 0;
    });
    return result.out;
}

std::string name_in(const std::string& text) {
    PrivateRoot root;
    tell_about(root, 77, text);
    return name_of(root, 77);
}

TEST(ProcessName, StandsBetweenTheParentheses) {
    EXPECT_EQ(name_in("77 (zavbox) S 1 77 77 0 -1"), "zavbox");
}

TEST(ProcessName, BeginsAtTheFirstAndEndsAtTheFirstParenthesis) {
    EXPECT_EQ(name_in("77 (a(b)c)d) S 1"), "a(b");
}

TEST(ProcessName, KeepsItsBlanks) {
    EXPECT_EQ(name_in("77 ( a b ) S 1"), " a b ");
}

TEST(ProcessName, MayBeEmpty) {
    EXPECT_EQ(name_in("77 () S 1"), "");
}

TEST(ProcessName, IsMissingWithoutBothParentheses) {
    EXPECT_EQ(name_in("77 zavbox S 1"), none);
    EXPECT_EQ(name_in("77 (zavbox S 1"), none);
    EXPECT_EQ(name_in("77 zavbox) S 1"), none);
    EXPECT_EQ(name_in("77 zav)bo(x S 1"), none);
    EXPECT_EQ(name_in(""), none);
}

TEST(ProcessName, IsMissingWithoutAFileOfTheKernel) {
    PrivateRoot root;
    EXPECT_EQ(name_of(root, 65000), none);
    EXPECT_EQ(name_of(root, -1), none);
}

TEST(ProcessName, IsMissingWhenTheFileCannotBeRead) {
    PrivateRoot root;
    root.directory("/proc/65000/stat"); // can be opened but not read
    EXPECT_EQ(name_of(root, 65000), none);
}

TEST(ProcessName, IsMissingAbovePid65535) {
    PrivateRoot root;
    tell_about(root, 65535, "65535 (last) S");
    tell_about(root, 65536, "65536 (first) S");
    EXPECT_EQ(name_of(root, 65535), "last");
    EXPECT_EQ(name_of(root, 65536), none);
}

TEST(ProcessName, IsCutToItsBuffer) {
    PrivateRoot root;
    tell_about(root, 77, "77 (0123456789) S");
    EXPECT_EQ(name_of(root, 77, 8), "0123456");
    EXPECT_EQ(name_of(root, 77, 1), "");
    EXPECT_EQ(name_of(root, 77, 0), none);
}

TEST(ProcessName, InTheLogHasAtMost255Characters) {
    PrivateRoot root;
    tell_about(root, 2, "2 (" + std::string(300, 'n') + ") S");
    root.call([] { return log_error("text"); });
    EXPECT_EQ(root.log().at(0).process, std::string(255, 'n'));
}

TEST(ProcessName, InTheLogIsNullWhenItIsMissing) {
    PrivateRoot root;
    hide(root, 2);
    root.call([] { return log_error("text"); });
    EXPECT_EQ(root.log().at(0).raw.substr(15), " 0.1.2 ERROR (null)[2]:text\n");
}

TEST(ProcessName, InTheLogIsNullForALargePid) {
    PrivateRoot root;
    tell_about(root, 70000, "70000 (zavbox) S");
    root.call([] { return log_error("text"); }, {.pid = 70000});
    EXPECT_EQ(root.log().at(0).raw.substr(15), " 0.1.2 ERROR (null)[70000]:text\n");
}

} // namespace
} // namespace zav

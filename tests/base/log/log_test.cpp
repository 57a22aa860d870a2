// SPDX-License-Identifier: MIT
// The format of a log line.
#include "base/log.h"
#include "base/log/log_text.h"
#include "fixtures/library.h"
#include "private_root.h"

#include <cerrno>
#include <ctime>
#include <gmock/gmock.h>
#include <regex>
#include <sys/prctl.h>

namespace zav {
namespace {

using test::LogLine;
using test::PrivateRoot;
using test::Result;
using test::RunOptions;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr std::size_t head_size = 15 + 1 + 5 + 1; // "Nov 20 10:11:12 0.1.2 "

// The whole log after `function` ran in a process named "tester" with the id 2.
std::string logged_by(PrivateRoot& root, void (*function)(), const RunOptions& options = {}) {
    const Result result = root.call(
        [function] {
            ::prctl(PR_SET_NAME, "tester");
            function();
            return 0;
        },
        options);
    EXPECT_EQ(result.err, "");
    return root.exists(log_path) ? root.read(log_path) : "";
}

std::string logged_by(void (*function)()) {
    PrivateRoot root;
    return logged_by(root, function);
}

std::string without_stamp(const std::string& line) {
    return line.size() > 15 ? line.substr(15) : line;
}

TEST(LogLines, AnErrorHasTimeVersionLevelProcessAndPid) {
    EXPECT_THAT(logged_by([] { log_error("disk %s, %d", "sda", 7); }),
                MatchesRegex("[A-Z][a-z][a-z] [ 123][0-9] [012][0-9]:[0-5][0-9]:[0-6][0-9] "
                             "0\\.1\\.2 ERROR tester\\[2\\]:disk sda, 7\n"));
}

TEST(LogLines, ADebugLineDiffersInItsLevelOnly) {
    EXPECT_EQ(without_stamp(logged_by([] { log_debug("disk %s", "sda"); })),
              " 0.1.2 debug tester[2]:disk sda\n");
}

TEST(LogLines, AMessageWithALineEndOfItsOwnIsFollowedByAnEmptyLine) {
    EXPECT_EQ(without_stamp(logged_by([] { log_error("text\n"); })),
              " 0.1.2 ERROR tester[2]:text\n\n");
}

TEST(LogLines, AnEmptyTextStillMakesALine) {
    EXPECT_EQ(without_stamp(logged_by([] { log_error("%s", ""); })), " 0.1.2 ERROR tester[2]:\n");
}

TEST(LogLines, PercentSignsOfATextAreNotReadAgain) {
    EXPECT_EQ(without_stamp(logged_by([] { log_error("%s", "100%n %s %%"); })),
              " 0.1.2 ERROR tester[2]:100%n %s %%\n");
    EXPECT_EQ(without_stamp(logged_by([] { log_write("%s", "100%n %s %%"); })),
              " 0.1.2 100%n %s %%\n");
}

TEST(LogLines, PrefixAndTextAreCutAt8191Characters) {
    const std::string prefix = "ERROR tester[2]:";
    EXPECT_EQ(logged_by([] { log_error("%s", std::string(10000, 'x').c_str()); }).substr(head_size),
              prefix + std::string(8191 - prefix.size(), 'x') + "\n");
}

TEST(LogLines, ATextThatFillsTheBufferIsWhole) {
    const std::string prefix = "ERROR tester[2]:";
    EXPECT_EQ(
        logged_by([] { log_error("%s|", std::string(8191 - 17, 'x').c_str()); }).substr(head_size),
        prefix + std::string(8191 - 17, 'x') + "|\n");
}

TEST(LogLines, LoggersKeepTheCallersErrno) {
    PrivateRoot root;
    // The missing name is itself a failure.
    root.remove("/proc/2").symlink("/.harness/proc/2/task", "/proc/2/task");
    root.remove("/var/log").file("/dev/console", "");
    const Result result = root.call([] {
        errno = EXDEV;
        log_error("text");
        return errno;
    });
    EXPECT_EQ(result.returned, EXDEV);
}

TEST(MessageShapes, AReturnedCodeNamesFunctionAndLine) {
    EXPECT_THAT(logged_by([] {
                    ignore(log_return(Code::no_disk_list, {"get_disk_list", 238}));
                }),
                HasSubstr("]:get_disk_list[238]: return with -205\n"));
}

TEST(MessageShapes, AFailureOfTheLibraryNamesValueAndReason) {
    EXPECT_THAT(logged_by([] {
                    errno = ENOENT;
                    log_errno(256, {"get_smart", 99});
                }),
                HasSubstr("]:get_smart:99 return 256 with No such file or directory\n\n"));
}

TEST(MessageShapes, AFailureWithACodeLogsTheCode) {
    EXPECT_THAT(
        logged_by([] {
            errno = EACCES;
            ignore(fail_with_errno(Code::controller_directory_unread, {"get_disk_list", 12}));
        }),
        HasSubstr("]:get_disk_list:12 return -1021 with Permission denied\n\n"));
}

TEST(MessageShapes, TheCodeIsReturnedAndALoggedValueIsNot) {
    PrivateRoot root;
    root.call([] {
        EXPECT_EQ(log_return(Code::no_disk_list), -205);
        EXPECT_EQ(fail_with_errno(Code::controller_directory_unread), -1021);
        return 0;
    });
}

TEST(MessageShapes, APlaceIsTheCallersFunctionAndLine) {
    const LogSite here = LogSite::here();
    EXPECT_EQ(here.line, __LINE__ - 1);
    EXPECT_STREQ(here.function, __func__);
    const LogSite numbered = LogSite::numbered(499);
    EXPECT_EQ(numbered.line, 499);
    EXPECT_STREQ(numbered.function, __func__);
}

TEST(TextReadTwice, BeginsWithTheLoggersNameAndNumber) {
    EXPECT_EQ(without_stamp(logged_by([] { zavbox_log_error("disk %s", "sda"); })),
              " 0.1.2 ERROR tester[2]:zavbox_log_error[30]:disk sda\n");
}

TEST(TextReadTwice, TwoPercentSignsOfATextBecomeOne) {
    EXPECT_THAT(logged_by([] { zavbox_log_error("%s%%%%", "50%% of "); }),
                HasSubstr("]:zavbox_log_error[30]:50% of %\n"));
}

TEST(TextReadTwice, IsCutLikeAnyOther) {
    const std::string prefix = "ERROR tester[2]:zavbox_log_error[30]:";
    EXPECT_EQ(
        logged_by([] { zavbox_log_error("%s", std::string(9000, 'x').c_str()); }).substr(head_size),
        prefix + std::string(8191 - prefix.size(), 'x') + "\n");
}

TEST(TimeOfALine, IsNow) {
    PrivateRoot root;
    const std::time_t before = std::time(nullptr);
    const std::string line = logged_by(root, [] { log_error("text"); });
    std::vector<std::string> possible;
    for (std::time_t time = before; time <= std::time(nullptr); ++time) {
        std::tm parts = {};
        std::string stamp = ::asctime(::gmtime_r(&time, &parts)); // runs use UTC
        possible.push_back(stamp.substr(4, 15));
    }
    EXPECT_THAT(possible, testing::Contains(line.substr(0, 15)));
}

// A time zone file of format 1 with only an offset from UTC.
std::string zone_file(std::int32_t seconds_east) {
    std::string bytes = "TZif";
    bytes.resize(20, '\0');
    for (const char count :
         {'\0', '\0', '\0', '\0', '\1', '\4'}) { // one local time type, 4 characters of name
        bytes += std::string(3, '\0') + count;
    }
    for (const int shift : {24, 16, 8, 0}) {
        bytes += static_cast<char>(static_cast<std::uint32_t>(seconds_east) >> shift);
    }
    return bytes + '\0' + '\0' + std::string("ZAV\0", 4);
}

TEST(TimeOfALine, IsLocalAndItsDayIsPaddedWithABlank) {
    constexpr std::time_t fifth_of_march = 1583420640; // 2020-03-05 15:04:00
    PrivateRoot root;
    root.file("/etc/zone",
              zone_file(static_cast<std::int32_t>(fifth_of_march - std::time(nullptr))));
    EXPECT_THAT(logged_by(root, [] { log_error("text"); }, {.environment = {{"TZ", "/etc/zone"}}}),
                StartsWith("Mar  5 15:04:"));
}

// The line that log_write() writes for a text.
std::string written(const std::string& text) {
    PrivateRoot root;
    root.call([&text] { return log_write("%s", text.c_str()); });
    return root.read(log_path);
}

TEST(TextWithATime, KeepsItInsteadOfNow) {
    EXPECT_EQ(written("Feb  3 01:02:03 machine: text"), "Feb  3 01:02:03 0.1.2 machine: text\n");
}

TEST(TextWithATime, IsRecognisedByItsBlanksAndColonsAlone) {
    EXPECT_EQ(written("abc de fg:hi:jk text"), "abc de fg:hi:jk 0.1.2 text\n");
}

TEST(TextWithATime, MayBeNothingButTheTimeAndABlank) {
    EXPECT_EQ(written("Feb  3 01:02:03 "), "Feb  3 01:02:03 0.1.2 \n");
}

TEST(TextWithATime, NeedsMoreThan15Characters) {
    EXPECT_THAT(written("Feb  3 01:02:03"), testing::EndsWith(" 0.1.2 Feb  3 01:02:03\n"));
}

TEST(TextWithATime, NeedsEveryBlankAndColonInItsPlace) {
    const std::string text = "Feb  3 01:02:03 text";
    for (const std::size_t place : {3U, 6U, 9U, 12U, 15U}) {
        std::string spoilt = text;
        spoilt[place] = '-';
        EXPECT_THAT(written(spoilt), testing::EndsWith(" 0.1.2 " + spoilt + "\n"))
            << "position " << place;
    }
}

TEST(TextWithATime, IsNeverSeenByTheLoggersWithAPrefix) {
    EXPECT_THAT(logged_by([] { log_error("%s", "Feb  3 01:02:03 text"); }),
                testing::EndsWith(" 0.1.2 ERROR tester[2]:Feb  3 01:02:03 text\n"));
}

} // namespace
} // namespace zav

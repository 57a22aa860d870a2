// SPDX-License-Identifier: MIT
// Memory use, processor use, and the time.
#include "fixtures/status_root.h"

#include <csignal>
#include <ctime>
#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string meminfo(const std::string& total, const std::string& free, const std::string& buffers,
                    const std::string& cached) {
    return "MemTotal:  " + total + " kB\nMemFree:  " + free + " kB\nBuffers:  " + buffers +
           " kB\nCached:  " + cached + " kB\n";
}

constexpr char vmstat_head[] =
    "procs -----------memory---------- ---swap-- -----io---- -system-- ------cpu-----\n"
    " r  b   swpd   free   buff  cache   si   so    bi    bo   in   cs us sy id wa st\n";

std::string vmstat(const std::string& figures) {
    return vmstat_head + figures + "\n";
}

/// A figure of the library, read inside the root: "CODE VALUE".
template <class Getter>
Result read_figure(PrivateRoot& root, Getter getter) {
    return root.call([&] {
        float value = 12.5F;
        const int code = getter(&value);
        std::printf("%.2f", static_cast<double>(value));
        return code;
    });
}

TEST(MemoryUtility, ReadsTheKernelsFile) {
    StatusRoot root;
    root.file("/proc/meminfo", meminfo("1000", "500", "100", "150"));
    const Result result = read_figure(root, get_mem_utility);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "25.00");
    EXPECT_THAT(result.commands_with_templates(),
                ElementsAre("cat /proc/meminfo > /tmp/meminfo.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(MemoryUtility, MissingKeyFailsWithZero) {
    StatusRoot root;
    root.file("/proc/meminfo", "MemTotal: 5 kB\n");
    const Result result = read_figure(root, get_mem_utility);
    EXPECT_EQ(result.returned, -1);
    EXPECT_EQ(result.out, "0.00");
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("get_mem_utility", -1, ".*")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(MemoryUtility, MissingFileFailsWithZero) {
    StatusRoot root;
    const Result result = read_figure(root, get_mem_utility);
    EXPECT_EQ(result.returned, -1);
    EXPECT_EQ(result.out, "0.00");
    EXPECT_THAT(root.log_texts(),
                ElementsAre(testing::MatchesRegex(
                                "system\\(\"cat /proc/meminfo > /tmp/meminfo\\.[^ ]{6}\"\\) return "
                                "normal with exit\\(1\\) for '.*'"),
                            failure_line("get_mem_utility", -1, ".*")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(MemoryUtility, WithoutAPlaceForTheFigureFails) {
    StatusRoot root;
    root.file("/proc/meminfo", meminfo("1000", "500", "100", "150"));
    EXPECT_EQ(root.call([] { return get_mem_utility(nullptr); }).returned, -1);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

class ProcessorUtility : public testing::Test {
  public:
    void expect_failure() {
        const Result result = read_figure(root, get_cpu_utility);
        EXPECT_EQ(result.returned, -1);
        EXPECT_EQ(result.out, "0.00");
        EXPECT_THAT(root.log_texts().back(), failure_line("get_cpu_utility", -1, ".*"));
        EXPECT_THAT(root.tmp(), IsEmpty());
    }
    StatusRoot root;
};

TEST_F(ProcessorUtility, ReadsTheToolsOutput) {
    root.tool("/usr/bin/vmstat").any().prints(vmstat("0 0 0 0 0 0 0 0 0 0 0 0 0 0 93 0 0"));
    const Result result = read_figure(root, get_cpu_utility);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "7.00");
    EXPECT_THAT(result.commands_with_templates(),
                ElementsAre("/usr/bin/vmstat > /tmp/vmstat.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ProcessorUtility, FailureOfTheToolFails) {
    root.tool("/usr/bin/vmstat").replays("vmstat"); // a kernel without the figures: exit 1
    expect_failure();
}

TEST_F(ProcessorUtility, FailureOfTheToolFailsWhateverItPrinted) {
    root.tool("/usr/bin/vmstat")
        .any()
        .prints(vmstat("0 0 0 0 0 0 0 0 0 0 0 0 0 0 93 0 0"))
        .exits(1);
    expect_failure();
}

TEST_F(ProcessorUtility, DeathOfTheToolFails) {
    root.tool("/usr/bin/vmstat").any().killed_by(SIGSEGV);
    expect_failure();
}

TEST_F(ProcessorUtility, MissingToolFails) {
    expect_failure();
}

TEST_F(ProcessorUtility, EmptyOutputFails) {
    root.tool("/usr/bin/vmstat").any();
    expect_failure();
}

TEST_F(ProcessorUtility, AMegabyteOfGarbageFails) {
    root.tool("/usr/bin/vmstat").any().prints_bytes(1 << 20);
    expect_failure();
}

TEST_F(ProcessorUtility, OutputThatIsGoneFails) {
    root.tool("/usr/bin/vmstat").any().does("rm /tmp/vmstat.*");
    expect_failure();
}

TEST_F(ProcessorUtility, WithoutAPlaceForTheFigureFails) {
    root.tool("/usr/bin/vmstat").any().optional();
    EXPECT_EQ(root.call([] { return get_cpu_utility(nullptr); }).returned, -1);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

std::string time_text(std::time_t time) {
    char text[32];
    std::tm parts = {};
    ::gmtime_r(&time, &parts);
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

TEST(SystemTime, IsTheCurrentLocalTime) {
    StatusRoot root;
    RunOptions options;
    options.environment["TZ"] = "EAST-3:30"; // 12600 seconds ahead
    const std::time_t before = std::time(nullptr) + 12600;
    const Reading reading = read_status(root, systime_get, 20, options);
    const std::time_t after = std::time(nullptr) + 12600;
    EXPECT_EQ(reading.code, 0);
    EXPECT_GE(reading.text, time_text(before));
    EXPECT_LE(reading.text, time_text(after));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(SystemTime, ThatDoesNotFitFails) {
    StatusRoot root;
    EXPECT_EQ(read_status(root, systime_get, 19), gives(-1005, ""));
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("systime_get", -1005, ".*")));
}

TEST(SystemTime, WithoutABufferFails) {
    StatusRoot root;
    EXPECT_EQ(code_without_buffer(root, systime_get), -1005);
}

} // namespace
} // namespace zav::test

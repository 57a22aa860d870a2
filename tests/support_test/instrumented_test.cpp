// SPDX-License-Identifier: MIT
// Builds with sanitizers or coverage work inside a private root.
#include "victim_root.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <memory>

extern "C" void __asan_init() __attribute__((weak));
extern "C" void __gcov_exit() __attribute__((weak));

namespace zav::test {
namespace {

// With the address sanitizer a leak fails the test; without it, it does not.
TEST(Sanitizer, SeesALeakOfTheProgram) {
    VictimRoot root;
    if (__asan_init == nullptr) {
        EXPECT_EQ(root.run({"leak"}).exit_status, 0);
        return;
    }
    EXPECT_NONFATAL_FAILURE(
        {
            const Result result = root.run({"leak"}, {.closed = {2}});
            EXPECT_NE(result.exit_status, 0);
        },
        "LeakSanitizer: detected memory leaks");
}

int* volatile lost = nullptr;

TEST(Sanitizer, SeesALeakOfACalledFunction) {
    PrivateRoot root;
    const auto leak = [] {
        lost = std::make_unique<int>(1).release();
        lost = nullptr;
        return 5;
    };
    if (__asan_init == nullptr) {
        EXPECT_EQ(root.call(leak).returned, 5);
        return;
    }
    testing::TestPartResultArray failures;
    {
        testing::ScopedFakeTestPartResultReporter intercept(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
        EXPECT_EQ(root.call(leak).returned, 5);
    }
    ASSERT_EQ(failures.size(), 1);
    EXPECT_THAT(failures.GetTestPartResult(0).message(),
                testing::HasSubstr("LeakSanitizer: detected memory leaks"));
}

bool has_counters(const std::filesystem::path& folder) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".gcda") {
            return true;
        }
    }
    return false;
}

// A folder of the host for counters, bound into every root.
class Coverage : public testing::Test {
  protected:
    Coverage() {
        folder_ = testing::TempDir() + "zavcounters.XXXXXX";
        mkdtemp(folder_.data());
        setenv("ZAV_TEST_BIND", folder_.c_str(), 1);
        setenv("GCOV_PREFIX", folder_.c_str(), 1);
    }
    ~Coverage() override {
        unsetenv("GCOV_PREFIX");
        unsetenv("ZAV_TEST_BIND");
        std::filesystem::remove_all(folder_);
    }
    std::string folder_;
};

TEST_F(Coverage, CountersOfTheProgramReachTheBoundFolder) {
    VictimRoot root;
    EXPECT_EQ(root.run({"write", folder_ + "/bound", "3"}).exit_status, 0);
    EXPECT_EQ(std::filesystem::file_size(folder_ + "/bound"), 3u);
    EXPECT_EQ(has_counters(folder_), __gcov_exit != nullptr);
    EXPECT_THAT(root.tmp(), testing::IsEmpty());
}

TEST_F(Coverage, CountersOfACalledFunctionReachTheBoundFolder) {
    PrivateRoot root;
    root.call([] { return 0; });
    EXPECT_EQ(has_counters(folder_), __gcov_exit != nullptr);
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// Sectioned key/value files under contention, and after a change that was cut short.
#include "base/change_journal.h"
#include "base/file.h"
#include "base/key_value.h"
#include "fixtures/library.h"
#include "fixtures/refused_calls.h"
#include "private_root.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <thread>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::HasSubstr;

constexpr const char* path = "/etc/test.conf";

class KeyValueSafety : public testing::Test {
  protected:
    std::string value(const char* key) {
        return root
            .call([key] {
                char text[64] = "";
                const FileCode code = key_value_get(path, "s", key, text, sizeof text);
                std::fputs(text, stdout);
                return code;
            })
            .out;
    }
    void expect_alone() {
        EXPECT_THAT(root.list("/etc"), testing::Not(testing::Contains(HasSubstr("zav"))));
    }
    // A run that was killed after it had written the first bytes of its change.
    void cut_short() {
        root.file(path, "[s]\n\tk = 1\n\tx = 2\n");
        root.call([] {
            const JournalEntry change = {path, "[s]\n\tk = changed\n\tx = 2\n",
                                         "[s]\n\tk = 1\n\tx = 2\n"};
            EXPECT_TRUE(write_journal(path, {&change, 1}));
            return 0;
        });
        root.file(path, "[s]\n\tk = ch\tx = 2\n");
    }
    PrivateRoot root;
};

TEST_F(KeyValueSafety, AChangeThatWasCutShortIsReadWhole) {
    cut_short();
    EXPECT_EQ(value("k"), "changed");
    EXPECT_EQ(value("x"), "2");
}

TEST_F(KeyValueSafety, AChangeThatWasCutShortIsFinishedBeforeTheNext) {
    cut_short();
    EXPECT_EQ(root.call([] { return key_value_set(path, "s", "x", "3"); }).returned, 0);
    EXPECT_EQ(root.read(path), "[s]\n\tk = changed\n\tx = 3\n");
    expect_alone();
}

TEST_F(KeyValueSafety, AChangeThatWasCutShortIsDroppedWhenTheFileWasChangedSince) {
    cut_short();
    root.file(path, "[s]\n\tk = 5\n");
    EXPECT_EQ(value("k"), "5");
    EXPECT_EQ(root.call([] { return key_value_set(path, "s", "x", "3"); }).returned, 0);
    EXPECT_EQ(root.read(path), "[s]\n\tx = 3\n\tk = 5\n");
    expect_alone();
}

TEST_F(KeyValueSafety, AChangeOfSomebodyElseIsNone) {
    cut_short();
    const std::string journal = root.host_path("/etc/.test.conf.zav");
    ASSERT_EQ(::chown(journal.c_str(), 1234, 1234), 0);
    root.file(path, "[s]\n\tk = 1\n\tx = 2\n");
    EXPECT_EQ(value("k"), "1");
    EXPECT_EQ(root.call([] { return key_value_set(path, "s", "x", "3"); }).returned, 0);
    EXPECT_EQ(root.read(path), "[s]\n\tk = 1\n\tx = 3\n");
    expect_alone();
}

TEST_F(KeyValueSafety, AChangeThatIsNotDurableFails) {
    for (const std::string text : {"[s]\n\tk = 1\n", "[t]\n"}) {
        root.file(path, text);
        const Result result = root.call([] {
            deny_syncs();
            return key_value_set(path, "s", "k", "new");
        });
        EXPECT_EQ(result.returned, -13);
        EXPECT_EQ(root.read(path), text);
        expect_alone();
    }
}

TEST_F(KeyValueSafety, AFileThatCannotBeMadeDurableIsNotMade) {
    const Result result = root.call([] {
        deny_syncs();
        return key_value_set(path, "s", "k", "new");
    });
    EXPECT_EQ(result.returned, -13);
    EXPECT_FALSE(root.exists(path));
}

TEST_F(KeyValueSafety, NoChangeOfManyIsLost) {
    constexpr int writers = 4;
    constexpr int rounds = 25;
    root.file(path, "[s]\n");
    std::vector<StartedRun> runs;
    for (int writer = 0; writer < writers; ++writer) {
        runs.push_back(root.start_call([writer] {
            int failures = 0;
            for (int round = 0; round < rounds; ++round) {
                const std::string key = "k" + std::to_string(writer * rounds + round);
                failures += failed(key_value_set(path, "s", key.c_str(), "1")) ? 1 : 0;
            }
            return failures;
        }));
    }
    for (StartedRun& run : runs) {
        EXPECT_EQ(run.wait().returned, 0);
    }
    const std::string text = root.read(path);
    for (int number = 0; number < writers * rounds; ++number) {
        EXPECT_THAT(text, HasSubstr("\tk" + std::to_string(number) + " = 1\n"));
    }
    expect_alone();
}

// An editor puts a new file in the place of the old one while a reader keeps the change waiting.
TEST_F(KeyValueSafety, AFileThatSomebodyHasReplacedIsChangedAsItIsNow) {
    root.file(path, "[s]\n\tk = 1\n").file("/etc/edited", "[s]\n\tk = 1\n\tedited = 1\n");
    const Result result = root.call([] {
        FileDescriptor reader = FileDescriptor::open(path, O_RDONLY);
        EXPECT_TRUE(lock_for_reading(reader.get()));
        std::thread editor([&reader] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            EXPECT_EQ(::rename("/etc/edited", path), 0);
            reader.close();
        });
        const FileCode code = key_value_set(path, "s", "k", "2");
        editor.join();
        return code;
    });
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(root.read(path), "[s]\n\tk = 2\n\tedited = 1\n");
    expect_alone();
}

TEST_F(KeyValueSafety, APipeInItsPlaceIsNotWaitedFor) {
    root.fifo(path);
    const RunOptions soon = {.time_limit = std::chrono::seconds(5)};
    EXPECT_EQ(root.call([] { return key_value_set(path, "s", "k", "new"); }, soon).returned, -12);
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// What stands where a file should be: a getter fails at once, in bounded memory.
#include "fixtures/status_root.h"
#include "zav/service_state.h"

#include <map>
#include <sys/resource.h>

// Defined only in builds with the address sanitizer, which takes all the room there is.
extern "C" void __asan_init() __attribute__((weak));

namespace zav::test {
namespace {

const std::map<int, rlim_t> little_memory = __asan_init == nullptr
                                                ? std::map<int, rlim_t>{{RLIMIT_AS, 200UL << 20}}
                                                : std::map<int, rlim_t>{};

struct Getter {
    const char* name;
    const char* file;
    int code;
    int (*get)(char*, std::size_t);
    friend void PrintTo(const Getter& getter, std::ostream* out) { *out << getter.name; }
};

const std::vector<Getter> getters = {
    {"tmp_get", other_state, -1010, tmp_get},
    {"pwstate_get", other_state, -1002, pwstate_get},
    {"hostname_get", "/etc/hostname", -1006, hostname_get},
    {"starttime_get", "/etc/nas_start_time.conf", -1004, starttime_get},
    {"softversion_get", "/etc/nas_base.conf", -1008, softversion_get},
    {"share_status_get", "/tmp/state", -1011,
     [](char*, std::size_t) { return share_status_get("/tmp/state"); }},
};

class HostileFile : public testing::TestWithParam<Getter> {
  protected:
    // The getter's result, in a second and with 200 MB at most.
    int result() {
        return root
            .call(
                [] {
                    char text[64] = "";
                    return GetParam().get(text, sizeof text);
                },
                {.limits = little_memory, .time_limit = std::chrono::seconds(5)})
            .returned;
    }
    StatusRoot root{"VEL7206X"};
};

TEST_P(HostileFile, ThatIsAPipeKeepsNobodyWaiting) {
    root.fifo(GetParam().file, 0666);
    EXPECT_EQ(result(), GetParam().code);
}

TEST_P(HostileFile, ThatIsALinkToAnEndlessDeviceIsNotRead) {
    root.symlink("/dev/zero", GetParam().file);
    EXPECT_EQ(result(), GetParam().code);
}

TEST_P(HostileFile, OfEndlessLinesIsNotRead) {
    root.file(GetParam().file, "");
    std::filesystem::resize_file(root.host_path(GetParam().file), 1UL << 40);
    EXPECT_EQ(result(), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(Of, HostileFile, testing::ValuesIn(getters),
                         [](const auto& getter) { return std::string(getter.param.name); });

TEST(HostileFanFile, GivesNoSpeeds) {
    StatusRoot root{"VEL7206X"};
    root.fifo(other_state, 0666);
    const Result result = root.call(
        [] {
            char text[ZAV_FAN_SPEED_SIZE] = "";
            EXPECT_EQ(fan_speed_get(text), 0);
            EXPECT_STREQ(text, "");
            return 0;
        },
        {.time_limit = std::chrono::seconds(5)});
    EXPECT_TRUE(result.has_returned);
}

} // namespace
} // namespace zav::test

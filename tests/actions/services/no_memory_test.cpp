// SPDX-License-Identifier: MIT
// Every function of the C interfaces when memory runs out, at each allocation in turn: it fails
// with a code of its own, and no exception comes out of it.
#include "fixtures/failing_allocations.h"
#include "fixtures/status_root.h"
#include "zav/zav_status.h"

namespace zav::test {
namespace {

struct Call {
    const char* name;
    std::vector<int> codes; // any other is a surprise; none where nothing is allocated
    int (*make)();
    friend void PrintTo(const Call& call, std::ostream* out) { *out << call.name; }
};

template <int (*Get)(char*, std::size_t)>
int into_buffer() {
    char text[64] = "";
    return Get(text, sizeof text);
}

template <int (*Get)(float*)>
int into_number() {
    float percent = 0;
    return Get(&percent);
}

const std::vector<Call> calls = {
    {"hostname_get", {-1006}, into_buffer<hostname_get>},
    {"starttime_get", {-1004}, into_buffer<starttime_get>},
    {"softversion_get", {-1008}, into_buffer<softversion_get>},
    {"hardversion_get", {-1007}, into_buffer<hardversion_get>},
    {"devmodel_get", {-1001}, into_buffer<devmodel_get>},
    {"tmp_get", {-1010, -1001}, into_buffer<tmp_get>},
    {"systime_get", {}, into_buffer<systime_get>},
    {"pwstate_get", {-1002, -1003, -1001, -11000}, into_buffer<pwstate_get>},
    {"get_mem_utility", {-1}, into_number<get_mem_utility>},
    {"get_cpu_utility", {-1}, into_number<get_cpu_utility>},
    {"samba_status_get", {-11000, -1011}, samba_status_get},
    {"zav_status_get", {-11000, -1011}, zav_status_get},
    {"nfs_status_get", {-11000, -1011}, nfs_status_get},
    {"ftp_status_get", {-11000, -1011}, ftp_status_get},
    {"iscsi_status_get", {-11000, -1011}, iscsi_status_get},
    {"share_status_get", {-1011}, [] { return share_status_get("/etc/state"); }},
    {"fan_speed_get",
     {-1009, -1001},
     [] {
         char text[ZAV_FAN_SPEED_SIZE] = "";
         return fan_speed_get(text);
     }},
    {"ftp_limits_get",
     {-1063},
     [] {
         unsigned long limit = 0;
         return ftp_limits_get(&limit, &limit, &limit);
     }},
    {"ftp_limits_set", {-1063, -1067, -11000}, [] { return ftp_limits_set(1, 2, 3); }},
};

class WithoutMemory : public testing::TestWithParam<Call> {
  protected:
    WithoutMemory() {
        root.file("/etc/hostname", "a-name-that-does-not-fit-into-a-short-string\n")
            .file("/etc/nas_start_time.conf", "2026-11-20 10:00:00 and more text behind it\n")
            .file("/etc/sys_info", "[product]\n\ttype = VEL7205P\n[version]\n"
                                   "\tsoftware = 1.2.3-with-a-long-suffix\n"
                                   "\thardware = 4.5.6-with-a-long-suffix\n")
            .file(other_state, "[misc]\n\ttemp = 40\n\tfan1 = 2400\n")
            .file("/etc/state", "812 813 814 815 816 817 818 819\n")
            .file("/etc/vsftpd.conf", before);
        root.tool("/bin/busybox").any().prints("812\n").optional();
        root.tool("/usr/bin/vmstat")
            .any()
            .prints("procs\n  us sy id wa st\n 1 0 0 0 0 0 0 0 0 0 0 0 0 0 93 0 0\n")
            .optional();
        root.tool("/usr/local/bin/pwstate").any().prints("power: ok\n").optional();
        root.tool("/usr/local/bin/nasconf").any().optional();
        root.tool("/bin/mv").any().does("mv \"$1\" \"$2\"").optional();
        root.file("/proc/meminfo",
                  "MemTotal: 100 kB\nMemFree: 50 kB\nBuffers: 5 kB\nCached: 5 kB\n");
    }
    const std::string before = "local_max_rate=7\nmax_clients=8\nmax_per_ip=9\n";
    const std::string after = "local_max_rate=1\nmax_clients=2\nmax_per_ip=3\n";
    StatusRoot root;
};

TEST_P(WithoutMemory, EndsWithACodeOfItsOwn) {
    const Call& call = GetParam();
    const int usual = root.call([&] { return call.make(); }).returned;
    EXPECT_EQ(std::ranges::count(call.codes, usual), 0) << "a failure could not be told";
    constexpr long most = 2000;
    int failures = 0;
    for (long allocations = 0; allocations < most; ++allocations) {
        const Result result = root.call([&] {
            allocations_left = allocations;
            const int code = call.make();
            allocations_left = never;
            EXPECT_TRUE(code == usual || std::ranges::find(call.codes, code) != call.codes.end())
                << code << " after " << allocations << " allocations";
            return !has_failed_allocation ? 0 : code == usual ? 1 : 2;
        });
        ASSERT_TRUE(result.has_returned) << "after " << allocations << " allocations";
        failures += result.returned == 2 ? 1 : 0;
        EXPECT_THAT(root.tmp(), testing::IsSubsetOf({"nas_state.conf"}));
        EXPECT_THAT(root.read("/etc/vsftpd.conf"), testing::AnyOf(before, after));
        if (result.returned == 0) {
            EXPECT_THAT(root.list("/etc"),
                        testing::Not(testing::Contains(testing::HasSubstr(".vsftpd"))));
            EXPECT_EQ(failures > 0, !call.codes.empty()) << "it fails where it allocates";
            return;
        }
    }
    FAIL() << "it takes more than " << most << " allocations";
}

INSTANTIATE_TEST_SUITE_P(Of, WithoutMemory, testing::ValuesIn(calls),
                         [](const auto& call) { return std::string(call.param.name); });

} // namespace
} // namespace zav::test

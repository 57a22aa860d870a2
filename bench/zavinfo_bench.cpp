// SPDX-License-Identifier: MIT
// zavinfo --json on an appliance with 16 disks, 16 arrays, 64 pools and 1,000 shares: processor
// time, outside commands, memory, and wall time beside the commands that display the same.
#include "base/file.h"
#include "base/text.h"
#include "fast_tools.h"
#include "figure.h"
#include "furnish.h"
#include "standin/places.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>

namespace zav::bench {

namespace {

using test::Machine;

constexpr int rounds = 20;
constexpr int warming_up = 3;

const Commands zavinfo = {"/usr/bin/zavinfo", "--json"};

/// The lists of the same things. What they end with does not matter here.
const std::vector<std::string> displaying = {"diskmanage", "mdmanage",  "vgmanage",   "lvmanage",
                                             "fsmanage",   "netmanage", "sharemanage"};

/// Samba shares, the same number on each pool.
void furnish_shares(Machine& machine, int count) {
    furnish_pools(machine);
    std::string sections;
    std::string samba = "[global]\n";
    for (int share = 0; share < count; ++share) {
        const std::string path = pool_directory(share % pool_count);
        sections += format_text("[share%d]\n    sharename = share%d\n    path = %s\n"
                                "    size = 5\n    samba = 1\n    nfs = 0\n    ftp = 0\n"
                                "    iscsi = 0\n    comment = the share of number %d\n",
                                share, share, path.c_str(), share);
        samba += format_text("[share%d]\n    comment = the share of number %d\n    path = %s\n"
                             "    public = yes\n    writable = yes\n    printable = no\n"
                             "    create mask = 0777\n    valid users = anna\n",
                             share, share, path.c_str());
    }
    machine.file("/etc/sharefolder.conf", sections).file("/etc/samba/smb.conf", samba);
    for (const char* path : {"/etc/samba/smb_recy.conf", "/etc/exports", "/etc/exports_recy",
                             "/etc/ietd.conf", "/etc/netfstab"}) {
        machine.file(path, "");
    }
}

void furnish_health(Machine& machine) {
    const auto smart = read_file(BENCH_CAPTURES "/qemu_smartctl_Hi_attr.txt");
    machine.tool("/usr/local/sbin/smartctl").any().prints(smart.value_or(""));
    machine.tool("/usr/bin/vmstat").any().prints("a\nb\n0 0 0 0 0 0 0 0 0 0 0 0 0 0 80\n");
    machine.tool("/bin/busybox").any().prints("812\n");
    machine.file("/etc/hostname", "nas\n")
        .file("/etc/nas_start_time.conf", "2026-11-20 10:00\n")
        .file("/var/run/sys_state", "[status]\n\ttemp(cpu) = 41\n\tfan1 = 2400\n\tpower = normal\n")
        .file("/proc/meminfo", "MemTotal: 100 kB\nMemFree: 40 kB\nBuffers: 5 kB\nCached: 5 kB\n");
}

/// The commands of one run, which must tell everything.
Commands record_commands(Machine& machine, int shares) {
    const test::Result result = machine.run(
        {"--json"},
        {.argv0 = "zavinfo", .program = zavinfo.front(), .time_limit = std::chrono::minutes(5)});
    const std::string last = format_text("\"share%d\"", shares - 1);
    if (result.exit_status != 0 || result.out.find(last) == std::string::npos) {
        throw std::runtime_error("zavinfo does not tell everything:\n" + result.err +
                                 result.out.substr(result.out.rfind("\"failures\"")));
    }
    return result.commands;
}

/// Each outside command is run once.
void print_counts(const test::Result& displayed, const Commands& commands) {
    std::map<std::string, int> counts;
    int most = 0;
    for (const std::string& command : commands) {
        most = std::max(most, ++counts[command.substr(0, command.find(" >"))]);
    }
    print({"runs of one outside command by zavinfo --json", static_cast<double>(most), "", 1,
           format_text("the most; %zu commands, %zu of the displays", commands.size(),
                       displayed.commands.size()),
           true});
}

/// Inside the root: prints the figures.
int measure_inside() {
    std::vector<double> cpu;
    std::vector<double> wall;
    std::vector<double> display_wall;
    for (int round = -warming_up; round < rounds; ++round) {
        const Usage ours = run_fresh(zavinfo, 0);
        double display_ms = 0;
        for (const std::string& command : displaying) {
            display_ms += run_measured({"/usr/bin/zavbox", command, "--display"}).wall_ms;
        }
        if (round >= 0) {
            cpu.push_back(ours.own_cpu_ms);
            wall.push_back(ours.wall_ms);
            display_wall.push_back(display_ms);
        }
    }
    std::printf("%f %f %f %ld\n", median(cpu), median(wall), median(display_wall),
                peak_memory_kib(zavinfo, test::places::proc));
    return 0;
}

struct Measured {
    double cpu_ms = 0;
    double wall_ms = 0;
    double display_ms = 0;
    double memory_kib = 0;
};

Measured measure(int shares, bool counts) {
    Machine machine;
    furnish_shares(machine, shares);
    furnish_health(machine);
    machine.bind(BENCH_ZAVINFO, zavinfo.front());
    const Commands commands = record_commands(machine, shares);
    if (counts) {
        test::Result displayed;
        for (const std::string& command : displaying) {
            const test::Result one = machine.run({command, "--display"});
            displayed.commands.insert(displayed.commands.end(), one.commands.begin(),
                                      one.commands.end());
        }
        print_counts(displayed, commands);
    }
    use_fast_tools(machine, commands, {"/usr/bin/vmstat", "/bin/busybox"});
    const test::Result result =
        machine.call(measure_inside, {.time_limit = std::chrono::minutes(5)});
    Measured measured;
    if (std::sscanf(result.out.c_str(), "%lf %lf %lf %lf", &measured.cpu_ms, &measured.wall_ms,
                    &measured.display_ms, &measured.memory_kib) != 4 ||
        measured.memory_kib <= 0) {
        throw std::runtime_error("nothing was measured:\n" + result.out + result.err);
    }
    return measured;
}

void measure_all() {
    constexpr double most_cpu_ms = 20;
    constexpr double most_times = 11;
    const Measured few = measure(1000, true);
    print({"own processor time of zavinfo --json, 1000 shares", few.cpu_ms, "ms", most_cpu_ms,
           format_text("median of %d", rounds)});
    print({"wall time beside seven displays of zavinfo --json", few.wall_ms / few.display_ms, "x",
           0.5, format_text("medians, %.1f ms beside %.1f ms", few.wall_ms, few.display_ms)});
    print(
        {"peak memory of zavinfo --json, 1000 shares", few.memory_kib / 1024, "MiB", 16, "VmHWM"});
    const double many = measure(10000, false).cpu_ms;
    print({"10 times the shares: zavinfo --json", many / few.cpu_ms, "x", most_times,
           format_text("%.1f ms beside %.1f ms", many, few.cpu_ms)});
}

} // namespace

} // namespace zav::bench

int main() {
    try {
        zav::bench::measure_all();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zavinfo_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}

// SPDX-License-Identifier: MIT
// The most expensive listings: mdmanage --display on an appliance with 16 disks and 16 arrays,
// disksmart --display --detail with 24 disks, lvmanage and fsmanage --display with 64 pools in 8
// groups on 16 arrays, sharemanage --display with many shares. Measures processor time, outside
// commands, memory, and wall time compared to a shell script that runs the same commands.
//
// The commands come from a run with the test harness's stand-in tools, which write a journal. Their
// answers are then given by a small static program in place of every tool, started without a shell
// as real tools are.
#include "actions/shares/steps.h"
#include "base/file.h"
#include "base/text.h"
#include "fast_tools.h"
#include "figure.h"
#include "furnish.h"
#include "machine.h"
#include "measure.h"
#include "standin/places.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <stdexcept>

namespace zav::bench {

namespace {

using test::Machine;

constexpr int health_count = 24;
constexpr int pairs = 20;
constexpr int warming_up = 3;

/// One listing and its expected figures.
struct Listing {
    std::string name; ///< of the figures
    Commands command; ///< after "zavbox"
    std::function<void(Machine&)> furnish;
    Commands expected; ///< the outside commands
    int lines;         ///< the fewest that are printed
    double most_cpu_ms;
    int exit_status = 0;
    double most_memory_mib = 3;
    double most_wall_ratio = 1.10; ///< to the script; 0: no limit, the commands take the least
};

const Commands script = {"/bin/sh", "/commands.sh"};

const std::string smartctl = "/usr/local/sbin/smartctl -d marvell -T permissive ";

Commands disk_list_commands(int disks) {
    Commands commands;
    for (int file = 1; file <= disks; ++file) {
        commands.push_back("cat /proc/scsi/mvSata/" + std::to_string(file));
    }
    std::ranges::sort(commands); // the directory's order varies
    commands.emplace_back("/usr/local/bin/hotspare --list");
    return commands;
}

/// The commands of an array list: the names, the details of each, the disk list for the members,
/// the progress.
Commands array_list_commands() {
    const Commands disk_list = disk_list_commands(array_count);

    Commands commands = {"cat /proc/mdstat"};
    for (int array = 0; array < array_count; ++array) {
        commands.push_back("/sbin/mdadm --detail /dev/" + array_name(array));
    }
    commands.insert(commands.end(), disk_list.begin(), disk_list.end());
    commands.emplace_back("cat /proc/mdstat");
    return commands;
}

/// The array list, and the disk list again for the channels.
Commands array_commands() {
    const Commands disk_list = disk_list_commands(array_count);
    Commands commands = array_list_commands();
    commands.insert(commands.end(), disk_list.begin(), disk_list.end());
    return commands;
}

/// The disk list, then the summary and the attributes of each disk, in the directory's order.
Commands health_commands() {
    Commands commands = disk_list_commands(health_count);
    for (int disk = 0; disk < health_count; ++disk) {
        commands.push_back(smartctl + "-Hi /dev/" + disk_name(disk));
        commands.push_back(smartctl + "-Hi --attributes /dev/" + disk_name(disk));
    }
    std::ranges::sort(commands);
    return commands;
}

/// The pools, then the groups for their devices, which take the disks and arrays for the volumes.
Commands pool_commands() {
    const Commands disks = disk_list_commands(array_count);
    const Commands arrays = array_list_commands();
    Commands commands = {"/sbin/lvdisplay -c", "/sbin/vgdisplay -c"};
    commands.insert(commands.end(), disks.begin(), disks.end());
    commands.insert(commands.end(), arrays.begin(), arrays.end());
    commands.emplace_back("/sbin/pvdisplay -c");
    return commands;
}

/// With the reads of status files, which come in the directory's order, sorted.
Commands with_sorted_files(Commands commands) {
    const auto is_file = [](const std::string& command) {
        return command.starts_with("cat /proc/scsi/");
    };
    for (auto at = commands.begin(); at != commands.end();) {
        const auto start = std::find_if(at, commands.end(), is_file);
        const auto end = std::find_if_not(start, commands.end(), is_file);
        std::sort(start, end);
        at = end;
    }
    return commands;
}

/// Sixteen disks on the main controller, the others in a box.
void furnish_health(Machine& machine) {
    machine.disks(16);
    for (int disk = 16; disk < health_count; ++disk) {
        machine.disk({.name = disk_name(disk), .channel = disk - 15, .device = "1"});
    }
    const auto output = read_file(BENCH_CAPTURES "/qemu_smartctl_Hi_attr.txt");
    machine.tool("/usr/local/sbin/smartctl").any().prints(output.value_or(""));
}

/// Every share is a Samba share on a mounted pool of its own.
void furnish_shares(Machine& machine, int count) {
    machine.disks(1);
    machine.array({.name = "md0", .level = "raid5", .members = {{.name = "sda"}}});
    machine.group({.name = "group", .volumes = {{.device = "/dev/md0"}}});
    std::string pools;
    std::string sections;
    std::string samba = "[global]\n";
    std::string mounts;
    for (int share = 0; share < count; ++share) {
        const std::string name = format_text("share%d", share);
        pools +=
            format_text("  /dev/group/%s:group:3:1:-1:1:4194304:512:-1:0:-1:254:0\n", name.c_str());
        sections += format_text("[%s]\n    sharename = %s\n    path = /mnt/group/%s\n"
                                "    size = 5\n    samba = 1\n    nfs = 0\n    ftp = 0\n"
                                "    iscsi = 0\n    comment = the share of number %d\n",
                                name.c_str(), name.c_str(), name.c_str(), share);
        samba +=
            format_text("[%s]\n    comment = the share of number %d\n    path = /mnt/group/%s\n"
                        "    public = yes\n    writable = yes\n    printable = no\n"
                        "    create mask = 0777\n    valid users = anna\n",
                        name.c_str(), share, name.c_str());
        mounts +=
            format_text("/dev/mapper/%s /mnt/group/%s xfs rw 0 0\n", name.c_str(), name.c_str());
        machine.directory("/mnt/group/" + name);
    }
    machine.tool("/sbin/lvdisplay").any().prints(pools);
    machine.file("/etc/sharefolder.conf", sections)
        .file("/etc/samba/smb.conf", samba)
        .file("/etc/samba/smb_recy.conf", "")
        .file("/etc/exports", "")
        .file("/etc/exports_recy", "")
        .file("/etc/ietd.conf", "")
        .file("/proc/mounts", mounts);
}

/// The targets, the pools once for all shares, the groups, the disks.
Commands share_commands() {
    const Commands disks = disk_list_commands(1);
    Commands commands = {"cat /etc/ietd.conf", "/sbin/lvdisplay -c", "/sbin/vgdisplay -c"};
    commands.insert(commands.end(), disks.begin(), disks.end());
    commands.insert(commands.end(), {"cat /proc/mdstat", "/sbin/mdadm --detail /dev/md0"});
    commands.insert(commands.end(), disks.begin(), disks.end());
    commands.insert(commands.end(), {"cat /proc/mdstat", "/sbin/pvdisplay -c"});
    commands.insert(commands.end(), disks.begin(), disks.end());
    return commands;
}

/// The commands of one listing, as the shell would get them.
Commands record_commands(Machine& machine, const Listing& listing) {
    const test::Result result = machine.run(listing.command);
    if (result.exit_status != listing.exit_status ||
        std::ranges::count(result.out, '\n') < listing.lines) {
        throw std::runtime_error(listing.name + " does not list everything:\n" + result.out);
    }
    Commands seen = with_sorted_files(result.commands_without_redirection());
    if (listing.command.front() == "disksmart") {
        std::ranges::sort(seen);
    }
    print({"outside commands of " + listing.name, static_cast<double>(seen.size()), "",
           static_cast<double>(listing.expected.size()),
           seen == listing.expected ? "one by one those of the steps"
                                    : "not one by one those of the steps",
           true});
    return result.commands;
}

/// Inside the root: prints the times of `pairs` runs of each side.
int measure_inside(const Commands& display, int exit_status) {
    std::vector<double> ratio;
    std::vector<double> wall;
    std::vector<double> script_wall;
    std::vector<double> cpu;
    for (int pair = -warming_up; pair < pairs; ++pair) {
        // Each side goes first in every other pair.
        const bool display_first = pair % 2 == 0;
        Usage ours;
        Usage shell;
        if (display_first) {
            ours = run_fresh(display, exit_status);
        }
        shell = run_fresh(script, 0);
        if (!display_first) {
            ours = run_fresh(display, exit_status);
        }
        if (pair >= 0) {
            ratio.push_back(ours.wall_ms / shell.wall_ms);
            wall.push_back(ours.wall_ms);
            script_wall.push_back(shell.wall_ms);
            cpu.push_back(ours.own_cpu_ms);
        }
    }
    std::printf("%f %f %f %f %f %ld\n", median(cpu), *std::ranges::max_element(cpu), median(ratio),
                median(wall), median(script_wall), peak_memory_kib(display, test::places::proc));
    return 0;
}

struct Measured {
    double cpu_ms = 0;
    double most_cpu_ms = 0;
    double ratio = 0;
    double wall_ms = 0;
    double script_ms = 0;
    double memory_kib = 0;
};

Measured measure(Machine& machine, const Commands& commands, const Listing& listing) {
    Commands display = listing.command;
    display.insert(display.begin(), "/usr/bin/zavbox");
    std::string lines;
    for (const std::string& command : commands) {
        lines += command + "\n";
    }
    machine.file("/commands.sh", lines);
    use_fast_tools(machine, commands);
    const test::Result result =
        machine.call([&] { return measure_inside(display, listing.exit_status); },
                     {.time_limit = std::chrono::minutes(5)});
    Measured measured;
    if (std::sscanf(result.out.c_str(), "%lf %lf %lf %lf %lf %lf", &measured.cpu_ms,
                    &measured.most_cpu_ms, &measured.ratio, &measured.wall_ms, &measured.script_ms,
                    &measured.memory_kib) != 6 ||
        measured.memory_kib <= 0) {
        throw std::runtime_error("nothing was measured:\n" + result.out + result.err);
    }
    return measured;
}

void print_figures(const Measured& measured, const Listing& listing) {
    print({"own processor time of " + listing.name, measured.cpu_ms, "ms", listing.most_cpu_ms,
           format_text("median of %d, largest %.2f ms; its own processor clock", pairs,
                       measured.most_cpu_ms)});
    if (listing.most_wall_ratio > 0) {
        print({"wall time beside sh of " + listing.name, measured.ratio, "x",
               listing.most_wall_ratio,
               format_text("median of %d pairs; %.1f ms beside %.1f ms", pairs, measured.wall_ms,
                           measured.script_ms)});
    }
    print({"peak memory of " + listing.name, measured.memory_kib / 1024, "MiB",
           listing.most_memory_mib, "VmHWM"});
}

Measured measure_listing(const Listing& listing) {
    Machine machine;
    listing.furnish(machine);
    const Commands commands = record_commands(machine, listing);
    const Measured measured = measure(machine, commands, listing);
    print_figures(measured, listing);
    return measured;
}

Measured measure_shares(int count, double most_cpu_ms, double most_memory_mib) {
    return measure_listing({format_text("sharemanage --display, %d shares", count),
                            {"sharemanage", "--display"},
                            [count](Machine& machine) { furnish_shares(machine, count); },
                            share_commands(),
                            count + 2,
                            most_cpu_ms,
                            0,
                            most_memory_mib,
                            0});
}

void measure_share_growth() {
    constexpr double most_times = 11;
    const double few = measure_shares(1000, 30, 16).cpu_ms;
    const double many = measure_shares(10000, 30 * most_times, 16).cpu_ms;
    print({"10 times the shares: sharemanage --display", many / few, "x", most_times,
           format_text("%.1f ms beside %.1f ms", many, few)});
}

/// Processor time of bringing smb.conf in line with a register of so many shares, as creating,
/// restoring and repairing a share do.
double add_share_ms(int count) {
    constexpr int rounds = 5;
    Machine machine;
    furnish_shares(machine, count);
    machine.tool("/usr/local/bin/xconf").any().as_default();
    const test::Result result = machine.call([] {
        share_info share;
        share.name = "share0";
        share.type = share_type::samba;
        std::clock_t best = 0;
        for (int round = 0; round < rounds; ++round) {
            const std::clock_t start = std::clock();
            ShareFiles files;
            if (add_share(files, share) != Code::share_listed) {
                return EXIT_FAILURE;
            }
            const std::clock_t spent = std::clock() - start;
            best = round == 0 ? spent : std::min(best, spent);
        }
        std::printf("%f", 1000.0 * static_cast<double>(best) / CLOCKS_PER_SEC);
        return EXIT_SUCCESS;
    });
    double milliseconds = 0;
    if (result.returned != EXIT_SUCCESS ||
        std::sscanf(result.out.c_str(), "%lf", &milliseconds) != 1 || milliseconds <= 0) {
        throw std::runtime_error("adding a share was not measured:\n" + result.out + result.err);
    }
    return milliseconds;
}

void measure_share_changes() {
    constexpr double most_times = 4.4;
    const double few = add_share_ms(4000);
    const double many = add_share_ms(16000);
    print({"4 times the shares: registering one", many / few, "x", most_times,
           format_text("16,000 and 4,000 shares: %.1f ms beside %.1f ms", many, few)});
}

void measure_all() {
    measure_listing({"mdmanage --display",
                     {"mdmanage", "--display"},
                     furnish_arrays,
                     array_commands(),
                     array_count + 2,
                     3});
    measure_listing({"disksmart --display --detail",
                     {"disksmart", "--display", "--detail"},
                     furnish_health,
                     health_commands(),
                     12 * health_count + 2,
                     5});
    measure_listing({"lvmanage --display",
                     {"lvmanage", "--display"},
                     furnish_pools,
                     pool_commands(),
                     pool_count + 2,
                     5});
    measure_listing({"fsmanage --display",
                     {"fsmanage", "--display"},
                     furnish_pools,
                     pool_commands(),
                     pool_count + 2,
                     5,
                     255});
    measure_share_growth();
    measure_share_changes();
}

} // namespace

} // namespace zav::bench

int main() {
    try {
        zav::bench::measure_all();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "display_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}

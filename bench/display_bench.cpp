// SPDX-License-Identifier: MIT
// mdmanage --display on an appliance with 16 disks and 16 arrays: processor time, outside commands,
// memory, and wall time beside a shell script that runs the same commands.
//
// The commands come from a run with the test harness's stand-in tools, which write a journal. What
// those answered is then given by a small static program in place of every tool, started without a
// shell in between as real tools are.
#include "figure.h"
#include "frame/text.h"
#include "machine.h"
#include "measure.h"
#include "standin/places.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace zav::bench {

namespace {

using test::Machine;
using Commands = std::vector<std::string>;

constexpr int count = 16;
constexpr int pairs = 20;
constexpr int warming_up = 3;
constexpr double most_cpu_ms = 3;
constexpr double most_wall_ratio = 1.10;
constexpr double most_memory_mib = 3;

const Commands display = {"/usr/bin/zavbox", "mdmanage", "--display"};
const Commands script = {"/bin/sh", "/commands.sh"};

std::string disk_name(int number) {
    return std::string("sd") + static_cast<char>('a' + number);
}

std::string array_name(int number) {
    return "md" + std::to_string(number);
}

/// What the discovery's steps come to: the arrays' names, the details of each, the disk list for
/// the members, the progress, and the disk list again for the channels.
Commands expected_commands() {
    Commands disk_list;
    for (int file = 1; file <= count; ++file) {
        disk_list.push_back("cat /proc/scsi/mvSata/" + std::to_string(file));
    }
    std::ranges::sort(disk_list); // the directory's order is its own
    disk_list.emplace_back("/usr/local/bin/hotspare --list");

    Commands commands = {"cat /proc/mdstat"};
    for (int array = 0; array < count; ++array) {
        commands.push_back("/sbin/mdadm --detail /dev/" + array_name(array));
    }
    commands.insert(commands.end(), disk_list.begin(), disk_list.end());
    commands.emplace_back("cat /proc/mdstat");
    commands.insert(commands.end(), disk_list.begin(), disk_list.end());
    return commands;
}

/// With the runs of status files, which are in the directory's order, sorted.
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

void furnish(Machine& machine, bool crowded) {
    machine.disks(count);
    for (int number = 0; number < count; ++number) {
        test::MachineArray array = {.name = array_name(number), .level = "raid5"};
        for (int disk = 0; disk < (crowded ? count : 1); ++disk) {
            array.members.push_back({.name = disk_name(crowded ? disk : number)});
        }
        machine.array(array);
    }
}

/// The commands of one display, as the shell would get them.
Commands record_commands(Machine& machine) {
    const test::Result result = machine.run({"mdmanage", "--display"});
    if (result.exit_status != 0 || std::ranges::count(result.out, '\n') != count + 2) {
        throw std::runtime_error("mdmanage --display does not list the arrays:\n" + result.out);
    }
    const Commands seen = with_sorted_files(result.commands_without_redirection());
    const Commands expected = expected_commands();
    print({"outside commands of mdmanage --display", static_cast<double>(seen.size()), "",
           static_cast<double>(expected.size()),
           seen == expected ? "one by one those of the steps" : "not one by one those of the steps",
           true});
    return result.commands;
}

std::string last_part(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// Puts the program that answers in place of the tools, with what they answered so far.
void use_fast_tools(Machine& machine, const Commands& commands) {
    const std::string answer = BENCH_ANSWER;
    for (const std::string& command : commands) {
        const std::string tool = command.substr(0, command.find(' '));
        if (tool == "cat") {
            continue;
        }
        const std::string call = command.substr(0, command.find(" >"));
        const std::string file =
            "/answers/" + last_part(tool) + "/" + last_part(call.substr(call.rfind(' ') + 1));
        if (!machine.exists(file)) {
            machine.file(file, machine.run({"-c", call}, {.program = "/bin/sh"}).out);
        }
    }
    machine.remove("/bin/cat");
    machine.bind(answer, "/bin/cat");
    machine.bind(answer, "/sbin/mdadm");
    machine.bind(answer, "/usr/local/bin/hotspare");
    machine.bind("/bin/dash", "/bin/sh");
}

/// Runs a command with an empty /tmp, so that both sides make their files anew.
Usage run_fresh(const Commands& command) {
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
        std::filesystem::remove(entry.path());
    }
    const Usage usage = run_measured(command);
    if (!usage.succeeded) {
        throw std::runtime_error("a measured run failed: " + command.front());
    }
    return usage;
}

/// Inside the root: prints what `pairs` runs of each side took.
int measure_inside() {
    std::vector<double> ratio;
    std::vector<double> wall;
    std::vector<double> script_wall;
    std::vector<double> cpu;
    for (int pair = -warming_up; pair < pairs; ++pair) {
        // Each comes first in every other pair.
        const bool display_first = pair % 2 == 0;
        const Usage first = run_fresh(display_first ? display : script);
        const Usage second = run_fresh(display_first ? script : display);
        const Usage& ours = display_first ? first : second;
        const Usage& shell = display_first ? second : first;
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

Measured measure(Machine& machine, const Commands& commands) {
    std::string lines;
    for (const std::string& command : commands) {
        lines += command + "\n";
    }
    machine.file("/commands.sh", lines);
    use_fast_tools(machine, commands);
    const test::Result result =
        machine.call(measure_inside, {.time_limit = std::chrono::minutes(5)});
    Measured measured;
    if (std::sscanf(result.out.c_str(), "%lf %lf %lf %lf %lf %lf", &measured.cpu_ms,
                    &measured.most_cpu_ms, &measured.ratio, &measured.wall_ms, &measured.script_ms,
                    &measured.memory_kib) != 6 ||
        measured.memory_kib <= 0) {
        throw std::runtime_error("nothing was measured:\n" + result.out + result.err);
    }
    return measured;
}

void print_figures(const Measured& measured, const std::string& of) {
    print({"own processor time of mdmanage --display" + of, measured.cpu_ms, "ms", most_cpu_ms,
           format_text("median of %d, largest %.2f ms; its own processor clock", pairs,
                       measured.most_cpu_ms)});
    print({"wall time beside sh with the same commands" + of, measured.ratio, "x", most_wall_ratio,
           format_text("median of %d pairs; %.1f ms beside %.1f ms", pairs, measured.wall_ms,
                       measured.script_ms)});
    print({"peak memory of mdmanage --display" + of, measured.memory_kib / 1024, "MiB",
           most_memory_mib, "VmHWM"});
}

void measure_machine(bool crowded) {
    Machine machine;
    furnish(machine, crowded);
    const Commands commands = record_commands(machine);
    print_figures(measure(machine, commands), crowded ? ", each array on every disk" : "");
}

} // namespace

} // namespace zav::bench

int main() {
    try {
        zav::bench::measure_machine(false);
        zav::bench::measure_machine(true);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "display_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}

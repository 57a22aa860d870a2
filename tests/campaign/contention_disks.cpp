// SPDX-License-Identifier: MIT
// 16 creations that want the same disk, of arrays, groups and hot spares: exactly one gets it.
#include "busy_machine.h"
#include "contention.h"

#include <algorithm>
#include <random>
#include <sstream>
#include <utility>

namespace zav::campaign {
namespace {

using namespace test;

constexpr int creations = 16;
constexpr int wanted = 5; // the channel of sde
constexpr int first_other = 6;
constexpr int others = 7;

Texts creation(int number, int other) {
    const std::string channels = std::to_string(wanted) + "," + std::to_string(other);
    const std::string name = std::to_string(10 + number);
    switch (number % 4) {
    case 0:
    case 1:
        return {"mdmanage", "--create", "-n", "md" + name, "-l", "1", "-d", "0", channels};
    case 2:
        return {"vgmanage", "--create", "-c", channels, "-n", "vg" + name, "-d", "0"};
    default:
        return {"diskmanage", "--hotspare", "-a", std::to_string(wanted), "-d", "0"};
    }
}

int count_of(const std::string& text, const std::string& part) {
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

// How many things the disk is part of.
int uses_of_disk(const BusyMachine& machine) {
    return count_of(machine.read("/proc/mdstat"), " sde[") +
           count_of(machine.read("/state/volumes"), "  /dev/sde:") +
           count_of(machine.read("/state/hotspares"), " sde");
}

Violations run_round(int round) {
    BusyMachine machine;
    std::mt19937 random(static_cast<unsigned>(round));
    std::vector<Texts> commands;
    for (int number = 0; number < creations; ++number) {
        const int other = first_other + static_cast<int>(random() % others);
        commands.push_back(creation(number, other));
    }
    std::shuffle(commands.begin(), commands.end(), random);
    std::vector<StartedRun> runs;
    for (const Texts& command : commands) {
        runs.push_back(machine.start(command, {.time_limit = std::chrono::seconds(120)}));
    }
    std::string text = "the commands";
    int succeeded = 0;
    for (size_t at = 0; at < runs.size(); ++at) {
        const Result result = runs[at].wait();
        const bool has_succeeded =
            result.exit_status == 0 && result.out.find("for errno") == std::string::npos;
        succeeded += has_succeeded ? 1 : 0;
        text += "; " + commands[at][0] + " " + commands[at].at(3) + " -> " +
                std::to_string(result.exit_status);
    }
    Violations wrong;
    if (succeeded != 1) {
        wrong.push_back(std::to_string(succeeded) + " creations succeeded");
    }
    if (const int uses = uses_of_disk(machine); uses != 1) {
        wrong.push_back("the disk is part of " + std::to_string(uses) + " things");
    }
    const Texts left = machine.left_over();
    std::copy_if(left.begin(), left.end(), std::back_inserter(wrong), [](const std::string& name) {
        // They stay: the names that arrays reserved, and what df told diskmanage.
        return name.find("mdname.test") == std::string::npos &&
               name.find("dfinfo.") == std::string::npos;
    });
    return with_commands(std::move(wrong), text);
}

} // namespace

std::vector<Figure> contend_for_disks(const CampaignOptions& options, int rounds) {
    return {run_rounds(options, "rounds of 16 creations on one disk", rounds, run_round)};
}

} // namespace zav::campaign

// SPDX-License-Identifier: MIT
// File systems and network disks that come and go at once: the registers of mounts have a line for
// each of those that are there, and no other.
#include "busy_machine.h"
#include "contention.h"

#include <map>
#include <random>
#include <sstream>
#include <utility>

namespace zav::campaign {
namespace {

using namespace test;

constexpr int pools = 6;
constexpr int network_disks = 4;

struct Owned {
    std::string name;
    std::string device; // of a network disk
    bool exists = false;

    bool is_network_disk() const { return !device.empty(); }
    std::string line() const {
        return is_network_disk()
                   ? "LABEL=" + name + "\t/mnt/netdisk/" + name + "\txfs\tdefaults\t0 0"
                   : "/dev/data/" + name + "\t/mnt/data/" + name + "\txfs\tdefaults\t0 0";
    }
    Texts creation() const {
        return is_network_disk()
                   ? Texts{"netmanage", "--create", "-n", name, "-g", device}
                   : Texts{"fsmanage", "--create", "-n", name, "-s", "1", "-g", "data"};
    }
    Texts deletion() const {
        return is_network_disk() ? Texts{"netmanage", "--delete", "-n", name}
                                 : Texts{"fsmanage", "--delete", "-n", name, "-g", "data"};
    }
};

class MountContest {
  public:
    MountContest() {
        for (int number = 0; number < pools; ++number) {
            owned_.push_back({"pool" + std::to_string(number), "", false});
        }
        for (int number = 0; number < network_disks; ++number) {
            owned_.push_back({"net" + std::to_string(number),
                              std::string("sd") + static_cast<char>('e' + number), false});
        }
        machine_.file(mdfstab, kept_pool_ + "\n").file(netfstab, kept_disk_ + "\n");
    }
    Violations run_round(int round);

  private:
    void check(const char* path, const std::string& kept, bool of_network, Texts& wrong) const;

    BusyMachine machine_;
    const std::string kept_pool_ = "/dev/data/kept\t/mnt/data/kept\txfs\tdefaults\t0 0";
    const std::string kept_disk_ = "LABEL=kept\t/mnt/netdisk/kept\txfs\tdefaults\t0 0";
    std::vector<Owned> owned_;
};

Violations MountContest::run_round(int round) {
    std::mt19937 random(static_cast<unsigned>(round));
    std::vector<Texts> commands;
    std::vector<StartedRun> runs;
    const RunOptions patient = {.time_limit = std::chrono::seconds(120)};
    machine_.remove("/var/log/log.libzav");
    for (const Owned& one : owned_) {
        if (random() % 3 == 0) {
            runs.push_back(machine_.start(
                {one.is_network_disk() ? "netmanage" : "fsmanage", "--display"}, patient));
            commands.emplace_back();
        }
        commands.push_back(one.exists ? one.deletion() : one.creation());
        runs.push_back(machine_.start(commands.back(), patient));
    }
    std::string text = "the commands";
    Violations wrong;
    size_t next = 0;
    for (size_t at = 0; at < runs.size(); ++at) {
        const Result result = runs[at].wait();
        if (commands[at].empty()) {
            continue;
        }
        Owned& one = owned_[next++];
        text += "; " + commands[at][0] + " " + commands[at][1] + " -n " + one.name + " -> " +
                std::to_string(result.exit_status);
        if (result.exit_status != 0) {
            wrong.push_back(one.name + ": " + result.out);
        } else {
            one.exists = !one.exists;
            if (!one.exists) {
                // Without LVM's backup nothing tells the group: a deletion leaves the pool.
                machine_.remove("/state/pools/" + one.name);
            }
        }
    }
    check(mdfstab, kept_pool_, false, wrong);
    check(netfstab, kept_disk_, true, wrong);
    const Texts left = machine_.left_over();
    wrong.insert(wrong.end(), left.begin(), left.end());
    return with_commands(std::move(wrong), text);
}

void MountContest::check(const char* path, const std::string& kept, bool of_network,
                         Texts& wrong) const {
    std::map<std::string, int> lines;
    std::istringstream in(machine_.read(path));
    for (std::string line; std::getline(in, line);) {
        ++lines[line];
    }
    std::map<std::string, int> expected = {{kept, 1}};
    for (const Owned& one : owned_) {
        if (one.exists && one.is_network_disk() == of_network) {
            expected[one.line()] = 1;
        }
    }
    if (lines != expected) {
        wrong.push_back(std::string(path) + " holds \"" + machine_.read(path) + "\"");
    }
}

} // namespace

std::vector<Figure> contend_for_mounts(const CampaignOptions& options, int rounds) {
    MountContest contest;
    return {run_rounds(options, "rounds of changes of the mount registers", rounds,
                       [&contest](int round) { return contest.run_round(round); })};
}

} // namespace zav::campaign

// SPDX-License-Identifier: MIT
// 8 writers and 2 listers on the shares of all services. Writers 0 to 5 have a share of their own;
// the others have one together. After each round, at rest, each share is as the last command that
// succeeded made it, or no more open than that when one failed.
#include "busy_machine.h"
#include "contention.h"
#include "share_state.h"

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace zav::campaign {
namespace {

using namespace test;

constexpr int writers = 8;
constexpr const char* common_share = "both";
constexpr std::array<const char*, 4> service_names = {"samba", "nfs", "iscsi", "ftp"};

RunOptions patient() {
    return {.time_limit = std::chrono::seconds(120)};
}

struct Command {
    std::string share; // empty: a listing
    Texts arguments;
    ShareState wanted;
};

struct Ended {
    Command command;
    Result result;
};

std::string share_of(int writer) {
    return writer < writers - 2 ? "own" + std::to_string(writer) : common_share;
}

class Commands {
  public:
    explicit Commands(unsigned seed) : random_(seed) {}

    int up_to(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }

    // Something that can be done with a share in that state.
    Command next(const std::string& share, const std::string& user, const ShareState& state) {
        const int choice = up_to(10);
        if (!state.exists) {
            return create(share, user);
        }
        if (choice == 0) {
            return {share, {"--delete", "-n", share}, {}};
        }
        if (state.service.empty()) {
            return choice < 7 ? use(share, user) : change_forbidden(share, state);
        }
        if (choice < 4 && state.service != "iscsi") {
            return forbid(share, state);
        }
        if (choice == 4) {
            return {share, {"--repair", "-n", share, "-f", state.service, "data"}, state};
        }
        return change(share, user, state);
    }

  private:
    std::string some_users(const std::string& service, const std::string& user) {
        if (service == "nfs") {
            return "10.0.0." + std::to_string(up_to(9) + 1);
        }
        if (service == "ftp") {
            return user + (up_to(2) == 0 ? "a" : "b");
        }
        return up_to(2) == 0 ? "anna" : "anna,bert";
    }
    static void give_users(Command& command, const std::string& users) {
        command.arguments.insert(command.arguments.end(), {"-u", users});
        command.wanted.users = users;
    }
    void give_access(Command& command) {
        command.wanted.writable = up_to(2) == 0;
        command.arguments.insert(command.arguments.end(),
                                 {"-x", command.wanted.writable ? "rw" : "ro"});
    }
    Command create(const std::string& share, const std::string& user) {
        const std::string service = service_names[static_cast<size_t>(up_to(4))];
        Command made = {share,
                        {"--create", "-n", share, "-f", service, "-s", "1"},
                        {true, service, service == "ftp" ? "ftpuser" : "", true, ""}};
        if (up_to(3) != 0) {
            give_users(made, some_users(service, user));
        }
        give_access(made);
        made.arguments.emplace_back("data");
        return made;
    }
    static Command edit(const std::string& share, const std::string& service, const char* state) {
        return {share,
                {"--edit", "-n", share, "-f", service, "-b", state},
                {true, service, "", true, ""}};
    }
    Command use(const std::string& share, const std::string& user) {
        // A forbidden share has a file system, which iSCSI does not take.
        constexpr std::array<const char*, 3> taking = {"samba", "nfs", "ftp"};
        const std::string service = taking[static_cast<size_t>(up_to(3))];
        Command used = edit(share, service, "1");
        give_users(used, some_users(service, user));
        give_access(used);
        return used;
    }
    Command change(const std::string& share, const std::string& user, const ShareState& state) {
        Command changed = edit(share, state.service, "1");
        changed.wanted.users = state.service == "ftp" ? "ftpuser" : state.users;
        if (share == common_share || up_to(3) != 0) {
            give_users(changed, some_users(state.service, user));
        }
        give_access(changed);
        return changed;
    }
    static Command forbid(const std::string& share, const ShareState& state) {
        Command forbidden = edit(share, state.service, "0");
        forbidden.wanted = {true, "", state.service == "ftp" ? "" : state.users, true, ""};
        return forbidden;
    }
    static Command change_forbidden(const std::string& share, const ShareState& state) {
        Command changed = edit(share, state.parked_by.empty() ? "ftp" : state.parked_by, "0");
        changed.wanted = state;
        changed.wanted.users = "";
        return changed;
    }

    std::mt19937 random_;
};

// What a listing says of a share: name, type, path, users, access.
using Listing = std::map<std::string, Texts>;

Listing listed(const std::string& output, Texts& wrong) {
    Listing shares;
    std::istringstream in(output);
    std::string line;
    std::getline(in, line);
    std::getline(in, line);
    while (std::getline(in, line)) {
        Texts fields;
        std::istringstream parts(line);
        for (std::string part; std::getline(parts, part, '\t');) {
            fields.push_back(part);
        }
        if (fields.size() != 9) {
            wrong.push_back("a listing has the line \"" + line + "\"");
            continue;
        }
        fields.resize(5);
        if (!shares.try_emplace(fields[0], fields).second) {
            wrong.push_back("a listing has " + fields[0] + " twice");
        }
    }
    return shares;
}

class ShareContest {
  public:
    ShareContest();
    Violations run_round(int round);
    const Figure& listings() const { return listings_; }
    const Figure& undisturbed() const { return undisturbed_; }

  private:
    std::vector<Command> commands_of(Commands& commands, bool is_alone);
    std::vector<Ended> run_at_once(const std::vector<Command>& commands);
    void check_shares(const std::vector<Ended>& ended, Texts& wrong);
    void check_share(const std::string& name, const std::vector<const Ended*>& ended,
                     const SharesAtRest& found, Texts& wrong);
    void check_listing(const Ended& listing, const std::vector<Ended>& ended,
                       const std::string& round);
    void check_register_of_mounts(Texts& wrong) const;

    BusyMachine machine_;
    std::map<std::string, ShareState> states_; // at rest, before the round
    Listing kept_;                             // shares that no writer touches
    Figure listings_ = {"contention", "listings during share changes"};
    Figure undisturbed_ = {"contention", "share changes beside listings only"};
};

ShareContest::ShareContest() {
    std::string accounts = machine_.read(passwd);
    for (int writer = 0; writer < writers; ++writer) {
        for (const char* one : {"a", "b"}) {
            const std::string user = "ftp" + std::to_string(writer) + one;
            accounts += user + ":x:" + std::to_string(2000 + 2 * writer + (*one == 'b')) +
                        ":100::/home/" + user + ":/bin/sh\n";
        }
    }
    machine_.file(passwd, accounts + "keep:x:2999:100::/home/keep:/bin/sh\n");
    const std::vector<Texts> kept = {{"keepsamba", "samba", "anna"},
                                     {"keepnfs", "nfs", "10.0.0.7"},
                                     {"keepiscsi", "iscsi", "anna"},
                                     {"keepftp", "ftp", "keep"}};
    for (const Texts& share : kept) {
        const Result made = machine_.sharemanage(
            {"--create", "-n", share[0], "-f", share[1], "-s", "1", "-u", share[2], "data"});
        if (made.exit_status != 0) {
            throw std::runtime_error("cannot create " + share[0] + ": " + made.out);
        }
    }
    Texts wrong;
    kept_ = listed(machine_.sharemanage({"--display"}).out, wrong);
    if (kept_.size() != kept.size() || !wrong.empty()) {
        throw std::runtime_error("the shares to be kept are not listed");
    }
    const SharesAtRest found = read_shares(machine_);
    for (const auto& [name, unused] : kept_) {
        states_[name] = found.state_of(name);
    }
}

std::vector<Command> ShareContest::commands_of(Commands& commands, bool is_alone) {
    std::vector<Command> all;
    const int first = is_alone ? commands.up_to(writers) : 0;
    for (int writer = first; writer < (is_alone ? first + 1 : writers); ++writer) {
        const std::string share = share_of(writer);
        all.push_back(commands.next(share, "ftp" + std::to_string(writer), states_[share]));
    }
    for (int lister = 0; lister < (is_alone ? 4 : 2); ++lister) {
        const auto place = all.begin() + commands.up_to(static_cast<int>(all.size()) + 1);
        all.insert(place, Command{"", {"--display"}, {}});
    }
    return all;
}

std::vector<Ended> ShareContest::run_at_once(const std::vector<Command>& commands) {
    std::vector<StartedRun> runs;
    for (const Command& command : commands) {
        Texts arguments = command.arguments;
        arguments.insert(arguments.begin(), "sharemanage");
        runs.push_back(machine_.start(arguments, patient()));
    }
    std::vector<Ended> ended;
    for (size_t at = 0; at < runs.size(); ++at) {
        ended.push_back({commands[at], runs[at].wait()});
    }
    return ended;
}

std::string text_of(const std::vector<Ended>& ended) {
    std::string text;
    for (const auto& [command, result] : ended) {
        if (!command.share.empty()) {
            text += "; sharemanage";
            for (const std::string& word : command.arguments) {
                text += " " + word;
            }
            text += " -> " + std::to_string(result.exit_status);
        }
    }
    return text;
}

Violations ShareContest::run_round(int round) {
    Commands commands(static_cast<unsigned>(round));
    const bool is_alone = round % 5 == 4;
    machine_.remove("/var/log/log.libzav");
    const std::vector<Ended> ended = run_at_once(commands_of(commands, is_alone));
    const std::string text = "round " + std::to_string(round) + text_of(ended);
    for (const Ended& one : ended) {
        if (one.command.share.empty()) {
            check_listing(one, ended, text);
        } else if (is_alone) {
            Texts wrong;
            if (one.result.exit_status != 0) {
                wrong = {one.result.out};
            }
            undisturbed_.count(wrong, text);
        }
    }
    Violations wrong;
    check_shares(ended, wrong);
    check_register_of_mounts(wrong);
    const Texts left = machine_.left_over();
    wrong.insert(wrong.end(), left.begin(), left.end());
    return with_commands(std::move(wrong), text);
}

bool is_open(const ShareState& state) {
    return !state.service.empty() && (state.users.empty() || state.service == "ftp");
}

void ShareContest::check_listing(const Ended& listing, const std::vector<Ended>& ended,
                                 const std::string& round) {
    Texts wrong;
    if (listing.result.exit_status != 0) {
        wrong.push_back("a listing ended with " + std::to_string(listing.result.exit_status) +
                        " and \"" + listing.result.out + "\"");
    }
    Listing shares = listed(listing.result.out, wrong);
    for (const auto& [name, fields] : kept_) {
        if (shares[name] != fields) {
            wrong.push_back("a listing has " + name + " as " +
                            testing::PrintToString(shares[name]));
        }
    }
    for (const Ended& one : ended) {
        const std::string& name = one.command.share;
        const auto shown = shares.find(name);
        if (name.empty() || shown == shares.end() || shown->second.empty()) {
            continue;
        }
        const bool may_be_open =
            is_open(states_[name]) || is_open(one.command.wanted) || name == common_share;
        const bool is_served = !shown->second[1].empty();
        if (is_served && shown->second[3] == "*" && !may_be_open) {
            wrong.push_back("a listing shows everybody as the users of " + name);
        }
    }
    listings_.count(wrong, round);
}

void ShareContest::check_shares(const std::vector<Ended>& ended, Texts& wrong) {
    const SharesAtRest found = read_shares(machine_);
    wrong.insert(wrong.end(), found.wrong.begin(), found.wrong.end());
    std::set<std::string> names;
    for (const auto* entries : {&found.exported, &found.parked}) {
        for (const auto& [name, unused] : *entries) {
            names.insert(name);
        }
    }
    for (const auto& [name, unused] : found.registered) {
        names.insert(name);
    }
    for (const auto& [name, unused] : kept_) {
        names.insert(name);
    }
    std::map<std::string, std::vector<const Ended*>> by_share;
    for (const Ended& one : ended) {
        if (!one.command.share.empty()) {
            by_share[one.command.share].push_back(&one);
            names.insert(one.command.share);
        }
    }
    for (const std::string& name : names) {
        const Texts more = found.contradictions(name);
        wrong.insert(wrong.end(), more.begin(), more.end());
        check_share(name, by_share[name], found, wrong);
        states_[name] = found.state_of(name);
    }
}

// Whether the share is as wanted. Of NFS only rw is ever read, and what a forbidden share had
// counts where a file keeps it.
bool is_as(const ShareState& found, const ShareState& wanted) {
    if (found.exists != wanted.exists || found.service != wanted.service) {
        return false;
    }
    if (!wanted.exists || wanted.service.empty()) {
        return true;
    }
    const bool has_access = wanted.service == "samba";
    return found.users == wanted.users && (!has_access || found.writable == wanted.writable);
}

void ShareContest::check_share(const std::string& name, const std::vector<const Ended*>& ended,
                               const SharesAtRest& found, Texts& wrong) {
    const ShareState before = states_[name];
    const ShareState now = found.state_of(name);
    std::vector<ShareState> possible;
    std::vector<ShareState> allowed = {before};
    for (const Ended* one : ended) {
        allowed.push_back(one->command.wanted);
        if (one->result.exit_status == 0) {
            possible.push_back(one->command.wanted);
        }
    }
    std::string wanted;
    for (const ShareState& state : possible) {
        wanted += (wanted.empty() ? "" : " or ") + described(state);
    }
    const bool is_repair = std::any_of(ended.begin(), ended.end(), [](const Ended* one) {
        return one->command.arguments.front() == "--repair";
    });
    if (!possible.empty() && !is_repair &&
        std::none_of(possible.begin(), possible.end(),
                     [&now](const ShareState& state) { return is_as(now, state); })) {
        wrong.push_back(name + ": was " + described(before) + ", is " + described(now) +
                        " instead of " + wanted);
    }
    const auto live = found.exported.find(name);
    for (const Entry& entry : live != found.exported.end() ? live->second : std::vector<Entry>()) {
        const std::vector<ShareState>& from = possible.empty() || is_repair ? allowed : possible;
        if (std::none_of(from.begin(), from.end(), [&entry](const ShareState& state) {
                return state.service == entry.service &&
                       (state.users == entry.users || entry.users == "ftpuser");
            })) {
            wrong.push_back(name + ": was " + described(before) + ", is exported by " +
                            entry.service + " to " + (entry.users.empty() ? "all" : entry.users) +
                            (wanted.empty() ? "" : " instead of " + wanted));
        }
    }
}

void ShareContest::check_register_of_mounts(Texts& wrong) const {
    std::set<std::string> seen;
    std::istringstream in(machine_.read(mdfstab));
    for (std::string line; std::getline(in, line);) {
        const size_t end = line.find('\t');
        if (end == std::string::npos || !line.starts_with("/dev/data/") ||
            !line.ends_with("\txfs\tdefaults\t0 0") || !seen.insert(line.substr(0, end)).second) {
            wrong.push_back("/etc/mdfstab has \"" + line + "\"");
        }
    }
}

} // namespace

std::vector<Figure> contend_for_shares(const CampaignOptions& options, int rounds) {
    std::unique_ptr<ShareContest> contest;
    const Figure at_rest = run_rounds(options, "rounds of share changes, files at rest", rounds,
                                      [&contest](int round) {
                                          if (!contest) {
                                              contest = std::make_unique<ShareContest>();
                                          }
                                          return contest->run_round(round);
                                      });
    if (!contest) {
        return {at_rest};
    }
    print(contest->listings());
    print(contest->undisturbed());
    return {at_rest, contest->listings(), contest->undisturbed()};
}

} // namespace zav::campaign

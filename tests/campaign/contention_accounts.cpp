// SPDX-License-Identifier: MIT
// Two edits of FTP shares move homes in /etc/passwd while accounts are added under the system's
// lock, as useradd does it: no account is lost, none changed but those of the edits.
#include "busy_machine.h"
#include "contention.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <shadow.h>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace zav::campaign {
namespace {

using namespace test;

// Inside the root. 0, or 1 when the lock cannot be had.
int add_account(const std::string& name) {
    if (lckpwdf() != 0) {
        return 1;
    }
    std::ifstream in("/etc/passwd", std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    std::ofstream("/etc/passwd+", std::ios::binary)
        << text << name << ":x:3000:100::/home/" << name << ":/bin/sh\n";
    const int result = std::rename("/etc/passwd+", "/etc/passwd");
    return ulckpwdf() == 0 ? result : 1;
}

using Homes = std::map<std::string, std::string>; // by account

class AccountContest {
  public:
    AccountContest();
    Violations run_round(int round);

  private:
    Homes read_homes(Texts& wrong) const;

    BusyMachine machine_;
    Homes homes_;
    Texts users_ = {"one0", "two0"}; // of the two shares
};

AccountContest::AccountContest() {
    std::string accounts = machine_.read(passwd);
    for (const char* name : {"one0", "one1", "two0", "two1"}) {
        accounts += std::string(name) + ":x:2000:100::/home/" + name + ":/bin/sh\n";
    }
    machine_.file(passwd, accounts);
    for (const char* name : {"one", "two"}) {
        const Result made = machine_.run({"sharemanage", "--create", "-n", name, "-f", "FTP", "-s",
                                          "1", "-u", std::string(name) + "0", "data"});
        if (made.exit_status != 0) {
            throw std::runtime_error("cannot create an FTP share: " + made.out);
        }
    }
    Texts wrong;
    homes_ = read_homes(wrong);
}

Homes AccountContest::read_homes(Texts& wrong) const {
    Homes homes;
    std::istringstream in(machine_.read(passwd));
    for (std::string line; std::getline(in, line);) {
        Texts fields;
        std::istringstream parts(line);
        for (std::string part; std::getline(parts, part, ':');) {
            fields.push_back(part);
        }
        if (fields.size() != 7 || !homes.emplace(fields[0], fields[5]).second) {
            wrong.push_back("/etc/passwd has \"" + line + "\"");
        }
    }
    return homes;
}

Violations AccountContest::run_round(int round) {
    const RunOptions patient = {.time_limit = std::chrono::seconds(120)};
    machine_.remove("/var/log/log.libzav");
    std::vector<StartedRun> edits;
    std::vector<StartedRun> additions;
    Texts next;
    for (const char* name : {"one", "two"}) {
        const std::string account = "new" + std::to_string(round) + name;
        additions.push_back(
            machine_.start_call([account] { return add_account(account); }, patient));
        const std::string& current = users_[next.size()];
        next.push_back(std::string(name) + (current.back() == '0' ? "1" : "0"));
        edits.push_back(machine_.start(
            {"sharemanage", "--edit", "-n", name, "-f", "FTP", "-b", "1", "-u", next.back()},
            patient));
        homes_[account] = "/home/" + account;
    }
    Violations wrong;
    std::string text = "the commands";
    for (size_t at = 0; at < edits.size(); ++at) {
        if (additions[at].wait().returned != 0) {
            wrong.emplace_back("an account could not be added");
        }
        const int status = edits[at].wait().exit_status;
        text += "; " + users_[at] + " to " + next[at] + " -> " + std::to_string(status);
        if (status == 0) {
            homes_[users_[at]] = "/home/" + users_[at];
            homes_[next[at]] = "/home/ftpuser";
            users_[at] = next[at];
        }
    }
    if (const Homes homes = read_homes(wrong); homes != homes_) {
        wrong.push_back("/etc/passwd holds \"" + machine_.read(passwd) + "\"");
    }
    const Texts left = machine_.left_over();
    wrong.insert(wrong.end(), left.begin(), left.end());
    return with_commands(std::move(wrong), text);
}

} // namespace

std::vector<Figure> contend_for_accounts(const CampaignOptions& options, int rounds) {
    constexpr int rounds_of_one_machine = 60; // not too many accounts for the lines that are read
    std::unique_ptr<AccountContest> contest;
    return {run_rounds(options, "rounds of FTP edits beside new accounts", rounds,
                       [&contest](int round) {
                           if (!contest || round % rounds_of_one_machine == 0) {
                               contest = std::make_unique<AccountContest>();
                           }
                           return contest->run_round(round);
                       })};
}

} // namespace zav::campaign

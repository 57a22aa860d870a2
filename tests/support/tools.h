// SPDX-License-Identifier: MIT
// The stand-in tools of a private root: commands and their answers.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zav::test {

struct RuleState;

// One rule: a tool's answer to a command. Without any of the calls below the tool prints nothing
// and exits with 0. The order within an answer is always: snippet, output, filler, error output,
// end.
class Rule {
  public:
    explicit Rule(std::shared_ptr<RuleState> state);

    Rule& prints(std::string text);
    Rule& prints_bytes(size_t count);  // that many bytes of filler lines
    Rule& complains(std::string text); // on standard error
    Rule& does(std::string snippet);   // busybox sh; the real arguments are $1, $2, ...
    Rule& exits(int status);           // default: the snippet's status, or 0
    Rule& killed_by(int signal);
    Rule& replays(const std::string& capture); // output and exit status of a recorded run

    Rule& then(); // what follows describes the answer to the next call; the last one repeats
    Rule& times(size_t n); // the answers are given n times, then the next rule answers
    Rule& once() { return times(1); }
    Rule& optional(); // not required by expect_all_used()
    Rule&
    as_default(); // for fixtures: optional, and tried after a test's own rules of the same kind

  private:
    std::shared_ptr<RuleState> state_;
};

// A stand-in tool. A command is compared without its redirections ("/sbin/mdadm -S /dev/md1" for
// "/sbin/mdadm -S /dev/md1 > /dev/null 2>> /dev/null"), blanks as they are. Exact rules are tried
// before prefixes (longest first), and prefixes before any(). Of rules for the same text, those
// with once()/times() come first, in order; of the others the last one declared applies, so a test
// overrides what a fixture has set up.
class Tool {
  public:
    Tool(class RuleBook& book, std::string path);

    Rule on(const std::string& command);
    Rule on_prefix(const std::string& beginning);
    Rule any();
    // Answers the command of a recorded run with its recording.
    Rule replays(const std::string& capture);

  private:
    RuleBook* book_;
    std::string path_;
};

// All rules of one private root.
class RuleBook {
  public:
    Rule add(RuleState state);
    // The rules in the order in which they are tried, without unreachable ones.
    std::vector<RuleState> in_force() const;

  private:
    std::vector<std::shared_ptr<RuleState>> rules_;
};

} // namespace zav::test

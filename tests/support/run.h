// SPDX-License-Identifier: MIT
// One run of the program under test, or of a function, inside a private root.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/types.h>
#include <type_traits>
#include <utility>
#include <vector>

namespace zav::test {

// What one outside command of a run does instead of its work; the last two do it all the same.
struct CommandFault {
    size_t number = 1; // of the command in the run, from 1
    // "exit1", "exit3", "killed", "missing" (as the shell reports it), "silent" (status 0 and no
    // output), "garbage" and "megabyte" (the same with that output), "half" (of what it writes into
    // a file), "worked" (with status 1).
    std::string kind = "exit1";
};

struct RunOptions {
    std::string argv0 = "zavbox";
    std::string program = "/usr/bin/zavbox"; // path inside
    // Changes to the default environment (PATH with the six folders, HOME=/, TZ=UTC0); a null value
    // removes the variable. Variables that steer sanitizers and coverage pass through.
    std::map<std::string, std::optional<std::string>> environment = {};
    std::string input = {};                      // the contents of standard input
    std::map<int, std::string> descriptors = {}; // number: path inside the root to open
    std::set<int> closed = {};                   // descriptors that are closed at the start
    uid_t uid = 0;                               // 65534: without any privilege
    std::map<int, rlim_t> limits = {};           // soft limits, RLIMIT_FSIZE and the like
    std::set<int> ignored_signals = {};
    std::string working_directory = "/";
    mode_t umask = 022;
    bool ends_by_signal = false; // a call() that does not return is no failure
    std::optional<CommandFault> fault = {};
    pid_t pid = 0; // the process id; 0: the next one, which is 2
    std::chrono::milliseconds time_limit = std::chrono::seconds(20);
};

// A library function as a run calls it: what it returns is a number, an enumeration's, or
// 0 where it returns nothing.
class Function {
  public:
    template <class Called>
    requires(!std::is_same_v<std::remove_cvref_t<Called>, Function>) Function(Called called)
        : call_([called = std::move(called)]() mutable {
              if constexpr (std::is_void_v<decltype(called())>) {
                  called();
                  return 0;
              } else {
                  return static_cast<int>(called());
              }
          }) {}
    int operator()() const { return call_(); }

  private:
    std::function<int()> call_;
};

struct Result {
    int exit_status = -1; // -1 when a signal ended the run
    int signal = 0;
    int returned = 0; // call(): the function's return value
    bool has_returned = false;
    std::string out;
    std::string err;
    std::vector<std::string> commands; // exact texts of the outside commands, in order
    pid_t pid = 0;                     // inside the root
    bool left_processes = false;       // something was still running after the program had ended

    // The commands without redirections, as rules match them.
    std::vector<std::string> commands_without_redirection() const;
    // The commands with XXXXXX for the last six characters of temporary files' names.
    std::vector<std::string> commands_with_templates() const;
};

// A run under way. Destroying it without wait() ends it.
class StartedRun {
  public:
    StartedRun(StartedRun&& other) noexcept;
    StartedRun& operator=(StartedRun&& other) noexcept;
    ~StartedRun();

    // Waits for the end and returns the result. Fails the current test if the time limit has
    // passed, a stand-in tool got a command without a rule, or a sanitizer reported an error.
    Result wait();
    pid_t pid() const;       // inside the root; 0 until the program has started
    void signal(int number); // sends a signal to the program once it has started

  private:
    friend class PrivateRoot;
    struct State;
    explicit StartedRun(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

} // namespace zav::test

// SPDX-License-Identifier: MIT
// A private root: a directory tree that a run sees as "/", in user, mount and PID namespaces of its
// own, with uid 0, stand-in tools, and a journal of every outside command. See README.md.
#pragma once

#include "log_lines.h"
#include "recorded.h"
#include "run.h"
#include "snapshot.h"
#include "tools.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace zav::test {

class PrivateRoot {
  public:
    PrivateRoot();
    virtual ~PrivateRoot();
    PrivateRoot(const PrivateRoot&) = delete;
    PrivateRoot& operator=(const PrivateRoot&) = delete;

    // The tree. All paths are those seen inside; missing parent directories are made.
    PrivateRoot& file(const std::string& path, const std::string& content, mode_t mode = 0644);
    PrivateRoot& directory(const std::string& path, mode_t mode = 0755);
    PrivateRoot& symlink(const std::string& target, const std::string& path);
    PrivateRoot& fifo(const std::string& path, mode_t mode = 0644);
    PrivateRoot& remove(const std::string& path);    // with everything below; no error if missing
    std::string read(const std::string& path) const; // throws if it cannot be read
    bool exists(const std::string& path) const;      // true for a dangling link
    mode_t mode(const std::string& path) const;      // permission bits
    std::vector<std::string> list(const std::string& path) const;   // names, sorted
    std::vector<std::string> tmp() const;                           // list("/tmp")
    std::filesystem::path host_path(const std::string& path) const; // as seen by the test
    // Waits until a run has created the path; false if it does not appear in time.
    bool appears(const std::string& path,
                 std::chrono::milliseconds limit = std::chrono::seconds(5)) const;

    // Mounts for all later runs: a file or directory of the host (read-only by default), or a
    // directory of the tree that not even uid 0 can write to.
    PrivateRoot& bind(const std::string& host_path, const std::string& path, bool writable = false);
    PrivateRoot& read_only(const std::string& path);
    // An empty file system in memory for each later run, of a size such as "20T": it takes none.
    PrivateRoot& filesystem(const std::string& path, const std::string& size);

    // Stand-in tools. Naming a tool creates it; a call without a rule exits with 127 and fails the
    // test.
    Tool tool(const std::string& path);
    void allow_unexpected() { allow_unexpected_ = true; }
    void expect_all_used() const; // fails for unused rules or unused answers of a sequence

    // Runs. The arguments do not include the program's name.
    Result run(const std::vector<std::string>& arguments, const RunOptions& options = {});
    StartedRun start(const std::vector<std::string>& arguments, const RunOptions& options = {});
    // The same for a function in a forked child: its changes are visible only in the tree, its
    // return value is in Result::returned. Expectations that fail inside fail the test.
    Result call(const Function& function, const RunOptions& options = {});
    StartedRun start_call(const Function& function, const RunOptions& options = {});

    std::vector<LogLine> log(const std::string& path = "/var/log/log.libzav") const;
    // /etc, /tmp and /var without the log.
    Snapshot snapshot() const;

  private:
    StartedRun launch(const std::vector<std::string>& arguments, std::function<int()> function,
                      const RunOptions& options);
    void make_tree();
    void show_libraries();
    void show_executable(const char* executable, const char* emulator);
    void show_process(pid_t pid);
    void write_rules() const;

    std::filesystem::path base_; // holds the tree and the folders of the runs
    std::filesystem::path root_;
    std::string counters_; // bound folder of a coverage build, if any
    struct BindMount {
        std::string source;
        std::string target;
        bool writable;
        std::string size = {};
    };
    std::vector<BindMount> binds_;
    RuleBook rules_;
    bool allow_unexpected_ = false;
    int runs_ = 0;
};

} // namespace zav::test

// SPDX-License-Identifier: MIT
#include "private_root.h"

#include "executable.h"
#include "launch.h"
#include "run_state.h"
#include "standin/command_text.h"
#include "standin/places.h"
#include "standin/rule_format.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>

// Defined only in builds with the address sanitizer, or with --coverage.
extern "C" void __asan_init() __attribute__((weak));
extern "C" void __gcov_exit() __attribute__((weak));

namespace zav::test {
namespace fs = std::filesystem;
namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("private root: " + what + ": " + std::strerror(errno));
}

// $TMPDIR, or memory, where creating and removing a tree is a hundred times faster than on a disk.
std::string folder_for_roots() {
    if (const char* folder = std::getenv("TMPDIR"); folder != nullptr && *folder == '/') {
        return folder;
    }
    struct statvfs memory {};
    if (access("/dev/shm", W_OK) == 0 && statvfs("/dev/shm", &memory) == 0 &&
        (memory.f_flag & ST_NOEXEC) == 0) {
        return "/dev/shm";
    }
    return "/tmp";
}

fs::path make_base() {
    std::string name = folder_for_roots() + "/zavroot.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        fail("cannot make " + name);
    }
    chmod(name.c_str(), 0755);
    return name;
}

void write_file(const fs::path& path, std::string_view content, mode_t mode) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        fail("cannot write " + path.string());
    }
    const ssize_t written = write(descriptor, content.data(), content.size());
    const bool good =
        written == static_cast<ssize_t>(content.size()) && fchmod(descriptor, mode) == 0;
    close(descriptor);
    if (!good) {
        fail("cannot write " + path.string());
    }
}

// Removes a tree even if a run has removed its owner's permissions.
void remove_tree(const fs::path& path) {
    std::error_code error;
    fs::remove_all(path, error);
    if (!error) {
        return;
    }
    for (auto at = fs::recursive_directory_iterator(path, error); at != fs::end(at);
         at.increment(error)) {
        if (!at->is_symlink(error) && at->is_directory(error)) {
            chmod(at->path().c_str(), 0700);
        }
    }
    fs::remove_all(path, error);
}

std::string first_existing(std::initializer_list<const char*> paths) {
    for (const char* path : paths) {
        if (access(path, X_OK) == 0) {
            return path;
        }
    }
    throw std::runtime_error(std::string("private root: this system has no ") + *paths.begin());
}

} // namespace

std::string folder_of_counters() {
    const char* folder = std::getenv("ZAV_TEST_BIND");
    if (folder != nullptr && *folder == '/') {
        return folder;
    }
    return __gcov_exit != nullptr ? ZAV_TEST_BUILD_FOLDER : "";
}

PrivateRoot::PrivateRoot()
    : base_(make_base()), root_(base_ / "root"), counters_(folder_of_counters()) {
    make_tree();
    if (!counters_.empty()) {
        bind(counters_, counters_, true);
    }
}

PrivateRoot::~PrivateRoot() {
    remove_tree(base_);
}

void PrivateRoot::make_tree() {
    for (const char* path :
         {"",          "/bin",     "/sbin",      "/usr",           "/usr/bin",
          "/usr/sbin", "/usr/lib", "/usr/local", "/usr/local/bin", "/usr/local/sbin",
          "/etc",      "/var",     "/var/log",   "/var/run",       "/dev",
          "/proc",     "/sys",     "/.harness",  "/.harness/proc", "/.harness/run"}) {
        mkdir((root_.string() + path).c_str(), 0755);
    }
    directory("/tmp", 01777);
    for (const char* path : {"/lib", "/lib64", "/usr/lib64"}) {
        if (fs::is_symlink(path)) {
            symlink(fs::read_symlink(path).string(), path);
        } else if (fs::is_directory(path)) {
            bind(path, path);
        }
    }
    show_libraries();
    for (const char* device : {"/dev/null", "/dev/zero", "/dev/full", "/dev/urandom"}) {
        bind(device, device, true);
    }
    bind(first_existing({"/bin/dash", "/bin/busybox"}), places::shell);
    bind(first_existing({"/bin/busybox"}), places::busybox);
    bind(ZAV_TEST_STANDIN, places::standin);
    bind(ZAV_TEST_STANDIN, "/bin/sh");
    for (const char* path : {"/usr/bin/llvm-symbolizer", "/usr/bin/llvm-symbolizer-14"}) {
        if (__asan_init != nullptr && access(path, X_OK) == 0 && !exists(places::symbolizer)) {
            bind(path, places::symbolizer);
        }
    }
    if (zav_executable_under_test != nullptr) {
        show_executable(zav_executable_under_test(), std::getenv("ZAVBOX_EMULATOR"));
    }
    write_file(root_ / ".harness/uses", "", 0666);
    write_file(root_ / ".harness/applet",
               std::string(places::applet_mark) + "exec " + places::busybox +
                   " \"${0##*/}\" \"$@\"\n",
               0755);
    for (const char* applet :
         {"cat",  "chgrp", "chmod", "chown", "cp",     "cut",  "date", "dd",
          "df",   "echo",  "env",   "expr",  "false",  "grep", "head", "kill",
          "ln",   "ls",    "mkdir", "mv",    "printf", "ps",   "pwd",  "readlink",
          "rm",   "rmdir", "sed",   "sleep", "sort",   "stat", "sync", "tail",
          "test", "touch", "tr",    "true",  "umount", "wc"}) {
        fs::create_symlink("/.harness/applet", root_ / "bin" / applet);
    }
    fs::create_symlink(std::string(places::proc) + "/self", root_ / "proc/self");
    for (pid_t pid = 1; pid < 300; ++pid) {
        show_process(pid);
    }
}

// /usr/lib is a directory of the tree, in which tests can put the adapters of zavbox, with a link
// to each entry of the host's. That of a zavbox that is installed there is none of theirs.
void PrivateRoot::show_libraries() {
    bind("/usr/lib", places::libraries);
    for (const auto& entry : fs::directory_iterator("/usr/lib")) {
        const std::string name = entry.path().filename();
        if (name != "zavbox") {
            symlink(std::string(places::libraries) + "/" + name, "/usr/lib/" + name);
        }
    }
}

// The kernel does not know another processor's program: a test's script runs it as the harness
// does.
void PrivateRoot::show_executable(const char* executable, const char* emulator) {
    if (emulator == nullptr) {
        bind(executable, "/usr/bin/zavbox");
        return;
    }
    bind(emulator, places::emulator);
    bind(executable, places::emulated);
    file("/usr/bin/zavbox",
         std::string("#!") + places::busybox + " sh\nexec " + places::emulator +
             " -0 \"${0##*/}\" " + places::emulated + " \"$@\"\n",
         0755);
}

// /proc/PID links to the real one, if there is such a process.
void PrivateRoot::show_process(pid_t pid) {
    const std::string name = "/" + std::to_string(pid);
    if (!exists("/proc" + name)) {
        fs::create_symlink(places::proc + name, host_path("/proc" + name));
    }
}

fs::path PrivateRoot::host_path(const std::string& path) const {
    if (!path.starts_with("/")) {
        throw std::logic_error("a path inside a private root begins with \"/\": " + path);
    }
    return root_ / path.substr(1);
}

PrivateRoot& PrivateRoot::file(const std::string& path, const std::string& content, mode_t mode) {
    const fs::path real = host_path(path);
    fs::create_directories(real.parent_path());
    write_file(real, content, mode);
    return *this;
}

PrivateRoot& PrivateRoot::directory(const std::string& path, mode_t mode) {
    fs::create_directories(host_path(path));
    if (chmod(host_path(path).c_str(), mode) != 0) {
        fail("cannot set the mode of " + path);
    }
    return *this;
}

PrivateRoot& PrivateRoot::symlink(const std::string& target, const std::string& path) {
    fs::create_directories(host_path(path).parent_path());
    fs::create_symlink(target, host_path(path));
    return *this;
}

PrivateRoot& PrivateRoot::fifo(const std::string& path, mode_t mode) {
    fs::create_directories(host_path(path).parent_path());
    if (mkfifo(host_path(path).c_str(), 0600) != 0 || chmod(host_path(path).c_str(), mode) != 0) {
        fail("cannot make the fifo " + path);
    }
    return *this;
}

PrivateRoot& PrivateRoot::remove(const std::string& path) {
    remove_tree(host_path(path));
    return *this;
}

std::string PrivateRoot::read(const std::string& path) const {
    std::ifstream in(host_path(path), std::ios::binary);
    if (!in) {
        fail("cannot read " + path);
    }
    return {std::istreambuf_iterator<char>(in), {}};
}

bool PrivateRoot::exists(const std::string& path) const {
    struct stat status {};
    return lstat(host_path(path).c_str(), &status) == 0;
}

mode_t PrivateRoot::mode(const std::string& path) const {
    struct stat status {};
    if (lstat(host_path(path).c_str(), &status) != 0) {
        fail("no mode of " + path);
    }
    return status.st_mode & 07777;
}

std::vector<std::string> PrivateRoot::list(const std::string& path) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(host_path(path))) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> PrivateRoot::tmp() const {
    std::vector<std::string> names = list("/tmp");
    if (counters_.starts_with("/tmp/")) {
        std::erase(names, fs::path(counters_).lexically_relative("/tmp").begin()->string());
    }
    return names;
}

bool PrivateRoot::appears(const std::string& path, std::chrono::milliseconds limit) const {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!exists(path)) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

PrivateRoot& PrivateRoot::bind(const std::string& host_path, const std::string& path,
                               bool writable) {
    if (fs::is_directory(host_path)) {
        directory(path);
    } else if (!exists(path)) {
        file(path, "", 0755);
    }
    binds_.push_back({host_path, this->host_path(path), writable});
    return *this;
}

PrivateRoot& PrivateRoot::read_only(const std::string& path) {
    binds_.push_back({host_path(path), host_path(path), false});
    return *this;
}

PrivateRoot& PrivateRoot::filesystem(const std::string& path, const std::string& size) {
    directory(path);
    binds_.push_back({"", host_path(path), true, size});
    return *this;
}

Tool PrivateRoot::tool(const std::string& path) {
    if (fs::is_symlink(host_path(path))) {
        fs::remove(host_path(path));
    }
    if (!exists(path)) {
        file(path,
             std::string(places::standin_mark) + "exec " + places::standin + " \"$0\" \"$@\"\n",
             0755);
    }
    return {rules_, path};
}

void PrivateRoot::expect_all_used() const {
    const std::vector<std::string> uses = split_records(read(places::uses));
    for (const RuleState& rule : rules_.in_force()) {
        const auto used =
            static_cast<size_t>(std::count(uses.begin(), uses.end(), std::to_string(rule.number)));
        const size_t wanted = rule.spends ? rule.capacity() : rule.answers.size();
        if (!rule.optional && used < wanted) {
            ADD_FAILURE() << rule.tool << ": the rule for \"" << rule.pattern << "\" was used "
                          << used << " of " << wanted << " times";
        }
    }
}

// Atomically: a run under way may be reading them.
void PrivateRoot::write_rules() const {
    const fs::path next = base_ / "rules";
    write_file(next, to_bytes(rules_.in_force()), 0644);
    fs::rename(next, host_path(places::rules));
}

StartedRun PrivateRoot::launch(const std::vector<std::string>& arguments,
                               std::function<int()> function, const RunOptions& options) {
    if (!function && !exists(options.program)) {
        throw std::runtime_error("private root: no program " + options.program +
                                 " inside; zavbox is run by the tests of commands only");
    }
    write_rules();
    if (options.pid > 99) {
        show_process(options.pid);
    }
    const fs::path folder = base_ / ("run" + std::to_string(++runs_));
    fs::create_directory(folder);
    chmod(folder.c_str(), 0777);
    write_file(folder / "journal", "", 0666);
    if (options.fault) {
        const CommandFault& fault = *options.fault;
        write_file(folder / "fault", std::to_string(fault.number) + " " + fault.kind, 0644);
    }
    Launch launch{.sandbox = {.root = root_, .mounts = {}, .proc = host_path(places::proc)},
                  .arguments = arguments,
                  .function = std::move(function),
                  .options = options,
                  .run_folder = folder,
                  .allow_unexpected = allow_unexpected_};
    launch.sandbox.mounts.push_back({folder, host_path(places::run), true});
    for (const BindMount& one : binds_) {
        launch.sandbox.mounts.push_back({one.source, one.target, one.writable, one.size});
    }
    auto state = std::make_unique<StartedRun::State>();
    state->start(launch);
    return StartedRun(std::move(state));
}

StartedRun PrivateRoot::start(const std::vector<std::string>& arguments,
                              const RunOptions& options) {
    return launch(arguments, nullptr, options);
}

Result PrivateRoot::run(const std::vector<std::string>& arguments, const RunOptions& options) {
    return start(arguments, options).wait();
}

StartedRun PrivateRoot::start_call(const Function& function, const RunOptions& options) {
    return launch({}, function, options);
}

Result PrivateRoot::call(const Function& function, const RunOptions& options) {
    return start_call(function, options).wait();
}

std::vector<LogLine> PrivateRoot::log(const std::string& path) const {
    return exists(path) ? log_lines(read(path)) : std::vector<LogLine>{};
}

Snapshot PrivateRoot::snapshot() const {
    Snapshot result;
    std::vector<std::string> except = {"/var/log/log.libzav", "/var/log/log.libzav.0"};
    if (!counters_.empty()) {
        except.push_back(counters_);
    }
    for (const char* folder : {"/etc", "/tmp", "/var"}) {
        add_to_snapshot(result, root_, folder, except);
    }
    return result;
}

} // namespace zav::test

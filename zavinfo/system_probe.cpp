// SPDX-License-Identifier: MIT
#include "zavinfo/system_probe.h"

#include "zavinfo/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zavinfo {

namespace {

bool has_type(const std::string& path, mode_t type) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == type;
}

bool may(const std::string& path, int mode) {
    return ::access(path.c_str(), mode) == 0;
}

std::string text_of_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Of "kernel/drivers/md/raid1.ko.xz: ..." the name "raid1", with underscores for dashes.
std::string module_name(std::string_view line) {
    line = line.substr(0, line.find(':'));
    line = line.substr(line.rfind('/') + 1);
    std::string name(line.substr(0, line.find('.')));
    std::ranges::replace(name, '-', '_');
    return name;
}

[[noreturn]] void become(const std::string& program, const std::vector<std::string>& arguments,
                         int output) {
    constexpr unsigned longest = 5; // in seconds
    constexpr int not_started = 127;
    std::vector<char*> pointers = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    const int nothing = ::open("/dev/null", O_RDONLY);
    if (nothing >= 0 && ::dup2(nothing, STDIN_FILENO) >= 0 && ::dup2(output, STDOUT_FILENO) >= 0 &&
        ::dup2(output, STDERR_FILENO) >= 0) {
        ::alarm(longest);
        ::execv(program.c_str(), pointers.data());
    }
    ::_exit(not_started);
}

/// Up to its end, or to more than anybody wants.
std::string read_all(int fd) {
    constexpr std::size_t most = 65536;
    std::string text;
    std::array<char, 4096> buffer = {};
    while (text.size() < most) {
        const ssize_t size = ::read(fd, buffer.data(), buffer.size());
        if (size > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(size));
        } else if (size == 0 || errno != EINTR) {
            break;
        }
    }
    return text;
}

} // namespace

bool is_there(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
}

bool is_program(const std::string& path) {
    return has_type(path, S_IFREG) && may(path, X_OK);
}

bool is_roots_alone(const std::string& path) {
    std::error_code error;
    const std::filesystem::path end = std::filesystem::canonical(path, error);
    for (const std::filesystem::path& from : {std::filesystem::path(path), end}) {
        std::filesystem::path at;
        for (const std::filesystem::path& name : from) {
            at /= name;
            struct stat status = {};
            if (error || ::lstat(at.c_str(), &status) != 0 || status.st_uid != 0 ||
                (!S_ISLNK(status.st_mode) && (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)) {
                return false;
            }
        }
    }
    return true;
}

bool is_readable_file(const std::string& path) {
    return has_type(path, S_IFREG) && may(path, R_OK);
}

bool is_directory(const std::string& path) {
    return has_type(path, S_IFDIR);
}

bool is_writable_directory(const std::string& path) {
    return is_directory(path) && may(path, W_OK | X_OK);
}

bool is_block_device(const std::string& path) {
    return has_type(path, S_IFBLK);
}

bool is_file_below(const std::string& path, const std::string& directory) {
    std::error_code error;
    const std::string end = std::filesystem::canonical(path, error).string();
    return !error && end.starts_with(directory + "/") && has_type(end, S_IFREG);
}

bool is_machine_code(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::array<char, 4> start = {};
    file.read(start.data(), start.size());
    return file.gcount() == static_cast<std::streamsize>(start.size()) &&
           std::string_view(start.data(), start.size()) == "\x7f"
                                                           "ELF";
}

bool has_word(const std::string& path, std::string_view word) {
    const std::vector<std::string> all = words(text_of_file(path), " \t\n");
    return std::ranges::find(all, word) != all.end();
}

bool has_module(std::string_view name) {
    struct utsname system = {};
    if (name.empty() || ::uname(&system) != 0) {
        return false;
    }
    const std::string wanted = module_name(name);
    for (const char* list : {"modules.builtin", "modules.dep"}) {
        const std::string path = std::string("/lib/modules/") + system.release + "/" + list;
        for (const std::string& line : words(text_of_file(path), "\n")) {
            if (module_name(line) == wanted) {
                return true;
            }
        }
    }
    return false;
}

std::string output_of(const std::string& program, const std::vector<std::string>& arguments) {
    std::array<int, 2> ends = {};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return "";
    }
    const pid_t child = ::fork();
    if (child == 0) {
        become(program, arguments, ends[1]);
    }
    ::close(ends[1]);
    const std::string text = child > 0 ? read_all(ends[0]) : "";
    ::close(ends[0]);
    while (child > 0 && ::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return text;
}

} // namespace zavinfo

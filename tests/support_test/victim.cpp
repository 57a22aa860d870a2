// SPDX-License-Identifier: MIT
// The program that the harness tests run in place of the program under test: does what its first
// argument says.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>

extern "C" char** environ;

namespace {

void print_descriptors() {
    DIR* folder = opendir("/proc/self/fd");
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] != '.' && std::atoi(entry->d_name) != dirfd(folder)) {
            std::printf("%s\n", entry->d_name);
        }
    }
    closedir(folder);
}

void print_environment() {
    for (char** variable = environ; *variable != nullptr; ++variable) {
        std::puts(*variable);
    }
}

int* volatile lost = nullptr;

void leak() {
    lost = std::make_unique<int>(1).release();
    lost = nullptr;
}

void print_input() {
    for (int c = std::getchar(); c != EOF; c = std::getchar()) {
        std::putchar(c);
    }
}

int report(std::string_view topic) {
    if (topic == "descriptors") {
        print_descriptors();
    } else if (topic == "environment") {
        print_environment();
    } else if (topic == "input") {
        print_input();
    } else if (topic == "uid") {
        std::printf("%d\n", static_cast<int>(getuid()));
    } else if (topic == "pid") {
        std::printf("%d\n", static_cast<int>(getpid()));
    } else if (topic == "directory") {
        std::puts(std::filesystem::current_path().c_str());
    } else {
        return 2;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

int write_bytes(const char* path, const char* count) {
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const std::string bytes(std::strtoull(count, nullptr, 10), 'x');
    if (descriptor < 0 || write(descriptor, bytes.data(), bytes.size()) < 0) {
        return errno;
    }
    return 0;
}

} // namespace

// system COMMAND..., report TOPIC, exit N, die SIGNAL, name, write FILE COUNT,
// may-write FILE, wait, leak
int main(int argc, char** argv) {
    const std::string_view action = argc > 1 ? argv[1] : "name";
    int status = 0;
    if (action == "system") {
        for (int at = 2; at < argc; ++at) {
            status = std::system(argv[at]);
        }
    }
    if (action == "report") {
        return report(argv[2]);
    }
    if (action == "exit") {
        return std::atoi(argv[2]);
    }
    if (action == "die") {
        std::raise(std::atoi(argv[2]));
    }
    if (action == "name") {
        std::puts(argv[0]);
    }
    if (action == "write") {
        return write_bytes(argv[2], argv[3]);
    }
    if (action == "may-write") {
        return access(argv[2], W_OK) == 0 ? 0 : errno;
    }
    if (action == "wait") {
        pause();
    }
    if (action == "leak") {
        leak();
    }
    return status == 0 ? 0 : 1;
}

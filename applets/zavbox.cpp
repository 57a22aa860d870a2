// SPDX-License-Identifier: MIT
// The entry of the one executable that carries all commands. Every outcome of its own, a command
// that does not exist included, ends with status 0, unless the output cannot be written.
#include "applets/applets.h"
#include "applets/standard_output.h"
#include "base/file.h"
#include "base/memory.h"
#include "base/signals.h"
#include "base/version.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace zav;

/// Without them the next file that is opened would become, say, standard output.
void open_missing_standard_descriptors() {
    int fd = -1;
    do {
        fd = ::open("/dev/null", O_RDWR);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0) {
        ::close(fd);
    }
}

/// What the run must not inherit from its caller.
void start_clean() {
    // An ignored SIGCHLD would make every wait for a tool fail.
    std::signal(SIGCHLD, SIG_DFL);
    // What is written here must be whole, whoever reads the output or limits the size of files.
    ignore_write_signals();
    // Directories and files that others are to enter and read do not depend on who calls.
    ::umask(S_IWGRP | S_IWOTH);
    // An empty PATH ends in the current directory, and a tool must not be found in just any.
    if (::chdir("/") != 0) {
        std::perror("zavbox: /");
        std::exit(EXIT_FAILURE);
    }
    open_missing_standard_descriptors();
    // LVM complains about every descriptor that it inherits.
    constexpr unsigned first_own_descriptor = 3;
    zav::close_from(first_own_descriptor, CLOSE_RANGE_CLOEXEC);
}

[[noreturn]] void show_version() {
    std::printf("ZAVBOX version:\t%s (2008-10-08)\n", zavbox_version);
    std::printf("LIBZAV version:\t%s\n", libzav_version);
    std::printf("SVN version:\t%s\n", svn_version);
    end_run(0);
}

[[noreturn]] void show_usage(const char* invocation) {
    // The version stands where a program's name would be expected: front ends read this text.
    std::printf("%s %s\n\nUsage: %s [function] [arguments]...\n"
                "\tMost people will create a link to zavbox\n"
                "\tfor each function they wish to manage zav and\n"
                "\tzavbox will act like whatever it was invoked as!\n"
                "\tusing '--help' in this form 'cmd --help',\n"
                "\tyou can get the usage of the cmd\n"
                "\nCurrently defined functions:\n",
                invocation, invocation, zavbox_version);
    constexpr int full_column = 60;
    int column = 0;
    for (const Applet& applet : applets()) {
        if (column > full_column) {
            std::printf(",\n");
            column = 0;
        }
        column += std::printf("%s%s", column == 0 ? "\t" : ", ", applet.name);
    }
    std::puts("\n");
    end_run(0);
}

void install_link(const Applet& applet, const char* program, bool symbolic) {
    const AllocatedText path = path_join(install_directory(applet), applet.name);
    if (!path) {
        return;
    }
    const int result = symbolic ? ::symlink(program, path.get()) : ::link(program, path.get());
    if (result != 0 && errno != EEXIST) {
        std::printf("error:%s", path.get());
    }
}

[[noreturn]] void install_links(bool symbolic) {
    const AllocatedText program = link_read_alloc("/proc/self/exe");
    if (!program) {
        std::puts("zavbox links install fail!");
        end_run(0);
    }
    for (const Applet& applet : applets()) {
        install_link(applet, program.get(), symbolic);
    }
    // Whatever became of each single link.
    std::puts("zavbox links install success");
    end_run(0);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 1) {
        std::printf("applets '%s' not found\n", "");
        end_run(0);
    }
    start_clean();
    set_current_applet_name(argv[0]);
    if (argc == 1) {
        show_usage(argv[0]);
    }
    const std::string_view request = argv[1];
    if (argc == 2 && request == "--version") {
        show_version();
    }
    if (request == "--install") {
        install_links(argc > 2 && std::strcmp(argv[2], "-s") == 0);
    }
    if (argc == 2 && request == "--help") {
        show_usage(argv[0]);
    }
    applet_run(argv[1], argc - 1, argv + 1);
    // Only the first argument chooses an applet: a link named like one does not.
    std::printf("applets '%s' not found\n", argv[1]);
    end_run(0);
}

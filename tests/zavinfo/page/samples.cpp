// SPDX-License-Identifier: MIT
// page_samples DIRECTORY - writes the pages of machines made by hand, for tests/zavinfo/page/look.
#include "machines.h"
#include "zavinfo/page.h"
#include "zavinfo/whole_file.h"

#include <cstdio>
#include <exception>
#include <string>

namespace {

using namespace zavinfo::test;

constexpr std::int64_t some_day = 1795363200; // in November 2026

void write(const std::string& directory, const char* name, MadeMachine machine,
           const std::vector<zavinfo::LoggedError>& errors = {}) {
    zavinfo::write_whole_file(directory + "/" + name + ".html",
                              zavinfo::page_text(machine.view(), {{}, some_day, errors}));
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: page_samples DIRECTORY\n", stderr);
        return 2;
    }
    try {
        const std::string directory = arguments[1];
        write(directory, "healthy", healthy_machine());
        write(directory, "degraded", degraded_machine(), errors_of_log());
        write(directory, "empty", empty_machine());
        write(directory, "bare", bare_machine());
        write(directory, "hostile", hostile_machine(), errors_of_log());
        write(directory, "large", large_machine());
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "page_samples: %s\n", error.what());
        return 1;
    }
}

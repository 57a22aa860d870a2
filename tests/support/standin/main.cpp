// SPDX-License-Identifier: MIT
// The program behind all stand-in tools of a private root. As /bin/sh it writes the command text to
// the journal and does what the shell would do, executing the real shell if one is needed; as a
// stand-in tool it answers according to the test's rules.
#include "answer.h"
#include "command_text.h"
#include "fault.h"
#include "files.h"
#include "places.h"
#include "shortcut.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

using namespace zav::test;

bool is_standin_file(const char* path) {
    return read_file(path, std::strlen(places::standin_mark)) == places::standin_mark;
}

// The index of the command text after an option group with "c" (and "--"); 0 if there is none.
int text_index(int argc, char** argv) {
    bool has_text = false;
    int at = 1;
    for (; at < argc && argv[at][0] == '-' && argv[at][1] != '\0'; ++at) {
        if (std::strcmp(argv[at], "--") == 0) {
            ++at;
            break;
        }
        has_text = has_text || std::strchr(argv[at], 'c') != nullptr;
    }
    return has_text && at < argc ? at : 0;
}

int become_shell(int argc, char** argv) {
    std::string text;
    if (const int at = text_index(argc, argv); at != 0) {
        append_to_file(places::journal, record(argv[at]));
        act_out_fault(argv[at]);
        setenv(places::text_variable, argv[at], 1);
        answer_without_shell(argv[at]);
        // A shell that forks for its only command turns death by a signal into status 128 + n; a
        // program that runs the tool itself sees the signal, and so must it here.
        if (is_plain_program_call(argv[at])) {
            text = std::string("exec ") + argv[at];
            argv[at] = text.data();
        }
    }
    execv(places::shell, argv);
    return 127;
}

} // namespace

int main(int argc, char** argv) {
    if (std::strcmp(argv[0], places::standin) == 0) {
        return argc > 1 ? answer_call(argv + 1) : 127;
    }
    if (argc > 1 && argv[1][0] == '/' && is_standin_file(argv[1])) {
        return answer_call(argv + 1);
    }
    return become_shell(argc, argv);
}

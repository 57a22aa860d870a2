// SPDX-License-Identifier: MIT
/// \file
/// What the commands need of the system, as a table: one row for each program, file, directory and
/// kernel feature. A tool that zavbox learns to use gets its row in needs.cpp; a test compares
/// them.
#pragma once

#include <span>
#include <string_view>

namespace zavinfo {

/// What differs between models, of all that decides what is needed. A test holds it against the
/// library's table of models.
struct ModelTraits {
    bool is_server = false;
    bool makes_reiserfs = false;
    bool saves_with_xconf = false;
    bool has_power_tool = false;
    bool has_raid_controller = false;
    bool repairs_shares_locally = false; ///< ReiserFS of a share, with the tool in /usr/local/bin
};

ModelTraits traits_of(std::string_view model);

enum class NeedKind {
    program,   ///< executable at its path; a name without a slash in one of the tools' directories
    file,      ///< readable
    directory, ///< there
    writable,  ///< a directory that root can write to
    device,    ///< a block device
    kernel,    ///< a word in a file of /proc, or a module that can be loaded
};

/// What becomes of a command that lacks it.
enum class Lack {
    fails,  ///< it ends with a code, or shows less
    silent, ///< it ends as if all were well
    data,   ///< the same, and data is at risk
};

/// How to find out that something is there and of no use.
struct Probe {
    const char* program = nullptr;  ///< what is run; the program itself when it is null
    const char* argument = nullptr; ///< null: nothing is run
    const char* more = nullptr;     ///< arguments
    const char* last = nullptr;
    const char* bad_output = nullptr; ///< a regular expression
    const char* fault = nullptr;      ///< what is wrong when it matches
    Lack lack = Lack::fails;          ///< and what becomes of a command then
    const char* remedy = nullptr;
};

struct Need {
    NeedKind kind;
    const char* name;     ///< a path, a program without one, or a feature
    const char* commands; ///< separated by commas
    Lack lack;
    const char* without; ///< what happens then; a sentence
    const char* remedy;
    const char* package = ""; ///< Debian's that has it; empty when none does
    bool (*is_needed)(const ModelTraits& model) = nullptr; ///< null: by every model
    const char* source = ""; ///< a kernel feature's file, another name for a file, or a
                             ///< directory of root's alone that stands in for a missing one
    const char* word = "";   ///< in that file
    const char* module = ""; ///< the kernel's, without ".ko"
    Probe probe = {};
};

std::span<const Need> needs();

} // namespace zavinfo

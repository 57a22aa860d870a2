// SPDX-License-Identifier: MIT
/// \file
/// Looks at the system without changing it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zavinfo {

/// Whether anything has that name, also a link that leads nowhere.
bool is_there(const std::string& path);

bool is_program(const std::string& path);
/// Whether it, all directories of its path and where links on that lead are root's, and nobody else
/// may write to them.
bool is_roots_alone(const std::string& path);

bool is_readable_file(const std::string& path);
bool is_directory(const std::string& path);
bool is_writable_directory(const std::string& path);
bool is_block_device(const std::string& path);

/// Whether a path leads to a file in a directory, or below that.
bool is_file_below(const std::string& path, const std::string& directory);

/// Whether a program is in machine code, not a script.
bool is_machine_code(const std::string& path);

/// Whether a file has the word between blanks or line ends.
bool has_word(const std::string& path, std::string_view word);

/// Whether a module of that name is built into the running kernel, or can be loaded.
bool has_module(std::string_view name);

/// What a program writes to standard output and standard error, at most 64 KiB. It has no input,
/// and is ended after five seconds. Empty when it cannot be run.
std::string output_of(const std::string& program, const std::vector<std::string>& arguments);

} // namespace zavinfo

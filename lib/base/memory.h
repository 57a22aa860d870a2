// SPDX-License-Identifier: MIT
/// \file
/// Allocation with the front end's message, and the paths that --install needs.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace zav {

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};
using AllocatedText = std::unique_ptr<char, FreeMemory>;

/// malloc(3). Prints "memory exhausted" when a non-zero size cannot be had, and returns null.
void* mem_alloc(std::size_t size);

/// realloc(3). Prints "memory exhausted" and ends the process with status 0 when a non-zero size
/// cannot be had.
void* mem_realloc(void* memory, std::size_t size);

/// printf into memory of just that size; null when the format or the allocation fails.
[[gnu::format(printf, 1, 2)]] AllocatedText alloc_printf(const char* format, ...);

/// Directory and name with one slash between. A null directory is an empty one; a directory that
/// ends in a slash gets no second; slashes that the name begins with are left out.
AllocatedText path_join(const char* directory, const char* name);

/// The last occurrence of `c`, when it is the text's last character; else null. Null for null.
const char* last_char_match(const char* text, char c);

/// What the symbolic link holds, of whatever length. Prints the path, without a line end, and
/// returns null when the link cannot be read.
AllocatedText link_read_alloc(const char* path);

} // namespace zav

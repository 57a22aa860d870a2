// SPDX-License-Identifier: MIT
/// \file
/// Adapters: programs that take the place of the system's own, for the commands alone. They know
/// what is wanted of a tool that today works in another way, or is not there.
#pragma once

#include <string>
#include <string_view>

namespace zav {

/// The adapter of the program `/P`: `/usr/lib/zavbox/tools/P`. Empty for a name without a path, and
/// where there is none that only root can have made: it, every directory of its path and every link
/// to it must be root's, and nobody else may write to them. Links are followed inside that tree.
///
/// Whether there is such a tree at all is found out once in a process.
std::string adapter_of(std::string_view program);

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// The kernel's own account of an array, in /sys/block/ARRAY/md: what decides before an array is
/// given up or taken apart. No tool has a part in it.
#pragma once

#include "base/codes.h"

#include <string_view>

namespace zav {

enum class ArrayAccount {
    none,     ///< there is no state of that array
    runs,     ///< with the members that its level needs
    complete, ///< the same, and with all members
    lost,     ///< it lacks more members than its level can do without, or the kernel gave it up
    unclear,  ///< neither can be told, or it has what it needs and was not started
    unread    ///< the kernel tells, but it cannot be read: there is no descriptor left, say
};

/// `type` is what the level is when the kernel does not tell it; it may be empty.
ArrayAccount array_account(std::string_view array, std::string_view type);

/// Whether nothing speaks against giving the array up: it is lost, or there is no account of it.
bool may_be_given_up(std::string_view array, std::string_view type);

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// The option parser of all applets: getopt_long with rules about which options are needed, which
/// exclude each other and which need others.
#pragma once

#include <cstdint>
#include <forward_list>
#include <getopt.h>
#include <initializer_list>

namespace zav {

/// How an applet describes its options.
///
/// `short_options` is a getopt string. The position of a letter in it, from 0, is the position of
/// the letter's bit in the result.
///
/// `rules` are tokens between colons. For a letter X:
///   "X"      one of the options so named must be given;
///   "X--YZ"  X may not be combined with Y or Z;
///   "X?YZ"   with X, Y or Z must be given too;
///   "X-YZ"   X clears the bits of Y and Z ("X-X" flips X's own);
///   "XYZ"    X sets the bits of Y and Z too;
///   "XX..."  the next counter counts X, and the rest is read as above;
///   "X-"     X is on from the start and excludes itself;
///   "X::"    the arguments of X are collected in a list.
/// "-N" and "?N" bound the number of operands; a "?" alone makes a conflict show the usage.
struct OptionSettings {
    const char* short_options;
    const char* rules;
    const option* long_options; ///< ended by an all-zero record
};

/// Set in the result when options that exclude each other were given.
inline constexpr std::uint32_t conflict_bit = 0x80000000;

using OptionList = std::forward_list<const char*>;

/// Where an option's argument goes: a text (the last given stays), a list (the last given is in
/// front), or the counter of a counter rule. The same place may serve several options.
class OptionTarget {
  public:
    // Implicit, so that a caller lists plain addresses.
    // cppcheck-suppress noExplicitConstructor
    OptionTarget(const char** text) : text_(text) {}
    // cppcheck-suppress noExplicitConstructor
    OptionTarget(OptionList* list) : list_(list) {}
    // cppcheck-suppress noExplicitConstructor
    OptionTarget(int* counter) : counter_(counter) {}

    void store(const char* argument) const;
    void count() const;

  private:
    const char** text_ = nullptr;
    OptionList* list_ = nullptr;
    int* counter_ = nullptr;
};

/// Parses an applet's arguments. `targets` are those of the options with an argument, in the order
/// of the short options, then those of the counter rules, in the order of the rules. Returns the
/// bits of the options seen; optind is the first operand.
///
/// An unknown option, or a missing argument, is logged and ends the parsing: the bits so far are
/// returned, and no rule is looked at. A rule that is broken prints the applet's usage and ends the
/// process with status 0, but for an exclusion, which only sets the conflict bit.
std::uint32_t zav_getopt(int argc, char** argv, const OptionSettings& settings,
                         std::initializer_list<OptionTarget> targets);

} // namespace zav

// SPDX-License-Identifier: MIT
/// \file
/// How a command describes itself: by one table in its own file. What the option parser, the usage
/// and the dispatcher need is made from it when the command is compiled, and a table that
/// contradicts itself does not compile.
///
/// The usages are what the front end's documentation quotes: their misspellings, swapped lines and
/// uneven blanks stay.
#pragma once

#include "applets/applets.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <getopt.h>
#include <span>
#include <string_view>

namespace zav {

/// What an option's argument names.
enum class Argument : std::uint8_t {
    none, ///< it takes no argument
    channel,
    channels, ///< separated by commas
    array,
    volumes, ///< arrays or channels, separated by commas
    group,
    pool,
    share,
    service,
    size,
    device, ///< the tag of what a channel belongs to
    disk,   ///< as under /dev
    level,
    access,
    state,
    label,
    users, ///< or for NFS hosts
    comment
};

/// What an option is to its command.
enum class Role : std::uint8_t {
    detail,    ///< says more about a mode
    mode,      ///< one of the modes must be given, and they exclude each other
    open_mode, ///< a mode that excludes nothing but what it refuses
    only_shown ///< not an option: it stands in the usage alone
};

/// One way to use an option: what is given with it, and what comes of that.
struct Way {
    const char* with = nullptr;
    const char* effect = nullptr;
};

struct OptionRow {
    char letter;
    const char* name = nullptr; ///< the long one, if it has one
    Argument argument = Argument::none;
    Role role = Role::detail;
    std::string_view needs{};          ///< letters: one of these options must be given too
    std::string_view refuses{};        ///< letters: it may not come after any of these options
    Argument operand = Argument::none; ///< what a mode takes behind the options
    Way ways[3] = {};                  ///< its lines in the first part of the usage
    const char* help = nullptr;        ///< its line below "Options:"
};

/// A command. The options stand in the order of their bits, the first has bit 0; each part of the
/// usage has an order of its own.
struct AppletTable {
    const char* name;
    int (*main)(int argc, char** argv);
    std::uint32_t install_location;
    std::span<const OptionRow> options;
    std::string_view ways_order; ///< letters, as the first part of the usage shows them
    std::string_view summary;
    std::string_view help_order; ///< letters, as the usage shows them below "Options:"
};

// Those of the commands, for the program that writes manuals and completions from them. What makes
// a command out of its table does not need them: they are not in the executable.
extern const AppletTable diskmanage_table;
extern const AppletTable disksmart_table;
extern const AppletTable fsmanage_table;
extern const AppletTable lvmanage_table;
extern const AppletTable mdmanage_table;
extern const AppletTable netmanage_table;
extern const AppletTable sharemanage_table;
extern const AppletTable vgmanage_table;

constexpr bool is_option(const OptionRow& row) {
    return row.role != Role::only_shown;
}

constexpr bool is_mode(const OptionRow& row) {
    return row.role == Role::mode || row.role == Role::open_mode;
}

/// The bit of an option in the result of zav_getopt(). An unknown letter does not
/// compile.
consteval std::uint32_t option_bit(std::span<const OptionRow> options, char letter) {
    std::uint32_t bit = 1;
    for (const OptionRow& row : options) {
        if (is_option(row) && row.letter == letter) {
            return bit;
        }
        bit <<= is_option(row) ? 1U : 0U;
    }
    throw "no option has that letter";
}

namespace table_parts {

/// A text that grows at compile time.
class Draft {
  public:
    constexpr Draft& add(std::string_view text) {
        for (const char c : text) {
            text_[size_++] = c; // past the end it does not compile
        }
        return *this;
    }
    constexpr Draft& add(char c) { return add({&c, 1}); }
    [[nodiscard]] constexpr std::size_t size() const { return size_; }
    [[nodiscard]] constexpr std::string_view view() const { return {text_.data(), size_}; }

  private:
    std::array<char, 2048> text_{};
    std::size_t size_ = 0;
};

constexpr const OptionRow& row_of(const AppletTable& table, char letter) {
    for (const OptionRow& row : table.options) {
        if (row.letter == letter) {
            return row;
        }
    }
    throw "no row has that letter";
}

constexpr Draft short_options(const AppletTable& table) {
    Draft letters;
    for (const OptionRow& row : table.options) {
        if (is_option(row)) {
            letters.add(row.letter).add(row.argument != Argument::none ? ":" : "");
        }
    }
    return letters;
}

constexpr void add_excluded_modes(Draft& rules, const AppletTable& table, char letter) {
    Draft others;
    for (const OptionRow& row : table.options) {
        if (row.role == Role::mode && row.letter != letter) {
            others.add(row.letter);
        }
    }
    if (others.size() != 0) {
        rules.add(letter).add("--").add(others.view()).add(':');
    }
}

constexpr Draft rules(const AppletTable& table) {
    Draft rules;
    for (const OptionRow& row : table.options) {
        if (is_mode(row)) {
            rules.add(row.letter).add(':');
        }
    }
    for (const OptionRow& row : table.options) {
        if (row.role == Role::mode) {
            add_excluded_modes(rules, table, row.letter);
        }
        if (!row.needs.empty()) {
            rules.add(row.letter).add('?').add(row.needs).add(':');
        }
        if (!row.refuses.empty()) {
            rules.add(row.letter).add("--").add(row.refuses).add(':');
        }
    }
    return rules;
}

/// An option as users write it.
constexpr void add_option(Draft& usage, const OptionRow& row) {
    if (row.name != nullptr) {
        usage.add("--").add(row.name);
    } else {
        usage.add('-').add(row.letter);
    }
}

constexpr void add_ways(Draft& usage, const OptionRow& row) {
    for (const Way& way : row.ways) {
        if (way.effect != nullptr) {
            add_option(usage, row);
            usage.add(*way.with != '\0' ? " " : "").add(way.with);
            usage.add("\t\t").add(way.effect).add('\n');
        }
    }
}

constexpr Draft usage(const AppletTable& table) {
    Draft usage;
    usage.add('\n');
    for (const char letter : table.ways_order) {
        add_ways(usage, row_of(table, letter));
    }
    usage.add('\n').add(table.summary).add("\nOptions:");
    for (const char letter : table.help_order) {
        const OptionRow& row = row_of(table, letter);
        usage.add("\n ");
        add_option(usage, row);
        usage.add("\t\t").add(row.help);
    }
    return usage;
}

/// A draft, cut to its length and kept.
template <const AppletTable& table, Draft (*make)(const AppletTable&)>
constexpr auto text = [] {
    constexpr Draft draft = make(table);
    std::array<char, draft.size() + 1> kept{};
    std::ranges::copy(draft.view(), kept.begin());
    return kept;
}();

constexpr bool has_long_option(const OptionRow& row) {
    return is_option(row) && row.name != nullptr;
}

template <const AppletTable& table>
constexpr auto long_options = [] {
    constexpr auto count = std::ranges::count_if(table.options, has_long_option);
    std::array<option, static_cast<std::size_t>(count) + 1> made{}; // ended by a record of zeros
    std::size_t next = 0;
    for (const OptionRow& row : table.options) {
        if (has_long_option(row)) {
            const int argument = row.argument == Argument::none ? no_argument : required_argument;
            made[next++] = {row.name, argument, nullptr, row.letter};
        }
    }
    return made;
}();

constexpr bool are_options(const AppletTable& table, std::string_view letters) {
    return std::ranges::all_of(letters,
                               [&](char letter) { return is_option(row_of(table, letter)); });
}

/// Every letter is that of one row, and every rule is about options.
constexpr bool has_sound_letters(const AppletTable& table) {
    return std::ranges::all_of(table.options, [&](const OptionRow& row) {
        return std::ranges::count(table.options, row.letter, &OptionRow::letter) == 1 &&
               are_options(table, row.needs) && are_options(table, row.refuses);
    });
}

/// The usage shows every row that has something to show, each once.
constexpr bool shows_every_row(const AppletTable& table) {
    return std::ranges::all_of(table.options, [&](const OptionRow& row) {
        const bool has_ways = row.ways[0].effect != nullptr;
        const bool has_help = row.help != nullptr;
        return std::ranges::count(table.ways_order, row.letter) == (has_ways ? 1 : 0) &&
               std::ranges::count(table.help_order, row.letter) == (has_help ? 1 : 0);
    });
}

} // namespace table_parts

/// What the dispatcher and the option parser get to know of a command.
template <const AppletTable& table>
consteval Applet applet_of() {
    using namespace table_parts;
    // The last bit tells of a conflict.
    static_assert(std::ranges::count_if(table.options, is_option) < 32, "too many options");
    static_assert(has_sound_letters(table), "a letter of two rows, or a rule about no option");
    static_assert(shows_every_row(table), "a row that the usage leaves out or shows twice");
    return {.name = table.name,
            .main = table.main,
            .install_location = table.install_location,
            .options = {text<table, short_options>.data(), text<table, rules>.data(),
                        long_options<table>.data()},
            .usage = text<table, usage>.data()};
}

} // namespace zav

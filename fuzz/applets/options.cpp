// SPDX-License-Identifier: MIT
// The option parser, with rules and arguments of every kind, except rules that end the process when
// they are broken. Input: the rules as pairs of a kind and letters, then the arguments, one per
// line.
#include "applets/options.h"

#include "fuzz.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace zav::fuzz {

namespace {

constexpr const char* short_options = "abcdn:l:m:";
constexpr std::array letters = {'a', 'b', 'c', 'd', 'n', 'l', 'm', 'x'};
constexpr std::uint32_t all_bits = 0x7f | conflict_bit;

const option long_options[] = {{"all", no_argument, nullptr, 'a'},
                               {"name", required_argument, nullptr, 'n'},
                               {"level", required_argument, nullptr, 'l'},
                               {nullptr, 0, nullptr, 0}};

char letter_of(char c) {
    return letters[static_cast<unsigned char>(c) % letters.size()];
}

std::string rule_of(char kind, char first, char second) {
    const std::string one(1, letter_of(first));
    const std::string other(1, letter_of(second));
    switch (static_cast<unsigned char>(kind) % 6) {
    case 0:
        return one + "--" + other;
    case 1:
        return one + "-" + other;
    case 2:
        return one + other + one;
    case 3:
        return one + one + "-" + other;
    case 4:
        return one + "-";
    default:
        return one + "--" + other + "ab";
    }
}

std::string rules_of(std::string_view line) {
    std::string rules = "m::";
    for (; line.size() >= 3 && rules.size() < 256; line.remove_prefix(3)) {
        rules += ":" + rule_of(line[0], line[1], line[2]);
    }
    return rules;
}

bool is_argument(const char* text, const std::vector<std::string>& arguments) {
    return text == nullptr || std::ranges::any_of(arguments, [text](const std::string& argument) {
               return text >= argument.data() && text <= argument.data() + argument.size();
           });
}

} // namespace

void run(std::string_view input) {
    const std::string rules = rules_of(take_line(input));
    std::vector<std::string> arguments = {"fuzz"};
    while (!input.empty() && arguments.size() < 64) {
        arguments.emplace_back(std::string(take_line(input)).c_str());
    }
    std::vector<char*> vector;
    for (std::string& argument : arguments) {
        vector.push_back(argument.data());
    }
    vector.push_back(nullptr);

    const char* name = nullptr;
    const char* level = nullptr;
    OptionList list;
    int counter = 0;
    optind = 0; // getopt starts over
    opterr = 0;
    const auto count = static_cast<int>(arguments.size());
    const std::uint32_t flags =
        zav_getopt(count, vector.data(), {short_options, rules.c_str(), long_options},
                   {&name, &level, &list, &counter});
    require((flags & ~all_bits) == 0, "there are no bits but the options' and the conflict's");
    require(optind >= 1 && optind <= count, "the operands are among the arguments");
    require(is_argument(name, arguments) && is_argument(level, arguments),
            "an option's argument is an argument");
    for (const char* item : list) {
        require(item != nullptr && is_argument(item, arguments), "so is each of a list");
    }
    require(counter >= 0 && counter <= 4096, "an option is counted when it is given");
}

} // namespace zav::fuzz

// SPDX-License-Identifier: MIT
// Random options and rules, compared with a second, straightforward parser: one record per letter,
// rules read character by character.
#include "applets/options/option_fixture.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

struct Record {
    char letter = 0;
    bool takes_argument = false;
    std::uint32_t set = 0;
    std::uint32_t clear = 0;
    std::uint32_t excludes = 0;
    std::uint32_t needs = 0;
    bool counted = false;
};

struct Reference {
    std::array<Record, 33> records = {}; // the last one is for letters that are no option
    std::size_t count = 0;
    std::uint32_t flags = 0;
    std::uint32_t global = 0;
    int least = 0;
    int most = -1;
    bool usage_on_conflict = false;

    std::size_t index_of(char letter) const {
        for (std::size_t i = 0; i < count; ++i) {
            if (records.at(i).letter == letter) {
                return i;
            }
        }
        return 32;
    }
    std::uint32_t bit_of(char letter) const {
        const std::size_t index = index_of(letter);
        return index == 32 ? 0 : std::uint32_t{1} << index;
    }

    void read_options(const char* at) {
        for (; *at != '\0'; ++at) {
            if (index_of(*at) != 32) {
                continue;
            }
            if (count == 32) {
                break;
            }
            Record& record = records.at(count);
            record.letter = *at;
            record.set = std::uint32_t{1} << count;
            ++count;
            while (at[1] == ':') {
                record.takes_argument = true;
                ++at;
            }
        }
    }

    const char* read_pair(char letter, const char* at) {
        Record& record = records.at(index_of(letter));
        std::uint32_t* target = &record.set;
        for (; *at != '\0' && *at != ':'; ++at) {
            if (*at == '?') {
                target = &record.needs;
            } else if (*at == '-') {
                target = target == &record.clear ? &record.excludes : &record.clear;
            } else {
                *target |= bit_of(*at);
            }
        }
        return at;
    }

    const char* read_token(const char* at) {
        const char letter = *at;
        const bool ends = at[1] == '\0' || at[1] == ':';
        const std::size_t index = index_of(letter);
        if (ends) {
            global |= bit_of(letter);
            return at + 1;
        }
        if (at[1] == '-' && (at[2] == '\0' || at[2] == ':')) {
            flags |= bit_of(letter);
            records.at(index).excludes |= bit_of(letter);
            return at + 2;
        }
        ++at;
        if (*at == letter) {
            records.at(index).counted = true;
            ++at;
        }
        return read_pair(letter, at);
    }

    void read_rules(const char* at) {
        while (*at != '\0') {
            const bool digit = at[1] >= '0' && at[1] <= '9';
            if (*at == ':') {
                ++at;
            } else if (*at == '?' && digit) {
                most = at[1] - '0';
                at += 2;
            } else if (*at == '?') {
                usage_on_conflict = true;
                ++at;
            } else if (*at == '-' && digit) {
                least = at[1] - '0';
                at += 2;
            } else if (*at == '-') {
                at += at[1] == '-' ? 2 : 1;
            } else {
                at = read_token(at);
            }
        }
    }
};

struct Expected {
    bool usage = false;
    std::uint32_t flags = 0;
    std::array<int, 32> counts = {};
};

// False if the option is unknown.
bool see(const Reference& rules, Expected& expected, int letter) {
    const std::size_t index = rules.index_of(static_cast<char>(letter));
    if (index == 32) {
        return false;
    }
    const Record& record = rules.records.at(index);
    if ((record.excludes & expected.flags) != 0) {
        expected.usage = expected.usage || rules.usage_on_conflict;
        expected.flags |= 0x80000000;
    }
    expected.counts.at(index) += record.counted ? 1 : 0;
    for (unsigned bit = 0; bit < 32; ++bit) {
        const std::uint32_t mask = std::uint32_t{1} << bit;
        const bool set = (record.set & mask) != 0;
        const bool clear = (record.clear & mask) != 0;
        if (set && clear) {
            expected.flags ^= mask;
        } else if (set) {
            expected.flags |= mask;
        } else if (clear) {
            expected.flags &= ~mask;
        }
    }
    return true;
}

Expected expect(const OptionSettings& settings, CommandLine& line) {
    Reference rules;
    rules.read_options(settings.short_options);
    rules.read_rules(settings.rules);
    Expected expected;
    expected.flags = rules.flags;
    optind = 0;
    for (int letter = 0;
         (letter = getopt_long(line.count(), line.arguments(), settings.short_options,
                               settings.long_options, nullptr)) != -1;) {
        if (!see(rules, expected, letter)) {
            return expected;
        }
        if (expected.usage) {
            return expected;
        }
    }
    for (std::size_t i = 0; i < rules.count; ++i) {
        const Record& record = rules.records.at(i);
        const bool given = (expected.flags & (std::uint32_t{1} << i)) != 0;
        expected.usage =
            expected.usage || (given && record.needs != 0 && (expected.flags & record.needs) == 0);
    }
    const int operands = line.count() - optind;
    expected.usage = expected.usage ||
                     (rules.global != 0 && (expected.flags & rules.global) == 0) ||
                     operands < rules.least || (rules.most >= 0 && operands > rules.most);
    return expected;
}

class RandomCase {
  public:
    explicit RandomCase(unsigned seed) : random_(seed) {
        const std::string alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJ";
        letters_ = alphabet.substr(0, number(3) == 0 ? 2 + number(35) : 2 + number(4));
        for (const char letter : letters_) {
            short_options_ += letter;
            short_options_ += number(6) == 0 ? ":" : "";
        }
        for (std::size_t tokens = number(5); tokens > 0; --tokens) {
            rules_ += token();
            rules_ += tokens > 1 ? ":" : "";
        }
        for (std::size_t words = number(7); words > 0; --words) {
            words_.push_back(number(4) == 0 ? "operand" : std::string("-") + any_letter());
        }
    }

    OptionSettings settings() const {
        static constexpr option none[] = {{nullptr, 0, nullptr, 0}};
        return {short_options_.c_str(), rules_.c_str(), none};
    }
    const std::vector<std::string>& words() const { return words_; }
    std::string description() const {
        std::string text = short_options_ + "  " + rules_ + " ";
        for (const std::string& word : words_) {
            text += " " + word;
        }
        return text;
    }

  private:
    std::size_t number(std::size_t below) { return random_() % below; }
    char any_letter() { return letters_[number(letters_.size())]; }
    std::string any_letters() {
        std::string text;
        for (std::size_t count = number(4); count > 0; --count) {
            text += number(12) == 0 ? 'Z' : any_letter(); // Z is never an option
        }
        return text;
    }
    std::string token() {
        const std::string letter(1, any_letter());
        switch (number(9)) {
        case 0:
            return letter;
        case 1:
            return letter + "-";
        case 2:
            return letter + "-" + any_letters();
        case 3:
            return letter + "?" + any_letters();
        case 4:
            return letter + any_letters();
        case 5:
            return number(2) == 0 ? "?" : "-" + letter;
        case 6:
            return (number(2) == 0 ? "-" : "?") + std::to_string(number(3));
        case 7:
            return letter + any_letters() + "--" + any_letters() + "-" + any_letters();
        default:
            return letter + "--" + any_letters();
        }
    }

    std::mt19937 random_;
    std::string letters_;
    std::string short_options_;
    std::string rules_;
    std::vector<std::string> words_;
};

std::uint32_t parse_case(const RandomCase& random_case) {
    const char* text = nullptr;
    return CommandLine(random_case.words())
        .parse_or_end(random_case.settings(),
                      {&text, &text, &text, &text, &text, &text, &text, &text, &text, &text,
                       &text, &text, &text, &text, &text, &text, &text, &text, &text, &text});
}

// Whether parsing ends the process with status 0.
bool ends_with_usage(const RandomCase& random_case) {
    constexpr int has_returned = 1;
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        // Exits at once: a sanitizer's leak check at each of many exits would take minutes.
        on_exit([](int status, void*) { _exit(status); }, nullptr);
        parse_case(random_case);
        _exit(has_returned);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0;
}

TEST(OptionReference, BothParsersAgree) {
    PrivateRoot root; // unknown options are logged
    const Result result = root.call([] {
        constexpr int most_processes = 25;
        int with_usage = 0;
        int with_conflict = 0;
        for (unsigned seed = 0; seed < 2000; ++seed) {
            const RandomCase random_case(seed);
            CommandLine line(random_case.words());
            const Expected expected = expect(random_case.settings(), line);
            if (expected.usage) {
                ++with_usage;
                EXPECT_TRUE(with_usage > most_processes || ends_with_usage(random_case))
                    << random_case.description();
                continue;
            }
            EXPECT_EQ(parse_case(random_case), expected.flags) << random_case.description();
            with_conflict += (expected.flags & conflict_bit) != 0 ? 1 : 0;
        }
        EXPECT_GT(with_usage, 200);
        EXPECT_GT(with_conflict, 50);
        return 0;
    });
    EXPECT_TRUE(result.has_returned);
}

} // namespace
} // namespace zav::test

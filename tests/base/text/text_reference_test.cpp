// SPDX-License-Identifier: MIT
// Random texts, compared with the C library's line reader and tokenizer.
#include "base/text.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <gmock/gmock.h>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace zav::test {
namespace {

constexpr std::size_t buffer_size = 256;
constexpr unsigned cases = 4000;

class Random {
  public:
    explicit Random(unsigned seed) : engine_(seed) {}
    std::size_t below(std::size_t limit) { return engine_() % limit; }
    std::string text(std::string_view alphabet, std::size_t longest) {
        std::string result;
        // Long runs of one character reach the buffer limits.
        for (const std::size_t length = below(longest); result.size() < length;) {
            result.append(below(20) == 0 ? below(300) : 1, alphabet[below(alphabet.size())]);
        }
        return result;
    }

  private:
    std::mt19937 engine_;
};

// The lines as fgets() reads them.
std::vector<std::string> lines_of(const std::string& file) {
    std::vector<std::string> lines;
    std::FILE* stream = std::tmpfile();
    std::fwrite(file.data(), 1, file.size(), stream);
    std::rewind(stream);
    std::array<char, buffer_size> buffer;
    while (std::fgets(buffer.data(), buffer.size(), stream) != nullptr) {
        lines.emplace_back(buffer.data());
    }
    std::fclose(stream);
    return lines;
}

std::string counted_line(std::string line) {
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.front())) != 0) {
        line.erase(0, 1);
    }
    while (!line.empty() && std::strchr(" \r\n", line.back()) != nullptr) {
        line.pop_back();
    }
    return line;
}

std::string key_of(const std::string& line, const char* separators) {
    std::string key(line, 0, std::strcspn(line.c_str(), separators));
    while (!key.empty() && std::isspace(static_cast<unsigned char>(key.back())) != 0) {
        key.pop_back();
    }
    while (!key.empty() && std::isspace(static_cast<unsigned char>(key.front())) != 0) {
        key.erase(0, 1);
    }
    return key;
}

std::optional<std::string> slow_get_line(const std::string& file, const char* key,
                                         std::size_t occurrence, const char* separators) {
    for (const std::string& read : lines_of(file)) {
        const std::string line = counted_line(read);
        if (line.empty() || (key != nullptr && key_of(line, separators) != key)) {
            continue;
        }
        if (occurrence == 0) {
            return line;
        }
        --occurrence;
    }
    return std::nullopt;
}

std::optional<std::string> slow_get_field(const std::string& text, const char* separators,
                                          std::size_t index) {
    std::array<char, buffer_size> copy = {};
    std::strncpy(copy.data(), text.c_str(), copy.size() - 1);
    char* state = nullptr;
    char* token = strtok_r(copy.data(), separators, &state);
    for (; index > 0 && token != nullptr; --index) {
        token = strtok_r(nullptr, separators, &state);
    }
    if (token == nullptr) {
        return std::nullopt;
    }
    std::string rest = text.substr(static_cast<std::size_t>(token - copy.data()));
    while (!rest.empty() && std::isspace(static_cast<unsigned char>(rest.front())) != 0) {
        rest.erase(0, 1);
    }
    return rest;
}

std::optional<std::string> owned(std::optional<std::string_view> text) {
    return text ? std::optional<std::string>(*text) : std::nullopt;
}

TEST(TextReference, FieldsAreThoseOfTheTokenizer) {
    int found = 0;
    for (unsigned seed = 0; seed < cases; ++seed) {
        Random random(seed);
        const std::string text = random.text("ab :,\t", 400);
        const char* separators = random.below(2) == 0 ? ":" : " ,";
        const std::size_t index = random.below(12);
        const auto expected = slow_get_field(text, separators, index);
        ASSERT_EQ(owned(get_field(text, separators, index)), expected)
            << "text '" << text << "', field " << index << " at '" << separators << "'";
        found += expected ? 1 : 0;
    }
    EXPECT_GT(found, 1000);
}

TEST(TextReference, PiecesAreThoseOfTheTokenizer) {
    for (unsigned seed = 0; seed < cases; ++seed) {
        Random random(seed);
        std::string text = random.text("ab,;", 60);
        const std::string before = text;
        std::vector<std::string> expected;
        char* state = nullptr;
        for (const char* token = strtok_r(text.data(), ",;", &state); token != nullptr;
             token = strtok_r(nullptr, ",;", &state)) {
            expected.emplace_back(token);
        }
        const auto found = split(before, ",;");
        ASSERT_EQ(std::vector<std::string>(found.begin(), found.end()), expected) << before;
    }
}

TEST(TextReference, LinePiecesAreThoseOfTheLineReader) {
    for (unsigned seed = 0; seed < cases / 4; ++seed) {
        Random random(seed);
        const std::string file = random.text(std::string_view("ab \n\r\0", 6), 1500);
        std::vector<std::string> expected = lines_of(file);
        for (std::string& line : expected) {
            if (line.ends_with('\n')) {
                line.pop_back();
            }
        }
        std::vector<std::string> found;
        LinePieces pieces(file);
        for (std::string_view piece; pieces.next(piece);) {
            found.emplace_back(piece);
        }
        ASSERT_EQ(found, expected) << "seed " << seed;
    }
}

TEST(TextReference, LinesWithAndWithoutAKeyAreThoseOfTheLineReader) {
    int found = 0;
    for (unsigned seed = 0; seed < cases; ++seed) {
        Random random(seed);
        const std::string file = random.text(std::string_view("aab: =\n\n\t\r\v", 11), 600);
        const char* keys[] = {nullptr, "a", "b", "aa", "a b"};
        const char* key = keys[random.below(5)];
        const char* separators = random.below(2) == 0 ? ":" : " =";
        const std::size_t occurrence = random.below(6);
        const auto expected = slow_get_line(file, key, occurrence, separators);
        ASSERT_EQ(owned(get_line(file, key, occurrence, separators)), expected) << "seed " << seed;
        found += expected ? 1 : 0;
    }
    EXPECT_GT(found, 500);
}

TEST(TextReference, NumbersAreThoseOfTheCLibrary) {
    for (unsigned seed = 0; seed < cases; ++seed) {
        Random random(seed);
        const std::string text = random.text(" 0123456789x", 24);
        const unsigned long long expected = std::strtoull(text.c_str(), nullptr, 10);
        ASSERT_EQ(decimal(text), expected) << text;
    }
}

} // namespace
} // namespace zav::test

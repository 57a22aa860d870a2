// SPDX-License-Identifier: MIT
// Random files, compared with a second, slow reader and writer: one byte at a time into fixed
// buffers, reading the file again from the start for every step.
#include "base/key_value.h"
#include "base/key_value/memory_file.h"
#include "fixtures/library.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <string_view>

namespace zav::test {
namespace {

constexpr int line_room = 512;
constexpr unsigned cases = 20000;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

OpenFile open_text(std::string& text) {
    return OpenFile(fmemopen(text.data(), text.size(), "rb"));
}

bool ends_line(int byte) {
    return byte == '\n' || byte == 0 || byte == 12 || byte == 26;
}

// Reads one line into a buffer of 512 characters; false at the end of the file.
bool read_line(std::FILE* file, std::array<char, line_room>& line) {
    std::size_t count = 0;
    int byte = std::getc(file);
    if (byte == EOF) {
        return false;
    }
    for (; byte != EOF; byte = std::getc(file)) {
        const bool is_text = byte != '\n' && byte != 0 && byte != '\r';
        if (is_text && count == line.size() - 1) {
            std::ungetc(byte, file);
            break;
        }
        if (is_text) {
            line.at(count++) = static_cast<char>(byte);
        }
        if (ends_line(byte)) {
            break;
        }
    }
    while (count > 0 && line.at(count - 1) == ' ') {
        --count;
    }
    line.at(count) = '\0';
    return true;
}

const char* after_blanks(const char* text) {
    return text + std::strspn(text, " \t");
}

struct Lookup {
    int code = -1;
    int header = 0;
    int first = 0;
    int lines = 0;
    std::string value;
};

// Reads the section's lines, from the one after its header.
void look_for_key(std::FILE* file, const char* key, int number, Lookup& lookup) {
    std::array<char, line_room> line;
    lookup.code = -2;
    while (read_line(file, line)) {
        ++number;
        if (*after_blanks(line.data()) == '\0' || *after_blanks(line.data()) == ';') {
            continue;
        }
        if (*after_blanks(line.data()) == '[') {
            return;
        }
        lookup.first = number;
        lookup.lines = 1;
        std::string joined = line.data();
        for (bool more = joined.back() == '+'; more;) {
            joined.pop_back();
            if (!read_line(file, line)) {
                break;
            }
            ++number;
            ++lookup.lines;
            joined += line.data();
            more = line[0] != '\0' && line.at(std::strlen(line.data()) - 1) == '+';
            if (joined.size() > 512) {
                lookup.code = -22;
                return;
            }
        }
        const std::size_t equals = joined.find('=');
        if (equals == std::string::npos) {
            lookup.code = -14;
            return;
        }
        std::string name = after_blanks(joined.substr(0, equals).c_str());
        while (name.ends_with(' ')) {
            name.pop_back();
        }
        if (name == key) {
            lookup.value = after_blanks(joined.c_str() + equals + 1);
            lookup.code = 0;
            return;
        }
    }
}

Lookup slow_lookup(std::string text, const char* section, const char* key) {
    Lookup lookup;
    if (text.empty()) {
        return lookup;
    }
    const OpenFile file = open_text(text);
    std::array<char, line_room> line;
    for (int number = 1; read_line(file.get(), line); ++number) {
        std::string header = after_blanks(line.data());
        if (!header.starts_with('[')) {
            continue;
        }
        if (header.size() > 2) {
            if (!header.ends_with(']')) {
                lookup.code = -14;
                return lookup;
            }
            header.pop_back();
        }
        if (header.substr(1) == section) {
            lookup.header = number;
            look_for_key(file.get(), key, number, lookup);
            return lookup;
        }
    }
    return lookup;
}

// The file after setting a key whose section was found.
std::string slow_replacement(std::string text, const Lookup& lookup, const std::string& line) {
    const OpenFile file = open_text(text);
    std::array<char, line_room> read;
    std::string result;
    const int copied = lookup.code == 0 ? lookup.first - 1 : lookup.header;
    for (int i = 0; i < copied; ++i) {
        read_line(file.get(), read);
        result += std::string(read.data()) + "\n";
    }
    result += line;
    for (int i = 0; i < (lookup.code == 0 ? lookup.lines : 0); ++i) {
        read_line(file.get(), read);
    }
    while (read_line(file.get(), read)) {
        result += std::string(read.data()) + "\n";
    }
    return result;
}

// Text with many headers and keys, or near misses.
std::string random_file(std::mt19937& random) {
    static constexpr std::string_view parts[] = {
        "[s]\n", "[t]\n", "k=",   "x=",   "=",  "+\n",   "+",      "\n",      " ",
        "\t",    "a",     ";",    "\r",   "[",  "]",     "[s]",    "[s",      "\f",
        "\x1a",  "k",     "\r\n", "k=a+", "b+", "k = a", "note\n", {"\0", 1}, "s"};
    std::string file;
    for (std::size_t count = random() % 30; count > 0; --count) {
        file += parts[random() % std::size(parts)];
        if (random() % 40 == 0) {
            file += std::string(random() % 530, 'y');
        }
    }
    return file;
}

TEST(KeyValueReference, BothReadersAgree) {
    std::array<int, 32> seen = {};
    for (unsigned seed = 0; seed < cases; ++seed) {
        std::mt19937 random(seed);
        const std::string text = (seed % 2 == 0 ? "[s]\n" : "") + random_file(random);
        const Lookup expected = slow_lookup(text, "s", "k");
        const MemoryFile file(text);
        std::array<char, 600> value = {};
        const auto code = key_value_get(file.path(), "s", "k", value.data(), value.size());
        ASSERT_EQ(code, expected.code) << "seed " << seed << "\n" << text;
        ASSERT_EQ(value.data(), expected.value) << "seed " << seed << "\n" << text;
        ++seen.at(static_cast<std::size_t>(-number_of(code)));
    }
    EXPECT_GT(seen[0], 1000);
    EXPECT_GT(seen[1], 1000);
    EXPECT_GT(seen[2], 1000);
    EXPECT_GT(seen[14], 1000);
    EXPECT_GT(seen[22], 0);
}

TEST(KeyValueReference, IndexFindsWhatTheReaderFinds) {
    int found = 0;
    int missed = 0;
    for (unsigned seed = 0; seed < cases / 4; ++seed) {
        std::mt19937 random(seed);
        const std::string text = (seed % 2 == 0 ? "[s]\n" : "") + random_file(random);
        const MemoryFile file(text);
        const KeyValueIndex index(text);
        for (const char* section : {"s", "t", "a", "", "]", "k"}) {
            for (const char* key : {"k", "x", "a", ""}) {
                std::array<char, 600> value = {};
                const auto code =
                    key_value_get(file.path(), section, key, value.data(), value.size());
                const auto indexed = index.get(section, key);
                ASSERT_EQ(indexed.has_value(), code == 0) << "seed " << seed << "\n" << text;
                ASSERT_EQ(indexed.value_or(""), value.data()) << "seed " << seed << "\n" << text;
                ++(code == 0 ? found : missed);
            }
        }
    }
    EXPECT_GT(found, 500);
    EXPECT_GT(missed, 500);
}

TEST(KeyValueReference, BothWritersAgree) {
    int replaced = 0;
    int inserted = 0;
    for (unsigned seed = 0; seed < cases / 10; ++seed) {
        std::mt19937 random(seed);
        const std::string text = "[s]\n" + random_file(random);
        const Lookup lookup = slow_lookup(text, "s", "k");
        const MemoryFile file(text);
        const auto code = key_value_set(file.path(), "s", "k", "new");
        const bool written = lookup.code == 0 || lookup.code == -2;
        ASSERT_EQ(code, written ? 0 : lookup.code) << "seed " << seed;
        ASSERT_EQ(file.text(), written ? slow_replacement(text, lookup, "\tk = new\n") : text)
            << "seed " << seed << "\n"
            << text;
        replaced += lookup.code == 0 ? 1 : 0;
        inserted += lookup.code == -2 ? 1 : 0;
    }
    EXPECT_GT(replaced, 100);
    EXPECT_GT(inserted, 100);
}

} // namespace
} // namespace zav::test

// SPDX-License-Identifier: MIT
// What the tests of the status getters share: an appliance of a given model, and a getter's answer.
#pragma once

#include "private_root.h"
#include "status/system_status.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace zav::test {

class StatusRoot : public PrivateRoot {
  public:
    StatusRoot() = default;
    explicit StatusRoot(const std::string& model_name) { model(model_name); }
    StatusRoot& model(const std::string& name) {
        file("/etc/sys_info", "[product]\n\ttype = " + name + "\n");
        return *this;
    }
    /// Texts of the log, in order.
    std::vector<std::string> log_texts() const {
        std::vector<std::string> texts;
        for (const LogLine& line : log()) {
            texts.push_back(line.text);
        }
        return texts;
    }
};

/// What a caller's buffer holds before a getter fills it.
inline constexpr char old_text[] = "old";

/// What a getter gave: its code, and the text in the buffer afterwards.
struct Reading {
    int code;
    std::string text;
    std::vector<std::string> commands; // temporary files as XXXXXX
};

inline bool operator==(const Reading& left, const std::pair<int, std::string>& right) {
    return left.code == right.first && left.text == right.second;
}
inline std::ostream& operator<<(std::ostream& out, const Reading& reading) {
    return out << reading.code << " \"" << reading.text << '"';
}
inline std::pair<int, std::string> gives(int code, const std::string& text) {
    return {code, text};
}

/// Calls `getter(buffer, size)` inside the root with a buffer of exactly that size.
template <class Getter>
Reading read_status(PrivateRoot& root, Getter getter, std::size_t size = 64,
                    const RunOptions& options = {}) {
    const Result result = root.call(
        [&] {
            std::vector<char> buffer(size, '\0');
            std::copy_n(old_text, std::min(size, sizeof old_text), buffer.begin());
            buffer.back() = '\0';
            const int code = getter(buffer.data(), size);
            const std::size_t length = ::strnlen(buffer.data(), size);
            EXPECT_LT(length, size) << "the text is not terminated";
            std::fwrite(buffer.data(), 1, length, stdout);
            return code;
        },
        options);
    return {result.returned, result.out, result.commands_with_templates()};
}

/// Calls the getter with a null buffer, then with a size of 0; both codes are the same.
template <class Getter>
int code_without_buffer(PrivateRoot& root, Getter getter) {
    const Result result = root.call([&] {
        char untouched = 'x';
        const int without_buffer = getter(nullptr, 16);
        EXPECT_EQ(getter(&untouched, 0), without_buffer);
        EXPECT_EQ(untouched, 'x');
        return without_buffer;
    });
    return result.returned;
}

/// A getter's line in the log.
inline auto failure_line(const std::string& getter, int code, const std::string& reason) {
    return testing::MatchesRegex(getter + ":[0-9]+ return " + std::to_string(code) + " with " +
                                 reason);
}

} // namespace zav::test

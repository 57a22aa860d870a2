// SPDX-License-Identifier: MIT
/// \file
/// Text of a record: a field of fixed size that cuts what is longer.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace zav {

/// A field of `Size` bytes: at most `Size` - 1 characters and the terminating NUL.
template <std::size_t Size>
class BoundedText {
    static_assert(Size > 1);

  public:
    static constexpr std::size_t capacity = Size - 1;

    BoundedText() = default;
    explicit BoundedText(std::string_view text) { append(text); }

    // The text may be a part of the field itself.
    BoundedText& operator=(std::string_view text) {
        put(0, text);
        return *this;
    }
    BoundedText& operator=(const char* text) {
        *this = std::string_view(text);
        return *this;
    }

    /// Adds as much of `text` as there is room for.
    BoundedText& append(std::string_view text) {
        put(size(), text);
        return *this;
    }

    void clear() { data_[0] = '\0'; }
    [[nodiscard]] bool empty() const { return data_[0] == '\0'; }
    [[nodiscard]] bool full() const { return size() == capacity; }
    [[nodiscard]] std::size_t size() const { return std::strlen(data_); }
    [[nodiscard]] const char* c_str() const { return data_; }
    [[nodiscard]] std::string_view view() const { return {data_, size()}; }
    operator std::string_view() const { return view(); }

    friend bool operator==(const BoundedText& left, std::string_view right) {
        return left.view() == right;
    }
    friend bool operator==(const BoundedText& left, const char* right) {
        return left.view() == right;
    }
    template <std::size_t Other>
    bool operator==(const BoundedText<Other>& right) const {
        return view() == right.view();
    }

  private:
    void put(std::size_t at, std::string_view text) {
        const std::size_t count = std::min(text.size(), capacity - at);
        std::char_traits<char>::move(data_ + at, text.data(), count);
        data_[at + count] = '\0';
    }

    char data_[Size] = {};
};

} // namespace zav

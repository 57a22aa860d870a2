// SPDX-License-Identifier: MIT
#include "sources/meminfo.h"

#include "base/text.h"

namespace zav {

namespace {

/// The figure in kB on the key's line, after its last ":".
std::optional<double> kilobytes(std::string_view meminfo, const char* key) {
    const auto line = get_line(meminfo, key, 0, ":");
    if (!line || line->find(':') == std::string_view::npos) {
        return std::nullopt;
    }
    return static_cast<double>(decimal(line->substr(line->rfind(':') + 1)));
}

} // namespace

std::optional<float> memory_in_use(std::string_view meminfo) {
    const auto total = kilobytes(meminfo, "MemTotal");
    const auto free = kilobytes(meminfo, "MemFree");
    const auto buffers = kilobytes(meminfo, "Buffers");
    const auto cached = kilobytes(meminfo, "Cached");
    if (!total || !free || !buffers || !cached) {
        return std::nullopt;
    }
    const double used = *total - *free - *buffers;
    if (used == *cached || *total == 0.0) {
        return 0.0F;
    }
    return static_cast<float>((used - *cached) * 100.0 / *total);
}

} // namespace zav

// SPDX-License-Identifier: MIT
#include "base/sink.h"

#include "base/text.h"

#include <cstdarg>

namespace zav {

void Sink::print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    write(format_text_list(format, arguments));
    va_end(arguments);
}

} // namespace zav

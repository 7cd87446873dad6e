#pragma once

#include <cstdarg>
#include <string>

/** The printf-formatted text, of any length; an invalid format yields an empty one. */
[[nodiscard]] std::string printfText(const char* fmt, va_list args)
    __attribute__((format(printf, 1, 0)));

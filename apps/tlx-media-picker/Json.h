#pragma once

#include <string>
#include <string_view>

namespace tlx::program {

/// The text as a JSON string with its quotes. File names need not be UTF-8: a byte that belongs to no character is
/// written as the escape \udc80 to \udcff, which keeps it and keeps the line readable to every parser. So are
/// characters that would do something to a terminal.
std::string jsonString(std::string_view text);
/// As short as reads back the same; what is no number is 0.
std::string jsonNumber(double number);
/// Seconds since 1970 UTC as ISO 8601, such as 2024-03-12T14:05:09Z.
std::string isoDate(double seconds);

}  // namespace tlx::program

#pragma once

#include <string>
#include <string_view>

namespace tlx::program {

/// The program's name, as on the command line and before each complaint.
inline constexpr char kProgram[] = "tlx-media-picker";

/// The text as one line that a terminal only shows, whatever is in it: control characters and bytes that are no UTF-8
/// are written as \x1b or \u202e, a backslash as two.
std::string shown(std::string_view text);

/// Tells one line on standard error, with the program's name: a person needs the words now, and a program that reads
/// the results must not find them there. Any thread.
void complain(std::string_view text);

}  // namespace tlx::program

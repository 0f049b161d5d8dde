#pragma once

#include <string_view>

namespace tlx::photolibrary {

/// The order in which a person reads names: runs of digits by their value ("Day 2" before "Day 10"), ASCII letters
/// without regard to case, and a folder before what lies in it ('/' is the lowest character). A total order over byte
/// strings: texts that differ never compare equal. Answers below, at or above 0.
int naturalCompare(std::string_view a, std::string_view b);

}  // namespace tlx::photolibrary

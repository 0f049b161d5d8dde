#pragma once

#include <chrono>
#include <string>

namespace tlx::photolibrary {

/// For how long nobody must have seen a library's roots or opened its index until the index goes: a disk that is
/// plugged in once a season finds everything known. What goes can be read again from the files.
inline constexpr std::chrono::hours kIndexOutlivesRoots{24 * 180};

/// Removes indexes that nobody will need any more from the cache folder, but for the one that is `kept`. An index none
/// of whose roots is there is marked with the time; whoever finds a root again, or opens the index, takes the mark off;
/// an index that bears its mark for too long goes. The only trace of a root on a server is that its index is opened.
void removeGoneIndexes(const std::string& cacheFolder, const std::string& kept,
                       std::chrono::system_clock::time_point now);

}  // namespace tlx::photolibrary

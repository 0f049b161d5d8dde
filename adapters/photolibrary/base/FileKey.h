#pragma once

#include <cstdint>
#include <string>

namespace tlx::photolibrary {

/// What a source knows a file or folder by, whatever its name and place. For a folder tree: the file system's own id
/// (`statfs` f_fsid, which unlike a device number survives a restart on most file systems), the inode number, and the
/// inode's birth time in nanoseconds. The birth time is what makes the triple good for ever: inode numbers are handed
/// out again within milliseconds of a deletion, a number and its birth together are not. `born` is 0 where the file
/// system keeps no birth times.
struct FileKey {
  std::uint64_t fileSystem = 0;
  std::uint64_t number = 0;
  std::int64_t born = 0;

  friend bool operator==(const FileKey&, const FileKey&) = default;
};

/// The identifier of the file with this key: 15 letters, digits, '-' and '_', 90 bits of a fixed hash of the key.
///
/// Why so: it is computed and not counted, so it is the same in every process, in every index, and after the index was
/// lost; a rename or a move inside the file system keeps the key and so the identifier, a copy and a file saved anew
/// under an old name have keys of their own. 90 bits make an accidental pair among ten million files a matter of 1 in
/// 10^13, and 15 characters are what a std::string holds without an allocation, which a million identifiers feel.
///
/// A key without a birth time would be handed on to the next file with that inode number. For such keys the caller
/// mints an identifier and keeps it in the index for as long as it can tell the file to be the same one.
std::string deriveIdentifier(const FileKey& key);

/// As many random bits in the same form. Any thread.
std::string mintIdentifier();

}  // namespace tlx::photolibrary

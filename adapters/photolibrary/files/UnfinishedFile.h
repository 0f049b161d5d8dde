#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include <sys/types.h>

#include "adapters/photolibrary/base/FileStatus.h"

namespace tlx::photolibrary {

/// A file in the making. Until it is given its name it has a hidden one in the same folder, which walks pass over and
/// nobody can guess, and it goes with the object. Whatever else lies in the folder is neither opened nor replaced. What
/// a program that was killed left unfinished is removed by the next one that makes a file there. Any thread, one at a
/// time.
class UnfinishedFile {
 public:
  /// `mode` is what the finished file allows at most; the umask takes its part away.
  explicit UnfinishedFile(const std::string& folder, mode_t mode = 0666);
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  /// Open for writing; -1 when there is none.
  int get() const { return file_.get(); }
  /// Why there is none, an error number; 0 when there is one.
  int error() const { return error_; }

  // Each answers 0 or an error number.

  int write(const std::uint8_t* bytes, std::size_t size);
  /// Appends the open file's content, from where it stands to its end.
  int copyFrom(int file);
  /// Sets when it was last written; seconds since 1970 UTC.
  int setTime(double modified);
  /// Gives it the first free name of `freeName`, which becomes `path`.
  int settle(const std::string& stem, const std::string& ending, std::string& path);

 private:
  std::string folder_, hidden_;
  FileDescriptor file_;  ///< locked, so that other programs can tell that it is not abandoned
  int error_ = 0;
};

/// Takes the first name that is free, as in "beach.jpg", "beach (2).jpg": `take` is given one full path after the other
/// until it answers something else than EEXIST, which is the answer; 0 leaves the name taken in `path`.
int freeName(const std::string& folder, const std::string& stem, const std::string& ending, std::string& path,
             const std::function<int(const std::string& path)>& take);

/// Makes the open file look as if it had been written at that moment; 0 or an error number.
int setFileTime(int file, double modified);

}  // namespace tlx::photolibrary

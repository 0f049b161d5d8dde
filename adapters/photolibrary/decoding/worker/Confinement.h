#pragma once

#include <cstdint>
#include <string>

namespace tlx::photolibrary {

/// Shuts the process in, for the rest of its life, before it looks at the first foreign byte: whoever takes it over
/// through a picture finds no file, no network, no other process, and little memory. Called by the main thread while it
/// is the only one, in this order: `dieWithParent`, `limitResources`, whatever loads or opens anything, `shutIn`.
namespace confinement {

/// Kills the process when the thread that started it ends; at once where that has happened already. `parent` is the
/// process that started it.
void dieWithParent(std::int32_t parent);

/// Closes every descriptor above `last`; opens no more than a few; writes no file and no core.
void limitResources(int last);

/// Bounds the address space to what is mapped now and `more` bytes; returns what is mapped now. The limit can be raised
/// from outside alone.
std::int64_t limitMemory(std::int64_t more);

/// Whether a system call that the filter does not know is refused, which lets libraries fall back, or ends the process,
/// which shows a test what a library's new version asks for.
enum class Unknown { Refused, Fatal };

/// Gives up new privileges, the file system (where the kernel has Landlock) and all system calls that decoding does not
/// need. False where the kernel offers no filter: the process is then bounded by its limits alone.
bool shutIn(Unknown unknown);

}  // namespace confinement
}  // namespace tlx::photolibrary

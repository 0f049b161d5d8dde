#include "adapters/photolibrary/decoding/DecoderFolder.h"

#include <filesystem>

#include "adapters/photolibrary/decoding/WorkerKind.h"

namespace tlx::photolibrary {

std::string decoderFolder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  const auto beside = program.parent_path();
  if (std::filesystem::exists(beside / programOf(WorkerKind::Photo), error)) return beside;
  return (beside / ".." / TLX_LIBEXEC / "tlx-media-picker").lexically_normal();
}

}  // namespace tlx::photolibrary

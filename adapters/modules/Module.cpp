#include "adapters/modules/Module.h"

#include <filesystem>

#include <dlfcn.h>

namespace tlx::modules {
namespace {

std::string reason() {
  const char* const text = ::dlerror();
  return text ? text : "the module cannot be opened";
}

}  // namespace

std::string moduleFile(const std::string& name) {
  std::error_code error;
  const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  const auto beside = folder / (name + ".so");
  if (std::filesystem::exists(beside, error)) return beside;
  return (folder / ".." / TLX_LIBDIR / "tlx-media-picker" / beside.filename()).lexically_normal();
}

void* openModule(const std::string& file, const char* function, std::string& error) {
  // All at once, so that a library that lacks something says so here and not in the middle of its work.
  void* const module = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  void* const found = module ? ::dlsym(module, function) : nullptr;
  if (!found) error = reason();
  return found;
}

}  // namespace tlx::modules

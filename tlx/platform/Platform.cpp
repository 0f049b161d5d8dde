#include "tlx/platform/Platform.h"

#include <atomic>

#include "tlx/platform/NSException.h"

namespace tlx {
namespace {

std::atomic<Platform*> theInstalled = nullptr;

}  // namespace

Platform::Platform(const Ports& ports) : ports_(ports) {
  Platform* none = nullptr;
  if (!theInstalled.compare_exchange_strong(none, this)) {
    throw NSException(NSInternalInconsistencyException, "A platform is installed already");
  }
}

Platform::~Platform() {
  // The single objects unregister from the ports through the installed platform while they go.
  std::map<std::type_index, std::shared_ptr<void>> singles;
  {
    std::lock_guard lock(mutex_);
    singles.swap(singles_);
  }
  singles.clear();
  theInstalled = nullptr;
}

Platform& Platform::current() {
  if (Platform* platform = theInstalled) return *platform;
  throw NSException(NSInternalInconsistencyException, "No platform is installed");
}

Platform* Platform::installed() {
  return theInstalled;
}

}  // namespace tlx

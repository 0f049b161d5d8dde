#include "adapters/photolibrary/access/AccessWatch.h"

#include <chrono>
#include <iterator>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "adapters/photolibrary/source/WalkScope.h"

namespace tlx::photolibrary {
namespace {

constexpr std::chrono::milliseconds kUnwatched{2000};

}  // namespace

AccessWatch::AccessWatch(std::string file, std::function<void()> touched)
    : file_(std::move(file)), touched_(std::move(touched)), wake_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  watchNearest();
  thread_ = std::jthread([this](const std::stop_token& stop) { work(stop); });
}

AccessWatch::~AccessWatch() {
  thread_.request_stop();
  ::eventfd_write(wake_.get(), 1);
  thread_.join();
}

void AccessWatch::watchNearest() {
  inotify_ = FileDescriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!inotify_) return;
  std::string path = file_;
  for (std::string folder = folderOf(path); !folder.empty(); folder = folderOf(path)) {
    constexpr std::uint32_t kEvents = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE |
                                      IN_DELETE_SELF | IN_MOVE_SELF | IN_ATTRIB | IN_ONLYDIR;
    awaited_ = lastNameOf(path);
    if (::inotify_add_watch(inotify_.get(), folder.c_str(), kEvents) >= 0) return;
    path = folder;
  }
  inotify_ = FileDescriptor();
}

/// Whether any of what happened concerns the file.
bool AccessWatch::read() const {
  alignas(inotify_event) char buffer[16384];
  bool concerned = false;
  for (ssize_t size; (size = ::read(inotify_.get(), buffer, sizeof buffer)) > 0;) {
    for (const char* at = buffer; at < buffer + size;) {
      const auto& event = *reinterpret_cast<const inotify_event*>(at);
      at += sizeof(inotify_event) + event.len;
      concerned |= event.len == 0 || awaited_ == event.name;
    }
  }
  return concerned;
}

void AccessWatch::work(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    pollfd sources[] = {{wake_.get(), POLLIN, 0}, {inotify_.get(), POLLIN, 0}};
    ::poll(sources, std::size(sources), inotify_ ? -1 : static_cast<int>(kUnwatched.count()));
    if (stop.stop_requested()) return;
    if (inotify_ && !read()) continue;
    // Another part of the way may be there now. Watched first, asked afterwards: nothing falls between the two.
    watchNearest();
    touched_();
  }
}

}  // namespace tlx::photolibrary

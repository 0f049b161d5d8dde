#include "adapters/photolibrary/files/FolderWatch.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace tlx::photolibrary {
namespace {

using Clock = std::chrono::steady_clock;

/// File systems where others may change files without this machine's kernel hearing of it, by their numbers in
/// linux/magic.h and, where that has none, in the kernel's own sources.
bool changesUnheard(std::uint64_t kind) {
  static constexpr std::uint32_t kKinds[] = {
      0x6969,      // NFS
      0x517b,      // SMB
      0xff534d42,  // CIFS
      0xfe534d42,  // SMB2
      0x65735546,  // FUSE: some are local, which nothing tells
      0x01021997,  // 9P
      0x5346414f,  // AFS, OpenAFS
      0x6b414653,  // AFS
      0x73757245,  // Coda
      0x00c36400,  // Ceph
      0x0bd00bd0,  // Lustre
      0x7461636f,  // OCFS2
      0x01161970,  // GFS2
      0x47504653,  // GPFS
      0x786f4256,  // folders shared with a virtual machine's host
  };
  return std::find(std::begin(kKinds), std::end(kKinds), static_cast<std::uint32_t>(kind)) != std::end(kKinds);
}

/// The photos beside which an XMP file was touched, which may tell their date.
WalkScope describedBySidecars(const WalkScope& touched) {
  static constexpr std::string_view ending = ".xmp";
  WalkScope photos;
  for (const auto& [folder, names] : touched.folders()) {
    for (const std::string& name : names) {
      const std::string stem = name.substr(0, name.size() - std::min(name.size(), ending.size()));
      if (stem.empty() || strcasecmp(name.c_str() + stem.size(), ending.data()) != 0) continue;
      if (formatNamedBy(stem) != MediaFormat::Unknown) {
        photos.add(pathIn(folder, stem));
        continue;
      }
      std::error_code failed;
      for (std::filesystem::directory_iterator entry(folder, failed), end; !failed && entry != end;
           entry.increment(failed)) {
        const std::string other = entry->path().filename().string();
        if (entry->path().stem() == stem && formatNamedBy(other) != MediaFormat::Unknown) {
          photos.add(pathIn(folder, other));
        }
      }
    }
  }
  return photos;
}

}  // namespace

FolderWatch::Presence FolderWatch::Presence::of(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return {};
  return {::access(path.c_str(), R_OK | X_OK) == 0, status.st_dev, status.st_ino};
}

FolderWatch::FolderWatch(std::vector<std::string> roots, const Timing& timing, Log log, Source::Touched touched)
    : roots_(std::move(roots)),
      timing_(timing),
      log_(std::move(log)),
      touched_(std::move(touched)),
      wake_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)),
      mounts_(::open("/proc/self/mounts", O_RDONLY | O_CLOEXEC)),
      folders_(timing.mostFolders),
      burst_(timing.quiet, timing.longest),
      presenceDue_(Clock::now() + timing.presence),
      unwatchedDue_(Clock::now() + timing.unwatched) {
  for (const std::string& root : roots_) landmarks_.emplace(root, Landmark{root, Presence::of(root)});
  thread_ = std::jthread([this] { work(); });
}

FolderWatch::~FolderWatch() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  ::eventfd_write(wake_.get(), 1);
  thread_.join();
}

bool FolderWatch::isRoot(const std::string& path) const {
  return std::find(roots_.begin(), roots_.end(), path) != roots_.end();
}

void FolderWatch::watchFolder(int folder, std::uint64_t device, const std::string& path) {
  std::string limit;
  {
    std::lock_guard lock(mutex_);
    const bool watched = folders_.add(folder, path);
    if (!watched || isRemote(folder, device)) lookEverySoOften(path);
    if (!watched && !std::exchange(limitTold_, true)) {
      limit = "the system lets no more folders be watched (see fs.inotify in sysctl); the photo library looks at " +
              path + " and others every " +
              std::to_string(std::chrono::duration_cast<std::chrono::seconds>(timing_.unwatched).count()) +
              " s or more instead";
    }
  }
  if (!limit.empty()) log_(limit);
}

void FolderWatch::watchTrash(const std::string& path, const std::string& files) {
  const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
  std::lock_guard lock(mutex_);
  landmarks_.insert_or_assign(path, Landmark{files, Presence::of(path)});
  if (folder && !folders_.add(folder.get(), path, files)) lookEverySoOften(files);
}

void FolderWatch::lookLater(const std::string& path, Duration wait) {
  {
    std::lock_guard lock(mutex_);
    later_.emplace(Clock::now() + wait, path);
  }
  ::eventfd_write(wake_.get(), 1);
}

bool FolderWatch::isRemote(int folder, std::uint64_t device) {
  const auto [entry, isNew] = remote_.emplace(device, false);
  struct statfs status;
  if (isNew && ::fstatfs(folder, &status) == 0) {
    entry->second = changesUnheard(static_cast<std::uint64_t>(status.f_type));
  }
  return entry->second;
}

void FolderWatch::lookEverySoOften(const std::string& path) {
  if (!unwatched_.holds(path)) unwatched_.add(path);
}

FolderWatch::Duration FolderWatch::interval() const {
  return std::max(timing_.unwatched, Duration(took_) * 10);
}

FolderWatch::Time FolderWatch::nextDue(Time now) {
  Time due = std::min(presenceDue_, now + std::chrono::minutes(1));
  if (const auto over = burst_.due()) due = std::min(due, *over);
  std::lock_guard lock(mutex_);
  if (!unwatched_.empty()) due = std::min(due, unwatchedDue_);
  if (!later_.empty()) due = std::min(due, later_.begin()->first);
  return due;
}

void FolderWatch::work() {
  pollfd sources[] = {{wake_.get(), POLLIN, 0}, {folders_.descriptor(), POLLIN, 0}, {mounts_.get(), POLLPRI, 0}};
  while (true) {
    const auto now = Clock::now();
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(nextDue(now) - now);
    ::poll(sources, std::size(sources), static_cast<int>(std::max<std::int64_t>(wait.count(), 0)));
    {
      std::lock_guard lock(mutex_);
      if (stopping_) return;
    }
    eventfd_t woken;
    ::eventfd_read(wake_.get(), &woken);
    if (sources[1].revents & POLLIN) listen(Clock::now());
    if ((sources[2].revents & POLLPRI) || Clock::now() >= presenceDue_) checkPresence();
    tell(Clock::now());
  }
}

void FolderWatch::listen(Time now) {
  WalkScope touched;
  {
    std::lock_guard lock(mutex_);
    if (!folders_.read(touched, [this](const std::string& path) { return isRoot(path); })) {
      touched = WalkScope::everything();
    }
  }
  if (touched.empty()) return;
  heard_.add(touched);
  heard_.add(describedBySidecars(touched));
  burst_.happened(now);
}

/// Asks the disk without the lock: it may take its time.
void FolderWatch::checkPresence() {
  presenceDue_ = Clock::now() + timing_.presence;
  std::map<std::string, Landmark> landmarks;
  {
    std::lock_guard lock(mutex_);
    for (const auto& [path, landmark] : landmarks_) {
      if (!unwatched_.holds(path)) landmarks.emplace(path, landmark);
    }
  }
  for (const auto& [path, landmark] : landmarks) {
    const Presence presence = Presence::of(path);
    if (presence == landmark.presence) continue;
    heard_.add(landmark.touches);
    burst_.happened(Clock::now());
    std::lock_guard lock(mutex_);
    landmarks_.at(path).presence = presence;
  }
}

void FolderWatch::tell(Time now) {
  WalkScope due;
  {
    std::lock_guard lock(mutex_);
    for (; !later_.empty() && later_.begin()->first <= now; later_.erase(later_.begin())) {
      due.add(later_.begin()->second);
    }
    if (now >= unwatchedDue_) {
      due.add(unwatched_);
      unwatchedDue_ = now + interval();
    }
  }
  if (const auto over = burst_.due(); over && *over <= now) {
    due.add(std::exchange(heard_, {}));
    burst_.over();
  }
  if (!due.empty()) touched_(due);
}

}  // namespace tlx::photolibrary

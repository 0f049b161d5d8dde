#include "adapters/photolibrary/images/cache/SharedThumbnails.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/base/XdgFolders.h"
#include "adapters/photolibrary/images/pixels/UprightSink.h"

namespace tlx::photolibrary {
namespace {

constexpr std::string_view ourName = "TLXMediaPicker";
constexpr char softwareKey[] = "Software", uriKey[] = "Thumb::URI", timeKey[] = "Thumb::MTime",
               sizeKey[] = "Thumb::Size", errorKey[] = "X-TLXMediaPicker::Error";
constexpr char temporaryMark[] = ".tlx-";
constexpr std::int64_t second = 1'000'000'000;
/// A file that was changed less than this ago may change again within the same second, which its time would not show.
constexpr std::int64_t settledAfter = 2 * second;
constexpr std::int64_t pauseAfterFailure = 60 * second;
constexpr std::int64_t temporariesLive = 3600;  // seconds
constexpr int oldOnesLookedAt = 1000;           // in one cleaning
constexpr std::int64_t maxFileBytes = 6 << 20;  // the largest size without any compression has 4 MiB

std::int64_t secondsOf(std::int64_t nanoseconds) {
  return nanoseconds >= 0 ? nanoseconds / second : -((-nanoseconds + second - 1) / second);
}

std::int64_t nowOnTheWall() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

std::int64_t nowSteady() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

std::optional<std::int64_t> numberIn(std::optional<std::string_view> text) {
  std::int64_t number = 0;
  if (!text) return std::nullopt;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
  if (error != std::errc()) return std::nullopt;
  return number;
}

std::string nameOf(const std::string& uri) {
  gchar* md5 = g_compute_checksum_for_string(G_CHECKSUM_MD5, uri.c_str(), static_cast<gssize>(uri.size()));
  std::string name = std::string(md5) + ".png";
  g_free(md5);
  return name;
}

const char* folderOf(int side) {
  switch (side) {
    case 128:
      return "normal";
    case 256:
      return "large";
    case 512:
      return "x-large";
    default:
      return "xx-large";
  }
}

bool liesWithin(const std::string& path, const std::string& folder) {
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

bool makeFolder(const std::string& folder) {
  if (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return true;
  const std::size_t slash = folder.rfind('/');
  if (errno != ENOENT || slash == 0 || slash == std::string::npos) return false;
  return makeFolder(folder.substr(0, slash)) && (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST);
}

bool writeAll(int fd, const std::vector<std::uint8_t>& bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t got = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    done += static_cast<std::size_t>(got);
  }
  return true;
}

/// Whether the thumbnail at the path was written by this library; its name stands among the first texts.
bool isOurs(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (fd < 0) return false;
  char head[256];
  const ssize_t got = ::pread(fd, head, sizeof head, 0);
  ::close(fd);
  if (got <= 0) return false;
  const std::string mark = softwareKey + std::string(1, '\0') + std::string(ourName);
  return std::string_view(head, static_cast<std::size_t>(got)).find(mark) != std::string_view::npos;
}

struct Kept {
  std::string path;
  std::int64_t modified, bytes;
};

/// Calls `use` with each file of the folder.
void eachFile(const std::string& folder, const std::function<void(Kept)>& use) {
  DIR* open = ::opendir(folder.c_str());
  if (!open) return;
  while (const dirent* entry = ::readdir(open)) {
    struct stat status {};
    if (::fstatat(::dirfd(open), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode))
      continue;
    use({folder + "/" + entry->d_name, status.st_mtime, std::int64_t{512} * status.st_blocks});
  }
  ::closedir(open);
}

/// Empty when there is no memory for it.
std::vector<std::uint8_t> pngOf(const CGImage& image, const PngTexts& texts) {
  std::vector<std::uint8_t> png;
  const int error = writePng(image, PngEffort::Quick, texts, {}, [&](std::span<const std::uint8_t> bytes) {
    png.insert(png.end(), bytes.begin(), bytes.end());
    return 0;
  });
  return error == 0 ? png : std::vector<std::uint8_t>();
}

}  // namespace

SharedThumbnails::SharedThumbnails(Settings settings) : settings_(std::move(settings)) {}

std::string SharedThumbnails::defaultFolder() {
  return xdgCacheHome() + "/thumbnails";
}

std::string SharedThumbnails::failureFolder() const {
  return settings_.folder + "/fail/tlx-media-picker-" TLX_BUILD_VERSION;
}

double SharedThumbnails::readingSeconds(PixelSize size) {
  return 25e-9 * static_cast<double>(size.pixels());  // measured: 1.2 ms for 256 x 192, 5 ms for 512 x 384
}

std::optional<SharedThumbnails::Subject> SharedThumbnails::subjectOf(const ItemLocation& item) const {
  if (settings_.folder.empty() || item.uri.empty() || item.width <= 0 || item.height <= 0) return std::nullopt;
  Subject subject{item.uri, item.modified, item.bytes, {item.width, item.height}, item.format};
  if (!item.uri.starts_with("file:")) return subject;
  const char* home = std::getenv("HOME");
  if (liesWithin(item.path, settings_.folder) || (home && liesWithin(item.path, home + std::string("/.thumbnails")))) {
    return std::nullopt;
  }
  struct stat status {};
  if (::stat(item.path.c_str(), &status) != 0) return std::nullopt;
  subject.modified = std::int64_t{status.st_mtim.tv_sec} * second + status.st_mtim.tv_nsec;
  subject.bytes = status.st_size;
  return subject;
}

int SharedThumbnails::sideFor(PixelSize size, CGSize target, PHImageContentMode mode) {
  const PixelSize wanted = fittedSize(size, target, mode);
  for (const int side : sides) {
    const PixelSize has = fittedSize(size, {double(side), double(side)}, PHImageContentModeAspectFit);
    if (has.width >= wanted.width && has.height >= wanted.height) return side;
  }
  return 0;
}

std::optional<PngThumbnail> SharedThumbnails::read(const std::string& folder, const Subject& subject,
                                                   int maxSide) const {
  const std::string path = folder + "/" + nameOf(subject.uri);
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return std::nullopt;
  const OpenFile file(fd);
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > maxFileBytes) return std::nullopt;
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(status.st_size));
  const ssize_t got = ::pread(fd, bytes.data(), bytes.size(), 0);
  if (got <= 0) return std::nullopt;
  return PngThumbnail::read({bytes.data(), static_cast<std::size_t>(got)}, maxSide, [&](const PngTexts& texts) {
    const auto size = texts.find(sizeKey);
    return texts.find(uriKey) == subject.uri && numberIn(texts.find(timeKey)) == secondsOf(subject.modified) &&
           (!size || numberIn(size) == subject.bytes);
  });
}

std::shared_ptr<const CGImage> SharedThumbnails::find(const Subject& subject, CGSize target, PHImageContentMode mode,
                                                      PixelStore& pixels) const {
  const int least = sideFor(subject.size, target, mode);
  if (least == 0) return nullptr;
  const PixelSize wanted = fittedSize(subject.size, target, mode);
  for (const int side : sides) {
    if (side < least) continue;
    auto png = read(settings_.folder + "/" + folderOf(side), subject, side);
    if (!png) continue;
    // Whoever wrote it may have rounded differently, but not cut or turned it.
    const PixelSize shape = fittedSize(subject.size, {double(side), double(side)}, PHImageContentModeAspectFit);
    if (std::abs(png->size.width - shape.width) > 2 || std::abs(png->size.height - shape.height) > 2) continue;
    const PixelSize result{std::min(wanted.width, png->size.width), std::min(wanted.height, png->size.height)};
    UprightSink sink(pixels);
    auto builder = PictureBuilder::start(sink, {png->size, result, 1, png->opaque, nullptr});
    if (std::holds_alternative<NSError>(builder)) return nullptr;
    const std::size_t stride = static_cast<std::size_t>(png->size.width) * 4;
    for (std::int32_t y = 0; y < png->size.height; ++y) {
      std::get<0>(builder)->add(png->rgba.data() + static_cast<std::size_t>(y) * stride);
    }
    return sink.finish();
  }
  return nullptr;
}

std::optional<NSError> SharedThumbnails::failure(const Subject& subject) const {
  const auto record = read(failureFolder(), subject, 1);
  const auto text = record ? record->texts.find(errorKey) : std::nullopt;
  const auto code = numberIn(text);
  if (!code) return std::nullopt;
  NSError error = libraryError(static_cast<PhotoLibraryErrorCode>(*code),
                               std::string(text->substr(std::min(text->find(' '), text->size() - 1) + 1)));
  if (!isLasting(error)) return std::nullopt;
  return error;
}

bool SharedThumbnails::isLasting(const NSError& error) {
  return error.domain == kPhotoLibraryErrorDomain &&
         (error.code == PhotoLibraryErrorDamaged || error.code == PhotoLibraryErrorUnsupported ||
          error.code == PhotoLibraryErrorTooLarge);
}

std::int64_t SharedThumbnails::Record::bytes() const {
  const auto* image = std::get_if<0>(&content);
  return image ? static_cast<std::int64_t>((*image)->byteCount()) : 0;
}

void SharedThumbnails::write(const Record& record) {
  const Subject& subject = record.subject;
  if (makingRoom_) return;
  {
    const std::lock_guard lock(mutex_);
    if (nowSteady() < nextTry_) return;
  }
  if (nowOnTheWall() - subject.modified < settledAfter) return;
  PngTexts texts;
  texts.add(softwareKey, std::string(ourName));
  texts.add(uriKey, subject.uri);
  texts.add(timeKey, std::to_string(secondsOf(subject.modified)));
  texts.add(sizeKey, std::to_string(subject.bytes));
  if (const char* type = traitsOf(subject.format).mimeType) texts.add("Thumb::Mimetype", type);
  std::vector<std::uint8_t> png;
  std::string folder = failureFolder();
  if (const auto* image = std::get_if<0>(&record.content)) {
    texts.add("Thumb::Image::Width", std::to_string(subject.size.width));
    texts.add("Thumb::Image::Height", std::to_string(subject.size.height));
    folder = settings_.folder + "/" + folderOf(record.side);
    png = pngOf(**image, texts);
  } else {
    const NSError& error = std::get<NSError>(record.content);
    texts.add(errorKey, std::to_string(error.code) + " " + error.localizedDescription.substr(0, 1000));
    png = pngOf(*CGImage::create(1, 1, {0, 0, 0, 0}), texts);
  }
  if (png.empty()) return;
  const std::lock_guard lock(mutex_);
  if ((roomLeft_ <= 0 && !makeRoom()) || !replace(folder, subject, png)) {
    nextTry_ = nowSteady() + pauseAfterFailure;
    return;
  }
  roomLeft_ -= static_cast<std::int64_t>(png.size());
}

bool SharedThumbnails::replace(const std::string& folder, const Subject& subject,
                               const std::vector<std::uint8_t>& png) {
  if (!makeFolder(folder)) return false;
  const std::string path = folder + "/" + nameOf(subject.uri);
  std::string temporary = path + temporaryMark + "XXXXXX";
  const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);  // with mode 0600
  if (fd < 0) return false;
  const bool written = writeAll(fd, png);
  const bool closed = ::close(fd) == 0;
  if (written && closed && ::rename(temporary.c_str(), path.c_str()) == 0) return true;
  ::unlink(temporary.c_str());
  return false;
}

bool SharedThumbnails::makeRoom() {
  makingRoom_ = true;
  const bool made = lookForRoom();
  makingRoom_ = false;
  return made;
}

bool SharedThumbnails::lookForRoom() {
  const std::int64_t now = secondsOf(nowOnTheWall());
  const std::int64_t tooOld = now - std::int64_t{settings_.maxAgeDays} * 86400;
  std::vector<Kept> all;
  std::int64_t total = 0;
  const auto take = [&](Kept file) {
    if (file.path.find(temporaryMark) != std::string::npos && file.modified < now - temporariesLive) {
      ::unlink(file.path.c_str());
      return;
    }
    total += file.bytes;
    all.push_back(std::move(file));
  };
  for (const int side : sides) eachFile(settings_.folder + "/" + folderOf(side), take);
  eachFile(failureFolder(), take);

  std::sort(all.begin(), all.end(), [](const Kept& a, const Kept& b) { return a.modified < b.modified; });
  const bool full = total >= settings_.limit;
  const std::int64_t enough = settings_.limit - settings_.limit / 8;
  int old = 0;
  for (const Kept& file : all) {
    const bool isOld = file.modified < tooOld && ++old <= oldOnesLookedAt;
    if (!isOld && (!full || total <= enough)) break;
    if (isOurs(file.path) && ::unlink(file.path.c_str()) == 0) total -= file.bytes;
  }
  roomLeft_ = std::min(settings_.limit - total, settings_.limit / 16);
  return roomLeft_ > 0;
}

}  // namespace tlx::photolibrary

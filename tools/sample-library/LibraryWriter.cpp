#include "LibraryWriter.h"

#include <atomic>
#include <cstdio>
#include <fstream>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Catalogue.h"

namespace fs = std::filesystem;

namespace tlx::samples {
namespace {

constexpr const char* kMarker = ".sample-library";
constexpr const char* kVersion = "1";

std::string markerOf(const fs::path& folder) {
  std::ifstream file(folder / kMarker);
  std::string text;
  std::getline(file, text);
  return text;
}

std::runtime_error failure(const char* what, const fs::path& path, const char* rest = "") {
  std::string text(what);
  text += path.string();
  text += rest;
  return std::runtime_error(text);
}

void setTime(const fs::path& path, const Moment& moment) {
  const timespec times[2] = {{moment.unixTime(), 0}, {moment.unixTime(), 0}};
  if (utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) throw failure("cannot set the time of ", path);
}

void writeFile(const fs::path& path, const void* data, std::size_t size) {
  std::ofstream file(path, std::ios::binary);
  file.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
  file.close();
  if (!file) throw failure("cannot write ", path);
}

/// Runs the jobs on a few threads; the first failure stops the rest and is thrown.
void runAll(const std::vector<std::function<void()>>& jobs) {
  std::atomic<std::size_t> next{0};
  std::mutex guard;
  std::string reason;
  const auto work = [&] {
    for (std::size_t i; (i = next.fetch_add(1)) < jobs.size();) {
      try {
        jobs[i]();
      } catch (const std::exception& error) {
        const std::lock_guard lock(guard);
        reason = error.what();
        next = jobs.size();
      }
    }
  };
  std::vector<std::jthread> threads;
  const unsigned count = std::clamp(std::thread::hardware_concurrency(), 2U, 4U);
  for (unsigned i = 0; i < count; ++i) threads.emplace_back(work);
  threads.clear();
  if (!reason.empty()) throw std::runtime_error(reason);
}

/// A library under construction beside its place.
class Site {
 public:
  Site(const fs::path& folder, std::string marker)
      : folder_(fs::absolute(folder).lexically_normal()), marker_(std::move(marker)) {
    if (!folder_.has_filename()) folder_ = folder_.parent_path();
    stem_.push_back('.');
    stem_ += folder_.filename().string();
    stem_ += ".partial-";
    partial_ = folder_.parent_path() / (stem_ + std::to_string(getpid()));
  }
  ~Site() {
    std::error_code ignored;
    if (!done_) fs::remove_all(partial_, ignored);
  }
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  bool complete() const { return markerOf(folder_) == marker_; }
  const fs::path& partial() const { return partial_; }

  void open() {
    if (fs::exists(folder_) && !fs::is_directory(folder_)) throw failure("", folder_, " is not a folder");
    if (fs::exists(folder_) && !fs::is_empty(folder_) && markerOf(folder_).empty())
      throw failure("", folder_, " is not empty and holds no sample library");
    fs::create_directories(folder_.parent_path());
    removeAbandoned();
    fs::create_directories(partial_);
  }
  void close() {
    writeFile(partial_ / kMarker, (marker_ + "\n").data(), marker_.size() + 1);
    const fs::path old = partial_.string() + ".old";
    if (fs::exists(folder_)) fs::rename(folder_, old);
    fs::rename(partial_, folder_);
    done_ = true;
    fs::remove_all(old);
  }

 private:
  /// What a killed run left behind, told by its process being gone.
  void removeAbandoned() const {
    for (const auto& entry : fs::directory_iterator(folder_.parent_path())) {
      const std::string name = entry.path().filename().string();
      if (!name.starts_with(stem_) || name.ends_with(".old")) continue;
      const int process = std::atoi(name.c_str() + stem_.size());
      if (process > 0 && kill(process, 0) != 0 && errno == ESRCH) fs::remove_all(entry.path());
    }
  }

  fs::path folder_, partial_;
  std::string stem_, marker_;
  bool done_ = false;
};

Canvas painted(const Scene& scene, int width, int height, int seed, bool soft = false) {
  Random random(static_cast<std::uint64_t>(seed));
  Canvas canvas(width, height);
  if (!soft) {
    scene(canvas, random);
    return canvas;
  }
  Canvas half((width + 1) / 2, (height + 1) / 2);
  scene(half, random);
  canvas.shade(0, 1, [&](float x, float y, Colour) { return half.sample(x, y); });
  return canvas;
}

Outcome guarded(const std::function<Outcome()>& work) {
  try {
    return work();
  } catch (const std::exception& error) {
    return {.error = error.what()};
  }
}

}  // namespace

Outcome writeSampleLibrary(const fs::path& folder, bool small) {
  return guarded([&]() -> Outcome {
    Site site(folder, std::string(kVersion) + (small ? " small" : " full"));
    if (site.complete()) return {};
    site.open();
    const Catalogue catalogue = planLibrary(small ? 480 : 0);
    std::atomic<int> written{0};
    std::vector<std::function<void()>> jobs;
    const auto place = [&](const std::string& path) {
      fs::path target = site.partial() / path;
      fs::create_directories(target.parent_path());
      return target;
    };
    // Videos take longest: they go first, so that no thread is left alone with one at the end.
    for (const auto& video : catalogue.videos)
      jobs.emplace_back([&, target = place(video.path)] {
        std::string why;
        if (!writeVideo(target.string(), video.format, video.scene, why)) {
          std::fprintf(stderr, "left out %s: %s\n", video.path.c_str(), why.c_str());
          return;
        }
        setTime(target, video.format.taken);
        ++written;
      });
    for (const auto& photo : catalogue.photos)
      jobs.emplace_back([&, target = place(photo.path)] {
        std::string why;
        const auto bytes = encodePhoto(painted(photo.scene, photo.width, photo.height, photo.seed, photo.soft),
                                       photo.format, photo.metadata, why);
        if (!bytes) {
          std::fprintf(stderr, "left out %s: %s\n", photo.path.c_str(), why.c_str());
          return;
        }
        writeFile(target, bytes->data(), photo.cutShort ? bytes->size() * 2 / 5 : bytes->size());
        setTime(target, photo.taken);
        ++written;
      });
    for (const auto& oddity : catalogue.oddities)
      jobs.emplace_back([&, target = place(oddity.path)] {
        writeFile(target, oddity.content.data(), oddity.content.size());
        setTime(target, oddity.taken);
        ++written;
      });
    runAll(jobs);
    site.close();
    return {.made = true, .files = written};
  });
}

Outcome writeManyPhotos(const fs::path& folder, int count) {
  return guarded([&]() -> Outcome {
    Site site(folder, std::string(kVersion) + " many " + std::to_string(count));
    if (site.complete()) return {};
    site.open();
    struct Plate {
      Bytes jpeg, thumbnail;
    };
    const auto scenes = assortedScenes();
    constexpr std::size_t kPlates = 36;
    std::vector<Plate> plates(std::min({scenes.size(), kPlates, static_cast<std::size_t>(count)}));
    std::vector<std::function<void()>> jobs;
    for (std::size_t i = 0; i < plates.size(); ++i)
      jobs.emplace_back([&, i] {
        std::string why;
        const PhotoFormat plain{.quality = 72, .thumbnail = false};
        const auto jpeg = encodePhoto(
            painted(scenes[i * scenes.size() / plates.size()], 640, 480, static_cast<int>(i) + 1), plain, {}, why);
        const auto thumbnail = encodePhoto(
            painted(scenes[i * scenes.size() / plates.size()], 160, 120, static_cast<int>(i) + 1), plain, {}, why);
        if (!jpeg || !thumbnail) throw std::runtime_error(why);
        plates[i] = {*jpeg, *thumbnail};
      });
    runAll(jobs);
    jobs.clear();
    constexpr int kPerFolder = 200;
    for (int first = 0; first < count; first += kPerFolder)
      jobs.emplace_back([&, first] {
        const int album = first / kPerFolder, year = 2005 + album % 21, month = 1 + album / 21 % 12;
        char name[64];
        std::snprintf(name, sizeof name, "%04d-%02d Album %d", year, month, album + 1);
        const fs::path target = site.partial() / name;
        fs::create_directories(target);
        for (int i = first; i < std::min(count, first + kPerFolder); ++i) {
          const int inside = i - first;
          const Plate& plate =
              plates[(static_cast<std::size_t>(i) * 7 + static_cast<std::size_t>(album)) % plates.size()];
          PhotoMetadata metadata{.make = "Lumenor",
                                 .model = "LX-40",
                                 .stars = i % 40 == 0 ? 5 : 0,
                                 .width = 640,
                                 .height = 480,
                                 .thumbnail = plate.thumbnail};
          metadata.taken = Moment{year, month, 1 + inside * 28 / kPerFolder, 8 + inside % 12, i % 60, i * 13 % 60};
          if (i % 3 == 0) metadata.taken->offsetMinutes = 60;
          const Bytes bytes = withJpegMetadata(plate.jpeg, exifBlock(metadata), xmpPacket(metadata), {});
          std::snprintf(name, sizeof name, "IMG_%06d.jpg", i);
          writeFile(target / name, bytes.data(), bytes.size());
          setTime(target / name, *metadata.taken);
        }
      });
    runAll(jobs);
    site.close();
    return {.made = true, .files = count};
  });
}

Outcome writeTwelveMegapixels(const fs::path& file) {
  return guarded([&]() -> Outcome {
    const auto scenes = assortedScenes();
    Canvas canvas = painted(scenes.front(), 4000, 3000, 1);
    // A sensor's noise, without which so large a picture would pack far smaller than a camera's.
    Random grain(12);
    canvas.shade(0, 1, [&](float, float, Colour old) { return old * grain.in(0.9F, 1.1F); });
    PhotoMetadata metadata{.make = "Lumenor", .model = "LX-40"};
    metadata.taken = Moment{2024, 5, 4, 10, 30, 0, 120};
    constexpr double kWanted = 3.8e6;
    Bytes best;
    int low = 50, high = 99;
    while (low <= high) {
      const int quality = (low + high) / 2;
      std::string why;
      const auto bytes = encodePhoto(canvas, {.quality = quality}, metadata, why);
      if (!bytes) return {.error = why};
      const auto miss = [&](const Bytes& b) { return std::fabs(static_cast<double>(b.size()) - kWanted); };
      if (best.empty() || miss(*bytes) < miss(best)) best = *bytes;
      if (static_cast<double>(bytes->size()) < kWanted)
        low = quality + 1;
      else
        high = quality - 1;
    }
    const fs::path partial = file.string() + ".partial";
    writeFile(partial, best.data(), best.size());
    setTime(partial, *metadata.taken);
    fs::rename(partial, file);
    return {.made = true, .files = 1};
  });
}

}  // namespace tlx::samples

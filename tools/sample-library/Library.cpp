#include <atomic>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Files.h"

namespace fs = std::filesystem;

namespace tlx::samples {
namespace {

std::mutex writing;  // held while a file is only partly there

void writeFile(const fs::path& path, const std::string& bytes, const Moment& taken) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  const timespec times[2] = {{taken.unixTime(), 0}, {taken.unixTime(), 0}};
  if (!file || utimensat(AT_FDCWD, path.c_str(), times, 0) != 0)
    throw std::runtime_error("cannot write " + path.string());
}

std::string firstLine(const fs::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

/// A folder under construction. What is not yet whole lies in its hidden folder `.making`, which goes at the end.
class Site {
 public:
  Site(const fs::path& folder, std::string kind) : folder_(folder), kind_(std::move(kind)) {
    const std::string first = firstLine(folder / ".sample-library"), begun = firstLine(making() / "kind");
    complete_ = first == kind_;
    if (complete_) return;
    if (!first.empty() || (begun != kind_ && fs::exists(folder) && !fs::is_empty(folder)))
      throw std::runtime_error(folder.string() + " holds something else");
    fs::create_directories(making());
    lock_ = open((making() / "kind").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (lock_ < 0) throw std::runtime_error("cannot write in " + folder.string());
    if (flock(lock_, LOCK_EX | LOCK_NB) != 0) throw std::runtime_error(folder.string() + " is being made already");
    std::ofstream(making() / "kind") << kind_ << '\n';
  }
  ~Site() { close(lock_); }
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  bool complete() const { return complete_; }
  bool has(const std::string& path) const { return fs::exists(folder_ / path); }
  void put(const std::string& path, const std::string& bytes, const Moment& taken) {
    const fs::path target = folder_ / path, partial = making() / std::to_string(count_++);
    const std::lock_guard lock(writing);
    fs::create_directories(target.parent_path());
    writeFile(partial, bytes, taken);
    fs::rename(partial, target);
  }
  void finish() {
    writeFile(making() / "done", kind_ + "\n", {});
    fs::rename(making() / "done", folder_ / ".sample-library");
    fs::remove_all(making());
  }

 private:
  fs::path making() const { return folder_ / ".making"; }

  fs::path folder_;
  std::string kind_;
  std::atomic<int> count_{0};
  int lock_ = -1;
  bool complete_ = false;
};

/// Runs job(0), job(1) … on a few threads. The first failure stops the rest and is thrown.
void runAll(std::size_t jobs, const std::function<void(std::size_t)>& job) {
  std::atomic<std::size_t> next{0};
  std::promise<void> failure;
  std::atomic_flag failed;
  {
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < std::clamp(std::thread::hardware_concurrency(), 2U, 4U); ++i)
      threads.emplace_back([&] {
        try {
          for (std::size_t n; (n = next++) < jobs;) job(n);
        } catch (...) {
          next = jobs;
          if (!failed.test_and_set()) failure.set_exception(std::current_exception());
        }
      });
  }
  if (failed.test()) failure.get_future().get();
}

}  // namespace

void endBetweenFiles() {
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&ends, signal);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  std::thread([ends] {
    int signal = 0;
    sigwait(&ends, &signal);
    const std::lock_guard lock(writing);
    _exit(128 + signal);
  }).detach();
}

int writeSampleLibrary(const fs::path& folder, bool small, const std::function<void(const std::string&)>& made) {
  Site site(folder, small ? "1 small" : "1 full");
  if (site.complete()) return 0;
  struct Job {
    std::string path;
    Moment taken;
    std::function<std::string()> bytes;
  };
  std::vector<Job> jobs;
  const Plan plan = planLibrary(small ? 480 : 0);
  for (const auto& photo : plan.photos) jobs.push_back({photo.path, photo.taken, [&photo] { return encoded(photo); }});
  for (const auto& video : plan.videos) jobs.push_back({video.path, video.taken, [&video] { return encoded(video); }});
  jobs.push_back({"Odds and Ends/Empty.jpg", {2022, 11, 5, 18, 10, 0}, [] { return std::string(); }});
  jobs.push_back({"Odds and Ends/Shopping list.jpg", {2022, 11, 5, 18, 20, 0}, [] {
                    return std::string("Bread, oranges, coffee, a dozen eggs.\n");
                  }});
  std::stable_sort(jobs.begin(), jobs.end(),
                   [](const Job& a, const Job& b) { return a.taken.unixTime() > b.taken.unixTime(); });
  std::atomic<int> written{0};
  runAll(jobs.size(), [&](std::size_t i) {
    const Job& job = jobs[i];
    if (site.has(job.path)) return;
    std::string bytes;
    try {
      bytes = job.bytes();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "left out %s: %s\n", job.path.c_str(), error.what());
      return;
    }
    site.put(job.path, bytes, job.taken);
    ++written;
    if (made) made(job.path);
  });
  site.finish();
  return written;
}

int writeManyPhotos(const fs::path& folder, int count) {
  Site site(folder, "1 many " + std::to_string(count));
  if (site.complete()) return 0;
  const Plan plan = planLibrary(640);
  std::vector<QImage> plates(36);  // Painted once each; the files differ in their dates and marks.
  runAll(plates.size(), [&](std::size_t i) {
    Canvas canvas(640, 480);
    Random random(i + 1);
    plan.photos[i * 2].scene(canvas, random);
    plates[i] = canvas.image;
  });
  runAll(static_cast<std::size_t>(count), [&](std::size_t n) {
    const int i = static_cast<int>(n), album = i / 200, inside = i % 200;
    Photo photo{
        .width = 640, .height = 480, .quality = 72, .stars = i % 40 == 0 ? 5 : 0, .make = "Lumenor", .model = "LX-40"};
    photo.taken = {2005 + album % 21, 1 + album / 21 % 12, 1 + inside * 28 / 200, 8 + inside % 12, i % 60, i * 13 % 60};
    if (i % 3 == 0) photo.taken.offsetMinutes = 60;
    photo.path = photo.taken.text("%04d-%02d Album ") + std::to_string(album + 1) +
                 QString::asprintf("/IMG_%06d.jpg", i).toStdString();
    photo.scene = [&](Canvas& c, Random&) {
      c.image = plates[static_cast<std::size_t>(i * 7 + album) % plates.size()];
    };
    if (!site.has(photo.path)) site.put(photo.path, encoded(photo), photo.taken);
  });
  site.finish();
  return count;
}

void writeTwelveMegapixels(const fs::path& file) {
  // A quality and a sensor's noise that come to about the size of a camera's file.
  Photo photo{.path = "one.jpg",
              .seed = 1,
              .width = 4000,
              .height = 3000,
              .quality = 90,
              .taken = {2024, 5, 4, 10, 30, 0, 120},
              .make = "Lumenor",
              .model = "LX-40"};
  photo.scene = [](Canvas& c, Random& r) {
    ridges(kNoon)(c, r);
    c.shade(0, 1, [&](double, double, Rgb old) { return old * r.in(0.88, 1.12); });
  };
  const fs::path partial = file.string() + ".partial";
  writeFile(partial, encoded(photo), photo.taken);
  fs::rename(partial, file);
}

}  // namespace tlx::samples

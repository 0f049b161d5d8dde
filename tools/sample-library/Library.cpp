#include <QFile>
#include <QLockFile>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>

#include "Files.h"

namespace fs = std::filesystem;

namespace tlx::samples {
namespace {

void writeFile(const fs::path& path, const std::string& bytes, const QDateTime& taken) {
  QFile file(path);
  const bool fine = file.open(QIODevice::WriteOnly) && file.write(QByteArray::fromStdString(bytes)) >= 0 &&
                    file.flush() && file.setFileTime(taken, QFileDevice::FileModificationTime);
  if (!fine) throw std::runtime_error("cannot write " + path.string());
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
    if ((complete_ = first == kind_)) return;
    if (!first.empty() || (begun != kind_ && fs::exists(folder) && !fs::is_empty(folder)))
      throw std::runtime_error(folder.string() + " holds something else");
    fs::create_directories(making());
    lock_.setStaleLockTime(0);
    if (!lock_.tryLock()) throw std::runtime_error(folder.string() + " is being made already, or cannot be written");
    std::ofstream(making() / "kind") << kind_ << '\n';
  }

  bool complete() const { return complete_; }
  bool has(const std::string& path) const { return fs::exists(folder_ / path); }
  void put(const std::string& path, const std::string& bytes, const QDateTime& taken) {
    const fs::path target = folder_ / path, partial = making() / std::to_string(count_++);
    fs::create_directories(target.parent_path());
    writeFile(partial, bytes, taken);
    fs::rename(partial, target);
  }
  void finish() {
    put(".sample-library", kind_ + "\n", QDateTime::currentDateTime());
    lock_.unlock();
    fs::remove_all(making());
  }

 private:
  fs::path making() const { return folder_ / ".making"; }

  fs::path folder_;
  std::string kind_;
  std::atomic<int> count_{0};
  QLockFile lock_{QString::fromStdString(making() / "lock")};
  bool complete_ = false;
};

/// Runs job(0), job(1) … on a few threads. A failure stops the rest and is thrown.
void runAll(std::size_t jobs, const std::function<void(std::size_t)>& job) {
  std::atomic<std::size_t> next{0};
  std::vector<std::future<void>> workers(std::clamp(std::thread::hardware_concurrency(), 2U, 4U));
  for (auto& worker : workers)
    worker = std::async(std::launch::async, [&] {
      try {
        for (std::size_t n; (n = next++) < jobs;) job(n);
      } catch (...) {
        next = jobs;
        throw;
      }
    });
  for (auto& worker : workers) worker.get();
}

}  // namespace

int writeSampleLibrary(const fs::path& folder, bool small, const std::function<void(const std::string&)>& made) {
  Site site(folder, small ? "1 small" : "1 full");
  if (site.complete()) return 0;
  struct Job {
    std::string path;
    QDateTime taken;
    std::function<std::string()> bytes;
  };
  std::vector<Job> jobs;
  const Plan plan = planLibrary(small ? 480 : 0);
  for (const auto& photo : plan.photos) jobs.push_back({photo.path, photo.taken, [&photo] { return encoded(photo); }});
  for (const auto& video : plan.videos) jobs.push_back({video.path, video.taken, [&video] { return encoded(video); }});
  jobs.push_back({"Odds and Ends/Empty.jpg", {{2022, 11, 5}, {18, 10}}, [] { return std::string(); }});
  jobs.push_back({"Odds and Ends/Shopping list.jpg", {{2022, 11, 5}, {18, 20}}, [] {
                    return std::string("Bread, oranges, coffee, a dozen eggs.\n");
                  }});
  std::stable_sort(jobs.begin(), jobs.end(), [](const Job& a, const Job& b) { return a.taken > b.taken; });
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
    photo.taken = {{2005 + album % 21, 1 + album / 21 % 12, 1 + inside * 28 / 200},
                   {8 + inside % 12, i % 60, i * 13 % 60}};
    if (i % 3 == 0) photo.taken.setOffsetFromUtc(3600);
    photo.path =
        QString::asprintf("%s Album %d/IMG_%06d.jpg", qPrintable(photo.taken.toString("yyyy-MM")), album + 1, i)
            .toStdString();
    photo.scene = [&](Canvas& c, Random&) {
      c.image = plates[static_cast<std::size_t>(i * 7 + album) % plates.size()];
    };
    if (!site.has(photo.path)) site.put(photo.path, encoded(photo), photo.taken);
  });
  site.finish();
  return count;
}

}  // namespace tlx::samples

#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace tlx::photolibrary {

/// Threads that do waiting work. Within a lane the highest number is served first, so that what was asked for last is.
/// Any thread.
class RequestQueue {
 public:
  /// In the order in which they are served. `Behind` is for what is no longer looked at, `Record` for what nobody waits
  /// for.
  enum Lane { Preview, Picture, Preheat, Behind, Record };
  using Work = std::function<void()>;

  /// Previews come before pictures as long as they were asked for at about the same time: a screen is filled with
  /// previews first, but what is visible now never waits for the previews of all that has been scrolled past.
  static constexpr std::int64_t screenful = 96;
  /// A screen asks for its previews one after another, and a picture takes as long as hundreds of them: for so long
  /// after the last one was asked for, one thread is kept for the next.
  static constexpr std::chrono::milliseconds lull{5};

  /// `atThreadEnd` runs on each thread as its last step.
  explicit RequestQueue(unsigned threads, Work atThreadEnd = {}, std::chrono::milliseconds quiet = lull);
  ~RequestQueue();
  RequestQueue(const RequestQueue&) = delete;
  RequestQueue& operator=(const RequestQueue&) = delete;

  void add(Lane lane, std::int64_t number, Work work);
  /// Takes out what still waits; nothing when it runs, has run or was never added.
  std::optional<Work> remove(Lane lane, std::int64_t number);
  /// Lets what still waits wait in another lane.
  void move(Lane from, Lane to, std::int64_t number);
  /// Returns when nothing waits and nothing runs.
  void waitUntilIdle();
  /// Ends the threads after what they are doing; what waits stays unrun and goes with the queue. Calling it again does
  /// nothing.
  void stop();

 private:
  using Waiting = std::map<std::int64_t, Work, std::greater<>>;
  void run();
  Waiting* next();
  /// Whether pictures have to wait until `previewsUntil_`, so that a thread is free for the next preview.
  bool keepsThreadForPreviews() const;
  bool isIdle();

  std::mutex mutex_;
  std::condition_variable changed_, idle_;
  std::array<Waiting, Record + 1> lanes_;
  const unsigned count_;
  const std::chrono::milliseconds quiet_;
  std::chrono::steady_clock::time_point previewsUntil_{};
  unsigned busy_ = 0, longWork_ = 0;
  bool stopping_ = false;
  Work atThreadEnd_;
  std::vector<std::thread> threads_;
};

}  // namespace tlx::photolibrary

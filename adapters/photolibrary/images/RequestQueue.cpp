#include "adapters/photolibrary/images/RequestQueue.h"

#include <algorithm>
#include <utility>

namespace tlx::photolibrary {

RequestQueue::RequestQueue(unsigned threads, Work atThreadEnd, std::chrono::milliseconds quiet)
    : count_(threads), quiet_(quiet), atThreadEnd_(std::move(atThreadEnd)) {
  for (unsigned i = 0; i < threads; ++i) threads_.emplace_back([this] { run(); });
}

RequestQueue::~RequestQueue() {
  stop();
}

void RequestQueue::add(Lane lane, std::int64_t number, Work work) {
  {
    const std::lock_guard lock(mutex_);
    lanes_[lane].insert_or_assign(number, std::move(work));
    if (lane == Preview) previewsUntil_ = std::chrono::steady_clock::now() + quiet_;
  }
  changed_.notify_one();
}

std::optional<RequestQueue::Work> RequestQueue::remove(Lane lane, std::int64_t number) {
  const std::lock_guard lock(mutex_);
  const auto found = lanes_[lane].find(number);
  if (found == lanes_[lane].end()) return std::nullopt;
  Work work = std::move(found->second);
  lanes_[lane].erase(found);
  if (isIdle()) idle_.notify_all();
  return work;
}

void RequestQueue::move(Lane from, Lane to, std::int64_t number) {
  const std::lock_guard lock(mutex_);
  if (auto work = lanes_[from].extract(number)) lanes_[to].insert(std::move(work));
}

bool RequestQueue::isIdle() {
  return busy_ == 0 && std::all_of(lanes_.begin(), lanes_.end(), [](const Waiting& lane) { return lane.empty(); });
}

void RequestQueue::waitUntilIdle() {
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return isIdle(); });
}

void RequestQueue::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_) {
    if (thread.joinable()) thread.join();
  }
}

bool RequestQueue::keepsThreadForPreviews() const {
  return longWork_ + 1 >= count_ && std::chrono::steady_clock::now() < previewsUntil_;
}

RequestQueue::Waiting* RequestQueue::next() {
  Waiting& previews = lanes_[Preview];
  Waiting& pictures = lanes_[Picture];
  if (!previews.empty() && (pictures.empty() || previews.begin()->first > pictures.begin()->first - screenful)) {
    return &previews;
  }
  if (keepsThreadForPreviews()) return nullptr;
  const auto first =
      std::find_if(lanes_.begin() + Picture, lanes_.end(), [](const Waiting& lane) { return !lane.empty(); });
  return first == lanes_.end() ? nullptr : &*first;
}

void RequestQueue::run() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    Waiting* lane = next();
    if (!lane) {
      if (keepsThreadForPreviews()) {
        changed_.wait_until(lock, previewsUntil_);
      } else {
        changed_.wait(lock);
      }
      continue;
    }
    const bool isLong = lane != &lanes_[Preview];
    Work work = std::move(lane->begin()->second);
    lane->erase(lane->begin());
    ++busy_;
    longWork_ += isLong;
    lock.unlock();
    work();
    work = nullptr;
    lock.lock();
    --busy_;
    longWork_ -= isLong;
    if (isIdle()) idle_.notify_all();
  }
  lock.unlock();
  if (atThreadEnd_) atThreadEnd_();
}

}  // namespace tlx::photolibrary

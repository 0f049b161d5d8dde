#include "adapters/memory/FaultyImageManager.h"

#include <utility>

namespace tlx::memory {

/// The answers that one stalled request has been given so far. Guarded by a lock of its own: answers come on several
/// threads.
struct FaultyImageManager::Stalled {
  bool isVideo = false;
  std::mutex mutex;
  bool isOpen = false;
  std::vector<std::function<void()>> answers;
};

void FaultyImageManager::plan(int request, Fault fault, NSError error) {
  std::lock_guard lock(mutex_);
  Plan& plan = plans_[requestCount_ + request];
  plan.faults.insert(fault);
  if (fault == Fault::Fail) plan.error = std::move(error);
}

FaultyImageManager::Plan FaultyImageManager::nextPlan() {
  std::lock_guard lock(mutex_);
  auto found = plans_.extract(++requestCount_);
  return found.empty() ? Plan{} : std::move(found.mapped());
}

std::shared_ptr<FaultyImageManager::Stalled> FaultyImageManager::stall(const Plan& plan, bool isVideo) {
  if (!plan.has(Fault::Stall)) return nullptr;
  auto stalled = std::make_shared<Stalled>();
  stalled->isVideo = isVideo;
  return stalled;
}

void FaultyImageManager::deliver(const std::shared_ptr<Stalled>& stalled, bool onMainThread,
                                 const std::function<void()>& answer) {
  if (stalled) {
    std::lock_guard lock(stalled->mutex);
    if (!stalled->isOpen) {
      stalled->answers.push_back(answer);
      return;
    }
  }
  if (onMainThread == loop_.isMainThread()) {
    answer();
  } else if (onMainThread) {
    loop_.post(answer);
  } else {
    background_.perform(answer);
  }
}

void FaultyImageManager::remember(const Plan& plan, PHImageRequestID request, const std::shared_ptr<Stalled>& stalled) {
  std::lock_guard lock(mutex_);
  if (plan.has(Fault::AnswerAfterCancel)) uncancellable_.insert(request);
  if (stalled) stalled_.emplace(request, stalled);
}

PHImageRequestID FaultyImageManager::requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                                  PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                                  PHImageResultHandler handler) {
  const Plan plan = nextPlan();
  if (plan.faults.empty()) return inner_.requestImage(asset, targetSize, contentMode, options, std::move(handler));
  const auto stalled = options.synchronous ? nullptr : stall(plan, false);
  const auto spoilt = [this, plan, stalled, synchronous = options.synchronous, handler = std::move(handler)](
                          const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
    const auto answer = [plan, handler, image, info] {
      if (plan.has(Fault::Fail) && !info.PHImageResultIsDegradedKey) {
        handler(nullptr, {plan.error, false, info.PHImageResultIsInCloudKey});
      } else {
        handler(image, info);
      }
      if (plan.has(Fault::AnswerTwice) && !info.PHImageResultIsDegradedKey) handler(image, info);
    };
    if (synchronous) {
      answer();
    } else {
      deliver(stalled, !plan.has(Fault::AnswerElsewhere), answer);
    }
  };
  const PHImageRequestID request = inner_.requestImage(asset, targetSize, contentMode, options, spoilt);
  remember(plan, request, stalled);
  return request;
}

PHImageRequestID FaultyImageManager::requestAVAsset(const std::shared_ptr<const PHAsset>& asset,
                                                    const PHVideoRequestOptions& options,
                                                    PHVideoResultHandler handler) {
  const Plan plan = nextPlan();
  if (plan.faults.empty()) return inner_.requestAVAsset(asset, options, std::move(handler));
  const auto stalled = stall(plan, true);
  const auto spoilt = [this, plan, stalled, handler = std::move(handler)](const std::shared_ptr<const AVAsset>& video,
                                                                          const std::shared_ptr<const AVAudioMix>& mix,
                                                                          const PHImageInfo& info) {
    deliver(stalled, plan.has(Fault::AnswerElsewhere), [plan, handler, video, mix, info] {
      for (int times = plan.has(Fault::AnswerTwice) ? 2 : 1; times > 0; --times) {
        if (plan.has(Fault::Fail)) {
          handler(nullptr, nullptr, {plan.error, false, info.PHImageResultIsInCloudKey});
        } else {
          handler(video, mix, info);
        }
      }
    });
  };
  const PHImageRequestID request = inner_.requestAVAsset(asset, options, spoilt);
  remember(plan, request, stalled);
  return request;
}

void FaultyImageManager::cancelImageRequest(PHImageRequestID request) {
  {
    std::lock_guard lock(mutex_);
    if (uncancellable_.count(request)) return;
    stalled_.erase(request);
  }
  inner_.cancelImageRequest(request);
}

void FaultyImageManager::releaseStalled() {
  std::map<PHImageRequestID, std::shared_ptr<Stalled>> released;
  {
    std::lock_guard lock(mutex_);
    released.swap(stalled_);
  }
  for (const auto& [request, stalled] : released) {
    std::vector<std::function<void()>> answers;
    {
      std::lock_guard lock(stalled->mutex);
      stalled->isOpen = true;
      answers.swap(stalled->answers);
    }
    for (auto& answer : answers) {
      if (stalled->isVideo) {
        background_.perform(std::move(answer));
      } else {
        loop_.post(std::move(answer));
      }
    }
  }
}

void FaultyImageManager::clear() {
  std::map<PHImageRequestID, std::shared_ptr<Stalled>> dropped;
  std::lock_guard lock(mutex_);
  dropped.swap(stalled_);
}

}  // namespace tlx::memory

#pragma once

#include <functional>
#include <string>

namespace tlx::photolibrary {

/// Puts the question to the person whether a program may use their photos. A window implements it with a dialogue, a
/// headless program with what its command line says.
class PhotoConsent {
 public:
  using Answer = std::function<void(bool allowed)>;

  virtual ~PhotoConsent() = default;
  /// Called on the main thread, at most once at a time and never for a host that the person decided on. `host` is the
  /// program's name as it is to be shown. `answer` may be called on any thread, at once or later, and outlive the
  /// library; letting it go uncalled leaves the question open. Only its first call counts.
  virtual void askForPhotos(const std::string& host, Answer answer) = 0;
};

}  // namespace tlx::photolibrary

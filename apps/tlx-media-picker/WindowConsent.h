#pragma once

#include <functional>
#include <string>

#include "adapters/photolibrary/access/PhotoConsent.h"

namespace tlx::program {

/// Passes the library's question on to a window, which is made after the library. Main thread.
class WindowConsent final : public photolibrary::PhotoConsent {
 public:
  using Asker = std::function<void(const std::string& host, Answer answer)>;

  /// Who puts the question from now on; nothing for nobody, which leaves it open.
  void setAsker(Asker asker) { asker_ = std::move(asker); }

  void askForPhotos(const std::string& host, Answer answer) override {
    if (asker_) asker_(host, std::move(answer));
  }

 private:
  Asker asker_;
};

}  // namespace tlx::program

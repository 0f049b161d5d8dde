#pragma once

#include <string>
#include <vector>

#include "adapters/photolibrary/Source.h"

namespace tlx::photolibrary {

/// Folder trees on this machine, with what was thrown away from them.
class FolderSource final : public Source {
 public:
  /// Relative roots are taken from the current folder; symbolic links in them are kept as they are named.
  explicit FolderSource(const std::vector<std::string>& roots);

  const std::vector<std::string>& roots() const override { return roots_; }
  bool rootReadable(std::size_t root) const override;
  bool takesFiles(std::size_t) const override { return true; }
  WalkOutcome walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) override;

 private:
  std::vector<std::string> roots_;
};

}  // namespace tlx::photolibrary

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/foundation/SystemLogPort.h"

#include "adapters/photolibrary/files/FolderWalk.h"
#include "adapters/photolibrary/files/FolderWatch.h"
#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// Folder trees on this machine, with what was thrown away from them. What happens to them is followed; what lies
/// behind a link to a single file is looked at again with the link only.
class FolderSource final : public Source {
 public:
  using Links = FolderWalk::Links;

  /// Relative roots are taken from the current folder; symbolic links in them are kept as they are named. Links below
  /// them are followed where they lead below a root, or anywhere. `decoders` read
  /// the files' headers; they and `log` outlive the source.
  FolderSource(const std::vector<std::string>& roots, DecodersPort& decoders, SystemLogPort& log,
               Links links = Links::WithinRoots, const FolderWatch::Timing& timing = {});

  const std::vector<std::string>& roots() const override { return roots_; }
  bool rootReadable(std::size_t root) const override;
  bool takesFiles(std::size_t) const override { return true; }
  WalkOutcome walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) override;
  void follow(Touched touched) override;
  WalkOutcome walkPart(const KnownFiles& known, WalkListener& listener, const WalkScope& scope,
                       std::stop_token stop) override;

 private:
  DecodersPort& decoders_;
  SystemLogPort& log_;
  const Links links_;
  const FolderWatch::Timing timing_;
  std::vector<std::string> roots_;
  std::unique_ptr<FolderWatch> watch_;
};

}  // namespace tlx::photolibrary

#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// Several sources as one library: their roots one after the other, looked through at the same time.
class SourceSet final : public Source {
 public:
  /// At least one.
  explicit SourceSet(std::vector<std::unique_ptr<Source>> sources);

  const std::vector<std::string>& roots() const override { return roots_; }
  bool rootReadable(std::size_t root) const override;
  bool takesFiles(std::size_t root) const override;
  /// Finished when all are; what one cannot reach is kept from it alone.
  WalkOutcome walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) override;
  void follow(Touched touched) override;
  WalkOutcome walkPart(const KnownFiles& known, WalkListener& listener, const WalkScope& scope,
                       std::stop_token stop) override;
  std::string originalPath(const Item& item, const Folder& folder) const override;
  std::variant<Original, NSError> fetchOriginal(const Item& item, const Folder& folder,
                                                const ItemStore::FetchOptions& options) override;
  std::optional<Preview> fetchPreview(const Item& item, const Folder& folder, int pixels,
                                      const std::stop_token& stop) override;

 private:
  struct Member {
    std::unique_ptr<Source> source;
    std::size_t firstRoot;
  };
  const Member& memberOf(std::size_t root) const;
  WalkOutcome together(WalkListener& listener, const std::function<WalkOutcome(Source&, WalkListener&)>& walk);

  std::vector<Member> members_;
  std::vector<std::string> roots_;
};

}  // namespace tlx::photolibrary

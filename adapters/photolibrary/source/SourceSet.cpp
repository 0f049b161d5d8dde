#include "adapters/photolibrary/source/SourceSet.h"

#include <iterator>
#include <thread>
#include <utility>

namespace tlx::photolibrary {
namespace {

/// Passes findings on under the numbers that the set gives to its members' roots.
class Renumbered final : public WalkListener {
 public:
  Renumbered(WalkListener& listener, std::size_t firstRoot) : listener_(listener), firstRoot_(firstRoot) {}
  void found(FolderFindings&& findings) override {
    findings.folder.root += firstRoot_;
    listener_.found(std::move(findings));
  }

 private:
  WalkListener& listener_;
  std::size_t firstRoot_;
};

}  // namespace

SourceSet::SourceSet(std::vector<std::unique_ptr<Source>> sources) {
  for (auto& source : sources) {
    const std::size_t firstRoot = roots_.size();
    roots_.insert(roots_.end(), source->roots().begin(), source->roots().end());
    members_.push_back({std::move(source), firstRoot});
  }
}

const SourceSet::Member& SourceSet::memberOf(std::size_t root) const {
  auto member = members_.rbegin();
  while (member->firstRoot > root || member->source->roots().empty()) ++member;
  return *member;
}

bool SourceSet::rootReadable(std::size_t root) const {
  const Member& member = memberOf(root);
  return member.source->rootReadable(root - member.firstRoot);
}

bool SourceSet::takesFiles(std::size_t root) const {
  const Member& member = memberOf(root);
  return member.source->takesFiles(root - member.firstRoot);
}

WalkOutcome SourceSet::walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) {
  return together(listener,
                  [&](Source& source, WalkListener& renumbered) { return source.walk(known, renumbered, stop); });
}

void SourceSet::follow(Touched touched) {
  for (const Member& member : members_) member.source->follow(touched);
}

WalkOutcome SourceSet::walkPart(const KnownFiles& known, WalkListener& listener, const WalkScope& scope,
                                std::stop_token stop) {
  return together(listener, [&](Source& source, WalkListener& renumbered) {
    return source.walkPart(known, renumbered, scope, stop);
  });
}

WalkOutcome SourceSet::together(WalkListener& listener,
                                const std::function<WalkOutcome(Source&, WalkListener&)>& walk) {
  std::vector<WalkOutcome> outcomes(members_.size());
  {
    std::vector<std::jthread> walkers;
    for (std::size_t i = 0; i < members_.size(); ++i) {
      walkers.emplace_back([&, i] {
        Renumbered renumbered(listener, members_[i].firstRoot);
        outcomes[i] = walk(*members_[i].source, renumbered);
      });
    }
  }
  WalkOutcome all{true, {}};
  for (WalkOutcome& outcome : outcomes) {
    all.finished = all.finished && outcome.finished;
    all.secondWays = all.secondWays || outcome.secondWays;
    std::move(outcome.unreachable.begin(), outcome.unreachable.end(), std::back_inserter(all.unreachable));
    std::move(outcome.skipped.begin(), outcome.skipped.end(), std::back_inserter(all.skipped));
  }
  return all;
}

std::string SourceSet::originalPath(const Item& item, const Folder& folder) const {
  return memberOf(folder.root).source->originalPath(item, folder);
}

std::variant<Original, NSError> SourceSet::fetchOriginal(const Item& item, const Folder& folder,
                                                         const ItemStore::FetchOptions& options) {
  return memberOf(folder.root).source->fetchOriginal(item, folder, options);
}

std::optional<Preview> SourceSet::fetchPreview(const Item& item, const Folder& folder, int pixels,
                                               const std::stop_token& stop) {
  return memberOf(folder.root).source->fetchPreview(item, folder, pixels, stop);
}

}  // namespace tlx::photolibrary

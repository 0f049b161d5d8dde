#include "adapters/photolibrary/catalogue/ScanPass.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

namespace tlx::photolibrary {
namespace {

bool sameFolder(const Folder& a, const Folder& b) {
  return a.root == b.root && a.relative == b.relative && a.trashed == b.trashed && a.key == b.key &&
         a.identifier == b.identifier;
}

bool assetBefore(const std::shared_ptr<const PHAsset>& a, const std::shared_ptr<const PHAsset>& b) {
  return comesBefore(itemOf(*a), itemOf(*b));
}

/// False for a file that was written while its names were looked at one after the other.
bool sameContent(const ItemFacts& a, const ItemFacts& b) {
  return a.bytes == b.bytes && a.modified == b.modified;
}

bool liesIn(const std::string& path, const std::string& folder) {
  return path == folder || (path.starts_with(folder) && (folder == "/" || path[folder.size()] == '/'));
}

}  // namespace

ScanPass::ScanPass(std::shared_ptr<const Snapshot> base, const RejectedFiles& rejected, const WalkScope& scope)
    : base_(std::move(base)),
      knownRejected_(rejected),
      scope_(scope),
      seen_(base_->count(), scope.isEverything() ? Missed : NotLookedFor),
      folders_(base_->folders()),
      gone_(base_->count(), 0) {
  for (std::uint32_t f = 0; f < folders_.size(); ++f) folderAt_.emplace(folders_[f]->path, f);
  if (!scope.isEverything()) forgetWhatTheScopeHolds();
}

void ScanPass::forgetWhatTheScopeHolds() {
  for (std::uint32_t f = 0; f < folders_.size(); ++f) {
    const std::string& path = folders_[f]->path;
    const bool all = scope_.holds(path);
    const WalkScope::Names* const names = all ? nullptr : scope_.namesIn(path);
    if (!all && !names) continue;
    for (const std::uint32_t position : base_->itemsIn(f)) {
      if (all || names->contains(std::string_view(base_->itemAt(position).name))) seen_[position] = Missed;
    }
  }
}

void ScanPass::found(FolderFindings&& findings) {
  std::lock_guard lock(mutex_);
  for (const std::uint32_t position : findings.unchanged) seen_[position] = findings.linked ? MetByLink : Met;
  if (!findings.rejected.empty()) {
    auto& known = rejected_[findings.folder.path];
    std::move(findings.rejected.begin(), findings.rejected.end(), std::back_inserter(known));
  }
  if (findings.fresh.empty() && findings.unchanged.empty() && !folderAt_.contains(findings.folder.path)) return;
  const std::uint32_t folder = folderPosition(std::move(findings.folder));
  for (FoundItem& item : findings.fresh) fresh_.push_back({folder, std::move(item)});
  changed_.notify_one();
}

std::uint32_t ScanPass::folderPosition(Folder&& folder) {
  const auto [entry, isNew] = folderAt_.emplace(folder.path, static_cast<std::uint32_t>(folders_.size()));
  if (isNew) {
    folders_.push_back(std::make_shared<Folder>(std::move(folder)));
  } else {
    auto& known = folders_[entry->second];
    if (!sameFolder(*known, folder)) {
      known = std::make_shared<Folder>(std::move(folder));
      changedFolders_.push_back(entry->second);
    }
  }
  return entry->second;
}

void ScanPass::walkEnded() {
  std::lock_guard lock(mutex_);
  walked_ = true;
  changed_.notify_one();
}

bool ScanPass::waitForFinds(std::size_t enough, std::optional<std::chrono::steady_clock::time_point> due) {
  std::unique_lock lock(mutex_);
  const auto isEnough = [&] { return walked_ || fresh_.size() >= enough; };
  if (due) {
    changed_.wait(lock, [&] { return walked_ || !fresh_.empty(); });
    changed_.wait_until(lock, *due, isEnough);
  } else {
    changed_.wait(lock, isEnough);
  }
  return !walked_;
}

ScanPass::State ScanPass::takeOver() {
  State state = absorb();
  merge(state);
  return state;
}

ScanPass::State ScanPass::absorb() {
  State state;
  std::vector<Fresh> fresh;
  {
    std::lock_guard lock(mutex_);
    fresh.swap(fresh_);
    state.folders = folders_;
  }
  ItemBlocks blocks(fresh.size());
  for (Fresh& find : fresh) {
    if (base_->find(find.item.identifier) == Snapshot::kNowhere) {
      accept(find, blocks, state);
    } else {
      undecided_.push_back(std::move(find));
    }
  }
  return state;
}

ScanPass::State ScanPass::conclude(const WalkOutcome& outcome, const std::function<bool(std::size_t)>& rootReadable) {
  State state = absorb();
  settleUndecided(state);
  keepUnreachable(outcome.unreachable);
  takeLeave(rootReadable, state);
  state.changes.folders.insert(state.changes.folders.end(), changedFolders_.begin(), changedFolders_.end());
  state.differs |= !changedFolders_.empty() || std::find(gone_.begin(), gone_.end(), 1) != gone_.end();
  compareRejected(outcome.unreachable, state);
  state.lookAgain = std::move(lookAgain_);
  state.differs |= !state.changes.put.empty();
  if (state.differs) merge(state);
  return state;
}

void ScanPass::settleUndecided(State& state) {
  ItemBlocks blocks(undecided_.size());
  for (const Fresh& find : undecided_) {
    const std::uint32_t known = base_->find(find.item.identifier);
    const Item& item = base_->itemAt(known);
    const std::string path = pathIn(state.folders[find.folder]->path, find.item.name);
    const std::string knownPath = pathIn(folders_[item.folder]->path, item.name);
    const std::uint8_t sight = seen_[known];
    const bool metAsItWas = sight == Met || sight == MetByLink;
    if (sight == NotLookedFor || (metAsItWas && !sameContent(find.item.facts, item.facts))) {
      lookAgain_.add(path);
      lookAgain_.add(knownPath);
    } else if (sight == Missed) {
      accept(find, blocks, state);
    } else if (std::pair(find.item.linked, path) < std::pair(sight == MetByLink, knownPath)) {
      // As a first look would choose among the names of one file.
      seen_[known] = Missed;
      accept(find, blocks, state);
      otherNames_.push_back({find.item.identifier, knownPath});
    } else {
      otherNames_.push_back({find.item.identifier, path});
    }
  }
}

void ScanPass::takeLeave(const std::function<bool(std::size_t)>& rootReadable, State& state) {
  std::vector<bool> closed(folders_.size());
  std::vector<bool> readable;
  for (std::uint32_t f = 0; f < folders_.size(); ++f) {
    while (readable.size() <= folders_[f]->root) readable.push_back(rootReadable(readable.size()));
    closed[f] = !readable[folders_[f]->root];
  }
  std::set<std::uint32_t> shrunk;
  for (std::uint32_t f = 0; f < base_->folders().size(); ++f) {
    for (const std::uint32_t i : base_->itemsIn(f)) {
      gone_[i] = seen_[i] == Missed || closed[f];
      if (seen_[i] != Missed) continue;
      shrunk.insert(f);
      const Identifier& identifier = base_->itemAt(i).localIdentifier;
      if (!accepted_.contains(identifier)) state.changes.removed.push_back(identifier.string());
    }
  }
  if (shrunk.empty()) return;
  std::set<std::uint32_t> joined;
  for (const Assets* assets : {&added_, &state.changes.put}) {
    for (const auto& asset : *assets) joined.insert(itemOf(*asset).folder);
  }
  for (const std::uint32_t folder : shrunk) {
    const auto items = base_->itemsIn(folder);
    const bool inhabited = joined.contains(folder) ||
                           std::any_of(items.begin(), items.end(), [&](std::uint32_t i) { return seen_[i] != Missed; });
    if (inhabited) {
      state.changes.folders.push_back(folder);
    } else {
      state.changes.removedFolders.push_back(folders_[folder]->path);
    }
  }
}

void ScanPass::accept(const Fresh& fresh, ItemBlocks& blocks, State& state) {
  const FoundItem& found = fresh.item;
  const auto path = [&](std::uint32_t folder, std::string_view name) {
    return pathIn(state.folders[folder]->path, name);
  };
  if (const auto earlier = accepted_.find(Identifier(found.identifier)); earlier != accepted_.end()) {
    // One file by two names: the plain one counts, then the first by path, whichever the workers met first.
    const auto other = earlier->second;
    const Item& item = itemOf(*other.asset);
    if (!sameContent(found.facts, item.facts)) {
      lookAgain_.add(path(fresh.folder, found.name));
      lookAgain_.add(path(item.folder, item.name));
    }
    if (std::pair(found.linked, path(fresh.folder, found.name)) >=
        std::pair(other.linked, path(item.folder, item.name))) {
      otherNames_.push_back({found.identifier, path(fresh.folder, found.name)});
      return;
    }
    otherNames_.push_back({found.identifier, path(item.folder, item.name)});
    std::erase(added_, other.asset);
    std::erase(state.changes.put, other.asset);
  }
  auto asset = blocks.add(found.identifier, found.name, [&](Item& item) {
    item.folder = fresh.folder;
    item.mediaType = found.mediaType;
    item.creationDate = std::isfinite(found.created) ? found.created : static_cast<double>(found.facts.modified) / 1e9;
    item.duration = std::isfinite(found.duration) ? found.duration : 0;
    item.facts = found.facts;
  });
  accepted_.insert_or_assign(asset->localIdentifier, Accepted{asset, found.linked});
  state.changes.put.push_back(std::move(asset));
}

void ScanPass::keepUnreachable(const std::vector<std::string>& unreachable) {
  if (unreachable.empty()) return;
  std::vector<bool> kept;
  for (const auto& folder : base_->folders()) {
    kept.push_back(std::any_of(unreachable.begin(), unreachable.end(),
                               [&](const std::string& path) { return liesIn(folder->path, path); }));
  }
  for (std::uint32_t i = 0; i < seen_.size(); ++i) {
    // What turned up elsewhere under the same identifier has moved out.
    if (kept[base_->itemAt(i).folder] && !accepted_.contains(base_->itemAt(i).localIdentifier)) seen_[i] = Met;
  }
}

void ScanPass::compareRejected(const std::vector<std::string>& unreachable, State& state) {
  const auto keptIn = [&](const std::string& folder) {
    return std::any_of(unreachable.begin(), unreachable.end(),
                       [&](const std::string& path) { return liesIn(folder, path); });
  };
  for (const auto& [folder, files] : knownRejected_) {
    const bool all = scope_.holds(folder);
    const WalkScope::Names* const names = all ? nullptr : scope_.namesIn(folder);
    if ((!all && !names) || keptIn(folder)) continue;
    std::set<std::string_view> still;
    if (const auto now = rejected_.find(folder); now != rejected_.end()) {
      for (const RejectedFile& file : now->second) still.insert(file.name);
    }
    for (const RejectedFile& file : files) {
      if ((all || names->contains(file.name)) && !still.contains(file.name))
        state.changes.unrejected.emplace_back(folder, file.name);
    }
  }
  for (const auto& [folder, files] : rejected_) {
    std::unordered_map<std::string_view, const RejectedFile*> known;
    if (const auto before = knownRejected_.find(folder); before != knownRejected_.end()) {
      for (const RejectedFile& file : before->second) known.emplace(file.name, &file);
    }
    for (const RejectedFile& file : files) {
      const auto same = known.find(file.name);
      if (same == known.end() || !(*same->second == file)) state.changes.rejected.emplace_back(folder, file);
    }
  }
}

void ScanPass::merge(State& state) {
  Assets batch = state.changes.put;
  std::sort(batch.begin(), batch.end(), assetBefore);
  batch.erase(std::remove_if(batch.begin(), batch.end(),
                             [&](const auto& asset) {
                               return std::binary_search(added_.begin(), added_.end(), asset, assetBefore);
                             }),
              batch.end());
  const auto middle = static_cast<std::ptrdiff_t>(added_.size());
  std::move(batch.begin(), batch.end(), std::back_inserter(added_));
  std::inplace_merge(added_.begin(), added_.begin() + middle, added_.end(), assetBefore);
  state.differs |= !state.changes.put.empty();

  for (const bool trash : {false, true}) {
    const AssetResult& from = trash ? base_->trashed() : base_->live();
    const std::uint32_t offset = trash ? static_cast<std::uint32_t>(base_->live()->count()) : 0;
    Assets into;
    into.reserve(from->count() + (trash ? 0 : added_.size()));
    auto next = added_.begin();
    const auto waits = [&] {
      while (next != added_.end() && state.folders[itemOf(**next).folder]->trashed != trash) ++next;
      return next != added_.end();
    };
    for (std::uint32_t i = 0; i < from->count(); ++i) {
      if (gone_[offset + i]) continue;
      const auto& asset = from->begin()[i];
      for (; waits() && assetBefore(*next, asset); ++next) into.push_back(*next);
      into.push_back(asset);
    }
    for (; waits(); ++next) into.push_back(*next);
    (trash ? state.trashed : state.live) = std::move(into);
  }
}

}  // namespace tlx::photolibrary

#include "adapters/photolibrary/catalogue/Catalogue.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "adapters/photolibrary/catalogue/GoneIndexes.h"

namespace tlx::photolibrary {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// A window that opens on a library never seen wants its first screen soon; later states come ever more rarely, so that
// building them stays a small part of the scan whatever its size.
constexpr std::size_t kFirstItems = 500;
constexpr milliseconds kFirstState{100};
constexpr milliseconds kRarestState{4000};
// In a known library news waits for the end of the look, unless it is as much as a card full of photos.
constexpr std::size_t kNewsWorthTelling = 20'000;

}  // namespace

Catalogue::Catalogue(std::unique_ptr<Source> source, std::string cacheFolder, SystemLogPort& log,
                     std::shared_ptr<FetchLedger> ledger, Published published)
    : source_(std::move(source)),
      cacheFolder_(std::move(cacheFolder)),
      log_(log),
      ledger_(std::move(ledger)),
      published_(std::move(published)),
      snapshot_(std::make_shared<Snapshot>(Assets{}, Assets{}, Folders{}, ledger_, nullptr)) {
  checkRoots();
}

Catalogue::~Catalogue() {
  thread_ = {};
  source_->follow(nullptr);
}

void Catalogue::checkRoots() {
  readable_.clear();
  for (std::size_t i = 0; i < source_->roots().size(); ++i) readable_.push_back(source_->rootReadable(i));
  anyRootReadable_ = std::find(readable_.begin(), readable_.end(), true) != readable_.end();
}

void Catalogue::start() {
  std::lock_guard lock(mutex_);
  if (std::exchange(started_, true)) return;
  thread_ = std::jthread([this](const std::stop_token& stop) { work(stop); });
}

void Catalogue::look(const WalkScope& scope) {
  {
    std::lock_guard lock(mutex_);
    wanted_.add(scope);
    ++scansWanted_;
  }
  changed_.notify_all();
}

void Catalogue::waitUntilOpened() const {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return opened_ || !started_; });
}

void Catalogue::waitUntilScanned() const {
  std::unique_lock lock(mutex_);
  const std::uint64_t wanted = scansWanted_;
  changed_.wait(lock, [&] { return scansDone_ >= wanted || !started_; });
}

void Catalogue::waitUntilScanned(const std::stop_token& stop) const {
  std::unique_lock lock(mutex_);
  const std::uint64_t wanted = scansWanted_;
  changed_.wait(lock, stop, [&] { return scansDone_ >= wanted || !started_; });
}

bool Catalogue::waitForNewer(const std::shared_ptr<const Snapshot>& known, const std::stop_token& stop,
                             std::chrono::steady_clock::time_point until) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_until(lock, stop, until, [&] { return snapshot_ != known; });
}

std::shared_ptr<const Snapshot> Catalogue::snapshot() const {
  std::lock_guard lock(mutex_);
  return snapshot_;
}

void Catalogue::work(const std::stop_token& stop) {
  openIndex();
  source_->follow([this](const WalkScope& scope) { look(scope); });
  while (true) {
    std::uint64_t wanted;
    WalkScope scope;
    {
      std::unique_lock lock(mutex_);
      if (!changed_.wait(lock, stop, [this] { return scansDone_ < scansWanted_; })) return;
      wanted = scansWanted_;
      scope = std::exchange(wanted_, {});
    }
    const WalkScope open = scan(scope, stop);
    if (stop.stop_requested()) return;
    if (!open.empty()) {
      look(open);
      continue;
    }
    {
      std::lock_guard lock(mutex_);
      scansDone_ = wanted;
    }
    changed_.notify_all();
    if (index_ && !std::exchange(swept_, true))
      removeGoneIndexes(cacheFolder_, index_->path(), std::chrono::system_clock::now());
  }
}

std::optional<Index::Content> Catalogue::load() {
  if (!index_) return std::nullopt;
  checkRoots();
  auto content = index_->load([this](std::size_t root) { return readable_[root]; });
  if (!content && !index_->startOver([this](const std::string& line) { log_.log(line); })) index_.reset();
  return content;
}

void Catalogue::openIndex() {
  const auto log = [this](const std::string& line) { log_.log(line); };
  index_ = Index::open(cacheFolder_, source_->roots(), log);
  if (auto content = load()) {
    complete_ = content->complete;
    if (!content->live.empty() || !content->trashed.empty() || !content->folders.empty()) {
      publish(std::make_shared<Snapshot>(std::move(content->live), std::move(content->trashed),
                                         std::move(content->folders), ledger_, snapshot().get()));
    }
  }
  {
    std::lock_guard lock(mutex_);
    opened_ = true;
  }
  changed_.notify_all();
  if (!index_) return;
  if (auto rejected = index_->loadRejected()) {
    rejected_ = std::move(*rejected);
  } else if (!index_->startOver(log)) {
    index_.reset();
  }
}

/// The index kept what lies under a root that was away: it need not be read from the files again.
void Catalogue::bringBackRoots() {
  bool back = false;
  for (std::size_t root = 0; root < readable_.size(); ++root) back |= !readable_[root] && source_->rootReadable(root);
  if (!back) return;
  auto content = load();
  if (!content) return;
  auto next = std::make_shared<Snapshot>(std::move(content->live), std::move(content->trashed),
                                         std::move(content->folders), ledger_, snapshot().get());
  next->prepareLookup();
  publish(next);
}

WalkScope Catalogue::scan(const WalkScope& asked, const std::stop_token& stop) {
  bringBackRoots();
  const auto base = snapshot();
  base->prepareLookup();
  const WalkScope scope = withKnownNames(asked, *base);
  const KnownFiles known(base, rejected_);
  ScanPass pass(base, rejected_, scope);

  WalkOutcome outcome;
  std::jthread walker([&] {
    outcome = scope.isEverything() ? source_->walk(known, pass, stop) : source_->walkPart(known, pass, scope, stop);
    pass.walkEnded();
  });

  milliseconds interval = kFirstState;
  auto last = Clock::now();
  std::size_t enough = kFirstItems;
  while (complete_ ? pass.waitForFinds(kNewsWorthTelling, std::nullopt) : pass.waitForFinds(enough, last + interval)) {
    take(pass.takeOver());
    interval = std::min(interval * 2, kRarestState);
    enough = SIZE_MAX;
    last = Clock::now();
  }
  walker.join();
  checkRoots();
  if (!outcome.finished) {
    // What was found is worth keeping: the next scan need not read it again.
    take(pass.takeOver());
    return {};
  }
  ScanPass::State end = pass.conclude(outcome, [this](std::size_t root) { return readable_[root]; });
  // A root that was not there may hold anything: when it comes, it is scanned like a library never seen.
  end.changes.complete = !complete_ && scope.isEverything() && outcome.unreachable.empty();
  complete_ |= end.changes.complete;
  rememberRejected(end.changes);
  secondWays_ = outcome.secondWays || (secondWays_ && !scope.isEverything());
  WalkScope open = scope.isEverything() ? end.lookAgain : leftOpen(end);
  rememberOtherNames(pass, scope.isEverything());
  tellOfSkipped(outcome);
  take(std::move(end));
  return open;
}

void Catalogue::rememberRejected(const IndexChanges& changes) {
  const auto forget = [this](const std::string& folder, const std::string& name) {
    const auto files = rejected_.find(folder);
    if (files == rejected_.end()) return;
    std::erase_if(files->second, [&](const RejectedFile& file) { return file.name == name; });
    if (files->second.empty()) rejected_.erase(files);
  };
  for (const auto& [folder, name] : changes.unrejected) forget(folder, name);
  for (const auto& [folder, file] : changes.rejected) {
    forget(folder, file.name);
    rejected_[folder].push_back(file);
  }
}

void Catalogue::rememberOtherNames(const ScanPass& pass, bool afresh) {
  if (afresh) otherNames_.clear();
  for (const auto& [identifier, path] : pass.otherNames()) otherNames_.insert_or_assign(path, identifier);
}

/// Adds, for each path in the scope that is a second name of a known file, the name that the file is known by: what was
/// written through one name has changed under the other as well.
WalkScope Catalogue::withKnownNames(const WalkScope& asked, const Snapshot& base) const {
  WalkScope scope = asked;
  if (asked.isEverything()) return scope;
  for (const auto& [path, identifier] : otherNames_) {
    const std::uint32_t known = asked.holds(path) ? base.find(identifier) : Snapshot::kNowhere;
    if (known == Snapshot::kNowhere) continue;
    const Item& item = base.itemAt(known);
    scope.add(pathIn(base.folders()[item.folder]->path, item.name));
  }
  return scope;
}

/// What a look at a part has to look at again: a file that was changed or removed may still be there under a second
/// name, and the content of a removed folder by a second way, both outside of what was looked at.
WalkScope Catalogue::leftOpen(const ScanPass::State& state) const {
  if (secondWays_ && !state.changes.removedFolders.empty()) return WalkScope::everything();
  WalkScope open = state.lookAgain;
  if (otherNames_.empty()) return open;
  std::unordered_map<Identifier, std::string> touched;
  for (const std::string& identifier : state.changes.removed) touched.emplace(identifier, std::string());
  for (const auto& asset : state.changes.put) {
    const Item& item = itemOf(*asset);
    touched.emplace(item.localIdentifier, pathIn(state.folders[item.folder]->path, item.name));
  }
  for (const auto& [path, identifier] : otherNames_) {
    const auto found = touched.find(identifier);
    if (found == touched.end()) continue;
    // Which name stands for the file is decided by comparing them all.
    open.add(path);
    if (!found->second.empty()) open.add(found->second);
  }
  return open;
}

void Catalogue::tellOfSkipped(const WalkOutcome& outcome) {
  for (const auto& [path, reason] : outcome.skipped) {
    if (told_.insert(path).second) log_.log("photos in " + path + " are left out: " + reason);
  }
}

void Catalogue::take(ScanPass::State&& state) {
  std::shared_ptr<const Snapshot> next = snapshot();
  if (state.differs) {
    next =
        std::make_shared<Snapshot>(std::move(state.live), std::move(state.trashed), state.folders, ledger_, next.get());
    next->prepareLookup();
  }
  if (index_ && (!state.changes.empty() || state.changes.complete)) {
    const auto counts = [&](std::uint32_t folder) {
      const auto items = next->itemsIn(folder);
      return static_cast<std::size_t>(items.end() - items.begin());
    };
    if (!index_->write(state.changes, state.folders, counts)) {
      log_.log("photo index " + index_->path() + " " + index_->problem() + "; the library is kept in memory only");
      index_.reset();
    }
  }
  if (state.differs) publish(next);
}

void Catalogue::publish(const std::shared_ptr<const Snapshot>& next) {
  {
    std::lock_guard lock(mutex_);
    snapshot_ = next;
  }
  changed_.notify_all();
  published_(next);
}

}  // namespace tlx::photolibrary

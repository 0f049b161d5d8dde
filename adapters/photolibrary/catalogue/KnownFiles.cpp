#include "adapters/photolibrary/catalogue/KnownFiles.h"

#include <algorithm>
#include <utility>

namespace tlx::photolibrary {

KnownFiles::KnownFiles(std::shared_ptr<const Snapshot> snapshot, const RejectedFiles& rejected)
    : snapshot_(std::move(snapshot)), rejected_(rejected) {
  const Folders& folders = snapshot_->folders();
  for (std::uint32_t f = 0; f < folders.size(); ++f) {
    folders_.emplace(folders[f]->path, f);
    const FileKey& key = folders[f]->key;
    if (key.born == 0) birthlessFolders_.emplace(std::pair(key.fileSystem, key.number), folders[f].get());
  }
}

std::vector<KnownFiles::File> KnownFiles::inFolder(const std::string& path, const WalkScope::Names* names) const {
  std::vector<File> files;
  if (const auto folder = folders_.find(path); folder != folders_.end()) {
    for (const std::uint32_t position : snapshot_->itemsIn(folder->second)) {
      const Item& item = snapshot_->itemAt(position);
      if (names && !names->contains(std::string_view(item.name))) continue;
      files.push_back({item.name, item.facts.key, item.facts.bytes, item.facts.modified, item.facts.sidecar, position});
    }
  }
  if (const auto rejected = rejected_.find(path); rejected != rejected_.end()) {
    for (const RejectedFile& file : rejected->second) {
      if (names && !names->contains(file.name)) continue;
      files.push_back({file.name, file.key, file.bytes, file.modified, 0, Snapshot::kNowhere});
    }
  }
  std::sort(files.begin(), files.end(), [](const File& a, const File& b) { return a.name < b.name; });
  return files;
}

const Item* KnownFiles::item(const std::string& identifier) const {
  const std::uint32_t position = snapshot_->find(identifier);
  return position == Snapshot::kNowhere ? nullptr : &snapshot_->itemAt(position);
}

const Item* KnownFiles::itemWithoutBirth(const FileKey& key) const {
  std::call_once(birthlessListed_, [this] {
    for (std::uint32_t i = 0; i < snapshot_->count(); ++i) {
      const Item& item = snapshot_->itemAt(i);
      const FileKey& own = item.facts.key;
      if (own.born == 0) birthless_.emplace(std::pair(own.fileSystem, own.number), &item);
    }
  });
  const auto found = birthless_.find({key.fileSystem, key.number});
  return found == birthless_.end() ? nullptr : found->second;
}

const Folder* KnownFiles::folderWithoutBirth(const FileKey& key) const {
  const auto found = birthlessFolders_.find({key.fileSystem, key.number});
  return found == birthlessFolders_.end() ? nullptr : found->second;
}

const Folder* KnownFiles::folderWith(const FileKey& key) const {
  const Folders& folders = snapshot_->folders();
  for (std::uint32_t f = 0; f < folders.size(); ++f) {
    if (folders[f]->key == key && !snapshot_->itemsIn(f).empty()) return folders[f].get();
  }
  return nullptr;
}

}  // namespace tlx::photolibrary

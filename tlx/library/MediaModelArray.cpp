#include "tlx/library/MediaModelArray.h"

#include <utility>

namespace tlx {
namespace {

/// Raw room for records, of which the first `filled` are alive.
class Storage {
 public:
  explicit Storage(std::size_t capacity)
      : capacity_(capacity), records_(std::allocator<MediaModel>().allocate(capacity)) {}
  ~Storage() {
    std::destroy_n(records_, filled_);
    std::allocator<MediaModel>().deallocate(records_, capacity_);
  }
  Storage(const Storage&) = delete;
  Storage& operator=(const Storage&) = delete;

  void add(const std::shared_ptr<const PHAsset>& asset) {
    std::construct_at(records_ + filled_, asset);
    ++filled_;
  }
  MediaModel* records() const { return records_; }
  std::size_t filled() const { return filled_; }

 private:
  std::size_t capacity_;
  MediaModel* records_;
  std::size_t filled_ = 0;
};

}  // namespace

std::shared_ptr<MediaModel> MediaModelArray::objectAtIndex(std::uint64_t index) const {
  for (const Block& block : blocks_) {
    if (index < block.count) return {block.records, block.records.get() + index};
    index -= block.count;
  }
  return nullptr;
}

void MediaModelArray::addObjectsForAssets(const PHFetchResult<PHAsset>& assets) {
  if (assets.count() == 0) return;
  auto storage = std::make_shared<Storage>(assets.count());
  for (const auto& asset : assets) {
    if (asset) storage->add(asset);
  }
  const std::size_t added = storage->filled();
  MediaModel* first = storage->records();
  blocks_.push_back({std::shared_ptr<MediaModel>(std::move(storage), first), added});
  count_ += added;
}

}  // namespace tlx

#include "adapters/photolibrary/source/Item.h"

#include <algorithm>
#include <cstring>

namespace tlx::photolibrary {

bool comesBefore(const Item& a, const Item& b) {
  if (a.creationDate != b.creationDate) return a.creationDate > b.creationDate;
  if (const int order = std::strcmp(a.name, b.name)) return order < 0;
  return a.localIdentifier < b.localIdentifier;
}

bool looksTheSame(const PHAsset& a, const PHAsset& b) {
  if (&a == &b) return true;
  const ItemFacts& x = itemOf(a).facts;
  const ItemFacts& y = itemOf(b).facts;
  return a.localIdentifier == b.localIdentifier && a.mediaType == b.mediaType && a.duration == b.duration &&
         a.creationDate == b.creationDate && x.bytes == y.bytes && x.modified == y.modified;
}

std::string itemPath(const Item& item, const Folder& folder) {
  return (folder.path == "/" ? "" : folder.path) + "/" + item.name;
}

std::shared_ptr<ItemBlock> ItemBlock::withCapacity(std::size_t capacity) {
  auto block = std::make_shared<ItemBlock>();
  block->items_.reserve(std::max<std::size_t>(capacity, 1));
  block->texts_ = std::make_shared<std::vector<std::string>>();
  block->texts_->reserve(block->items_.capacity());
  return block;
}

Item& ItemBlock::append(std::string_view identifier, std::string_view name) {
  const std::string& text = texts_->emplace_back(identifier);
  Item& item = items_.emplace_back();
  item.localIdentifier = Identifier(std::shared_ptr<const std::string>(texts_, &text));
  item.name = keepName(name);
  return item;
}

const char* ItemBlock::keepName(std::string_view name) {
  if (nameRoom_ < name.size() + 1) {
    const std::size_t left = items_.capacity() - items_.size() + 1;
    nameRoom_ = std::max(name.size() + 1, std::min<std::size_t>(left * 16, 1 << 20));
    nameEnd_ = names_.emplace_back(new char[nameRoom_]).get();
  }
  char* kept = nameEnd_;
  std::memcpy(kept, name.data(), name.size());
  kept[name.size()] = '\0';
  nameEnd_ += name.size() + 1;
  nameRoom_ -= name.size() + 1;
  return kept;
}

ItemBlocks::ItemBlocks(std::size_t expected) : block_(ItemBlock::withCapacity(expected)) {}

}  // namespace tlx::photolibrary

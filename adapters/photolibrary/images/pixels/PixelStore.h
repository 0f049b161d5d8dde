#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "tlx/platform/foundation/NSError.h"

namespace tlx::photolibrary {

/// Room for the pixels of one picture, kept as long as someone refers to it.
class PixelBlock {
 public:
  virtual ~PixelBlock() = default;
  virtual std::uint8_t* data() = 0;
  virtual std::size_t size() const = 0;
  /// To be called once all pixels are written: pages that lie in a file need not stay in memory from now on. Reading
  /// them brings them back.
  virtual void settle() {}
};

/// Where decoded pixels live. Small pictures lie in memory; large ones too as long as all of them together stay within
/// a budget, and beyond it in unlinked files, so that a thousand delivered pictures do not need the memory of a
/// thousand. The space of a file is reserved before it is written: a full disk shows as an error here and never as a
/// signal later. Any thread.
class PixelStore {
 public:
  struct Limits {
    std::size_t largeFrom = std::size_t{1} << 20;       ///< bytes; smaller pictures are not counted
    std::size_t memoryBudget = std::size_t{256} << 20;  ///< bytes of large pictures that stay in memory
    /// Bytes that may be taken from memory instead where the disk has no room for them.
    std::size_t withoutDisk = std::size_t{512} << 20;
  };

  /// Files go to `folder`, made when first needed. Blocks may outlive the store.
  explicit PixelStore(std::string folder);
  PixelStore(std::string folder, Limits limits);

  /// A folder of this user's own for such files: `tlx-media-picker` in the cache folder.
  static std::string defaultFolder();

  /// Zeroed room for `bytes`; an error when neither disk nor memory has it.
  std::variant<std::shared_ptr<PixelBlock>, NSError> reserve(std::size_t bytes);
  /// Bytes of large pictures that lie in memory now.
  std::size_t inMemory() const { return inMemory_->load(std::memory_order_relaxed); }

 private:
  std::string folder_;
  Limits limits_;
  std::shared_ptr<std::atomic<std::size_t>> inMemory_;
};

}  // namespace tlx::photolibrary

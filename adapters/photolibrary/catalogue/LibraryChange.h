#pragma once

#include <memory>
#include <utility>

#include "tlx/platform/photos/PHChange.h"

#include "adapters/photolibrary/catalogue/Snapshot.h"

namespace tlx::photolibrary {

/// The change that led to a snapshot. It keeps nothing of the state before: what a fetch result held is compared with
/// what its question answers now. For a result that is as new as the snapshot, or newer, there are no details.
class LibraryChange final : public PHChange {
 public:
  LibraryChange(std::shared_ptr<const Snapshot> after, std::shared_ptr<const FetchLedger> ledger)
      : after_(std::move(after)), ledger_(std::move(ledger)) {}

  std::shared_ptr<const PHFetchResultChangeDetails> changeDetailsForFetchResult(
      const AssetResult& result) const override;

 private:
  std::shared_ptr<const Snapshot> after_;
  std::shared_ptr<const FetchLedger> ledger_;
};

/// Access was taken back: what was fetched is to be seen no more.
class AccessLost final : public PHChange {
 public:
  explicit AccessLost(std::shared_ptr<const FetchLedger> ledger) : ledger_(std::move(ledger)) {}

  std::shared_ptr<const PHFetchResultChangeDetails> changeDetailsForFetchResult(
      const AssetResult& result) const override;

 private:
  std::shared_ptr<const FetchLedger> ledger_;
};

}  // namespace tlx::photolibrary

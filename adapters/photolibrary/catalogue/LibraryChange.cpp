#include "adapters/photolibrary/catalogue/LibraryChange.h"

namespace tlx::photolibrary {

std::shared_ptr<const PHFetchResultChangeDetails> LibraryChange::changeDetailsForFetchResult(
    const AssetResult& result) const {
  if (!result) return nullptr;
  const auto entry = ledger_->find(result);
  if (!entry || entry->generation >= after_->generation()) return nullptr;
  const AssetResult now = after_->answer(entry->question);
  if (now == result || sameContent(*now, *result)) return nullptr;
  return std::make_shared<PHFetchResultChangeDetails>(PHFetchResultChangeDetails{result, now});
}

std::shared_ptr<const PHFetchResultChangeDetails> AccessLost::changeDetailsForFetchResult(
    const AssetResult& result) const {
  if (!result || result->count() == 0 || !ledger_->find(result)) return nullptr;
  return std::make_shared<PHFetchResultChangeDetails>(
      PHFetchResultChangeDetails{result, std::make_shared<const PHFetchResult<PHAsset>>()});
}

}  // namespace tlx::photolibrary

#include "adapters/photolibrary/catalogue/FetchLedger.h"

#include <algorithm>

namespace tlx::photolibrary {

Question Question::about(const Identifier& album, const PHFetchOptions& options) {
  Question question;
  question.album = album.string();
  const auto& descriptors = options.sortDescriptors();
  question.ascending =
      !descriptors.empty() && descriptors.front().key == "creationDate" && descriptors.front().ascending;
  if (const auto& predicate = options.predicate()) {
    question.mediaType = predicate->argument;
    question.impossible = predicate->format != "mediaType = %d";
  }
  return question;
}

void FetchLedger::record(const AssetResult& result, const Question& question, std::uint64_t generation) {
  std::lock_guard lock(mutex_);
  if (entries_.size() >= nextSweep_) {
    std::erase_if(entries_, [](const auto& entry) { return entry.second.result.expired(); });
    nextSweep_ = std::max<std::size_t>(64, entries_.size() * 2);
  }
  entries_.insert_or_assign(result.get(), Entry{result, question, generation});
}

std::optional<FetchLedger::Entry> FetchLedger::find(const AssetResult& result) const {
  std::lock_guard lock(mutex_);
  const auto found = entries_.find(result.get());
  // A new result may have been given the address of one that is gone, whose entry is still here.
  if (found == entries_.end() || found->second.result.lock() != result) return std::nullopt;
  return found->second;
}

}  // namespace tlx::photolibrary

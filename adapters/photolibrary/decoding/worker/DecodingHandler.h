#pragma once

#include <cstdint>

#include "adapters/photolibrary/decoding/worker/Service.h"
#include "adapters/photolibrary/images/codecs/ImageDecoder.h"

namespace tlx::photolibrary {

/// Domain of an error that says which kind of worker a file is for; its code is a `WorkerKind`.
inline constexpr char kOtherWorkerDomain[] = "OtherWorkerDomain";

/// What the real workers do: the decoders that are linked into their program.
class DecodingHandler final : public Service::Handler {
 public:
  DecodingHandler();

  void handle(const wire::Job& job, int file, const std::stop_token& cancelled, Reply& reply) override;

 private:
  void answerPicture(const Failure& failure, Reply& reply) const;

  std::int64_t granted_ = 0;  ///< bytes that the present picture may take
  std::int64_t needed_ = 0;   ///< bytes that it would take, where that is more
  ImageDecoder decoder_;
};

}  // namespace tlx::photolibrary

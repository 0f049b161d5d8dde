#include "adapters/photolibrary/decoding/worker/DecodingHandler.h"

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/headers/MediaProbe.h"

namespace tlx::photolibrary {

DecodingHandler::DecodingHandler()
    : decoder_([this](std::int64_t bytes) -> std::variant<std::shared_ptr<void>, NSError> {
        if (bytes <= granted_) return nullptr;
        needed_ = bytes;
        return libraryError(PhotoLibraryErrorTooLarge, "it needs more memory than the others");
      }) {}

void DecodingHandler::handle(const wire::Job& job, int file, const std::stop_token& cancelled, Reply& reply) {
  const PictureRequest request{
      {job.targetWidth, job.targetHeight}, static_cast<PHImageContentMode>(job.mode), cancelled};
  granted_ = job.memory;
  needed_ = 0;
  switch (job.kind) {
    case wire::JobKind::Decode:
      answerPicture(decoder_.decode(file, request, reply), reply);
      return;
    case wire::JobKind::Embedded:
      answerPicture(decoder_.decodeEmbedded(file, request, reply), reply);
      return;
    case wire::JobKind::Probe: {
      const auto probed = probeMedia(file);
      if (const NSError* error = std::get_if<NSError>(&probed)) {
        reply.failed(*error);
      } else {
        reply.info(std::get<MediaInfo>(probed));
      }
      return;
    }
    case wire::JobKind::Sidecar:
      reply.date(probeSidecar(file));
      return;
    case wire::JobKind::Tracks: {
      const auto probed = probeVideo(file);
      if (const NSError* error = std::get_if<NSError>(&probed)) {
        reply.failed(*error);
      } else {
        reply.tracks(std::get<VideoInfo>(probed));
      }
      return;
    }
  }
  reply.failed(libraryError(PhotoLibraryErrorUnsupported, "an unknown job"));
}

void DecodingHandler::answerPicture(const Failure& failure, Reply& reply) const {
  if (!failure) {
    reply.end();
  } else if (failure->domain == kOtherWorkerDomain) {
    reply.otherKind(static_cast<WorkerKind>(failure->code));
  } else if (needed_ > 0) {
    reply.needsMemory(needed_);
  } else {
    reply.failed(*failure);
  }
}

}  // namespace tlx::photolibrary

#pragma once

#include <cstdint>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace tlx::photolibrary {

/// Whether frames of that codec are decoded: what cameras, phones, screen recorders and the web write. The decoding
/// library knows hundreds more, most of them of old games and broadcasters, and each is code that a file can reach.
bool isVideoCodecAllowed(AVCodecID codec);

/// The decoders that may be opened, of pictures and sound, as the library's `codec_whitelist` takes them. It opens some
/// by itself to learn what a container does not say.
const char* allowedDecoders();

}  // namespace tlx::photolibrary

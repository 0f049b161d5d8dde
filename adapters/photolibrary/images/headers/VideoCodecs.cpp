#include "adapters/photolibrary/images/headers/VideoCodecs.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <string>

namespace tlx::photolibrary {
namespace {

bool isSoundAllowed(AVCodecID codec) {
  switch (codec) {
    case AV_CODEC_ID_AAC:
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
    case AV_CODEC_ID_ALAC:
    case AV_CODEC_ID_AMR_NB:
    case AV_CODEC_ID_AMR_WB:
    case AV_CODEC_ID_FLAC:
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
    case AV_CODEC_ID_OPUS:
    case AV_CODEC_ID_VORBIS:
    case AV_CODEC_ID_PCM_S16LE:
    case AV_CODEC_ID_PCM_S16BE:
    case AV_CODEC_ID_PCM_S24LE:
    case AV_CODEC_ID_PCM_U8:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool isVideoCodecAllowed(AVCodecID codec) {
  switch (codec) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_AV1:
    case AV_CODEC_ID_VP8:
    case AV_CODEC_ID_VP9:
    case AV_CODEC_ID_MPEG4:       // phones and cameras before H.264, and most AVI files
    case AV_CODEC_ID_MSMPEG4V3:   // AVI files of the same time
    case AV_CODEC_ID_H263:        // the first phones
    case AV_CODEC_ID_MPEG1VIDEO:  // cameras that wrote discs
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MJPEG:  // compact cameras
    case AV_CODEC_ID_DVVIDEO:
    case AV_CODEC_ID_PRORES:
    case AV_CODEC_ID_DNXHD:
      return true;
    default:
      return false;
  }
}

const char* allowedDecoders() {
  static const std::string names = [] {
    std::string all;
    void* place = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&place)) {
      if (!av_codec_is_decoder(codec) || (!isVideoCodecAllowed(codec->id) && !isSoundAllowed(codec->id))) continue;
      all += (all.empty() ? "" : ",") + std::string(codec->name);
    }
    return all;
  }();
  return names.c_str();
}

}  // namespace tlx::photolibrary

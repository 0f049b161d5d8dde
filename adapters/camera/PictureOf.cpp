#include "adapters/camera/PictureOf.h"

#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gst/video/video.h>

namespace tlx::camera {
namespace {

/// A picture that can be read while this lives.
class Mapped {
 public:
  explicit Mapped(GstSample& sample) : sample_(gst_sample_ref(&sample)) {
    GstVideoInfo info;
    GstCaps* const caps = gst_sample_get_caps(&sample);
    GstBuffer* const buffer = gst_sample_get_buffer(&sample);
    mapped_ = caps && buffer && gst_video_info_from_caps(&info, caps) &&
              gst_video_frame_map(&frame_, &info, buffer, GST_MAP_READ);
  }
  ~Mapped() {
    if (mapped_) gst_video_frame_unmap(&frame_);
  }
  Mapped(const Mapped&) = delete;
  Mapped& operator=(const Mapped&) = delete;

  explicit operator bool() const { return mapped_; }
  GstVideoFrame& frame() { return frame_; }

 private:
  Gst<GstSample> sample_;
  GstVideoFrame frame_{};
  bool mapped_ = false;
};

/// Tags name the turn that makes the picture stand upright, and so does our numbering.
UIImageOrientation orientationNamed(const std::string& name) {
  static const std::map<std::string, UIImageOrientation> known{
      {"rotate-0", UIImageOrientationUp},
      {"rotate-90", UIImageOrientationRight},
      {"rotate-180", UIImageOrientationDown},
      {"rotate-270", UIImageOrientationLeft},
      {"flip-rotate-0", UIImageOrientationUpMirrored},
      {"flip-rotate-90", UIImageOrientationRightMirrored},
      {"flip-rotate-180", UIImageOrientationDownMirrored},
      {"flip-rotate-270", UIImageOrientationLeftMirrored},
  };
  const auto found = known.find(name);
  return found == known.end() ? UIImageOrientationUp : found->second;
}

UIImageOrientation orientationIn(GstElement& pipeline) {
  const auto sink = elementIn(pipeline, "whole");
  if (!sink) return UIImageOrientationUp;
  const Gst<GstPad> pad(gst_element_get_static_pad(sink.get(), "sink"));
  UIImageOrientation orientation = UIImageOrientationUp;
  for (guint i = 0;; ++i) {
    const Gst<GstEvent> event(gst_pad_get_sticky_event(pad.get(), GST_EVENT_TAG, i));
    if (!event) return orientation;
    GstTagList* tags = nullptr;
    gst_event_parse_tag(event.get(), &tags);
    gchar* name = nullptr;
    if (tags && gst_tag_list_get_string(tags, GST_TAG_IMAGE_ORIENTATION, &name)) orientation = orientationNamed(name);
    g_free(name);
  }
}

/// A picture on its side, put upright: its rows become columns, from the left, or from the right and bottom up.
std::vector<std::uint8_t> transposed(const std::vector<std::uint8_t>& pixels, std::size_t width, std::size_t height,
                                     bool fromTheRight) {
  std::vector<std::uint8_t> turned(pixels.size());
  for (std::size_t y = 0; y < width; ++y) {
    for (std::size_t x = 0; x < height; ++x) {
      const std::size_t row = fromTheRight ? height - 1 - x : x, column = fromTheRight ? width - 1 - y : y;
      std::memcpy(turned.data() + 4 * (y * height + x), pixels.data() + 4 * (row * width + column), 4);
    }
  }
  return turned;
}

}  // namespace

std::shared_ptr<const CGImage> mappedPicture(GstSample& sample) {
  const auto mapped = std::make_shared<Mapped>(sample);
  if (!*mapped || GST_VIDEO_FRAME_FORMAT(&mapped->frame()) != GST_VIDEO_FORMAT_RGBA) return nullptr;
  GstVideoFrame& frame = mapped->frame();
  return CGImage::createWithOwner(static_cast<std::size_t>(GST_VIDEO_FRAME_WIDTH(&frame)),
                                  static_cast<std::size_t>(GST_VIDEO_FRAME_HEIGHT(&frame)),
                                  static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0)),
                                  static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)), mapped);
}

std::shared_ptr<const UIImage> uprightablePicture(GstSample& sample, GstElement& pipeline) {
  Mapped mapped(sample);
  if (!mapped) return nullptr;
  const int width = GST_VIDEO_FRAME_WIDTH(&mapped.frame()), height = GST_VIDEO_FRAME_HEIGHT(&mapped.frame());
  GstVideoInfo wanted;
  gst_video_info_set_format(&wanted, GST_VIDEO_FORMAT_RGBA, static_cast<guint>(width), static_cast<guint>(height));
  wanted.fps_n = mapped.frame().info.fps_n;
  wanted.fps_d = mapped.frame().info.fps_d;
  std::vector<std::uint8_t> pixels(GST_VIDEO_INFO_SIZE(&wanted));
  GstBuffer* const target = gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_NO_SHARE, pixels.data(), pixels.size(), 0,
                                                        pixels.size(), nullptr, nullptr);
  GstVideoFrame into;
  GstVideoConverter* const converter = gst_video_converter_new(&mapped.frame().info, &wanted, nullptr);
  const bool ready = converter && gst_video_frame_map(&into, &wanted, target, GST_MAP_WRITE);
  if (ready) {
    gst_video_converter_frame(converter, &mapped.frame(), &into);
    gst_video_frame_unmap(&into);
  }
  if (converter) gst_video_converter_free(converter);
  gst_buffer_unref(target);
  if (!ready) return nullptr;
  auto wide = static_cast<std::size_t>(width), high = static_cast<std::size_t>(height);
  UIImageOrientation orientation = orientationIn(pipeline);
  if (orientation == UIImageOrientationLeftMirrored || orientation == UIImageOrientationRightMirrored) {
    pixels = transposed(pixels, wide, high, orientation == UIImageOrientationRightMirrored);
    std::swap(wide, high);
    orientation = UIImageOrientationUp;
  }
  return std::make_shared<const UIImage>(CGImage::create(wide, high, std::move(pixels)), 1.0, orientation);
}

}  // namespace tlx::camera

#include "adapters/camera/CameraFormat.h"

#include <algorithm>
#include <optional>
#include <string>
#include <tuple>

namespace tlx::camera {
namespace {

constexpr int kMovieLongSide = 1920, kMovieShortSide = 1080;
constexpr double kSmooth = 24;  // pictures a second
constexpr double kAimable = 10;
constexpr double kEnough = 30;

struct Format {
  int width = 0, height = 0;
  double rate = 0;  // pictures a second
  bool raw = false;
};

double rateOf(const GValue* value) {
  const int below = gst_value_get_fraction_denominator(value);
  return below > 0 ? static_cast<double>(gst_value_get_fraction_numerator(value)) / below : 0;
}

/// The largest of what a field may be.
int largestInt(const GstStructure* structure, const char* field) {
  const GValue* const value = gst_structure_get_value(structure, field);
  if (!value) return 0;
  if (G_VALUE_HOLDS_INT(value)) return g_value_get_int(value);
  if (GST_VALUE_HOLDS_INT_RANGE(value)) return gst_value_get_int_range_max(value);
  int largest = 0;
  if (GST_VALUE_HOLDS_LIST(value)) {
    for (guint i = 0; i < gst_value_list_get_size(value); ++i) {
      const GValue* const item = gst_value_list_get_value(value, i);
      if (G_VALUE_HOLDS_INT(item)) largest = std::max(largest, g_value_get_int(item));
    }
  }
  return largest;
}

/// The one that is enough, or else the nearest below.
double bestRate(const GstStructure* structure) {
  const GValue* const value = gst_structure_get_value(structure, "framerate");
  if (!value) return kEnough;
  if (GST_VALUE_HOLDS_FRACTION(value)) return rateOf(value);
  if (GST_VALUE_HOLDS_FRACTION_RANGE(value)) return std::min(rateOf(gst_value_get_fraction_range_max(value)), kEnough);
  double best = 0;
  if (GST_VALUE_HOLDS_LIST(value)) {
    for (guint i = 0; i < gst_value_list_get_size(value); ++i) {
      const double rate = rateOf(gst_value_list_get_value(value, i));
      const bool nearer = best < kEnough ? rate > best : rate >= kEnough && rate < best;
      if (nearer) best = rate;
    }
  }
  return best;
}

auto rankForPhoto(const Format& format) {
  return std::tuple(static_cast<long>(format.width) * format.height, format.rate >= kAimable, format.raw,
                    std::min(format.rate, kEnough));
}

auto rankForMovie(const Format& format) {
  const bool fits = std::max(format.width, format.height) <= kMovieLongSide &&
                    std::min(format.width, format.height) <= kMovieShortSide;
  const long area = static_cast<long>(format.width) * format.height;
  return std::tuple(fits, fits && format.rate >= kSmooth, fits ? area : -area, std::min(format.rate, kEnough),
                    format.raw);
}

}  // namespace

Gst<GstCaps> chooseFormat(const GstCaps* offered, CaptureKind kind) {
  std::optional<Format> best;
  guint at = 0;
  for (guint i = 0; offered && !gst_caps_is_any(offered) && i < gst_caps_get_size(offered); ++i) {
    const GstStructure* const structure = gst_caps_get_structure(offered, i);
    const GstCapsFeatures* const features = gst_caps_get_features(offered, i);
    const bool raw = gst_structure_has_name(structure, "video/x-raw");
    if (!raw && !gst_structure_has_name(structure, "image/jpeg")) continue;
    if (features && !gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY)) continue;
    const Format format{largestInt(structure, "width"), largestInt(structure, "height"), bestRate(structure), raw};
    if (format.width < 1 || format.height < 1) continue;
    const bool better = !best || (kind == CaptureKind::Photo ? rankForPhoto(format) > rankForPhoto(*best)
                                                             : rankForMovie(format) > rankForMovie(*best));
    if (better) {
      best = format;
      at = i;
    }
  }
  if (!best) return nullptr;
  GstStructure* const chosen = gst_structure_copy(gst_caps_get_structure(offered, at));
  gst_structure_set(chosen, "width", G_TYPE_INT, best->width, "height", G_TYPE_INT, best->height, nullptr);
  if (gst_structure_has_field(chosen, "framerate")) {
    int above = 0, below = 1;
    gst_util_double_to_fraction(best->rate, &above, &below);
    gst_structure_fixate_field_nearest_fraction(chosen, "framerate", above, below);
  }
  // What is still open, the layout of the pixels above all, is the elements' to settle.
  return Gst<GstCaps>(gst_caps_new_full(chosen, nullptr));
}

}  // namespace tlx::camera

#include "adapters/camera/GstObjects.h"

#include <mutex>
#include <utility>

namespace tlx::camera {

void startGstreamer() {
  static std::once_flag started;
  std::call_once(started, [] { gst_init(nullptr, nullptr); });
}

NSError cameraError(CameraErrorCode code, std::string text) {
  return {kCameraErrorDomain, code, std::move(text)};
}

NSError cameraError(GstMessage& message, CameraErrorCode otherwise) {
  GError* error = nullptr;
  gchar* details = nullptr;
  gst_message_parse_error(&message, &error, &details);
  std::string text = error ? error->message : "unknown";
  if (details) text += std::string(" (") + details + ")";
  CameraErrorCode code = otherwise;
  if (error && error->domain == GST_RESOURCE_ERROR) {
    switch (error->code) {
      case GST_RESOURCE_ERROR_BUSY:
        code = CameraErrorBusy;
        break;
      case GST_RESOURCE_ERROR_NO_SPACE_LEFT:
        code = CameraErrorNoSpace;
        break;
      case GST_RESOURCE_ERROR_NOT_AUTHORIZED:
        code = CameraErrorNotAllowed;
        break;
      default:
        if (text.find("usy") != std::string::npos) code = CameraErrorBusy;
        break;
    }
  }
  g_clear_error(&error);
  g_free(details);
  return cameraError(code, std::move(text));
}

GstClockTime takenAt(GstSample& sample, GstElement& pipeline) {
  GstBuffer* const buffer = gst_sample_get_buffer(&sample);
  const GstSegment* const segment = gst_sample_get_segment(&sample);
  if (!buffer || !segment || !GST_BUFFER_PTS_IS_VALID(buffer)) return GST_CLOCK_TIME_NONE;
  const GstClockTime running = gst_segment_to_running_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
  return GST_CLOCK_TIME_IS_VALID(running) ? running + gst_element_get_base_time(&pipeline) : GST_CLOCK_TIME_NONE;
}

void useSystemClock(GstElement& pipeline) {
  GstClock* const clock = gst_system_clock_obtain();
  gst_pipeline_use_clock(GST_PIPELINE(&pipeline), clock);
  gst_object_unref(clock);
}

}  // namespace tlx::camera

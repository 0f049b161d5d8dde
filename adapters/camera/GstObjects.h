#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <gst/gst.h>

#include "tlx/platform/avfoundation/CameraPort.h"

namespace tlx::camera {

struct GstRelease {
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
  void operator()(GstSample* sample) const { gst_sample_unref(sample); }
  void operator()(GstElement* element) const { gst_object_unref(element); }
  void operator()(GstDevice* device) const { gst_object_unref(device); }
  void operator()(GstDeviceMonitor* monitor) const { gst_object_unref(monitor); }
  void operator()(GstBus* bus) const { gst_object_unref(bus); }
  void operator()(GstPad* pad) const { gst_object_unref(pad); }
  void operator()(GstEvent* event) const { gst_event_unref(event); }
};
template <class Object>
using Gst = std::unique_ptr<Object, GstRelease>;

/// A reference of one's own to an element in a bin; nothing when there is none of that name.
inline Gst<GstElement> elementIn(GstElement& bin, const char* name) {
  return Gst<GstElement>(gst_bin_get_by_name(GST_BIN(&bin), name));
}

/// Starts the library up, once; finding the plugins may take seconds the first time.
void startGstreamer();

NSError cameraError(CameraErrorCode code, std::string text);
/// What an error message on a bus means to whoever looks through the camera.
NSError cameraError(GstMessage& message, CameraErrorCode otherwise);

/// A moment on the system's clock, in nanoseconds, which all pipelines here run by: when the sample's picture or sound
/// was taken. GST_CLOCK_TIME_NONE when it does not say.
GstClockTime takenAt(GstSample& sample, GstElement& pipeline);

/// Lets the pipeline run by the system's clock.
void useSystemClock(GstElement& pipeline);

}  // namespace tlx::camera

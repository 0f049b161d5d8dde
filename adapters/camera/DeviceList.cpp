#include "adapters/camera/DeviceList.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <set>
#include <utility>

#include <unistd.h>

namespace tlx::camera {
namespace {

struct TestCamera {
  const char* identifier;
  const char* name;
  CaptureDevice::Facing facing;
  const char* pictures;
};
constexpr std::array kTestCameras{
    TestCamera{"test:back", "Test camera", CaptureDevice::Facing::Back, "videotestsrc is-live=true pattern=smpte"},
    TestCamera{"test:front", "Test camera, front", CaptureDevice::Facing::Front,
               "videotestsrc is-live=true pattern=ball"},
};
/// What a middling camera offers: large pictures slowly, small ones fast.
constexpr char kTestFormats[] =
    "video/x-raw,format=I420,width=2048,height=1536,framerate=15/1;"
    "video/x-raw,format=I420,width=1280,height=720,framerate=30/1";

GstElement* parsed(const std::string& description) {
  GError* error = nullptr;
  GstElement* const bin = gst_parse_bin_from_description(description.c_str(), TRUE, &error);
  g_clear_error(&error);
  return bin;
}

std::string property(GstDevice& device, const char* name) {
  GstStructure* const properties = gst_device_get_properties(&device);
  std::string text;
  if (properties) {
    if (const char* value = gst_structure_get_string(properties, name)) text = value;
    gst_structure_free(properties);
  }
  return text;
}

std::string nameOf(GstDevice& device) {
  gchar* const shown = gst_device_get_display_name(&device);
  std::string name = shown ? shown : "Camera";
  g_free(shown);
  return name;
}

CaptureDevice::Facing facingOf(GstDevice& device, const std::string& name) {
  std::string words =
      property(device, "api.libcamera.location") + " " + property(device, "device.location") + " " + name;
  std::transform(words.begin(), words.end(), words.begin(), [](unsigned char c) { return std::tolower(c); });
  if (words.find("front") != std::string::npos) return CaptureDevice::Facing::Front;
  if (words.find("back") != std::string::npos || words.find("rear") != std::string::npos)
    return CaptureDevice::Facing::Back;
  return CaptureDevice::Facing::Unknown;
}

/// The same camera is listed by every service that knows it; where it lies in the machine tells them for one.
std::string pathOf(GstDevice& device) {
  for (const char* name : {"device.path", "api.v4l2.path", "object.path"}) {
    std::string path = property(device, name);
    if (path.starts_with("v4l2:")) path.erase(0, 5);
    if (!path.empty()) return path;
  }
  return nameOf(device);
}

/// libcamera names a USB camera by where it is plugged in and what it is, as in "…-046d:0825". The kernel's own driver
/// lists those as well, and knows them better.
bool isPlugged(const std::string& name) {
  if (name.size() < 10) return false;
  const std::string end = name.substr(name.size() - 10);
  return end[0] == '-' && end[5] == ':' && end.find_first_not_of("-:0123456789abcdef") == std::string::npos;
}

/// Takes over the connection, which goes with the source.
GstElement* makeRemoteSource(int file) {
  if (file < 0) return nullptr;
  GstElement* const source = gst_element_factory_make("pipewiresrc", nullptr);
  if (!source) {
    ::close(file);
    return nullptr;
  }
  g_object_set(source, "fd", file, nullptr);
  g_object_set_data_full(G_OBJECT(source), "connection", GINT_TO_POINTER(file),
                         [](gpointer data) { ::close(GPOINTER_TO_INT(data)); });
  return source;
}

template <class Visit>
void forEachDevice(GstDeviceMonitor& monitor, const char* deviceClass, Visit visit) {
  GList* const devices = gst_device_monitor_get_devices(&monitor);
  for (GList* each = devices; each; each = each->next) {
    auto* const device = GST_DEVICE(each->data);
    if (gst_device_has_classes(device, deviceClass)) visit(*device);
  }
  g_list_free_full(devices, gst_object_unref);
}

}  // namespace

DeviceList::DeviceList(GlibLoop& loop, const Options& options, std::function<void()> changed) : options_(options) {
  if (options_.test || options_.openRemote) return;
  monitor_.reset(gst_device_monitor_new());
  gst_device_monitor_add_filter(monitor_.get(), "Video/Source", nullptr);
  gst_device_monitor_add_filter(monitor_.get(), "Audio/Source", nullptr);
  const Gst<GstBus> bus(gst_device_monitor_get_bus(monitor_.get()));
  watch_ = std::make_unique<GlibLoop::BusWatch>(loop, *bus, [changed = std::move(changed)](GstMessage& message) {
    const auto type = GST_MESSAGE_TYPE(&message);
    if (type == GST_MESSAGE_DEVICE_ADDED || type == GST_MESSAGE_DEVICE_REMOVED) changed();
  });
  gst_device_monitor_start(monitor_.get());
}

DeviceList::~DeviceList() {
  if (monitor_) gst_device_monitor_stop(monitor_.get());
}

std::vector<Camera> DeviceList::testCameras() const {
  std::vector<Camera> cameras;
  for (const TestCamera& each : kTestCameras) {
    const std::string pictures = options_.testPictures.empty() ? each.pictures : options_.testPictures;
    cameras.push_back({{each.identifier, each.name, each.facing},
                       Gst<GstCaps>(gst_caps_from_string(kTestFormats)),
                       [pictures] { return parsed(pictures); }});
  }
  return cameras;
}

std::vector<Camera> DeviceList::cameras() const {
  if (options_.test) return testCameras();
  std::vector<Camera> cameras;
  if (options_.openRemote) {
    cameras.push_back({{"portal", "Camera", CaptureDevice::Facing::Unknown}, nullptr, [open = options_.openRemote] {
                         return makeRemoteSource(open());
                       }});
    return cameras;
  }
  std::set<std::string> listed;
  // libcamera knows the sensors of boards and phones best, the kernel itself the rest; PipeWire lists both again.
  for (const char* preferred : {"libcamera", "v4l2", ""}) {
    forEachDevice(*monitor_, "Video/Source", [&](GstDevice& device) {
      const std::string type = G_OBJECT_TYPE_NAME(&device);
      std::string lower = type;
      std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
      if (lower.find(preferred) == std::string::npos) return;
      if (lower.find("libcamera") != std::string::npos && isPlugged(nameOf(device))) return;
      if (property(device, "device.class") == "monitor" || !listed.insert(pathOf(device)).second) return;
      const std::string name = nameOf(device);
      const std::shared_ptr<GstDevice> kept(GST_DEVICE(gst_object_ref(&device)), GstRelease());
      cameras.push_back({{pathOf(device), name, facingOf(device, name)},
                         Gst<GstCaps>(gst_device_get_caps(&device)),
                         [kept] { return gst_device_create_element(kept.get(), nullptr); }});
    });
  }
  std::stable_partition(cameras.begin(), cameras.end(),
                        [](const Camera& camera) { return camera.device.facing != CaptureDevice::Facing::Front; });
  return cameras;
}

GstElement* DeviceList::makeMicrophone() const {
  if (options_.test) {
    return options_.testSound ? parsed("audiotestsrc is-live=true wave=ticks volume=0.3") : nullptr;
  }
  if (!monitor_) return nullptr;
  GstElement* chosen = nullptr;
  bool byDefault = false;
  forEachDevice(*monitor_, "Audio/Source", [&](GstDevice& device) {
    if (property(device, "device.class") == "monitor") return;
    gboolean isDefault = FALSE;
    if (GstStructure* const properties = gst_device_get_properties(&device)) {
      gst_structure_get_boolean(properties, "is-default", &isDefault);
      gst_structure_free(properties);
    }
    if (byDefault || (chosen && !isDefault)) return;
    if (chosen) gst_object_unref(gst_object_ref_sink(chosen));
    chosen = gst_device_create_element(&device, nullptr);
    byDefault = isDefault;
  });
  return chosen;
}

}  // namespace tlx::camera

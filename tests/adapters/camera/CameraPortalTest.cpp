#include <atomic>
#include <future>
#include <string>

#include <fcntl.h>
#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "adapters/camera/CameraPortal.h"
#include "adapters/camera/GlibLoop.h"
#include "adapters/camera/GstCamera.h"
#include "adapters/memory/MemoryPlatform.h"

namespace tlx::camera {
namespace {

/// The desktop's camera service, on a bus of the test's own.
class Desktop {
 public:
  explicit Desktop(guint32 response) : response_(response), bus_(g_test_dbus_new(G_TEST_DBUS_NONE)) {
    g_test_dbus_up(bus_);
    run([this] {
      const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                           G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
      connection_ = g_dbus_connection_new_for_address_sync(address(), flags, nullptr, nullptr, nullptr);
      static constexpr char kXml[] =
          "<node><interface name='org.freedesktop.portal.Camera'>"
          "<method name='AccessCamera'><arg type='a{sv}' direction='in'/><arg type='o' direction='out'/></method>"
          "<method name='OpenPipeWireRemote'><arg type='a{sv}' direction='in'/><arg type='h' direction='out'/></method>"
          "</interface></node>";
      node_ = g_dbus_node_info_new_for_xml(kXml, nullptr);
      static const GDBusInterfaceVTable table = {&Desktop::called, nullptr, nullptr, {}};
      g_dbus_connection_register_object(connection_, "/org/freedesktop/portal/desktop", node_->interfaces[0], &table,
                                        this, nullptr, nullptr);
      g_variant_unref(g_dbus_connection_call_sync(connection_, "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                                                  "RequestName",
                                                  g_variant_new("(su)", "org.freedesktop.portal.Desktop", 0), nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    });
  }
  ~Desktop() {
    run([this] {
      g_object_unref(connection_);
      g_dbus_node_info_unref(node_);
    });
    g_test_dbus_stop(bus_);
    g_object_unref(bus_);
  }
  const char* address() const { return g_test_dbus_get_bus_address(bus_); }

  std::atomic<int> asked = 0, opened = 0;

 private:
  void run(const std::function<void()>& step) {
    std::promise<void> done;
    loop_.post([&] {
      step();
      done.set_value();
    });
    done.get_future().wait();
  }
  static void called(GDBusConnection* connection, const gchar* sender, const gchar*, const gchar*, const gchar* method,
                     GVariant* parameters, GDBusMethodInvocation* invocation, gpointer self) {
    auto& desktop = *static_cast<Desktop*>(self);
    if (std::string(method) == "AccessCamera") {
      ++desktop.asked;
      GVariant* options = g_variant_get_child_value(parameters, 0);
      const gchar* token = "";
      g_variant_lookup(options, "handle_token", "&s", &token);
      std::string name = sender + 1;
      for (char& c : name) c = c == '.' ? '_' : c;
      const std::string request = "/org/freedesktop/portal/desktop/request/" + name + "/" + token;
      g_variant_unref(options);
      g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", request.c_str()));
      g_dbus_connection_emit_signal(connection, sender, request.c_str(), "org.freedesktop.portal.Request", "Response",
                                    g_variant_new("(ua{sv})", desktop.response_, nullptr), nullptr);
    } else {
      ++desktop.opened;
      const int file = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
      GUnixFDList* const files = g_unix_fd_list_new_from_array(&file, 1);
      g_dbus_method_invocation_return_value_with_unix_fd_list(invocation, g_variant_new("(h)", 0), files);
      g_object_unref(files);
    }
  }

  const guint32 response_;
  GTestDBus* bus_;
  GDBusConnection* connection_ = nullptr;
  GDBusNodeInfo* node_ = nullptr;
  GlibLoop loop_;
};

TEST(CameraPortal, TheDesktopAsksAndHandsTheCamerasOut) {
  const struct {
    const char* why;
    guint32 response;
    bool running, granted;
  } rows[] = {
      {"allowed", 0, true, true},
      {"refused", 1, true, false},
      {"ended otherwise", 2, true, false},
      {"no service answers", 0, false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    memory::MemoryPlatform platform;
    std::optional<Desktop> desktop;
    GstCamera::Options options;
    options.portalBus = "unix:path=/nowhere";
    if (row.running) options.portalBus = desktop.emplace(row.response).address();
    GstCamera camera(options, platform.loop);
    EXPECT_EQ(camera.authorizationStatus(), AVAuthorizationStatusNotDetermined);
    int answers = 0;
    bool granted = !row.granted;
    camera.requestAccess([&](bool allowed) {
      ++answers;
      granted = allowed;
    });
    ASSERT_TRUE(platform.loop.runUntil([&] { return answers > 0; }));
    EXPECT_EQ(granted, row.granted);
    EXPECT_EQ(camera.authorizationStatus(),
              row.granted ? AVAuthorizationStatusAuthorized : AVAuthorizationStatusDenied);
    if (desktop) {
      EXPECT_EQ(desktop->asked, 1);
      const int file = CameraPortal::openRemote(desktop->address());
      EXPECT_GE(file, 0);
      EXPECT_EQ(desktop->opened, 1) << "for each look through the cameras, not for the question";
      ::close(file);
    }
    EXPECT_EQ(answers, 1);
  }
}

}  // namespace
}  // namespace tlx::camera

#include "adapters/camera/CameraPortal.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

#include <gio/gunixfdlist.h>
#include <unistd.h>

namespace tlx::camera {
namespace {

constexpr char kService[] = "org.freedesktop.portal.Desktop";
constexpr char kObject[] = "/org/freedesktop/portal/desktop";
constexpr char kInterface[] = "org.freedesktop.portal.Camera";
constexpr char kRequest[] = "org.freedesktop.portal.Request";
constexpr char kToken[] = "tlxmediapicker";

struct Release {
  void operator()(GVariant* value) const { g_variant_unref(value); }
  void operator()(GUnixFDList* list) const { g_object_unref(list); }
};

/// A connection of its own to the bus; nothing when there is none.
GDBusConnection* connect(const std::string& address) {
  gchar* const own = address.empty() ? g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr) : nullptr;
  if (address.empty() && !own) return nullptr;
  const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  GDBusConnection* const bus =
      g_dbus_connection_new_for_address_sync(own ? own : address.c_str(), flags, nullptr, nullptr, nullptr);
  g_free(own);
  return bus;
}

}  // namespace

bool CameraPortal::isNeeded() {
  return ::access("/.flatpak-info", F_OK) == 0 || std::getenv("SNAP") != nullptr;
}

CameraPortal::~CameraPortal() {
  end(false);
  if (bus_) g_object_unref(bus_);
}

void CameraPortal::ask(Answer answer) {
  answer_ = std::move(answer);
  if (!bus_) bus_ = connect(address_);
  if (!bus_) return end(false);
  // The request's name is known before it is made, so that an answer cannot come before anyone listens.
  std::string sender = g_dbus_connection_get_unique_name(bus_);
  sender.erase(0, 1);
  std::replace(sender.begin(), sender.end(), '.', '_');
  const std::string request = std::string(kObject) + "/request/" + sender + "/" + kToken;
  const GDBusSignalCallback heard = [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                                       GVariant* values, gpointer self) {
    guint32 response = 2;
    g_variant_get(values, "(u@a{sv})", &response, nullptr);
    static_cast<CameraPortal*>(self)->end(response == 0);
  };
  subscription_ = g_dbus_connection_signal_subscribe(bus_, kService, kRequest, "Response", request.c_str(), nullptr,
                                                     G_DBUS_SIGNAL_FLAGS_NONE, heard, this, nullptr);
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(kToken));
  const std::unique_ptr<GVariant, Release> made(g_dbus_connection_call_sync(
      bus_, kService, kObject, kInterface, "AccessCamera", g_variant_new("(a{sv})", &options), G_VARIANT_TYPE("(o)"),
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  if (!made) end(false);
}

int CameraPortal::openRemote(const std::string& address) {
  GDBusConnection* const bus = connect(address);
  if (!bus) return -1;
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  GUnixFDList* list = nullptr;
  const std::unique_ptr<GVariant, Release> opened(g_dbus_connection_call_with_unix_fd_list_sync(
      bus, kService, kObject, kInterface, "OpenPipeWireRemote", g_variant_new("(a{sv})", &options),
      G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &list, nullptr, nullptr));
  g_object_unref(bus);
  const std::unique_ptr<GUnixFDList, Release> files(list);
  if (!opened || !files) return -1;
  gint32 at = 0;
  g_variant_get(opened.get(), "(h)", &at);
  return g_unix_fd_list_get(files.get(), at, nullptr);
}

void CameraPortal::end(bool allowed) {
  if (subscription_ != 0) g_dbus_connection_signal_unsubscribe(bus_, std::exchange(subscription_, 0u));
  if (const auto answer = std::exchange(answer_, nullptr)) answer(allowed);
}

}  // namespace tlx::camera

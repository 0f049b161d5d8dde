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

}  // namespace

bool CameraPortal::isNeeded() {
  return ::access("/.flatpak-info", F_OK) == 0 || std::getenv("SNAP") != nullptr;
}

CameraPortal::~CameraPortal() {
  end(-1);
  if (bus_) g_object_unref(bus_);
}

bool CameraPortal::connect() {
  if (bus_) return true;
  GError* error = nullptr;
  gchar* const found =
      address_.empty() ? g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error) : nullptr;
  if (!address_.empty() || found) {
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    bus_ = g_dbus_connection_new_for_address_sync(found ? found : address_.c_str(), flags, nullptr, nullptr,
                                                  found ? &error : nullptr);
  }
  g_free(found);
  g_clear_error(&error);
  return bus_ != nullptr;
}

void CameraPortal::ask(Answer answer) {
  answer_ = std::move(answer);
  if (!connect()) return end(-1);
  // The request's name is known before it is made, so that an answer cannot come before anyone listens.
  std::string sender = g_dbus_connection_get_unique_name(bus_);
  sender.erase(0, 1);
  std::replace(sender.begin(), sender.end(), '.', '_');
  const std::string request = std::string(kObject) + "/request/" + sender + "/" + kToken;
  const GDBusSignalCallback heard = [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                                       GVariant* values, gpointer self) {
    guint32 response = 2;
    g_variant_get(values, "(u@a{sv})", &response, nullptr);
    static_cast<CameraPortal*>(self)->responded(response);
  };
  subscription_ = g_dbus_connection_signal_subscribe(bus_, kService, kRequest, "Response", request.c_str(), nullptr,
                                                     G_DBUS_SIGNAL_FLAGS_NONE, heard, this, nullptr);
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(kToken));
  const std::unique_ptr<GVariant, Release> made(g_dbus_connection_call_sync(
      bus_, kService, kObject, kInterface, "AccessCamera", g_variant_new("(a{sv})", &options), G_VARIANT_TYPE("(o)"),
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  if (!made) end(-1);
}

void CameraPortal::responded(guint32 response) {
  end(response == 0 ? openRemote() : -1);
}

int CameraPortal::openRemote() {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  GUnixFDList* list = nullptr;
  const std::unique_ptr<GVariant, Release> opened(g_dbus_connection_call_with_unix_fd_list_sync(
      bus_, kService, kObject, kInterface, "OpenPipeWireRemote", g_variant_new("(a{sv})", &options),
      G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &list, nullptr, nullptr));
  const std::unique_ptr<GUnixFDList, Release> files(list);
  if (!opened || !files) return -1;
  gint32 at = 0;
  g_variant_get(opened.get(), "(h)", &at);
  return g_unix_fd_list_get(files.get(), at, nullptr);
}

void CameraPortal::end(int file) {
  if (subscription_ != 0) g_dbus_connection_signal_unsubscribe(bus_, std::exchange(subscription_, 0u));
  if (const auto answer = std::exchange(answer_, nullptr)) {
    answer(file);
  } else if (file >= 0) {
    ::close(file);
  }
}

}  // namespace tlx::camera

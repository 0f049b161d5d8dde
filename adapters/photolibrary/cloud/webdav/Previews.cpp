#include "adapters/photolibrary/cloud/webdav/Previews.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <memory>
#include <utility>
#include <variant>

#include "adapters/photolibrary/cloud/webdav/RemoteHead.h"

namespace tlx::photolibrary {
namespace {

constexpr std::size_t kLargestAnswer = 8 << 20;
constexpr char kDoor[] = "/remote.php/";

/// A small answer, held whole.
class SmallReceiver final : public HttpReceiver {
 public:
  explicit SmallReceiver(std::string& bytes) : bytes_(bytes) {}
  std::optional<NSError> take(const char* bytes, std::size_t count) override {
    if (bytes_.size() + count > kLargestAnswer) return cloudError(CloudErrorServer, "The answer has no end.");
    bytes_.append(bytes, count);
    return std::nullopt;
  }

 private:
  std::string& bytes_;
};

/// The address of a file as the preview service names it: below the person's own top folder.
std::string ownPath(const std::string& path) {
  std::string below = path.substr(path.find(kDoor) + sizeof kDoor - 1);
  const auto skip = [&](int parts) {
    std::size_t at = 0;
    for (int i = 0; i < parts && at != std::string::npos; ++i) at = below.find('/', at + (i > 0 ? 1 : 0));
    return at == std::string::npos ? std::string() : below.substr(at);
  };
  return below.starts_with("dav/files/") ? skip(3) : skip(1);
}

}  // namespace

bool Previews::hasService(const std::stop_token& stop) {
  const std::lock_guard lock(mutex_);
  if (service_ != Service::Unasked) return service_ == Service::Present;
  const std::string& path = server_.address().path + "/";
  const auto door = path.find(kDoor);
  if (door == std::string::npos) {
    service_ = Service::None;
    return false;
  }
  std::string answer;
  SmallReceiver receiver(answer);
  HttpRequest request;
  request.headers = {{"OCS-APIRequest", "true"}};
  request.query = "?format=json";
  const auto failed =
      server_.exchange(request, path.substr(0, door) + "/ocs/v2.php/cloud/capabilities", receiver, stop);
  // A server that cannot be reached now may be asked again.
  if (failed && failed->code != CloudErrorNotFound && failed->code != CloudErrorServer) return false;
  const QJsonObject said = QJsonDocument::fromJson(QByteArray::fromStdString(answer)).object();
  const bool present = !failed && !said[QLatin1String("ocs")]
                                       .toObject()[QLatin1String("data")]
                                       .toObject()[QLatin1String("capabilities")]
                                       .toObject()
                                       .isEmpty();
  service_ = present ? Service::Present : Service::None;
  return present;
}

std::optional<Original> Previews::make(const std::string& name, const std::function<bool(std::string& bytes)>& bring,
                                       const std::stop_token& stop) const {
  while (!stop.stop_requested()) {
    if (auto made = cache_.take(name, OriginalCache::kAnySize)) return made;
    auto begun = cache_.begin(name, kHeadBytes);
    if (std::holds_alternative<NSError>(begun)) return std::nullopt;
    auto* const draft = std::get_if<std::unique_ptr<OriginalCache::Draft>>(&begun);
    if (!draft) {
      cache_.waitForOthers(std::get<OriginalCache::Busy>(begun), stop);
      continue;
    }
    std::string bytes;
    if (!bring(bytes) || bytes.empty() || (*draft)->startOver({}) || (*draft)->append(bytes.data(), bytes.size())) {
      (*draft)->discard();
      return std::nullopt;
    }
    auto finished = (*draft)->finish();
    if (auto* original = std::get_if<Original>(&finished)) return std::move(*original);
    return std::nullopt;
  }
  return std::nullopt;
}

std::optional<Preview> Previews::fetch(const RemoteFile& file, MediaFormat format, int pixels,
                                       const std::stop_token& stop) {
  if (hasService(stop)) {
    int side = 256;
    while (side < pixels && side < 1024) side *= 2;
    const std::string size = std::to_string(side);
    auto made = make(
        file.copy + ".preview" + size,
        [&](std::string& bytes) {
          HttpRequest request;
          request.query = "?file=" + escapedPath(ownPath(file.path)) + "&x=" + size + "&y=" + size + "&a=1&forceIcon=0";
          SmallReceiver receiver(bytes);
          const std::string top = file.path.substr(0, file.path.find(kDoor));
          return !server_.exchange(std::move(request), top + "/index.php/core/preview.png", receiver, stop);
        },
        stop);
    if (made) return Preview{*std::move(made), false};
  }
  if (isVideo(format)) return std::nullopt;
  auto made = make(
      file.copy + ".head",
      [&](std::string& bytes) {
        HttpHead head;
        return !server_.read(file.path, 0, std::min(file.bytes, kHeadBytes), bytes, head, stop);
      },
      stop);
  if (!made) return std::nullopt;
  return Preview{*std::move(made), file.bytes > kHeadBytes};
}

}  // namespace tlx::photolibrary

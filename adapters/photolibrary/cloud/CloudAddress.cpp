#include "adapters/photolibrary/cloud/CloudAddress.h"

#include <QHostAddress>
#include <QString>
#include <QUrl>
#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace tlx::photolibrary {
namespace {

bool isThisMachine(const QString& host) {
  if (host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0) return true;
  const QHostAddress address(host);
  return !address.isNull() && address.isLoopback();
}

int digitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// One part of a path. Nothing when the escapes are wrong or what they stand for is no name.
std::optional<std::string> unescaped(std::string_view part) {
  std::string name;
  for (std::size_t i = 0; i < part.size(); ++i) {
    if (part[i] != '%') {
      name += part[i];
      continue;
    }
    if (i + 2 >= part.size()) return std::nullopt;
    const int high = digitOf(part[i + 1]), low = digitOf(part[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    name += static_cast<char>(high * 16 + low);
    i += 2;
  }
  const bool isName =
      name != "." && name != ".." && name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
  return isName ? std::optional(name) : std::nullopt;
}

/// The parts of an escaped path, unescaped; empty ones left out.
std::optional<std::vector<std::string>> partsOf(std::string_view path) {
  std::vector<std::string> parts;
  while (!path.empty()) {
    const auto slash = std::min(path.find('/'), path.size());
    const std::string_view part = path.substr(0, slash);
    path.remove_prefix(std::min(slash + 1, path.size()));
    if (part.empty() || part == ".") continue;
    auto name = unescaped(part);
    if (!name) return std::nullopt;
    parts.push_back(*std::move(name));
  }
  return parts;
}

std::string hostOf(const std::string& server) {
  return QUrl::fromEncoded(QByteArray::fromStdString(server)).host().toLower().toStdString();
}

}  // namespace

std::variant<CloudAddress, std::string> parseCloudAddress(const std::string& text) {
  const QUrl url = QUrl::fromEncoded(QByteArray::fromStdString(text), QUrl::StrictMode);
  const QString scheme = url.scheme().toLower();
  if (!url.isValid() || (scheme != QLatin1String("https") && scheme != QLatin1String("http"))) {
    return "a cloud's address begins with https:// and is escaped like every address";
  }
  if (url.host().isEmpty()) return "a cloud's address names no host";
  if (scheme == QLatin1String("http") && !isThisMachine(url.host())) {
    return "a cloud needs https://, unless it runs on this machine";
  }
  if (url.hasQuery() || url.hasFragment()) return "a cloud's address is that of a folder, without ? or #";
  CloudAddress address;
  address.server = url.toEncoded(QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment)
                       .toLower()
                       .toStdString();
  const int usual = scheme == QLatin1String("https") ? 443 : 80;
  const std::string port = ":" + std::to_string(usual);
  if (url.port() == usual && address.server.ends_with(port)) {
    address.server.erase(address.server.size() - port.size());
  }
  const auto parts = partsOf(url.path(QUrl::FullyEncoded).toStdString());
  if (!parts) return "a cloud's address has a path that no folder can have";
  for (const std::string& part : *parts) address.path += "/" + part;
  address.credentials = {url.userName(QUrl::FullyDecoded).toStdString(),
                         url.password(QUrl::FullyDecoded).toStdString()};
  return address;
}

std::string escapedPath(const std::string& path) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string escaped;
  for (const char c : path) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       (c != '\0' && std::string_view("/-_.~").find(c) != std::string_view::npos);
    if (plain) {
      escaped += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      escaped.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
    }
  }
  return escaped;
}

std::string memberName(const std::string& href, const std::string& server, const std::string& collection) {
  std::string_view path = href;
  path = path.substr(0, path.find_first_of("?#"));
  bool fromTop = path.starts_with('/');
  if (path.starts_with("//")) return {};
  if (const auto scheme = path.find("://"); scheme != std::string_view::npos && scheme < path.find('/')) {
    const auto end = std::min(path.find('/', scheme + 3), path.size());
    // Behind a proxy a server may take itself for a plain one; the host must be ours all the same.
    if (hostOf(std::string(path.substr(0, end))) != hostOf(server)) return {};
    path.remove_prefix(end);
    fromTop = true;
  }
  const auto parts = partsOf(path);
  if (!parts) return {};
  if (!fromTop) return parts->size() == 1 ? parts->front() : std::string();
  std::vector<std::string> above;
  for (std::string_view left = collection; !left.empty();) {
    left.remove_prefix(1);
    const auto slash = std::min(left.find('/'), left.size());
    above.emplace_back(left.substr(0, slash));
    left.remove_prefix(slash);
  }
  if (parts->size() != above.size() + 1 || !std::equal(above.begin(), above.end(), parts->begin())) return {};
  return parts->back();
}

}  // namespace tlx::photolibrary

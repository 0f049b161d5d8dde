#include "adapters/photolibrary/cloud/webdav/Listing.h"

#include <QByteArray>
#include <QXmlStreamReader>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>
#include <vector>

namespace tlx::photolibrary {

const char kListingRequest[] =
    R"(<?xml version="1.0" encoding="utf-8"?><d:propfind xmlns:d="DAV:" xmlns:oc="http://owncloud.org/ns"><d:prop>)"
    R"(<d:resourcetype/><d:getcontentlength/><d:getlastmodified/><d:getetag/><d:getcontenttype/><oc:fileid/>)"
    R"(</d:prop></d:propfind>)";

namespace {

constexpr std::size_t kDeepest = 32;
constexpr std::size_t kLongestToken = 1 << 20;

enum class Tag { Other, Response, Href, Propstat, Status, Collection, Length, Modified, Etag, Type, FileId };

Tag tagOf(const QXmlStreamReader& xml) {
  const auto name = xml.name();
  if (xml.namespaceUri() == QLatin1String("http://owncloud.org/ns")) {
    return name == QLatin1String("fileid") ? Tag::FileId : Tag::Other;
  }
  if (xml.namespaceUri() != QLatin1String("DAV:")) return Tag::Other;
  static constexpr std::pair<const char*, Tag> kTags[] = {
      {"response", Tag::Response},        {"href", Tag::Href},
      {"propstat", Tag::Propstat},        {"status", Tag::Status},
      {"collection", Tag::Collection},    {"getcontentlength", Tag::Length},
      {"getlastmodified", Tag::Modified}, {"getetag", Tag::Etag},
      {"getcontenttype", Tag::Type},      {"fileid", Tag::Other},
  };
  for (const auto& [known, tag] : kTags) {
    if (name == QLatin1String(known)) return tag;
  }
  return Tag::Other;
}

/// "HTTP/1.1 200 OK"
bool isGood(const std::string& status) {
  const auto blank = status.find(' ');
  return blank == std::string::npos || status.compare(blank + 1, 1, "2") == 0;
}

}  // namespace

struct ListingReader::State {
  explicit State(Found listener) : found(std::move(listener)) { xml.setEntityExpansionLimit(0); }

  Found found;
  QXmlStreamReader xml;
  std::vector<Tag> path;
  std::string text;
  ListedMember member, properties;
  std::string status;
  bool memberGood = true, failed = false, ended = false, rootSeen = false;
  std::size_t sinceToken = 0;

  bool read();
  void start();
  void end();
};

ListingReader::ListingReader(Found found) : state_(std::make_unique<State>(std::move(found))) {}
ListingReader::~ListingReader() = default;

bool ListingReader::feed(const char* bytes, std::size_t count) {
  if (state_->failed) return false;
  state_->sinceToken += count;
  state_->xml.addData(QByteArray::fromRawData(bytes, static_cast<int>(count)));
  state_->failed = !state_->read();
  return !state_->failed;
}

bool ListingReader::finished() const {
  return state_->ended && !state_->failed;
}

bool ListingReader::State::read() {
  while (!xml.atEnd()) {
    const auto token = xml.readNext();
    if (token == QXmlStreamReader::Invalid) break;
    sinceToken = 0;
    switch (token) {
      case QXmlStreamReader::DTD:
      case QXmlStreamReader::EntityReference:
        return false;
      case QXmlStreamReader::StartElement:
        if (path.size() == kDeepest) return false;
        start();
        break;
      case QXmlStreamReader::EndElement:
        end();
        break;
      case QXmlStreamReader::Characters:
        if (text.size() < kLongestToken) text += xml.text().toUtf8().toStdString();
        break;
      case QXmlStreamReader::EndDocument:
        ended = rootSeen;
        break;
      default:
        break;
    }
  }
  if (!xml.hasError()) return true;
  return xml.error() == QXmlStreamReader::PrematureEndOfDocumentError && sinceToken < kLongestToken;
}

void ListingReader::State::start() {
  if (path.empty()) {
    rootSeen = xml.name() == QLatin1String("multistatus") && xml.namespaceUri() == QLatin1String("DAV:");
  }
  path.push_back(tagOf(xml));
  text.clear();
  if (path.back() == Tag::Response) {
    member = {};
    memberGood = true;
  } else if (path.back() == Tag::Propstat) {
    properties = {};
    status.clear();
  } else if (path.back() == Tag::Collection) {
    properties.collection = true;
  }
}

void ListingReader::State::end() {
  const Tag tag = path.back();
  path.pop_back();
  const Tag parent = path.empty() ? Tag::Other : path.back();
  switch (tag) {
    case Tag::Href:
      if (parent == Tag::Response) member.href = text;
      break;
    case Tag::Status:
      if (parent == Tag::Propstat) status = text;
      if (parent == Tag::Response) memberGood = isGood(text);
      break;
    case Tag::Length: {
      std::int64_t bytes = 0;
      const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), bytes);
      if (error == std::errc() && stop != text.data() && bytes >= 0) properties.bytes = bytes;
      break;
    }
    case Tag::Modified:
      properties.modified = parseHttpDate(text);
      break;
    case Tag::Etag:
      properties.etag = text;
      break;
    case Tag::Type:
      properties.contentType = text;
      break;
    case Tag::FileId:
      properties.fileId = text;
      break;
    case Tag::Propstat:
      if (!isGood(status)) break;
      properties.href = std::move(member.href);
      if (properties.etag.empty()) properties.etag = std::move(member.etag);
      member = std::move(properties);
      break;
    case Tag::Response:
      if (memberGood && !member.href.empty()) found(std::move(member));
      break;
    default:
      break;
  }
  text.clear();
}

std::int64_t parseHttpDate(const std::string& text) {
  static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const auto comma = text.find(',');
  if (comma == std::string::npos) return 0;
  std::tm time{};
  char month[4] = "";
  if (std::sscanf(text.c_str() + comma + 1, " %2d %3s %4d %2d:%2d:%2d", &time.tm_mday, month, &time.tm_year,
                  &time.tm_hour, &time.tm_min, &time.tm_sec) != 6) {
    return 0;
  }
  time.tm_year -= 1900;
  for (time.tm_mon = 0; time.tm_mon < 12 && std::strcmp(kMonths[static_cast<std::size_t>(time.tm_mon)], month) != 0;) {
    ++time.tm_mon;
  }
  const bool sane = time.tm_mon < 12 && time.tm_mday >= 1 && time.tm_mday <= 31 && time.tm_year >= 0 &&
                    time.tm_year < 300 && time.tm_hour < 24 && time.tm_min < 60 && time.tm_sec <= 60;
  return sane ? static_cast<std::int64_t>(timegm(&time)) * 1'000'000'000 : 0;
}

std::string plainTag(const std::string& etag) {
  std::string tag = etag;
  std::erase_if(tag, [](char c) { return c == '"' || c == ' '; });
  if (tag.starts_with("W/")) tag.erase(0, 2);
  return tag;
}

}  // namespace tlx::photolibrary

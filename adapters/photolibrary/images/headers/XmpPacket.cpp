#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>

#include <expat.h>

#include "adapters/photolibrary/images/headers/PhotoFacts.h"

namespace tlx::photolibrary {
namespace {

constexpr std::size_t maxPacket = 1 << 20;  // what is longer holds pictures and histories behind what is wanted here
constexpr int maxDepth = 64;

/// Names as the parser hands them over: the namespace, a space, the name in it.
constexpr std::string_view rdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns# RDF";
constexpr std::string_view rating = "http://ns.adobe.com/xap/1.0/ Rating";
constexpr std::string_view panorama = "http://ns.google.com/photos/1.0/panorama/ ";
constexpr std::array<std::string_view, 3> datesInOrderOfWorth = {"http://ns.adobe.com/exif/1.0/ DateTimeOriginal",
                                                                 "http://ns.adobe.com/photoshop/1.0/ DateCreated",
                                                                 "http://ns.adobe.com/xap/1.0/ CreateDate"};

std::string_view trimmed(std::string_view text) {
  static constexpr std::string_view blank = " \t\r\n";
  const std::size_t first = text.find_first_not_of(blank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blank) - first + 1);
}

/// Takes in a packet's properties: of the picture itself only, which stand as attributes or as elements directly in a
/// description directly in the outermost RDF element. Descriptions further inside are of other pictures that went into
/// this one. The parser is a C library: nothing here throws.
class PacketReader {
 public:
  explicit PacketReader(PhotoFacts& facts) : facts_(facts), parser_(XML_ParserCreateNS(nullptr, ' ')) {
    if (!parser_) return;
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), &PacketReader::start, &PacketReader::end);
    XML_SetCharacterDataHandler(parser_.get(), &PacketReader::take);
    // Packets have no document type, and one could declare entities that grow without end.
    XML_SetStartDoctypeDeclHandler(parser_.get(), [](void* self, const XML_Char*, const XML_Char*, const XML_Char*,
                                                     int) { static_cast<PacketReader*>(self)->stop(); });
  }

  void read(std::string_view packet) {
    if (parser_) XML_Parse(parser_.get(), packet.data(), static_cast<int>(packet.size()), XML_FALSE);
  }

 private:
  struct Release {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  static void start(void* self, const XML_Char* name, const XML_Char** attributes) {
    auto& reader = *static_cast<PacketReader*>(self);
    if (++reader.depth_ > maxDepth) return reader.stop();
    if (reader.rdfDepth_ == 0 && name == rdf) reader.rdfDepth_ = reader.depth_;
    reader.length_ = 0;
    const bool isDescription = reader.rdfDepth_ > 0 && reader.depth_ == reader.rdfDepth_ + 1;
    for (; attributes[0]; attributes += 2) {
      reader.note(trimmed(attributes[1]));
      if (isDescription) reader.property(attributes[0], trimmed(attributes[1]));
    }
  }

  static void end(void* self, const XML_Char* name) {
    auto& reader = *static_cast<PacketReader*>(self);
    const std::string_view text = trimmed({reader.text_.data(), reader.length_});
    reader.note(text);
    if (reader.rdfDepth_ > 0 && reader.depth_ == reader.rdfDepth_ + 2) reader.property(name, text);
    reader.length_ = 0;
    --reader.depth_;
  }

  static void take(void* self, const XML_Char* text, int length) {
    auto& reader = *static_cast<PacketReader*>(self);
    const std::size_t room = std::min(reader.text_.size() - reader.length_, static_cast<std::size_t>(length));
    std::memcpy(reader.text_.data() + reader.length_, text, room);
    reader.length_ += room;
  }

  void stop() { XML_StopParser(parser_.get(), XML_FALSE); }

  void note(std::string_view text) { facts_.screenshot = facts_.screenshot || text == "Screenshot"; }

  void property(std::string_view name, std::string_view value) {
    if (name == rating && !value.empty()) {
      const char first = value[0];
      if (first >= '0' && first <= '5') facts_.xmpRating = first - '0';
      if (first == '-') facts_.xmpRating = 0;
    } else if (name.starts_with(panorama)) {
      const std::string_view own = name.substr(panorama.size());
      facts_.panorama = facts_.panorama || own == "ProjectionType" || own == "UsePanoramaViewer";
    } else if (const auto date = std::find(datesInOrderOfWorth.begin(), datesInOrderOfWorth.end(), name);
               date != datesInOrderOfWorth.end()) {
      const auto worth = static_cast<int>(datesInOrderOfWorth.end() - date);
      if (worth <= facts_.packetDateWorth) return;
      if (const auto seconds = parseIsoDate(value)) {
        facts_.packetDate = seconds;
        facts_.packetDateWorth = worth;
      }
    }
  }

  PhotoFacts& facts_;
  std::unique_ptr<XML_ParserStruct, Release> parser_;
  int depth_ = 0, rdfDepth_ = 0;
  std::array<char, 64> text_{};  // longer than any value that is wanted
  std::size_t length_ = 0;
};

}  // namespace

void readXmp(std::string_view packet, PhotoFacts& facts) {
  // Some containers put a few words of their own before it.
  const std::size_t begin = packet.find('<');
  if (begin != std::string_view::npos) PacketReader(facts).read(packet.substr(begin, maxPacket));
}

}  // namespace tlx::photolibrary

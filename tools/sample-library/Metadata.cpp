#include "Metadata.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include <libexif/exif-data.h>

namespace tlx::samples {
namespace {

template <class... Numbers>
std::string format(const char* pattern, Numbers... numbers) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), pattern, numbers...);
  return text.data();
}

void append(Bytes& to, const void* data, std::size_t size) {
  if (size == 0) return;
  const std::size_t old = to.size();
  to.resize(old + size);
  std::memcpy(to.data() + old, data, size);
}
void append(Bytes& to, const std::string& text) {
  append(to, text.data(), text.size());
}

void big(Bytes& to, std::uint32_t value, int size) {
  for (int i = size - 1; i >= 0; --i) to.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}
void little(Bytes& to, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) to.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}
std::uint32_t little(const Bytes& from, std::size_t at, int size) {
  std::uint32_t value = 0;
  for (int i = size - 1; i >= 0; --i) value = value << 8U | from.at(at + static_cast<std::size_t>(i));
  return value;
}

std::uint32_t crc32(const std::uint8_t* data, std::size_t size) {
  std::uint32_t crc = ~0U;
  for (std::size_t i = 0; i < size; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1U ^ (0xEDB88320U & (0U - (crc & 1U)));
  }
  return ~crc;
}

struct Unref {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};

void put(ExifData* data, ExifIfd ifd, int tag, ExifFormat type, unsigned long count, const Bytes& value) {
  ExifMem* memory = exif_mem_new_default();
  ExifEntry* entry = exif_entry_new_mem(memory);
  entry->tag = static_cast<ExifTag>(tag);
  entry->format = type;
  entry->components = count;
  entry->size = static_cast<unsigned>(value.size());
  entry->data = static_cast<unsigned char*>(exif_mem_alloc(memory, static_cast<ExifLong>(value.size())));
  std::memcpy(entry->data, value.data(), value.size());
  exif_content_add_entry(data->ifd[ifd], entry);
  exif_entry_unref(entry);
  exif_mem_unref(memory);
}

void putText(ExifData* data, ExifIfd ifd, int tag, const std::string& text) {
  if (text.empty()) return;
  Bytes value;
  append(value, text.c_str(), text.size() + 1);
  put(data, ifd, tag, EXIF_FORMAT_ASCII, value.size(), value);
}

void putNumber(ExifData* data, ExifIfd ifd, int tag, std::uint32_t number, bool isLong = false) {
  Bytes value;
  little(value, number, isLong ? 4 : 2);
  put(data, ifd, tag, isLong ? EXIF_FORMAT_LONG : EXIF_FORMAT_SHORT, 1, value);
}

}  // namespace

std::string Moment::exif() const {
  return format("%04d:%02d:%02d %02d:%02d:%02d", year, month, day, hour, minute, second);
}
std::string Moment::iso() const {
  return format("%04d-%02d-%02dT%02d:%02d:%02d", year, month, day, hour, minute, second);
}
std::string Moment::compact() const {
  return format("%04d%02d%02d_%02d%02d%02d", year, month, day, hour, minute, second);
}

std::string Moment::offset() const {
  if (!offsetMinutes) return {};
  const int away = std::abs(*offsetMinutes);
  return format("%c%02d:%02d", *offsetMinutes < 0 ? '-' : '+', away / 60, away % 60);
}

std::int64_t Moment::unixTime() const {
  std::tm clock{};
  clock.tm_year = year - 1900, clock.tm_mon = month - 1, clock.tm_mday = day;
  clock.tm_hour = hour, clock.tm_min = minute, clock.tm_sec = second, clock.tm_isdst = -1;
  return offsetMinutes ? timegm(&clock) - *offsetMinutes * 60 : std::mktime(&clock);
}

Bytes exifBlock(const PhotoMetadata& m) {
  if (!m.taken && m.make.empty() && m.orientation == 1 && m.stars == 0 && m.thumbnail.empty() && m.comment.empty())
    return {};
  const std::unique_ptr<ExifData, Unref> data(exif_data_new());
  exif_data_set_byte_order(data.get(), EXIF_BYTE_ORDER_INTEL);
  putText(data.get(), EXIF_IFD_0, EXIF_TAG_MAKE, m.make);
  putText(data.get(), EXIF_IFD_0, EXIF_TAG_MODEL, m.model);
  putNumber(data.get(), EXIF_IFD_0, EXIF_TAG_ORIENTATION, static_cast<std::uint32_t>(m.orientation));
  if (m.stars > 0) {
    constexpr int kRating = 0x4746;
    putNumber(data.get(), EXIF_IFD_0, kRating, static_cast<std::uint32_t>(m.stars));
  }
  if (m.taken) {
    putText(data.get(), EXIF_IFD_0, EXIF_TAG_DATE_TIME, m.taken->exif());
    putText(data.get(), EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, m.taken->exif());
    putText(data.get(), EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED, m.taken->exif());
    putText(data.get(), EXIF_IFD_EXIF, EXIF_TAG_OFFSET_TIME_ORIGINAL, m.taken->offset());
  }
  put(data.get(), EXIF_IFD_EXIF, EXIF_TAG_EXIF_VERSION, EXIF_FORMAT_UNDEFINED, 4, {'0', '2', '3', '2'});
  if (m.width > 0) {
    putNumber(data.get(), EXIF_IFD_EXIF, EXIF_TAG_PIXEL_X_DIMENSION, static_cast<std::uint32_t>(m.width), true);
    putNumber(data.get(), EXIF_IFD_EXIF, EXIF_TAG_PIXEL_Y_DIMENSION, static_cast<std::uint32_t>(m.height), true);
  }
  if (!m.comment.empty()) {
    Bytes value{'A', 'S', 'C', 'I', 'I', 0, 0, 0};
    append(value, m.comment);
    put(data.get(), EXIF_IFD_EXIF, EXIF_TAG_USER_COMMENT, EXIF_FORMAT_UNDEFINED, value.size(), value);
  }
  if (!m.thumbnail.empty()) {
    putNumber(data.get(), EXIF_IFD_1, EXIF_TAG_COMPRESSION, 6);
    data->data = static_cast<unsigned char*>(std::malloc(m.thumbnail.size()));
    data->size = static_cast<unsigned>(m.thumbnail.size());
    std::memcpy(data->data, m.thumbnail.data(), m.thumbnail.size());
  }
  unsigned char* saved = nullptr;
  unsigned size = 0;
  exif_data_save_data(data.get(), &saved, &size);
  Bytes block(saved, saved + size);
  std::free(saved);
  return block;
}

std::string xmpPacket(const PhotoMetadata& m) {
  if (m.stars == 0 && !m.panorama) return {};
  std::string text =
      "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
      "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
      "<rdf:Description rdf:about=\"\" xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" "
      "xmlns:GPano=\"http://ns.google.com/photos/1.0/panorama/\"";
  if (m.stars > 0) text += " xmp:Rating=\"" + std::to_string(m.stars) + "\"";
  if (m.taken) text += " xmp:CreateDate=\"" + m.taken->iso() + m.taken->offset() + "\"";
  if (m.panorama) {
    const std::string width = std::to_string(m.width), height = std::to_string(m.height);
    text += " GPano:UsePanoramaViewer=\"True\" GPano:ProjectionType=\"cylindrical\" GPano:FullPanoWidthPixels=\"" +
            width + "\" GPano:FullPanoHeightPixels=\"" + height + "\" GPano:CroppedAreaImageWidthPixels=\"" + width +
            "\" GPano:CroppedAreaImageHeightPixels=\"" + height +
            "\" GPano:CroppedAreaLeftPixels=\"0\" GPano:CroppedAreaTopPixels=\"0\"";
  }
  return text + "/></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
}

Bytes displayP3Profile() {
  const auto fixed = [](double v) {
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(v * 65536)));
  };
  const auto xyz = [&](double x, double y, double z) {
    Bytes tag;
    append(tag, "XYZ ");
    big(tag, 0, 4), big(tag, fixed(x), 4), big(tag, fixed(y), 4), big(tag, fixed(z), 4);
    return tag;
  };
  const auto text = [](const std::string& words) {
    Bytes tag;
    append(tag, "mluc");
    big(tag, 0, 4), big(tag, 1, 4), big(tag, 12, 4), append(tag, "enUS"),
        big(tag, static_cast<std::uint32_t>(words.size() * 2), 4), big(tag, 28, 4);
    for (const char letter : words) tag.push_back(0), tag.push_back(static_cast<std::uint8_t>(letter));
    return tag;
  };
  // The sRGB curve as a parametric one, and the primaries adapted to D50.
  Bytes curve;
  append(curve, "para");
  big(curve, 0, 4), big(curve, 3, 2), big(curve, 0, 2);
  for (const double v : {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045}) big(curve, fixed(v), 4);
  const std::vector<std::pair<std::string, Bytes>> tags = {{"desc", text("Display P3")},
                                                           {"cprt", text("No copyright")},
                                                           {"wtpt", xyz(0.96420, 1, 0.82491)},
                                                           {"rXYZ", xyz(0.51512, 0.24120, -0.00105)},
                                                           {"gXYZ", xyz(0.29198, 0.69225, 0.04189)},
                                                           {"bXYZ", xyz(0.15710, 0.06657, 0.78407)},
                                                           {"rTRC", curve},
                                                           {"gTRC", curve},
                                                           {"bTRC", curve}};
  Bytes table, body;
  big(table, static_cast<std::uint32_t>(tags.size()), 4);
  const std::size_t start = 128 + 4 + tags.size() * 12;
  for (const auto& [name, value] : tags) {
    append(table, name);
    big(table, static_cast<std::uint32_t>(start + body.size()), 4),
        big(table, static_cast<std::uint32_t>(value.size()), 4);
    append(body, value.data(), value.size());
    while (body.size() % 4) body.push_back(0);
  }
  Bytes profile;
  big(profile, static_cast<std::uint32_t>(start + body.size()), 4);
  append(profile, Bytes(4).data(), 4);
  big(profile, 0x04000000, 4);
  append(profile, "mntrRGB XYZ ");
  for (const std::uint32_t part : {2026U, 1U, 1U, 0U, 0U, 0U}) big(profile, part, 2);
  append(profile, "acsp");
  profile.resize(68);
  big(profile, fixed(0.96420), 4), big(profile, fixed(1), 4), big(profile, fixed(0.82491), 4);
  profile.resize(128);
  append(profile, table.data(), table.size());
  append(profile, body.data(), body.size());
  return profile;
}

Bytes withJpegMetadata(const Bytes& jpeg, const Bytes& exif, const std::string& xmp, const Bytes& profile) {
  Bytes out(jpeg.begin(), jpeg.begin() + 2);
  const auto segment = [&](int marker, const std::string& name, const std::uint8_t* data, std::size_t size) {
    out.push_back(0xFF), out.push_back(static_cast<std::uint8_t>(marker));
    big(out, static_cast<std::uint32_t>(2 + name.size() + size), 2);
    append(out, name);
    append(out, data, size);
  };
  if (!exif.empty()) segment(0xE1, "", exif.data(), exif.size());
  if (!xmp.empty())
    segment(0xE1, std::string("http://ns.adobe.com/xap/1.0/\0", 29), reinterpret_cast<const std::uint8_t*>(xmp.data()),
            xmp.size());
  constexpr std::size_t kPiece = 65000;
  const std::size_t pieces = (profile.size() + kPiece - 1) / kPiece;
  for (std::size_t i = 0; i < pieces; ++i) {
    const std::string name = std::string("ICC_PROFILE\0", 12) + static_cast<char>(i + 1) + static_cast<char>(pieces);
    segment(0xE2, name, profile.data() + i * kPiece, std::min(kPiece, profile.size() - i * kPiece));
  }
  // A JFIF header would have to come first; beside EXIF cameras leave it out.
  std::size_t rest = 2;
  if (!exif.empty() && jpeg.size() > 6 && jpeg[2] == 0xFF && jpeg[3] == 0xE0)
    rest += 2 + static_cast<std::size_t>(jpeg[4]) * 256 + jpeg[5];
  out.insert(out.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(rest), jpeg.end());
  return out;
}

Bytes withPngMetadata(const Bytes& png, const Bytes& exif, const std::string& xmp) {
  constexpr std::size_t kAfterHeader = 8 + 25;
  Bytes out(png.begin(), png.begin() + kAfterHeader);
  const auto chunk = [&](const Bytes& body) {
    big(out, static_cast<std::uint32_t>(body.size() - 4), 4);
    append(out, body.data(), body.size());
    big(out, crc32(body.data(), body.size()), 4);
  };
  if (exif.size() > 6) {
    Bytes body{'e', 'X', 'I', 'f'};
    append(body, exif.data() + 6, exif.size() - 6);
    chunk(body);
  }
  if (!xmp.empty()) {
    Bytes body{'i', 'T', 'X', 't'};
    append(body, std::string("XML:com.adobe.xmp\0\0\0\0\0", 22));
    append(body, xmp);
    chunk(body);
  }
  out.insert(out.end(), png.begin() + kAfterHeader, png.end());
  return out;
}

Bytes withTiffMetadata(const Bytes& tiff, const PhotoMetadata& m) {
  if (tiff.size() < 8 || tiff[0] != 'I' || tiff[2] != 42 || !m.taken) return tiff;
  Bytes out = tiff;
  if (out.size() % 2) out.push_back(0);
  const auto textAt = [&](const std::string& text) {
    const auto at = static_cast<std::uint32_t>(out.size());
    append(out, text.c_str(), text.size() + 1);
    if (out.size() % 2) out.push_back(0);
    return at;
  };
  struct Entry {
    std::uint32_t tag, type, count, value;
  };
  const auto directory = [&](std::vector<Entry> entries) {
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
    const auto at = static_cast<std::uint32_t>(out.size());
    little(out, static_cast<std::uint32_t>(entries.size()), 2);
    for (const Entry& e : entries)
      little(out, e.tag, 2), little(out, e.type, 2), little(out, e.count, 4), little(out, e.value, 4);
    little(out, 0, 4);
    return at;
  };
  constexpr std::uint32_t kText = 2, kShort = 3, kLong = 4;
  const auto length = [](const std::string& s) { return static_cast<std::uint32_t>(s.size() + 1); };
  const std::string date = m.taken->exif(), zone = m.taken->offset();
  std::vector<Entry> camera{{EXIF_TAG_DATE_TIME_ORIGINAL, kText, length(date), textAt(date)}};
  if (!zone.empty()) camera.push_back({EXIF_TAG_OFFSET_TIME_ORIGINAL, kText, length(zone), textAt(zone)});
  const std::uint32_t cameraAt = directory(camera);
  std::vector<Entry> first;
  const std::size_t old = little(tiff, 4, 4), count = little(tiff, old, 2);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = old + 2 + i * 12;
    const Entry e{little(tiff, at, 2), little(tiff, at + 2, 2), little(tiff, at + 4, 4), little(tiff, at + 8, 4)};
    if (e.tag != EXIF_TAG_ORIENTATION && e.tag != EXIF_TAG_DATE_TIME) first.push_back(e);
  }
  first.push_back({EXIF_TAG_ORIENTATION, kShort, 1, static_cast<std::uint32_t>(m.orientation)});
  first.push_back({EXIF_TAG_DATE_TIME, kText, length(date), textAt(date)});
  if (m.make.size() > 3) first.push_back({EXIF_TAG_MAKE, kText, length(m.make), textAt(m.make)});
  if (m.model.size() > 3) first.push_back({EXIF_TAG_MODEL, kText, length(m.model), textAt(m.model)});
  first.push_back({EXIF_TAG_EXIF_IFD_POINTER, kLong, 1, cameraAt});
  const std::uint32_t firstAt = directory(first);
  for (int i = 0; i < 4; ++i) out[4 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(firstAt >> (8 * i));
  return out;
}

}  // namespace tlx::samples

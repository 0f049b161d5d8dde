#include "apps/tlx-media-picker/Json.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace tlx::program {
namespace {

/// Bytes of the well-formed character at the start of `text`; 0 when there is none.
std::size_t characterLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const auto follows = [&](std::size_t i) { return i < text.size() && (byte(i) & 0xc0) == 0x80; };
  const unsigned char first = byte(0);
  if (first < 0x80) return 1;
  if (first >= 0xc2 && first <= 0xdf) return follows(1) ? 2 : 0;
  if (first >= 0xe0 && first <= 0xef) {
    if (!follows(1) || !follows(2)) return 0;
    const bool overlong = first == 0xe0 && byte(1) < 0xa0;
    const bool surrogate = first == 0xed && byte(1) > 0x9f;
    return overlong || surrogate ? 0 : 3;
  }
  if (first >= 0xf0 && first <= 0xf4) {
    if (!follows(1) || !follows(2) || !follows(3)) return 0;
    const bool overlong = first == 0xf0 && byte(1) < 0x90;
    const bool beyond = first == 0xf4 && byte(1) > 0x8f;
    return overlong || beyond ? 0 : 4;
  }
  return 0;
}

}  // namespace

std::string jsonString(std::string_view text) {
  std::string out = "\"";
  char escaped[8];
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    const auto first = static_cast<unsigned char>(text[0]);
    if (length == 0) {
      std::snprintf(escaped, sizeof escaped, "\\udc%02x", first);
      out += escaped;
      text.remove_prefix(1);
      continue;
    }
    if (first == '"' || first == '\\') {
      out += '\\';
      out += text[0];
    } else if (first < 0x20 || first == 0x7f) {
      std::snprintf(escaped, sizeof escaped, "\\u%04x", first);
      out += escaped;
    } else {
      out.append(text.substr(0, length));
    }
    text.remove_prefix(length);
  }
  return out += '"';
}

std::string jsonNumber(double number) {
  if (!std::isfinite(number)) return "0";
  char buffer[64];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr};
}

std::string isoDate(double seconds) {
  const auto whole = static_cast<std::time_t>(std::floor(seconds));
  std::tm parts{};
  if (!gmtime_r(&whole, &parts)) return "1970-01-01T00:00:00Z";
  char buffer[40];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return buffer;
}

}  // namespace tlx::program

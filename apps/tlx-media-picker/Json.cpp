#include "apps/tlx-media-picker/Json.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "apps/tlx-media-picker/Characters.h"

namespace tlx::program {
std::string jsonString(std::string_view text) {
  std::string out = "\"";
  const auto escape = [&](unsigned unit) {
    char escaped[16];
    std::snprintf(escaped, sizeof escaped, "\\u%04x", unit);
    out += escaped;
  };
  forEachCharacter(text, [&](std::optional<char32_t> character, std::string_view bytes) {
    if (!character) {
      escape(0xdc00u + static_cast<unsigned char>(bytes[0]));
    } else if (character == U'"' || character == U'\\') {
      out += '\\';
      out += bytes;
    } else if (!isControl(*character)) {
      out += bytes;
    } else if (*character <= 0xffff) {
      escape(*character);
    } else {
      escape(0xd800u + ((*character - 0x10000u) >> 10));
      escape(0xdc00u + ((*character - 0x10000u) & 0x3ff));
    }
  });
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

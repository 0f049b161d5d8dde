#include "apps/tlx-media-picker/Complaint.h"

#include <cstdio>

#include "apps/tlx-media-picker/Characters.h"

namespace tlx::program {

std::string shown(std::string_view text) {
  std::string out;
  forEachCharacter(text, [&](std::optional<char32_t> character, std::string_view bytes) {
    char escaped[16];
    if (character == U'\\') {
      out += "\\\\";
    } else if (character && !isControl(*character)) {
      out += bytes;
    } else {
      const unsigned code = character ? *character : static_cast<unsigned char>(bytes[0]);
      const char* const form = bytes.size() == 1 ? "\\x%02x" : code <= 0xffff ? "\\u%04x" : "\\U%08x";
      std::snprintf(escaped, sizeof escaped, form, code);
      out += escaped;
    }
  });
  return out;
}

void complain(std::string_view text) {
  const std::string line = std::string(kProgram) + ": " + shown(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace tlx::program

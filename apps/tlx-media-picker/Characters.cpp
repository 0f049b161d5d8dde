#include "apps/tlx-media-picker/Characters.h"

#include <glib.h>

namespace tlx::program {

void forEachCharacter(std::string_view text,
                      const std::function<void(std::optional<char32_t> character, std::string_view bytes)>& visit) {
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text[0]);
    std::size_t length = 1;
    std::optional<char32_t> character;
    if (first < 0x80) {
      character = first;
    } else if (const gunichar read = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
               g_unichar_validate(read)) {
      character = read;
      length = static_cast<std::size_t>(g_unichar_to_utf8(read, nullptr));
    }
    visit(character, text.substr(0, length));
    text.remove_prefix(length);
  }
}

bool isControl(char32_t character) {
  constexpr char32_t kNonJoiner = 0x200c, kJoiner = 0x200d;
  switch (g_unichar_type(character)) {
    case G_UNICODE_CONTROL:
    case G_UNICODE_LINE_SEPARATOR:
    case G_UNICODE_PARAGRAPH_SEPARATOR:
      return true;
    case G_UNICODE_FORMAT:
      return character != kNonJoiner && character != kJoiner;
    default:
      return false;
  }
}

}  // namespace tlx::program

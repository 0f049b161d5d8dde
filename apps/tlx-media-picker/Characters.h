#pragma once

#include <functional>
#include <optional>
#include <string_view>

namespace tlx::program {

/// Walks through a text that need not be UTF-8, as names of files need not be. `visit` gets each character with its
/// bytes, and nothing with each byte that belongs to no character.
void forEachCharacter(std::string_view text,
                      const std::function<void(std::optional<char32_t> character, std::string_view bytes)>& visit);

/// Whether a character is no sign to be read but tells whoever shows it what to do: ends the line, moves the cursor,
/// writes backwards. The joiners that scripts and pictograms need are signs.
bool isControl(char32_t character);

}  // namespace tlx::program

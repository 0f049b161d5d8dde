#include "adapters/photolibrary/catalogue/NaturalOrder.h"

#include <cstddef>

namespace tlx::photolibrary {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

int rank(char c) {
  if (c == '/') return 0;
  if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return 1 + static_cast<unsigned char>(c);
}

std::string_view digitsAt(std::string_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && isDigit(text[end])) ++end;
  return text.substr(at, end - at);
}

int compareNumbers(std::string_view a, std::string_view b) {
  while (!a.empty() && a.front() == '0') a.remove_prefix(1);
  while (!b.empty() && b.front() == '0') b.remove_prefix(1);
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a.compare(b);
}

}  // namespace

int naturalCompare(std::string_view a, std::string_view b) {
  std::size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    if (isDigit(a[i]) && isDigit(b[j])) {
      const std::string_view x = digitsAt(a, i), y = digitsAt(b, j);
      if (const int order = compareNumbers(x, y)) return order;
      i += x.size();
      j += y.size();
    } else {
      if (const int order = rank(a[i]) - rank(b[j])) return order;
      ++i;
      ++j;
    }
  }
  if (i < a.size() || j < b.size()) return i < a.size() ? 1 : -1;
  return a.compare(b);
}

}  // namespace tlx::photolibrary

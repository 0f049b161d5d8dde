#include "adapters/photolibrary/base/FileKey.h"

#include <array>
#include <random>

namespace tlx::photolibrary {
namespace {

std::uint64_t mix(std::uint64_t x) {
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
  return x ^ (x >> 31);
}

std::uint64_t hashOf(const FileKey& key, std::uint64_t seed) {
  std::uint64_t h = seed;
  for (const std::uint64_t word : {key.fileSystem, key.number, static_cast<std::uint64_t>(key.born)}) {
    h = mix(h + 0x9e3779b97f4a7c15ULL + word);
  }
  return mix(h ^ seed);
}

std::string textOf(std::uint64_t high, std::uint64_t low) {
  static constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string text(15, 'A');
  for (int i = 0; i < 10; ++i, high >>= 6) text[i] = kLetters[high & 63];
  for (int i = 10; i < 15; ++i, low >>= 6) text[i] = kLetters[low & 63];
  return text;
}

}  // namespace

std::string deriveIdentifier(const FileKey& key) {
  return textOf(hashOf(key, 0x746c782d6974656dULL), hashOf(key, 0x6964656e74697479ULL));
}

std::string mintIdentifier() {
  thread_local std::mt19937_64 generator = [] {
    std::random_device device;
    std::array<std::random_device::result_type, 8> words;
    for (auto& word : words) word = device();
    std::seed_seq seed(words.begin(), words.end());
    return std::mt19937_64(seed);
  }();
  const std::uint64_t high = generator();
  return textOf(high, generator());
}

}  // namespace tlx::photolibrary

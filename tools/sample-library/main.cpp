#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string_view>

#include <vips/vips.h>

extern "C" {
#include <libavutil/log.h>
}

#include "LibraryWriter.h"

namespace {

constexpr const char* kUsage =
    "usage: tlx-sample-library [--small] DIR\n"
    "       tlx-sample-library --many N DIR\n"
    "       tlx-sample-library --twelve-megapixel FILE\n"
    "Makes a photo library from nothing; what is complete already is left alone.\n"
    "  --small                  pictures of at most 480 pixels\n"
    "  --many N                 N small JPEGs with dates and thumbnails in many folders\n"
    "  --twelve-megapixel FILE  one JPEG of 4000 x 3000 and about 3.8 MB\n";

int usage() {
  std::fputs(kUsage, stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  bool small = false, single = false;
  int many = 0;
  const char* place = nullptr;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "--help") {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (word == "--small") {
      small = true;
    } else if (word == "--many") {
      if (++i == argc) return usage();
      const char* end = argv[i] + std::strlen(argv[i]);
      if (std::from_chars(argv[i], end, many).ptr != end || many < 1) return usage();
    } else if (word == "--twelve-megapixel") {
      single = true;
    } else if (word.starts_with("--") || place || word.empty()) {
      return usage();
    } else {
      place = argv[i];
    }
  }
  if (!place || (small ? 1 : 0) + (many > 0 ? 1 : 0) + (single ? 1 : 0) > 1) return usage();
  if (VIPS_INIT(argv[0]) != 0) {
    std::fprintf(stderr, "tlx-sample-library: %s", vips_error_buffer());
    return 1;
  }
  // The pictures themselves are spread over the threads.
  vips_concurrency_set(1);
  av_log_set_level(AV_LOG_ERROR);
  const auto start = std::chrono::steady_clock::now();
  const auto outcome = single     ? tlx::samples::writeTwelveMegapixels(place)
                       : many > 0 ? tlx::samples::writeManyPhotos(place, many)
                                  : tlx::samples::writeSampleLibrary(place, small);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  vips_shutdown();
  if (!outcome.error.empty()) {
    std::fprintf(stderr, "tlx-sample-library: %s\n", outcome.error.c_str());
    return 1;
  }
  if (outcome.made)
    std::printf("Made %d files in %s (%.1f s)\n", outcome.files, place, seconds);
  else
    std::printf("%s is complete already; nothing done\n", place);
  return 0;
}

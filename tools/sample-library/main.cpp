#include <cstdio>
#include <cstdlib>

#include <vips/vips8>

extern "C" {
#include <libavutil/log.h>
}

#include "Files.h"

namespace {

constexpr const char* kUsage =
    "usage: tlx-sample-library [--small] DIR\n"
    "       tlx-sample-library --many N DIR\n"
    "Makes a photo library from nothing, newest first, and prints each file's name as it is there.\n"
    "What is complete already is left alone, and what was broken off is completed.\n"
    "  --small   pictures of at most 480 pixels\n"
    "  --many N  N small JPEGs with dates and thumbnails in many folders\n";

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  const std::string mode = words.size() > 1 ? words[0] : "", place = words.empty() ? "" : words.back();
  const int many = mode == "--many" && words.size() == 3 ? std::atoi(words[1].c_str()) : 0;
  if (words.size() == 1 && place == "--help") return std::fputs(kUsage, stdout), 0;
  if (!(mode.empty() || many > 0 || (mode == "--small" && words.size() == 2)) || place.empty() || place[0] == '-')
    return std::fputs(kUsage, stderr), 2;
  av_log_set_level(AV_LOG_ERROR);
  const auto tell = [](const std::string& path) { std::printf("%s\n", path.c_str()), std::fflush(stdout); };
  try {
    if (VIPS_INIT(argv[0]) != 0) throw vips::VError();
    vips_concurrency_set(1);  // The pictures themselves are spread over the threads.
    const int files = many > 0 ? tlx::samples::writeManyPhotos(place, many)
                               : tlx::samples::writeSampleLibrary(place, mode == "--small", tell);
    std::printf(files > 0 ? "Made %d files in %s\n" : "%.0d%s is complete already\n", files, place.c_str());
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tlx-sample-library: %s\n", error.what());
    return 1;
  }
}

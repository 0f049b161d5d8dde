// Scanning a folder never seen, per file, against reading the first 64 KiB of each file and its EXIF by hand on as many
// threads; looking again at a folder that stayed as it was, against asking for the status of each file.
//
//     tlx_bench_scanfolder [FOLDER]
//
// Without a folder it makes one of 10,000 photos of 100 KiB that carry a camera's metadata and a thumbnail.

#include <dirent.h>
#include <fcntl.h>
#include <libexif/exif-data.h>
#include <sys/stat.h>
#include <unistd.h>

// clang-format off
#include <cstdio>
#include <jpeglib.h>
// clang-format on

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/decoding/ConfinedDecoders.h"
#include "adapters/photolibrary/decoding/DecoderFolder.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "bench/SideBySide.h"
#include "bench/photolibrary/ProcessorTime.h"

namespace {

using namespace tlx;
namespace fs = std::filesystem;

class Console final : public SystemLogPort {
 public:
  void log(const std::string& line) override { std::fprintf(stderr, "%s\n", line.c_str()); }
  void assertionFailed(const std::string&, const std::string&, int, const std::string&) override {}
};

std::vector<unsigned char> jpegOf(int width, int height, const std::vector<unsigned char>& exif) {
  jpeg_compress_struct jpeg;
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &data, &size);
  jpeg.image_width = static_cast<JDIMENSION>(width);
  jpeg.image_height = static_cast<JDIMENSION>(height);
  jpeg.input_components = 3;
  jpeg.in_color_space = JCS_RGB;
  jpeg_set_defaults(&jpeg);
  jpeg_start_compress(&jpeg, TRUE);
  if (!exif.empty()) jpeg_write_marker(&jpeg, JPEG_APP0 + 1, exif.data(), static_cast<unsigned>(exif.size()));
  std::vector<unsigned char> row(static_cast<std::size_t>(width) * 3);
  std::uint32_t noise = 1;
  for (int y = 0; y < height; ++y) {
    for (unsigned char& value : row) value = static_cast<unsigned char>((noise = noise * 1664525 + 1013904223) >> 27);
    JSAMPROW rows[] = {row.data()};
    jpeg_write_scanlines(&jpeg, rows, 1);
  }
  jpeg_finish_compress(&jpeg);
  std::vector<unsigned char> bytes(data, data + size);
  jpeg_destroy_compress(&jpeg);
  std::free(data);
  return bytes;
}

/// As a camera writes it: a date with its offset, an orientation, and a thumbnail.
std::vector<unsigned char> cameraExif() {
  const std::unique_ptr<ExifData, decltype(&exif_data_unref)> exif(exif_data_new(), &exif_data_unref);
  exif_data_set_byte_order(exif.get(), EXIF_BYTE_ORDER_INTEL);
  const auto text = [&](ExifIfd ifd, int tag, const char* value) {
    ExifEntry* const entry = exif_entry_new();
    exif_content_add_entry(exif->ifd[ifd], entry);
    entry->tag = static_cast<ExifTag>(tag);
    entry->format = EXIF_FORMAT_ASCII;
    entry->size = static_cast<unsigned>(std::string(value).size() + 1);
    entry->components = entry->size;
    entry->data = static_cast<unsigned char*>(std::malloc(entry->size));
    std::copy_n(value, entry->size, entry->data);
    exif_entry_unref(entry);
  };
  text(EXIF_IFD_0, EXIF_TAG_MAKE, "A camera maker");
  text(EXIF_IFD_0, EXIF_TAG_MODEL, "One of their cameras");
  text(EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, "2024:05:01 12:00:00");
  text(EXIF_IFD_EXIF, 0x9011, "+02:00");
  const auto thumbnail = jpegOf(160, 120, {});
  exif->size = static_cast<unsigned>(thumbnail.size());
  exif->data = static_cast<unsigned char*>(std::malloc(thumbnail.size()));
  std::copy(thumbnail.begin(), thumbnail.end(), exif->data);
  unsigned char* data = nullptr;
  unsigned size = 0;
  exif_data_save_data(exif.get(), &data, &size);
  std::vector<unsigned char> block(data, data + size);
  std::free(data);
  return block;
}

void fill(const fs::path& folder) {
  const auto photo = jpegOf(640, 480, cameraExif());
  for (int i = 0; i < 10'000; ++i) {
    const fs::path place = folder / ("20" + std::to_string(10 + i / 1000));
    fs::create_directories(place);
    std::ofstream file(place / ("IMG_" + std::to_string(1000 + i) + ".jpg"), std::ios::binary);
    file.write(reinterpret_cast<const char*>(photo.data()), static_cast<std::streamsize>(photo.size()));
  }
}

std::vector<std::string> filesIn(const fs::path& folder) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) files.push_back(entry.path().string());
  }
  return files;
}

template <class Look>
void onAllCores(const std::vector<std::string>& files, Look look) {
  std::atomic<std::size_t> next = 0;
  std::vector<std::jthread> threads;
  for (unsigned i = 0; i < std::max(1u, std::thread::hardware_concurrency()); ++i) {
    threads.emplace_back([&] {
      for (std::size_t at; (at = next++) < files.size();) look(files[at]);
    });
  }
}

void readExif(const std::string& path) {
  thread_local std::vector<unsigned char> bytes(65536);
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const ssize_t size = ::read(file, bytes.data(), bytes.size());
  ::close(file);
  if (size <= 0) return;
  if (ExifData* const exif = exif_data_new_from_data(bytes.data(), static_cast<unsigned>(size))) {
    bench::keep(exif_content_get_entry(exif->ifd[EXIF_IFD_EXIF], EXIF_TAG_DATE_TIME_ORIGINAL));
    exif_data_unref(exif);
  }
}

/// Measured by `seconds`, which calls what it is given.
template <class Measure>
double secondsToScan(const fs::path& folder, const fs::path& cache, photolibrary::DecodersPort& decoders,
                     Measure measure) {
  Console log;
  photolibrary::PhotoLibrary::Options options;
  options.roots = {folder.string()};
  options.preauthorised = true;
  options.cacheFolder = cache.string();
  double seconds = 0;
  {
    std::unique_ptr<photolibrary::PhotoLibrary> library;
    seconds = measure([&] {
      library = std::make_unique<photolibrary::PhotoLibrary>(options, decoders, log);
      library->waitUntilScanned();
    });
  }
  return seconds;
}

}  // namespace

int main(int count, char** arguments) {
  const fs::path own = fs::temp_directory_path() / ("tlx-bench-scan-" + std::to_string(::getpid()));
  const fs::path folder = count > 1 ? fs::path(arguments[1]) : own / "photos";
  const fs::path cache = own / "cache";
  if (count <= 1) fill(folder);
  const auto files = filesIn(folder);
  std::printf("%zu files\n", files.size());
  photolibrary::PixelStore pixels((own / "pixels").string());
  photolibrary::DirectDecoders direct(pixels);
  const auto processor = [](auto scan) { return bench::processorSecondsOf(scan); };
  const auto fresh = [&](photolibrary::DecodersPort& decoders, auto measure) {
    fs::remove_all(cache);
    return secondsToScan(folder, cache, decoders, measure);
  };
  bool kept = bench::sideBySide(
      "scanning a folder never seen", 1.5, 5, [&] { return fresh(direct, processor); },
      [&] { return bench::processorSecondsOf([&] { onAllCores(filesIn(folder), readExif); }); });
  kept &= bench::sideBySide(
      "looking again at a folder that stayed", 3, 9, [&] { return secondsToScan(folder, cache, direct, processor); },
      [&] {
        return bench::processorSecondsOf([&] {
          onAllCores(filesIn(folder), [](const std::string& path) {
            struct stat status;
            bench::keep(::stat(path.c_str(), &status) == 0 ? &status : nullptr);
          });
        });
      });
  {
    photolibrary::ConfinedDecoders confined(pixels, {photolibrary::decoderFolder()});
    const auto wall = [](auto scan) { return bench::wallSecondsOf(scan); };
    kept &= bench::sideBySide(
        "scanning it by workers / in process", 1.15, 9, [&] { return fresh(confined, wall); },
        [&] { return fresh(direct, wall); });
  }
  fs::remove_all(own);
  return kept ? 0 : 1;
}

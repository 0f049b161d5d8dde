// Thumbnails and deliveries of a 12-megapixel JPEG beside the limits: libjpeg-turbo's own scaled decode, the embedded
// thumbnail read by hand, one worker beside two, and the memory that a thousand delivered pictures take.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <libexif/exif-data.h>
#include <unistd.h>
#include <vips/vips.h>

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/photolibrary/images/FilePictures.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "adapters/photolibrary/images/headers/MediaProbe.h"
#include "adapters/photolibrary/images/pixels/RowResampler.h"
#include "adapters/photolibrary/source/ItemStore.h"
#include "bench/SideBySide.h"
#include "bench/photolibrary/SamplePhoto.h"

namespace {

using namespace tlx;
using namespace tlx::bench;
using namespace tlx::photolibrary;

/// A manager over one file, asked for many items of it.
class Session {
 public:
  /// `shared` is the folder of the shared thumbnails, which stay unwritten.
  Session(const std::string& path, PixelSize size, const std::string& pixelFolder, unsigned workers,
          const std::string& shared = "")
      : items_(path, size),
        pixels_(pixelFolder),
        images_(items_, decoders_, pixels_, loop_, settings(workers, shared)) {}

  /// Seconds until `count` new items have their first picture (or their final one).
  double secondsFor(int count, CGSize size, PHImageRequestOptionsDeliveryMode mode, bool firstOnly,
                    std::vector<std::shared_ptr<const UIImage>>* keep = nullptr) {
    int finals = 0, firsts = 0;
    const auto asked = [&] {
      for (int i = 0; i < count; ++i) {
        PHImageRequestOptions options;
        options.deliveryMode = mode;
        auto answered = std::make_shared<bool>(false);
        images_.requestImage(asset(next_++), size, keep ? PHImageContentModeAspectFit : PHImageContentModeAspectFill,
                             options,
                             [&, answered](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
                               if (!image) std::abort();
                               firsts += !*answered;
                               *answered = true;
                               finals += !info.PHImageResultIsDegradedKey;
                               if (keep) keep->push_back(image);
                             });
      }
      loop_.runUntil([&] { return (firstOnly ? firsts : finals) == count; }, std::chrono::minutes(20));
    };
    const double seconds = wallSecondsOf(asked);
    loop_.runUntil([&] { return finals == count; }, std::chrono::minutes(20));
    return seconds;
  }

 private:
  static ImageManager::Settings settings(unsigned workers, const std::string& shared) {
    ImageManager::Settings settings;
    settings.workers = workers;
    settings.shared.folder = shared;
    settings.recordBytes = 0;
    return settings;
  }

  memory::Background background_;
  memory::MainLoop loop_{background_};
  OneFile items_;
  PixelStore pixels_;
  DirectDecoders decoders_{pixels_};
  ImageManager images_;
  int next_ = 0;
};

/// Making pixels in memory smaller: by our rows, and by the picture library that is linked anyway, on one thread.
bool compareResampling() {
  struct Row {
    const char* name;
    PixelSize from, to;
    int times;
  };
  const Row rows[] = {{"resampling 4000 x 3000 to 260 / libvips", {4000, 3000}, {260, 195}, 2},
                      {"resampling 500 x 375 to 260 / libvips", {500, 375}, {260, 195}, 50},
                      {"resampling 160 x 120 to 130 / libvips", {160, 120}, {130, 98}, 200}};
  if (vips_init("bench") != 0) return false;
  vips_cache_set_max(0);
  vips_concurrency_set(1);
  bool kept = true;
  for (const Row& row : rows) {
    Buffer pixels(static_cast<std::size_t>(row.from.pixels()) * 4, 255);
    for (std::size_t i = 0; i < pixels.size(); i += 4) pixels[i] = static_cast<std::uint8_t>(i * 2654435761u >> 24);
    const auto ours = [&] {
      Buffer result;
      result.reserve(static_cast<std::size_t>(row.to.pixels()) * 4);
      RowResampler resampler(row.from, row.to, [&](std::uint8_t* line) {
        result.insert(result.end(), line, line + static_cast<std::size_t>(row.to.width) * 4);
      });
      for (std::int32_t y = 0; y < row.from.height; ++y) {
        resampler.add(pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(row.from.width) * 4);
      }
      bench::keep(result.data());
    };
    const auto theirs = [&] {
      VipsImage *from = vips_image_new_from_memory(pixels.data(), pixels.size(), row.from.width, row.from.height, 4,
                                                   VIPS_FORMAT_UCHAR),
                *to = nullptr;
      const double across = static_cast<double>(row.to.width) / row.from.width;
      const double down = static_cast<double>(row.to.height) / row.from.height;
      if (vips_resize(from, &to, across, "vscale", down, "kernel", VIPS_KERNEL_CUBIC, nullptr) != 0) std::abort();
      std::size_t size = 0;
      void* result = vips_image_write_to_memory(to, &size);
      bench::keep(result);
      g_free(result);
      g_object_unref(to);
      g_object_unref(from);
    };
    const auto times = [&](const auto& work) {
      return bench::secondsOf([&] {
        for (int i = 0; i < row.times; ++i) work();
      });
    };
    kept &= bench::sideBySide(
        row.name, 0.67, 9, [&] { return times(ours); }, [&] { return times(theirs); });
  }
  return kept;
}

double residentGigabytes() {
  std::ifstream stream("/proc/self/statm");
  double total = 0, resident = 0;
  stream >> total >> resident;
  return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e9;
}

}  // namespace

int main(int argc, char** argv) {
  const auto twelveMegapixels = [] { return makeJpeg(4000, 3000, 94, exifWithThumbnail(makeJpeg(160, 120, 80, {}))); };
  // For tools/bench-picks.sh: the photo alone.
  if (argc == 3 && std::string_view(argv[1]) == "--photo") return writeFile(argv[2], twelveMegapixels()), 0;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const auto folder = std::filesystem::temp_directory_path() / ("tlx-bench-thumbnails-" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const std::string twelve = (folder / "12.jpg").string(), two = (folder / "2.jpg").string();
  const std::string pixels = (folder / "pixels").string();
  writeFile(twelve, twelveMegapixels());
  writeFile(two, makeJpeg(1600, 1200, 85, {}));
  std::printf("a JPEG of 4000 x 3000 and %.1f MB\n", static_cast<double>(std::filesystem::file_size(twelve)) / 1e6);

  PixelStore store(pixels);
  DirectDecoders direct(store);
  FilePictures decoder(direct);
  const PictureRequest cell{{130, 130}, PHImageContentModeAspectFill};
  bool kept = bench::sideBySide(
      "thumbnail 130 x 130 / scaled decode", 1 / 0.9, 15,
      [&] { return bench::secondsOf([&] { bench::keep(std::get<0>(decoder.decode(twelve, cell)).get()); }); },
      [&] { return bench::secondsOf([&] { scaledDecode(readFile(twelve, 64 << 20), 1); }); });

  kept &= compareResampling();

  const PixelSize size{4000, 3000};
  Session one(twelve, size, pixels, 1), both(twelve, size, pixels, 2);
  Session unseen(twelve, size, pixels, 2, (folder / "thumbnails").string());
  const auto finals = [](Session& session) {
    return session.secondsFor(12, {130, 130}, PHImageRequestOptionsDeliveryModeHighQualityFormat, false);
  };
  kept &= bench::sideBySide(
      "12 thumbnails, two workers / one", 1 / 1.8, 7, [&] { return finals(both); }, [&] { return finals(one); });

  const auto byHand = [&] {
    for (int i = 0; i < 24; ++i) readEmbeddedByHand(twelve);
  };
  kept &= bench::sideBySide(
      "24 embedded pictures at 130 x 130 / by hand", 2, 15,
      [&] {
        return bench::secondsOf([&] {
          for (int i = 0; i < 24; ++i) bench::keep(std::get<0>(decoder.decodeEmbedded(twelve, cell)).get());
        });
      },
      [&] { return bench::secondsOf(byHand); });
  kept &= bench::sideBySide(
      "first pictures of 24 cells / by hand", 2, 9,
      [&] {
        return unseen.secondsFor(24, {130, 130}, PHImageRequestOptionsDeliveryModeOpportunistic, true);
      },
      [&] { return wallSecondsOf(byHand); });

  kept &= bench::sideBySide(
      "JPEG header / 64 KiB and its EXIF by hand", 1.5, 9,
      [&] {
        return bench::secondsOf([&] {
          for (int i = 0; i < 2000; ++i) {
            const int fd = ::open(twelve.c_str(), O_RDONLY);
            if (probeMedia(fd).index() != 0) std::abort();
            ::close(fd);
          }
        });
      },
      [&] {
        return bench::secondsOf([&] {
          for (int i = 0; i < 2000; ++i) {
            const Buffer head = readFile(twelve, 64 << 10);
            exif_data_unref(exif_data_new_from_data(head.data(), static_cast<unsigned>(head.size())));
          }
        });
      });

  std::vector<std::shared_ptr<const UIImage>> delivered;
  Session picks(two, {1600, 1200}, pixels, 0);
  const double seconds =
      picks.secondsFor(1000, {1600, 1600}, PHImageRequestOptionsDeliveryModeHighQualityFormat, false, &delivered);
  const double resident = residentGigabytes();
  const bool small = resident <= 1;
  std::printf("%-44s ours %9.3f GB  of pixels %6.3f GB  in %.1f s  budget %4.1f  %s\n",
              "1,000 picks at 1600 x 1600, resident", resident, 1000 * 1600.0 * 1200 * 4 / 1e9, seconds, 1.0,
              small ? "kept" : "MISSED");
  delivered.clear();
  std::filesystem::remove_all(folder);

  return kept && small ? 0 : 1;
}

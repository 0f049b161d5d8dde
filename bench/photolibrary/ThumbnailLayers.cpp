// A cell's picture from each place that it may come from, beside what reading it there takes by hand.

#include <png.h>

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "adapters/photolibrary/images/PictureLayers.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "bench/photolibrary/SamplePhoto.h"

namespace {

using namespace tlx;
using namespace tlx::bench;
using namespace tlx::photolibrary;

constexpr CGSize cell{130, 130};
constexpr int cells = 24;

void readPng(const std::string& path) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  const Buffer file = readFile(path, 4 << 20);
  if (!png_image_begin_read_from_memory(&png, file.data(), file.size())) std::abort();
  png.format = PNG_FORMAT_RGBA;
  Buffer pixels(PNG_IMAGE_SIZE(png));
  if (!png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr)) std::abort();
  keep(pixels.data());
}

}  // namespace

int main() {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  becomeMultithreaded();
  const auto folder = std::filesystem::temp_directory_path() / ("tlx-bench-layers-" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const std::string photo = (folder / "12.jpg").string();
  writeFile(photo, makeJpeg(4000, 3000, 94, exifWithThumbnail(makeJpeg(160, 120, 80, {}))));
  std::filesystem::last_write_time(photo, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));

  OneFile items(photo, {4000, 3000});
  PixelStore pixels((folder / "pixels").string());
  SharedThumbnails::Settings shared;
  shared.folder = (folder / "thumbnails").string();
  int number = 0;
  const auto wanted = [&] {
    return PictureLayers::Wanted{{asset(++number)->localIdentifier, cell, PHImageContentModeAspectFill}, true};
  };

  DirectDecoders decoders(pixels);
  PictureLayers layers(items, decoders, pixels, 64 << 20, 4 << 20, shared);
  bool kept = sideBySide(
      "by decoding / scaled decode", 1 / 0.9, 15,
      [&] {
        std::optional<SharedThumbnails::Record> record;
        return secondsOf([&] { keep(layers.decode(wanted(), photo, record).image.get()); });
      },
      [&] { return secondsOf([&] { scaledDecode(readFile(photo, 64 << 20), 1); }); });

  const auto first = wanted();
  std::optional<SharedThumbnails::Record> record;
  layers.decode(first, photo, record);
  if (!record) std::abort();
  for (int i = 0; i < cells; ++i) {
    record->subject.uri = "file://" + photo + "#" + std::to_string(1'000'000 + i);
    layers.shared().write(*record);
  }
  const auto files = std::filesystem::directory_iterator(shared.folder + "/large");
  const std::string png = files->path().string();
  const auto fromShared = [&] {
    PictureLayers fresh(items, decoders, pixels, 64 << 20, 4 << 20, shared);
    return secondsOf([&] {
      for (int i = 0; i < cells; ++i) {
        const PictureLayers::Wanted each{{std::to_string(1'000'000 + i), cell, PHImageContentModeAspectFill}, true};
        if (!fresh.atHand(each, true).image) std::abort();
      }
    });
  };
  kept &= sideBySide("24 from the shared thumbnails / by hand", 1.5, 15, fromShared, [&] {
    return secondsOf([&] {
      for (int i = 0; i < cells; ++i) readPng(png);
    });
  });
  sideBySide("24 from the shared thumbnails / by decoding", 0, 5, fromShared, [&] {
    return secondsOf([&] {
      std::optional<SharedThumbnails::Record> ignored;
      for (int i = 0; i < cells; ++i) keep(layers.decode(wanted(), photo, ignored).image.get());
    });
  });
  std::filesystem::remove_all(shared.folder);
  kept &= sideBySide(
      "24 embedded / by hand", 2, 15,
      [&] {
        return secondsOf([&] {
          for (int i = 0; i < cells; ++i) keep(layers.atHand(wanted(), false).image.get());
        });
      },
      [&] {
        return secondsOf([&] {
          for (int i = 0; i < cells; ++i) readEmbeddedByHand(photo);
        });
      });

  memory::Background background;
  memory::MainLoop loop(background);
  ImageManager::Settings settings;
  settings.shared.folder.clear();
  {
    ImageManager images(items, decoders, pixels, loop, settings);
    const auto photoAsset = asset(++number);
    const auto request = [&](auto handler) {
      images.requestImage(photoAsset, cell, PHImageContentModeAspectFill, {}, handler);
    };
    request([](const std::shared_ptr<const UIImage>&, const PHImageInfo&) {});
    images.waitUntilIdle();
    kept &= sideBySide(
        "10,000 from memory / finding the file", 3, 9,
        [&] {
          return secondsOf([&] {
            for (int i = 0; i < 10'000; ++i) {
              request([](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) { keep(image.get()); });
            }
          });
        },
        [&] {
          return secondsOf([&] {
            for (int i = 0; i < 10'000; ++i) keep(std::get<0>(items.locate(photoAsset->localIdentifier)).path.data());
          });
        });
  }

  // Writing must not be felt by whoever waits for a picture.
  const auto finals = [&](bool recording) {
    settings.shared.folder = recording ? shared.folder : "";
    ImageManager images(items, decoders, pixels, loop, settings);
    int answered = 0;
    return wallSecondsOf([&] {
      for (int i = 0; i < cells; ++i) {
        images.requestImage(asset(++number), cell, PHImageContentModeAspectFill, {},
                            [&](const std::shared_ptr<const UIImage>&, const PHImageInfo& info) {
                              answered += !info.PHImageResultIsDegradedKey;
                            });
      }
      loop.runUntil([&] { return answered == cells; }, std::chrono::minutes(5));
    });
  };
  kept &= sideBySide(
      "24 cells, with thumbnails written / without", 1.1, 7, [&] { return finals(true); },
      [&] { return finals(false); });
  std::filesystem::remove_all(folder);
  return kept ? 0 : 1;
}

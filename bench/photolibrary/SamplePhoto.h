#pragma once

// A photo to measure with, and the limits that a thumbnail of it is measured against.

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <jpeglib.h>
#include <libexif/exif-data.h>
#include <unistd.h>

#include "tlx/platform/photos/PHAsset.h"

#include "adapters/photolibrary/images/pixels/FittedSize.h"
#include "adapters/photolibrary/source/ItemStore.h"
#include "bench/SideBySide.h"
#include "bench/photolibrary/ProcessorTime.h"

namespace tlx::bench {

using Buffer = std::vector<std::uint8_t>;

/// A landscape of slopes, waves and grain: as hard on the entropy decoder as a photo.
inline Buffer makeJpeg(int width, int height, int quality, const Buffer& exif) {
  jpeg_compress_struct jpeg;
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &bytes, &size);
  jpeg.image_width = static_cast<JDIMENSION>(width);
  jpeg.image_height = static_cast<JDIMENSION>(height);
  jpeg.input_components = 3;
  jpeg.in_color_space = JCS_RGB;
  jpeg_set_defaults(&jpeg);
  jpeg_set_quality(&jpeg, quality, TRUE);
  jpeg_start_compress(&jpeg, TRUE);
  if (!exif.empty()) jpeg_write_marker(&jpeg, JPEG_APP0 + 1, exif.data(), static_cast<unsigned>(exif.size()));
  Buffer row(static_cast<std::size_t>(width) * 3);
  std::uint32_t grain = 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      grain = grain * 1664525u + 1013904223u;
      const double wave = 40 * std::sin(x * 0.013 + y * 0.004) + 25 * std::sin(y * 0.05 + x * 0.031);
      const double value = 110 + wave + 60.0 * y / height + static_cast<double>(grain >> 28) - 8;
      const std::size_t at = static_cast<std::size_t>(x) * 3;
      row[at] = static_cast<std::uint8_t>(value);
      row[at + 1] = static_cast<std::uint8_t>(value * 0.8 + 20);
      row[at + 2] = static_cast<std::uint8_t>(230 - value * 0.6);
    }
    JSAMPROW line = row.data();
    jpeg_write_scanlines(&jpeg, &line, 1);
  }
  jpeg_finish_compress(&jpeg);
  Buffer result(bytes, bytes + size);
  jpeg_destroy_compress(&jpeg);
  std::free(bytes);
  return result;
}

inline Buffer exifWithThumbnail(const Buffer& thumbnail) {
  ExifData* data = exif_data_new();
  data->data = static_cast<unsigned char*>(std::malloc(thumbnail.size()));
  std::copy(thumbnail.begin(), thumbnail.end(), data->data);
  data->size = static_cast<unsigned>(thumbnail.size());
  unsigned char* bytes = nullptr;
  unsigned size = 0;
  exif_data_save_data(data, &bytes, &size);
  Buffer block(bytes, bytes + size);
  std::free(bytes);
  exif_data_unref(data);
  return block;
}

inline void writeFile(const std::string& path, const Buffer& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline Buffer readFile(const std::string& path, std::size_t most) {
  Buffer bytes(std::min<std::size_t>(most, std::filesystem::file_size(path)));
  const int fd = ::open(path.c_str(), O_RDONLY);
  const ssize_t got = ::read(fd, bytes.data(), bytes.size());
  ::close(fd);
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  return bytes;
}

/// The limit: decodes at an eighth and lets every pixel fall.
inline void scaledDecode(const Buffer& bytes, unsigned scale) {
  jpeg_decompress_struct jpeg;
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&jpeg);
  jpeg_mem_src(&jpeg, bytes.data(), bytes.size());
  jpeg_read_header(&jpeg, TRUE);
  jpeg.out_color_space = JCS_EXT_RGBA;
  jpeg.scale_num = scale;
  jpeg.scale_denom = 8;
  jpeg_start_decompress(&jpeg);
  Buffer row(jpeg.output_width * 4);
  JSAMPROW line = row.data();
  while (jpeg.output_scanline < jpeg.output_height) jpeg_read_scanlines(&jpeg, &line, 1);
  keep(row.data());
  jpeg_finish_decompress(&jpeg);
  jpeg_destroy_decompress(&jpeg);
}

inline void readEmbeddedByHand(const std::string& path) {
  const Buffer head = readFile(path, 64 << 10);
  ExifData* data = exif_data_new_from_data(head.data(), static_cast<unsigned>(head.size()));
  if (!data || !data->data) std::abort();
  scaledDecode({data->data, data->data + data->size}, 8);
  exif_data_unref(data);
}

inline std::shared_ptr<const PHAsset> asset(int number) {
  auto made = std::make_shared<PHAsset>();
  made->mediaType = PHAssetMediaTypeImage;
  made->localIdentifier = std::to_string(number);
  return made;
}

/// Any number of items, all of one file, each with an address of its own.
class OneFile final : public photolibrary::ItemStore {
 public:
  OneFile(std::string path, photolibrary::PixelSize size) : path_(std::move(path)), size_(size) {}
  std::variant<photolibrary::ItemLocation, NSError> locate(const Identifier& identifier) const override {
    photolibrary::ItemLocation location;
    location.path = path_;
    location.uri = "file://" + path_ + "#" + identifier.string();
    location.format = photolibrary::MediaFormat::Jpeg;
    location.width = size_.width;
    location.height = size_.height;
    return location;
  }
  std::variant<photolibrary::Original, NSError> fetchOriginal(const Identifier&, const FetchOptions&) override {
    return photolibrary::Original{path_, nullptr};
  }

 private:
  std::string path_;
  photolibrary::PixelSize size_;
};

}  // namespace tlx::bench

#include "tests/adapters/photolibrary/LibraryFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// clang-format off
#include <cstdio>
#include <jpeglib.h>
// clang-format on

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace tlx::photolibrary::test {
namespace {

void append(std::vector<std::uint8_t>& bytes, std::uint64_t value, int count) {
  while (count-- > 0) bytes.push_back(count < 8 ? static_cast<std::uint8_t>(value >> (8 * count)) : 0);
}
void append(std::vector<std::uint8_t>& bytes, const std::string& text) {
  bytes.insert(bytes.end(), text.begin(), text.end());
}

/// A big-endian EXIF block with a rating, and a capture date with its offset in the inner directory.
std::vector<std::uint8_t> exifOf(const SamplePhoto& photo) {
  std::vector<std::uint8_t> exif;
  append(exif, std::string("Exif\0\0MM\0*\0\0\0\10", 14));
  append(exif, 2, 2);
  append(exif, 0x4746'0003'0000'0001, 8);
  append(exif, static_cast<std::uint64_t>(photo.rating) << 16, 4);
  append(exif, 0x8769'0004'0000'0001, 8);
  append(exif, 38, 4);
  append(exif, 0, 4);
  append(exif, 2, 2);
  append(exif, 0x9003'0002'0000'0014, 8);
  append(exif, 68, 4);
  append(exif, 0x9011'0002'0000'0007, 8);
  append(exif, 88, 4);
  append(exif, 0, 4);
  append(exif, photo.captured + std::string(20 - photo.captured.size(), '\0'));
  append(exif, photo.offset + std::string(7 - photo.offset.size(), '\0'));
  return exif;
}

}  // namespace

void KeptLog::log(const std::string& line) {
  std::lock_guard lock(mutex_);
  lines_.push_back(line);
}

std::vector<std::string> KeptLog::lines() const {
  std::lock_guard lock(mutex_);
  return lines_;
}

std::vector<std::uint8_t> samplePhoto(const SamplePhoto& photo) {
  jpeg_compress_struct jpeg;
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &data, &size);
  jpeg.image_width = 4;
  jpeg.image_height = 3;
  jpeg.input_components = 1;
  jpeg.in_color_space = JCS_GRAYSCALE;
  jpeg_set_defaults(&jpeg);
  jpeg_start_compress(&jpeg, TRUE);
  if (!photo.captured.empty() || photo.rating) {
    const auto exif = exifOf(photo);
    jpeg_write_marker(&jpeg, JPEG_APP0 + 1, exif.data(), static_cast<unsigned>(exif.size()));
  }
  unsigned char row[4] = {0, 80, 160, 240};
  JSAMPROW rows[] = {row};
  for (int y = 0; y < 3; ++y) jpeg_write_scanlines(&jpeg, rows, 1);
  jpeg_finish_compress(&jpeg);
  std::vector<std::uint8_t> bytes(data, data + size);
  jpeg_destroy_compress(&jpeg);
  std::free(data);
  return bytes;
}

std::vector<std::uint8_t> sampleVideo(double seconds) {
  using Bytes = std::vector<std::uint8_t>;
  const auto box = [](const char* type, const std::vector<Bytes>& contents) {
    Bytes bytes(4);
    append(bytes, type);
    for (const Bytes& content : contents) bytes.insert(bytes.end(), content.begin(), content.end());
    for (int i = 0; i < 4; ++i)
      bytes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(bytes.size() >> (24 - 8 * i));
    return bytes;
  };
  const auto zeros = [](std::size_t count) { return Bytes(count); };
  const auto number = [](std::uint64_t value, int count) {
    Bytes bytes;
    append(bytes, value, count);
    return bytes;
  };
  const auto text = [](const char* letters) { return Bytes(letters, letters + 4); };
  const Bytes time = number(1000, 4), length = number(static_cast<std::uint64_t>(std::llround(seconds * 1000)), 4);
  const Bytes picture = box("jpeg", {zeros(6), number(1, 2), zeros(16), number(96, 2), number(64, 2), zeros(50)});
  const Bytes table = box("stbl", {box("stsd", {zeros(4), number(1, 4), picture}), box("stts", {zeros(8)}),
                                   box("stsc", {zeros(8)}), box("stsz", {zeros(12)}), box("stco", {zeros(8)})});
  const Bytes media = box("mdia", {box("mdhd", {zeros(12), time, length, zeros(4)}),
                                   box("hdlr", {zeros(8), text("vide"), zeros(13)}), box("minf", {table})});
  const Bytes track = box("trak", {box("tkhd", {zeros(12), number(1, 4), zeros(4), length, zeros(60)}), media});
  Bytes bytes = box("ftyp", {text("isom"), number(512, 4), text("isom"), text("mp42")});
  const Bytes movie = box("moov", {box("mvhd", {zeros(12), time, length, zeros(80)}), track});
  bytes.insert(bytes.end(), movie.begin(), movie.end());
  return bytes;
}

LibraryFolder::LibraryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "tlx-library-XXXXXX").string();
  if (!::mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
  top_ = std::filesystem::canonical(name);
  std::filesystem::create_directory(pictures());
  std::filesystem::remove_all(trashFolder());
}

LibraryFolder::~LibraryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(top_, ignored);
}

std::filesystem::path LibraryFolder::trashFolder() {
  // Where data lie is asked of the environment once in a process.
  static const struct Data {
    Data() { ::setenv("XDG_DATA_HOME", path.c_str(), 1); }
    ~Data() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("tlx-data-" + std::to_string(::getpid()));
  } data;
  return data.path / "Trash";
}

void LibraryFolder::put(const std::string& path, const std::vector<std::uint8_t>& bytes, double modified) const {
  const std::filesystem::path full = pictures() / path;
  std::filesystem::create_directories(full.parent_path());
  std::ofstream(full, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (modified == 0) return;
  timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(modified), 0}};
  if (::utimensat(AT_FDCWD, full.c_str(), times, 0) != 0)
    throw std::runtime_error("cannot set the time of " + full.string());
}

void LibraryFolder::trash(const std::string& path) const {
  const std::filesystem::path bin = trashFolder(), from = pictures() / path;
  std::filesystem::create_directories(bin / "files");
  std::filesystem::create_directories(bin / "info");
  std::string escaped;
  for (const char c : from.string()) escaped += c == ' ' ? std::string("%20") : std::string(1, c);
  std::ofstream(bin / "info" / (from.filename().string() + ".trashinfo"))
      << "[Trash Info]\nPath=" << escaped << "\nDeletionDate=2024-05-01T10:00:00\n";
  std::filesystem::rename(from, bin / "files" / from.filename());
}

PhotoLibrary::Options LibraryFolder::options() const {
  PhotoLibrary::Options options;
  options.roots = {pictures().string()};
  options.host = "a test";
  options.preauthorised = true;
  options.cacheFolder = (top_ / "cache").string();
  options.configFolder = (top_ / "config").string();
  return options;
}

std::vector<std::string> namesIn(PhotoLibrary& library, const std::string& album) {
  std::vector<std::string> names;
  for (const auto type : {PHAssetCollectionTypeSmartAlbum, PHAssetCollectionTypeAlbum}) {
    const auto albums = library.fetchAssetCollections(type, PHAssetCollectionSubtypeAny);
    for (const auto& collection : *albums) {
      if (collection->localizedTitle != album) continue;
      const auto assets = library.fetchAssets(*collection, {});
      for (const auto& asset : *assets)
        names.push_back(library.details(asset->localIdentifier).value_or(PhotoLibrary::Details{}).name);
    }
  }
  return names;
}

std::vector<std::string> titles(PhotoLibrary& library) {
  std::vector<std::string> all;
  const auto albums = library.fetchAssetCollections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny);
  for (const auto& collection : *albums) all.push_back(collection->localizedTitle);
  return all;
}

std::map<std::string, std::vector<std::string>> everythingIn(PhotoLibrary& library) {
  std::map<std::string, std::vector<std::string>> all;
  for (const auto type : {PHAssetCollectionTypeSmartAlbum, PHAssetCollectionTypeAlbum}) {
    const auto albums = library.fetchAssetCollections(type, PHAssetCollectionSubtypeAny);
    for (const auto& collection : *albums) {
      auto& items = all[collection->localizedTitle + " " + collection->localIdentifier.string()];
      const auto assets = library.fetchAssets(*collection, {});
      for (const auto& asset : *assets) {
        const auto details = library.details(asset->localIdentifier);
        items.push_back((details ? details->path : "?") + " " + asset->localIdentifier.string());
      }
    }
  }
  return all;
}

std::string identifierOf(PhotoLibrary& library, const std::string& name) {
  for (const auto& collection :
       *library.fetchAssetCollections(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAny)) {
    const auto assets = library.fetchAssets(*collection, {});
    for (const auto& asset : *assets) {
      if (library.details(asset->localIdentifier).value_or(PhotoLibrary::Details{}).name == name)
        return asset->localIdentifier.string();
    }
  }
  return {};
}

}  // namespace tlx::photolibrary::test

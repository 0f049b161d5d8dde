#include "adapters/photolibrary/catalogue/Albums.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <string_view>

#include "adapters/photolibrary/catalogue/NaturalOrder.h"

namespace tlx::photolibrary {
namespace {

struct SmartAlbumNames {
  const char* identifier;
  const char* title;
};
constexpr SmartAlbumNames kSmartAlbums[] = {
    {"smart:camera-roll", "Camera Roll"}, {"smart:favorites", "Favorites"},
    {"smart:videos", "Videos"},           {"smart:panoramas", "Panoramas"},
    {"smart:screenshots", "Screenshots"}, {"smart:recently-deleted", "Recently Deleted"},
};

/// The length of the well-formed UTF-8 character at the front, or 0.
std::size_t characterLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
  }
  const bool overlong = (lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xf0 && byte(1) < 0x90);
  const bool outside = (lead == 0xed && byte(1) > 0x9f) || (lead == 0xf4 && byte(1) > 0x8f);
  return overlong || outside ? 0 : length;
}

std::string shown(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    if (length == 0) {
      line += "\xef\xbf\xbd";
    } else if (length == 1 && (static_cast<unsigned char>(text[0]) < 0x20 || text[0] == 0x7f)) {
      line += ' ';
    } else {
      line += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return line;
}

std::string_view nameOf(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  return name.empty() ? path : name;
}

/// The last `depth` names above the folder, or all there are.
std::string_view above(std::string_view path, int depth) {
  const std::size_t end = path.rfind('/');
  if (end == std::string_view::npos || end == 0) return {};
  std::size_t start = end;
  for (int i = 0; i < depth && start != 0 && start != std::string_view::npos; ++i) start = path.rfind('/', start - 1);
  return path.substr(start == std::string_view::npos ? 0 : start + 1, end - (start + 1));
}

}  // namespace

const std::vector<std::shared_ptr<const PHAssetCollection>>& smartAlbums() {
  static const auto albums = [] {
    std::vector<std::shared_ptr<const PHAssetCollection>> made;
    for (const SmartAlbumNames& names : kSmartAlbums) {
      made.push_back(std::make_shared<PHAssetCollection>(
          PHAssetCollection{PHAssetCollectionTypeSmartAlbum, names.identifier, names.title}));
    }
    return made;
  }();
  return albums;
}

std::optional<SmartAlbum> smartAlbumOf(const std::string& identifier) {
  for (std::size_t i = 0; i < std::size(kSmartAlbums); ++i) {
    if (identifier == kSmartAlbums[i].identifier) return static_cast<SmartAlbum>(i);
  }
  return std::nullopt;
}

bool belongsTo(SmartAlbum album, const Item& item, bool trashed) {
  if (trashed || album == SmartAlbum::RecentlyDeleted) return trashed && album == SmartAlbum::RecentlyDeleted;
  switch (album) {
    case SmartAlbum::Favorites:
      return item.facts.marks & ItemMarkFavorite;
    case SmartAlbum::Videos:
      return item.mediaType == PHAssetMediaTypeVideo;
    case SmartAlbum::Panoramas:
      return item.facts.marks & ItemMarkPanorama;
    case SmartAlbum::Screenshots:
      return item.facts.marks & (ItemMarkScreenshot | ItemMarkScreenshotPlace);
    default:
      return true;
  }
}

std::string albumIdentifierOf(const Folder& folder) {
  return "folder:" + folder.identifier;
}

std::vector<std::shared_ptr<const PHAssetCollection>> folderAlbums(const Folders& folders,
                                                                   std::vector<std::uint32_t>& order) {
  order.resize(folders.size());
  std::iota(order.begin(), order.end(), 0u);
  std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
    const Folder &x = *folders[a], &y = *folders[b];
    if (x.root != y.root) return x.root < y.root;
    if (const int by = naturalCompare(x.relative, y.relative)) return by < 0;
    return x.path < y.path;
  });

  std::vector<std::string> titles(folders.size());
  std::map<std::string, std::vector<std::uint32_t>> named;
  for (std::uint32_t i = 0; i < folders.size(); ++i) named[shown(nameOf(folders[i]->path))].push_back(i);
  for (const auto& [name, same] : named) {
    std::vector<std::uint32_t> alike = same;
    for (const std::uint32_t i : same) titles[i] = name;
    std::size_t longest = 0;
    for (const std::uint32_t i : same) {
      longest = std::max<std::size_t>(longest, std::count(folders[i]->path.begin(), folders[i]->path.end(), '/'));
    }
    for (int depth = 1; alike.size() > 1 && static_cast<std::size_t>(depth) <= longest; ++depth) {
      std::map<std::string, std::vector<std::uint32_t>> groups;
      for (const std::uint32_t i : alike) {
        const std::string parent = shown(above(folders[i]->path, depth));
        titles[i] = name;
        if (!parent.empty()) titles[i].append(" (").append(parent).append(")");
        groups[titles[i]].push_back(i);
      }
      alike.clear();
      for (const auto& [title, group] : groups) {
        if (group.size() > 1) alike.insert(alike.end(), group.begin(), group.end());
      }
    }
  }

  std::vector<std::shared_ptr<const PHAssetCollection>> albums;
  albums.reserve(folders.size());
  for (const std::uint32_t i : order) {
    albums.push_back(std::make_shared<PHAssetCollection>(
        PHAssetCollection{PHAssetCollectionTypeAlbum, albumIdentifierOf(*folders[i]), titles[i]}));
  }
  return albums;
}

}  // namespace tlx::photolibrary

#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "tlx/platform/photos/PHAsset.h"
#include "tlx/platform/photos/PHAssetCollection.h"
#include "tlx/platform/photos/PHFetchOptions.h"

namespace tlx::memory {

/// Items for a library; `creationDate` in seconds since 1970 UTC.
PHAsset photo(Identifier identifier, double creationDate = 0);
PHAsset video(Identifier identifier, double creationDate = 0, double duration = 10);

/// What a library holds at one moment. A value: copies share nothing that changes.
class LibraryContents {
 public:
  struct Album {
    PHAssetCollection collection;
    std::vector<Identifier> items;  ///< the library's own order
  };

  /// Adds an album, in the library's order of albums, with the items, which come into the library if they are not there
  /// yet. Answers its identifier: the title, or the title with a number where that is taken.
  Identifier addSmartAlbum(const std::string& title, const std::vector<PHAsset>& items = {});
  Identifier addUserAlbum(const std::string& title, const std::vector<PHAsset>& items = {});

  /// Adds an item to the library, or takes over what is new about it, and puts it at the end of each of the albums
  /// that does not hold it yet. An album that is not there is an `NSException`, here and below.
  void add(const PHAsset& item, const std::vector<Identifier>& albums = {});
  /// Takes items out of the library and all its albums; unknown ones are an `NSException`.
  void remove(const std::vector<Identifier>& items);
  void removeAlbum(const Identifier& album);
  void renameAlbum(const Identifier& album, const std::string& title);

  std::shared_ptr<const PHAsset> find(const Identifier& item) const;
  const Album* findAlbum(const Identifier& album) const;
  const std::vector<Album>& albums() const { return albums_; }
  /// The items of the album that the options keep, in the order they ask for. None for an unknown album; an unknown key
  /// or format is an `NSException`.
  std::vector<std::shared_ptr<const PHAsset>> fetch(const Identifier& album, const PHFetchOptions& options) const;

 private:
  Identifier addAlbum(PHAssetCollectionType type, const std::string& title, const std::vector<PHAsset>& items);
  Album& album(const Identifier& identifier);

  std::unordered_map<Identifier, std::shared_ptr<const PHAsset>> items_;
  std::vector<Album> albums_;
};

}  // namespace tlx::memory

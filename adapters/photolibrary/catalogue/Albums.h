#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/photos/PHAssetCollection.h"

#include "adapters/photolibrary/source/Item.h"

namespace tlx::photolibrary {

/// The albums that the library keeps by itself, in their order. Their identifiers are constants.
enum class SmartAlbum { CameraRoll, Favorites, Videos, Panoramas, Screenshots, RecentlyDeleted };

const std::vector<std::shared_ptr<const PHAssetCollection>>& smartAlbums();
std::optional<SmartAlbum> smartAlbumOf(const std::string& identifier);
/// Whether the album holds the item, told whether the item lies in a trash.
bool belongsTo(SmartAlbum album, const Item& item, bool trashed);

/// The identifier of the album that shows this folder.
std::string albumIdentifierOf(const Folder& folder);

/// One album for each of these folders: by root, then naturally by path below it, each titled by its folder's name.
/// Equal names are told apart by as much of the path above as it takes: "Name (Parent)". Titles are UTF-8 on one line:
/// other bytes show as U+FFFD, control characters as spaces. `order` is told the position of each album's folder in
/// `folders`.
std::vector<std::shared_ptr<const PHAssetCollection>> folderAlbums(const Folders& folders,
                                                                   std::vector<std::uint32_t>& order);

}  // namespace tlx::photolibrary

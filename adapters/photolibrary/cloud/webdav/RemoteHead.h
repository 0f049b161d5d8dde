#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <variant>

#include "adapters/photolibrary/cloud/webdav/Server.h"
#include "adapters/photolibrary/source/DecodersPort.h"

namespace tlx::photolibrary {

/// How much of a file's beginning is read: nearly every photo's metadata and embedded picture lie within.
inline constexpr std::int64_t kHeadBytes = 64 * 1024;

/// As `DecodersPort::probe`, of a file on a server, from its first bytes and, of a video that has it elsewhere, its
/// table of contents. `PhotoLibraryErrorUnsupported` for what is no photo or video, an error of the cloud's domain when
/// the server could not be asked. A file of a known format whose header does not fit in is told by its format alone,
/// and by its type alone while there are no decoders.
std::variant<MediaInfo, NSError> probeRemote(Server& server, DecodersPort& decoders, const std::string& path,
                                             std::int64_t bytes, const std::stop_token& stop);

}  // namespace tlx::photolibrary

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tlx {

/// Media types of tracks.
inline constexpr char AVMediaTypeVideo[] = "vide";
inline constexpr char AVMediaTypeAudio[] = "soun";

/// One track of a playable asset.
struct AVAssetTrack {
  std::string mediaType;      ///< AVMediaTypeVideo, AVMediaTypeAudio or another four-character type
  std::string codec;          ///< the codec's short name, such as "h264"; empty when unknown
  int width = 0, height = 0;  ///< pixels as they are to be shown, turned upright; 0 for other than video
  double duration = 0;        ///< seconds; 0 when the container does not say
};

/// A playable video. Immutable; may be read on any thread.
class AVAsset {
 public:
  virtual ~AVAsset() = default;
  /// In the container's order; empty when there is none of that type.
  virtual std::vector<AVAssetTrack> tracksWithMediaType(const std::string& mediaType) const = 0;
  /// Seconds; 0 when the container does not say.
  virtual double duration() const = 0;
};

/// A finished recording in a local file, with what its maker knows of it. The file stays while anyone holds `owner`.
struct AVRecording {
  std::string path;  ///< bytes as the file system has them
  std::vector<AVAssetTrack> tracks;
  double duration = 0;  ///< seconds
  std::shared_ptr<const void> owner;
};

/// How the audio tracks are to be mixed. No library of ours delivers one; the type stands in the handler's signature.
class AVAudioMix;

/// A video in a local file. Keeps the file's owner, when one is given, so that a temporary file lives as long as the
/// record that refers to it.
class AVURLAsset : public AVAsset {
 public:
  AVURLAsset(std::string path, std::vector<AVAssetTrack> tracks, double duration,
             std::shared_ptr<const void> owner = nullptr)
      : path_(std::move(path)), tracks_(std::move(tracks)), duration_(duration), owner_(std::move(owner)) {}

  /// Nothing for nothing.
  static std::shared_ptr<const AVURLAsset> URLAssetWithURL_options(const std::optional<AVRecording>& url);

  /// Bytes as the file system has them; not necessarily UTF-8.
  const std::string& path() const { return path_; }
  std::vector<AVAssetTrack> tracksWithMediaType(const std::string& mediaType) const override;
  double duration() const override { return duration_; }

 private:
  std::string path_;
  std::vector<AVAssetTrack> tracks_;
  double duration_;
  std::shared_ptr<const void> owner_;
};

}  // namespace tlx

#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "adapters/photolibrary/cloud/CloudAddress.h"

namespace tlx::program {

/// What the command line asks for.
struct Arguments {
  enum class Format { Json, Paths, Paths0 };
  enum class Camera { Auto, Test, None };
  enum class OnFailure { Continue, Retry, Cancel };
  /// Positions of one album, newest first, as ranges with both ends.
  struct Pick {
    std::string album;  ///< a title or an identifier
    std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges;
  };

  std::vector<std::string> folders;
  std::vector<photolibrary::CloudAddress> clouds;
  std::string cloudCredentials;  ///< a file of them
  std::int64_t kind = 0;         ///< 0 images and videos, 1 images, 2 videos
  std::int64_t max = -1;
  std::uint32_t width = 1600, height = 1600;  ///< within which images are delivered
  std::uint32_t windowWidth = 1024, windowHeight = 720;
  std::string output;
  Format format = Format::Json;
  bool followLinks = false;  ///< also where they lead out of the folders
  bool headless = false, list = false, help = false, version = false;
  std::vector<Pick> picks;
  OnFailure onFailure = OnFailure::Cancel;
  std::string screenshot;
  Camera camera = Camera::Auto;
};

/// The arguments, or one line that says what is wrong with them and repeats nothing secret.
std::variant<Arguments, std::string> parseArguments(const std::vector<std::string>& words);

/// Takes passwords out of the addresses among the words that the process was started with, which everybody on the
/// machine can read. Whoever wants them has copied the words before.
void eraseSecrets(int count, char** words);

/// What the options mean, for a person.
std::string usage();

}  // namespace tlx::program

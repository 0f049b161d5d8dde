#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tlx {

/// What the person is asked when some of the picked items could not be fetched.
struct FetchFailureAlert {
  std::string title;  ///< may be empty
  std::string message;
  std::vector<std::string> choices;  ///< the buttons' titles, in the order in which they are offered

  /// `fetched` items arrived; of the others, `noInternet` failed for want of a connection and `unsupported` are videos
  /// that cannot be used. Nothing can be continued with when nothing arrived, and nothing is gained by a retry when
  /// only the videos are to blame.
  static FetchFailureAlert forCounts(std::int64_t fetched, std::int64_t noInternet, std::int64_t unsupported);
};

}  // namespace tlx

#include "tlx/picker/FetchFailureAlert.h"

namespace tlx {

FetchFailureAlert FetchFailureAlert::forCounts(std::int64_t fetched, std::int64_t noInternet,
                                               std::int64_t unsupported) {
  const bool oneVideo = unsupported == 1, oneOffline = noInternet == 1;
  const std::string unsupportedTitle = oneVideo ? "Unsupported File!" : "Unsupported Files!";
  const std::string inaccessibleTitle = "Inaccessible Files!";
  const std::string offline = "iCloud downloading was not successful since there is no internet connection.";
  if (fetched == 0) {
    if (noInternet == 0) return {unsupportedTitle, "Please choose another file to continue.", {"OK"}};
    const std::string connect = offline + " Please connect to a network & try again.";
    if (unsupported == 0) return {"", connect, {"Cancel", "Retry"}};
    const std::string videos = oneVideo ? "there is an unsupporeted file." : "there are some unsupported files.";
    return {inaccessibleTitle, "Please choose another file since " + videos + "\n" + connect, {"Cancel", "Retry"}};
  }
  const std::string videos = oneVideo ? "There is an unsupported file" : "There are some unsupported files";
  if (noInternet == 0) {
    return {unsupportedTitle,
            videos + (oneVideo ? ". You can continue without the unsupported file."
                               : ". You can continue without these unsupported files."),
            {"Continue", "Cancel"}};
  }
  if (unsupported == 0) {
    return {"",
            offline + " You can connect to a network and retry or continue without " +
                (oneOffline ? "the iCloud file." : "these iCloud files."),
            {"Continue", "Retry", "Cancel"}};
  }
  return {inaccessibleTitle,
          videos + " and " + (oneOffline ? "an iCloud file" : "iCloud files") +
              ". You can connect to a network and retry or you can continue without these inaccessible files.",
          {"Continue Anyway", "Retry", "Cancel"}};
}

}  // namespace tlx

#include "tlx/picker/FetchFailureAlert.h"

namespace tlx {
namespace {

using enum FetchFailureChoice;

FetchFailureAlert nothingFetched(std::int64_t noInternet, std::int64_t unsupported) {
  const bool one = unsupported == 1;
  if (noInternet == 0) {
    return {one ? "Unsupported File!" : "Unsupported Files!", "Please choose another file to continue.", {OK}};
  }
  const std::string offline =
      "iCloud downloading was not successful since there is no internet connection. Please connect to a network & try "
      "again.";
  if (unsupported == 0) return {"", offline, {Cancel, Retry}};
  const std::string videos = one ? "there is an unsupporeted file." : "there are some unsupported files.";
  return {"Inaccessible Files!", "Please choose another file since " + videos + "\n" + offline, {Cancel, Retry}};
}

FetchFailureAlert someFetched(std::int64_t noInternet, std::int64_t unsupported) {
  const bool oneVideo = unsupported == 1, oneOffline = noInternet == 1;
  if (noInternet == 0) {
    return {oneVideo ? "Unsupported File!" : "Unsupported Files!",
            oneVideo ? "There is an unsupported file. You can continue without the unsupported file."
                     : "There are some unsupported files. You can continue without these unsupported files.",
            {Continue, Cancel}};
  }
  if (unsupported == 0) {
    const std::string offline =
        "iCloud downloading was not successful since there is no internet connection. You can connect to a network and "
        "retry or continue without ";
    return {"", offline + (oneOffline ? "the iCloud file." : "these iCloud files."), {Continue, Retry, Cancel}};
  }
  const std::string videos = oneVideo ? "There is an unsupported file" : "There are some unsupported files";
  const std::string offline = oneOffline ? "an iCloud file" : "iCloud files";
  return {"Inaccessible Files!",
          videos + " and " + offline +
              ". You can connect to a network and retry or you can continue without these inaccessible files.",
          {ContinueAnyway, Retry, Cancel}};
}

}  // namespace

FetchFailureAlert FetchFailureAlert::forCounts(std::int64_t fetched, std::int64_t noInternet,
                                               std::int64_t unsupported) {
  return fetched == 0 ? nothingFetched(noInternet, unsupported) : someFetched(noInternet, unsupported);
}

}  // namespace tlx

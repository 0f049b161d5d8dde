// Who may see the photos, and what is remembered of it; the standard folders; natural order.

#include <cstdlib>
#include <fstream>
#include <future>

#include <glib.h>
#include <gmock/gmock.h>

#include "adapters/photolibrary/base/XdgFolders.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HeldConsent final : public PhotoConsent {
 public:
  void askForPhotos(const std::string& host, Answer answer) override {
    hosts.push_back(host);
    held = std::move(answer);
  }
  std::vector<std::string> hosts;
  Answer held;
};

class FilesAccess : public testing::Test {
 protected:
  std::unique_ptr<PhotoLibrary> open(const std::string& host, PhotoConsent* consent) {
    auto options = folder_.options();
    options.preauthorised = false;
    options.host = host;
    options.consent = consent;
    return std::make_unique<PhotoLibrary>(options, directDecoders(), log_);
  }
  static std::future<PHAuthorizationStatus> request(PhotoLibrary& library) {
    const auto promise = std::make_shared<std::promise<PHAuthorizationStatus>>();
    library.requestAuthorization([promise](PHAuthorizationStatus status) { promise->set_value(status); });
    return promise->get_future();
  }

  LibraryFolder folder_;
  KeptLog log_;
  HeldConsent consent_;
};

TEST_F(FilesAccess, QuestionsAreAnsweredOnceAndDecisionsRememberedForThatHostAlone) {
  using Status = PHAuthorizationStatus;
  constexpr auto kOpen = PHAuthorizationStatusNotDetermined, kYes = PHAuthorizationStatusAuthorized,
                 kNo = PHAuthorizationStatusDenied;
  const struct {
    const char* what;
    std::function<void(PhotoLibrary&)> happens;
    Status answer, remembered;
  } rows[] = {
      {"answered twice",
       [&](auto&) {
         consent_.held(true);
         consent_.held(false);
       },
       kYes, kYes},
      {"let go", [&](auto&) { consent_.held = nullptr; }, kOpen, kOpen},
      {"decided elsewhere before the answer",
       [&](auto& library) {
         EXPECT_TRUE(library.setPhotosAllowed(true));
         consent_.held(false);
       },
       kYes, kYes},
      {"nobody to ask", nullptr, kNo, kOpen},
  };
  folder_.putPhoto("one.jpg", 1000);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const std::string host = std::string("../a host/with: odd name ") + row.what;
    consent_.hosts.clear();
    const auto library = open(host, row.happens ? &consent_ : nullptr);
    EXPECT_EQ(library->authorizationStatus(), kOpen);
    EXPECT_THAT(namesIn(*library, "Camera Roll"), IsEmpty());
    auto first = request(*library), second = request(*library);
    if (row.happens) {
      EXPECT_THAT(consent_.hosts, ElementsAre(host)) << "two requests, one question";
      row.happens(*library);
    }
    EXPECT_EQ(first.get(), row.answer);
    EXPECT_EQ(second.get(), row.answer);
    library->waitUntilScanned();
    EXPECT_THAT(namesIn(*library, "Camera Roll"), testing::SizeIs(row.answer == kYes));
    EXPECT_EQ(open(host, &consent_)->authorizationStatus(), row.remembered);
    EXPECT_EQ(open("another host", &consent_)->authorizationStatus(), kOpen);
    if (row.answer == kOpen) {
      auto again = request(*library);
      EXPECT_EQ(consent_.hosts.size(), 2u) << "it may be put again";
      consent_.held(false);
      EXPECT_EQ(again.get(), kNo);
    }
  }
}

TEST_F(FilesAccess, AnAnswerMayComeAfterTheLibrary) {
  auto library = open("host", &consent_);
  request(*library);
  library.reset();
  consent_.held(true);
  EXPECT_EQ(open("host", &consent_)->authorizationStatus(), PHAuthorizationStatusNotDetermined);
}

TEST_F(FilesAccess, WithoutAccessNoChangeIsToldAndAccessIsOne) {
  folder_.putPhoto("one.jpg", 1000);
  const auto library = open("host", &consent_);
  EXPECT_TRUE(library->setPhotosAllowed(true));
  library->waitUntilScanned();
  EXPECT_TRUE(library->setPhotosAllowed(false));
  EXPECT_THAT(namesIn(*library, "Camera Roll"), IsEmpty());
  EXPECT_EQ(request(*library).get(), PHAuthorizationStatusDenied);  // after everybody was told of that
  Onlooker onlooker(*library);
  folder_.putPhoto("two.jpg", 2000);
  look(*library);
  EXPECT_EQ(request(*library).get(), PHAuthorizationStatusDenied);
  EXPECT_EQ(onlooker.count(), 0) << "changes are no business of a program that may not see them";
  EXPECT_TRUE(library->setPhotosAllowed(true));
  EXPECT_THAT(namesIn(*library, "Camera Roll"), ElementsAre("two.jpg", "one.jpg"));
  EXPECT_EQ(request(*library).get(), PHAuthorizationStatusAuthorized);
  EXPECT_EQ(onlooker.count(), 1);
}

TEST_F(FilesAccess, WhatSomebodyElseDecidesHoldsForWhatIsOpen) {
  folder_.putPhoto("one.jpg", 1000);
  const auto library = open("host", &consent_);
  Onlooker onlooker(*library);
  const auto comesTo = [&](PHAuthorizationStatus status, std::size_t items) {
    return onlooker.comesTo(
        [&] { return library->authorizationStatus() == status && namesIn(*library, "Camera Roll").size() == items; });
  };
  auto answer = request(*library);
  const AccessRecord other(folder_.options().configFolder + "/access", "host");
  EXPECT_TRUE(other.setPhotosAllowed(true)) << "not even the folder was there";
  EXPECT_EQ(answer.get(), PHAuthorizationStatusAuthorized) << "the open question is answered";
  EXPECT_TRUE(comesTo(PHAuthorizationStatusAuthorized, 1));
  EXPECT_TRUE(other.setPhotosAllowed(false));
  EXPECT_TRUE(comesTo(PHAuthorizationStatusDenied, 0));
  EXPECT_TRUE(other.setPhotosAllowed(true));
  EXPECT_TRUE(comesTo(PHAuthorizationStatusAuthorized, 1));
  std::filesystem::remove(other.path());
  EXPECT_TRUE(comesTo(PHAuthorizationStatusNotDetermined, 0));
}

TEST_F(FilesAccess, DefaultRootsAreWhatTheDesktopNames) {
  const std::string home = folder_.top().string();
  const auto set = [](const char* name, const std::string& value) { ::setenv(name, value.c_str(), 1); };
  set("HOME", home);
  set("XDG_CONFIG_HOME", home);
  const struct {
    const char* lines;
    std::vector<std::string> roots;
    const char* reason;
  } rows[] = {
      {"", {home + "/Pictures", home + "/Videos"}, "nothing named"},
      {"XDG_PICTURES_DIR=\"$HOME/Media/\"\nXDG_VIDEOS_DIR=\"$HOME/Media\"\n", {home + "/Media"}, "one for both"},
      {"XDG_PICTURES_DIR=\"$HOME/\"\nXDG_VIDEOS_DIR=\"/mnt/v\"\n", {"/mnt/v"}, "pictures are switched off"},
  };
  for (const auto& row : rows) {
    std::ofstream(home + "/user-dirs.dirs") << row.lines;
    g_reload_user_special_dirs_cache();
    EXPECT_EQ(defaultRoots(), row.roots) << row.reason;
  }
}

}  // namespace
}  // namespace tlx::photolibrary::test

#include <atomic>

#include <gmock/gmock.h>

#include "tests/adapters/photolibrary/cloud/Cloud.h"
#include "tests/support/WebServers.h"

namespace tlx::photolibrary {
namespace {

using namespace test;
using namespace tlx::test;

TEST(CloudLibrary, TwoServersOfDifferentMakeShowTheSame) {
  if (!Nginx::installed() || !Rclone::installed()) GTEST_SKIP() << "nginx or rclone is not installed";
  const Served served;
  served.put("newest.jpg", samplePhoto({"2024:05:06 07:08:09", "+00:00"}));
  served.put("Trip to \xc3\x89t\xc3\xa9/100% & more #1?.jpg", samplePhoto(), 1'500'000'000);
  served.put("Trip to \xc3\x89t\xc3\xa9/Day 2/clip.mp4", sampleVideo(3), 1'400'000'000);
  served.put("notes.txt", {'h', 'i'});
  served.put("fake.jpg", {'h', 'i'});
  served.put("empty.jpg", {});
  served.put(".hidden.jpg", samplePhoto());
  served.put(".hidden/a.jpg", samplePhoto());
  const Nginx nginx(served.root(), served.scratch(), {"al", "s@e/c r&t", {}, {}, 0, {}});
  const Rclone rclone(served.root(), served.scratch(), "al", "s@e/c r&t");
  for (const std::string& host : {nginx.host(), rclone.host()}) {
    Cloud cloud("http://al:s%40e%2Fc%20r%26t@" + host);
    EXPECT_THAT(cloud.names(), testing::ElementsAre("newest.jpg", "100% & more #1?.jpg", "clip.mp4"));
    EXPECT_THAT(test::titles(cloud.library()), testing::ElementsAre(host, "Trip to \xc3\x89t\xc3\xa9", "Day 2"));
    const auto newest = cloud.details("newest.jpg");
    EXPECT_EQ(newest.created, 1714979289) << "the date inside the file";
    EXPECT_EQ(newest.address, "http://" + host + "/newest.jpg");
    EXPECT_EQ(newest.path, "") << "not here yet";
    EXPECT_EQ(cloud.details("clip.mp4").duration, 3);
    EXPECT_EQ(test::codeOf(cloud.fetch("100% & more #1?.jpg")), 0);
    EXPECT_THAT(cloud.log().lines(), testing::IsEmpty());
  }
}

TEST(CloudLibrary, ReadsOnlyWhatIsNewWhenItIsOpenedAgain) {
  if (!Nginx::installed()) GTEST_SKIP() << "nginx is not installed";
  const Served served;
  for (int i = 0; i < 40; ++i) served.put("Trip/" + std::to_string(i) + ".jpg", samplePhoto(), 1'500'000'000 + i);
  served.put("Trip/fake.jpg", {'h', 'i'});
  Nginx server(served.root(), served.scratch());
  Cloud cloud(server.url());
  ASSERT_EQ(cloud.names().size(), 40u);
  const std::string kept = cloud.identifier("7.jpg");
  served.put("Trip/new.jpg", samplePhoto(), 1'700'000'000);
  served.put("Trip/8.jpg", samplePhoto(), 1'600'000'000);
  std::filesystem::remove(served.root() / "Trip/9.jpg");
  const auto before = server.requests().size();
  cloud.reopen();
  EXPECT_EQ(server.requests().size() - before, 4u) << "two listings, the new one and the changed one";
  EXPECT_EQ(cloud.names().size(), 40u);
  EXPECT_EQ(cloud.names().front(), "new.jpg");
  EXPECT_EQ(cloud.identifier("7.jpg"), kept);

  server.kill();
  cloud.reopen();
  EXPECT_EQ(cloud.names().size(), 40u) << "what is known can be seen without the server";
  look(cloud.library());
  EXPECT_THAT(cloud.log().lines(), testing::ElementsAre(testing::HasSubstr("refused"))) << "said once";
}

TEST(CloudLibrary, TheSameFileHereAndThereIsOneItem) {
  if (!Nginx::installed()) GTEST_SKIP() << "nginx is not installed";
  const Served served, local;
  const auto dated = samplePhoto({"2024:05:06 07:08:09", "+00:00"});
  for (const Served* each : {&served, &local}) {
    each->put("Trip/both.jpg", dated, each == &served ? 1'600'000'000 : 1'650'000'000);
    each->put("Trip/undated.jpg", samplePhoto(), 1'500'000'000.0);
    each->put("Trip/other date.jpg", samplePhoto(), each == &served ? 1'400'000'000 : 1'400'000'001);
    auto longer = dated;
    if (each == &served) longer.push_back(0);
    each->put("Trip/other length.jpg", longer, 1'300'000'000);
  }
  served.put("Trip/only there.jpg", samplePhoto(), 1'200'000'000);
  served.put("Again/both.jpg", dated);
  const Nginx server(served.root(), served.scratch());
  Cloud cloud(server.url(), Cloud::patient(std::chrono::seconds(30)), {local.root()});
  EXPECT_EQ(cloud.names().size(), 7u);
  const auto albums = cloud.library().fetchAssetCollections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny);
  std::vector<std::size_t> counts;
  for (const auto& album : *albums) counts.push_back(cloud.library().fetchAssets(*album, {})->count());
  EXPECT_THAT(counts, testing::UnorderedElementsAre(4u, 5u, 1u)) << "every album has all of its own";
  for (const char* const name : {"both.jpg", "undated.jpg"}) {
    const auto fetched = cloud.fetch(name, {false, {}, {}});
    EXPECT_TRUE(std::holds_alternative<Original>(fetched)) << name << " is here";
  }
  cloud.reopen();
  EXPECT_EQ(cloud.names().size(), 7u);
  std::filesystem::remove_all(local.root() / "Trip");
  look(cloud.library());
  EXPECT_EQ(cloud.names().size(), 6u) << "what is no longer here is still there";
}

TEST(CloudLibrary, WrongCredentialsAreAskedForAgain) {
  if (!Nginx::installed()) GTEST_SKIP() << "nginx is not installed";
  struct Asked final : CredentialSource {
    std::vector<Credentials> answers{{"al", "sesame"}, {"al", "wrong"}};
    std::vector<std::string> accepted_;
    std::optional<Credentials> credentialsFor(const std::string&, const std::stop_token&) override {
      if (answers.empty()) return std::nullopt;
      Credentials next = answers.back();
      answers.pop_back();
      return next;
    }
    void accepted(const std::string&, const Credentials& credentials) override {
      accepted_.push_back(credentials.password);
    }
  } asked;
  const Served served;
  served.put("a.jpg", samplePhoto());
  const Nginx server(served.root(), served.scratch(), {"al", "sesame", {}, {}, 0, {}});
  auto settings = Cloud::patient(std::chrono::seconds(30));
  settings.credentials = &asked;
  Cloud cloud(server.url(), settings);
  EXPECT_THAT(cloud.names(), testing::ElementsAre("a.jpg"));
  EXPECT_THAT(asked.accepted_, testing::ElementsAre("sesame"));
}

/// A server that numbers its files, and so can be believed that nothing below a collection has changed.
TEST(CloudLibrary, TrustsCollectionsOfServersThatNumberTheirFiles) {
  std::mutex mutex;
  std::string tag = "1";
  std::vector<std::string> listings;
  const auto collection = [](const std::string& href, const std::string& id, const std::string& etag) {
    return listed(href, "<d:resourcetype><d:collection/></d:resourcetype><oc:fileid>" + id +
                            "</oc:fileid><d:getetag>\"" + etag + "\"</d:getetag>");
  };
  const auto file = [](const std::string& href, const std::string& id) {
    return listed(href, "<d:getcontentlength>" + std::to_string(samplePhoto().size()) +
                            "</d:getcontentlength><d:getetag>\"f\"</d:getetag><oc:fileid>" + id + "</oc:fileid>");
  };
  const ScriptedServer server([&](const std::string& request, const ScriptedServer::Connection& connection) {
    const std::lock_guard lock(mutex);
    const std::string path = request.substr(request.find(' ') + 1, request.find(" HTTP") - request.find(' ') - 1);
    if (!request.starts_with("PROPFIND")) {
      const auto photo = samplePhoto();
      return connection.send(answer("200 OK", "ETag: \"f\"\r\n", std::string(photo.begin(), photo.end())));
    }
    listings.push_back(path);
    const std::map<std::string, std::string> members = {
        {"/", collection("/", "1", tag) + collection("/Old/", "2", "o") + collection("/New/", "3", tag) +
                  collection("/Left%20out/", "5", "x") + collection("/../etc/", "66", "x") +
                  collection("http://elsewhere.example/Bad/", "67", "x")},
        {"/Old/", collection("/Old/", "2", "o") + file("/Old/a.jpg", "10") + collection("/Old/Deep/", "4", "d")},
        {"/Old/Deep/", file("/Old/Deep/b.jpg", "11") + collection("/Old/Deep/Again/", "2", "o")},
        {"/Left%20out/", file("/Left%20out/.nomedia", "13") + file("/Left%20out/d.jpg", "14")},
        {"/New/", file("/New/" + std::string(tag == "1" ? "c" : "renamed") + ".jpg", "12")},
    };
    connection.send(answer("207 Multi-Status", "", multistatus(members.contains(path) ? members.at(path) : "")));
  });
  const auto heard = [&] {
    const std::lock_guard lock(mutex);
    return listings;
  };
  Cloud cloud(server.url());
  EXPECT_THAT(cloud.names(), testing::UnorderedElementsAre("a.jpg", "b.jpg", "c.jpg"));
  EXPECT_THAT(heard(), testing::UnorderedElementsAre("/", "/Old/", "/Old/Deep/", "/New/", "/Left%20out/"))
      << "neither a collection inside itself nor one outside";
  const std::string identifier = cloud.identifier("c.jpg");
  {
    const std::lock_guard lock(mutex);
    listings.clear();
    tag = "2";
  }
  cloud.reopen();
  EXPECT_THAT(cloud.names(), testing::UnorderedElementsAre("a.jpg", "b.jpg", "renamed.jpg"));
  EXPECT_THAT(heard(), testing::UnorderedElementsAre("/", "/New/", "/Left%20out/"));
  EXPECT_EQ(cloud.identifier("renamed.jpg"), identifier) << "a number survives a rename";
}

TEST(CloudLibrary, ShowsTheServersPreviewsOrTheBeginningOfTheFile) {
  const auto photo = samplePhoto();
  const std::string bytes(photo.begin(), photo.end());
  std::atomic<bool> capable = true;
  std::mutex mutex;
  std::vector<std::string> previews;
  const ScriptedServer server([&](const std::string& request, const ScriptedServer::Connection& connection) {
    if (request.starts_with("PROPFIND")) {
      return connection.send(
          answer("207 Multi-Status", "",
                 multistatus(listed("/x/remote.php/dav/files/al/a%20b.jpg",
                                    "<d:getcontentlength>100000</d:getcontentlength><d:getetag>\"f\"</d:getetag>"))));
    }
    if (request.starts_with("GET /x/ocs/v2.php/cloud/capabilities?format=json ")) {
      return connection.send(capable ? answer("200 OK", "", R"({"ocs":{"data":{"capabilities":{"dav":{}}}}})")
                                     : answer("404 Not Found", "", ""));
    }
    if (request.starts_with("GET /x/index.php/core/preview.png?")) {
      const std::lock_guard lock(mutex);
      previews.push_back(request.substr(0, request.find(" HTTP")));
      return connection.send(answer("200 OK", "", bytes));
    }
    connection.send(answer("206 Partial Content", "ETag: \"f\"\r\nContent-Range: bytes 0-65535/100000\r\n",
                           (bytes + std::string(65536, '\0')).substr(0, 65536)));
  });
  for (const bool has : {true, false}) {
    capable = has;
    Cloud cloud(server.url() + "/x/remote.php/dav/files/al");
    for (int time = 0; time < 2; ++time) {
      const auto preview = cloud.library().fetchPreview(cloud.identifier("a b.jpg"), 300, {});
      ASSERT_TRUE(std::holds_alternative<Preview>(preview));
      EXPECT_EQ(std::get<Preview>(preview).head, !has);
    }
    EXPECT_EQ(cloud.details("a b.jpg").path, "");
  }
  const std::lock_guard lock(mutex);
  EXPECT_THAT(previews,
              testing::ElementsAre("GET /x/index.php/core/preview.png?file=/a%20b.jpg&x=512&y=512&a=1&forceIcon=0"))
      << "asked for once, then kept";
}

}  // namespace
}  // namespace tlx::photolibrary

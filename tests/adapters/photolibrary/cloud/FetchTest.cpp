#include <atomic>
#include <future>
#include <stop_token>

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <unistd.h>

#include "tests/adapters/photolibrary/cloud/Cloud.h"
#include "tests/adapters/photolibrary/images/Samples.h"
#include "tests/support/WebServers.h"

namespace tlx::photolibrary {
namespace {

using support::contentOf;
using namespace test;
using namespace tlx::test;

/// A JPEG of that many bytes: a small picture, and noise behind its end.
std::string largePhoto(std::size_t bytes) {
  const auto jpeg = test::samplePhoto();
  std::string content(jpeg.begin(), jpeg.end());
  std::uint32_t noise = 1;
  while (content.size() < bytes) content += static_cast<char>((noise = noise * 1664525 + 1013904223) >> 24);
  return content;
}

class CloudFetch : public testing::Test {
 protected:
  void SetUp() override {
    if (!Nginx::installed()) GTEST_SKIP() << "nginx with its WebDAV module is not installed";
  }
  void put(const std::string& name, const std::string& content) { served_.put(name, {content.begin(), content.end()}); }
  std::filesystem::path root() const { return served_.root(); }
  std::filesystem::path scratch() const { return served_.scratch(); }

  /// Options that note progress and stop at `until`.
  ItemStore::FetchOptions watched(double until = 2) {
    reports_.clear();
    return {true,
            [this, until](double progress) {
              reports_.push_back(progress);
              return progress < until;
            },
            {}};
  }

  test::Served served_;
  std::vector<double> reports_;
};

TEST_F(CloudFetch, BringsAnOriginalOnceAndOnlyWhenItMay) {
  const std::string photo = largePhoto(3 << 20);
  put("a.jpg", photo);
  const Nginx server(root(), scratch());
  Cloud cloud(server.url());
  const auto refused = cloud.fetch("a.jpg", {false, {}, {}});
  ASSERT_TRUE(std::holds_alternative<NSError>(refused));
  EXPECT_EQ(std::get<NSError>(refused).code, PhotoLibraryErrorNetworkNotAllowed);

  const auto fetched = cloud.fetch("a.jpg", watched());
  ASSERT_EQ(codeOf(fetched), 0);
  EXPECT_EQ(contentOf(std::get<Original>(fetched).path), photo);
  ASSERT_FALSE(reports_.empty());
  EXPECT_TRUE(std::is_sorted(reports_.begin(), reports_.end()));
  EXPECT_GT(reports_.front(), 0);
  EXPECT_EQ(reports_.back(), 1);

  const auto requests = server.requests().size();
  cloud.reopen();
  EXPECT_EQ(codeOf(cloud.fetch("a.jpg", watched())), 0);
  EXPECT_TRUE(reports_.empty()) << "no bytes came over the network";
  EXPECT_EQ(server.requests().size(), requests + 1) << "the listing alone";
}

TEST_F(CloudFetch, GoesOnWhereAKilledServerLeftOff) {
  const std::string photo = largePhoto(4 << 20);
  put("a.jpg", photo);
  Nginx server(root(), scratch());
  Cloud cloud(server.url());
  server.setRate(1 << 20);
  auto options = watched();
  options.progress = [&](double progress) {
    reports_.push_back(progress);
    if (progress > 0.2) server.kill();
    return true;
  };
  EXPECT_EQ(codeOf(cloud.fetch("a.jpg", options)), CloudErrorRefused);
  const double reached = reports_.back();
  EXPECT_LT(reached, 1);

  server.setRate(0);
  const auto fetched = cloud.fetch("a.jpg", watched());
  ASSERT_EQ(codeOf(fetched), 0);
  EXPECT_EQ(contentOf(std::get<Original>(fetched).path), photo);
  EXPECT_GT(reports_.front(), reached) << "what had come was kept";
  EXPECT_THAT(server.requests().back(), testing::HasSubstr(" 206 "));
}

TEST_F(CloudFetch, EndsAtOnceWhenStoppedOrCancelled) {
  put("a.jpg", largePhoto(2 << 20));
  Nginx server(root(), scratch());
  Cloud cloud(server.url());
  server.setRate(10 << 10);  // some three minutes
  EXPECT_EQ(codeOf(cloud.fetch("a.jpg", watched(0))), CloudErrorCancelled);
  EXPECT_EQ(reports_.size(), 1u);
  std::stop_source stop;
  auto options = watched();
  options.progress = [&](double) { return stop.request_stop(); };
  options.stop = stop.get_token();
  EXPECT_EQ(codeOf(cloud.fetch("a.jpg", options)), CloudErrorCancelled);
}

TEST_F(CloudFetch, TwoWhoWantTheSameShareOneTransfer) {
  put("a.jpg", largePhoto(2 << 20));
  Nginx server(root(), scratch());
  Cloud cloud(server.url());
  const auto before = server.requests().size();
  auto other = std::async(std::launch::async, [&] { return codeOf(cloud.fetch("a.jpg")); });
  EXPECT_EQ(codeOf(cloud.fetch("a.jpg")), 0);
  EXPECT_EQ(other.get(), 0);
  EXPECT_EQ(server.requests().size(), before + 1);
}

TEST_F(CloudFetch, ADiskThatIsFullLeavesNothingBehind) {
  const std::filesystem::path small = scratch() / "small";
  std::filesystem::create_directories(small);
  if (::mount("none", small.c_str(), "tmpfs", 0, "size=3m") != 0) GTEST_SKIP() << "no small disk can be made here";
  put("large.jpg", largePhoto(8 << 20));
  put("fits.jpg", largePhoto(2 << 20));
  put("fits too.jpg", largePhoto(2 << 20));
  {
    const Nginx server(root(), scratch());
    auto settings = Cloud::patient(std::chrono::seconds(30));
    settings.cacheFolder = small;
    Cloud cloud(server.url(), settings);
    EXPECT_EQ(codeOf(cloud.fetch("large.jpg")), CloudErrorDiskFull);
    EXPECT_TRUE(std::filesystem::is_empty(small / "originals"));
    EXPECT_EQ(codeOf(cloud.fetch("fits.jpg")), 0);
    EXPECT_EQ(codeOf(cloud.fetch("fits too.jpg")), 0) << "what is not in use makes room";
  }
  ::umount(small.c_str());
}

/// What a server does wrong with one photo of 1000 bytes, ETag "x", and what becomes of it.
TEST(CloudFaults, AreToldApart) {
  const std::string photo = largePhoto(1000);
  const std::string tag = "ETag: \"x\"\r\n", whole = tag + "Content-Length: 1000\r\n";
  using Connection = ScriptedServer::Connection;
  using Get = std::function<void(const Connection&, const std::string& request)>;
  const auto sends = [](const char* status, const std::string& headers = {}, const std::string& body = "no") -> Get {
    return [bytes = answer(status, headers, body)](auto& c, auto&) { c.send(bytes); };
  };
  /// The first 400 bytes of 1000, and `then` when the rest is asked for.
  const auto cutShort = [&](const std::string& then) -> Get {
    return [then, start = answer("200 OK", whole, photo.substr(0, 400))](auto& c, auto& request) {
      c.send(request.find("range: bytes=400-") != std::string::npos ? then : start);
    };
  };
  const auto rest = [&](const std::string& body) {
    return answer("206 Partial Content", tag + "Content-Range: bytes 400-999/1000\r\nContent-Length: 600\r\n", body);
  };
  const struct {
    const char* reason;
    std::int64_t code;
    Get get;
  } rows[] = {
      {"nothing is wrong", 0, sends("200 OK", tag, photo)},
      {"wrong password", CloudErrorWrongCredentials,
       sends("401 Unauthorized", "WWW-Authenticate: Basic realm=\"a\"\r\n")},
      {"no access", CloudErrorForbidden, sends("403 Forbidden")},
      {"a listed file that is gone", CloudErrorNotFound, sends("404 Not Found")},
      {"a server that fails", CloudErrorServer, sends("500 Internal Server Error")},
      {"a server that sends elsewhere", CloudErrorServer, sends("302 Found", "Location: http://127.0.0.1:1/\r\n", "")},
      {"another version", CloudErrorChanged, sends("200 OK", "ETag: \"y\"\r\n", photo)},
      {"a longer body than listed", CloudErrorChanged, sends("200 OK", tag, photo + "more")},
      {"a longer body, its length untold", CloudErrorChanged,
       sends("200 OK", tag + "Transfer-Encoding: chunked\r\n", "7d0\r\n" + photo + photo + "\r\n0\r\n\r\n")},
      {"a longer body than announced is cut", 0, sends("200 OK", whole, photo + "more")},
      {"a shorter body than announced, and nothing more", CloudErrorConnectionLost, cutShort(rest(""))},
      {"a shorter body, then the rest", 0, cutShort(rest(photo.substr(400)))},
      {"a shorter body, then the whole of another version", CloudErrorChanged,
       cutShort(answer("200 OK", "ETag: \"y\"\r\n", std::string(1000, 'y')))},
      {"another part than was asked for", CloudErrorServer,
       sends("206 Partial Content", tag + "Content-Range: bytes 10-999/1000\r\n", photo)},
      {"no HTTP", CloudErrorConnectionLost, [](auto& c, auto&) { c.send("220 mail.example ESMTP\r\n\r\n"); }},
      {"a door slammed", CloudErrorConnectionLost, [](auto&, auto&) {}},
      {"silence", CloudErrorTimedOut, [](auto& c, auto&) { c.stall(); }},
      {"silence half way", CloudErrorTimedOut,
       [&](auto& c, auto&) {
         c.send(answer("200 OK", whole, photo.substr(0, 400)));
         c.stall();
       }},
  };
  for (const auto& row : rows) {
    std::atomic<bool> listing = true;
    ScriptedServer server([&](const std::string& request, const Connection& connection) {
      if (request.starts_with("PROPFIND")) {
        connection.send(
            answer("207 Multi-Status", "",
                   multistatus(
                       listed("/", "<d:resourcetype><d:collection/></d:resourcetype>") +
                       listed("/a.jpg", "<d:getcontentlength>1000</d:getcontentlength><d:getetag>\"x\"</d:getetag>"))));
      } else if (listing) {
        connection.send(answer("200 OK", tag, photo));
      } else {
        row.get(connection, request);
      }
    });
    // Only who waits for nothing need not wait long.
    const bool silent = row.code == CloudErrorTimedOut;
    Cloud cloud(server.url(), Cloud::patient(std::chrono::milliseconds(silent ? 1500 : 30'000)));
    listing = false;
    const auto fetched = cloud.fetch("a.jpg");
    EXPECT_EQ(codeOf(fetched), row.code) << row.reason;
    if (row.code != 0) {
      EXPECT_FALSE(std::get<NSError>(fetched).localizedDescription.empty()) << row.reason;
    } else if (std::holds_alternative<Original>(fetched)) {
      EXPECT_EQ(contentOf(std::get<Original>(fetched).path), photo) << row.reason;
    }
  }
}

TEST(CloudFaults, WhoCannotBeReachedIsToldApart) {
  const test::TemporaryFolder top;
  std::filesystem::create_directories(top.file("served"));
  const std::string make = "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost -keyout " +
                           top.file("key") + " -out " + top.file("certificate") + " 2>/dev/null";
  std::optional<Nginx> secure;
  if (Nginx::installed() && std::system(make.c_str()) == 0) {
    secure.emplace(top.file("served"), top.file("server"),
                   Nginx::Options{{}, {}, top.file("certificate"), top.file("key"), 0, {}});
  }
  const struct {
    const char* reason;
    std::string url;
    std::vector<std::int64_t> codes;
  } rows[] = {
      {"nobody listens", "http://127.0.0.1:1/", {CloudErrorRefused}},
      {"a name that nobody has", "https://no-such-host.invalid/", {CloudErrorNameNotResolved, CloudErrorOffline}},
      {"a certificate of its own making", secure ? "https://" + secure->host() : "", {CloudErrorCertificate}},
  };
  for (const auto& row : rows) {
    if (row.url.empty()) continue;
    const auto address = std::get<CloudAddress>(parseCloudAddress(row.url));
    Server server(address, nullptr, std::chrono::seconds(20));
    const auto failed = server.list(address.path, [](ListedMember&&) {}, {});
    ASSERT_TRUE(failed) << row.reason;
    EXPECT_THAT(row.codes, testing::Contains(failed->code)) << row.reason << ": " << failed->localizedDescription;
  }
}

}  // namespace
}  // namespace tlx::photolibrary

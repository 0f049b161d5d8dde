// Whole runs of the program without a window, on real files.

#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <ctime>
#include <fstream>
#include <map>
#include <set>
#include <utility>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/apps/ProgramRun.h"

namespace tlx::program {
namespace {

namespace fs = std::filesystem;
using test::contentOf;
using test::Outcome;
using test::readPicture;
using namespace testing;

/// What stands in the library by the folder's own account: every file but the ones that are no pictures.
std::vector<fs::path> filesIn(const fs::path& library) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(library)) {
    const std::string name = entry.path().filename();
    if (entry.is_regular_file() && name != ".sample-library" && name != "Empty.jpg" && name != "Shopping list.jpg" &&
        name != "Only sound.mp4") {
      files.push_back(entry.path());
    }
  }
  return files;
}

bool isVideo(const fs::path& file) {
  return std::set<std::string>{".mp4", ".mov", ".mkv", ".webm"}.contains(file.extension());
}

std::string modified(const std::string& path) {
  struct stat status {};
  stat(path.c_str(), &status);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&status.st_mtime));
  return text;
}

std::string text(const QJsonObject& object, const char* key) {
  return object[QLatin1String(key)].toString().toStdString();
}

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

class Headless : public test::ProgramTest {
 protected:
  using Albums = std::vector<std::pair<std::string, int>>;
  Albums list(std::vector<std::string> words) {
    words.insert(words.begin(), {"--headless", "--list"});
    const Outcome outcome = run(words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(occurrences(outcome.out, "\n"), 1u) << "one object";
    Albums albums;
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(outcome.out));
    for (const auto& each : document.object()[QLatin1String("albums")].toArray()) {
      const auto album = each.toObject();
      EXPECT_FALSE(album[QLatin1String("identifier")].toString().isEmpty());
      albums.emplace_back(album[QLatin1String("title")].toString().toStdString(),
                          album[QLatin1String("count")].toInt());
    }
    return albums;
  }
  Outcome pick(std::vector<std::string> words) {
    words.insert(words.begin(), "--headless");
    words.push_back(samples());
    return run(words);
  }
};

TEST_F(Headless, ListsTheAlbumsThatTheFoldersHold) {
  int all = 0, videos = 0;
  std::map<std::string, int> folders;
  for (const fs::path& file : filesIn(samples())) {
    ++all;
    videos += isVideo(file);
    ++folders[file.parent_path().filename()];
  }
  Albums expected = {{"Camera Roll", all}, {"Favorites", 0}, {"Videos", videos}};
  for (const char* smart : {"Panoramas", "Screenshots"}) expected.emplace_back(smart, folders[smart]);
  expected.insert(expected.end(), folders.begin(), folders.end());
  Albums albums = list({samples()});
  EXPECT_EQ(list({samples()}), albums) << "from the index, too";
  ASSERT_GT(albums.size(), 5u);
  EXPECT_GT(std::exchange(albums[1].second, 0), 0) << "favorites, of which no folder tells how many";
  EXPECT_EQ(albums, expected);
  const Albums moving = list({"--kind", "videos", samples()});
  EXPECT_EQ(moving[0], std::pair(std::string("Camera Roll"), videos));
  EXPECT_THAT(moving, testing::Not(testing::Contains(testing::Key("Winter")))) << "an album without any is not there";
}

TEST_F(Headless, DeliversTheWholeLibraryNewestFirstButWhatIsBroken) {
  const auto files = filesIn(samples());
  const Outcome outcome =
      pick({"--pick", "Camera Roll:0-" + std::to_string(files.size() - 1), "--on-failure", "continue"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  std::set<std::string> expected(files.begin(), files.end());
  EXPECT_EQ(expected.erase(samples() + "/Odds and Ends/Cut short.jpg"), 1u);
  const auto paths = outcome.texts("path");
  EXPECT_EQ(std::set<std::string>(paths.begin(), paths.end()), expected);
  EXPECT_EQ(paths.size(), expected.size()) << "each once";
  EXPECT_THAT(outcome.err, HasSubstr("Cut short.jpg: could not be fetched: "));

  const auto dates = outcome.texts("created");
  EXPECT_TRUE(std::is_sorted(dates.rbegin(), dates.rend()));
  for (const QJsonObject& item : outcome.objects()) {
    const std::string path = text(item, "path");
    SCOPED_TRACE(path);
    EXPECT_EQ(text(item, "created"), modified(path));
    EXPECT_EQ(item[QLatin1String("bytes")].toInt(), static_cast<int>(fs::file_size(path)));
    EXPECT_EQ(text(item, "name"), fs::path(path).filename());
    EXPECT_EQ(item[QLatin1String("type")].toString(), QLatin1String(isVideo(path) ? "video" : "image"));
    EXPECT_EQ(item[QLatin1String("duration")].toDouble() > 0, isVideo(path));
    EXPECT_EQ(item[QLatin1String("status")].toInt(-1), 0);
    EXPECT_TRUE(item[QLatin1String("delivered")].isNull());
    EXPECT_EQ(item[QLatin1String("deliveredWidth")], item[QLatin1String("width")]) << "small as it is";
  }
}

TEST_F(Headless, PicksFromSeveralAlbumsInTheOrderGivenUpToTheLimit) {
  const Outcome outcome = pick({"--pick", "Winter:2,0", "--pick", "Turned:1-2", "--pick", "Winter:0-1"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.texts("name"), ElementsAre("IMG_20241221_150946.jpg", "IMG_20241221_192352.jpg", "Turned_7.jpg",
                                                 "Turned_6.jpg", "IMG_20241221_165611.jpg"))
      << "named twice is picked once";
  const std::string first = samples() + "/Turned/Turned_8.jpg", second = samples() + "/Turned/Turned_7.jpg";
  const Outcome two = pick({"--max", "2", "--pick", "Turned:0,1,2", "--format", "paths"});
  EXPECT_EQ(two.status, 0);
  EXPECT_EQ(two.out, first + "\n" + second + "\n");
  EXPECT_EQ(two.err, "tlx-media-picker: the limit of 2 items is reached\n");
}

TEST_F(Headless, NamesMayBeAnyBytes) {
  const std::string odd = "caf\xe9\n\"b\".jpg";
  fs::create_directory(top_ / "own");
  fs::copy(samples() + "/Turned/Turned_1.jpg", fs::path(top_ / "own") / odd);
  const Outcome outcome =
      run({"--headless", "--pick", "own:0", "--format", "paths0", "--output", top_ / "to", top_ / "own"});
  EXPECT_EQ(outcome.out, (top_ / "to/") + odd + '\0');
  EXPECT_TRUE(fs::exists(fs::path(top_ / "to") / odd));
  fs::create_directory(top_ / "bad");
  fs::copy(samples() + "/Odds and Ends/Cut short.jpg", fs::path(top_ / "bad") / "bad\x1b[2J\n.jpg");
  const std::string told = run({"--headless", "--pick", "bad:0", "--on-failure", "continue", top_ / "bad"}).err;
  EXPECT_THAT(told, HasSubstr(R"(/bad\x1b[2J\x0a.jpg: could not be fetched: )"));
  EXPECT_EQ(occurrences(told, "\n"), 1u) << "one line, and nothing that a terminal would obey";
}

TEST_F(Headless, EveryOrientationIsDeliveredUprightWithinTheSize) {
  const auto whole = pick({"--pick", "Turned:0-7", "--output", top_ / "to"}).objects();
  const auto small = pick({"--size", "90x300", "--pick", "Turned:0-7", "--output", top_ / "to"}).objects();
  ASSERT_EQ(whole.size(), 8u);
  ASSERT_EQ(small.size(), 8u);
  for (std::size_t i = 0; i < 8; ++i) {
    const auto original = readPicture(text(whole[i], "path"), true);
    const std::string path = text(whole[i], "delivered");
    SCOPED_TRACE(path);
    const auto delivered = readPicture(path);
    EXPECT_EQ(delivered, readPicture(path, true)) << "turned, and not to be turned again";
    EXPECT_EQ(delivered.width(), whole[i][QLatin1String("deliveredWidth")].toInt());
    EXPECT_EQ(delivered.height(), whole[i][QLatin1String("deliveredHeight")].toInt());
    EXPECT_LT(test::difference(delivered, original), 3);
    EXPECT_GT(test::difference(delivered, original.mirrored(true, true)), 6) << "the check would see it upside down";
    EXPECT_EQ(readPicture(text(small[i], "delivered")).width(), 90) << "a second one stands beside the first";
    EXPECT_EQ(small[i][QLatin1String("deliveredHeight")].toInt(), original.height() > original.width() ? 120 : 68);
  }
}

TEST_F(Headless, DeliveredFilesKeepNamesAndCaptureDates) {
  environment = {"TZ=CET-1CEST,M3.5.0,M10.5.0/3"};
  const Outcome first = pick({"--pick", "Odds and Ends:0-5", "--pick", "Coast:0-3", "--pick", "Garden:0-11",
                              "--on-failure", "continue", "--output", top_ / "to"});
  ASSERT_EQ(first.status, 0) << first.err;
  std::map<std::string, std::string> dates, read;
  for (const QJsonObject& item : first.objects()) {
    const fs::path delivered = text(item, "delivered"), name = text(item, "name");
    EXPECT_EQ(delivered.parent_path(), top_ / "to");
    EXPECT_EQ(delivered.stem(), name.stem());
    EXPECT_EQ(modified(delivered), text(item, "created"));
    if (isVideo(name)) {
      EXPECT_EQ(contentOf(delivered), contentOf(text(item, "path")));
    } else {
      // Copied without its time, as by a mail: the date must be in the picture itself.
      fs::last_write_time(delivered, fs::file_time_type::clock::now());
    }
    dates[delivered.filename()] = text(item, "created");
  }
  ASSERT_GT(dates.size(), 15u);
  environment = {"TZ=EST5"};  // dates keep their meaning where clocks show something else
  const Outcome again = run({"--headless", "--pick", "to:0-" + std::to_string(dates.size() - 1), top_ / "to"});
  EXPECT_EQ(again.status, 0) << again.err;
  for (const QJsonObject& item : again.objects()) read[text(item, "name")] = text(item, "created");
  EXPECT_NE(read["No date.jpg"], dates["No date.jpg"]) << "a file's time is written into no picture";
  read.erase("No date.jpg");
  dates.erase("No date.jpg");
  EXPECT_EQ(read, dates);
}

TEST_F(Headless, FailuresAreAnsweredAsAsked) {
  const struct {
    std::vector<std::string> words;
    int status;
    std::size_t delivered, questions;
    const char* reason;
  } rows[] = {
      {{}, 4, 0, 1, "cancelling is the default, and leaves nothing"},
      {{"--on-failure", "retry"}, 4, 0, 2, "once, then cancel"},
  };
  for (const auto& row : rows) {
    auto words = row.words;
    words.insert(words.end(), {"--pick", "Odds and Ends:0-5", "--format", "paths", "--output", top_ / "to"});
    const Outcome outcome = pick(words);
    EXPECT_EQ(outcome.status, row.status) << row.reason;
    EXPECT_EQ(occurrences(outcome.out, "\n"), row.delivered) << row.reason;
    EXPECT_EQ(occurrences(outcome.err, "Cut short.jpg: could not be fetched: "), row.questions) << row.reason;
    std::error_code none;
    EXPECT_EQ(std::distance(fs::directory_iterator(top_ / "to"), {}), static_cast<std::ptrdiff_t>(row.delivered));
    fs::remove_all(top_ / "to", none);
  }
}

TEST_F(Headless, SaysWhatIsWrongAndPrintsNoResults) {
  fs::create_directory(top_ / "empty");
  std::ofstream(top_ / "file") << "no folder";
  const std::string name = "tlx-media-picker: ";
  const struct {
    std::vector<std::string> words;
    int status;
    std::string err, reason;
  } rows[] = {
      {{"--frob=a:b@c"}, 2, name + "Unknown option --frob (--help lists the options)\n", "in one line"},
      {{"--headless", "--pick", "Atlantis:0", samples()},
       2,
       name + "there is no album \"Atlantis\"\n",
       "no such album"},
      {{"--headless", "--pick", "Turned:7-8", samples()},
       2,
       name + "the album \"Turned\" has 8 items; there is no 8\n",
       "positions count from 0"},
      {{"--headless", "--list", "--output", top_ / "file/below", samples()}, 2, name, "no folder can be there"},
      {{"--headless", "--max", "0", "--pick", "Turned:0", samples()},
       1,
       name + "the limit of 0 items is reached\n" + name + "nothing could be picked\n",
       "and nothing printed"},
      {{"--headless", "--list"}, 3, name + "there is no access to photos\n", "nobody named a folder or can be asked"},
      {{"--headless", "--list", top_ / "missing"}, 3, name + "there is no access to photos\n", "no such folder"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = run(row.words);
    EXPECT_EQ(outcome.status, row.status) << row.reason;
    EXPECT_EQ(outcome.out, "") << row.reason;
    EXPECT_THAT(outcome.err, StartsWith(row.err)) << row.reason;
  }
  EXPECT_EQ(run({"--headless", "--list", top_ / "empty"}).out, "{\"albums\":[]}\n");
  EXPECT_EQ(list({samples(), top_ / "missing"})[0].first, "Camera Roll") << "one root of two is access";
  fs::create_directory_symlink(samples() + "/Turned", top_ / "empty/link");
  EXPECT_THAT(list({top_ / "empty"}), IsEmpty()) << "out of the folder";
  EXPECT_THAT(list({"--follow-links", top_ / "empty"}), testing::Contains(std::pair(std::string("Camera Roll"), 8)));
}

TEST_F(Headless, HelpIsNoFailureAndResultsThatCannotBeWrittenAre) {
  const Outcome help = run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, StartsWith("Usage:\n  tlx-media-picker"));
  EXPECT_LE(occurrences(help.out, "\n"), 40u) << "a screen";
  EXPECT_THAT(run({"--version"}).out, StartsWith("tlx-media-picker 1.0"));

  const Outcome outcome = run({"--headless", "--pick", "Turned:0", samples()}, "/dev/full");
  EXPECT_EQ(outcome.status, 4);
  EXPECT_THAT(outcome.err, HasSubstr("the results could not be written"));
}

}  // namespace
}  // namespace tlx::program

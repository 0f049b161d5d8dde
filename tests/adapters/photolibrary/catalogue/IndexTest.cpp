// The index: what it saves, and that nothing that happens to it harms the library.

#include <algorithm>
#include <csignal>
#include <fstream>
#include <random>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "adapters/photolibrary/catalogue/Database.h"
#include "adapters/photolibrary/catalogue/GoneIndexes.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

namespace fs = std::filesystem;
using namespace testing;

class FilesIndex : public testing::Test {
 protected:
  FilesIndex() {
    folder_.putPhoto("one.jpg", 1000);
    folder_.putPhoto("trip/two.jpg", 2000);
    folder_.put("note.jpg", {'n', 'o'}, 3000);
  }
  std::unique_ptr<PhotoLibrary> open() {
    return std::make_unique<PhotoLibrary>(folder_.options(), directDecoders(), log_);
  }
  std::unique_ptr<PhotoLibrary> scanned() {
    auto library = open();
    library->waitUntilScanned();
    return library;
  }
  fs::path indexFile() const {
    for (const auto& entry : fs::directory_iterator(folder_.top() / "cache")) {
      if (entry.path().extension() == ".sqlite") return entry.path();
    }
    return {};
  }
  /// Other bytes, with everything about the file as it was.
  void forge(const std::string& path, const std::string& bytes) {
    const fs::path full = folder_.pictures() / path;
    struct stat before;
    ASSERT_EQ(::stat(full.c_str(), &before), 0);
    std::string content(static_cast<std::size_t>(before.st_size), '\0');
    content.replace(0, bytes.size(), bytes);
    std::fstream(full, std::ios::in | std::ios::out | std::ios::binary) << content;
    const timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, full.c_str(), times, 0), 0);
  }

  /// Fails the test when the child ends by itself with anything but success.
  static void inAChild(const std::function<void()>& work) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      work();
      ::_exit(0);
    }
    int status;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    if (WIFEXITED(status)) {
      EXPECT_EQ(WEXITSTATUS(status), 0) << "the line of what went wrong, modulo 256";
    } else {
      EXPECT_EQ(WTERMSIG(status), SIGALRM);
    }
  }
  static void expectInChild(bool good, int line = __builtin_LINE()) {
    if (!good) ::_exit(std::max(line % 256, 1));
  }

  LibraryFolder folder_;
  KeptLog log_;
};

TEST_F(FilesIndex, FilesThatStayedAsTheyWereAreNotReadAgain) {
  scanned();
  forge("one.jpg", "no picture any more");
  const auto photo = samplePhoto();
  folder_.put("trip/note.jpg", {'n', 'o'}, 3000);
  scanned();
  EXPECT_THAT(namesIn(*scanned(), "Camera Roll"), ElementsAre("two.jpg", "one.jpg"));
  fs::rename(folder_.pictures(), folder_.top() / "away");
  scanned();
  fs::rename(folder_.top() / "away", folder_.pictures());
  EXPECT_THAT(namesIn(*scanned(), "Camera Roll"), ElementsAre("two.jpg", "one.jpg")) << "nor when the disk was away";
  folder_.put("one.jpg", {'n', 'o'}, 1000);
  EXPECT_THAT(namesIn(*scanned(), "Camera Roll"), ElementsAre("two.jpg")) << "another size: looked into";
  folder_.put("note.jpg", photo, 3000);
  EXPECT_THAT(namesIn(*scanned(), "Camera Roll"), ElementsAre("note.jpg", "two.jpg"))
      << "a rejected file grew into a photo";
}

TEST_F(FilesIndex, DamageIsReadFromTheFilesAgain) {
  const auto truth = everythingIn(*scanned());
  const auto stored = [this] {
    Database database(indexFile().string());
    Statement rows = database.prepare(
        "SELECT group_concat(hex(name) || hex(facts) || created) FROM (SELECT * FROM items WHERE length(identifier) > "
        "0 "
        "ORDER BY identifier)");
    return rows.step() ? std::string(rows.bytes(0)) : std::string();
  };
  const std::string whole = stored();
  const auto sql = [](const std::string& statement) {
    return [statement](const fs::path& file) {
      ASSERT_TRUE(Database(file.string()).execute(statement.c_str())) << statement;
    };
  };
  const auto item = [&](const std::string& set) {
    return sql("UPDATE items SET " + set + " WHERE name = x'6f6e652e6a7067'");  // one.jpg
  };
  const auto facts = [&](std::size_t at, const std::string& bytes) {
    return item("facts = CAST(substr(facts,1," + std::to_string(at) + ") || x'" + bytes + "' || substr(facts," +
                std::to_string(at + 1 + bytes.size() / 2) + ") AS BLOB)");
  };
  const auto foreign = [](std::streamoff at, std::size_t count) {
    return [at, count](const fs::path& file) {
      std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp(at) << std::string(count, '\x5a');
    };
  };
  const struct {
    const char* what;
    std::function<void(const fs::path&)> damage;
    bool setAside = false;  ///< with a word; else it is put right in silence
  } rows[] = {
      {"kind 0", facts(56, "00")},
      {"kind 3", facts(56, "03")},
      {"kind 0 of an unknown format", facts(56, "0000")},
      {"a photo's format in a video", facts(56, "02")},
      {"no format", facts(57, "63")},
      {"orientation 9", facts(58, "09")},
      {"a date from nowhere", facts(60, "05")},
      {"duration is no number", facts(0, "000000000000f87f")},
      {"length below nothing", facts(8, "ffffffffffffffff")},
      {"width below nothing", facts(48, "ffffffff")},
      {"facts too short", item("facts = x'01'")},
      {"a date without end", item("created = 9e999")},
      {"a name that leads elsewhere", item("name = x'2e2e2f78'")},
      {"a name that is text", item("name = 'one.jpg'")},
      {"no identifier", item("identifier = x''")},
      {"a folder that lies elsewhere", sql("UPDATE folders SET path = x'2f657463' WHERE relative = x''")},
      {"a folder above", sql("UPDATE folders SET relative = x'2e2e' WHERE relative = x''")},
      {"no database at all", foreign(0, 100), true},
      {"cut short", [](const fs::path& file) { fs::resize_file(file, 5000); }, true},
      {"overwritten in the middle", foreign(4096, 40'000), true},
      {"another version", sql("PRAGMA user_version=99"), true},
      {"somebody else's",
       [&](const fs::path& file) {
         fs::remove(file);
         sql("CREATE TABLE recipes(name)")(file);
       },
       true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const std::string broken = indexFile().string() + ".broken";
    fs::remove(broken);
    row.damage(indexFile());
    KeptLog log;
    PhotoLibrary library(folder_.options(), directDecoders(), log);
    library.waitUntilOpened();
    const auto early = namesIn(library, "Camera Roll");
    EXPECT_TRUE(row.setAside || early == std::vector<std::string>{"two.jpg"} || everythingIn(library) == truth)
        << testing::PrintToString(early);
    library.waitUntilScanned();
    EXPECT_EQ(everythingIn(library), truth);
    EXPECT_EQ(stored(), whole) << "put right";
    EXPECT_THAT(log.lines(), SizeIs(row.setAside));
    EXPECT_THAT(log.lines(), Each(HasSubstr("set aside")));
    EXPECT_EQ(fs::exists(broken), row.setAside);
  }
}

TEST_F(FilesIndex, IsItsOwnersAlone) {
  const fs::path cache = folder_.top() / "cache";
  for (const bool earlier : {false, true}) {
    if (earlier) {
      fs::permissions(cache, static_cast<fs::perms>(0755));
      fs::permissions(indexFile(), static_cast<fs::perms>(0644));
    }
    const auto library = scanned();
    EXPECT_EQ(fs::status(cache).permissions(), static_cast<fs::perms>(0700));
    for (const auto& entry : fs::directory_iterator(cache))
      EXPECT_EQ(entry.status().permissions(), static_cast<fs::perms>(0600)) << entry.path();
  }
}

TEST_F(FilesIndex, GoesWhenItsRootsHaveBeenAwayForLong) {
  scanned();
  const fs::path cache = folder_.top() / "cache", index = indexFile();
  const auto today = std::chrono::system_clock::now();
  using std::chrono::hours;
  const struct {
    const char* what;
    bool rootThere;
    bool opened;
    hours later;
    bool stays;
  } rows[] = {
      {"the root is there", true, false, hours(0), true},
      {"unmounted today, seen first after a year", false, false, hours(24 * 365), true},
      {"not for long enough", false, false, hours(24 * (365 + 179)), true},
      {"there again: counted anew", true, false, hours(24 * (365 + 180)), true},
      {"away again", false, false, hours(24 * 600), true},
      {"opened meanwhile: counted anew", false, true, hours(24 * 700), true},
      {"away since then", false, false, hours(24 * 790), true},
      {"for long", false, false, hours(24 * (700 + 181)), false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    std::error_code none;
    if (row.rootThere) fs::rename(folder_.top() / "away", folder_.pictures(), none);
    if (!row.rootThere) fs::rename(folder_.pictures(), folder_.top() / "away", none);
    if (row.opened) scanned();
    removeGoneIndexes(cache.string(), index.string(), today + row.later);
    EXPECT_TRUE(fs::exists(index)) << "the one that is kept";
    removeGoneIndexes(cache.string(), "another", today + row.later);
    EXPECT_EQ(fs::exists(index), row.stays);
  }
}

TEST_F(FilesIndex, AnIndexThatVanishesUnderWayHarmsNothing) {
  const auto library = scanned();
  fs::remove_all(folder_.top() / "cache");
  folder_.putPhoto("three.jpg", 3000);
  look(*library);
  EXPECT_THAT(namesIn(*library, "Camera Roll"), ElementsAre("three.jpg", "two.jpg", "one.jpg"));
  EXPECT_THAT(namesIn(*scanned(), "Camera Roll"), SizeIs(3));
}

TEST_F(FilesIndex, TwoLibrariesShareOneIndex) {
  const auto first = open(), second = open();
  for (int round = 0; round < 10; ++round) {
    folder_.putPhoto("round " + std::to_string(round) + "/x.jpg", 5000 + round);
    if (round > 0) fs::remove_all(folder_.pictures() / ("round " + std::to_string(round - 1)));
    first->rescan();
    second->rescan();
  }
  first->waitUntilScanned();
  second->waitUntilScanned();
  EXPECT_THAT(namesIn(*first, "Camera Roll"), ElementsAre("x.jpg", "two.jpg", "one.jpg"));
  EXPECT_EQ(namesIn(*second, "Camera Roll"), namesIn(*first, "Camera Roll"));
  const auto third = scanned();
  EXPECT_EQ(titles(*third), titles(*first));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(FilesIndex, AScanKilledAtAnyMomentIsTakenUpAgain) {
  for (int i = 0; i < 300; ++i) folder_.putPhoto("many/" + std::to_string(i) + ".jpg", 10'000 + i);
  const std::vector<std::string> whole = namesIn(*scanned(), "Camera Roll");
  ASSERT_THAT(whole, SizeIs(302));
  const auto seed = std::random_device()();
  RecordProperty("seed", std::to_string(seed));
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (int round = 0; round < 200; ++round) {
    if (round % 4 == 0) fs::remove_all(folder_.top() / "cache");
    const itimerval moment = {{0, 0}, {0, static_cast<suseconds_t>(1 + random() % 30'000)}};
    inAChild([&] {
      ::setitimer(ITIMER_REAL, &moment, nullptr);
      scanned();
    });
    if (round % 10 == 9) {
      ASSERT_EQ(namesIn(*scanned(), "Camera Roll"), whole) << "round " << round;
    }
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(FilesIndex, AFullDiskLeavesTheLibraryInMemoryAndTheFilesAlone) {
  for (int i = 0; i < 300; ++i) folder_.putPhoto("many/" + std::to_string(i) + ".jpg", 10'000 + i);
  for (const rlim_t most : {0, 4096, 40'000, 100'000}) {
    fs::remove_all(folder_.top() / "cache");
    inAChild([&] {
      ::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow fails as on a full disk
      const rlimit limit = {most, most};
      ::setrlimit(RLIMIT_FSIZE, &limit);
      expectInChild(namesIn(*scanned(), "Camera Roll").size() == 302);
      expectInChild(testing::Value(log_.lines(), ElementsAre(HasSubstr("memory only"))));
    });
    EXPECT_THAT(namesIn(*scanned(), "Camera Roll"), SizeIs(302)) << "room again, after " << most;
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(FilesIndex, WhatMayNotBeWrittenOrReadIsToldOfAndHarmsNothing) {
  scanned();
  folder_.putPhoto("closed/three.jpg", 3000);
  const auto permitAll = [&](unsigned mode) {
    for (const auto& entry : fs::recursive_directory_iterator(folder_.top()))
      fs::permissions(entry.path(), static_cast<fs::perms>(mode));
  };
  permitAll(0555);
  fs::permissions(folder_.top(), static_cast<fs::perms>(0755));
  fs::permissions(folder_.pictures() / "closed", fs::perms::none);
  inAChild([&] {
    if (::geteuid() == 0 && ::setresuid(65534, 65534, 65534) != 0) ::_exit(0);  // root may do anything
    expectInChild(namesIn(*scanned(), "Camera Roll") == std::vector<std::string>{"two.jpg", "one.jpg"});
    expectInChild(testing::Value(
        log_.lines(),
        testing::IsSupersetOf({HasSubstr("memory only"), HasSubstr("closed are left out: Permission denied")})));
  });
  permitAll(0700);
}

}  // namespace
}  // namespace tlx::photolibrary::test

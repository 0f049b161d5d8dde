#include "adapters/photolibrary/catalogue/GoneIndexes.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "adapters/photolibrary/catalogue/Index.h"

namespace tlx::photolibrary {
namespace {

namespace fs = std::filesystem;

/// Marks the index, or takes its mark off; true when its time has come. Whatever cannot be read, because somebody uses
/// it just now or it is another's, stays as it is.
bool isGoneForLong(const std::string& path, std::int64_t now) {
  Database database(path);
  Statement application = database.prepare("PRAGMA application_id");
  if (!application.step() || application.integer(0) != Index::kApplication) return false;
  bool there = false;
  Statement roots = database.prepare("SELECT DISTINCT root FROM folders");
  while (roots.step()) {
    std::error_code none;
    there = there || fs::is_directory(std::string(roots.bytes(0)), none);
  }
  if (roots.status() != SQLITE_DONE) return false;
  Statement absent = database.prepare("SELECT value FROM facts WHERE name = 'absent'");
  const std::int64_t since = absent.step() ? absent.integer(0) : 0;
  if (absent.status() == SQLITE_ROW) absent.run();
  if (there) {
    if (since != 0) database.execute("DELETE FROM facts WHERE name = 'absent'");
  } else if (since == 0) {
    database.execute(("INSERT OR REPLACE INTO facts VALUES('absent', " + std::to_string(now) + ")").c_str());
  }
  return !there && since != 0 && now - since >= std::chrono::seconds(kIndexOutlivesRoots).count();
}

}  // namespace

void removeGoneIndexes(const std::string& cacheFolder, const std::string& kept,
                       std::chrono::system_clock::time_point now) {
  const std::int64_t seconds = std::chrono::duration_cast<std::chrono::seconds>(now.time_since_epoch()).count();
  std::error_code failed;
  for (fs::directory_iterator entry(cacheFolder, failed), end; !failed && entry != end; entry.increment(failed)) {
    const std::string path = entry->path().string(), name = entry->path().filename().string();
    const bool index = name.starts_with("library-v") && name.ends_with(".sqlite") && entry->is_regular_file(failed);
    if (!index || path == kept || !isGoneForLong(path, seconds)) continue;
    std::error_code ignored;
    for (const char* const suffix : {"", "-wal", "-shm", ".broken"}) fs::remove(path + suffix, ignored);
  }
}

}  // namespace tlx::photolibrary

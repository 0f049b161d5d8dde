#include "adapters/photolibrary/catalogue/Index.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/base/FileStatus.h"

namespace tlx::photolibrary {
namespace {

/// Part of the file's name too, so that programs built with different versions each keep their own.
constexpr int kVersion = 2;

constexpr char kSchema[] = R"(
  BEGIN IMMEDIATE;
  CREATE TABLE IF NOT EXISTS folders(
    id INTEGER PRIMARY KEY AUTOINCREMENT, path BLOB UNIQUE NOT NULL, root BLOB NOT NULL, relative BLOB NOT NULL,
    trashed INTEGER NOT NULL, identifier BLOB NOT NULL, fs INTEGER NOT NULL, number INTEGER NOT NULL,
    born INTEGER NOT NULL, count INTEGER NOT NULL DEFAULT 0);
  CREATE TABLE IF NOT EXISTS items(
    created REAL NOT NULL, name BLOB NOT NULL, identifier BLOB NOT NULL, folder INTEGER NOT NULL, facts BLOB NOT NULL,
    PRIMARY KEY(created DESC, name, identifier)) WITHOUT ROWID;
  CREATE UNIQUE INDEX IF NOT EXISTS items_identifier ON items(identifier);
  CREATE TABLE IF NOT EXISTS rejected(
    folder BLOB NOT NULL, name BLOB NOT NULL, fs INTEGER NOT NULL, number INTEGER NOT NULL, born INTEGER NOT NULL,
    bytes INTEGER NOT NULL, modified INTEGER NOT NULL, PRIMARY KEY(folder, name)) WITHOUT ROWID;
  CREATE TABLE IF NOT EXISTS facts(name TEXT PRIMARY KEY, value INTEGER NOT NULL) WITHOUT ROWID;
)";

std::string fileName(std::vector<std::string> roots) {
  std::sort(roots.begin(), roots.end());
  std::string all;
  for (const std::string& root : roots) all += root + '\n';
  std::uint64_t hash = 0xcbf29ce484222325ULL;  // FNV-1a: the name must come out the same in every build
  for (const char c : all) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
  char name[64];
  std::snprintf(name, sizeof name, "library-v%d-%016llx.sqlite", kVersion, static_cast<unsigned long long>(hash));
  return name;
}

std::int64_t integerOf(Database& database, const char* sql) {
  Statement statement = database.prepare(sql);
  return statement.step() ? statement.integer(0) : 0;
}

FileKey keyOf(const Statement& row, int column) {
  return {static_cast<std::uint64_t>(row.integer(column)), static_cast<std::uint64_t>(row.integer(column + 1)),
          row.integer(column + 2)};
}

Statement& bindKey(Statement& statement, const FileKey& key) {
  return statement.bind(static_cast<std::int64_t>(key.fileSystem))
      .bind(static_cast<std::int64_t>(key.number))
      .bind(key.born);
}

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of(std::string_view("/\0", 2)) == name.npos;
}

/// Whether the folder can be what it says: `relative` below `root`, or any absolute path of a trash.
bool isSound(const Folder& folder, const std::string& root) {
  if (folder.path.empty() || folder.identifier.empty() || folder.path.find('\0') != std::string::npos) return false;
  if (folder.trashed) return folder.path.front() == '/';
  std::string path = root;
  for (std::string_view rest = folder.relative; !rest.empty();) {
    const std::string_view name = rest.substr(0, rest.find('/'));
    if (!isFileName(name)) return false;
    path = pathIn(path, name);
    rest.remove_prefix(std::min(name.size() + 1, rest.size()));
  }
  return path == folder.path;
}

/// Makes the last folder of the path for this person alone. One that everybody may write to is left as it is.
void makePrivateFolder(const std::string& path) {
  std::error_code failed;
  std::filesystem::create_directories(path, failed);
  struct stat status;
  if (::stat(path.c_str(), &status) != 0 || status.st_uid != ::geteuid()) return;
  if ((status.st_mode & 077) != 0 && (status.st_mode & S_ISVTX) == 0) ::chmod(path.c_str(), 0700);
}

/// What is stored of an item as one value: taking a row of sixteen columns apart would take more than twice the time of
/// opening. The file never leaves the machine, so the machine's own byte order does.
struct StoredFacts {
  double duration;
  std::int64_t bytes, modified;
  std::uint64_t fileSystem, number;
  std::int64_t born;
  std::int32_t width, height;
  std::uint8_t kind, format, orientation, marks;
  std::uint8_t dateOrigin;
  std::uint8_t unused[3];
  std::int64_t sidecar;

  static StoredFacts of(const Item& item) {
    const ItemFacts& facts = item.facts;
    return {item.duration,
            facts.bytes,
            facts.modified,
            facts.key.fileSystem,
            facts.key.number,
            facts.key.born,
            facts.width,
            facts.height,
            static_cast<std::uint8_t>(item.mediaType),
            static_cast<std::uint8_t>(facts.format),
            facts.orientation,
            facts.marks,
            static_cast<std::uint8_t>(facts.dateOrigin),
            {},
            facts.sidecar};
  }
  /// Whether the rest of the program can live with it. The file may be damaged, or somebody else's work.
  bool isSound() const {
    if (kind != PHAssetMediaTypeImage && kind != PHAssetMediaTypeVideo) return false;
    const auto known = static_cast<MediaFormat>(format);
    if (known != MediaFormat::Unknown && traitsOf(known).mediaType != kind) return false;
    return std::isfinite(duration) && duration >= 0 && bytes >= 0 && width >= 0 && height >= 0 && orientation >= 1 &&
           orientation <= 8 && dateOrigin <= static_cast<std::uint8_t>(DateOrigin::Sidecar);
  }
  void copyTo(Item& item) const {
    item.duration = duration;
    item.mediaType = static_cast<PHAssetMediaType>(kind);
    item.facts = {{fileSystem, number, born},
                  bytes,
                  modified,
                  width,
                  height,
                  static_cast<MediaFormat>(format),
                  orientation,
                  marks,
                  static_cast<DateOrigin>(dateOrigin),
                  sidecar};
  }
};
static_assert(sizeof(StoredFacts) == 72, "the size on disk");

}  // namespace

std::unique_ptr<Index> Index::open(const std::string& cacheFolder, const std::vector<std::string>& roots,
                                   const Log& log) {
  makePrivateFolder(cacheFolder);
  std::unique_ptr<Index> index(new Index(cacheFolder + "/" + fileName(roots), roots));
  Beginning beginning = index->begin();
  if (beginning == Beginning::NotOurs) {
    log("photo index " + index->path_ + " " + index->problem_ + "; it is set aside and a new one begun");
    index->setAside();
    beginning = index->begin();
  }
  if (beginning == Beginning::Good) return index;
  log("photo index " + index->path_ + " " + index->problem_ + "; the library is kept in memory only");
  return nullptr;
}

bool Index::startOver(const Log& log) {
  log("photo index " + path_ + " " + problem_ + "; it is set aside and a new one begun");
  setAside();
  return begin() == Beginning::Good;
}

Index::Beginning Index::begin() {
  // Two that make the file in the same moment would find it locked without being made to wait: they take turns.
  const FileDescriptor folder(::open(folderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder) ::flock(folder.get(), LOCK_EX);
  database_ = std::make_unique<Database>(path_);
  if (database_->status() != SQLITE_OK) return failure();
  // No waiting for the disk on each commit: losing the last moments to a power failure costs a second look at some
  // files.
  if (!database_->execute("PRAGMA busy_timeout=5000") || !database_->execute("PRAGMA journal_mode=WAL") ||
      !database_->execute("PRAGMA synchronous=NORMAL; PRAGMA cache_size=-8192")) {
    return failure();
  }
  const std::int64_t application = integerOf(*database_, "PRAGMA application_id");
  const std::int64_t version = integerOf(*database_, "PRAGMA user_version");
  if (application == kApplication && version == kVersion) {
    // Whoever opens it has a use for it: see `removeGoneIndexes`.
    const bool marked = integerOf(*database_, "SELECT value FROM facts WHERE name = 'absent'") != 0;
    if (marked) database_->execute("DELETE FROM facts WHERE name = 'absent'");
    return Beginning::Good;
  }
  if (application != 0 || version != 0 || integerOf(*database_, "SELECT count(*) FROM sqlite_master") != 0) {
    problem_ = "is of another make";
    return Beginning::NotOurs;
  }
  const std::string marks = "PRAGMA application_id=" + std::to_string(kApplication) +
                            "; PRAGMA user_version=" + std::to_string(kVersion) + "; COMMIT";
  return database_->execute(kSchema) && database_->execute(marks.c_str()) ? Beginning::Good : failure();
}

Index::Beginning Index::failure() {
  const int status = database_->lastStatus();
  problem_ = "cannot be used (" + database_->error() + ")";
  const bool damaged = status == SQLITE_CORRUPT || status == SQLITE_NOTADB || status == SQLITE_FORMAT;
  return damaged ? Beginning::NotOurs : Beginning::Unusable;
}

void Index::setAside() {
  database_.reset();
  std::error_code ignored;
  std::filesystem::rename(path_, path_ + ".broken", ignored);
  // A journal left behind would be played into the new file.
  for (const char* const suffix : {"-wal", "-shm"}) std::filesystem::remove(path_ + suffix, ignored);
}

std::optional<Index::Content> Index::load(const std::function<bool(std::size_t root)>& readable) {
  Content content;
  std::vector<bool> open;
  for (std::size_t i = 0; i < roots_.size(); ++i) open.push_back(readable(i));

  constexpr std::uint32_t kLeftOut = 0xffffffff;
  std::unordered_map<std::int64_t, std::uint32_t> positions;
  std::int64_t expected = 0;
  Statement folders = database_->prepare(
      "SELECT id, path, root, relative, trashed, identifier, fs, number, born, count FROM folders ORDER BY id");
  while (folders.step()) {
    const auto root = std::find(roots_.begin(), roots_.end(), folders.bytes(2));
    const auto number = static_cast<std::size_t>(root - roots_.begin());
    if (root == roots_.end() || !open[number]) continue;
    auto folder =
        std::make_shared<Folder>(Folder{std::string(folders.bytes(1)), number, std::string(folders.bytes(3)),
                                        folders.integer(4) != 0, keyOf(folders, 6), std::string(folders.bytes(5))});
    if (!isSound(*folder, *root)) continue;
    positions.emplace(folders.integer(0), static_cast<std::uint32_t>(content.folders.size()));
    content.folders.push_back(std::move(folder));
    expected += folders.integer(9);
  }
  if (folders.status() != SQLITE_DONE) return unreadable();

  // The stored numbers are another's word: they may size the memory, within reason, and no more.
  ItemBlocks blocks(static_cast<std::size_t>(std::clamp<std::int64_t>(expected, 64, 4'000'000)));
  content.live.reserve(static_cast<std::size_t>(std::clamp<std::int64_t>(expected, 64, 4'000'000)));
  std::int64_t lastFolder = -1;
  std::uint32_t position = kLeftOut;
  Statement items = database_->prepare(
      "SELECT created, name, identifier, folder, facts FROM items ORDER BY created DESC, name, identifier");
  StoredFacts facts;
  while (items.step()) {
    if (items.integer(3) != lastFolder) {
      lastFolder = items.integer(3);
      const auto found = positions.find(lastFolder);
      position = found == positions.end() ? kLeftOut : found->second;
    }
    const std::string_view stored = items.bytes(4);
    if (position == kLeftOut || stored.size() != sizeof facts) continue;
    std::memcpy(&facts, stored.data(), sizeof facts);
    const bool ordered = items.isBytes(1) && items.isBytes(2) && std::isfinite(items.real(0));
    if (!ordered || !facts.isSound() || !isFileName(items.bytes(1)) || items.bytes(2).empty()) continue;
    auto asset = blocks.add(items.bytes(2), items.bytes(1), [&](Item& item) {
      item.folder = position;
      item.creationDate = items.real(0);
      facts.copyTo(item);
    });
    (content.folders[position]->trashed ? content.trashed : content.live).push_back(std::move(asset));
  }
  if (items.status() != SQLITE_DONE) return unreadable();

  database_->execute("PRAGMA shrink_memory");  // read once from end to end: its pages will not be wanted again
  content.complete = integerOf(*database_, "SELECT value FROM facts WHERE name = 'complete'") != 0;
  return content;
}

std::optional<RejectedFiles> Index::loadRejected() {
  RejectedFiles files;
  Statement rows = database_->prepare("SELECT folder, name, fs, number, born, bytes, modified FROM rejected");
  while (rows.step()) {
    files[std::string(rows.bytes(0))].push_back(
        {std::string(rows.bytes(1)), keyOf(rows, 2), rows.integer(5), rows.integer(6)});
  }
  if (rows.status() != SQLITE_DONE) return unreadable();
  return files;
}

std::nullopt_t Index::unreadable() {
  failure();
  return std::nullopt;
}

bool Index::write(const IndexChanges& changes, const Folders& folders,
                  const std::function<std::size_t(std::uint32_t)>& counts) {
  if (!database_->execute("BEGIN IMMEDIATE")) {
    failure();
    return false;
  }
  if (writeItems(changes, folders, counts) && writeRejected(changes) && database_->execute("COMMIT")) return true;
  failure();
  database_->execute("ROLLBACK");
  return false;
}

bool Index::writeItems(const IndexChanges& changes, const Folders& folders,
                       const std::function<std::size_t(std::uint32_t)>& counts) {
  bool good = true;
  Statement remove = database_->prepare("DELETE FROM items WHERE identifier = ?");
  for (const std::string& identifier : changes.removed) good = good && remove.bind(identifier).run();
  Statement removeFolder = database_->prepare("DELETE FROM folders WHERE path = ?");
  for (const std::string& path : changes.removedFolders) good = good && removeFolder.bind(path).run();

  // Folders are looked up anew in each transaction: another process may have taken one out since.
  Statement putFolder = database_->prepare(
      "INSERT INTO folders(path, root, relative, trashed, identifier, count, fs, number, born) "
      "VALUES(?,?,?,?,?,?,?,?,?) "
      "ON CONFLICT(path) DO UPDATE SET root=excluded.root, relative=excluded.relative, trashed=excluded.trashed, "
      "identifier=excluded.identifier, count=excluded.count, fs=excluded.fs, number=excluded.number, "
      "born=excluded.born");
  Statement folderId = database_->prepare("SELECT id FROM folders WHERE path = ?");
  std::unordered_map<std::uint32_t, std::int64_t> ids;
  const auto idOf = [&](std::uint32_t position) {
    const auto [entry, isNew] = ids.emplace(position, -1);
    if (isNew) {
      const Folder& folder = *folders[position];
      putFolder.bind(folder.path).bind(roots_[folder.root]).bind(folder.relative).bind(std::int64_t{folder.trashed});
      putFolder.bind(folder.identifier).bind(static_cast<std::int64_t>(counts(position)));
      good = good && bindKey(putFolder, folder.key).run();
      folderId.bind(folder.path);
      good = good && folderId.step();
      entry->second = good ? folderId.integer(0) : -1;
      folderId.run();
    }
    return entry->second;
  };
  for (const std::uint32_t position : changes.folders) idOf(position);

  Statement put =
      database_->prepare("INSERT OR REPLACE INTO items(created, name, identifier, folder, facts) VALUES(?,?,?,?,?)");
  for (const auto& asset : changes.put) {
    const Item& item = itemOf(*asset);
    const std::int64_t folder = idOf(item.folder);
    if (!good) return false;
    const StoredFacts facts = StoredFacts::of(item);
    put.bind(item.creationDate).bind(std::string_view(item.name)).bind(item.localIdentifier.string()).bind(folder);
    good = put.bind(std::string_view(reinterpret_cast<const char*>(&facts), sizeof facts)).run();
  }
  return good;
}

bool Index::writeRejected(const IndexChanges& changes) {
  bool good = true;
  Statement remove = database_->prepare("DELETE FROM rejected WHERE folder = ? AND name = ?");
  for (const auto& [folder, name] : changes.unrejected) good = good && remove.bind(folder).bind(name).run();
  Statement put = database_->prepare(
      "INSERT OR REPLACE INTO rejected(folder, name, bytes, modified, fs, number, born) VALUES(?,?,?,?,?,?,?)");
  for (const auto& [folder, file] : changes.rejected) {
    put.bind(folder).bind(file.name).bind(file.bytes).bind(file.modified);
    good = good && bindKey(put, file.key).run();
  }
  return good && (!changes.complete || database_->execute("INSERT OR REPLACE INTO facts VALUES('complete', 1)"));
}

}  // namespace tlx::photolibrary

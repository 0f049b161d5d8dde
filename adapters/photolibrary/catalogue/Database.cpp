#include "adapters/photolibrary/catalogue/Database.h"

#include <sys/stat.h>
#include <unistd.h>

namespace tlx::photolibrary {
namespace {

/// By its path: to open and close a database's file by hand would release the locks that SQLite holds on it.
void closeToOthers(const std::string& path) {
  struct stat status;
  const bool own = ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
  if (own && (status.st_mode & 077) != 0) ::chmod(path.c_str(), 0600);
}

}  // namespace

Statement::Statement(sqlite3* database, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  status_ = sqlite3_prepare_v2(database, sql, -1, &statement, nullptr);
  statement_.reset(statement);
}

Statement& Statement::bind(std::int64_t value) {
  sqlite3_bind_int64(statement_.get(), next_++, value);
  return *this;
}

Statement& Statement::bind(double value) {
  sqlite3_bind_double(statement_.get(), next_++, value);
  return *this;
}

Statement& Statement::bind(std::string_view bytes) {
  sqlite3_bind_blob64(statement_.get(), next_++, bytes.data(), bytes.size(), SQLITE_STATIC);
  return *this;
}

bool Statement::step() {
  if (!statement_) return false;
  status_ = sqlite3_step(statement_.get());
  return status_ == SQLITE_ROW;
}

bool Statement::run() {
  if (!statement_) return false;
  do {
    status_ = sqlite3_step(statement_.get());
  } while (status_ == SQLITE_ROW);
  sqlite3_reset(statement_.get());
  next_ = 1;
  return status_ == SQLITE_DONE;
}

std::string_view Statement::bytes(int column) const {
  const auto* const data = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
  return {data ? data : "", static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

Database::Database(const std::string& path) {
  sqlite3* handle = nullptr;
  status_ =
      sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  handle_.reset(handle);
  // A new file is empty still. The journal's files take their permissions from it; those of an earlier version may be
  // there.
  for (const char* const suffix : {"", "-wal", "-shm"}) closeToOthers(path + suffix);
  if (handle) sqlite3_extended_result_codes(handle, 0);
}

int Database::lastStatus() const {
  return handle_ ? sqlite3_errcode(handle_.get()) & 0xff : SQLITE_NOMEM;
}

std::string Database::error() const {
  return handle_ ? sqlite3_errmsg(handle_.get()) : "out of memory";
}

bool Database::execute(const char* sql) {
  if (!handle_) return false;
  status_ = sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr);
  return status_ == SQLITE_OK;
}

}  // namespace tlx::photolibrary

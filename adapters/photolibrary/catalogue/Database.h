#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <sqlite3.h>

namespace tlx::photolibrary {

/// One prepared statement. Bind in order, then step; every failure is remembered by the database. The statement must
/// not outlive its database.
class Statement {
 public:
  Statement(sqlite3* database, const char* sql);

  Statement& bind(std::int64_t value);
  Statement& bind(double value);
  /// The text must live until the statement has been run.
  Statement& bind(std::string_view bytes);
  /// Whether there is a row to read.
  bool step();
  /// Runs to the end and makes ready for the next binding. False when it failed.
  bool run();
  int status() const { return status_; }

  std::int64_t integer(int column) const { return sqlite3_column_int64(statement_.get(), column); }
  double real(int column) const { return sqlite3_column_double(statement_.get(), column); }
  /// Whether the value is what `bytes` gives, and no number or text that would be ordered otherwise.
  bool isBytes(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_BLOB; }
  /// Valid until the next step.
  std::string_view bytes(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
  int status_ = SQLITE_OK;
  int next_ = 1;
};

/// An open SQLite file, used by one thread.
class Database {
 public:
  /// Opens the file, or makes it for its owner alone; see `status`.
  explicit Database(const std::string& path);

  int status() const { return status_; }
  /// The code and the text of whatever failed last, in a statement too.
  int lastStatus() const;
  std::string error() const;
  bool execute(const char* sql);
  Statement prepare(const char* sql) { return Statement(handle_.get(), sql); }

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };
  std::unique_ptr<sqlite3, Close> handle_;
  int status_ = SQLITE_OK;
};

}  // namespace tlx::photolibrary

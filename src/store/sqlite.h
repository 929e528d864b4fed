// A thin RAII layer over SQLite's C API: connections and statements close themselves, and every
// failure is a value carrying SQLite's message. No SQLite call in the store happens elsewhere.
//
// Thread: a Database and its statements are used from one thread at a time.
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/result.h"

namespace velto::sql {

class Statement;

class Database {
 public:
  // `flags` as for sqlite3_open_v2. ":memory:" opens a private in-memory database.
  static Result<Database> open(const std::string& path, int flags);

  Database(Database&&) noexcept = default;
  Database& operator=(Database&&) noexcept = default;

  Status exec(std::string_view sql);
  Result<Statement> prepare(std::string_view sql);
  int changes() const;
  // Whether a table of that name exists (a read of the schema, never of the rows).
  Result<bool> hasTable(std::string_view name);
  // Differs from an earlier stamp when this connection or another one has changed the
  // database since. None when it cannot be read.
  std::optional<std::pair<std::int64_t, std::int64_t>> changeStamp();
  std::string lastError() const;
  // How long a statement waits for another connection's write lock before it fails busy
  // (none until set).
  void setBusyTimeout(int milliseconds) { busy_->limitMs = milliseconds; }
  // Calls `waiting` once in each wait for a lock that lasts longer than `afterMs`, so that a
  // person can be told why nothing happens yet. Called on the thread running the statement.
  void setBusyNotice(int afterMs, std::function<void()> waiting) {
    busy_->noticeAfterMs = afterMs;
    busy_->waiting = std::move(waiting);
  }
  sqlite3* handle() const { return db_.get(); }

 private:
  struct Closer {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
  };
  struct BusyWait {
    int limitMs = 0;
    int noticeAfterMs = 0;
    std::function<void()> waiting;
    std::chrono::steady_clock::time_point began;
    bool noticed = false;
  };
  static int waitWhileBusy(void* state, int attempts);
  explicit Database(sqlite3* db);
  // Owned apart from the handle so that its address, given to SQLite, survives moves.
  std::unique_ptr<BusyWait> busy_;
  std::unique_ptr<sqlite3, Closer> db_;
};

// True when `error` is SQLite's word for another connection holding a lock too long.
bool isBusyError(std::string_view error);

class Statement {
 public:
  Statement(Statement&&) noexcept = default;
  Statement& operator=(Statement&&) noexcept = default;

  // Binding indices start at 1. Text and blobs are copied by SQLite.
  Statement& bind(int index, std::int64_t value);
  Statement& bind(int index, double value);
  Statement& bind(int index, std::string_view text);
  Statement& bind(int index, const std::optional<std::string>& text);  // none binds NULL
  Statement& bindBlob(int index, const void* data, size_t size);
  Statement& bindNull(int index);

  // True while a row is available; an error ends the iteration.
  Result<bool> step();
  // Runs a statement that returns no rows.
  Status run();
  // Steps through every row, turning each into a value with `read(*this)`.
  template <typename Read>
  auto collect(Read read) -> Result<std::vector<decltype(read(std::declval<Statement&>()))>> {
    std::vector<decltype(read(std::declval<Statement&>()))> rows;
    while (true) {
      Result<bool> row = step();
      if (!row) return Error{row.error()};
      if (!*row) return rows;
      rows.push_back(read(*this));
    }
  }
  // Clears bindings and rewinds for reuse.
  void reset();
  int parameterCount() const { return sqlite3_bind_parameter_count(statement_.get()); }

  std::int64_t int64(int column) const;
  double real(int column) const;
  std::string text(int column) const;
  std::optional<std::string> optionalText(int column) const;
  std::string_view blob(int column) const;

 private:
  friend class Database;
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  Statement(sqlite3_stmt* statement, sqlite3* db) : statement_(statement), db_(db) {}
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
  sqlite3* db_;
  Status bindStatus_;
};

// BEGIN IMMEDIATE on construction; rolls back on destruction unless committed.
class Transaction {
 public:
  explicit Transaction(Database& db);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  const Status& began() const { return began_; }
  Status commit();

 private:
  Database& db_;
  Status began_;
  bool open_ = false;
};

// A read transaction over the statements of its scope, so that they see one state of the file
// and take the file's locks once instead of once each. Nothing happens when a transaction is
// already open on `db`. Writes made inside are committed at the end (best effort).
class ReadSnapshot {
 public:
  explicit ReadSnapshot(Database& db);
  ~ReadSnapshot();
  ReadSnapshot(const ReadSnapshot&) = delete;
  ReadSnapshot& operator=(const ReadSnapshot&) = delete;

 private:
  Database& db_;
  bool open_ = false;
};

}  // namespace velto::sql

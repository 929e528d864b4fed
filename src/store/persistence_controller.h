// Opens the one store file, "Velto.sqlite" in the data folder, for the life of the process.
//
// The file is checked before anything is written to it: a file that is not a database, is
// damaged, or was written by a newer schema than this program knows is left exactly as it is,
// and the store runs in memory instead (`degraded`), so recording, reports and notifications
// still work within this run. The file is created 0600 in a folder created 0700; the database
// runs in WAL mode with synchronous=FULL (a commit is on disk when it returns: a power loss loses
// no committed row). The schema version is kept in `user_version`.
//
// Thread: main thread only.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "store/sqlite.h"

namespace velto {

class PersistenceController {
 public:
  static constexpr const char* kFileName = "Velto.sqlite";
  static constexpr int kSchemaVersion = 1;
  // How long a change waits for another process's write (an import, an edit) to finish.
  static constexpr int kBusyWaitMs = 5000;

  // Opens folder/Velto.sqlite, or memory only when `folder` is none.
  explicit PersistenceController(std::optional<std::filesystem::path> folder);

  sql::Database& database() { return db_; }
  bool inMemory() const { return inMemory_; }
  // The file could not be used; everything lives in memory until the process ends.
  bool degraded() const { return degraded_; }
  // Why the file could not be used, when degraded.
  const std::string& degradedReason() const { return degradedReason_; }
  // The store file; none in memory.
  const std::optional<std::filesystem::path>& file() const { return file_; }

 private:
  static sql::Database openInMemory();

  std::optional<std::filesystem::path> file_;
  sql::Database db_;
  bool inMemory_ = false;
  bool degraded_ = false;
  std::string degradedReason_;
};

// Brings a freshly opened database to the current schema. Exposed for tests.
Status migrate(sql::Database& db);

}  // namespace velto

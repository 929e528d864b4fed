#include "store/persistence_controller.h"

#include <fcntl.h>
#include <unistd.h>

#include "base/files.h"
#include "base/log.h"
#include "store/schema.h"
#include "store/segment_facts.h"
#include "store/usage_aggregates.h"

namespace velto {

namespace {

// Reads without writing: fails for a file that is not a database, whose header is damaged, that
// a newer schema wrote, or that holds tables of another program. Only then may anything be
// written to it.
Status checkUsable(sql::Database& db) {
  Result<sql::Statement> tables = db.prepare("SELECT count(*) FROM sqlite_master");
  if (!tables) return Error{tables.error()};
  Result<bool> row = tables->step();
  if (!row) return Error{row.error()};
  const std::int64_t tableCount = tables->int64(0);
  Result<sql::Statement> version = db.prepare("PRAGMA user_version");
  if (!version) return Error{version.error()};
  row = version->step();
  if (!row) return Error{row.error()};
  const std::int64_t schemaVersion = version->int64(0);
  if (schemaVersion > PersistenceController::kSchemaVersion) {
    return Error{"it was written by a newer version of Velto (schema " +
                 std::to_string(schemaVersion) + ")"};
  }
  if (schemaVersion == 0 && tableCount != 0) {
    return Error{"it holds tables Velto did not make"};
  }
  return {};
}

// Tables kept beside the rows of version 1, added to it over time.
Status installVersion1Extras(sql::Database& db) {
  if (Status facts = installSegmentFacts(db); !facts) return facts;
  return installUsageAggregates(db);
}

int schemaVersion(sql::Database& db) {
  Result<sql::Statement> version = db.prepare("PRAGMA user_version");
  if (!version || !version->step().toOptional().value_or(false)) return -1;
  return static_cast<int>(version->int64(0));
}

// Creates the file with mode 0600 so that SQLite's WAL and shared-memory files, which copy the
// database file's mode, are private too.
void createPrivately(const std::filesystem::path& file) {
  const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd >= 0) ::close(fd);
}

Result<sql::Database> openFile(const std::filesystem::path& file) {
  createPrivately(file);
  Result<sql::Database> opened =
      sql::Database::open(file.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW);
  if (!opened) return opened;
  sql::Database& db = opened.value();
  db.setBusyTimeout(PersistenceController::kBusyWaitMs);
  // Closing the last connection to a WAL store folds a log left by a killed process into the
  // file: not before the file is known to be ours to change (a newer version's log stays its
  // own). Without such a log, closing only tidies the empty one away.
  std::filesystem::path log = file;
  log += "-wal";
  std::error_code error;
  const bool pendingLog = std::filesystem::file_size(log, error) > 0 && !error;
  if (pendingLog) sqlite3_db_config(db.handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  if (Status usable = checkUsable(db); !usable) return Error{usable.error()};
  if (pendingLog) sqlite3_db_config(db.handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
  if (Status wal = db.exec("PRAGMA journal_mode = WAL"); !wal) return Error{wal.error()};
  // FULL: every commit is on disk before it returns, so a power loss keeps every recorded row
  // (NORMAL would keep the file sound but could lose the commits since the last checkpoint).
  if (Status sync = db.exec("PRAGMA synchronous = FULL"); !sync) return Error{sync.error()};
  if (Status migrated = migrate(db); !migrated) return Error{migrated.error()};
  return opened;
}

}  // namespace

Status migrate(sql::Database& db) {
  if (Status usable = checkUsable(db); !usable) return usable;
  const int version = schemaVersion(db);
  // The report aggregates and the segment facts belong to version 1; stores made before they
  // existed get them here.
  if (version == PersistenceController::kSchemaVersion) return installVersion1Extras(db);
  if (version != 0) return Error{"unknown schema version " + std::to_string(version)};
  // Later versions add their steps here, each in its own transaction, from version 1 upwards.
  sql::Transaction transaction(db);
  if (!transaction.began()) return transaction.began();
  if (Status created = db.exec(schema::kVersion1); !created) return created;
  if (Status set = db.exec("PRAGMA user_version = 1"); !set) return set;
  if (Status committed = transaction.commit(); !committed) return committed;
  return installVersion1Extras(db);
}

sql::Database PersistenceController::openInMemory() {
  Result<sql::Database> memory =
      sql::Database::open(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (!memory) {
    // Without even memory there is nothing sensible left to do.
    log::error("Could not open an in-memory store: %{public}s", memory.error());
    std::abort();
  }
  if (Status migrated = migrate(memory.value()); !migrated) {
    log::error("Could not create the in-memory store: %{public}s", migrated.error());
    std::abort();
  }
  return std::move(memory).value();
}

PersistenceController::PersistenceController(std::optional<std::filesystem::path> folder)
    : db_(openInMemory()) {
  if (!folder) {
    inMemory_ = true;
    return;
  }
  if (Status made = files::ensureDirectory(*folder); !made) {
    log::error("createDirectory failed at %{public}s: %{public}s", folder->string(), made.error());
  }
  file_ = *folder / kFileName;
  Result<sql::Database> opened = openFile(*file_);
  if (opened) {
    db_ = std::move(opened).value();
    return;
  }
  degraded_ = true;
  inMemory_ = true;
  degradedReason_ = opened.error();
  log::error("Could not open the store at %{public}s (%{public}s); recording into memory only",
             file_->string(), degradedReason_);
}

}  // namespace velto

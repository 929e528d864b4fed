#include "store/sqlite.h"

#include <algorithm>

namespace velto::sql {

Result<Database> Database::open(const std::string& path, int flags) {
  sqlite3* db = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
  if (code != SQLITE_OK) {
    std::string message = db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(code);
    sqlite3_close_v2(db);
    return Error{message};
  }
  sqlite3_extended_result_codes(db, 1);
  return Database(db);
}

Status Database::exec(std::string_view sql) {
  char* message = nullptr;
  const std::string text(sql);
  if (sqlite3_exec(db_.get(), text.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
    std::string error = message != nullptr ? message : lastError();
    sqlite3_free(message);
    return Error{error};
  }
  return {};
}

Result<Statement> Database::prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db_.get(), sql.data(), static_cast<int>(sql.size()), &statement,
                         nullptr) != SQLITE_OK) {
    return Error{lastError()};
  }
  return Statement(statement, db_.get());
}

int Database::changes() const {
  return sqlite3_changes(db_.get());
}

Result<bool> Database::hasTable(std::string_view name) {
  Result<Statement> statement =
      prepare("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = ?");
  if (!statement) return Error{statement.error()};
  statement->bind(1, name);
  if (Result<bool> row = statement->step(); !row) return Error{row.error()};
  return statement->int64(0) > 0;
}

std::optional<std::pair<std::int64_t, std::int64_t>> Database::changeStamp() {
  Result<Statement> version = prepare("PRAGMA data_version");
  if (!version) return std::nullopt;
  Result<bool> row = version->step();
  if (!row || !*row) return std::nullopt;
  return std::pair{version->int64(0),
                   static_cast<std::int64_t>(sqlite3_total_changes64(db_.get()))};
}

Database::Database(sqlite3* db) : busy_(std::make_unique<BusyWait>()), db_(db) {
  sqlite3_busy_handler(db, &Database::waitWhileBusy, busy_.get());
}

int Database::waitWhileBusy(void* state, int attempts) {
  auto& busy = *static_cast<BusyWait*>(state);
  const auto now = std::chrono::steady_clock::now();
  if (attempts == 0) {
    busy.began = now;
    busy.noticed = false;
  }
  const auto waited =
      std::chrono::duration_cast<std::chrono::milliseconds>(now - busy.began).count();
  if (waited >= busy.limitMs) return 0;
  if (!busy.noticed && busy.waiting && waited >= busy.noticeAfterMs) {
    busy.noticed = true;
    busy.waiting();
  }
  sqlite3_sleep(static_cast<int>(std::min<std::int64_t>(20, busy.limitMs - waited)));
  return 1;
}

bool isBusyError(std::string_view error) {
  for (int code : {SQLITE_BUSY, SQLITE_LOCKED}) {
    if (error.find(sqlite3_errstr(code)) != std::string_view::npos) return true;
  }
  return false;
}

std::string Database::lastError() const {
  return sqlite3_errmsg(db_.get());
}

namespace {

Status checked(int code, sqlite3* db) {
  if (code == SQLITE_OK) return {};
  return Error{sqlite3_errmsg(db)};
}

}  // namespace

Statement& Statement::bind(int index, std::int64_t value) {
  if (bindStatus_) bindStatus_ = checked(sqlite3_bind_int64(statement_.get(), index, value), db_);
  return *this;
}

Statement& Statement::bind(int index, double value) {
  if (bindStatus_) bindStatus_ = checked(sqlite3_bind_double(statement_.get(), index, value), db_);
  return *this;
}

Statement& Statement::bind(int index, std::string_view text) {
  if (bindStatus_) {
    bindStatus_ = checked(sqlite3_bind_text64(statement_.get(), index, text.data(), text.size(),
                                              SQLITE_TRANSIENT, SQLITE_UTF8),
                          db_);
  }
  return *this;
}

Statement& Statement::bind(int index, const std::optional<std::string>& text) {
  return text ? bind(index, std::string_view(*text)) : bindNull(index);
}

Statement& Statement::bindBlob(int index, const void* data, size_t size) {
  if (bindStatus_) {
    bindStatus_ =
        checked(sqlite3_bind_blob64(statement_.get(), index, data, size, SQLITE_TRANSIENT), db_);
  }
  return *this;
}

Statement& Statement::bindNull(int index) {
  if (bindStatus_) bindStatus_ = checked(sqlite3_bind_null(statement_.get(), index), db_);
  return *this;
}

Result<bool> Statement::step() {
  if (!bindStatus_) return Error{bindStatus_.error()};
  const int code = sqlite3_step(statement_.get());
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  return Error{sqlite3_errmsg(db_)};
}

Status Statement::run() {
  Result<bool> stepped = step();
  if (!stepped) return Error{stepped.error()};
  return {};
}

void Statement::reset() {
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());
  bindStatus_ = Status();
}

std::int64_t Statement::int64(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

double Statement::real(int column) const {
  return sqlite3_column_double(statement_.get(), column);
}

std::string Statement::text(int column) const {
  const auto* data = sqlite3_column_text(statement_.get(), column);
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return data != nullptr ? std::string(reinterpret_cast<const char*>(data), size) : std::string();
}

std::optional<std::string> Statement::optionalText(int column) const {
  if (sqlite3_column_type(statement_.get(), column) == SQLITE_NULL) return std::nullopt;
  return text(column);
}

std::string_view Statement::blob(int column) const {
  const void* data = sqlite3_column_blob(statement_.get(), column);
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return data != nullptr ? std::string_view(static_cast<const char*>(data), size)
                         : std::string_view();
}

ReadSnapshot::ReadSnapshot(Database& db) : db_(db) {
  if (sqlite3_get_autocommit(db.handle()) != 0) open_ = db.exec("BEGIN").ok();
}

ReadSnapshot::~ReadSnapshot() {
  if (open_ && !db_.exec("COMMIT")) (void)db_.exec("ROLLBACK");
}

Transaction::Transaction(Database& db) : db_(db), began_(db.exec("BEGIN IMMEDIATE")) {
  open_ = began_.ok();
}

Transaction::~Transaction() {
  if (open_) (void)db_.exec("ROLLBACK");
}

Status Transaction::commit() {
  if (!began_) return began_;
  Status committed = db_.exec("COMMIT");
  if (committed) {
    open_ = false;
  }
  return committed;
}

}  // namespace velto::sql

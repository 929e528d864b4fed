// A SQLite VFS for tests: a shim over the default one that counts the operations the store
// makes and can fail one of them, and that remembers what each file held at its last sync so
// that a power loss can be played back.
//
// FaultVfs::install() registers it as the default VFS of the process (connections opened
// afterwards use it) until the returned guard is destroyed. Counting and faults cover xRead,
// xWrite and xTruncate (writes), xSync, and xLock. Only one guard may live at a time.
//
// Thread: the tests' thread.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace velto::testing {

class FaultVfs {
 public:
  enum Op : unsigned { read = 1, write = 2, sync = 4, lock = 8, all = 15 };

  // Registers the shim as the default VFS; restores the earlier default when destroyed.
  static std::unique_ptr<FaultVfs> install();
  ~FaultVfs();
  FaultVfs(const FaultVfs&) = delete;
  FaultVfs& operator=(const FaultVfs&) = delete;

  // The `n`th operation (1-based) of the kinds in `ops`, counted from now, fails with `code`
  // (SQLITE_IOERR_WRITE, SQLITE_FULL, ...). One fault; later operations go through.
  void failAt(std::uint64_t n, unsigned ops, int code);
  // No fault from now on.
  void lift() { failAt_ = 0; }
  // Whether the armed fault was injected.
  bool fired() const { return fired_; }
  // Operations of the kinds armed (all before the first failAt) since install() or the last
  // failAt().
  std::uint64_t count() const { return counted_; }

  // Writes into `to` every file below `from` that this VFS wrote, as it stood at its last sync
  // (or as it was opened, never synced since): the disk after a power loss now. Files that were
  // never synced and did not exist before are left out; SQLite's shared-memory index is never
  // copied (it is rebuilt).
  void writeDiskAfterPowerLoss(const std::filesystem::path& from,
                               const std::filesystem::path& to) const;

  // For the shim's methods; not for tests.
  int check(Op op);
  void opened(const std::string& path, sqlite3_file* real);
  void synced(const std::string& path, sqlite3_file* real);
  void deleted(const std::string& path);

 private:
  FaultVfs() = default;

  sqlite3_vfs vfs_{};
  sqlite3_vfs* base_ = nullptr;
  std::uint64_t failAt_ = 0;
  unsigned failOps_ = all;
  int failCode_ = SQLITE_IOERR;
  std::uint64_t counted_ = 0;
  bool fired_ = false;
  // What each file held at its last sync; none: it did not exist and was never synced.
  std::map<std::string, std::optional<std::string>> durable_;
};

}  // namespace velto::testing

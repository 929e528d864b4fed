#include "test_support/fault_vfs.h"

#include <cstring>
#include <fstream>
#include <optional>

namespace velto::testing {

namespace {

FaultVfs* current = nullptr;

struct ShimFile {
  sqlite3_file base;
  sqlite3_file* real;
  std::string* path;
};

ShimFile* shim(sqlite3_file* file) {
  return reinterpret_cast<ShimFile*>(file);
}

sqlite3_file* real(sqlite3_file* file) {
  return shim(file)->real;
}

// The whole file as the real VFS sees it now.
std::optional<std::string> contents(sqlite3_file* file) {
  sqlite3_int64 size = 0;
  if (file->pMethods->xFileSize(file, &size) != SQLITE_OK) return std::nullopt;
  std::string bytes(static_cast<size_t>(size), '\0');
  if (size > 0 &&
      file->pMethods->xRead(file, bytes.data(), static_cast<int>(size), 0) != SQLITE_OK) {
    return std::nullopt;
  }
  return bytes;
}

int shimClose(sqlite3_file* file) {
  sqlite3_file* inner = real(file);
  const int rc = inner->pMethods != nullptr ? inner->pMethods->xClose(inner) : SQLITE_OK;
  delete shim(file)->path;
  return rc;
}

int shimRead(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
  if (int rc = current->check(FaultVfs::read); rc != SQLITE_OK) return rc;
  return real(file)->pMethods->xRead(real(file), buffer, amount, offset);
}

int shimWrite(sqlite3_file* file, const void* buffer, int amount, sqlite3_int64 offset) {
  if (int rc = current->check(FaultVfs::write); rc != SQLITE_OK) return rc;
  return real(file)->pMethods->xWrite(real(file), buffer, amount, offset);
}

int shimTruncate(sqlite3_file* file, sqlite3_int64 size) {
  if (int rc = current->check(FaultVfs::write); rc != SQLITE_OK) return rc;
  return real(file)->pMethods->xTruncate(real(file), size);
}

int shimSync(sqlite3_file* file, int flags) {
  if (int rc = current->check(FaultVfs::sync); rc != SQLITE_OK) return rc;
  const int rc = real(file)->pMethods->xSync(real(file), flags);
  if (rc == SQLITE_OK) current->synced(*shim(file)->path, real(file));
  return rc;
}

int shimFileSize(sqlite3_file* file, sqlite3_int64* size) {
  return real(file)->pMethods->xFileSize(real(file), size);
}

int shimLock(sqlite3_file* file, int level) {
  if (int rc = current->check(FaultVfs::lock); rc != SQLITE_OK) return rc;
  return real(file)->pMethods->xLock(real(file), level);
}

int shimUnlock(sqlite3_file* file, int level) {
  return real(file)->pMethods->xUnlock(real(file), level);
}

int shimCheckReservedLock(sqlite3_file* file, int* out) {
  return real(file)->pMethods->xCheckReservedLock(real(file), out);
}

int shimFileControl(sqlite3_file* file, int op, void* arg) {
  return real(file)->pMethods->xFileControl(real(file), op, arg);
}

int shimSectorSize(sqlite3_file* file) {
  return real(file)->pMethods->xSectorSize(real(file));
}

int shimDeviceCharacteristics(sqlite3_file* file) {
  return real(file)->pMethods->xDeviceCharacteristics(real(file));
}

int shimShmMap(sqlite3_file* file, int page, int size, int extend, void volatile** out) {
  return real(file)->pMethods->xShmMap(real(file), page, size, extend, out);
}

int shimShmLock(sqlite3_file* file, int offset, int n, int flags) {
  return real(file)->pMethods->xShmLock(real(file), offset, n, flags);
}

void shimShmBarrier(sqlite3_file* file) {
  real(file)->pMethods->xShmBarrier(real(file));
}

int shimShmUnmap(sqlite3_file* file, int deleteFlag) {
  return real(file)->pMethods->xShmUnmap(real(file), deleteFlag);
}

// No memory-mapped reads: every read goes through xRead, where it is counted.
int shimFetch(sqlite3_file*, sqlite3_int64, int, void** out) {
  *out = nullptr;
  return SQLITE_OK;
}

int shimUnfetch(sqlite3_file*, sqlite3_int64, void*) {
  return SQLITE_OK;
}

const sqlite3_io_methods kMethods = {
    3,
    shimClose,
    shimRead,
    shimWrite,
    shimTruncate,
    shimSync,
    shimFileSize,
    shimLock,
    shimUnlock,
    shimCheckReservedLock,
    shimFileControl,
    shimSectorSize,
    shimDeviceCharacteristics,
    shimShmMap,
    shimShmLock,
    shimShmBarrier,
    shimShmUnmap,
    shimFetch,
    shimUnfetch,
};

// A deleted file is gone after a power loss too (SQLite syncs the folder where that matters).
int shimDelete(sqlite3_vfs* vfs, const char* name, int syncDir) {
  auto* base = static_cast<sqlite3_vfs*>(vfs->pAppData);
  const int rc = base->xDelete(base, name, syncDir);
  if (rc == SQLITE_OK && name != nullptr) current->deleted(name);
  return rc;
}

int shimOpen(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags) {
  auto* base = static_cast<sqlite3_vfs*>(vfs->pAppData);
  ShimFile* wrapper = shim(file);
  wrapper->real = reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + sizeof(ShimFile));
  wrapper->path = new std::string(name != nullptr ? name : "");
  wrapper->base.pMethods = nullptr;
  const int rc = base->xOpen(base, name, wrapper->real, flags, outFlags);
  if (rc != SQLITE_OK) {
    delete wrapper->path;
    wrapper->path = nullptr;
    return rc;
  }
  wrapper->base.pMethods = &kMethods;
  if (name != nullptr) current->opened(*wrapper->path, wrapper->real);
  return rc;
}

}  // namespace

std::unique_ptr<FaultVfs> FaultVfs::install() {
  std::unique_ptr<FaultVfs> vfs(new FaultVfs());
  vfs->base_ = sqlite3_vfs_find(nullptr);
  vfs->vfs_ = *vfs->base_;
  vfs->vfs_.zName = "velto-fault";
  vfs->vfs_.szOsFile = static_cast<int>(sizeof(ShimFile)) + vfs->base_->szOsFile;
  vfs->vfs_.pAppData = vfs->base_;
  vfs->vfs_.xOpen = shimOpen;
  vfs->vfs_.xDelete = shimDelete;
  current = vfs.get();
  sqlite3_vfs_register(&vfs->vfs_, 1);
  return vfs;
}

FaultVfs::~FaultVfs() {
  sqlite3_vfs_unregister(&vfs_);
  sqlite3_vfs_register(base_, 1);
  current = nullptr;
}

void FaultVfs::failAt(std::uint64_t n, unsigned ops, int code) {
  failAt_ = n;
  failOps_ = ops;
  failCode_ = code;
  counted_ = 0;
  fired_ = false;
}

int FaultVfs::check(Op op) {
  if ((failOps_ & op) == 0) return SQLITE_OK;
  ++counted_;
  if (failAt_ != 0 && counted_ == failAt_) {
    fired_ = true;
    return failCode_;
  }
  return SQLITE_OK;
}

void FaultVfs::opened(const std::string& path, sqlite3_file* real) {
  if (durable_.count(path)) return;
  sqlite3_int64 size = 0;
  const bool existed = real->pMethods->xFileSize(real, &size) == SQLITE_OK && size > 0;
  durable_[path] = existed ? contents(real) : std::nullopt;
}

void FaultVfs::deleted(const std::string& path) {
  durable_[path] = std::nullopt;
}

void FaultVfs::synced(const std::string& path, sqlite3_file* real) {
  durable_[path] = contents(real);
}

void FaultVfs::writeDiskAfterPowerLoss(const std::filesystem::path& from,
                                       const std::filesystem::path& to) const {
  std::filesystem::create_directories(to);
  const std::string prefix = from.string();
  for (const auto& [path, bytes] : durable_) {
    if (!bytes || path.rfind(prefix, 0) != 0 || path.ends_with("-shm")) continue;
    const std::filesystem::path target = to / std::filesystem::path(path).lexically_relative(from);
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    out.write(bytes->data(), static_cast<std::streamsize>(bytes->size()));
  }
}

}  // namespace velto::testing

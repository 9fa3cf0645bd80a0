#include "WalGatherVfs.h"

#include <sqlite3.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <string>

namespace kvmail::host {
namespace {

constexpr int kFrameHeader = 24;
// The real layer takes at most 128 KB in one write.
constexpr size_t kMostPerWrite = 64 * 1024;
// Pages that a long transaction spills before its commit go out when this much has gathered.
constexpr size_t kMostGathered = 1024 * 1024;

sqlite3_vfs* base = nullptr;
sqlite3_vfs layer;

struct GatherFile {
  sqlite3_file file;  // first: SQLite sees only this
  sqlite3_file* real;
  std::string* gathered;  // log files only
  sqlite3_int64 start = 0;
  bool commitHeader = false;
};

GatherFile* self(sqlite3_file* f) {
  return reinterpret_cast<GatherFile*>(f);
}

int flush(GatherFile* f) {
  if (!f->gathered || f->gathered->empty()) return SQLITE_OK;
  int rc = SQLITE_OK;
  const std::string& data = *f->gathered;
  for (size_t at = 0; at < data.size() && rc == SQLITE_OK; at += kMostPerWrite) {
    const size_t n = std::min(kMostPerWrite, data.size() - at);
    rc = f->real->pMethods->xWrite(f->real, data.data() + at, int(n), f->start + sqlite3_int64(at));
  }
  f->gathered->clear();
  f->commitHeader = false;
  return rc;
}

int fileClose(sqlite3_file* file) {
  GatherFile* f = self(file);
  const int flushed = flush(f);
  const int rc = f->real->pMethods ? f->real->pMethods->xClose(f->real) : SQLITE_OK;
  delete f->gathered;
  f->gathered = nullptr;
  return flushed != SQLITE_OK ? flushed : rc;
}

int fileRead(sqlite3_file* file, void* buf, int amount, sqlite3_int64 offset) {
  GatherFile* f = self(file);
  if (const int rc = flush(f); rc != SQLITE_OK) return rc;
  return f->real->pMethods->xRead(f->real, buf, amount, offset);
}

int fileWrite(sqlite3_file* file, const void* buf, int amount, sqlite3_int64 offset) {
  GatherFile* f = self(file);
  if (!f->gathered) return f->real->pMethods->xWrite(f->real, buf, amount, offset);
  std::string& gathered = *f->gathered;
  if (!gathered.empty() && offset != f->start + sqlite3_int64(gathered.size()))
    if (const int rc = flush(f); rc != SQLITE_OK) return rc;
  if (gathered.empty()) f->start = offset;
  const bool endsCommit = f->commitHeader;
  gathered.append(static_cast<const char*>(buf), size_t(amount));
  if (amount == kFrameHeader) {
    // The second word of a frame header is the store's size after a commit, zero otherwise.
    const auto* b = static_cast<const unsigned char*>(buf);
    f->commitHeader = (b[4] | b[5] | b[6] | b[7]) != 0;
    return SQLITE_OK;
  }
  f->commitHeader = false;
  // The commit frame's page is the last write before SQLite publishes the commit to readers.
  if (endsCommit || gathered.size() >= kMostGathered) return flush(f);
  return SQLITE_OK;
}

int fileTruncate(sqlite3_file* file, sqlite3_int64 size) {
  GatherFile* f = self(file);
  if (const int rc = flush(f); rc != SQLITE_OK) return rc;
  return f->real->pMethods->xTruncate(f->real, size);
}

int fileSync(sqlite3_file* file, int flags) {
  GatherFile* f = self(file);
  if (const int rc = flush(f); rc != SQLITE_OK) return rc;
  return f->real->pMethods->xSync(f->real, flags);
}

int fileSize(sqlite3_file* file, sqlite3_int64* size) {
  GatherFile* f = self(file);
  if (const int rc = flush(f); rc != SQLITE_OK) return rc;
  return f->real->pMethods->xFileSize(f->real, size);
}

int fileControl(sqlite3_file* file, int op, void* arg) {
  GatherFile* f = self(file);
  if (const int rc = flush(f); rc != SQLITE_OK) return rc;
  return f->real->pMethods->xFileControl(f->real, op, arg);
}

// The rest pass straight through to the real file.
int fileLock(sqlite3_file* f, int level) {
  return self(f)->real->pMethods->xLock(self(f)->real, level);
}
int fileUnlock(sqlite3_file* f, int level) {
  return self(f)->real->pMethods->xUnlock(self(f)->real, level);
}
int fileCheckReservedLock(sqlite3_file* f, int* out) {
  return self(f)->real->pMethods->xCheckReservedLock(self(f)->real, out);
}
int fileSectorSize(sqlite3_file* f) {
  return self(f)->real->pMethods->xSectorSize(self(f)->real);
}
int fileDeviceCharacteristics(sqlite3_file* f) {
  return self(f)->real->pMethods->xDeviceCharacteristics(self(f)->real);
}
int fileShmMap(sqlite3_file* f, int region, int size, int extend, void volatile** out) {
  return self(f)->real->pMethods->xShmMap(self(f)->real, region, size, extend, out);
}
int fileShmLock(sqlite3_file* f, int offset, int n, int flags) {
  return self(f)->real->pMethods->xShmLock(self(f)->real, offset, n, flags);
}
void fileShmBarrier(sqlite3_file* f) {
  self(f)->real->pMethods->xShmBarrier(self(f)->real);
}
int fileShmUnmap(sqlite3_file* f, int deleteFlag) {
  return self(f)->real->pMethods->xShmUnmap(self(f)->real, deleteFlag);
}
int fileFetch(sqlite3_file* f, sqlite3_int64 offset, int amount, void** out) {
  return self(f)->real->pMethods->xFetch(self(f)->real, offset, amount, out);
}
int fileUnfetch(sqlite3_file* f, sqlite3_int64 offset, void* page) {
  return self(f)->real->pMethods->xUnfetch(self(f)->real, offset, page);
}

const sqlite3_io_methods kMethods = {3,
                                     fileClose,
                                     fileRead,
                                     fileWrite,
                                     fileTruncate,
                                     fileSync,
                                     fileSize,
                                     fileLock,
                                     fileUnlock,
                                     fileCheckReservedLock,
                                     fileControl,
                                     fileSectorSize,
                                     fileDeviceCharacteristics,
                                     fileShmMap,
                                     fileShmLock,
                                     fileShmBarrier,
                                     fileShmUnmap,
                                     fileFetch,
                                     fileUnfetch};

int vfsOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags) {
  auto* f = new (file) GatherFile;
  f->real = reinterpret_cast<sqlite3_file*>(f + 1);
  f->file.pMethods = nullptr;
  f->gathered = nullptr;
  const int rc = base->xOpen(base, name, f->real, flags, outFlags);
  if (rc != SQLITE_OK || !f->real->pMethods) return rc;
  // The layer needs the shared-memory and mapping calls of the real file to pass them on.
  if (f->real->pMethods->iVersion < 3) {
    f->real->pMethods->xClose(f->real);
    return SQLITE_CANTOPEN;
  }
  if (flags & SQLITE_OPEN_WAL) f->gathered = new std::string;
  f->file.pMethods = &kMethods;
  return SQLITE_OK;
}

int vfsDelete(sqlite3_vfs*, const char* name, int syncDir) {
  return base->xDelete(base, name, syncDir);
}
int vfsAccess(sqlite3_vfs*, const char* name, int flags, int* out) {
  return base->xAccess(base, name, flags, out);
}
int vfsFullPathname(sqlite3_vfs*, const char* name, int size, char* out) {
  return base->xFullPathname(base, name, size, out);
}
void* vfsDlOpen(sqlite3_vfs*, const char* name) {
  return base->xDlOpen(base, name);
}
void vfsDlError(sqlite3_vfs*, int size, char* out) {
  base->xDlError(base, size, out);
}
void (*vfsDlSym(sqlite3_vfs*, void* handle, const char* symbol))(void) {
  return base->xDlSym(base, handle, symbol);
}
void vfsDlClose(sqlite3_vfs*, void* handle) {
  base->xDlClose(base, handle);
}
int vfsRandomness(sqlite3_vfs*, int size, char* out) {
  return base->xRandomness(base, size, out);
}
int vfsSleep(sqlite3_vfs*, int microseconds) {
  return base->xSleep(base, microseconds);
}
int vfsCurrentTime(sqlite3_vfs*, double* out) {
  return base->xCurrentTime(base, out);
}
int vfsGetLastError(sqlite3_vfs*, int size, char* out) {
  return base->xGetLastError ? base->xGetLastError(base, size, out) : 0;
}
int vfsCurrentTimeInt64(sqlite3_vfs*, sqlite3_int64* out) {
  return base->xCurrentTimeInt64(base, out);
}

}  // namespace

const char* walGatherVfsName() {
  static std::once_flag once;
  static bool registered = false;
  std::call_once(once, [] {
    base = sqlite3_vfs_find(nullptr);
    if (!base || base->iVersion < 2) return;
    layer = {};
    layer.iVersion = 2;
    layer.szOsFile = int(sizeof(GatherFile)) + base->szOsFile;
    layer.mxPathname = base->mxPathname;
    layer.zName = "kvmail-wal-gather";
    layer.xOpen = vfsOpen;
    layer.xDelete = vfsDelete;
    layer.xAccess = vfsAccess;
    layer.xFullPathname = vfsFullPathname;
    layer.xDlOpen = vfsDlOpen;
    layer.xDlError = vfsDlError;
    layer.xDlSym = vfsDlSym;
    layer.xDlClose = vfsDlClose;
    layer.xRandomness = vfsRandomness;
    layer.xSleep = vfsSleep;
    layer.xCurrentTime = vfsCurrentTime;
    layer.xGetLastError = vfsGetLastError;
    layer.xCurrentTimeInt64 = vfsCurrentTimeInt64;
    registered = sqlite3_vfs_register(&layer, 0) == SQLITE_OK;
  });
  return registered ? layer.zName : "";
}

}  // namespace kvmail::host

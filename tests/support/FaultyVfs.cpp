#include "support/FaultyVfs.h"

#include <new>

namespace vlox_test {

namespace {

// SQLite's tables of functions leave no room for a state of their own.
struct State {
    bool armed = false;
    FaultyVfs::Fault fault = FaultyVfs::DISK_FULL;
    int successes = 0;
    bool failed = false;
} state;

// The file that SQLite sees; the real one lies right behind it.
struct FaultyFile {
    sqlite3_file base;
    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_file* real(sqlite3_file* file) { return reinterpret_cast<FaultyFile*>(file)->real(); }
const sqlite3_io_methods* methods(sqlite3_file* file) { return real(file)->pMethods; }
sqlite3_vfs* realVfs(sqlite3_vfs* vfs) { return static_cast<sqlite3_vfs*>(vfs->pAppData); }

bool strikes(bool ofThisKind) {
    if (!state.armed || !ofThisKind || state.successes-- > 0) {
        return false;
    }
    state.successes = 0;  // and all that follow
    state.failed = true;
    return true;
}

int writeFile(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    if (state.armed && state.fault == FaultyVfs::FILE_LIMIT) {
        const bool fits = offset + size <= state.successes * FaultyVfs::kPage;
        state.failed = state.failed || !fits;
        return fits ? methods(file)->xWrite(real(file), bytes, size, offset) : SQLITE_FULL;
    }
    if (strikes(state.fault != FaultyVfs::SYNC_ERROR)) {
        return state.fault == FaultyVfs::DISK_FULL ? SQLITE_FULL : SQLITE_IOERR_WRITE;
    }
    return methods(file)->xWrite(real(file), bytes, size, offset);
}

// Not passed on: no test pulls the plug, and a real disk takes its time.
int syncFile(sqlite3_file*, int) {
    return strikes(state.fault == FaultyVfs::SYNC_ERROR) ? SQLITE_IOERR_FSYNC : SQLITE_OK;
}

const sqlite3_io_methods faultyMethods = {
    2,
    [](sqlite3_file* file) { return methods(file)->xClose(real(file)); },
    [](sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
        return methods(file)->xRead(real(file), bytes, size, offset);
    },
    writeFile,
    [](sqlite3_file* file, sqlite3_int64 size) { return methods(file)->xTruncate(real(file), size); },
    syncFile,
    [](sqlite3_file* file, sqlite3_int64* size) { return methods(file)->xFileSize(real(file), size); },
    [](sqlite3_file* file, int level) { return methods(file)->xLock(real(file), level); },
    [](sqlite3_file* file, int level) { return methods(file)->xUnlock(real(file), level); },
    [](sqlite3_file* file, int* reserved) { return methods(file)->xCheckReservedLock(real(file), reserved); },
    [](sqlite3_file* file, int operation, void* argument) {
        return methods(file)->xFileControl(real(file), operation, argument);
    },
    [](sqlite3_file* file) { return methods(file)->xSectorSize(real(file)); },
    [](sqlite3_file* file) { return methods(file)->xDeviceCharacteristics(real(file)); },
    [](sqlite3_file* file, int page, int size, int extend, void volatile** memory) {
        return methods(file)->xShmMap(real(file), page, size, extend, memory);
    },
    [](sqlite3_file* file, int offset, int count, int flags) {
        return methods(file)->xShmLock(real(file), offset, count, flags);
    },
    [](sqlite3_file* file) { methods(file)->xShmBarrier(real(file)); },
    [](sqlite3_file* file, int remove) { return methods(file)->xShmUnmap(real(file), remove); },
    nullptr,
    nullptr,
};

int openFile(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    auto* const faulty = new (file) FaultyFile{};
    const int rc = realVfs(vfs)->xOpen(realVfs(vfs), name, faulty->real(), flags, outFlags);
    faulty->base.pMethods = faulty->real()->pMethods != nullptr ? &faultyMethods : nullptr;
    return rc;
}

}  // namespace

FaultyVfs::FaultyVfs() : m_vfs(*sqlite3_vfs_find(nullptr)) {
    state = {};
    sqlite3_vfs* const real = sqlite3_vfs_find(nullptr);
    m_vfs.pAppData = real;
    m_vfs.zName = "vlox_faulty";
    m_vfs.szOsFile = static_cast<int>(sizeof(FaultyFile)) + real->szOsFile;
    m_vfs.pNext = nullptr;
    m_vfs.xOpen = openFile;
    // The copied operations know their own file system by its address.
    m_vfs.xDelete = [](sqlite3_vfs* vfs, const char* name, int sync) {
        return realVfs(vfs)->xDelete(realVfs(vfs), name, sync);
    };
    m_vfs.xAccess = [](sqlite3_vfs* vfs, const char* name, int flags, int* out) {
        return realVfs(vfs)->xAccess(realVfs(vfs), name, flags, out);
    };
    m_vfs.xFullPathname = [](sqlite3_vfs* vfs, const char* name, int size, char* out) {
        return realVfs(vfs)->xFullPathname(realVfs(vfs), name, size, out);
    };
    sqlite3_vfs_register(&m_vfs, 1);
}

FaultyVfs::~FaultyVfs() { sqlite3_vfs_unregister(&m_vfs); }

void FaultyVfs::fail(Fault fault, int after) { state = {true, fault, after, false}; }

bool FaultyVfs::heal() {
    state.armed = false;
    return state.failed;
}

}  // namespace vlox_test

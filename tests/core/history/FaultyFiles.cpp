#include "FaultyFiles.h"

#include <cstddef>
#include <stdexcept>

namespace velmoran {
namespace {

int callsLeft = 0; // until the failing one; 0 when nothing is to fail
bool isLasting = false;
bool hasHit = false;

bool fails() {
    if (hasHit && isLasting) {
        return true;
    }
    if (callsLeft > 0 && --callsLeft == 0) {
        hasHit = true;
        return true;
    }
    return false;
}

sqlite3_vfs* real = nullptr;

/// What the library sees as a file; the real one lies right behind it.
struct File {
    sqlite3_file base;
};
constexpr std::size_t offset = (sizeof(File) + 15) / 16 * 16;

sqlite3_file* behind(sqlite3_file* file) {
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + offset);
}

const sqlite3_io_methods methods = [] {
    sqlite3_io_methods m{};
    m.iVersion = 2;
    m.xClose = [](sqlite3_file* file) {
        auto* inner = behind(file);
        return inner->pMethods != nullptr ? inner->pMethods->xClose(inner) : SQLITE_OK;
    };
    m.xRead = [](sqlite3_file* file, void* to, int count, sqlite3_int64 at) {
        return fails() ? SQLITE_IOERR_READ
                       : behind(file)->pMethods->xRead(behind(file), to, count, at);
    };
    m.xWrite = [](sqlite3_file* file, const void* from, int count, sqlite3_int64 at) {
        return fails() ? SQLITE_FULL
                       : behind(file)->pMethods->xWrite(behind(file), from, count, at);
    };
    m.xTruncate = [](sqlite3_file* file, sqlite3_int64 size) {
        return fails() ? SQLITE_IOERR_TRUNCATE
                       : behind(file)->pMethods->xTruncate(behind(file), size);
    };
    m.xSync = [](sqlite3_file* file, int flags) {
        return fails() ? SQLITE_IOERR_FSYNC : behind(file)->pMethods->xSync(behind(file), flags);
    };
    m.xFileSize = [](sqlite3_file* file, sqlite3_int64* size) {
        return fails() ? SQLITE_IOERR_FSTAT : behind(file)->pMethods->xFileSize(behind(file), size);
    };
    m.xLock = [](sqlite3_file* file, int level) {
        return fails() ? SQLITE_IOERR_LOCK : behind(file)->pMethods->xLock(behind(file), level);
    };
    m.xUnlock = [](sqlite3_file* file, int level) {
        return behind(file)->pMethods->xUnlock(behind(file), level);
    };
    m.xCheckReservedLock = [](sqlite3_file* file, int* result) {
        return behind(file)->pMethods->xCheckReservedLock(behind(file), result);
    };
    m.xFileControl = [](sqlite3_file* file, int operation, void* argument) {
        return behind(file)->pMethods->xFileControl(behind(file), operation, argument);
    };
    m.xSectorSize = [](sqlite3_file* file) {
        return behind(file)->pMethods->xSectorSize(behind(file));
    };
    m.xDeviceCharacteristics = [](sqlite3_file* file) {
        return behind(file)->pMethods->xDeviceCharacteristics(behind(file));
    };
    m.xShmMap = [](sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
        return fails()
                   ? SQLITE_IOERR_SHMMAP
                   : behind(file)->pMethods->xShmMap(behind(file), region, size, extend, memory);
    };
    m.xShmLock = [](sqlite3_file* file, int at, int count, int flags) {
        // Letting go can't fail.
        return (flags & SQLITE_SHM_LOCK) != 0 && fails()
                   ? SQLITE_IOERR_SHMLOCK
                   : behind(file)->pMethods->xShmLock(behind(file), at, count, flags);
    };
    m.xShmBarrier = [](sqlite3_file* file) {
        behind(file)->pMethods->xShmBarrier(behind(file));
    };
    m.xShmUnmap = [](sqlite3_file* file, int remove) {
        return behind(file)->pMethods->xShmUnmap(behind(file), remove);
    };
    return m;
}();

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    file->pMethods = nullptr;
    behind(file)->pMethods = nullptr;
    if (fails()) {
        return SQLITE_CANTOPEN;
    }
    const int result = real->xOpen(real, name, behind(file), flags, outFlags);
    if (result == SQLITE_OK) {
        file->pMethods = &methods;
    }
    return result;
}

sqlite3_vfs faulty;

} // namespace

FaultyFiles::FaultyFiles() {
    real = sqlite3_vfs_find(nullptr);
    faulty = *real;
    faulty.zName = "faulty";
    faulty.pNext = nullptr;
    faulty.szOsFile = static_cast<int>(offset) + real->szOsFile;
    faulty.xOpen = openFile;
    if (sqlite3_vfs_register(&faulty, 1) != SQLITE_OK) {
        throw std::runtime_error("the files can't be replaced");
    }
    heal();
}

FaultyFiles::~FaultyFiles() {
    heal();
    sqlite3_vfs_unregister(&faulty);
    sqlite3_vfs_register(real, 1);
}

void FaultyFiles::failAt(int call, bool lasting) {
    callsLeft = call;
    isLasting = lasting;
    hasHit = false;
}

void FaultyFiles::heal() {
    callsLeft = 0;
    isLasting = false;
}

bool FaultyFiles::wasHit() const {
    return hasHit;
}

} // namespace velmoran

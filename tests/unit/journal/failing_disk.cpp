#include "unit/journal/failing_disk.h"

#include <atomic>
#include <cstring>
#include <sqlite3.h>
#include <stdexcept>

namespace journal {

namespace {
std::atomic<disk_state> now = disk_state::works;
sqlite3_vfs* usual = nullptr;
sqlite3_vfs failing;
sqlite3_io_methods methods;

// The usual file stands behind the record.
struct open_file {
    sqlite3_file base;
};

sqlite3_file* behind(sqlite3_file* file)
{
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<open_file*>(file) + 1);
}

int failure(int broken)
{
    switch (now) {
    case disk_state::works:
        return SQLITE_OK;
    case disk_state::full:
        return SQLITE_FULL;
    case disk_state::broken:
        return broken;
    }
    return SQLITE_ERROR;
}

int write_file(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 at)
{
    const int failed = failure(SQLITE_IOERR_WRITE);
    return failed != SQLITE_OK ? failed
                               : behind(file)->pMethods->xWrite(behind(file), bytes, count, at);
}

int sync_file(sqlite3_file* file, int flags)
{
    const int failed = failure(SQLITE_IOERR_FSYNC);
    return failed != SQLITE_OK ? failed : behind(file)->pMethods->xSync(behind(file), flags);
}

void fill_methods()
{
    methods.iVersion = 3;
    methods.xClose = [](sqlite3_file* file) {
        return behind(file)->pMethods->xClose(behind(file));
    };
    methods.xRead = [](sqlite3_file* file, void* bytes, int count, sqlite3_int64 at) {
        return behind(file)->pMethods->xRead(behind(file), bytes, count, at);
    };
    methods.xWrite = write_file;
    methods.xTruncate = [](sqlite3_file* file, sqlite3_int64 size) {
        return behind(file)->pMethods->xTruncate(behind(file), size);
    };
    methods.xSync = sync_file;
    methods.xFileSize = [](sqlite3_file* file, sqlite3_int64* size) {
        return behind(file)->pMethods->xFileSize(behind(file), size);
    };
    methods.xLock = [](sqlite3_file* file, int lock) {
        return behind(file)->pMethods->xLock(behind(file), lock);
    };
    methods.xUnlock = [](sqlite3_file* file, int lock) {
        return behind(file)->pMethods->xUnlock(behind(file), lock);
    };
    methods.xCheckReservedLock = [](sqlite3_file* file, int* locked) {
        return behind(file)->pMethods->xCheckReservedLock(behind(file), locked);
    };
    methods.xFileControl = [](sqlite3_file* file, int what, void* with) {
        return behind(file)->pMethods->xFileControl(behind(file), what, with);
    };
    methods.xSectorSize = [](sqlite3_file* file) {
        return behind(file)->pMethods->xSectorSize(behind(file));
    };
    methods.xDeviceCharacteristics = [](sqlite3_file* file) {
        return behind(file)->pMethods->xDeviceCharacteristics(behind(file));
    };
    methods.xShmMap = [](sqlite3_file* file, int region, int size, int extend,
                         void volatile** map) {
        return behind(file)->pMethods->xShmMap(behind(file), region, size, extend, map);
    };
    methods.xShmLock = [](sqlite3_file* file, int at, int count, int flags) {
        return behind(file)->pMethods->xShmLock(behind(file), at, count, flags);
    };
    methods.xShmBarrier = [](sqlite3_file* file) {
        behind(file)->pMethods->xShmBarrier(behind(file));
    };
    methods.xShmUnmap = [](sqlite3_file* file, int remove) {
        return behind(file)->pMethods->xShmUnmap(behind(file), remove);
    };
    methods.xFetch = [](sqlite3_file*, sqlite3_int64, int, void** page) {
        *page = nullptr; // none is mapped
        return SQLITE_OK;
    };
    methods.xUnfetch = [](sqlite3_file*, sqlite3_int64, void*) {
        return SQLITE_OK;
    };
}

int open_behind(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* used)
{
    file->pMethods = nullptr;
    const int failed = usual->xOpen(usual, name, behind(file), flags, used);
    if (failed == SQLITE_OK) file->pMethods = &methods;
    return failed;
}
} // namespace

failing_disk::failing_disk()
{
    usual = sqlite3_vfs_find(nullptr);
    fill_methods();
    failing = *usual;
    failing.zName = "failing";
    failing.szOsFile = usual->szOsFile + static_cast<int>(sizeof(open_file));
    failing.xOpen = open_behind;
    if (sqlite3_vfs_register(&failing, 1) != SQLITE_OK) throw std::runtime_error("no failing disk");
}

failing_disk::~failing_disk()
{
    now = disk_state::works;
    sqlite3_vfs_unregister(&failing);
    sqlite3_vfs_register(usual, 1);
}

void failing_disk::set(disk_state state)
{
    now = state;
}

} // namespace journal

// Files that fail when a test says so: stands before the database library's own files while the
// object lives. Counts the calls that open, read, write, grow, lock and sync.
#pragma once

#include <sqlite3.h>

namespace velmoran {

class FaultyFiles {
public:
    FaultyFiles();
    ~FaultyFiles();
    FaultyFiles(const FaultyFiles&) = delete;
    FaultyFiles& operator=(const FaultyFiles&) = delete;

    /// The call with that number from now on fails, counted from 1; with `lasting` all later too.
    void failAt(int call, bool lasting);
    void heal();
    /// Whether a call has failed since `failAt`.
    bool wasHit() const;
};

} // namespace velmoran

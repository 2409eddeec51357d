// IOLOCK: the byte-range lock that all coordination between processes rests
// on (system file records, journal and batch lock bytes, the record store).
// Classic POSIX record locks, non-blocking, whence = start of file:
//   'E'  take a write lock                    true when granted
//   'S'  take a read lock, then ask (F_GETLK) whether a write lock would be
//        possible; if another process holds any lock on the region, release
//        and return false. In effect a lock that excludes all others.
//        The release goes by the region F_GETLK reported (the other
//        holder's), so when the other has the whole file, this process
//        loses all its locks on that file.
//   'T'  true when nobody else holds a lock on the region
//   'U'  release; true when the call succeeded
// Any other letter does nothing and returns false.
#pragma once

#include <sys/types.h>

bool IOLOCK(int op, int fd, off_t start, off_t length);

namespace nv {
// The pid of a process that holds a lock conflicting with a write lock on
// the region, or 0 when there is none.
pid_t lock_holder(int fd, off_t start, off_t length);
} // namespace nv

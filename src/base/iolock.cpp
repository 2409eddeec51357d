// IOLOCK: see iolock.h.
#include "base/iolock.h"

#include "base/osfile.h"

#include <cerrno>
#include <fcntl.h>

namespace {
int lockcall(int fd, int cmd, struct flock *fl) {
    int r;
    do r = nv::os::calls().fcntl_lock(fd, cmd, fl);
    while (r < 0 && errno == EINTR);
    return r;
}

struct flock region(short type, off_t start, off_t length) {
    struct flock fl {};
    fl.l_type = type;
    fl.l_whence = SEEK_SET;
    fl.l_start = start;
    fl.l_len = length;
    return fl;
}
} // namespace

bool IOLOCK(int op, int fd, off_t start, off_t length) {
    switch (op) {
    case 'E': {
        struct flock fl = region(F_WRLCK, start, length);
        if (lockcall(fd, F_SETLK, &fl) < 0) return false;
        nv::os::note_lock(fd, +1);
        return true;
    }
    case 'S': {
        struct flock fl = region(F_RDLCK, start, length);
        if (lockcall(fd, F_SETLK, &fl) < 0) return false;
        struct flock t = region(F_WRLCK, start, length);
        if (lockcall(fd, F_GETLK, &t) == 0 && t.l_type == F_UNLCK) {
            nv::os::note_lock(fd, +1);
            return true;
        }
        // Another process holds a (read) lock too: give ours up again, by the
        // region the test reported.
        struct flock u = region(F_UNLCK, t.l_start, t.l_len);
        lockcall(fd, F_SETLK, &u);
        return false;
    }
    case 'T': {
        struct flock t = region(F_WRLCK, start, length);
        return lockcall(fd, F_GETLK, &t) == 0 && t.l_type == F_UNLCK;
    }
    case 'U': {
        struct flock fl = region(F_UNLCK, start, length);
        if (lockcall(fd, F_SETLK, &fl) < 0) return false;
        nv::os::note_lock(fd, -1);
        return true;
    }
    default:
        return false;
    }
}

namespace nv {
pid_t lock_holder(int fd, off_t start, off_t length) {
    struct flock t = region(F_WRLCK, start, length);
    if (lockcall(fd, F_GETLK, &t) < 0 || t.l_type == F_UNLCK) return 0;
    return t.l_pid;
}
} // namespace nv

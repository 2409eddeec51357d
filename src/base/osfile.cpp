// System call seam and open-file table: see osfile.h.
#include "base/osfile.h"

#include <cerrno>
#include <cstdio>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace nv::os {
namespace {
int real_open(const char *p, int f, mode_t m) { return ::open(p, f, m); }
int real_fcntl(int fd, int cmd, struct flock *fl) { return ::fcntl(fd, cmd, fl); }

const Calls k_real = {real_open, ::pread, ::pwrite, real_fcntl, ::rename, ::unlink,
                      ::ftruncate, ::fsync, ::close, ::mmap, ::munmap};
Calls g_calls = k_real;

struct Entry {
    dev_t dev;
    ino_t ino;
    int fd;
    int accmode; // O_RDONLY / O_WRONLY / O_RDWR of the real descriptor
    int users;
    int locks;
};
std::vector<Entry> g_table;

Entry *find_fd(int fd) {
    for (auto &e : g_table)
        if (e.fd == fd) return &e;
    return nullptr;
}

bool compatible(int have, int want) { return have == O_RDWR || have == want; }

int really_close(int fd) {
    int r;
    do r = g_calls.close(fd);
    while (r < 0 && errno == EINTR);
    return r;
}
} // namespace

Calls &calls() { return g_calls; }
void reset_calls() { g_calls = k_real; }

int open_shared(const char *path, int flags, mode_t mode) {
    struct stat st;
    int want = flags & O_ACCMODE;
    if (!(flags & (O_CREAT | O_TRUNC | O_EXCL)) && ::stat(path, &st) == 0) {
        for (auto &e : g_table)
            if (e.dev == st.st_dev && e.ino == st.st_ino && compatible(e.accmode, want)) {
                ++e.users;
                return e.fd;
            }
    }
    int fd;
    do fd = g_calls.open(path, flags, mode);
    while (fd < 0 && errno == EINTR);
    if (fd < 0) return -1;
    if (::fstat(fd, &st) == 0) g_table.push_back({st.st_dev, st.st_ino, fd, want, 1, 0});
    return fd;
}

int close_shared(int fd) {
    Entry *e = find_fd(fd);
    if (!e) return really_close(fd);
    if (--e->users > 0 || e->locks > 0) return 0;
    g_table.erase(g_table.begin() + (e - g_table.data()));
    return really_close(fd);
}

void note_lock(int fd, int delta) {
    Entry *e = find_fd(fd);
    if (!e) return;
    e->locks += delta;
    if (e->locks < 0) e->locks = 0;
    if (e->locks == 0 && e->users == 0) {
        g_table.erase(g_table.begin() + (e - g_table.data()));
        really_close(fd);
    }
}

ssize_t pread_full(int fd, void *buf, size_t n, off_t off) {
    size_t done = 0;
    while (done < n) {
        ssize_t r = g_calls.pread(fd, (char *)buf + done, n - done, off + (off_t)done);
        if (r < 0) {
            if (errno == EINTR) continue;
            return done ? (ssize_t)done : -1;
        }
        if (r == 0) break;
        done += (size_t)r;
    }
    return (ssize_t)done;
}

ssize_t pwrite_full(int fd, const void *buf, size_t n, off_t off) {
    size_t done = 0;
    while (done < n) {
        ssize_t r = g_calls.pwrite(fd, (const char *)buf + done, n - done, off + (off_t)done);
        if (r < 0) {
            if (errno == EINTR) continue;
            return done ? (ssize_t)done : -1;
        }
        if (r == 0) {
            errno = ENOSPC;
            return (ssize_t)done;
        }
        done += (size_t)r;
    }
    return (ssize_t)done;
}

} // namespace nv::os

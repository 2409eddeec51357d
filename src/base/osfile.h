// The seam under the system calls of the store and the system file, and the
// process-wide table of open files.
//
// Seam: every open/pread/pwrite/fcntl/rename/unlink/ftruncate/fsync/close and
// every mapping of a file (mmap/munmap) of the lower layers goes through
// os::calls(), so that tests can inject EIO, ENOSPC, short writes, a refused
// mapping or a crash at a chosen point. Production code never changes the
// table.
//
// Open-file table: POSIX record locks belong to the process and to the file,
// not to the descriptor, and closing *any* descriptor of a file drops every
// lock the process holds on it. So a file that is opened twice in one process
// (a master file open for the run and opened again by a lookup) shares one
// descriptor, keyed by (device, inode); the real close happens when the last
// user closes it, and is put off while locks taken through IOLOCK on it are
// still held. All calls retry on EINTR.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

namespace nv::os {

struct Calls {
    int (*open)(const char *path, int flags, mode_t mode);
    ssize_t (*pread)(int fd, void *buf, size_t n, off_t off);
    ssize_t (*pwrite)(int fd, const void *buf, size_t n, off_t off);
    int (*fcntl_lock)(int fd, int cmd, struct flock *fl);
    int (*rename)(const char *from, const char *to);
    int (*unlink)(const char *path);
    int (*ftruncate)(int fd, off_t len);
    int (*fsync)(int fd);
    int (*close)(int fd);
    void *(*mmap)(void *addr, size_t n, int prot, int flags, int fd, off_t off);
    int (*munmap)(void *addr, size_t n);
};

Calls &calls();        // the live table; tests may replace entries
void reset_calls();    // back to the real system calls

// Shared open: returns a descriptor or -1 with errno. A second open of a file
// already open with a compatible access mode returns the same descriptor.
int open_shared(const char *path, int flags, mode_t mode = 0660);
int close_shared(int fd); // 0, or -1 with errno

// Lock bookkeeping used by IOLOCK to defer closes.
void note_lock(int fd, int delta);

// Whole-buffer I/O with EINTR retry. Return the bytes transferred (short only
// at end of file or on error, errno set then).
ssize_t pread_full(int fd, void *buf, size_t n, off_t off);
ssize_t pwrite_full(int fd, const void *buf, size_t n, off_t off);

} // namespace nv::os

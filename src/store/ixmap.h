// Fast reads: every file of the store that this process has open is mapped
// read-only and shared, once per file (device and inode), whatever the mode
// and however many ICBs have it open. An index block or a data slot that no
// cache holds is copied out of the mapping instead of read with a system
// call. On Linux a shared mapping shows the page cache itself, so a reader
// sees every other process's write as soon as a pread would: modes 0 and 2
// stay exactly as current as before, and the bytes on disk don't change.
//
// This is the only place where the store touches a mapping. Its rules:
//  - only bytes below the size of the file as last asked (fstat) are copied;
//    an offset beyond it asks the system again, and bytes that are beyond
//    the end even then are refused, so that the caller takes its own road
//    for them (pread, and with it the store's end-of-file handling);
//  - the file may shrink under the copy (another process cuts it): touching
//    a page past the new end raises SIGBUS, which a guard around the copy
//    turns into a refused copy; the size is then asked again. A SIGBUS that
//    doesn't come from a guarded copy goes to whoever handled it before;
//  - a file that grows past the mapping is mapped anew, at twice its size,
//    so that a growing file is remapped only each time it doubles;
//  - where the system won't map a file, every read is a pread as before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

namespace nv::store {

class FileMap {
  public:
    FileMap(dev_t d, ino_t i) : dev(d), ino(i) {}
    ~FileMap() { unmap(); }
    FileMap(const FileMap &) = delete;
    FileMap &operator=(const FileMap &) = delete;

    // Copies n bytes at off out of the file into out. False when they are
    // not all in the file, or the file can't be mapped: nothing is promised
    // about out then.
    bool copy(int fd, int64_t off, void *out, size_t n);
    // This process has cut the file: what was known of its size is void.
    void forget_size() { known_ = 0; }

    const dev_t dev;
    const ino_t ino;
    int users = 0;

  private:
    bool reach(int fd, int64_t end);
    void unmap();
    const uint8_t *base_ = nullptr;
    size_t len_ = 0;
    int64_t known_ = 0; // the file reaches at least this far
    bool refused_ = false;
};

// The map of the file open on fd, shared with every other ICB of the process
// on the same file; nullptr when fast reads are off.
FileMap *map_attach(int fd);
void map_detach(FileMap *&m);

// Fast reads on (default) or off for the files opened from now on: off, all
// reads are preads. For comparisons in tests and benchmarks.
void set_fast_reads(bool on);

} // namespace nv::store

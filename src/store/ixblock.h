// The block cache of an exclusive file. A file opened in mode 1 is the only
// writer (the whole-file lock keeps every other writer out), so its index
// blocks can be held in memory: a read of a held block costs a copy, and a
// changed block reaches the disk when it is evicted or at IXCLOSE, in block
// order and in runs. At IXCLOSE the files are byte for byte what they would
// have been without the cache. Between open and close the index on disk is
// behind, as the header of an exclusive file always is: a reader without
// locks sees an unfinished file in either case.
//
// The same cache, with pages of 4096 bytes, holds the data file of an
// exclusive file: slots straddle pages, and a page is written back only up
// to the logical end of the data file, so the file never grows beyond its
// last slot.
//
// A process has one view of each file: the caches are kept per file (device
// and inode) and every ICB of the process on that file reads and writes
// through them, also one opened read-only or shared beside the exclusive
// one. Other processes see the index and data on disk, as they see the
// header of an exclusive file: as of its last write-back.
//
// Frames are handed out up to a capacity and then reused by a clock sweep.
//
// What the caches don't hold is on disk as it is (a changed page stays in a
// frame until it is written back), so a block or slot whose pages aren't
// held is copied out of the file's mapping (ixmap.h) instead of read with a
// system call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sys/types.h>
#include <vector>

namespace nv::store {

class BlockCache {
  public:
    explicit BlockCache(int capacity, int page = 512) : cap_(capacity), page_(page) {}

    int page() const { return page_; }
    bool full() const { return (int)block_.size() >= cap_; }
    // Pages are written back only up to this byte offset; -1 for no limit.
    void set_limit(int64_t limit) { limit_ = limit; }
    // How far the file on disk reaches: set at open, raised by write-backs.
    // A page that begins beyond it needs no read.
    void set_disk_end(int64_t end) { disk_end_ = end; }
    int64_t disk_end() const { return disk_end_; }

    // Copies a held block to out; false when the block is not held.
    bool get(int32_t block, void *out);
    // The held page itself, for a change in place; nullptr when not held.
    // mark_dirty must follow a change.
    uint8_t *find(int32_t block);
    void mark_dirty(int32_t block);
    // Holds a block; dirty when it is newer than the disk. False when the
    // write of an evicted block failed (errno set).
    bool put(int fd, int32_t block, const void *in, bool dirty);
    // A frame for a block that is not held yet, to be filled by the caller;
    // held and clean from then on. nullptr when the cache has no frames.
    uint8_t *claim(int fd, int32_t block, bool &ok);
    // Writes every dirty block, in block order. False on a failed write.
    bool flush(int fd);
    // Forgets everything (after the file was emptied).
    void clear();

  private:
    int victim(int fd, bool &ok);
    bool write_run(int fd, int32_t block);
    bool write_out(int fd, int32_t block, const uint8_t *mem, size_t len);
    uint8_t *frame(int f) {
        return chunk_[(size_t)f / k_chunk].get() + (size_t)(f % k_chunk) * (size_t)page_;
    }
    static constexpr int k_chunk = 256; // frames per allocation

    int cap_;
    int page_;
    int64_t limit_ = -1;
    int64_t disk_end_ = 0;
    int hand_ = 0;
    std::vector<std::unique_ptr<uint8_t[]>> chunk_; // frames, page_ bytes each
    std::vector<int32_t> block_;                    // block per frame
    std::vector<uint8_t> dirty_;
    std::vector<uint8_t> ref_;
    std::vector<int32_t> where_; // frame + 1 per block number, 0 = not held
    std::vector<uint8_t> run_;   // blocks written together at an eviction
};

// The cache of one file of this process, shared by its ICBs. Created and
// owned by the exclusive opens, found by the others.
struct SharedCache {
    dev_t dev;
    ino_t ino;
    int owners;
    int64_t size; // data file: its length as the cache knows it
    BlockCache pages;
    SharedCache(dev_t d, ino_t i, int capacity, int page)
        : dev(d), ino(i), owners(0), size(0), pages(capacity, page) {}
    SharedCache(const SharedCache &) = delete;
    SharedCache &operator=(const SharedCache &) = delete;
};

} // namespace nv::store

// The block cache of an exclusive file. A file opened in mode 1 is the only
// writer (the whole-file lock keeps every other writer out), so its index
// blocks can be held in memory: a read of a held block costs a copy, and a
// changed block reaches the disk when it is evicted or at IXCLOSE, in block
// order and in runs. At IXCLOSE the files are byte for byte what they would
// have been without the cache. Between open and close the index on disk is
// behind, as the header of an exclusive file always is: a reader without
// locks sees an unfinished file in either case.
//
// Frames are handed out up to a capacity and then reused by a clock sweep.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace nv::store {

class BlockCache {
  public:
    explicit BlockCache(int capacity) : cap_(capacity) {}

    // Copies a held block to out; false when the block is not held.
    bool get(int32_t block, void *out);
    // Holds a block; dirty when it is newer than the disk. False when the
    // write of an evicted block failed (errno set).
    bool put(int fd, int32_t block, const void *in, bool dirty);
    // Writes every dirty block, in block order. False on a failed write.
    bool flush(int fd);
    // Forgets everything (after the file was emptied).
    void clear();

  private:
    int victim(int fd, bool &ok);

    int cap_;
    int hand_ = 0;
    std::vector<std::array<uint8_t, 512>> frame_;
    std::vector<int32_t> block_; // block per frame
    std::vector<uint8_t> dirty_;
    std::vector<uint8_t> ref_;
    std::vector<int32_t> where_; // frame + 1 per block number, 0 = not held
};

} // namespace nv::store

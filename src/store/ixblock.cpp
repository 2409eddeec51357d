// Index blocks in and out: IXRDIX, IXWRIX, and the block cache of an
// exclusive file (ixblock.h).
//
// Every block that IXRDIX hands to the tree code has been checked: key number
// within the key count, level 1 to 9, entry count below the key's limit, a
// root carrying its own key number. A block that fails is a damaged file and
// ends the program with "Niet consistent", the message of the busy mark, so
// that the check and rebuild take over. Only the lock queue block (K + 1) is
// not a tree block and is left to its reader.
#include "store/ixblock.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/osfile.h"
#include "store/ixhook.h"
#include "store/ixint.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace nv::store {
namespace {
int g_xcache_blocks = 16384;
constexpr int k_run_blocks = 128; // blocks per write of a flushed run
} // namespace

void set_exclusive_cache_blocks(int blocks) { g_xcache_blocks = blocks < 0 ? 0 : blocks; }

int commit_setting() {
    static int value = [] {
        const char *c = std::getenv("COMMIT");
        return c && std::strcmp(c, "YES") == 0 ? 1 : 0;
    }();
    return value;
}

// ---- BlockCache

bool BlockCache::get(int32_t block, void *out) {
    if (block < 0 || (size_t)block >= where_.size() || !where_[(size_t)block]) return false;
    int f = where_[(size_t)block] - 1;
    ref_[(size_t)f] = 1;
    std::memcpy(out, frame_[(size_t)f].data(), 512);
    return true;
}

int BlockCache::victim(int fd, bool &ok) {
    if ((int)frame_.size() < cap_) {
        frame_.emplace_back();
        block_.push_back(-1);
        dirty_.push_back(0);
        ref_.push_back(0);
        return (int)frame_.size() - 1;
    }
    for (;;) {
        size_t h = (size_t)hand_;
        hand_ = (hand_ + 1) % cap_;
        if (ref_[h]) {
            ref_[h] = 0;
            continue;
        }
        if (dirty_[h] && os::pwrite_full(fd, frame_[h].data(), 512, (off_t)block_[h] * 512) != 512)
            ok = false;
        where_[(size_t)block_[h]] = 0;
        dirty_[h] = 0;
        return (int)h;
    }
}

bool BlockCache::put(int fd, int32_t block, const void *in, bool dirty) {
    if (block < 0 || cap_ <= 0) return true;
    if ((size_t)block >= where_.size()) where_.resize((size_t)block + 1 + where_.size() / 2, 0);
    bool ok = true;
    int f = where_[(size_t)block] - 1;
    if (f < 0) {
        f = victim(fd, ok);
        block_[(size_t)f] = block;
        where_[(size_t)block] = f + 1;
        dirty_[(size_t)f] = 0;
    }
    std::memcpy(frame_[(size_t)f].data(), in, 512);
    dirty_[(size_t)f] = dirty_[(size_t)f] || dirty;
    ref_[(size_t)f] = 1;
    return ok;
}

bool BlockCache::flush(int fd) {
    std::vector<int32_t> blocks;
    for (size_t f = 0; f < frame_.size(); ++f)
        if (dirty_[f]) blocks.push_back(block_[f]);
    std::sort(blocks.begin(), blocks.end());
    std::vector<uint8_t> run;
    run.reserve((size_t)k_run_blocks * 512);
    bool ok = true;
    for (size_t i = 0; i < blocks.size();) {
        size_t j = i;
        run.clear();
        while (j < blocks.size() && j - i < k_run_blocks && blocks[j] == blocks[i] + (int32_t)(j - i)) {
            const auto &fr = frame_[(size_t)where_[(size_t)blocks[j]] - 1];
            run.insert(run.end(), fr.begin(), fr.end());
            ++j;
        }
        if (os::pwrite_full(fd, run.data(), run.size(), (off_t)blocks[i] * 512) != (ssize_t)run.size())
            ok = false;
        i = j;
    }
    if (ok) std::fill(dirty_.begin(), dirty_.end(), 0);
    return ok;
}

void BlockCache::clear() {
    frame_.clear();
    block_.clear();
    dirty_.clear();
    ref_.clear();
    where_.clear();
    hand_ = 0;
}

// ---- the failure reporters of the store

void not_consistent(ICB *icb) {
    nv::fatal("%-11.11s: %-19.19s --> %s", icb->hdr.name, icb->hdr.title,
              KOR(1, 234, "Niet consistent"));
}

void icb_null(const char *op) { nv::fatal("%s : ICB == NULL", op); }

void io_fatal(ICB *icb, const char *path, int err) {
    nv::fatal("RDISAM(%d): %s (%.11s)", err, path, icb ? icb->hdr.name : "");
}

// ---- block transfer

void xcache_open(ICB *icb) {
    if (icb->mode == 1 && g_xcache_blocks > 0 && !icb->xcache)
        icb->xcache = new BlockCache(g_xcache_blocks);
}

void xcache_flush(ICB *icb) {
    if (icb->xcache && !icb->xcache->flush(icb->ifd)) io_fatal(icb, icb->ipath, errno);
}

void xcache_clear(ICB *icb) {
    if (icb->xcache) icb->xcache->clear();
}

void xcache_drop(ICB *icb) {
    delete icb->xcache;
    icb->xcache = nullptr;
}

bool block_read(ICB *icb, int32_t block, void *out) {
    if (icb->cached) {
        if (!IOCACHE('R', icb, block)) return false;
        std::memcpy(out, &icb->blk, 512);
        return true;
    }
    if (icb->xcache && icb->xcache->get(block, out)) return true;
    if (os::pread_full(icb->ifd, out, 512, (off_t)block * 512) != 512) return false;
    if (icb->xcache && !icb->xcache->put(icb->ifd, block, out, false))
        io_fatal(icb, icb->ipath, errno);
    return true;
}

void block_write(ICB *icb, int32_t block, const void *in) {
    if (icb->xcache) {
        if (!icb->xcache->put(icb->ifd, block, in, true)) io_fatal(icb, icb->ipath, errno);
        return;
    }
    if (os::pwrite_full(icb->ifd, in, 512, (off_t)block * 512) != 512)
        io_fatal(icb, icb->ipath, errno);
}

} // namespace nv::store

using namespace nv::store;

namespace {

void read_header(ICB *icb) {
    for (;;) {
        if (nv::os::pread_full(icb->ifd, &icb->hdr, k_header_bytes, 0) == k_header_bytes) break;
        char line[120];
        std::snprintf(line, sizeof line, "RDISAM: %.11s.INX (EOF: r=%ld)", icb->hdr.name, 0L);
        if (icb->mode == 1 || !eof_line(line)) not_consistent(icb);
    }
    if (header_problem(icb->hdr)) not_consistent(icb);
    make_plans(icb);
}

// A tree block as the tree code may trust it.
void check_tree_block(ICB *icb, int32_t block) {
    const IxBlock &b = icb->blk;
    int k = icb->hdr.nkeys;
    if (b.keynr < 1 || b.keynr > k || b.level < 1 || b.level >= k_max_levels || b.count < 0 ||
        b.count >= icb->plan[b.keynr - 1].limit || (block <= k && b.keynr != block))
        not_consistent(icb);
}

} // namespace

void IXRDIX(ICB *icb, int32_t block) {
    check_icb(icb, "IXRDIX");
    if (!icb->cached && icb->hdr.busy) not_consistent(icb);
    if (block == 0) return read_header(icb);
    alignas(8) uint8_t buf[k_block];
    for (;;) {
        if (block < 0 || (icb->mode == 1 && block >= icb->hdr.nextblk)) not_consistent(icb);
        if (block_read(icb, block, buf)) break;
        // Past the end of the index: another process may be extending it.
        // Tell it, and go on from the root of the key in hand.
        char line[120];
        std::snprintf(line, sizeof line, "RDISAM: %.11s.INX (EOF: r=%ld)", icb->hdr.name,
                      (long)block);
        if (icb->mode == 1 || !eof_line(line)) not_consistent(icb);
        block = icb->blk.keynr > 0 ? icb->blk.keynr : 1;
    }
    std::memcpy(&icb->blk, buf, k_block);
    icb->cur_block = block;
    icb->img_blk = block;
    if (block == icb->hdr.nkeys + 1) return; // the lock queue keeps no path
    check_tree_block(icb, block);
    if (block == icb->blk.keynr) icb->path[icb->blk.level] = -1;
    if (icb->blk.level >= 2) icb->path[icb->blk.level - 1] = block;
}

void IXWRIX(ICB *icb, int32_t block) {
    check_icb(icb, "IXWRIX");
    if (block == 0) {
        alignas(8) uint8_t buf[k_block] = {};
        std::memcpy(buf, &icb->hdr, k_header_bytes);
        if (nv::os::pwrite_full(icb->ifd, buf, k_block, 0) != k_block)
            io_fatal(icb, icb->ipath, errno);
        return;
    }
    if (icb->cached)
        IOCACHE('W', icb, block);
    else
        block_write(icb, block, &icb->blk);
    icb->img_blk = block;
}

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
#include "store/ixmap.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>

namespace nv::store {
namespace {
int g_xcache_blocks = 16384;
int g_dcache_pages = 1024;
constexpr int k_run_bytes = 64 * 1024; // bytes per write of a flushed run
constexpr int k_data_page = 4096;
constexpr int k_eof_tries = 30; // about half a minute of waiting for a writer
} // namespace

void set_exclusive_cache_blocks(int blocks) {
    g_xcache_blocks = blocks < 0 ? 0 : blocks;
}
void set_exclusive_data_pages(int pages) {
    g_dcache_pages = pages < 0 ? 0 : pages;
}
int exclusive_cache_blocks() {
    return g_xcache_blocks;
}
int exclusive_data_pages() {
    return g_dcache_pages;
}

// The flush hook. With COMMIT=YES the bytes just written go to the disk
// itself before the store goes on; otherwise the system writes them when it
// will, as for every other program of the suite.
void written(ICB *icb, int fd) {
    if (icb && icb->commit) os::calls().fsync(fd);
}

int commit_setting() {
    static int value = [] {
        const char *c = std::getenv("COMMIT");
        return c && std::strcmp(c, "YES") == 0 ? 1 : 0;
    }();
    return value;
}

// An exclusive file keeps its header in memory and writes its blocks back
// late and in block order, so between a write-back and the close the disk
// holds an index from different moments. Before the first byte of a change
// leaves the process, the busy mark goes to disk (byte 45 of the header
// alone); the header written at the close clears it. A writer that dies in
// between leaves the mark, and the next open or check sends the file to be
// rebuilt. A clean close leaves the bytes as they would have been without.
//
// Another ICB of this process on the same file sees the file through the
// caches of the exclusive one, so the mark is not meant for it: the files
// marked by this process are remembered, and their mark passes at open.
namespace {
struct Marked {
    dev_t dev;
    ino_t ino;
};
std::vector<Marked> g_marked;

void forget_mark(const ICB *icb) {
    for (size_t i = 0; i < g_marked.size(); ++i)
        if (g_marked[i].dev == icb->idev && g_marked[i].ino == icb->iino) {
            g_marked.erase(g_marked.begin() + (long)i);
            return;
        }
}
} // namespace

void show_busy(ICB *icb) {
    if (!icb || icb->mode != 1 || icb->busy_shown) return;
    const uint8_t one = 1;
    if (os::pwrite_full(icb->ifd, &one, 1, (off_t)offsetof(IxHeader, busy)) != 1)
        io_fatal(icb, icb->ipath, errno);
    written(icb, icb->ifd);
    icb->busy_shown = 1;
    g_marked.push_back({icb->idev, icb->iino});
}

bool busy_shown_here(const ICB *icb) {
    for (const Marked &m : g_marked)
        if (m.dev == icb->idev && m.ino == icb->iino) return true;
    return false;
}

// ---- BlockCache

bool BlockCache::get(int32_t block, void *out) {
    uint8_t *m = find(block);
    if (!m) return false;
    std::memcpy(out, m, (size_t)page_);
    return true;
}

uint8_t *BlockCache::find(int32_t block) {
    if (block < 0 || (size_t)block >= where_.size() || !where_[(size_t)block]) return nullptr;
    int f = where_[(size_t)block] - 1;
    ref_[(size_t)f] = 1;
    return frame(f);
}

void BlockCache::mark_dirty(int32_t block) {
    if (block >= 0 && (size_t)block < where_.size() && where_[(size_t)block])
        dirty_[(size_t)where_[(size_t)block] - 1] = 1;
}

// Writes len bytes from the start of a block, cut at the limit.
bool BlockCache::write_out(int fd, int32_t block, const uint8_t *mem, size_t len) {
    off_t start = (off_t)block * page_;
    if (limit_ >= 0) {
        if (start >= limit_) return true;
        if ((int64_t)(start + (off_t)len) > limit_) len = (size_t)(limit_ - start);
    }
    if (os::pwrite_full(fd, mem, len, start) != (ssize_t)len) return false;
    disk_end_ = std::max(disk_end_, (int64_t)(start + (off_t)len));
    return true;
}

// Writes a dirty block together with the dirty blocks held on either side
// of it, in one write: they would go one by one at their own evictions, and
// appended data pages in particular lie side by side. Each leaves clean.
bool BlockCache::write_run(int fd, int32_t block) {
    const int32_t most = std::max(1, k_run_bytes / page_);
    auto dirty_held = [&](int32_t b) {
        return b >= 0 && (size_t)b < where_.size() && where_[(size_t)b] &&
               dirty_[(size_t)where_[(size_t)b] - 1];
    };
    int32_t lo = block, hi = block;
    while (hi - lo + 1 < most && dirty_held(lo - 1))
        --lo;
    while (hi - lo + 1 < most && dirty_held(hi + 1))
        ++hi;
    if (lo == hi) {
        dirty_[(size_t)where_[(size_t)block] - 1] = 0;
        return write_out(fd, block, frame(where_[(size_t)block] - 1), (size_t)page_);
    }
    run_.resize((size_t)(hi - lo + 1) * (size_t)page_);
    for (int32_t b = lo; b <= hi; ++b) {
        int f = where_[(size_t)b] - 1;
        std::memcpy(run_.data() + (size_t)(b - lo) * (size_t)page_, frame(f), (size_t)page_);
        dirty_[(size_t)f] = 0;
    }
    return write_out(fd, lo, run_.data(), run_.size());
}

int BlockCache::victim(int fd, bool &ok) {
    if ((int)block_.size() < cap_) {
        if (block_.size() % k_chunk == 0)
            chunk_.emplace_back(new uint8_t[(size_t)k_chunk * (size_t)page_]);
        block_.push_back(-1);
        dirty_.push_back(0);
        ref_.push_back(0);
        return (int)block_.size() - 1;
    }
    for (;;) {
        size_t h = (size_t)hand_;
        hand_ = (hand_ + 1) % cap_;
        if (ref_[h]) {
            ref_[h] = 0;
            continue;
        }
        if (dirty_[h] && !write_run(fd, block_[h])) ok = false;
        where_[(size_t)block_[h]] = 0;
        dirty_[h] = 0;
        return (int)h;
    }
}

uint8_t *BlockCache::claim(int fd, int32_t block, bool &ok) {
    if (block < 0 || cap_ <= 0) return nullptr;
    if ((size_t)block >= where_.size()) where_.resize((size_t)block + 1 + where_.size() / 2, 0);
    int f = where_[(size_t)block] - 1;
    if (f < 0) {
        f = victim(fd, ok);
        block_[(size_t)f] = block;
        where_[(size_t)block] = f + 1;
        dirty_[(size_t)f] = 0;
    }
    ref_[(size_t)f] = 1;
    return frame(f);
}

bool BlockCache::put(int fd, int32_t block, const void *in, bool dirty) {
    bool ok = true;
    uint8_t *m = claim(fd, block, ok);
    if (!m) return true;
    std::memcpy(m, in, (size_t)page_);
    if (dirty) mark_dirty(block);
    return ok;
}

bool BlockCache::flush(int fd) {
    std::vector<int32_t> blocks;
    for (size_t f = 0; f < block_.size(); ++f)
        if (dirty_[f]) blocks.push_back(block_[f]);
    std::sort(blocks.begin(), blocks.end());
    std::vector<uint8_t> run;
    const size_t per_run = (size_t)std::max(1, k_run_bytes / page_);
    run.reserve(per_run * (size_t)page_);
    bool ok = true;
    for (size_t i = 0; i < blocks.size();) {
        size_t j = i;
        run.clear();
        while (j < blocks.size() && j - i < per_run && blocks[j] == blocks[i] + (int32_t)(j - i)) {
            const uint8_t *m = frame(where_[(size_t)blocks[j]] - 1);
            run.insert(run.end(), m, m + page_);
            ++j;
        }
        if (!write_out(fd, blocks[i], run.data(), run.size())) ok = false;
        i = j;
    }
    if (ok) std::fill(dirty_.begin(), dirty_.end(), 0);
    return ok;
}

void BlockCache::clear() {
    chunk_.clear();
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

void icb_null(const char *op) {
    nv::fatal("%s : ICB == NULL", op);
}

const char *io_cause(int err) {
    switch (err) {
    case ENOSPC:
    case EDQUOT:
        return KOR(20, 40, "schijf vol");
    case EACCES:
    case EPERM:
    case EROFS:
        return KOR(20, 41, "geen schrijfrechten");
    case EFBIG:
        return KOR(20, 42, "bestand te groot");
    case EIO:
        return KOR(20, 43, "fout van de schijf");
    default:
        return "";
    }
}

void io_fatal(ICB *icb, const char *path, int err) {
    // A write that failed may have left a block behind on disk: the close
    // on the way out keeps the busy mark, so the check sends the file to a
    // rebuild.
    if (icb) icb->changing = 1;
    const char *why = io_cause(err);
    nv::fatal("RDISAM(%d): %s%s%s (%.11s)", err, why, *why ? ": " : "", path,
              icb ? icb->hdr.name : "");
}

// ---- block transfer

namespace {

std::vector<SharedCache *> g_shared; // the caches of this process, by file

SharedCache *find_shared(dev_t dev, ino_t ino) {
    for (SharedCache *c : g_shared)
        if (c->dev == dev && c->ino == ino) return c;
    return nullptr;
}

SharedCache *attach(dev_t dev, ino_t ino, int capacity, int page, int64_t size) {
    SharedCache *c = find_shared(dev, ino);
    if (!c) {
        c = new SharedCache(dev, ino, capacity, page);
        c->size = size;
        c->pages.set_limit(page == k_block ? -1 : size);
        c->pages.set_disk_end(size);
        g_shared.push_back(c);
    }
    ++c->owners;
    return c;
}

void detach(SharedCache *&c) {
    if (!c) return;
    if (--c->owners == 0) {
        g_shared.erase(std::find(g_shared.begin(), g_shared.end(), c));
        delete c;
    }
    c = nullptr;
}

SharedCache *index_cache(const ICB *icb) {
    if (icb->xcache || g_shared.empty()) return icb->xcache;
    return find_shared(icb->idev, icb->iino);
}

SharedCache *data_cache(const ICB *icb) {
    if (icb->dcache || g_shared.empty()) return icb->dcache;
    return find_shared(icb->ddev, icb->dino);
}

// A read of the disk as it is: through the mapping, or a pread.
bool disk_read(int fd, FileMap *m, off_t start, void *out, int len) {
    if (m && m->copy(fd, start, out, (size_t)len)) return true;
    return os::pread_full(fd, out, (size_t)len, start) == len;
}

// The page of the data cache that holds byte offset off, loaded when needed.
uint8_t *data_page(ICB *icb, SharedCache &sc, off_t off) {
    BlockCache &c = sc.pages;
    int32_t pg = (int32_t)(off / c.page());
    if (uint8_t *m = c.find(pg)) return m;
    bool ok = true;
    uint8_t *m = c.claim(icb->dfd, pg, ok);
    if (!ok) io_fatal(icb, icb->dpath, errno);
    off_t start = (off_t)pg * c.page();
    ssize_t n = 0;
    if (start < c.disk_end()) {
        n = (ssize_t)std::min((int64_t)c.page(), c.disk_end() - start);
        if (!icb->dmap || !icb->dmap->copy(icb->dfd, start, m, (size_t)n))
            n = os::pread_full(icb->dfd, m, (size_t)c.page(), start);
    }
    if (n < 0) io_fatal(icb, icb->dpath, errno);
    std::memset(m + n, 0, (size_t)(c.page() - n)); // beyond the end of the file
    return m;
}

} // namespace

void xcache_open(ICB *icb) {
    if (icb->mode != 1) return;
    auto size_of = [](int fd) {
        struct stat st;
        return ::fstat(fd, &st) == 0 ? (int64_t)st.st_size : 0;
    };
    if (g_xcache_blocks > 0 && !icb->xcache)
        icb->xcache = attach(icb->idev, icb->iino, g_xcache_blocks, k_block, size_of(icb->ifd));
    if (g_dcache_pages > 0 && !icb->dcache)
        icb->dcache = attach(icb->ddev, icb->dino, g_dcache_pages, k_data_page, size_of(icb->dfd));
}

void xcache_flush(ICB *icb) {
    if (SharedCache *c = index_cache(icb)) {
        if (!c->pages.flush(icb->ifd)) io_fatal(icb, icb->ipath, errno);
        written(icb, icb->ifd);
    }
    if (SharedCache *c = data_cache(icb)) {
        if (!c->pages.flush(icb->dfd)) io_fatal(icb, icb->dpath, errno);
        written(icb, icb->dfd);
    }
}

// The file may be cut after this: what is on disk is known again only as it
// is written back.
void xcache_clear(ICB *icb) {
    if (SharedCache *c = index_cache(icb)) {
        c->pages.clear();
        c->pages.set_disk_end(0);
    }
    if (icb->imap) icb->imap->forget_size();
}

void dcache_clear(ICB *icb) {
    if (SharedCache *c = data_cache(icb)) {
        c->pages.clear();
        c->size = 0;
        c->pages.set_limit(0);
        c->pages.set_disk_end(0);
    }
    if (icb->dmap) icb->dmap->forget_size();
}

void xcache_drop(ICB *icb) {
    detach(icb->xcache);
    detach(icb->dcache);
}

bool data_read(ICB *icb, off_t start, void *out, int len) {
    SharedCache *sc = data_cache(icb);
    if (!sc) return disk_read(icb->dfd, icb->dmap, start, out, len);
    if (start + len > sc->size) return false;
    BlockCache &c = sc->pages;
    const int page = c.page();
    bool held = false;
    for (int32_t pg = (int32_t)(start / page); pg <= (int32_t)((start + len - 1) / page); ++pg)
        held = c.find(pg) || held;
    if (!held) {
        // Nothing of the slot is held, so the disk has it as it is.
        if (icb->dmap && start + len <= c.disk_end() &&
            icb->dmap->copy(icb->dfd, start, out, (size_t)len))
            return true;
        // Once the cache is full, a slot on pages that aren't held is read
        // straight from the disk: reads by key jump about the file, and a
        // page loaded for one slot would mostly push out another of use.
        if (c.full()) return os::pread_full(icb->dfd, out, (size_t)len, start) == len;
    }
    uint8_t *o = (uint8_t *)out;
    while (len > 0) {
        int in = (int)(start % page), n = std::min(len, page - in);
        std::memcpy(o, data_page(icb, *sc, start) + in, (size_t)n);
        o += n, start += n, len -= n;
    }
    return true;
}

bool data_write(ICB *icb, off_t start, const void *in, int len) {
    show_busy(icb);
    SharedCache *sc = data_cache(icb);
    if (!sc) {
        if (os::pwrite_full(icb->dfd, in, (size_t)len, start) != len) return false;
        written(icb, icb->dfd);
        return true;
    }
    BlockCache &c = sc->pages;
    if (start + len > sc->size) {
        sc->size = start + len;
        c.set_limit(sc->size);
    }
    const uint8_t *s = (const uint8_t *)in;
    const int page = c.page();
    while (len > 0) {
        int at = (int)(start % page), n = std::min(len, page - at);
        std::memcpy(data_page(icb, *sc, start) + at, s, (size_t)n);
        c.mark_dirty((int32_t)(start / page));
        s += n, start += n, len -= n;
    }
    return true;
}

bool block_read(ICB *icb, int32_t block, void *out) {
    if (icb->cached) {
        if (!IOCACHE('R', icb, block)) return false;
        if (out != &icb->blk) std::memcpy(out, &icb->blk, 512);
        return true;
    }
    SharedCache *c = index_cache(icb);
    if (c && c->pages.get(block, out)) return true;
    if (block < 0 || !disk_read(icb->ifd, icb->imap, (off_t)block * k_block, out, k_block))
        return false;
    if (c && !c->pages.put(icb->ifd, block, out, false)) io_fatal(icb, icb->ipath, errno);
    return true;
}

void block_write(ICB *icb, int32_t block, const void *in) {
    show_busy(icb);
    if (SharedCache *c = index_cache(icb)) {
        if (!c->pages.put(icb->ifd, block, in, true)) io_fatal(icb, icb->ipath, errno);
        return;
    }
    if (os::pwrite_full(icb->ifd, in, 512, (off_t)block * 512) != 512)
        io_fatal(icb, icb->ipath, errno);
    written(icb, icb->ifd);
}

} // namespace nv::store

using namespace nv::store;

namespace {

void read_header(ICB *icb) {
    for (;;) {
        if (nv::os::pread_full(icb->ifd, &icb->hdr, k_header_bytes, 0) == k_header_bytes) break;
        char line[120];
        std::snprintf(line, sizeof line, "RDISAM: %.11s.INX (EOF: r=%ld)", icb->hdr.name, 0L);
        if (icb->mode == 1 || ++icb->eof_tries > k_eof_tries || !eof_line(line))
            not_consistent(icb);
    }
    icb->eof_tries = 0;
    if (icb->hdr.busy && icb->mode != 1 && busy_shown_here(icb)) icb->hdr.busy = 0;
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
    const int key_in_hand = icb->blk.keynr;
    for (;;) {
        if (block < 0 || (icb->mode == 1 && block >= icb->hdr.nextblk)) not_consistent(icb);
        if (block_read(icb, block, &icb->blk)) break;
        // Past the end of the index: another process may be extending it.
        // Tell it, and go on from the root of the key in hand.
        char line[120];
        std::snprintf(line, sizeof line, "RDISAM: %.11s.INX (EOF: r=%ld)", icb->hdr.name,
                      (long)block);
        // A block that stays beyond the end is a pointer out of the file.
        if (icb->mode == 1 || ++icb->eof_tries > k_eof_tries || !eof_line(line))
            not_consistent(icb);
        block = key_in_hand > 0 ? key_in_hand : 1;
    }
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
        written(icb, icb->ifd);
        if (icb->busy_shown && !icb->hdr.busy) forget_mark(icb);
        icb->busy_shown = icb->hdr.busy;
        return;
    }
    if (icb->cached)
        IOCACHE('W', icb, block);
    else
        block_write(icb, block, &icb->blk);
    icb->img_blk = block;
}

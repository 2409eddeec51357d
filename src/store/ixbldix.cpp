// IXBLDIX: a new index for a data file. See ixcheck.h.
//
// The data file is read once, front to back, in chunks of up to 16 KiB; each
// chunk is entered key after key, so the whole is one sequential read
// whatever the number of keys. A key that falls within the leaf in hand goes
// in there without a descent from the root: data that lies in the order of a
// key (record numbers handed out in ascending key order, as an append-only
// file has them) costs one descent per split for that key. Free slots are
// linked anew on the way, the highest at the head; only a slot whose link
// changes is written, so the data file is written where a free slot was met
// and nowhere else.
//
// While it works the rebuild holds the whole file (IXCREATE in exclusive
// mode), and the new index lives in the block cache of an exclusive file,
// sized for the index it will become as far as memory allows: blocks reach
// the disk in block order at the close, and the bytes are the same as if
// each block had gone to disk at once. A crash half-way leaves a header with
// record count 0 and a wrong size, which the next check sends to be rebuilt
// again.
#include "store/ixcheck.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/osfile.h"
#include "store/ixblock.h"
#include "store/ixint.h"
#include "store/ixprogress.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

using namespace nv::store;

namespace {

// The old header as the new index will carry it, or false when it can't be
// trusted to describe the data file.
bool normalise(IxHeader &h) {
    if (h.reclen <= 0 || h.nkeys < 1) return false;
    if (h.nkeys > k_max_keys) h.nkeys = k_max_keys;
    for (int k = 0; k < k_max_keys; ++k)
        if (k < h.nkeys)
            h.key[k].limit = (uint8_t)entry_limit(h.key[k].keylen);
        else
            h.key[k] = IxKeyDesc{};
    h.version = k_version;
    h.busy = 0;
    h.freelist = -1;
    h.reccount = 0;
    h.nextblk = h.nkeys + 2;
    return header_problem(h) == nullptr;
}

// Blocks of the finished index, roughly: leaves half full at worst, and a
// tenth more for the levels above. Bounded by an eighth of the memory.
int cache_blocks_for(const IxHeader &h, int64_t records) {
    int64_t blocks = h.nkeys + 2;
    for (int k = 0; k < h.nkeys; ++k)
        blocks += records * 2 / std::max(1, h.key[k].limit - 1) + 2;
    blocks += blocks / 10;
    int64_t mem = (int64_t)::sysconf(_SC_PHYS_PAGES) * ::sysconf(_SC_PAGE_SIZE);
    int64_t cap = mem > 0 ? mem / 8 / k_block : 65536;
    blocks = std::min({blocks, cap, (int64_t)INT_MAX / 2});
    return (int)std::max<int64_t>(blocks, exclusive_cache_blocks());
}

// The first entry of a block at or above the key work area (as IXLOCKEY).
int locate(const KeyPlan &p, const uint8_t *key, const IxBlock &b) {
    int lo = 0, hi = b.count;
    while (lo < hi) {
        int mid = (lo + hi) / 2;
        if (key_compare(p, key, b.ent + mid * p.esize, p.keylen) <= 0)
            hi = mid;
        else
            lo = mid + 1;
    }
    return lo;
}

// From the root of key k down to the leaf where the key work area belongs.
// The blocks above the leaf are searched where the cache holds them, without
// a copy into the image; the path is kept as IXRDIX keeps it. The blocks
// are of this rebuild, but every pointer is still checked before it is
// followed.
void descend(ICB *icb, int k) {
    const KeyPlan &p = icb->plan[k - 1];
    int32_t b = k;
    int want = 0; // the level the block must have; 0 for the root
    for (;;) {
        const IxBlock *m = icb->xcache ? (const IxBlock *)icb->xcache->pages.find(b) : nullptr;
        if (!m || m->level < 2) break;
        if (m->keynr != k || m->count < 1 || m->count >= p.limit || m->level >= k_max_levels ||
            (want && m->level != want))
            not_consistent(icb);
        if (b == k) icb->path[m->level] = -1;
        icb->path[m->level - 1] = b;
        int at = locate(p, icb->key, *m);
        if (at >= m->count) not_consistent(icb);
        int32_t child = get_le32(m->ent + at * p.esize + p.keylen);
        if (child <= icb->hdr.nkeys + 1 || child >= icb->hdr.nextblk) not_consistent(icb);
        b = child;
        want = m->level - 1;
    }
    IXRDIX(icb, b);
    if ((want && icb->blk.level != want) || icb->blk.keynr != k) not_consistent(icb);
    const int len = whole(icb);
    for (;;) {
        IXLOCKEY(icb, len);
        if (icb->blk.level == 1) return;
        if (icb->pos >= icb->blk.count) not_consistent(icb);
        int32_t child = entry_ptr(icb, icb->pos);
        int lv = icb->blk.level;
        if (child <= icb->hdr.nkeys + 1 || child >= icb->hdr.nextblk) not_consistent(icb);
        IXRDIX(icb, child);
        if (icb->blk.level != lv - 1 || icb->blk.keynr != k) not_consistent(icb);
    }
}

// Enters record nr under the current key.
void add_key(ICB *icb, const uint8_t *rec, int32_t nr) {
    const KeyPlan &p = cur_plan(icb);
    icb->cur_rec = nr; // the suffix of a duplicates key
    IXBLDKEY(icb, rec, p.keylen);
    int n = icb->blk.count;
    bool here = icb->blk.level == 1 && n > 0 &&
                key_compare(p, icb->key, icb->blk.ent, p.keylen) >= 0 &&
                key_compare(p, icb->key, icb->blk.ent + (n - 1) * p.esize, p.keylen) <= 0;
    if (here)
        IXLOCKEY(icb, p.keylen);
    else
        descend(icb, cur_key(icb));
    icb->ins_ptr = nr;
    IXINSKEY(icb);
}

// A buffer of up to 16 KiB, halved while the memory isn't there, but never
// below one record.
uint8_t *chunk_buffer(int reclen, int *size) {
    for (int n = 16384; n >= 1024; n /= 2) {
        int want = std::max(n, reclen);
        if (auto *b = (uint8_t *)std::malloc((size_t)want)) {
            *size = want;
            return b;
        }
    }
    return nullptr;
}

} // namespace

int IXBLDIX(const char *name) {
    if (!name || std::strchr(base_name(name), '.')) return 0; // a temporary file isn't rebuilt
    char ipath[300], dpath[300];
    std::snprintf(ipath, sizeof ipath, "%s.INX", name);
    std::snprintf(dpath, sizeof dpath, "%s.TXT", name);
    int fd = nv::os::open_shared(ipath, O_RDONLY);
    if (fd < 0) return 0;
    IxHeader h{};
    ssize_t got = nv::os::pread_full(fd, &h, k_header_bytes, 0);
    nv::os::close_shared(fd);
    if (got != k_header_bytes || !normalise(h)) return 0;
    struct stat st;
    int64_t dsize = ::stat(dpath, &st) == 0 ? (int64_t)st.st_size : -1;
    if (dsize > 0 && dsize % h.reclen != 0) return 0;
    int bufsize = 0;
    uint8_t *buf = chunk_buffer(h.reclen, &bufsize);
    if (!buf) return 0;

    // The rebuild reads and writes the data file itself: no data cache.
    const int keep_blocks = exclusive_cache_blocks(), keep_pages = exclusive_data_pages();
    set_exclusive_cache_blocks(cache_blocks_for(h, dsize > 0 ? dsize / h.reclen : 0));
    set_exclusive_data_pages(0);
    ICB *icb = IXCREATE(name, 1 | k_retry_open);
    set_exclusive_cache_blocks(keep_blocks);
    set_exclusive_data_pages(keep_pages);
    IxHeader &nh = icb->hdr;
    std::memcpy(&nh, &h, sizeof h);
    IXINITIX(icb);
    icb->changing = 1; // an end half-way leaves the busy mark

    const int reclen = h.reclen, per = bufsize / reclen, chunk = per * reclen;
    const long steps = (long)(std::max<int64_t>(dsize, 0) / chunk + 1);
    ixprogress(0, 0, steps, " ZOK - RD-ISAM  >>> IXBLDIX <<< %.11s ", h.name);
    int32_t first = 0, head = -1;
    long step = 0;
    for (;;) {
        ssize_t n = nv::os::pread_full(icb->dfd, buf, (size_t)chunk, (off_t)first * reclen);
        if (n < 0) io_fatal(icb, dpath, errno);
        int recs = (int)(n / reclen);
        if (recs == 0) break;
        ixprogress(1, ++step, steps);
        for (int k = 1; k <= nh.nkeys; ++k) {
            if (cur_key(icb) != k) {
                IXSWITCH(icb, k);
                for (int32_t &p : icb->path)
                    p = -1;
            }
            for (int r = 0; r < recs; ++r) {
                uint8_t *rec = buf + (size_t)r * reclen;
                int32_t nr = first + r;
                if (!slot_is_free(rec, reclen)) {
                    add_key(icb, rec, nr);
                } else if (k == 1 && reclen >= 5 && get_le32(rec + 1) != head) {
                    put_le32(rec + 1, head);
                    if (nv::os::pwrite_full(icb->dfd, rec, (size_t)reclen, (off_t)nr * reclen) !=
                        reclen)
                        io_fatal(icb, dpath, errno);
                }
                if (k == 1 && slot_is_free(rec, reclen)) head = nr;
            }
        }
        first += recs;
    }
    ixprogress(1, steps, steps);
    nh.reccount = first;
    nh.freelist = head;
    nh.busy = 0;
    icb->changing = 0;
    IXCLOSE(icb);
    ixprogress(2, steps, steps);
    std::free(buf);
    return 1;
}

// IOCACHE: the write-back block cache of rebuild and bulk load. One per
// process, for one file at a time, 50 slots of 512 bytes. Slots 0 .. K-1 are
// the roots of keys 1 .. K for good; the others are shared, aged on every
// lookup (100 on use, one less each time another block is looked for) and
// evicted below the mean age. The cache knows nothing of locks: it is on
// only while this process has the file to itself.
//
//   'I'  switch on for the ICB (fails when the memory isn't there or the
//        cache serves another file)
//   'F'  write every dirty slot, switch off; the caller writes the header
//        after it
//   'R'  block into the ICB's image        'W'  the ICB's image into a slot
#include "base/osfile.h"
#include "store/ixint.h"

#include <cerrno>
#include <cstdlib>

using namespace nv::store;

namespace {
constexpr int k_slots = 50;

struct Cache {
    uint8_t *mem = nullptr;
    ICB *owner = nullptr;
    int32_t block[k_slots];
    uint8_t dirty[k_slots];
    int32_t age[k_slots];
};
Cache g_cache;

uint8_t *slot_mem(int s) {
    return g_cache.mem + s * k_block;
}

void write_slot(ICB *icb, int s) {
    show_busy(icb);
    if (nv::os::pwrite_full(icb->ifd, slot_mem(s), k_block, (off_t)g_cache.block[s] * k_block) !=
        k_block)
        io_fatal(icb, icb->ipath, errno);
    written(icb, icb->ifd);
    g_cache.dirty[s] = 0;
}

// Evicts slots of mean age or below, highest first; the lowest evicted is
// the one to use. A pass that evicts nothing repeats with a lower mean; when
// the mean no longer falls, the youngest-used slot of all is taken.
int evict(ICB *icb, int k, long sum, int32_t b) {
    long mean = sum / k_slots;
    for (;;) {
        int lowest = -1;
        for (int s = k_slots - 1; s >= k; --s) {
            if (g_cache.block[s] == b || g_cache.age[s] > mean) continue;
            if (g_cache.dirty[s]) write_slot(icb, s);
            g_cache.block[s] = 0;
            lowest = s;
        }
        if (lowest >= 0) return lowest;
        long next = mean / k_slots;
        if (next == mean) {
            int s0 = k;
            for (int s = k; s < k_slots; ++s)
                if (g_cache.age[s] < g_cache.age[s0]) s0 = s;
            if (g_cache.dirty[s0]) write_slot(icb, s0);
            g_cache.block[s0] = 0;
            return s0;
        }
        mean = next;
    }
}

int read_or_write(int op, ICB *icb, int32_t b) {
    int k = icb->hdr.nkeys;
    int slot = -1;
    bool found = false;
    if (b <= k) {
        slot = b - 1;
        found = g_cache.block[slot] == b;
    } else {
        long sum = 0;
        for (int s = k; s < k_slots; ++s) {
            if (g_cache.block[s] == b) {
                slot = s;
                break;
            }
            sum += g_cache.age[s];
            --g_cache.age[s];
        }
        if (slot >= 0) {
            found = true;
            for (int s = slot; s < k_slots; ++s)
                --g_cache.age[s];
        } else {
            for (int s = k; s < k_slots && slot < 0; ++s)
                if (g_cache.block[s] == 0) slot = s;
            if (slot < 0) slot = evict(icb, k, sum, b);
        }
    }
    uint8_t *m = slot_mem(slot);
    if (op == 'W') {
        std::memcpy(m, &icb->blk, k_block);
        g_cache.dirty[slot] = 1;
    } else if (found) {
        std::memcpy(&icb->blk, m, k_block);
    } else {
        if (g_cache.dirty[slot]) write_slot(icb, slot);
        if (nv::os::pread_full(icb->ifd, &icb->blk, k_block, (off_t)b * k_block) != k_block) {
            g_cache.block[slot] = 0;
            return 0;
        }
        std::memcpy(m, &icb->blk, k_block);
        g_cache.dirty[slot] = 0;
    }
    if (op == 'R') icb->cur_block = b;
    g_cache.block[slot] = b;
    g_cache.age[slot] = 100;
    return 1;
}

} // namespace

int nv::store::IOCACHE(int op, ICB *icb, int32_t block) {
    check_icb(icb, "IOCACHE");
    switch (op) {
    case 'I':
        if (g_cache.mem || icb->hdr.nkeys >= k_slots) return icb->cached;
        g_cache.mem = (uint8_t *)std::calloc(k_slots, k_block);
        if (!g_cache.mem) return icb->cached;
        // This cache takes over from the one of an exclusive file: what
        // that one holds goes to disk first, and is forgotten.
        xcache_flush(icb);
        xcache_clear(icb);
        g_cache.owner = icb;
        icb->cached = 1;
        for (int &p : icb->path)
            p = -1;
        std::memset(g_cache.block, 0, sizeof g_cache.block);
        std::memset(g_cache.dirty, 0, sizeof g_cache.dirty);
        std::memset(g_cache.age, 0, sizeof g_cache.age);
        return 1;
    case 'F':
        if (g_cache.owner != icb || !g_cache.mem) return 0;
        for (int s = 0; s < k_slots; ++s)
            if (g_cache.dirty[s] && g_cache.block[s] > 0) write_slot(icb, s);
        std::free(g_cache.mem);
        g_cache.mem = nullptr;
        g_cache.owner = nullptr;
        icb->cached = 0;
        return 1;
    case 'R':
    case 'W':
        if (g_cache.owner != icb || !g_cache.mem || block < 1) return 0;
        return read_or_write(op, icb, block);
    default:
        return 0;
    }
}

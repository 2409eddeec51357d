// IXLOCK: the lock actions of the store, on top of IOLOCK.
//
// Regions (K keys):  NAME.INX 0..511              header lock, 'E'
//                    NAME.INX (K+1)*512, 512      queue lock, 'E'
//                    NAME.TXT rec * len, len      record lock, 'S'
//                    NAME.TXT 0, 0 (all)          whole-file lock, 'S'
// Order: the header lock first; a record lock or the queue lock may be taken
// while it is held, never the other way round for the queue lock.
//
// Every attempt goes through one guard: with the whole-file lock noted in the
// ICB it counts as done and nothing is called; otherwise a lock still refused
// after a brief retry (below) runs the in-use hook once (about two seconds)
// and the attempt counts as failed. Waits have no time limit: the callers
// loop.
//
// Keys that are locked but have no record yet stand in the lock queue block
// (K + 1): key-1 keys packed from byte 5, count at byte 4. The queue is read,
// changed and written back under the queue lock, which is held only for that
// moment; a process waits for it rather than change the block beside another
// and lose that one's reservation. The queue holds 505 / (key length) keys,
// and never more than the signed count byte can say (127).
#include "base/catalog.h"
#include "base/fatal.h"
#include "base/iolock.h"
#include "store/ixhook.h"
#include "store/ixint.h"

#include <algorithm>
#include <unistd.h>

using namespace nv::store;

namespace {

// Most locks that another process holds are held only for the moment of a
// change (the header, the queue, a record being written back) and are free
// again within a fraction of a millisecond. So before an attempt counts as
// refused, and the in-use hook tells the user and takes its two seconds, it
// tries again for half a second at growing intervals. A wait that ends
// within that time goes by without a word.
constexpr long k_brief_us = 500000;

template <class Try> bool brief_retry(Try again) {
    long waited = 0;
    for (long us = 20; waited < k_brief_us; us = std::min(us * 2, 1000L)) {
        ::usleep((useconds_t)us);
        waited += us;
        if (again()) return true;
    }
    return false;
}

bool attempt(ICB *icb, int op, int fd, off_t start, off_t len) {
    if (icb->whole_lock) return true;
    if (IOLOCK(op, fd, start, len)) return true;
    if (op == 'U') return false;
    if (brief_retry([&] { return IOLOCK(op, fd, start, len); })) return true;
    inuse(icb);
    return false;
}

off_t queue_start(ICB *icb) {
    return (off_t)(icb->hdr.nkeys + 1) * k_block;
}
off_t rec_start(ICB *icb) {
    return (off_t)icb->cur_rec * icb->hdr.reclen;
}

// Reads the queue and finds the key of the key work area in it: its index,
// or -1. *count gets the number of keys; a count that can't be is damage.
int queue_find(ICB *icb, int *count) {
    IXRDIX(icb, icb->hdr.nkeys + 1);
    int len = icb->plan[0].keylen;
    int n = icb->blk.count;
    if (icb->blk.keynr != 1 || n < 0 || n * len > k_entry_area) not_consistent(icb);
    *count = n;
    for (int i = 0; i < n; ++i)
        if (IXCOMP(icb, icb->key, icb->blk.ent + i * len, len) == 0) return i;
    return -1;
}

void queue_lock(ICB *icb) {
    while (!attempt(icb, 'E', icb->ifd, queue_start(icb), k_block)) {
    }
}

int reserve_key(ICB *icb) {
    if (icb->whole_lock) return 1;
    int32_t back = icb->cur_block;
    queue_lock(icb);
    int n, len = icb->plan[0].keylen;
    int at = queue_find(icb, &n);
    if (at >= 0) {
        attempt(icb, 'U', icb->ifd, queue_start(icb), k_block);
        // The key may leave the queue at once (its record written, or
        // the reservation given up): then the caller searches again
        // without the in-use wait.
        bool gone = brief_retry([&] {
            queue_lock(icb);
            bool there = queue_find(icb, &n) >= 0;
            attempt(icb, 'U', icb->ifd, queue_start(icb), k_block);
            return !there;
        });
        if (back > 0) IXRDIX(icb, back);
        if (!gone) inuse(icb);
        return 0;
    }
    if (len * (n + 1) > k_entry_area || n + 1 > 127)
        nv::fatal("%-11.11s: %-19.19s --> %s.", icb->hdr.name, icb->hdr.title,
                  KOR(1, 236, "Lock queue vol"));
    std::memcpy(icb->blk.ent + n * len, icb->key, (size_t)len);
    icb->blk.count = (int8_t)(n + 1);
    IXWRIX(icb, icb->hdr.nkeys + 1);
    attempt(icb, 'U', icb->ifd, queue_start(icb), k_block);
    if (back > 0) IXRDIX(icb, back);
    return 1;
}

int release_key(ICB *icb) {
    if (icb->whole_lock) return 1;
    int32_t back = icb->cur_block;
    queue_lock(icb);
    int n, len = icb->plan[0].keylen;
    int at = queue_find(icb, &n);
    if (at >= 0) {
        if (at != n - 1)
            std::memcpy(icb->blk.ent + at * len, icb->blk.ent + (n - 1) * len, (size_t)len);
        std::memset(icb->blk.ent + (n - 1) * len, 0, (size_t)len);
        icb->blk.count = (int8_t)(n - 1);
        IXWRIX(icb, icb->hdr.nkeys + 1);
    }
    attempt(icb, 'U', icb->ifd, queue_start(icb), k_block);
    if (back > 0) IXRDIX(icb, back);
    return 1;
}

} // namespace

int IXLOCK(ICB *icb, int action) {
    check_icb(icb, "IXLOCK");
    switch (action) {
    case 1:
        if (!icb->temporary)
            while (!attempt(icb, 'S', icb->dfd, 0, 0)) {
            }
        while (!attempt(icb, 'E', icb->ifd, 0, k_block)) {
        }
        icb->whole_lock = 1;
        return 1;
    case 2:
        while (!attempt(icb, 'E', icb->ifd, 0, k_block)) {
        }
        return 1;
    case 3:
        if (icb->cur_rec < 0) return 0;
        return attempt(icb, 'S', icb->dfd, rec_start(icb), icb->hdr.reclen);
    case 4:
        return reserve_key(icb);
    case 11:
        icb->whole_lock = 0;
        if (!icb->temporary) attempt(icb, 'U', icb->dfd, 0, 0);
        attempt(icb, 'U', icb->ifd, 0, k_block);
        return 1;
    case 12:
        attempt(icb, 'U', icb->ifd, 0, k_block);
        return 1;
    case 13:
        if (icb->cur_rec >= 0) attempt(icb, 'U', icb->dfd, rec_start(icb), icb->hdr.reclen);
        return 1;
    case 14:
        return release_key(icb);
    default:
        return 0;
    }
}

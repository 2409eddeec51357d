// The index tree of one key: search, insert, split, delete.
//
// A B+ tree per key with these particulars: a parent entry carries the
// highest key of its child; the last entry of every right-edge block is the
// all-0xFF sentinel; the root of key k is block k for good and grows in
// height by splitting in place; empty blocks are left behind, never merged.
//
// State in the ICB: the block image (its key number is the current key, its
// level the current level), the entry position, and path[L], the parent of
// the block at level L on the way down (-1 at the root). A search starts from
// the block in hand and climbs only as far as needed, which makes a
// sequential walk cost about one block per step.
#include "store/ixint.h"

using namespace nv::store;

namespace {

inline int cmp_at(ICB *icb, int i, int len) {
    const KeyPlan &p = cur_plan(icb);
    return key_compare(p, icb->key, icb->blk.ent + i * p.esize, len);
}

// Does the block in hand hold the answer to this search?
bool holds_answer(ICB *icb, int op, int len) {
    int n = icb->blk.count;
    if (n <= 0) return false;
    int c1 = cmp_at(icb, 0, len);
    int c2 = cmp_at(icb, n - 1, len);
    if (op == '>') return c1 >= 0 && c2 <= -1;
    return c1 >= 1 && c2 <= 0;
}

// A walk asks for the entry after the one it delivered last, which is most
// often the entry at the position in hand. When the key lies at or above
// that entry and below the next one in the leaf in hand, the next one is the
// answer: in ordered entries the block holds the answer, and it is the same
// entry the search from the front would find. Two comparisons instead of a
// search.
bool next_in_hand(ICB *icb, int len) {
    int p = icb->pos;
    if (icb->blk.level != 1 || p < 0 || p + 1 >= icb->blk.count) return false;
    if (cmp_at(icb, p, len) < 0 || cmp_at(icb, p + 1, len) >= 0) return false;
    icb->pos = p + 1;
    return true;
}

// Reads the parent of the block in hand and checks that it lies higher up
// the same key. (In shared mode the remembered parent may be a root that has
// grown since; it is still a good place to search from.)
void read_parent(ICB *icb, int32_t parent) {
    int k = icb->blk.keynr, lv = icb->blk.level;
    IXRDIX(icb, parent);
    if (icb->blk.keynr != k || icb->blk.level <= lv) not_consistent(icb);
}

// Reads a child for the descent; a child is never a root, the header or the
// lock queue.
void read_child(ICB *icb, int32_t child) {
    int k = icb->blk.keynr, lv = icb->blk.level;
    if (child <= icb->hdr.nkeys + 1) not_consistent(icb);
    IXRDIX(icb, child);
    if (icb->cur_block != child) return; // beyond the end: the root came instead
    if (icb->blk.keynr != k || icb->blk.level != lv - 1) not_consistent(icb);
}

} // namespace

void IXLOCKEY(ICB *icb, int len) {
    check_icb(icb, "IXLOCKEY");
    // The first entry at or above the key. Entries are in ascending order,
    // so halving finds the same entry as a scan from the front.
    const KeyPlan &p = cur_plan(icb);
    int lo = 0, hi = icb->blk.count;
    while (lo < hi) {
        int mid = (lo + hi) / 2;
        if (key_compare(p, icb->key, icb->blk.ent + mid * p.esize, len) <= 0)
            hi = mid;
        else
            lo = mid + 1;
    }
    icb->pos = lo;
}

int32_t IXSTEP(ICB *icb, int op, int len) {
    IXLOCKEY(icb, len);
    int n = icb->blk.count;
    switch (op) {
    case '=':
        if (icb->pos >= n) return -1;
        if (icb->blk.level == 1 && cmp_at(icb, icb->pos, len) != 0) return -1;
        break;
    case '>':
        // The climb and the sentinel make a higher entry certain in a sound
        // file; the bound only keeps a damaged one from running off the block.
        while (icb->pos < n && cmp_at(icb, icb->pos, len) == 0)
            ++icb->pos;
        if (icb->pos >= n) return -1;
        break;
    case '<':
        if (icb->pos == 0) return -1;
        --icb->pos;
        break;
    default:
        return -1;
    }
    return entry_ptr(icb, icb->pos);
}

namespace {

// One search from the block in hand: climb until a block holds the answer,
// then down to the leaf.
int32_t search_once(ICB *icb, int op, int len) {
    if (op == '>' && next_in_hand(icb, len)) return entry_ptr(icb, icb->pos);
    while (!holds_answer(icb, op, len)) {
        int32_t parent = icb->path[icb->blk.level];
        if (parent < 0) break;
        read_parent(icb, parent);
    }
    int32_t r = IXSTEP(icb, op, len);
    while (icb->blk.level > 1 && r >= 0) {
        read_child(icb, r);
        r = IXSTEP(icb, op, len);
    }
    return r;
}

// A step of a walk must go past the key it starts from: the entry found by
// '>' lies above it, the one found by '<' below. In a sound tree that is so
// by the order of the entries; in a damaged one the walk would come back to
// where it was, for ever. So every walk ends, within as many steps as the
// file has entries.
bool moved_on(ICB *icb, int op, int len, int32_t r) {
    if (r < 0 || icb->blk.level != 1 || (op != '>' && op != '<')) return true;
    int c = cmp_at(icb, icb->pos, len);
    return op == '>' ? c < 0 : c > 0; // c: the key against the entry
}

} // namespace

int32_t IXSEARCH(ICB *icb, int op, int len) {
    check_icb(icb, "IXSEARCH");
    icb->eof_tries = 0;
    if (icb->mode != 1 && !icb->cached) {
        // Another process may have changed the block in hand. A block never
        // changes key, so a different key number means a damaged file and
        // the search starts again from the root.
        int k = icb->blk.keynr;
        IXRDIX(icb, icb->cur_block);
        if (icb->blk.keynr != k) IXRDIX(icb, k);
    }
    int32_t r = search_once(icb, op, len);
    if (moved_on(icb, op, len, r)) return r;
    // Without the whole file, a block may have been read while another
    // process wrote it: once more from the root before the file is judged.
    if (icb->mode != 1 && !icb->cached) {
        IXRDIX(icb, cur_key(icb));
        r = search_once(icb, op, len);
        if (moved_on(icb, op, len, r)) return r;
    }
    not_consistent(icb);
}

void IXINSKEY(ICB *icb) {
    check_icb(icb, "IXINSKEY");
    const KeyPlan &p = cur_plan(icb);
    int n = icb->blk.count, at = icb->pos;
    uint8_t *e = entry_at(icb, at);
    std::memmove(e + p.esize, e, (size_t)((n - at) * p.esize));
    std::memcpy(e, icb->key, (size_t)p.keylen);
    put_le32(e + p.keylen, icb->ins_ptr);
    icb->blk.count = (int8_t)(n + 1);
    if (n + 1 != p.limit)
        IXWRIX(icb, icb->cur_block);
    else
        IXSPLIT(icb);
}

// The left part (70 % of the limit) goes to a new block, the right part
// stays where it is, so the parent's separator for this block stays right
// and only the new block's separator goes up. A root splits in place: both
// halves move out and the root becomes their parent.
void IXSPLIT(ICB *icb) {
    const KeyPlan &p = cur_plan(icb);
    const int limit = p.limit, esize = p.esize, left = limit * 7 / 10, right = limit - left;
    const int lv = icb->blk.level;
    const bool root = icb->path[lv] == -1;
    if (root) {
        if (lv + 1 >= k_max_levels) not_consistent(icb);
        icb->path[lv] = icb->cur_block;
        icb->path[lv + 1] = -1;
    }
    IxBlock whole = icb->blk;
    std::memset(icb->blk.ent + left * esize, 0, (size_t)(k_entry_area - left * esize));
    icb->blk.count = (int8_t)left;
    int32_t nb = icb->hdr.nextblk++;
    icb->ins_ptr = nb;
    IXWRIX(icb, nb);
    std::memcpy(icb->key, icb->blk.ent + (left - 1) * esize, (size_t)p.keylen);

    std::memset(icb->blk.ent, 0, k_entry_area);
    std::memcpy(icb->blk.ent, whole.ent + left * esize, (size_t)(right * esize));
    icb->blk.count = (int8_t)right;
    if (root) {
        int32_t rb = icb->hdr.nextblk;
        IXWRIX(icb, rb);
        icb->blk.level = (int8_t)(lv + 1);
        icb->blk.count = 2;
        std::memset(icb->blk.ent, 0, k_entry_area);
        std::memcpy(icb->blk.ent, icb->key, (size_t)p.keylen);
        put_le32(icb->blk.ent + p.keylen, nb);
        std::memset(icb->blk.ent + esize, 0xFF, (size_t)p.keylen);
        put_le32(icb->blk.ent + esize + p.keylen, rb);
        icb->cur_block = icb->path[lv];
        IXWRIX(icb, icb->cur_block);
        ++icb->hdr.nextblk;
        return;
    }
    // The parent learns of the new block before the right part is written
    // back: until then this block still holds every entry, so a reader that
    // takes no lock finds each key at every moment of the split, either
    // through the old separator or through the new one.
    const IxBlock right_part = icb->blk;
    const int32_t here = icb->cur_block;
    icb->cur_block = icb->path[lv];
    IXRDIX(icb, icb->cur_block);
    IXLOCKEY(icb, p.keylen);
    IXINSKEY(icb);
    const IxBlock top = icb->blk;
    const int32_t top_blk = icb->cur_block, top_img = icb->img_blk;
    icb->blk = right_part;
    IXWRIX(icb, here);
    icb->blk = top;
    icb->cur_block = top_blk;
    icb->img_blk = top_img;
}

namespace {

// A change that moves a block's highest key writes the parents first and the
// blocks below them after, lowest last. Until the block below is written it
// still holds the old entry, so a reader that takes no lock never follows a
// separator into a block that lacks the keys the separator promises: it sees
// the entry either still there or already gone, never a walk that stops early.
struct Deferred {
    int n = 0;
    int32_t blk[k_max_levels];
    IxBlock img[k_max_levels];

    void keep(ICB *icb) {
        blk[n] = icb->cur_block;
        img[n] = icb->blk;
        ++n;
    }
    void write(ICB *icb) {
        if (n == 0) return;
        const IxBlock top = icb->blk;
        const int32_t top_blk = icb->cur_block, top_img = icb->img_blk;
        for (int i = n - 1; i >= 0; --i) {
            icb->blk = img[i];
            IXWRIX(icb, blk[i]);
        }
        icb->blk = top;
        icb->cur_block = top_blk;
        icb->img_blk = top_img;
        n = 0;
    }
};

void replace_key(ICB *icb, const uint8_t *newkey, Deferred &later) {
    for (int up = 0; up < k_max_levels; ++up) {
        IXRDIX(icb, icb->cur_block);
        const KeyPlan &p = cur_plan(icb);
        IXLOCKEY(icb, p.keylen);
        int at = icb->pos;
        if (at >= icb->blk.count) return;
        std::memcpy(entry_at(icb, at), newkey, (size_t)p.keylen);
        int32_t parent = icb->path[icb->blk.level];
        if (at != icb->blk.count - 1 || parent < 0) {
            IXWRIX(icb, icb->cur_block);
            return;
        }
        later.keep(icb);
        icb->cur_block = parent;
    }
}

} // namespace

void IXDELKEY(ICB *icb) {
    check_icb(icb, "IXDELKEY");
    Deferred later;
    // Each round goes one level up; no tree is higher than the path.
    for (int up = 0; up < k_max_levels; ++up) {
        IXRDIX(icb, icb->cur_block);
        const KeyPlan &p = cur_plan(icb);
        IXLOCKEY(icb, p.keylen);
        int n = icb->blk.count, at = icb->pos;
        if (at >= n) break; // nothing at or above the key: nothing to delete
        uint8_t *e = entry_at(icb, at);
        std::memmove(e, e + p.esize, (size_t)((n - at - 1) * p.esize));
        std::memset(entry_at(icb, n - 1), 0, (size_t)p.esize);
        icb->blk.count = (int8_t)(n - 1);
        // The block's highest key has gone: its separator above changes, or
        // goes altogether when the block is empty now.
        int32_t parent = icb->path[icb->blk.level];
        if (at != n - 1 || parent < 0) {
            IXWRIX(icb, icb->cur_block);
            break;
        }
        later.keep(icb);
        icb->cur_block = parent;
        if (n - 1 > 0) {
            uint8_t last[k_max_keylen];
            std::memcpy(last, entry_at(icb, n - 2), (size_t)p.keylen);
            replace_key(icb, last, later);
            break;
        }
    }
    later.write(icb);
}

void IXREPKEY(ICB *icb, const uint8_t *newkey) {
    Deferred later;
    replace_key(icb, newkey, later);
    later.write(icb);
}

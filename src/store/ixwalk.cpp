// Walking a key: by record (IXFIRSTR, IXNEXTRP, IXPREVRP), by key value alone
// (IXFIRSTK, IXNEXTK, IXPREVK), exact finds, the one-value test IXUNIQK, the
// list scroller IXSKIP and the bulk load of a work index.
//
// nfields limits a walk to the records that agree with rec on the first
// nfields key fields; 0 means no limit. A walk that delivers a record or a
// key sets the current record; one that finds nothing sets it to -1.
#include "store/ixint.h"

#include <vector>

using namespace nv::store;

namespace {

// Does the entry found agree with the key work area on the first nfields?
bool within(ICB *icb, int nfields) {
    if (nfields <= 0) return true;
    int len = IXKEYLEN(icb, nfields);
    return IXCOMP(icb, icb->key, entry_at(icb, icb->pos), len) == 0;
}

int none(ICB *icb) {
    icb->cur_rec = -1;
    return 0;
}

// Does the record carry the key of the entry that led to it? The key work
// area is left as it was.
bool carries_key(ICB *icb, const void *rec, const uint8_t *entry) {
    const int len = whole(icb);
    uint8_t keep[k_max_keylen];
    std::memcpy(keep, icb->key, (size_t)len);
    IXBLDKEY(icb, rec, len);
    // In the order of the key: an update that leaves the key equal in that
    // order (another case of a letter) leaves the entry as it was.
    bool same = key_compare(cur_plan(icb), icb->key, entry, len) == 0;
    std::memcpy(icb->key, keep, (size_t)len);
    return same;
}

// Delivers the record of the entry found. An entry whose slot is free
// belongs to a damaged file, or to a record deleted since the search; the
// walk steps over it (the key work area takes the entry's key, so the next
// search goes past it). So does an entry whose record has another key now.
// The next step goes on from the key of the record delivered, so a record
// that does not carry the key of its entry would bring the walk back to
// where it was: where the entry still leads to it on a second look, the
// file is damaged.
bool deliver(ICB *icb, void *rec, int32_t r) {
    const int len = whole(icb);
    uint8_t entry[k_max_keylen];
    std::memcpy(entry, entry_at(icb, icb->pos), (size_t)len);
    icb->cur_rec = r;
    IXRDDAT(icb, rec);
    if (slot_is_free((const uint8_t *)rec, icb->hdr.reclen)) {
        std::memcpy(icb->key, entry, (size_t)len);
        return false;
    }
    if (carries_key(icb, rec, entry)) return true;
    if (icb->mode == 1) not_consistent(icb);
    std::memcpy(icb->key, entry, (size_t)len);
    if (IXSEARCH(icb, '=', len) == r) {
        icb->cur_rec = r;
        IXRDDAT(icb, rec);
        if (carries_key(icb, rec, entry)) return true;
        if (!slot_is_free((const uint8_t *)rec, icb->hdr.reclen)) not_consistent(icb);
    }
    std::memcpy(icb->key, entry, (size_t)len);
    return false;
}

// The key variants: the entry found must agree on nfields - 1 fields.
int key_result(ICB *icb, void *rec, int32_t r, int nfields) {
    if (r < 0) return none(icb);
    if (nfields > 1 && !within(icb, nfields - 1)) return none(icb);
    IXKEYTOREC(icb, rec);
    icb->cur_rec = r;
    return 1;
}

} // namespace

int IXFIRSTR(ICB *icb, void *rec, int nfields) {
    check_icb(icb, "IXFIRSTR");
    icb->cur_rec = 0;
    IXBLDKEY(icb, rec, whole(icb));
    int32_t r = IXSEARCH(icb, '=', whole(icb));
    for (;;) {
        if (r < 0) r = IXSEARCH(icb, '>', whole(icb));
        if (r < 0 || !within(icb, nfields)) return none(icb);
        if (deliver(icb, rec, r)) return 1;
        r = -1;
    }
}

int IXFIRST(ICB *icb, void *rec) {
    return IXFIRSTR(icb, rec, 0);
}

int IXNEXTRP(ICB *icb, void *rec, int nfields) {
    check_icb(icb, "IXNEXTRP");
    IXBLDKEY(icb, rec, whole(icb));
    for (;;) {
        int32_t r = IXSEARCH(icb, '>', whole(icb));
        if (r < 0 || !within(icb, nfields)) return none(icb);
        if (deliver(icb, rec, r)) return 1;
    }
}

int IXNEXTR(ICB *icb, void *rec) {
    return IXNEXTRP(icb, rec, 0);
}

int IXPREVRP(ICB *icb, void *rec, int nfields) {
    check_icb(icb, "IXPREVRP");
    IXBLDKEY(icb, rec, whole(icb));
    IXSEARCH(icb, '=', whole(icb));
    for (;;) {
        int32_t r = IXSEARCH(icb, '<', whole(icb));
        if (r < 0 || !within(icb, nfields)) return none(icb);
        if (deliver(icb, rec, r)) return 1;
    }
}

int IXPREVR(ICB *icb, void *rec) {
    return IXPREVRP(icb, rec, 0);
}

int IXFIRSTK(ICB *icb, void *rec, int nfields) {
    check_icb(icb, "IXFIRSTK");
    int len = IXKEYLEN(icb, nfields);
    IXBLDKEY(icb, rec, len);
    int32_t r = IXSEARCH(icb, '=', len);
    if (r < 0) r = IXSEARCH(icb, '>', len);
    return key_result(icb, rec, r, nfields);
}

int IXNEXTK(ICB *icb, void *rec, int nfields) {
    check_icb(icb, "IXNEXTK");
    int len = IXKEYLEN(icb, nfields);
    IXBLDKEY(icb, rec, len);
    return key_result(icb, rec, IXSEARCH(icb, '>', len), nfields);
}

int IXPREVK(ICB *icb, void *rec, int nfields) {
    check_icb(icb, "IXPREVK");
    int len = IXKEYLEN(icb, nfields);
    IXBLDKEY(icb, rec, len);
    IXSEARCH(icb, '=', len); // '<' needs the position of an exact search
    return key_result(icb, rec, IXSEARCH(icb, '<', len), nfields);
}

int IXFINDK(ICB *icb, void *rec, int nfields) {
    check_icb(icb, "IXFINDK");
    int len = IXKEYLEN(icb, nfields);
    IXBLDKEY(icb, rec, len);
    int32_t r = IXSEARCH(icb, '=', len);
    icb->cur_rec = r;
    return r >= 0;
}

int IXFOUND(ICB *icb, void *rec) {
    check_icb(icb, "IXFOUND");
    IXBLDKEY(icb, rec, whole(icb));
    int32_t r = IXSEARCH(icb, '=', whole(icb));
    icb->cur_rec = r;
    return r >= 0;
}

int IXUNIQK(ICB *icb, void *rec, int field) {
    check_icb(icb, "IXUNIQK");
    const KeyPlan &p = cur_plan(icb);
    if (field < 1 || field > p.nf) return none(icb);
    int prefix = IXKEYLEN(icb, field - 1);
    if (field == 1)
        std::memset(icb->key, 0, sizeof icb->key);
    else
        IXBLDKEY(icb, rec, prefix);
    int len = IXKEYLEN(icb, field);
    if (p.dups && field == p.nf) len = p.keylen;
    int32_t r = IXSEARCH(icb, '=', len);
    if (r < 0) r = IXSEARCH(icb, '>', len);
    if (r < 0 || (prefix > 0 && !within(icb, field - 1))) return none(icb);
    IXKEYTOREC(icb, rec);
    icb->cur_rec = r; // the suffix of a duplicate key is this entry's
    IXBLDKEY(icb, rec, len);
    int32_t r2 = IXSEARCH(icb, '>', len);
    if (r2 >= 0 && (prefix == 0 || within(icb, field - 1))) return none(icb);
    icb->cur_rec = IXSEARCH(icb, '=', len);
    return 1;
}

int IXSKIP(ICB *icb, void *rec, int nfields, int count, int32_t *recnr) {
    check_icb(icb, "IXSKIP");
    int reclen = icb->hdr.reclen;
    std::vector<uint8_t> keep((const uint8_t *)rec, (const uint8_t *)rec + reclen);
    icb->cur_rec = *recnr;
    IXRDDAT(icb, rec);
    if (slot_is_free((const uint8_t *)rec, reclen)) {
        // The record went away under the cursor: go on from its key.
        std::memcpy(rec, keep.data(), (size_t)reclen);
        if (count == 0) count = 1;
    }
    for (int i = 0; i < (count < 0 ? -count : count); ++i) {
        if (!(count < 0 ? IXPREVK(icb, rec, nfields) : IXNEXTK(icb, rec, nfields))) break;
        *recnr = icb->cur_rec;
    }
    if (icb->cur_rec < 0) return 0;
    IXRDDAT(icb, rec);
    return !slot_is_free((const uint8_t *)rec, reclen);
}

// Bulk load of an index whose entries point into another file: 'O' starts
// (with the block cache when it can be had), 'W' adds rec under the record
// number the caller put in cur_rec, 'C' ends. No data is written.
namespace {

// With the cache: one key, the load mostly in order. A key that falls within
// the leaf in hand goes in there; any other descends from the root of key 1.
void bulk_add_cached(ICB *icb, const void *rec) {
    int len = whole(icb);
    IXBLDKEY(icb, rec, len);
    int n = icb->blk.count;
    bool here = icb->blk.level == 1 && n > 0 && IXCOMP(icb, icb->key, entry_at(icb, 0), len) >= 0 &&
                IXCOMP(icb, icb->key, entry_at(icb, n - 1), len) <= 0;
    if (here) {
        IXLOCKEY(icb, len);
    } else {
        IXRDIX(icb, 1);
        for (;;) {
            IXLOCKEY(icb, len);
            if (icb->blk.level == 1) break;
            if (icb->pos >= icb->blk.count) not_consistent(icb);
            int32_t child = entry_ptr(icb, icb->pos);
            int lv = icb->blk.level;
            if (child <= icb->hdr.nkeys + 1) not_consistent(icb);
            IXRDIX(icb, child);
            if (icb->blk.level != lv - 1 || icb->blk.keynr != 1) not_consistent(icb);
        }
    }
    icb->ins_ptr = icb->cur_rec;
    IXINSKEY(icb);
}

} // namespace

int IXBULK(ICB *icb, int op, const void *rec) {
    check_icb(icb, "IXBULK");
    switch (op) {
    case 'O':
        if (IOCACHE('I', icb, 0)) {
            IXRDIX(icb, 1);
            IOCACHE('W', icb, 1);
        }
        return 1;
    case 'W':
        if (!rec || icb->cur_rec < 0) return 0;
        if (icb->cached)
            bulk_add_cached(icb, rec);
        else
            insert_keys(icb, rec);
        if (icb->cur_rec + 1 > icb->hdr.reccount) icb->hdr.reccount = icb->cur_rec + 1;
        return 1;
    case 'C':
        if (icb->cached) {
            icb->hdr.busy = 0;
            IOCACHE('F', icb, 0);
            IXWRIX(icb, 0);
        }
        return 1;
    default:
        return 0;
    }
}

// Inside the record store: helpers shared by its modules. Not for callers.
//
// The current key is the key number of the block image. Every block that
// IXRDIX accepts has a key number within the file's key count, so the plan
// of the current key can be used without a test.
#pragma once

#include "store/ix.h"

#include <cstring>

namespace nv::store {

inline int cur_key(const ICB *icb) {
    return icb->blk.keynr;
}
inline const KeyPlan &cur_plan(const ICB *icb) {
    return icb->plan[icb->blk.keynr - 1];
}
inline uint8_t *entry_at(ICB *icb, int i) {
    return icb->blk.ent + i * cur_plan(icb).esize;
}
inline int32_t entry_ptr(ICB *icb, int i) {
    return get_le32(entry_at(icb, i) + cur_plan(icb).keylen);
}

// IXCOMP without the checks: the order of two keys of the plan over len
// bytes, by sign. Integer-only keys compare as bytes, here, in line.
int mixed_compare(const KeyPlan &p, const uint8_t *a, const uint8_t *b, int len);
inline int key_compare(const KeyPlan &p, const uint8_t *a, const uint8_t *b, int len) {
    if (len > p.keylen) len = p.keylen;
    if (!p.all_int) return mixed_compare(p, a, b, len);
    for (int i = 0; i < len; ++i)
        if (a[i] != b[i]) return a[i] - b[i];
    return 0;
}

// Compiles the descriptors of the header into icb->plan.
void make_plans(ICB *icb);

// The file is damaged: "%-11.11s: %-19.19s --> Niet consistent" and the end.
[[noreturn]] void not_consistent(ICB *icb);
// "<op> : ICB == NULL" and the end.
[[noreturn]] void icb_null(const char *op);
inline void check_icb(const ICB *icb, const char *op) {
    if (!icb) icb_null(op);
}
// A failed write or read of a file of the store: the end, with errno.
// The message names the cause in words where it is one the user can act on
// (disk full, no write permission, file too large, a disk fault).
[[noreturn]] void io_fatal(ICB *icb, const char *path, int err);
const char *io_cause(int err); // "" for the others

// Block images: cached (rebuild, bulk) or through the exclusive cache or
// straight to disk.
bool block_read(ICB *icb, int32_t block, void *out);
void block_write(ICB *icb, int32_t block, const void *in);
// Creates, flushes, empties or drops the caches of an exclusive file.
void xcache_open(ICB *icb);
void xcache_flush(ICB *icb);
void xcache_clear(ICB *icb);
void dcache_clear(ICB *icb); // after the data file was emptied
void xcache_drop(ICB *icb);

// Data slots through the data cache of an exclusive file, or straight to
// disk. A read of bytes that aren't there gives false.
bool data_read(ICB *icb, off_t start, void *out, int len);
bool data_write(ICB *icb, off_t start, const void *in, int len);

// The write-back cache of rebuild and bulk load.
int IOCACHE(int op, ICB *icb, int32_t block);

// Length of the whole key of the current key.
inline int whole(ICB *icb) {
    return cur_plan(icb).keylen;
}

// Enters the current record (icb->cur_rec) under every key of the file.
void insert_keys(ICB *icb, const void *rec);

// Exclusive mode: sets the busy mark on disk before the first byte of a
// change goes out (see ixblock.cpp). A no-op in the other modes.
void show_busy(ICB *icb);
// Has an exclusive ICB of this process set the busy mark of the file?
bool busy_shown_here(const ICB *icb);

// The flush hook: stands after every write of a block, a slot or a header
// that reaches the file.
void written(ICB *icb, int fd);

// Shows that a file has the previous format version (the way out follows
// from the caller), with the file's name and both versions.
void flash_old_version(const char *name, int version);

// The process-wide commit setting: COMMIT=YES 1, COMMIT=NO 0, default 0.
int commit_setting();

} // namespace nv::store

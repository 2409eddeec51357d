// The record store: the public interface for programs, tools and the rest of
// the store. One ICB per open file pair (NAME.TXT + NAME.INX, see ixfile.h);
// the ICB is the whole state of the file, so any number can be open at once.
//
// Modes: 0 read only (no writes through IXW, no locks), 1 exclusive (the
// whole file is locked at open; the header lives in the ICB and reaches the
// disk at IXCLOSE; searches trust the block in hand), 2 shared (each change
// runs under the header lock and the busy mark). Adding k_retry_open to the
// mode asks the user whether to try again when the open is refused.
//
// Results are 1/0 unless told otherwise; internal failures end the program
// through nv::fatal. Application code may read hdr.reccount, hdr.title and
// cur_rec directly; every other field belongs to the store.
#pragma once

#include "store/ixfile.h"

#include <cstdint>

namespace nv::store {
struct SharedCache; // see ixblock.h
class FileMap;      // see ixmap.h

// A key descriptor in the form the key code works with; made from the header
// at open and whenever IXUPDFCB changes a descriptor.
struct KeyPlan {
    int nf;                  // fields
    bool dups;               // 'J': record number suffix
    bool all_int;            // plain byte order throughout
    int keylen;              // whole key length
    int flen;                // bytes of the fields (keylen - 4 for 'J')
    int esize;               // entry size: keylen + 4
    int limit;               // entry limit of a block
    char type[k_max_fields]; // 'I', 'C'
    int roff[k_max_fields];  // offset of the field in the record
    int width[k_max_fields]; // bytes
    int koff[k_max_fields];  // offset of the field in the key
};

constexpr int k_retry_open = 0x1000;
} // namespace nv::store

struct ICB {
    nv::store::IxHeader hdr;               // the file's header; in mode 1 the truth until close
    int32_t ifd;                           // NAME.INX
    int32_t dfd;                           // NAME.TXT
    int32_t mode;                          // 0, 1, 2
    uint8_t whole_lock;                    // all lock actions are no-ops
    uint8_t temporary;                     // dotted name: no lock on the data file
    int32_t cur_block;                     // block in the image
    int32_t cur_rec;                       // record of the last delivering operation, -1 none
    int32_t ins_ptr;                       // pointer of the entry being inserted
    uint8_t key[nv::store::k_max_keylen];  // key work area; separator during a split
    nv::store::IxBlock blk;                // block image; its key number is the current key
    int32_t pos;                           // entry position in the image (index, may be == count)
    int32_t path[nv::store::k_max_levels]; // path[L]: parent of the block at level L
    int32_t commit;                        // copy of the process-wide commit setting
    uint8_t cached;                        // write-back block cache of rebuild and bulk load is on
    char fname[81];                        // the name as passed to open

    // Beyond this point: in memory only.
    nv::store::KeyPlan plan[nv::store::k_max_keys]; // per key, from the descriptors
    nv::store::SharedCache *xcache;                 // index blocks cached for an exclusive open
    nv::store::SharedCache *dcache;                 // data pages cached for an exclusive open
    nv::store::FileMap *imap;                       // fast reads of the index, nullptr for none
    nv::store::FileMap *dmap;                       // fast reads of the data file
    dev_t idev, ddev;                               // identity of the index and the data file
    ino_t iino, dino;
    int32_t img_blk;    // block whose disk bytes the image holds, -1 none
    char ipath[256];    // NAME.INX as opened
    char dpath[256];    // NAME.TXT as opened
    int32_t eof_tries;  // blocks found beyond the end in the search under way
    uint8_t busy_shown; // exclusive: the busy mark is on disk (see ixblock.cpp)
    uint8_t changing;   // a record operation is changing the file
};

// Files.
ICB *IXOPEN(const char *name, int mode);
ICB *IXCREATE(const char *name, int mode);
void IXINIT(ICB *icb);
void IXINITIX(ICB *icb);
void IXCLOSE(ICB *icb);
void IXSWITCH(ICB *icb, int key);

// Records. rec is a buffer of at least the record length.
int IXREAD(ICB *icb, void *rec);
int IXREADL(ICB *icb, void *rec);
void IXUNLOCK(ICB *icb, void *rec);
int IXGET(ICB *icb, void *rec, int32_t n); // 1 live, 0 free, -1 out of range
int IXW(ICB *icb, void *rec, int release);
int IXWRITE(ICB *icb, void *rec);
int IXWRITEL(ICB *icb, void *rec);
int IXUPDATE(ICB *icb, void *rec);
int IXINSERT(ICB *icb, void *rec);
int IXDELETE(ICB *icb, void *rec); // 0 as the callers expect
int IXPUTREC(ICB *icb, void *rec);
off_t IXSEEKDAT(ICB *icb); // byte offset of the current record's slot
void IXRDDAT(ICB *icb, void *rec);
void IXWRDAT(ICB *icb, const void *rec);

// Key layouts.
void IXUPDFCB(ICB *icb, int keynr, const char *text);
void UPDFCB_INX(const char *title, const void *rec, int reclen);
void UPDFCB_KEY(int keynr, const char *name, int dups);
void UPDFCB_FLD(char type, const void *field, int width);
void UPDFCB_END(ICB *icb);

// Keys of the current key.
void IXBLDKEY(ICB *icb, const void *rec, int len);
int IXKEYLEN(ICB *icb, int nfields);
void IXKEYTOREC(ICB *icb, void *rec);
int IXCOMP(ICB *icb, const uint8_t *a, const uint8_t *b, int len);

// The tree of the current key.
int32_t IXSEARCH(ICB *icb, int op, int len);
int32_t IXSTEP(ICB *icb, int op, int len);
void IXLOCKEY(ICB *icb, int len);
void IXINSKEY(ICB *icb);
void IXSPLIT(ICB *icb);
void IXDELKEY(ICB *icb);
void IXREPKEY(ICB *icb, const uint8_t *newkey);

// Walks.
int IXFIRSTR(ICB *icb, void *rec, int nfields);
int IXFIRST(ICB *icb, void *rec);
int IXNEXTRP(ICB *icb, void *rec, int nfields);
int IXNEXTR(ICB *icb, void *rec);
int IXPREVRP(ICB *icb, void *rec, int nfields);
int IXPREVR(ICB *icb, void *rec);
int IXFIRSTK(ICB *icb, void *rec, int nfields);
int IXNEXTK(ICB *icb, void *rec, int nfields);
int IXPREVK(ICB *icb, void *rec, int nfields);
int IXFINDK(ICB *icb, void *rec, int nfields);
int IXFOUND(ICB *icb, void *rec);
int IXUNIQK(ICB *icb, void *rec, int field);
int IXSKIP(ICB *icb, void *rec, int nfields, int count, int32_t *recnr);
int IXBULK(ICB *icb, int op, const void *rec = nullptr); // rec for 'W'

// Blocks and locks.
void IXRDIX(ICB *icb, int32_t block);
void IXWRIX(ICB *icb, int32_t block);
int IXLOCK(ICB *icb, int action);

// "%s: Onjuist keynr (file=%.11s, keynr=%d/%d)" and the end of the program.
[[noreturn]] void key_fatal(const char *tag, ICB *icb, int keynr);

namespace nv::store {
// What an exclusive (mode 1) file may keep in memory: index blocks of 512
// bytes (default 16384, 8 MB) and data pages of 4096 bytes (default 1024,
// 4 MB); 0 switches that cache off. Takes effect at the next open.
void set_exclusive_cache_blocks(int blocks);
void set_exclusive_data_pages(int pages);
int exclusive_cache_blocks();
int exclusive_data_pages();
} // namespace nv::store

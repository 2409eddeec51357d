// Size tables: the sizes of a size system, each with a number that never
// changes (1 to 95) and a position in the order of the system (1 to 95,
// shifting when a size is added or removed). A handle holds the relation
// from both sides, one record by number and one by position; the size file
// holds one of them per system and the other is derived at open:
//
//   DTMAAT (file 32, 404 bytes, key system + subsystem)
//     off  size
//       0     1  system            1    1  subsystem
//       2    12  bit n (byte n / 8, value 1 << n % 8): number n has an
//                extension record in DTMTOM
//    14+4n    4  entry n, n = 1..95: size code (3 bytes), link (1 byte)
//     398     1  kept: 0 means the record is deleted at the write-back
//     399     3  unused
//     402     2  stamp of the last write-back (system file record 8)
//   The record of the program's own brand's system is the by-number form
//   (entry n = size number n, link = its position); every other system's
//   record is the by-position form (entry p = size at position p, link =
//   its number).
//
//   DTMTOM (file 35, 10 bytes, key system + subsystem + number): the
//   extension values of one size: u32 at 3, u16 at 7, u8 at 9.
//
// The program registers its open size files with iomaat_files; at most
// three handles may be open at once.
#pragma once

#include <cstddef>
#include <cstdint>

struct ICB;

#pragma pack(push, 1)
struct maat_code {
    char code[3];
    uint8_t link; // position (by-number form) or number (by-position form); 0 empty
};
struct maat_rec {
    uint8_t system;
    uint8_t subsystem;
    uint8_t bits[12];
    maat_code e[96]; // e[0] unused
    uint8_t kept;
    uint8_t unused[3];
    uint16_t stamp;
};
struct mtom_rec {
    uint8_t system, subsystem, number;
    uint32_t ext_l;
    uint16_t ext_s;
    uint8_t ext_c;
};
#pragma pack(pop)
static_assert(sizeof(maat_rec) == 404 && offsetof(maat_rec, e) == 14);
static_assert(offsetof(maat_rec, kept) == 398 && offsetof(maat_rec, stamp) == 402);
static_assert(sizeof(mtom_rec) == 10 && offsetof(mtom_rec, ext_s) == 7);

// One size, to and from mtread and the changes.
struct maat_entry {
    uint8_t system, subsystem;
    uint8_t number;   // 1..95, stays
    uint8_t position; // 1..95 in the order of the system
    uint8_t rank;     // among the sizes marked in the handle's mask
    char code[3];
    uint32_t ext_l; // extension values
    uint16_t ext_s;
    uint8_t ext_c;
};

struct iomaat {
    uint8_t system, subsystem; // key of the record asked for
    uint8_t writable;          // opened with IOMAAT_LOCK
    uint8_t has_ext;           // sizes carry extension records in DTMTOM
    uint8_t mask[12];          // the sizes (bit per number) a walk by rank visits
    maat_rec *bynr;            // entry n: size number n, link its position
    maat_rec *bypos;           // entry p: size at position p, link its number
    uint8_t dirty;             // a change is pending
    uint8_t own;               // the file holds the by-number form
    uint8_t stored;            // the record was in the file at open
};

constexpr int IOMAAT_LOCK = 2; // read with lock; changes allowed
constexpr int IOMAAT_EXT = 4;  // the system carries extension records (for a new one)

// Reads size system (system, subsystem); both must be non-zero, and the size
// file registered (else the end of the program).
iomaat *iomaat_open(uint8_t system, uint8_t subsystem, int flags);
// Writes back when changed (or deletes a record no longer kept), unlocks, frees.
void iomaat_close(iomaat *h);
void iomaat_mask(iomaat *h, const uint8_t mask[12]);
// action 'R' read, 'F' first, 'N' next, 'P' previous; keynr 1 by number, 2 by
// position, 3 by size code, 4 by rank among the marked sizes. 1 and the entry
// filled, or 0 and the entry as it came.
int mtread(iomaat *h, int action, maat_entry *e, int keynr);
// Changes; all need a writable handle. 1 done, 0 refused.
int iomaat_set(iomaat *h, maat_entry *e);    // new code (and extension) of number e->number
int iomaat_add(iomaat *h, maat_entry *e);    // a new size at e->position; number 0 on the
                                             // own brand's system: the lowest free one
int iomaat_remove(iomaat *h, maat_entry *e); // the size of e->number (or e->position)
int iomaat_remove_system(iomaat *h);         // every size; the record goes at the close

namespace nv::store {

// The open size file and extension file (either may be nullptr).
void iomaat_files(ICB *maat, ICB *mtom);
// The system of the program's own brand: its record is the by-number form.
void iomaat_own_brand(int system);

// A handle beyond the three the table holds, or a close of one it doesn't
// hold: the terminal layer shows a window and waits for ENTER; the default
// writes both lines to stderr. The program goes on either way.
using MaatErrorHook = void (*)(const char *what, const char *support);
void set_iomaat_error_hook(MaatErrorHook h);
// The stamp for a write-back (a value of system file record 8), or -1 when
// there is none: the stamp bytes are then left as they are. Default: -1.
using MaatStampHook = int (*)();
void set_iomaat_stamp_hook(MaatStampHook h);

} // namespace nv::store

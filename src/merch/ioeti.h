// The label store DTETI.TXT: every physical piece of stock has a numbered
// label, and the number is the label's address in this file, so a scan at
// the till reaches it with one seek. The file has no header and does not use
// the record store; it is an array of blocks of 376 bytes, block n at byte
// n * 376. On disk: never renumber, never move a field.
//
//   block header (16 bytes)
//     0  u32  art_nr         series key of every label in the block
//     4  u16  kleur
//     6  u16  volgnr
//     8  u16  blok_kenmerk   one byte value, widened; carried along opaquely
//    10  2    reserved, zero
//    12  i32  volgend_blok   next block of the series' chain, -1 at its end;
//                            in a free block the next free block
//   16   10 slots of nine 32-bit words (36 bytes), slot 0..9
//
//   label number = block * 10 + slot + 1 (labels of block 0 are 1..10);
//   0 means no label.
//
//   slot word  content
//     0   inkoopprijs * 10 + inkoopcode
//     1   adviesprijs * 10 + actiecode                        (signed)
//     2   verkoopprijs * 10 + status; status 0 = free slot    (signed)
//     3   p_vlag * 1000000000 + verkoper * 1000000 + klant_nr
//     4   klant_volgend
//     5   low 16: maat * 100 + afprijs_nr; byte 2: filiaal; byte 3: locatie_code
//     6   low 16: lev_nr; high 16: ord_datum
//     7   low 16: ontvangen; high 16: status 1 lev_vanaf, 2 zero, 3/4 verkocht_op
//     8   btw_tarief * 10000000 + order_nr
//
//   locatie_code: status 2 in transit: destination branch + 1 (0 while the
//   transit option, the first word of system record 20, is off); status 1
//   with an order location: that branch + 1; else 0.
//
// VAT of unsold labels (status 1 and 2) is never taken from word 8: it
// follows the article's VAT code (DTART) through the company's VAT table,
// on reading and on writing. Sold and corrected labels keep the rate of the
// moment of sale.
//
// The DTSER record of a series holds the head of its chain (ser_eti_kop).
// System record 4 holds the allocation state: head of the free chain, the
// first block never used (the file grows there) and the number of free
// blocks. Allocation and release run under the lock of that record; changes
// to the labels of a series run under the caller's lock on the series'
// DTSER record. Readers take no lock.
//
// Module state: one open file per process and a cursor (current block and
// slot, the block's buffer) that R, F and N set and N, W with 0, D and I work
// from. Nested scans of one chain are not possible: a caller that interleaves
// two scans saves and re-reads.
#pragma once

#include <cstddef>
#include <cstdint>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "DTETI.TXT is a little-endian memory image");

struct ICB;
struct ser_rec;

#pragma pack(push, 1)
struct eti_kop {
    uint32_t art_nr;
    uint16_t kleur;
    uint16_t volgnr;
    uint16_t blok_kenmerk;
    uint8_t res10[2];
    int32_t volgend_blok;
};
struct eti_blok {
    eti_kop kop;
    uint32_t woord[10][9];
};

// System record 4: the allocation state of DTETI.TXT.
struct eti_vrij_rec {
    int32_t eti_vrij_kop;    // head of the free chain; == eti_nieuw when it is empty
    int32_t eti_nieuw;       // first block never used
    int32_t eti_vrij_aantal; // free blocks, never made negative
    uint8_t res12[52];
};
#pragma pack(pop)
static_assert(sizeof(eti_kop) == 16 && offsetof(eti_kop, blok_kenmerk) == 8);
static_assert(offsetof(eti_kop, volgend_blok) == 12);
static_assert(sizeof(eti_blok) == 376 && offsetof(eti_blok, woord) == 16);
static_assert(sizeof(eti_vrij_rec) == 64 && offsetof(eti_vrij_rec, eti_vrij_aantal) == 8);

constexpr int ETI_BLOKLEN = 376;

// Label statuses.
enum : uint8_t {
    ETI_VRIJ = 0,
    ETI_NOTA = 1,
    ETI_VOORRAAD = 2,
    ETI_VERKOPEN = 3,
    ETI_CORRECTIES = 4
};

// The label as every caller sees it (unpacked from a slot).
struct etiket_rec {
    uint32_t art_nr; // series key, from the block header
    uint16_t kleur;
    uint16_t volgnr;
    uint8_t status;       // ETI_*
    uint8_t blok_kenmerk; // copied from and to the block header
    uint8_t maat;         // size index 0..99
    uint8_t filiaal;      // branch that holds the label
    uint16_t lev_nr;      // supplier
    uint16_t ord_datum;   // order date
    uint16_t lev_vanaf;   // status 1: first day of the delivery term
    uint16_t ontvangen;   // received; status 1: last day of the delivery term
    uint16_t verkocht_op; // status 3 and 4: sale or correction date
    int16_t btw_tarief;   // tenths of a percent
    uint32_t inkoopprijs; // cents
    int32_t adviesprijs;
    int32_t verkoopprijs; // status 3: paid; status 2: marked-down price or 0
    int8_t p_vlag;        // shown as "P" in label lists when set
    uint8_t actiecode;    // one digit; correction code of a status 4 label
    uint8_t afprijs_nr;   // price action that marked it down, 0 none
    uint8_t inkoopcode;   // one digit
    uint32_t klant_nr;    // below 1000000
    uint32_t klant_volgend;
    uint16_t verkoper; // below 1000
    uint8_t onderweg;  // in transit between branches
    uint8_t onderweg_filiaal;
    uint32_t order_nr; // below 10000000
    uint8_t order_loc; // 255: none
    uint8_t order_loc_aan;
};

// The single entry. Actions: 'O' open, 'C' close, 'R' read, 'F' first of
// the chain from block *label_no, 'N' next along the chain, 'W' write
// (*label_no 0: a new label in the current chain), 'I' new block, 'D' delete
// the current label (0 done, 1 not the current label), 'X' abort. See
// ioeti.cpp for each. Letters outside these give 0.
int ioeti(int action, int32_t *label_no, etiket_rec *rec);

// The action ('F', 'R' or 'N'), then 'N' until a label of `status` or the
// end of the chain.
int ioeti_status_scan(int action, int32_t *label_no, etiket_rec *rec, int status);
// With bind, every block read along a chain must carry this series key.
void ioeti_bind_series(bool bind, uint32_t art_nr, uint16_t kleur, uint16_t volgnr);
// Gives every block of the series' chain back to the free chain and sets
// ser_eti_kop to -1; false when the chain broke off (what was walked stays
// freed).
bool ioeti_free_chain(ser_rec *ser);
void ioeti_reopen();
// Packs the label into a slot of a block in the caller's hands as 'W' packs
// it (an unsold label's VAT rate from its article, the transit mark by the
// system's option); the store must be open for its settings. For tools that
// lay down many blocks at once.
void ioeti_pack(etiket_rec *rec, eti_blok *blok, int slot);
// The file that 'O' opens; default "DTETI.TXT" in the current directory.
void ioeti_filename(const char *path);
bool ioeti_is_open();
// The highest label number that etiket_breedte (system record 15) allows.
int32_t max_label_no();
// The next number of the sequence in system record 5 (1000..9999999).
int32_t next_label_seq();

// The article's VAT code (1..10), cached for one article; 1 for an unknown
// article. Reads DTART through the handle given by ioeti_use_art, or opens
// DTART for the moment when there is none and the file is present.
int ioeti_btw_code(uint32_t art_nr);
void ioeti_use_art(ICB *icb);
// Forgets the cached article (after the article file changed under us).
void ioeti_btw_forget();

// The user whose status byte (user record, offset 38) shows that the label
// chains may be half done: 1 normal, 10 during allocation and release, 11
// after a fatal label store error. 0 (tools, tests): no user slot.
void ioeti_set_user(long user_nr);

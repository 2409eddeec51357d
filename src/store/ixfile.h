// The bytes of a record store file pair. On disk: never renumber, never
// reorder. Every other program of the suite reads and writes these files, so
// each offset and constant below is part of the contract.
//
// NAME.TXT, the data file: no header. Slot n lies at n * record length.
//   A free slot:   0       1   0xFF
//                  1       4   next free slot, little-endian, -1 ends the list
//                  5     len-5 0xFF each
//   A slot is free iff byte 0 is 0xFF and every byte from 5 on is 0xFF.
//
// NAME.INX, the index file: blocks of 512 bytes.
//   block 0           header (260 meaningful bytes, written as 512)
//   blocks 1 .. K     root of key 1 .. K; a root never moves
//   block K + 1       lock queue: reserved keys of key 1 that have no record yet
//   blocks K + 2 ..   tree blocks, handed out upwards, never given back
//
// Header (block 0):
//   off  size  field
//     0    11  file name, base name cut at 11, NUL-padded, no terminator at 11
//    11     1  number of keys, 1..5 (signed)
//    12     4  head of the free list of data slots, -1 empty
//    16     4  record count: slots in the data file, number of the next append
//    20     4  next free index block
//    24     2  record length
//    26    19  title, shown in lock and consistency messages
//    45     1  busy mark: non-zero while a shared-mode change is under way
//    46     2  unused, zero
//    48   210  key descriptors 1..5, 42 bytes each (zero above the key count)
//   258     2  format version, 351
//   260   252  no meaning, never read (we write zeros)
//
// Key descriptor (42 bytes):
//     0     8  key name, NUL-padded
//     8     1  'J' duplicates allowed (4-byte record number suffix), 'N' none
//     9     1  key length, including the suffix of a 'J' key
//    10     1  entry limit of a block: 505 / (key length + 4)
//    11    10  field types 'I' or 'C', 0 after the last field
//    21    10  first byte of each field in the record, from 1
//    31    10  last byte of each field in the record, from 1
//    41     1  unused
//
// Tree block:
//     0     1  key number the block belongs to
//     1     1  level, 1 = leaf
//     2     2  unused, zero
//     4     1  number of entries
//     5   505  entries (key bytes + 4-byte little-endian pointer), ascending,
//              zero after the last; a leaf points at records, a parent at
//              children with the child's highest key as separator. The last
//              entry of every right-edge block is the sentinel: all 0xFF key,
//              pointer -1 in the rightmost leaf, the rightmost child above.
//   510     2  unused, zero
//
// Lock queue block: bytes 0..4 as a tree block (key number 1, level 0, count
// at 4), from 5 packed key-1 keys without pointers.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <sys/types.h>

static_assert(std::endian::native == std::endian::little,
              "the store's files are memory images of a little-endian machine");

namespace nv::store {

constexpr int k_block = 512;        // index block size
constexpr int k_header_bytes = 260; // meaningful bytes of block 0
constexpr int k_entry_area = 505;   // entry bytes of a tree block
constexpr int k_max_keys = 5;
constexpr int k_max_fields = 10;
constexpr int k_max_keylen = 60; // the key work area
constexpr int k_max_levels = 10; // path slots
constexpr int16_t k_version = 351;
constexpr int16_t k_version_old = 350;        // refused: convert with ixremake
constexpr int32_t k_block_limit = 0x7FFFFFFC; // no insert above this next-free block
constexpr char k_dups = 'J';
constexpr char k_nodups = 'N';
constexpr mode_t k_file_mode = 0660;

#pragma pack(push, 1)
struct IxKeyDesc {
    char name[8];
    char dups;      // 'J' or 'N'
    uint8_t keylen; // bytes, suffix included
    uint8_t limit;  // entry limit of a block
    char type[k_max_fields];
    uint8_t first[k_max_fields];
    uint8_t last[k_max_fields];
    uint8_t unused;
};

struct IxHeader {
    char name[11];
    int8_t nkeys;
    int32_t freelist;
    int32_t reccount;
    int32_t nextblk;
    int16_t reclen;
    char title[19];
    uint8_t busy;
    uint8_t unused[2];
    IxKeyDesc key[k_max_keys];
    int16_t version;
};

struct IxBlock {
    int8_t keynr;
    int8_t level;
    uint8_t unused[2];
    int8_t count;
    uint8_t ent[k_entry_area];
    uint8_t tail[2];
};
#pragma pack(pop)

static_assert(sizeof(IxKeyDesc) == 42);
static_assert(offsetof(IxKeyDesc, name) == 0);
static_assert(offsetof(IxKeyDesc, dups) == 8);
static_assert(offsetof(IxKeyDesc, keylen) == 9);
static_assert(offsetof(IxKeyDesc, limit) == 10);
static_assert(offsetof(IxKeyDesc, type) == 11);
static_assert(offsetof(IxKeyDesc, first) == 21);
static_assert(offsetof(IxKeyDesc, last) == 31);
static_assert(offsetof(IxKeyDesc, unused) == 41);

static_assert(sizeof(IxHeader) == k_header_bytes);
static_assert(offsetof(IxHeader, name) == 0);
static_assert(offsetof(IxHeader, nkeys) == 11);
static_assert(offsetof(IxHeader, freelist) == 12);
static_assert(offsetof(IxHeader, reccount) == 16);
static_assert(offsetof(IxHeader, nextblk) == 20);
static_assert(offsetof(IxHeader, reclen) == 24);
static_assert(offsetof(IxHeader, title) == 26);
static_assert(offsetof(IxHeader, busy) == 45);
static_assert(offsetof(IxHeader, unused) == 46);
static_assert(offsetof(IxHeader, key) == 48);
static_assert(offsetof(IxHeader, version) == 258);

static_assert(sizeof(IxBlock) == k_block);
static_assert(offsetof(IxBlock, keynr) == 0);
static_assert(offsetof(IxBlock, level) == 1);
static_assert(offsetof(IxBlock, unused) == 2);
static_assert(offsetof(IxBlock, count) == 4);
static_assert(offsetof(IxBlock, ent) == 5);
static_assert(offsetof(IxBlock, tail) == 510);

// Little-endian and big-endian 32-bit fields at any alignment.
inline int32_t get_le32(const uint8_t *p) {
    return (int32_t)((uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 |
                     (uint32_t)p[3] << 24);
}
inline void put_le32(uint8_t *p, int32_t v) {
    uint32_t u = (uint32_t)v;
    p[0] = (uint8_t)u, p[1] = (uint8_t)(u >> 8), p[2] = (uint8_t)(u >> 16),
    p[3] = (uint8_t)(u >> 24);
}
inline void put_be32(uint8_t *p, int32_t v) {
    uint32_t u = (uint32_t)v;
    p[0] = (uint8_t)(u >> 24), p[1] = (uint8_t)(u >> 16), p[2] = (uint8_t)(u >> 8),
    p[3] = (uint8_t)u;
}

// Entry limit of a block for a key of the given length.
constexpr int entry_limit(int keylen) {
    return k_entry_area / (keylen + 4);
}

// Free data slots.
bool slot_is_free(const uint8_t *rec, int reclen);
void slot_make_free(uint8_t *rec, int reclen, int32_t next);

// The paths of a logical name. "DIR/DTKLT" gives DIR/DTKLT.INX and
// DIR/DTKLT.TXT; a base name with a dot is a temporary file: the name as
// given is the index, the part before the dot plus ".TXT" the data file.
// Returns false when a path would not fit.
struct IxPaths {
    char index[256];
    char data[256];
    bool temporary;
};
bool derive_paths(const char *name, IxPaths *out);

// The base name as stored in the header's name field (directories removed).
const char *base_name(const char *name);

// Reasons why a header can't be a store header, or nullptr when it is sound
// as far as the header alone can tell. Version 350 is not judged here.
const char *header_problem(const IxHeader &h);
// Same for one key descriptor against a record length; nullptr when sound.
const char *keydesc_problem(const IxKeyDesc &d, int reclen);

} // namespace nv::store

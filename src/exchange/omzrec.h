// The turnover file DTOMZET: small counters per branch, till, day and kind,
// which the suite's other programs report from. On disk: never renumber,
// never move a field. Record 44 bytes, little-endian:
//
//   0 u8  filnr      branch              12 i32 tel0   16 i32 tel1
//   1 u8  kasnr      till                20 i32 tel2   24 i32 tel3
//   2 u16 datum      day of the receipt  28 i32 tel4   32 i32 tel5
//   4 char omz_soort record kind         36 i32 tel6   40 i32 tel7
//   5 u8[3] zero
//   8 u16 sub1      10 u16 sub2
//
// Key 1: omz_soort, datum, filnr, kasnr, sub1, sub2.
//
//  kind  sub1        sub2   tel0..tel7
//  'V'   seller      group  excl. of lines with known cost, their cost price,
//                           recommended value, amount sold, amount returned,
//                           pieces sold, pieces returned, excl. amount
//  'G'   0           group  as 'V'
//  'A'   action 0..9 0      recommended value, amount sold, amount returned
//  'B'   VAT 1..10   0      amount, excl. amount
//  'F'   slot        0      amount, transfer amount (U), -, kas_a, -, kas_b
//  'T'   seller      0      amount, -, receipts (cancelled receipts -1)
//  'U'   hour        0      receipts (cancelled -1), receipts with kas_b,
//                           recommended, sold, returned, pieces sold,
//                           pieces returned, kas_b
// Amounts in cents. A return counts negatively in the recommended value and
// positively in the returned amounts and pieces.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little);

#pragma pack(push, 1)
struct omz_rec {
    uint8_t filnr;
    uint8_t kasnr;
    uint16_t datum;
    char omz_soort;
    uint8_t res5[3];
    uint16_t sub1;
    uint16_t sub2;
    int32_t tel[8];
};
#pragma pack(pop)
static_assert(sizeof(omz_rec) == 44);
static_assert(offsetof(omz_rec, datum) == 2 && offsetof(omz_rec, omz_soort) == 4);
static_assert(offsetof(omz_rec, sub1) == 8 && offsetof(omz_rec, sub2) == 10);
static_assert(offsetof(omz_rec, tel) == 12);

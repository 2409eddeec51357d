// The files of open sales that the tills of a chain share: KSKV, sales on
// account and credit vouchers, and KSZI, goods out on approval. On disk:
// never renumber, never move a field. The suite's set-up creates them.
//
// KSKV, record 24, key 1 filnr, kasnr, op_rekening, kltnr, datum, bonnr:
//   0 u8  filnr        4 u32 kltnr (0 none)   12 i32 bedrag   open amount
//   1 u8  kasnr        8 u16 datum            16 i32 bedrag2
//   2 u8  op_rekening 10 u16 bonnr            20 u16 seq
//         1 on account ('R'), 0 credit voucher ('T')
//   3 u8  reserved                            22 u8 doel_fil, 23 u8 doel_kas:
//                          branch and till of the KMUT file a line goes to
//
// KSZI, record 32, key 1 filnr, kasnr, kltnr, regel, datum, bonnr:
//   0 u8  filnr   1 u8 kasnr   2 u16 regel   4 u32 kltnr   8 u16 datum
//  10 u16 bonnr  12 c13 ean (left-justified, blank- or NUL-padded)
//  25 u8  toestand (one digit)   26 u8[2] reserved   28 i32 bedrag
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little);

#pragma pack(push, 1)
struct kskv_rec {
    uint8_t filnr;
    uint8_t kasnr;
    uint8_t op_rekening;
    uint8_t res3;
    uint32_t kltnr;
    uint16_t datum;
    uint16_t bonnr;
    int32_t bedrag;
    int32_t bedrag2;
    uint16_t seq;
    uint8_t doel_fil;
    uint8_t doel_kas;
};
struct kszi_rec {
    uint8_t filnr;
    uint8_t kasnr;
    uint16_t regel;
    uint32_t kltnr;
    uint16_t datum;
    uint16_t bonnr;
    char ean[13];
    uint8_t toestand;
    uint8_t res26[2];
    int32_t bedrag;
};
#pragma pack(pop)
static_assert(sizeof(kskv_rec) == 24 && sizeof(kszi_rec) == 32);
static_assert(offsetof(kskv_rec, kltnr) == 4 && offsetof(kskv_rec, datum) == 8);
static_assert(offsetof(kskv_rec, bonnr) == 10 && offsetof(kskv_rec, bedrag) == 12);
static_assert(offsetof(kskv_rec, bedrag2) == 16 && offsetof(kskv_rec, seq) == 20);
static_assert(offsetof(kskv_rec, doel_fil) == 22 && offsetof(kskv_rec, doel_kas) == 23);
static_assert(offsetof(kszi_rec, regel) == 2 && offsetof(kszi_rec, kltnr) == 4);
static_assert(offsetof(kszi_rec, datum) == 8 && offsetof(kszi_rec, bonnr) == 10);
static_assert(offsetof(kszi_rec, ean) == 12 && offsetof(kszi_rec, toestand) == 25);
static_assert(offsetof(kszi_rec, bedrag) == 28);

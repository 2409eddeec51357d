// The customer files DTKLT and DTKLTEXT. On disk: never renumber, never move
// a field. Records are memory images, little-endian, texts NUL-padded in code
// page 850. Every program of the suite reads these bytes.
//
// DTKLT, record 312, keys: 1 kltnr; 2 naam[0..9], postcode, kltnr;
// 3 postcode, kltnr (text keys collate without case and accents).
//   0 i32  kltnr 1..999999            158 u16  geboortedatum (day number)
//   4 c30  naam (surname)             160 u8   titel 1..20
//  34 c30  adres                      161 c8   voorletters
//  64 c25  woonplaats                 169 c8   voorvoegsels
//  89 c7   postcode "1234 AB"         177 c16  voornaam
//  96 c15  telefoon                   193 c15  opmerking1   208 c15 opmerking2
// 111 c3   land (ISO 3166 alpha-3)    223 c8   kenmerken: a code letter per table, blank none
// 114 c18  kix                        231 u8   mailing 2/4/8/16
// 132 i32  etiket_kop: the label of   232 c12  btw_nummer   244 c6 debiteur
//          the latest sale, head of   250 u16  stempel (copied from system record 8)
//          the customer's label list  252 i32[9] punten of savings actions 1..9
// 136 i32[3] bedrag: sales of kind 0, 288 u8[2] the suite's, kept as read
//          other kinds, kind 9        290 u16  eerste_datum
// 148 u8[4] the suite's, kept as read 292 u16  ext_stempel, 0 = no DTKLTEXT record
// 152 u16[3] aantal: the same kinds   294 c15  mobiel       309 u8 sms J/N
//                                     310 u16  laatste_aankoop: day of the latest
//                                              purchase, the year of the statistics
//
// DTKLTEXT, record 88, key 1 kltnr: 0 i32 kltnr, 4 c80 email, 84 u16
// ext_stempel (equal to the customer's for a consistent pair), 86 u8[2].
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little,
              "customer records are memory images of a little-endian machine");

constexpr int32_t KLT_MAX = 999999; // highest customer number

// Mailing choices.
enum : uint8_t { KLT_POST_EMAIL = 2, KLT_POST = 4, KLT_EMAIL = 8, KLT_GEEN_MAILING = 16 };

#pragma pack(push, 1)
struct klt_rec {
    int32_t kltnr;
    char naam[30];
    char adres[30];
    char woonplaats[25];
    char postcode[7];
    char telefoon[15];
    char land[3];
    char kix[18];
    int32_t etiket_kop;
    int32_t bedrag[3]; // kind 0, other kinds, kind 9
    uint8_t res148[4];
    uint16_t aantal[3]; // the same kinds; u16, overflows silently
    uint16_t geboortedatum;
    uint8_t titel;
    char voorletters[8];
    char voorvoegsels[8];
    char voornaam[16];
    char opmerking1[15];
    char opmerking2[15];
    char kenmerken[8];
    uint8_t mailing;
    char btw_nummer[12];
    char debiteur[6];
    uint16_t stempel;
    int32_t punten[9];
    uint8_t res288[2];
    uint16_t eerste_datum;
    uint16_t ext_stempel;
    char mobiel[15];
    uint8_t sms;
    uint16_t laatste_aankoop;
};
static_assert(sizeof(klt_rec) == 312);
static_assert(offsetof(klt_rec, naam) == 4 && offsetof(klt_rec, adres) == 34);
static_assert(offsetof(klt_rec, woonplaats) == 64 && offsetof(klt_rec, postcode) == 89);
static_assert(offsetof(klt_rec, telefoon) == 96 && offsetof(klt_rec, land) == 111);
static_assert(offsetof(klt_rec, kix) == 114 && offsetof(klt_rec, etiket_kop) == 132);
static_assert(offsetof(klt_rec, bedrag) == 136 && offsetof(klt_rec, res148) == 148);
static_assert(offsetof(klt_rec, aantal) == 152 && offsetof(klt_rec, geboortedatum) == 158);
static_assert(offsetof(klt_rec, titel) == 160 && offsetof(klt_rec, voorletters) == 161);
static_assert(offsetof(klt_rec, voorvoegsels) == 169 && offsetof(klt_rec, voornaam) == 177);
static_assert(offsetof(klt_rec, opmerking1) == 193 && offsetof(klt_rec, opmerking2) == 208);
static_assert(offsetof(klt_rec, kenmerken) == 223 && offsetof(klt_rec, mailing) == 231);
static_assert(offsetof(klt_rec, btw_nummer) == 232 && offsetof(klt_rec, debiteur) == 244);
static_assert(offsetof(klt_rec, stempel) == 250 && offsetof(klt_rec, punten) == 252);
static_assert(offsetof(klt_rec, res288) == 288 && offsetof(klt_rec, eerste_datum) == 290);
static_assert(offsetof(klt_rec, ext_stempel) == 292 && offsetof(klt_rec, mobiel) == 294);
static_assert(offsetof(klt_rec, sms) == 309 && offsetof(klt_rec, laatste_aankoop) == 310);

struct kltext_rec {
    int32_t kltnr;
    char email[80];
    uint16_t ext_stempel;
    uint8_t res86[2];
};
static_assert(sizeof(kltext_rec) == 88);
static_assert(offsetof(kltext_rec, email) == 4 && offsetof(kltext_rec, ext_stempel) == 84);
#pragma pack(pop)

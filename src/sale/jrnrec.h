// The journal's records. On disk: never renumber, never move a field. A
// journal (and the receipt work file) is a plain byte stream of records, no
// file header, no length prefix, no padding: one type letter followed
// directly by a payload whose length the letter fixes. Integers are
// little-endian, amounts signed 32-bit cents, dates 16-bit day numbers, texts
// NUL-padded in the terminal's code page.
//
//   letter  payload  what
//   H          20    transaction header, opens every transaction
//   V R Z z    60    sale, return, sale on approval, return of one (a line)
//   D          52    received amount
//   S          56    start of a sale group          E   0  end of the group
//   I          32    explanation of the line before it
//   T          52    transaction total
//   B          12    payment line (till journals only)
//   U          44    cash movement without a sale (till journals only)
//   X           0    end of transaction
//
// Any other letter makes the file unreadable from that point on. A
// transaction runs from H to X; the letters that may follow each letter are
// a fixed table (jrn_may_follow), and the check of a journal enforces it.
//
// H payload (jrn_h)                     line payload (jrn_regel)
//   0 u16  bonnr                          0 char[13] invoer
//   2 u16  vkpnr                         13 char     soort: 0 label, 'A' article,
//   4 u32  kltnr (0 none)                            'E' EAN, 'M' series/size,
//   8 u16  datum                                     'O' turnover group
//  10 u16  tijd, minutes                 14 u16  vkpnr
//  12 u8   kasnr (0 back office)         16 char[16] opmerking
//  13 u8   filnr                         32 u16  aantal      34 u16 rest
//  14 u8[2] reserved                     36 u32  nummer      40 i32 prijs
//  16 char[3] valuta, not terminated     44 i32  bedrag      48 i32 bedrag_excl
//  19 u8   hflags                        52 u16  omzetgroep  54 u8  actie
//                                        55 u8   btw         56 u8  ander_fil
//                                        57 u8   eti_status  58 u8  lflags
//                                        59 u8   reserved
// D payload (jrn_d)                     T payload (jrn_t)
//   0 char[30] omschrijving               0 i32 totaal        4 i32 contant
//  30 u16  vkpnr    32 u8[4] reserved     8 i32 kas_a        12 i32 kas_b
//  36 i32  bedrag                        16 i32 op_rekening  20 i32 gefactureerd
//  40 u16  op_datum 42 u16 op_filnr      24 i32 spaarbedrag  28 u8[2] reserved
//  44 u16  op_kasnr 46 u16 op_bonnr      30 char[22] tekst
//  48 u8   dflags   49 u8[3] reserved
// S payload (jrn_s)                     B payload (jrn_b)
//   0 i32 groep_bedrag                    0 u8 betm_soort   1 u8 betm_nr
//   4 i32 groep_totaal                    2 u8[2] reserved  4 i32 bedrag
//   8 u8  groep_regels  9 u8 groep_actie  8 u8[4] reserved
//  10 u8[2] reserved   12 i32 groep_bruto U payload (jrn_u): 0..29 not ours,
//  16 u8[40] reserved                     30 u8 betm_soort 31 u8 betm_nr
// I payload (jrn_i): 0 char[30] toelichting, 30 u8[2] reserved
//                                        32 i32 bedrag, 36..43 not ours
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little,
              "journal records are memory images of a little-endian machine");

// hflags of the header.
enum : uint8_t {
    HF_VERWERKT = 2,        // stock and turnover are booked
    HF_DATACOM = 4,         // came in by data communication
    HF_NIEUWE_KLANT = 8,    // processing created the customer
    HF_ONGELDIG_KLANT = 16, // the customer number was invalid and is cleared
};

// lflags of a line.
enum : uint8_t {
    LF_GEANNULEERD = 1,      // cancelled: stays in the file, counts for nothing
    LF_GROEP = 2,            // line of a sale group
    LF_ANDER_FIL = 4,        // label of another branch (ander_fil)
    LF_MAAT_ETIKET = 8,      // label picked by the system for a series kept by size
    LF_ACTIE_VERVALLEN = 16, // action code dropped: not valid for date and branch
    LF_ONDERWEG = 32,        // the label was in transfer
    LF_SIGNAAL = 64,         // could not be booked, waits for correction
    LF_ONBEKEND = 128,       // with 64: the number itself is unknown
};

enum : uint8_t { DF_GEANNULEERD = 1 }; // dflags of a received amount

#pragma pack(push, 1)

struct jrn_h {
    uint16_t bonnr;
    uint16_t vkpnr;
    uint32_t kltnr;
    uint16_t datum;
    uint16_t tijd;
    uint8_t kasnr;
    uint8_t filnr;
    uint8_t res14[2];
    char valuta[3];
    uint8_t hflags;
};
static_assert(sizeof(jrn_h) == 20);
static_assert(offsetof(jrn_h, bonnr) == 0 && offsetof(jrn_h, vkpnr) == 2);
static_assert(offsetof(jrn_h, kltnr) == 4 && offsetof(jrn_h, datum) == 8);
static_assert(offsetof(jrn_h, tijd) == 10 && offsetof(jrn_h, kasnr) == 12);
static_assert(offsetof(jrn_h, filnr) == 13 && offsetof(jrn_h, res14) == 14);
static_assert(offsetof(jrn_h, valuta) == 16 && offsetof(jrn_h, hflags) == 19);

struct jrn_regel {
    char invoer[13];
    char soort;
    uint16_t vkpnr;
    char opmerking[16];
    uint16_t aantal;
    uint16_t rest;
    uint32_t nummer;
    int32_t prijs;
    int32_t bedrag;
    int32_t bedrag_excl;
    uint16_t omzetgroep;
    uint8_t actie;
    uint8_t btw;
    uint8_t ander_fil;
    uint8_t eti_status;
    uint8_t lflags;
    uint8_t res59;
};
static_assert(sizeof(jrn_regel) == 60);
static_assert(offsetof(jrn_regel, invoer) == 0 && offsetof(jrn_regel, soort) == 13);
static_assert(offsetof(jrn_regel, vkpnr) == 14 && offsetof(jrn_regel, opmerking) == 16);
static_assert(offsetof(jrn_regel, aantal) == 32 && offsetof(jrn_regel, rest) == 34);
static_assert(offsetof(jrn_regel, nummer) == 36 && offsetof(jrn_regel, prijs) == 40);
static_assert(offsetof(jrn_regel, bedrag) == 44 && offsetof(jrn_regel, bedrag_excl) == 48);
static_assert(offsetof(jrn_regel, omzetgroep) == 52 && offsetof(jrn_regel, actie) == 54);
static_assert(offsetof(jrn_regel, btw) == 55 && offsetof(jrn_regel, ander_fil) == 56);
static_assert(offsetof(jrn_regel, eti_status) == 57 && offsetof(jrn_regel, lflags) == 58);
static_assert(offsetof(jrn_regel, res59) == 59);

struct jrn_d {
    char omschrijving[30];
    uint16_t vkpnr;
    uint8_t res32[4];
    int32_t bedrag;
    uint16_t op_datum;
    uint16_t op_filnr;
    uint16_t op_kasnr;
    uint16_t op_bonnr;
    uint8_t dflags;
    uint8_t res49[3];
};
static_assert(sizeof(jrn_d) == 52);
static_assert(offsetof(jrn_d, omschrijving) == 0 && offsetof(jrn_d, vkpnr) == 30);
static_assert(offsetof(jrn_d, res32) == 32 && offsetof(jrn_d, bedrag) == 36);
static_assert(offsetof(jrn_d, op_datum) == 40 && offsetof(jrn_d, op_filnr) == 42);
static_assert(offsetof(jrn_d, op_kasnr) == 44 && offsetof(jrn_d, op_bonnr) == 46);
static_assert(offsetof(jrn_d, dflags) == 48 && offsetof(jrn_d, res49) == 49);

struct jrn_s {
    int32_t groep_bedrag;
    int32_t groep_totaal;
    uint8_t groep_regels; // at most 250
    uint8_t groep_actie;
    uint8_t res10[2];
    int32_t groep_bruto;
    uint8_t res16[40];
};
static_assert(sizeof(jrn_s) == 56);
static_assert(offsetof(jrn_s, groep_bedrag) == 0 && offsetof(jrn_s, groep_totaal) == 4);
static_assert(offsetof(jrn_s, groep_regels) == 8 && offsetof(jrn_s, groep_actie) == 9);
static_assert(offsetof(jrn_s, res10) == 10 && offsetof(jrn_s, groep_bruto) == 12);
static_assert(offsetof(jrn_s, res16) == 16);

struct jrn_i {
    char toelichting[30];
    uint8_t res30[2];
};
static_assert(sizeof(jrn_i) == 32);
static_assert(offsetof(jrn_i, toelichting) == 0 && offsetof(jrn_i, res30) == 30);

struct jrn_t {
    int32_t totaal;
    int32_t contant;
    int32_t kas_a;
    int32_t kas_b;
    int32_t op_rekening;
    int32_t gefactureerd;
    int32_t spaarbedrag;
    uint8_t res28[2];
    char tekst[22];
};
static_assert(sizeof(jrn_t) == 52);
static_assert(offsetof(jrn_t, totaal) == 0 && offsetof(jrn_t, contant) == 4);
static_assert(offsetof(jrn_t, kas_a) == 8 && offsetof(jrn_t, kas_b) == 12);
static_assert(offsetof(jrn_t, op_rekening) == 16 && offsetof(jrn_t, gefactureerd) == 20);
static_assert(offsetof(jrn_t, spaarbedrag) == 24 && offsetof(jrn_t, res28) == 28);
static_assert(offsetof(jrn_t, tekst) == 30);

struct jrn_b {
    uint8_t betm_soort;
    uint8_t betm_nr;
    uint8_t res2[2];
    int32_t bedrag;
    uint8_t res8[4];
};
static_assert(sizeof(jrn_b) == 12);
static_assert(offsetof(jrn_b, betm_soort) == 0 && offsetof(jrn_b, betm_nr) == 1);
static_assert(offsetof(jrn_b, res2) == 2 && offsetof(jrn_b, bedrag) == 4);
static_assert(offsetof(jrn_b, res8) == 8);

struct jrn_u {
    uint8_t res0[30]; // written by the tills, not read here
    uint8_t betm_soort;
    uint8_t betm_nr;
    int32_t bedrag;
    uint8_t res36[8]; // not read here
};
static_assert(sizeof(jrn_u) == 44);
static_assert(offsetof(jrn_u, betm_soort) == 30 && offsetof(jrn_u, betm_nr) == 31);
static_assert(offsetof(jrn_u, bedrag) == 32 && offsetof(jrn_u, res36) == 36);

#pragma pack(pop)

// Payload length of a letter, -1 for a letter that is not a record type.
int jrn_payload_len(char letter);

// May `letter` follow `prev` in a journal? prev ' ' stands for the start of
// the file; letter '~' for the end of the file (legal only behind X).
bool jrn_may_follow(char prev, char letter);

// The line letters: V, R, Z, z share the line payload.
inline bool jrn_is_line(char letter) {
    return letter == 'V' || letter == 'R' || letter == 'Z' || letter == 'z';
}

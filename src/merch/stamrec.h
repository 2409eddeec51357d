// The master records of the merchandise files, as far as this program uses
// them. All are record store files that the suite's other programs maintain;
// every record is a memory image, packed and little-endian, texts
// NUL-padded. Bytes not named here are kept as they were read. On disk:
// never move a field.
#pragma once

#include <cstddef>
#include <cstdint>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records are little-endian memory images");

#pragma pack(push, 1)

// DTSER: a series, 200 bytes. Key 1 art_nr, kleur, volgnr; key 2 ser_merk,
// art_nr, ser_model, kleur, volgnr; key 3 ser_nummer.
struct ser_rec {
    uint32_t art_nr;            //   0 article (artikelgroep)
    uint16_t kleur;             //   4 colour, record of the colour table
    uint16_t volgnr;            //   6 sequence number
    uint16_t ser_merk;          //   8 brand (DTMERK)
    uint16_t ser_jaar;          //  10
    char ser_seizoen;           //  12 season letter
    uint8_t ser_deelseizoen;    //  13
    uint8_t res14;              //  14
    uint8_t ser_doelgroep;      //  15 target group
    uint8_t ser_maatsoort;      //  16 size kind (DTMAAT, size tables)
    uint8_t res17;              //  17
    uint8_t ser_etiketsoort;    //  18 label kind
    char ser_model[15];         //  19
    uint8_t res34[20];          //  34
    char ser_dessin[12];        //  54
    char ser_materiaal[12];     //  66
    char ser_kenmerk[2];        //  78
    uint8_t res80[12];          //  80
    uint8_t ser_prijsgroep[8];  //  92 per price group its last size
    int32_t ser_adviesprijs[8]; // 100 recommended price per price group
    uint8_t res132[8];          // 132
    int32_t ser_correcties;     // 140 labels in status 4
    int32_t ser_verkocht;       // 144 status 3
    int32_t ser_voorraad;       // 148 status 2
    int32_t ser_nota;           // 152 status 1
    uint8_t res156[2];          // 156
    uint16_t ser_laatst_ontv;   // 158 latest received date
    uint16_t ser_laatst_verk;   // 160 latest sale date
    uint8_t res162[2];          // 162
    char ser_locatie[6];        // 164
    uint8_t ser_maatreg;        // 170 1: sold by size, pieces found by series and size
    uint8_t res171[5];          // 171
    int32_t ser_eti_kop;        // 176 first block of the label chain, -1 none
    uint32_t ser_peiltijd;      // 180 seconds since 01-01-1980: first day lines can be corrected
    uint8_t res184[4];          // 184
    uint32_t ser_nummer;        // 188 unique number of the series (key 3)
    uint8_t res192[8];          // 192
};
static_assert(sizeof(ser_rec) == 200);
static_assert(offsetof(ser_rec, ser_merk) == 8 && offsetof(ser_rec, ser_seizoen) == 12);
static_assert(offsetof(ser_rec, ser_doelgroep) == 15 && offsetof(ser_rec, ser_maatsoort) == 16);
static_assert(offsetof(ser_rec, ser_etiketsoort) == 18 && offsetof(ser_rec, ser_model) == 19);
static_assert(offsetof(ser_rec, ser_dessin) == 54 && offsetof(ser_rec, ser_materiaal) == 66);
static_assert(offsetof(ser_rec, ser_kenmerk) == 78 && offsetof(ser_rec, ser_prijsgroep) == 92);
static_assert(offsetof(ser_rec, ser_adviesprijs) == 100 &&
              offsetof(ser_rec, ser_correcties) == 140);
static_assert(offsetof(ser_rec, ser_verkocht) == 144 && offsetof(ser_rec, ser_voorraad) == 148);
static_assert(offsetof(ser_rec, ser_nota) == 152 && offsetof(ser_rec, ser_laatst_ontv) == 158);
static_assert(offsetof(ser_rec, ser_laatst_verk) == 160 && offsetof(ser_rec, ser_locatie) == 164);
static_assert(offsetof(ser_rec, ser_maatreg) == 170 && offsetof(ser_rec, ser_eti_kop) == 176);
static_assert(offsetof(ser_rec, ser_peiltijd) == 180 && offsetof(ser_rec, ser_nummer) == 188);

// DTART: an article, 304 bytes. Key 1 art_nr.
struct art_rec {
    uint32_t art_nr;         //   0
    uint8_t res4[2];         //   4
    char art_omschr[24];     //   6 description; key 2 is its first 11 characters
    uint16_t art_omzetgroep; // 30 turnover group
    uint8_t res32;           //  32
    uint8_t btw_code;        //  33 VAT code 1..10 (company VAT table)
    uint8_t res34[270];      //  34
};
static_assert(sizeof(art_rec) == 304 && offsetof(art_rec, art_omschr) == 6);
static_assert(offsetof(art_rec, art_omzetgroep) == 30 && offsetof(art_rec, btw_code) == 33);

// DTOMZGRP: a turnover group, 24 bytes. Key 1 omzetgroep.
struct omzgrp_rec {
    uint16_t omzetgroep;   //  0
    char omschrijving[15]; //  2 description, at most 15 characters
    uint8_t btw_code;      // 17
    uint8_t res18[6];      // 18
};
static_assert(sizeof(omzgrp_rec) == 24 && offsetof(omzgrp_rec, btw_code) == 17);

// DTEAN: a barcode, 28 bytes. Key 1 the code; key 2 ean_soort, ean_nummer,
// ean_kleur, ean_volgnr, ean_maat.
struct ean_rec {
    char ean_code[13];     //  0 left-justified, NUL-padded
    char ean_soort;        // 13 'M' series and size, 'A' article
    uint16_t ean_kleur;    // 14
    uint32_t ean_nummer;   // 16 article of the series, or the article number
    uint16_t ean_volgnr;   // 20
    uint8_t ean_maat;      // 22 size
    uint8_t ean_maatsoort; // 23 size kind
    uint16_t ean_gebruikt; // 24 date of last use
    uint8_t res26[2];      // 26
};
static_assert(sizeof(ean_rec) == 28 && offsetof(ean_rec, ean_kleur) == 14);
static_assert(offsetof(ean_rec, ean_nummer) == 16 && offsetof(ean_rec, ean_volgnr) == 20);
static_assert(offsetof(ean_rec, ean_maat) == 22 && offsetof(ean_rec, ean_gebruikt) == 24);

// DTBARC: barcode reference, 32 bytes: the record of DTEAN with the size at
// 23. Key 1 the code; key 2 (duplicates) nummer, kleur, volgnr, maat.
struct barc_rec {
    char ean_code[13];   //  0
    char ean_soort;      // 13
    uint16_t ean_kleur;  // 14
    uint32_t ean_nummer; // 16
    uint16_t ean_volgnr; // 20
    uint8_t res22;       // 22
    uint8_t ean_maat;    // 23
    uint8_t res24[8];    // 24
};
static_assert(sizeof(barc_rec) == 32 && offsetof(barc_rec, ean_maat) == 23);

// DTARTREG: small articles sold without labels, 60 bytes. Key article and
// artreg_filiaal: row 0 is the article, row f + 1 the article in branch f.
// The two counters of each pair run side by side; other programs of the
// suite reset them at different moments.
struct artreg_rec {
    uint16_t artikel;       // 0
    uint8_t artreg_filiaal; // 2 0: article row; f + 1: branch f
    union {
        struct {
            uint8_t res3[15];
            uint16_t ar_omzetgroep; // 18
            int32_t ar_kostprijs;   // 20
            int32_t ar_prijs;       // 24
            uint8_t res28[32];
        } art;
        struct {
            uint8_t ar_afprijs_nr;   //  3
            int32_t ar_filiaalprijs; //  4
            int32_t ar_bedrag[2];    //  8 amounts sold
            uint8_t res16[4];        // 16
            int32_t ar_voorraad;     // 20
            int32_t ar_aantal[2];    // 24 quantities sold
            int32_t ar_marge[2];     // 32
            int32_t ar_excl[2];      // 40 amounts without VAT
            uint8_t res48[12];       // 48
        } fil;
    };
};
static_assert(sizeof(artreg_rec) == 60);
static_assert(offsetof(artreg_rec, art) + offsetof(decltype(artreg_rec::art), ar_omzetgroep) == 18);
static_assert(offsetof(artreg_rec, art) + offsetof(decltype(artreg_rec::art), ar_prijs) == 24);
static_assert(offsetof(artreg_rec, fil) + offsetof(decltype(artreg_rec::fil), ar_filiaalprijs) ==
              4);
static_assert(offsetof(artreg_rec, fil) + offsetof(decltype(artreg_rec::fil), ar_voorraad) == 20);
static_assert(offsetof(artreg_rec, fil) + offsetof(decltype(artreg_rec::fil), ar_excl) == 40);

// DTAANV: the refill list, 12 bytes, every field in the key.
struct aanv_rec {
    uint32_t art_nr;
    uint16_t kleur;
    uint16_t volgnr;
    uint32_t label_no;
};
static_assert(sizeof(aanv_rec) == 12 && offsetof(aanv_rec, label_no) == 8);

// DTLEV: a supplier, 332 bytes. Key 1 lev_nr; key 2 the first ten
// characters of the name.
struct lev_rec {
    uint16_t lev_nr;    //  0
    char lev_naam[30];  //  2
    uint8_t res32[300]; // 32
};
static_assert(sizeof(lev_rec) == 332 && offsetof(lev_rec, lev_naam) == 2);

// DTMERK: a brand, 76 bytes. Key 1 merk_nr; key 2 merk_code; key 3 the name.
struct merk_rec {
    uint16_t merk_nr;   //  0
    char merk_naam[20]; //  2
    char merk_code[4];  // 22
    uint8_t res26[50];  // 26
};
static_assert(sizeof(merk_rec) == 76 && offsetof(merk_rec, merk_code) == 22);

#pragma pack(pop)

// Lookups in the master files, each with a one-record cache: the lookup
// takes a handle, the buffer and the key, reports found, and does nothing
// when the key is nonzero and already in the buffer. A lookup that finds
// nothing clears the buffer (so that a later one reads again). The record
// files are read on key 1; a handle that stands on another key is switched
// for the read and switched back. Without a handle a lookup ends the
// program ("LEESSTAM" with 1 lees_art, 2 lees_artreg, 3 lees_merk,
// 4 lees_lev, 6 ean_lees, 7 ean_lees_maat). The customer's lookup is
// lees_klant of the customer module.
//
// The _tijdelijk forms open the file read-only for the call, when it is
// there, for programs and screens that don't have the set open.
#pragma once

#include "merch/stamrec.h"

#include <cstdint>

struct ICB;
struct iomaat;

bool lees_art(ICB *icb, art_rec *rec, uint32_t art_nr);
// Row 0 of an article (filiaal -1), or its row for branch filiaal.
bool lees_artreg(ICB *icb, artreg_rec *rec, uint16_t artikel, int filiaal = -1);
bool lees_merk(ICB *icb, merk_rec *rec, uint16_t merk_nr);
bool lees_lev(ICB *icb, lev_rec *rec, uint16_t lev_nr);
// The barcode of kind 'M' of the series' size (key 2).
bool ean_lees_maat(ICB *icb, ean_rec *rec, const ser_rec &ser, uint8_t maat);
// Not found: the description "onbekend" (group 0), so the caller can go on.
bool lees_omzgrp(ICB *icb, omzgrp_rec *rec, uint16_t omzetgroep);

bool lees_art_tijdelijk(art_rec *rec, uint32_t art_nr);
bool lees_merk_tijdelijk(merk_rec *rec, uint16_t merk_nr);
bool lees_lev_tijdelijk(lev_rec *rec, uint16_t lev_nr);
bool lees_ean_tijdelijk(ean_rec *rec, const char *code);

// Texts of the system file's tables of colours and parts of season.
struct kleur_rec {
    uint16_t kleur;
    char tekst[21];
};
struct deelseizoen_rec {
    uint8_t code;
    char tekst[21];
};
bool lees_kleur(kleur_rec *rec, uint16_t kleur);
bool lees_deelseizoen(deelseizoen_rec *rec, uint8_t code);

// Size tables. lees_maten keeps one table loaded in *tabel and loads
// another only for another pair (system, size kind); *nieuw tells that it
// did. True when the size system exists in DTMAAT.
bool lees_maten(iomaat **tabel, uint8_t systeem, uint8_t soort, bool *nieuw = nullptr);
extern iomaat *maat_tabel; // the table the program keeps loaded
void lees_maten_vrij();    // releases maat_tabel
// The sizes of a series are those of size system 1 (the shop's own) of the
// series' size kind. The price group (0..7) of a size: the first group whose
// last size (ser_prijsgroep) does not stand before it; -1 for a size outside
// the table or behind the last group. A series without price groups has one.
int maat_prijsgroep(const ser_rec &ser, uint8_t maat);
// The size code (3 characters and a NUL) of the series' size, "" when unknown.
void maat_tekst(const ser_rec &ser, uint8_t maat, char out[4]);

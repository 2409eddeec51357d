// Line entry: a number typed or scanned at the prompt becomes a sale or
// return line, and closing the line books it and writes it into the BON
// file. No terminal here: the sale screen asks, shows and calls these.
//
// The life of a line:
//   regel_leeg(c, soort_tx)        prepare the line area (quantity 1, seller)
//   plu_decodeer(text, &in)        the number and its kind
//   regel_valideer(c, in, &u)      look it up, test it, fill the line area and
//                                  regel_info; sets vrk.regel_open on success
//   (the screen shows it; functions P, B, K, S may change prijs, bedrag, aantal)
//   regel_sluiten(c, kind)         book stock, count, write H (S) and the line
// or regel_vervallen(c)            drop the open line: nothing is booked
//
// Working data while a line is open: the line area c->regel, the label in
// eti_buffer (etiboek.h), the series in ser_buffer (locked for a label line),
// and regel_info below.
//
// Messages: every failure comes back as a code and the finished Dutch text
// (the catalogue's text, formatted with its number), for the screen to show
// on the error line. Texts for the row above the prompt (the seller and date
// of a sold label, the branch warning) come back apart from the failure.
#pragma once

#include "sale/etiboek.h"
#include "sale/jrnrec.h"

#include <cstdint>

struct jrn_cursor;
struct ser_rec;

// Kinds of number in the line's soort.
enum : char {
    SRT_ETIKET = 0,
    SRT_ARTIKEL = 'A',
    SRT_MAAT = 'M',
    SRT_OMZETGROEP = 'O',
    SRT_EAN = 'E',
};

constexpr int GROEP_MAX_REGELS = 250; // lines of one sale group
constexpr int MAAT_TEL_MAX = 250;     // labels counted for a series/size line

// The working data of the open line beside its record.
struct regel_info {
    char invoer[14];       // copy of the line's invoer, terminated
    bool kan_prijs;        // the price may be changed
    bool kan_stuks;        // the quantity may be changed
    uint8_t actie;         // action code of the valid action, 0 none
    uint8_t actie_nr;      // number of the action period (system file), 0 none
    int32_t prijs_normaal; // price without action
    int32_t prijs_actie;   // action price
    uint16_t verkocht_op;  // return of a label: its sale date
    int aantal_max;        // series/size: labels counted (at most MAAT_TEL_MAX)
};
extern regel_info rinfo;

// Results. Never renumber: the screen keys its handling on them.
enum regel_fout : int {
    RF_GOED = 0,
    RF_ONGELDIG,         // "Ongeldige ingave"
    RF_ONBEKEND_ETIKET,  // "Onbekend etiketnummer", shown as "<%ld> %s"
    RF_NIET_OP_VOORRAAD, // "Etiket niet op voorraad"
    RF_NIET_VERKOCHT,    // "Etiket niet verkocht"
    RF_ANDERE_KLANT,     // "Verkocht aan klant: %-6ld  "
    RF_OP_ZICHT,         // "Etiket %ld is op zicht verkocht"
    RF_ETIKETNIVEAU,     // "Etiketniveau niet toegestaan bij deze serie"
    RF_GEEN_MAATNIVEAU,  // "Verkoop op serie/maat niveau bij deze serie niet toegestaan"
    RF_ONBEKEND_MAAT,    // "Onbekend serie/maat"
    RF_ONBEKEND_EAN,     // "<%s> Onbekende EAN-code"
    RF_ONBEKEND_ARTIKEL, // "<%hu> Onbekend artikel"
    RF_ONVOLDOENDE,      // "<%s> Onvoldoende voorraad (%d stuks)", "verkocht" for a return
    RF_OMZGRP_VOORRAAD,  // "omzetgroep met voorraad niet toegestaan"
    RF_GROEP_VOL,        // "Eerst groep afsluiten (T)"
    RF_AANTAL
};

// The catalogue text of a result (the printf form where it takes a value).
const char *regel_melding(regel_fout f);

struct regel_uitslag {
    regel_fout fout;   // RF_GOED when the line is open
    char tekst[81];    // the failure as the user reads it, "" on success
    char status[81];   // row above the prompt: "Fil: %-2d " and/or "Vrk: %-3u dd: %6s "
    bool piep;         // the branch warning beeps
    char mrk[4];       // brand code of a label line ("Mrk", column 29)
    char oms[25];      // description of the line ("Oms", column 55)
    bool vraag_bedrag; // push the key of function B (series/size return)
    bool vraag_prijs;  // push the key of function P (no price)
};

// The decoded number.
struct plu_invoer {
    char tekst[14];  // as typed, cut to 13 characters and trimmed
    char invoer[14]; // what the line keeps: the own EAN form, or the text
    char soort;      // SRT_*
    long nummer;     // 0 for an EAN that is not an own code
};

// Decodes up to 13 characters: RF_GOED or RF_ONGELDIG (with u->tekst set
// when u is given).
regel_fout plu_decodeer(const char *tekst, plu_invoer *uit, regel_uitslag *u = nullptr);

// The own code "20%02d%09ld" of a kind and number, the check digit in the
// second place; out holds 14 bytes.
void plu_ean_vorm(char soort, long nummer, char *out);

// Clears the line area for a new line of kind soort_tx ('V', 'R', 'D'):
// aantal 1, the seller of the line, the group flag when in a group; also
// clears regel_info and vrk.regel_open, and sets vrk.soort_tx.
void regel_leeg(jrn_cursor *c, char soort_tx);

// Is the group full (RF_GROEP_VOL with its text) before a number is taken?
regel_fout regel_groep_vol(const jrn_cursor *c, regel_uitslag *u);

// Validates a decoded number for the line under entry (vrk.soort_tx) and,
// when it passes, fills the line area and regel_info and sets
// vrk.regel_open. On failure the line stays unopened and a series locked on
// the way is unlocked. The receipt's header area (c->h) gives date, branch
// and customer.
regel_fout regel_valideer(jrn_cursor *c, const plu_invoer &in, regel_uitslag *u);

// Function O once its questions are answered: a turnover-group line of
// amount aantal * prijs. RF_OMZGRP_VOORRAAD for a group that keeps stock
// (the screen asks again), RF_ONGELDIG for an unknown group.
regel_fout regel_omzetgroep(jrn_cursor *c, uint16_t omzetgroep, int32_t prijs, regel_uitslag *u);

// Does the turnover group keep stock (a group of articles sold with labels
// or in the small-article register)?
bool omzetgroep_met_voorraad(uint16_t omzetgroep);

// The price break of a size in a series: the price of a series/size line.
int32_t maat_prijs(const ser_rec &ser, uint8_t maat);

// Closes the open line: kind 'D' only adds the received amount (c->d) to
// the subtotal; 'V' and 'R' (and the other line letters) book the stock,
// count the subtotals, VAT and group sums, write H (and S in a group) before
// the first line, and the line under the letter kind. Nothing happens
// without vrk.regel_open. False when the BON file can't take the record
// (the bookings are done; the caller says so).
bool regel_sluiten(jrn_cursor *c, char kind);

// Drops the open line: the series lock is released, vrk.regel_open cleared,
// and the seller of the line goes back to the receipt's.
void regel_vervallen(jrn_cursor *c);

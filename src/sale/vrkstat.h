// The state of the sale entry. Only one sale entry runs in a process, so its
// state is one global, vrk, shared by the line rules (regel.h) and the sale
// screen. Every field is named as the sale entry names it; the screen reads
// and sets them, the line rules keep the counters.
//
// Invariants: regel_open holds while a line is entered and not yet in the
// BON file; while it holds for a label line (soort 0) the series of the
// label is locked (IXREADL on DTSER). bon_gestart holds once the H of the
// receipt is in the BON file. The subtotals and btw_totaal are the signed
// sums of the lines closed on this receipt.
#pragma once

#include <cstdint>

struct jrn_cursor;

struct vrk_staat {
    uint16_t verkoopdatum;    // day number of the sale; kept between sessions
    int filiaal;              // branch of the session
    uint16_t verkoper;        // seller of the receipt
    uint16_t verkoper_regel;  // seller of the line under entry (function W)
    bool regel_open;          // a line is entered and not yet in the BON file
    bool bon_gestart;         // the H is written
    bool in_groep;            // a sale group is open
    int rij;                  // screen row of the current line
    char soort_tx;            // 'V', 'R' or 'D': kind of the line under entry
    int32_t subtotaal_stuks;  // pieces of the receipt, signed
    int32_t subtotaal_bedrag; // amount of the receipt, signed
    int32_t btw_totaal;       // VAT of the receipt: amount minus amount excl., signed
    jrn_cursor *bon;          // the BON file of the receipt; its areas are the working copy
};
extern vrk_staat vrk;

// A new receipt: the counters and the flags of the receipt are cleared; the
// session fields (date, branch, sellers, bon) stay.
void vrk_bon_nieuw();

// Booking a journal line: the one engine behind the till, journal
// processing and the corrections. A line either books (label, series
// counters, article register, turnover) or is left with marks that say why
// not, and the run goes on: nothing here stops for a line that can't be
// booked.
//
// The marks on the line (jrnrec.h):
//   lflags 64           could not be booked (a signal), waits for correction
//   lflags 64 + 128     the number itself is unknown (label, EAN, series/size)
//   eti_status          with 64 on a label line: the status that refused it;
//                       without 64: 1 or 4 when a nota or correction label sold
//   ander_fil           with lflags 4: the branch the label came from
//   rest                series/size line: pieces still open
// A signal changes no label, no series counter and no turnover; a series/size
// line that runs short books exactly the pieces it found.
//
// All operations take the cursor whose h and regel are the receipt and the
// line, and c->letter the line's type: V and Z sell (+1), R and z return
// (-1); only V and R carry turnover. They work on the master buffers
// (stam.h), the label in eti_buffer / eti_nummer and the price action in
// actie_buffer (etiboek.h). DTOMZET must be open (omz_open) for the ones that
// post turnover. The caller writes the line back.
//
// Locks: the series is locked from the status test to the booking (or to the
// signal); the picks of a series kept by size lock it after their scan, and
// the status test under the lock catches a label that changed in between.
#pragma once

#include "sale/iojrn.h"

// +1 for a sale direction (V, Z), -1 for a return (R, z).
inline int vwkas_teken(char type) {
    return type == 'V' || type == 'Z' ? 1 : -1;
}

// The label in eti_nummer into eti_buffer, with its series, article and
// price action. Unless stil, a label of a series kept by size stands for a
// piece of its size: the oldest stock label of that size is taken for a sale
// (lflags 8, and 32 when it is in transit), the matching sold label for a
// return. False when there is no such label.
bool etiket_zoek(jrn_cursor *c, bool stil);
// The same for the corrections: the pick leaves lflags 8 alone.
bool etiket_zoek_corr(jrn_cursor *c, bool stil);

// The decision by direction and status for the label in eti_buffer: a sale
// books a label in stock (or a correction label without action code), a
// return a sold label; anything else is the signal 64 with eti_status.
// Without a signal and without stil a V or R line posts its turnover.
void vwkas_boek(jrn_cursor *c, bool stil);

// A label line: unless stil the label number is the line's nummer, else the
// caller put the chosen label in eti_nummer. An unknown label is 64 + 128.
void vwkas_etiket(jrn_cursor *c, bool stil);
// The same through etiket_zoek_corr, for the corrections.
void corr_etiket(jrn_cursor *c, bool stil);

// A series/size line whose EAN record is in ean_buffer, piece by piece (the
// amount shared evenly over the pieces of a sale, rounded; a return looks
// for labels at the unit price). A series without size registration is 64 +
// 128; pieces that found no label stay in rest with 64. The pieces booked are
// posted at line level, the whole line in the receipt's totals.
void vwkas_maat(jrn_cursor *c);

// The words of the marks of the line in c->regel (type c->letter): niveau 1
// transactions, 2 mutations, 3 signals, 0 the corrections. With eerste_regel
// (the first line printed after an H) the receipt's notes of c->h come
// first. Empty when there is nothing to say; else the first letter in
// capitals and no trailing ", ". A static buffer, valid to the next call.
const char *signaal_tekst(const jrn_cursor *c, int niveau, bool eerste_regel = false);

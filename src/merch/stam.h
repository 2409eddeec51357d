// The master file set: the merchandise files (and the customer files) that
// the program keeps open from the start of the main program to its end, in
// the order the suite opens them (mode 2 shared, 0 read-only):
//
//   DTART 2, DTSER 2, DTAANV 2, DTEAN 2, DTARTREG 2, DTKOERS 0, DTOMZGRP 0,
//   DTLEV 0, DTMERK 0, DTMAAT 0, DTMTOM 0, and with the customer file in use
//   (bit 1 of vlag1) DTKLT 2 and DTKLTKNM 0.
//
// A file that can't be opened ends the program inside IXOPEN. Closing goes
// in the suite's order of closing. Beside the handles live the one-record
// buffers of the master files: a lookup (leesstam.h) fills its buffer and
// later code relies on what stands in it.
#pragma once

#include "merch/stamrec.h"

struct ICB;

extern ICB *dtart, *dtser, *dtaanv, *dtean, *dtartreg, *dtkoers, *dtomzgrp, *dtlev, *dtmerk,
    *dtmaat, *dtmtom, *dtklt, *dtkltknm;

extern art_rec art_buffer;       // the article in hand
extern ser_rec ser_buffer;       // the series in hand (locked by whoever changes its labels)
extern omzgrp_rec omzgrp_buffer; // the turnover group in hand
extern ean_rec ean_buffer;       // the barcode in hand
extern artreg_rec artreg_buffer; // the small article (or its branch row) in hand
extern lev_rec lev_buffer;       // the supplier in hand
extern merk_rec merk_buffer;     // the brand in hand

// Opens the set (the system file must be open: it tells whether the
// customer files belong to it); the label store's VAT lookups and the size
// tables use these handles from then on.
void stam_open();
void stam_close();
bool stam_is_open();

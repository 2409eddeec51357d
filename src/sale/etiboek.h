// Stock booking of one line: a label changing status, the pick of a label
// of a series kept by size, a series/size line piece by piece, and the
// small-article register. The sale books with these when a line closes; the
// journal processing and its corrections book the lines of offline tills
// with the same routines.
//
// They work on the master buffers (stam.h: ser_buffer, art_buffer,
// ean_buffer, artreg_buffer; klt_buffer of the customer module) and on the
// label in eti_buffer / eti_nummer, and they set lflags, eti_status,
// ander_fil and rest of the line; the caller writes the line. The header h
// gives the line's date (datum), branch (filnr) and customer (kltnr).
//
// Locks: etiket_boek is entered with the series locked (IXREADL) and
// leaves it released (IXPUTREC). The picks scan without a lock and lock the
// series when they found a label. The customer of the receipt is held
// locked by the caller; a return touching another customer locks that one
// for the moment.
#pragma once

#include "frame/sysrec.h"
#include "merch/ioeti.h"
#include "sale/jrnrec.h"

#include <cstdint>

struct sys_actie;

extern etiket_rec eti_buffer; // the label in hand
extern int32_t eti_nummer;    // its number

// The action period nr (1..99) of the system file, kept in a one-record
// buffer; false when there is none. actie_buffer holds it after the call.
bool lees_actie(int nr);
void lees_actie_vergeet(); // after the system file's actions changed
extern sys_actie actie_buffer;

// The VAT rate (tenths of a percent) of a VAT code from system record 1.
int btw_tarief_code(int btw_code);

// Are customers booked on sales (vlag1 bit 2)? Does the system have tills
// (vlag1 bit 4)? Both read system record 1 once per call.
bool klanten_aan();
bool met_kassas();

// All effects of the label in eti_buffer changing status: teken +1 a sale
// (or a sale on approval), -1 a return. The series must be in ser_buffer,
// locked.
void etiket_boek(const jrn_h &h, jrn_regel &regel, int teken);

// The oldest stock label of the size of ean_buffer in the line's branch (a
// label in transfer to it as second choice). Found: the series is locked
// and the label is in eti_buffer.
bool zoek_voorraad_etiket(const jrn_h &h, jrn_regel &regel);

// A sold label that matches a return: size of ean_buffer, the branch, with
// customers the customer; price prijs .. prijs + marge (or exactly 0), the
// line's action; datum 0 takes the most recent sale, else that day exactly.
bool zoek_verkocht_etiket(const jrn_h &h, jrn_regel &regel, uint16_t datum, int32_t prijs,
                          int32_t marge);

// A series/size line (the EAN of the size in regel.invoer) piece by piece:
// rest counts what could not be booked; lflags 64 when labels ran out.
void maat_boek(const jrn_h &h, jrn_regel &regel, int teken);

// A small article: its branch row in DTARTREG (made when missing).
void artreg_boek(const jrn_h &h, jrn_regel &regel, int teken);

// The invoice file FACT%02d%02d.KAS (branch, till of the receipt): lines for
// the financial package of receipts invoiced to a customer. Written while a
// closed receipt is posted (omz_bon_uit_bon), when the system writes invoice
// files (vlag3 bit 2), the receipt has an amount to invoice and a customer.
// Fields are separated by "~"; every line ends in a newline:
//
//   D~admin~~~yymm                 administration of the branch, receipt month
//   H~code~~~~ddmmyy~~~~J~J~I      customer: his debtor code, else his number
//   R~remark                       a line's remark, when it has one
//   R~group~pieces~amount~VAT~ledger~rate   one per line; negative for a return
//   R~AF: Reeds voldaan ~1~amount~0~ledger~0 when on account differs from the
//                                  total: on account less total
//   T~                             end of the invoice
//
// The branch's administration number and ledger account lie in its record
// of DTFILGEG.TXT at the offsets below.
#pragma once

#include "sale/iojrn.h"

constexpr int FIL_FACT_ADMIN = 336;    // u16 in the branch record
constexpr int FIL_FACT_REKENING = 338; // i32 in the branch record

// soort 'H' opens the file for append (fatal "KAS_FACT" when it can't) and
// writes D and H; 'V' and 'R' the line of c->regel; 'T' the closing lines
// from c->t, and closes. The file stays open from H to T.
void fact_schrijf(jrn_cursor *c, char soort);

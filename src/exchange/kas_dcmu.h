// The mutation file KMUT%02d%02d.TXT (branch, till): how the back office and
// the tills of other branches learn that open sales on account, credit
// vouchers (KSKV) and goods on approval (KSZI) changed. A transfer program
// of the suite carries the file over; here it is appended a line at a time.
// Fixed columns, numbers right-aligned with blanks, a newline at the end:
//
//   R/T line (KSKV)                      I line (KSZI)
//   col  format  field                   col  format  field
//    0   %c      'R' on account, 'T'      0   'I'
//                credit voucher           1   %-3.3s  currency of the system
//    1   %-3.3s  currency of the system   4   %2u     branch   6 %2u till
//    4   %2u     branch   6 %2u till      8   %8ld    customer
//    8   %8ld    customer                16   %5hu    date    21 %4hu receipt
//   16   %5hu    date (day number)       25   %3hu    line
//   21   %4hu    receipt                 long form: 28 %-13.13s EAN,
//   long form: 25 %8ld amount,            41 %8ld amount, 49 %1u state
//   33 %8ld second amount, 41 %3hu seq
//
// The short form says that the entry is gone (the reader deletes it), the
// long form gives it as it now stands (the reader writes it). A value wider
// than its column shifts the columns behind it; records of branches above
// 99 write no line.
#pragma once

#include "exchange/kskvrec.h"
#include "sale/jrnrec.h"

#include <cstdio>

struct ICB;

// One R/T line of r: to f, or with f null appended to the file of r's
// doel_fil and doel_kas (a failed open is fatal, "KAS_DCMU").
void kmut_schrijf(const kskv_rec &r, bool kort, FILE *f);
// One I line of r: to f, or appended to the file of doel_fil, doel_kas.
void kmut_schrijf_i(const kszi_rec &r, bool kort, FILE *f, int doel_fil, int doel_kas);

// Apply a line to the file (open handle, or null to open it shared for the
// call). False for a line that is not of the kind or too short.
bool kmut_lees_kv(ICB *kskv, const char *line);
bool kmut_lees_i(ICB *kszi, const char *line);

// A receipt paid an open sale on account (d: the D record, kltnr: the
// receipt's customer): the sale is taken out of KSKV, found by its key or,
// without a customer, by date and receipt among the sales of its till; the
// short line goes to the mutation file of `branch`, till 0, whether it was
// found or not. Fits vrkbon_set_op_rekening.
void kskv_afboeken(int branch, uint32_t kltnr, const jrn_d &d);

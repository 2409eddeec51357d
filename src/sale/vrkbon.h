// The receipt work file (BON file) and its index.
//
// While a receipt is open, its records go to the branch's BON file in the
// current directory ("VRK%02d00.BON", see jrnnaam.h), and an index in memory
// remembers each record: its offset, its letter and whether it has been
// cancelled. Cancelling marks the index entry (the caller also sets the
// record's own cancelled flag and writes it back); entry 0 is the H. When
// the receipt is left, T and X are added, the turnover is posted from the
// BON file, and vrkbon_post copies the receipt to the end of the journal in
// one write, so that the journal only ever receives whole transactions.
// The BON file is then deleted. One receipt at a time per process: the
// index is global state of this module.
//
// A BON file that is still there when a receipt starts belongs to a receipt
// that was never finished (its stock bookings are done, its journal records
// are not): it is moved aside to the extension "OLD" for the administrator
// and never read again by this program.
//
// Two later steps of the posting are hooks, installed by the modules that
// own them; until then they do nothing:
//   turnover   the turnover posting of the closed receipt, run by
//              vrkbon_close(c, true) over the BON file before it is copied
//   on account for each live D that pays an open on-account sale
//              (op_datum set): the removal of that sale, called by
//              vrkbon_post before the D is copied. Install it only in a
//              system with tills.
#pragma once

#include "sale/iojrn.h"

#include <cstdint>

struct vrkbon_entry {
    int32_t offset; // of the record in the BON file
    char letter;
    uint8_t cancelled;
    uint8_t res[2];
};
static_assert(sizeof(vrkbon_entry) == 8);

constexpr int VRKBON_MAX = 651; // entries of the index

// A new receipt for branch: the index and a new, empty BON file (fatal when
// the index is still in use, "vrkbon" 2, or when the file can't be made).
jrn_cursor *vrkbon_open(int branch);

// Appends the record of letter from its area and indexes it. 0 when the
// index is full or the write failed.
int vrkbon_add(jrn_cursor *c, char letter);

int vrkbon_get(int index, vrkbon_entry *entry); // 0 when out of range
void vrkbon_cancel(int index);                  // when the index exists
int vrkbon_last_live();                         // highest live index above 0, 0 when none
int vrkbon_count();                             // entries
int vrkbon_next();                              // index of the next entry (= count)

// post: appends T (from the cursor's T area) and X, closes, runs the
// turnover hook and vrkbon_post. Without post it only closes, and removes
// the BON file when nothing was written to it. The index is freed.
void vrkbon_close(jrn_cursor *c, bool post);
// As vrkbon_close(c, true) without the turnover hook: for changes that
// book their turnover themselves.
void vrkbon_close_noturnover(jrn_cursor *c);

// Copies the indexed records of the branch's BON file to the end of its
// till 00 journal (created when missing): a cancelled T or B is left out,
// every other record goes over as it is, cancelled lines with their flag.
// Deletes the BON file and returns the journal's old size. A journal that
// can't be opened or written is fatal; the BON file then stays.
long vrkbon_post(int branch);

// The hooks (null: nothing).
using vrkbon_omzet_hook = void (*)(int branch);
using vrkbon_op_rekening_hook = void (*)(int branch, uint32_t kltnr, const jrn_d &d);
void vrkbon_set_omzet(vrkbon_omzet_hook h);
void vrkbon_set_op_rekening(vrkbon_op_rekening_hook h);

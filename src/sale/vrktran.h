// The sale entry behind the menu item "Verkopen/retouren": the session
// (date, branch, the branch's journal lock and check), one receipt after
// another (seller, customer, lines), and the end of each receipt, which
// carries it into the turnover and the branch's journal.
//
// A session holds the lock byte of its branch from the moment the branch
// is chosen until the user leaves the branch, also between receipts. A
// receipt lives in the BON file until it ends; a process that dies leaves
// the BON file behind, and the next receipt of that branch moves it aside
// to the extension "OLD" (vrkbon.h).
#pragma once

#include "sale/iojrn.h"

#include <cstdint>

// The menu action.
void verkopen();

// The user's work date, the first sale date of the run; the main program
// hands it over before its menu loop.
void verkopen_instellen(uint16_t werkdatum);

// Date and branch of a session, with the branch's lock taken and its
// journal checked. first: the date is asked (with one branch it always
// is). False when the user leaves.
bool sessie_open(bool first, int *branch, uint16_t *date);

// Seller (and customer) of a new receipt, and its BON file with the header
// filled. Null when the user leaves the branch.
jrn_cursor *bon_start(int branch, uint16_t date);

// The line loop of one receipt, and the end of the receipt: with an H
// written, T and X with the subtotal as total and cash amount, the turnover
// posting and the copy into the journal; without, only the BON file closed.
void bon_invoer(jrn_cursor *c);
void bon_afsluiten(jrn_cursor *c);

// The customer of the receipt belongs to the customer module, which
// installs these two steps. vraag: the question on row 4 (customers on the
// receipt, vlag1 bit 2); it puts the number into *kltnr, 0 for none, and
// returns false on cancel or escape, which goes back to the seller. einde:
// at the end of a receipt with a customer, before T and X are written.
// Without them the receipt has no customer: the step is passed over.
struct vrk_klant_hooks {
    bool (*vraag)(uint32_t *kltnr);
    void (*einde)(jrn_cursor *c);
};
void vrk_set_klant_hooks(const vrk_klant_hooks &h);

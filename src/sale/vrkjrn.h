// The guards of a branch's journal, shared by the sale entry, the data
// communication sale and the journal functions.
//
// One process at a time writes the back-office journal (till 00) of a
// branch: it holds the branch's lock byte in the system file, byte
// 13536 + branch, for its whole session. Before it writes it checks that
// the journal ends behind a whole transaction. A journal that ends on a
// record boundary inside a transaction was left by a process that died
// while it posted a receipt: the caller tells the user and lets him decide.
// A journal that can't be read to its end is damaged: it is set aside in
// the till's ".BAD" file and the work goes on with an empty journal.
#pragma once

struct jrn_cursor;

// Takes ('S') or releases ('U') the lock byte of branch. True when done;
// 'S' fails at once when another process holds it.
bool jrn_lock(int branch, int action);

// True when the journal at path can be used: missing, empty, or ending
// behind an X. False when its last transaction is incomplete. A damaged
// journal gets the dialog (interactive) or a message of five seconds; it
// is then appended to its ".BAD" file and made anew, empty (true), or the
// user leaves the program.
bool jrn_check_damaged(const char *path, bool interactive);

// Locks and checks the till 00 journal of every branch, in branch order.
// On the first failure the message stands on the third row from the
// bottom, the branches locked so far are released, <ENTER> is awaited and
// the result is false.
bool jrn_lock_all();
void jrn_unlock_all();

// The choice of branch and till for the journal functions. With more than
// one branch "Filiaal" at row 3, where <ENTER> gives all branches (branch =
// aantal_fil); with tills (vlag1 bit 4) "Kassa" at row 4, where <ENTER>
// gives all tills (100). A single till must have a journal. False on
// cancel or escape.
bool jrn_ask_branch_till(int *branch, int *till);

// The journals that match branch and till (aantal_fil or 255: all branches;
// 100 or 255: all tills), one per call, in order of branch and till: each
// one non-empty, usable (jrn_check_damaged) and opened read/write. Null at
// the end; the next call starts a new walk. Journals that can't be used
// are passed over without a word.
jrn_cursor *jrn_select_next(int branch, int till, bool interactive);

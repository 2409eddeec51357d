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

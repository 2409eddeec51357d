// KASMUT.TXT: the queue of master data changes for the offline tills. A
// transfer program of the suite carries it to the tills; the journal
// processing and the sale append to it. One line a change:
//
//   "%03d%03d%c%s\n"   branch, till (255: all), code letter, text
//
// Which codes are written depends on two marks: bit 1, a till of the branch
// (any branch for 255) takes mutations (till mode above 1 in DTFILGEG.TXT);
// bit 2, kasmut_vlag of the system is on.
//   class 1  A B C D M P S V Z b k s t v                   always
//   class 2  E F L O X m o                                 with bit 1
//   class 3  G H I J K N Q R T W Y a c d e f g l p x       with bit 2
// Other letters are never written. Codes this program writes: 'd' a sold
// label back in stock, 'g' a label of a series without sizes removed (both
// with the series "%05ld%03hu%04hu"), 'k' a customer made by processing,
// 's' savings added (both "%08ld").
//
// Nothing happens without the multi-till option. Writers of the file hold
// batch group 1; the batch coordination hands in how (kasmut_set_batch).
#pragma once

#include <cstddef>

int kasmut_klasse(char code);              // 1, 2, 3; 0 for a letter never written
int kasmut_merken(int filiaal, char code); // the marks that apply to the code: bits 1, 2
bool kasmut_wordt_geschreven(int filiaal, char code);

// The batch group that guards the file: enter(group, wait) -> granted,
// leave(group). Without them the file is used unguarded.
void kasmut_set_batch(bool (*enter)(int groep, bool wachten), void (*leave)(int groep));

// modus 1: for writing (the batch group taken, waiting for it), created
// when absent, appended; else for reading. False without the multi-till
// option, when the group is refused or the file can't be opened.
bool kasmut_open(int modus);
void kasmut_close();

// One change. A branch at or above the branch count (other than 255) is
// ignored. Opens the file for this line alone when it is not open. True
// when the line was written.
bool kasmut_schrijf(int filiaal, int kas, char code, const char *text);

// The next line of a file opened for reading; false at the end (or at an
// empty line).
bool kasmut_lees(int *filiaal, int *kas, char *code, char *text, size_t size);

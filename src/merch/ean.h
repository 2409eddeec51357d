// EAN codes and the one number field of the till and the corrections.
//
// The system's own code on its labels has thirteen digits: '2', a check
// digit, two digits for the kind and nine for the number, i.e.
// "20%02d%09ld" with the second character replaced by the check digit.
// Kind 0 is a label; a letter A..Z is stored as its place in the alphabet
// (M 13 series and size, A 1 article, O 15 turnover group, E 5 EAN). The
// check digit stands where the ordinary EAN-13 test gives it weight 3, so
// the finished code passes that test.
//
// Codes in one of the own EAN ranges (system record 15: a flag and nine
// four-character prefixes) are suppliers' codes, however they begin.
//
// An entry is a label number, an EAN of a supplier, or one of the entry
// letters (catalogue text "MAOE": series and size, article, turnover group,
// EAN; a translation may use other letters at those places) followed by a
// number written with exactly the digits it needs or leading zeros.
#pragma once

#include <cstdint>

struct ICB;
struct ean_rec;

constexpr int EAN_LABEL = 0; // kind of a label number

// The own code of (kind, number) into out (14 bytes). False when the kind is
// neither 0 nor 'A'..'Z' or the number is outside 0..999999999.
bool eti_ean(int soort, long nummer, char *out);
// Only digits, 8, 12 or 13 of them (8 not starting with '0'), and the
// weighted sum (1, 3, 1, ... from the right) a multiple of 10.
bool ean_geldig(const char *text);
// The same, but with etiket_breedte 8 an 8-character text starting with
// '0', '1' or '2' is a label number and no EAN.
bool eti_ean_geldig(const char *text);
// With the flag of system record 15 on: the first four characters are one
// of the own prefixes.
bool ean_eigen_prefix(const char *text);
// An own code taken apart: kind (0 or 'A'..'Z') and number. A label number
// above the highest the system allows is no own code. *soort is '?' and
// *nummer 0 when it is none.
bool ean_intern(const char *text, int *soort, long *nummer);
// Any entry taken apart: kind 0 (a label), 'M', 'A', 'O' or 'E' with its
// number; a supplier's EAN gives 'E' and 0. False for anything else.
bool ean_parse_invoer(const char *text, int *soort, long *nummer);
// The label number a scanned text holds (its own code or the number typed),
// -1 when it holds none.
int32_t eti_uit_ean(const char *text);
// DTEAN by code (key 1), trying a 13-digit code that begins with '0' once
// more as the 12-digit code it stands for. Not found: *rec is as it was. The
// handle's active key is kept. Does nothing when the code is already in
// *rec.
bool ean_lees(ICB *icb, ean_rec *rec, const char *text);

// The text cut to 13 characters and trimmed of blanks, into out (14 bytes).
void ean_tekst(const char *text, char *out);

// Dates and times. Every file of the suite keeps a date as a 16-bit day
// number: day 1 is 1 January 1900, 0 is "no date" and prints as blanks.
// The conversion is fixed because a file written by one program must read
// in the next one: every fourth year is a leap year, with no century rule,
// so 1900 has a 29 February and day 36526 is 1 January 2000.
//
// Date texts are DDMMJJ (six digits) or DDMMJJJJ (eight). Two-digit years
// below 51 are 20xx, from 51 on 19xx. Times are seconds since midnight.
#pragma once

#include <cstdint>

// The day number of day d, month m (1-12) of year y (1900 and on); no checks.
unsigned short datum_nr(int d, int m, int y);
// Day, month and full year of a day number (1 and on).
void datum_dmj(unsigned short nr, int *d, int *m, int *y);

unsigned short datum_vandaag(); // today, local time
int32_t tijd_nu();              // seconds since midnight, local time

// 6 or 8 digits forming a real day and month; February has 29 days when
// the last two digits of the year divide by 4.
bool datum_geldig(const char *text);
// The day number of a date text, 0 when it is invalid or out of reach.
unsigned short datum_naar_nr(const char *text);
// Six digits DDMMJJ into buffer (7 bytes); with lang the century goes in
// at position 4 (DDMMJJJJ, 9 bytes). Day 0 gives blanks of the same width.
char *datum_tekst(char *buffer, unsigned short nr, bool lang);
// "DD-MM-JJ" in a static buffer; blanks for day 0.
const char *datum_toon(unsigned short nr);
// "HH:MM:SS" in a static buffer.
const char *tijd_tekst(int32_t seconds);

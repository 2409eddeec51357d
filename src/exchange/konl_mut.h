// DCMU%02d%02d.TXT (branch, till): master data changes for the online tills,
// one line "%c%s\n" a change: code letter and text. The online tills are
// those with a file KAS%2d%2d.SYS (branch, till) in the current directory;
// the list is made once at the program's start (konl_lijst_maak).
#pragma once

#include <cstdint>

struct konl_kassa {
    uint8_t filiaal, kas;
};

// Reads the names of 11 characters "KASbbtt.SYS" of directory dir.
void konl_lijst_maak(const char *dir = ".");
int konl_aantal(); // tills in the list, -1 before it is made
const konl_kassa *konl_lijst();

// Appends one line, creating the file rw for owner and group; a failed open
// is fatal ("KONL_MUT").
void dcmu_schrijf(int filiaal, int kas, char code, const char *text);
// dcmu_schrijf for each online till of filiaal and kas, 255 standing for
// any. True when at least one was written. Using the list before it is made
// is fatal (code 2), as is a branch out of range (code 3).
bool dcmu_alle(int filiaal, int kas, char code, const char *text);

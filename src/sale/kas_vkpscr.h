// The seller field and the seller list on the screen (the rules are in
// kas_vkp.h). The field takes a number; <F5> opens the list; the list runs
// by number or by name, switched with TAB, and a prompt on its bottom line
// finds a number (by number) or the start of a surname (by name).
#pragma once

#include <cstdint>

// The seller field at row, col of the current window with the caller's
// format; the caller's range (term_state->term_set) holds for every round.
// F5 opens the list and a choice fills the field. With must_exist a filled
// field must name a seller, else "<%hu> Ongeldig verkopernummer" and the
// question repeats. Cancel, escape, Up, Down, F3 and an empty field leave
// with the value so far. Returns the key that ended the field.
int vkp_veld(int row, int col, const char *format, uint16_t *number, bool must_exist);

// The seller change of the receipt: the field "3u,E" with range 1 to 999;
// a new number loads the name, and the line shows "%-3d     %-30.30s", or
// blanks for 0. Returns the key that ended the field.
int vkp_wissel(int row, int col, uint16_t *number, bool must_exist);

// The list, starting at *number. True on a choice, which is put in *number.
bool vkp_lijst(uint16_t *number);

// The sale screen: one screen for the whole receipt, on the base window.
//
//   row 1         status line: title and kind of line, at column 49 branch
//                 and till, at column 72 the date
//   row 3         "VERK", seller number and name; at column 48 "Stuks" and
//                 "Subtotaal" with the receipt's totals
//   row 4         with customers on the receipt: "KLANT" and the customer
//   row 4 or 5    a line of drawing characters
//   row 5 or 6    the column header, with the letters of the functions that
//                 are valid now marked
//   row 6 or 7    the first line; the lines run down to the third row from
//                 the bottom
//   last - 2      status row of the label: brand, description, warnings
//   last - 1      bottom row: prompts
//
// The lines on the screen are never kept anywhere but in the BON file:
// scrolling and clearing both paint the receipt again from the BON index
// (scherm_herbouw), which jumps by half a page.
//
// The function keys of the receipt are letters read out of their labels
// (the character behind "&"), because a translation decides them; the
// column header and the kind mark of a line show them.
#pragma once

#include "sale/iojrn.h"

#include <cstdint>

// The sixteen functions of the receipt, numbered as in their table.
enum : int {
    FN_VERKOOP = 0,
    FN_RETOUR = 1,
    FN_DEBITEUR = 2,
    FN_WISSEL = 3,
    FN_GROEP = 4,
    FN_GROEP_TOTAAL = 5,
    FN_CLEAR = 6,
    FN_PRIJS = 7,
    FN_BEDRAG = 8,
    FN_KORTING = 9,
    FN_STUKS = 10,
    FN_OPMERKING = 11,
    FN_OMZETGROEP = 12,
    FN_ARTIKEL = 13,
    FN_MAAT = 14,
    FN_EINDE = 15,
    FN_AANTAL = 16
};

// The label of function f ("&Verkoop", ...), from the catalogue; function
// 15 has "einde" put into its "%s".
const char *functie_label(int f);
// The key letter of function f, read out of its label.
char functie_toets(int f);
// Reads the sixteen letters out of the labels (at the start of a receipt).
void functie_toetsen_lees();

// The rows of the layout, which depend on the customer row.
void scherm_klantrij(bool on); // vlag1 bit 2: the customer row is shown
int scherm_eerste_rij();       // first line row, 6 or 7
int scherm_laatste_rij();      // last line row: the third row from the bottom
int scherm_status_rij();       // label status row, last - 2
int scherm_prompt_rij();       // bottom row, last - 1

// Row 1: title and the kind of line behind it ("verkopen", "retour", ...).
void scherm_titel(const char *soort);
// Row 1 from column 49: branch (blank with one branch), till, date; a date
// other than today's in the attention colour.
void scherm_kop(int branch, int till, uint16_t date);
// Clears the screen below the status line and draws the seller row, the
// drawing line and the column header.
void scherm_opbouw(uint16_t verkoper);
// The seller row: "VERK", number and name (blanks for 0).
void scherm_verkoper(uint16_t verkoper);
// The column header with the letters of the valid functions (a text of
// key letters as lees_functie allows them) in the accent colour.
void scherm_kolomkop(const char *geldig);
// "Stuks" and "Subtotaal"; blank when both are 0.
void scherm_subtotaal(int32_t stuks, int32_t bedrag);
// The status row of the label: warning text (may be empty) in front, "Mrk"
// at column 29 and "Oms" at column 55 when given; null clears the row.
void scherm_etiket(const char *waarschuwing, const char *merk, const char *oms);
// A line of the receipt at row: kind 'V', 'R' (or 'Z', 'z') with its line
// payload, or 'D' with its received amount.
void regel_toon(int row, char kind, const jrn_regel &regel);
void regel_toon_d(int row, const jrn_d &d);
// Paints the receipt again from the BON index, from the entry where the
// latest half page starts when the lines don't fit (or when jump is set).
// Returns the row behind the last painted line.
int scherm_herbouw(jrn_cursor *c, bool jump);
// The kind mark of a line at column 47: the key of G in a group, the key
// of R on a return, otherwise "|".
void scherm_soortteken(int row, char kind, bool groep);

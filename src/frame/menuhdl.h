// The menu engine: builds a numbered menu in columns from calls that name
// groups and items, then runs it once. The user types a number, or moves
// with Up, Down and Tab, and the chosen item's function runs. What the user
// last chose is kept per menu level, so that coming back from a function
// puts the cursor where it was.
//
// Numbering: every group starts at the next ten plus one (11, 21, ...), so a
// group of more than nine items pushes the next group to the next free ten.
// A menu whose groups are all hidden numbers its items from 1.
//
// Usage: menu_start(level); menu_groep(...); menu_item(...); ...; menu_run().
// The caller builds the menu anew for each run: conditions change.
#pragma once

#include <cstdint>

using menu_functie = void (*)();

void menu_start(int level);
void menu_voorkeur(menu_functie f);
void menu_groep(bool shown, const char *text);
void menu_item(bool shown, bool active, const char *text, menu_functie f);
void menu_regel();
void menu_kolom();
bool menu_run(); // true when a function ran, false when the user left

namespace menu {
// The menu as built so far, for tests: number, active, text of each item.
struct Seen {
    int nummer;
    bool actief;
    const char *tekst;
};
int items(Seen *out, int max);
} // namespace menu

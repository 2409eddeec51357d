// Working state of the field engine, shared by its modules (set-up, editing
// loop, help screen, compose window). One field at a time: the public part
// of the field state lives in TERMSTATE (ing_*), this is the rest.
#pragma once

#include "term/ingave.h"

namespace nv::ing {

struct Field {
    int pos = 0;            // cursor, 0-based index into ing_text
    int offset = 0;         // first position shown of a scrolling field
    int oldpos = 0;         // to see whether a key moved the cursor
    char entry[256] = {};   // the text on entry, for HOME HOME and cancelling exits
    double entry_value = 0; // the value on entry
    bool auto_pending = false;
    bool left_marker = false, right_marker = false; // room for the scroll arrows
};
extern Field field;
extern char settext[256]; // the characters between [ and ] of the format

inline TERMSTATE *ts() {
    return term_state;
}
bool flag(char c);    // c among the flags of the field
bool is_date_sep();   // a date of width 8 or 10 (with separators)
bool date_relative(); // the text starts with + or -
char yes_letter();    // "J", the first letter of the catalogue text
char no_letter();     // "N"
// Date text of the field's width for a day number: DDMMJJ, DD-MM-JJ or
// DD-MM-JJJJ; blanks for day 0.
void date_text(char *out, unsigned short nr, int width);
void add_separators(char *text);    // "050316" -> "05-03-16" as far as the text reaches
void drop_separators(char *text);   // the '-' at 5 and 2 taken out
int leave(int key);                 // the leave steps; returns 1 on an error
int compose();                      // the compose window; the key made, or -1 for none
int compose_code(const char *code); // character of a compose code, 0 unknown
// The caller's variable as INGAVE saw it, checked against the type letter
// by set-up before anything is read from it.
extern IngVar var_info;
void check_var(const char *format);
// Screen position (1-based, whole terminal) of a place in the current window.
void screen_pos(int row, int col, int *srow, int *scol);

} // namespace nv::ing

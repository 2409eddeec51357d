// The selection list SEL: the window on which every lookup of the system
// rests (customers, series, sizes, sellers, printers, macros, ...). The list
// knows nothing of the data it shows; it works through four functions of
// the caller:
//
//   sel_step(delta)  moves the caller's position by delta records and loads
//                    that record, setting list->sel_pos to its identity.
//                    delta 0 loads the record at list->sel_pos. A step that
//                    cannot go the full distance returns false (it may stop
//                    at the end it reached, or stay where it was).
//   sel_input()      the prompt: normally one INGAVE on the bottom row of the
//                    list window (WININNERROWS() while the list is current).
//                    The navigation keys are already allowed in the input
//                    set. To locate a record it sets list->sel_pos and
//                    leaves with a non-empty field. Null: the list reads
//                    keys itself (INGAVEKEY), without a prompt field.
//   sel_header()     paints a column header on row 1, or null.
//   sel_row()        the text of the loaded record. With the hot-key
//                    argument of SELRUN, "&" marks the hot letter.
//
// Use:  list = SELNEW(...); set sel_pos, sel_title, place, sel_multi;
//       while (SELRUN(list, 0)) { ...the record at list->sel_pos... }
//       SELFREE(list);
// The first SELRUN runs the dialog and hands the first result; each next
// call hands the next one; false ends. Without sel_multi a run hands one
// record and the next call starts a new dialog.
//
// Keys: UP, DOWN, PGUP, PGDN, TAB (current line to the top), F3 (pick),
// ENTER on an empty field (pick when nothing is marked), CANCEL and ESC
// (nothing); with sel_multi also F7 (mark and down), F6 (invert the marks:
// the marks are then the records left out) and F10 (clear all marks).
#pragma once

#include <cstdint>

struct SELMARK {
    int32_t pos;
    SELMARK *next;
};

struct SEL {
    bool (*sel_step)(int32_t delta);
    void (*sel_input)();
    void (*sel_header)();
    const char *(*sel_row)();
    int32_t sel_pos;    // identity of the current record, -1 at creation
    bool sel_array;     // positions are array indices: cursor moves step relatively
    bool sel_multi;     // more than one record may be marked
    bool sel_invert;    // the marks are the records left out
    SELMARK *sel_marks; // marked positions, unsorted
    int32_t sel_pass;   // 0 before the run; counts the result calls
    int32_t sel_row0, sel_col0, sel_rows, sel_width; // place and size, 0 = default
    int32_t sel_line;                                // window row of the current line
    int32_t sel_mode;   // paint mode: 0/4 one line, 1/8 scrolled by one, 2/16 new page
    char sel_title[85]; // shown as " %s " in the top border
};

// Page paint modes (either value of a pair is accepted).
enum { SEL_PAINT_LINE = 0, SEL_PAINT_SCROLL = 1, SEL_PAINT_PAGE = 2 };

// A new list; null when out of memory. sel_pos -1, sel_mode 2, all else 0.
SEL *SELNEW(bool (*step)(int32_t), void (*input)(), void (*header)(), const char *(*row)());
// The dialog and the result calls; see above.
bool SELRUN(SEL *list, int hotkeys);
// Frees the marks and the list.
void SELFREE(SEL *list);

// dm_hdl: the small drop-down list at the right edge of the screen, used
// where a prompt line has no room for its choices. A list is a chain of
// entries: a title, separators and items with an id; DM_RUN shows it, lets
// the user choose with UP, DOWN, ENTER or a hot letter ("&" in the text), and
// frees it. CANCEL, ESC and F6 close it and give back `current`.
#pragma once

#include <cstdint>

struct DM_ENTRY {
    char kind; // 'T' title, 'S' separator, 'I' item
    char *text;
    int32_t id;
    bool enabled;
    DM_ENTRY *next;
};

struct DM_MENU {
    DM_ENTRY *head, *tail;
};

DM_MENU *DM_NEW(const char *title);
void DM_SEP(DM_MENU *menu, const char *text);
void DM_ITEM(DM_MENU *menu, const char *text, int32_t id, int enabled);
// Runs the list from screen row `row`, the cursor on the item `current`;
// returns the chosen item's id, or `current` when closed. Frees the list.
int32_t DM_RUN(DM_MENU *menu, int row, int32_t current);
// Frees a list that is not run.
void DM_FREE(DM_MENU *menu);

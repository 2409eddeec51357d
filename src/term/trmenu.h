// TR_MENU: a tree of pull-down menus with hot letters, second keys, check
// and radio items. A menu is either a bar on screen row 2 (every item of a
// bar drops down a submenu) or a boxed vertical menu. The menu knows nothing
// of what its items do: a run returns the id of the chosen plain item, and
// an item may have a callback that fires with the top menu and its id.
//
//   TR_MENU *m = TR_MENU_NEW(13, 0, 0, 0, "Macro menu");   // autosize, centred
//   TR_MENU_ITEM(m, -1, "macro &Invoeren", 1, 1, 0, nullptr);
//   TR_MENU_ITEM(m, -1, "", 0, 2, 0, nullptr);              // a separator
//   int id = TR_MENU_RUN(m, 0);
//   TR_MENU_FREE(m);
//
// Results of a run: the chosen id; 0 when closed (ing_key is then
// key_cancel); -1 for an empty menu; -2 after the time-out.
#pragma once

#include <cstdint>

struct TR_MENU;
using TR_CALLBACK = void (*)(TR_MENU *top, int32_t id);

struct TR_ITEM {
    int32_t id; // what the run returns
    int hotkey; // upper-cased letter behind '&', or 0
    int key;    // a second key, or 0
    bool enabled;
    bool separator;
    uint16_t kind; // 0 plain, 4/8 check off/on, 16/32 radio off/on
    int group;     // radio group: the items between two separators
    char *text;    // with one leading blank (separators: as given)
    TR_CALLBACK callback;
    TR_MENU *submenu;
};

struct TR_MENU {
    bool bar;      // menu bar on screen row 2
    bool enabled;  // the parent's item is enabled
    bool autosize; // width follows the longest item
    bool autosub;  // made by the run for a bar item without submenu
    int flags;     // creation flags, see below
    int16_t level; // depth in the tree, 0 for the top
    int16_t width, count, col, row;
    int16_t first, last; // visible items (bar, or a menu cut to the screen)
    char *title;
    TR_ITEM **items;
    int16_t room; // allocated entries of items
};

// Creation flags.
enum {
    TRM_AUTOSIZE = 1,
    TRM_BAR = 2,
    TRM_HCENTRE = 4,
    TRM_VCENTRE = 8,
    TRM_NOCLOSE = 16, // ESC and CANCEL don't close it
    TRM_TIMEOUT = 32, // TR_MENU_TIMEOUT applies to this menu
};

// Item flags and kinds.
enum {
    TRI_ENABLED = 1,
    TRI_SEPARATOR = 2,
    TRI_CHECK_OFF = 4,
    TRI_CHECK_ON = 8,
    TRI_RADIO_OFF = 16,
    TRI_RADIO_ON = 32,
};

TR_MENU *TR_MENU_NEW(int flags, int row, int col, int width, const char *title);
// Appends an item to the submenu of parent_id (created on first use), or to
// the menu itself with parent -1. Returns 1, or 0 with a status-line message.
int TR_MENU_ITEM(TR_MENU *menu, int32_t parent_id, const char *text, int32_t id, int flags, int key,
                 TR_CALLBACK callback);
int32_t TR_MENU_RUN(TR_MENU *menu, int32_t id);
void TR_MENU_FREE(TR_MENU *menu);

// Item and submenu changes: 1 when done, 0 (with "Item_ID %d not found !",
// "menu_ID %d not found !" or "submenu_ID %d not found !") when not.
int TR_MENU_ENABLE(TR_MENU *menu, int32_t id, int state); // 0 off, 1 on, 3 toggle
int TR_MENU_CALLBACK(TR_MENU *menu, int32_t id, TR_CALLBACK fn);
int TR_MENU_DELETE(TR_MENU *menu, int32_t id);
int TR_MENU_TITLE(TR_MENU *menu, int32_t parent, const char *text);
int TR_MENU_SECONDKEY(TR_MENU *menu, int32_t id, int key);
int TR_MENU_TEXT(TR_MENU *menu, int32_t id, const char *text);
int TR_MENU_RENAME(TR_MENU *menu, int32_t id, int32_t newid);
int TR_MENU_KIND(TR_MENU *menu, int32_t id); // the kind, or 0
int TR_MENU_SETKIND(TR_MENU *menu, int32_t id, int kind);
int TR_MENU_STATE(TR_MENU *menu, int32_t id); // 1 enabled, 0 not (or unknown)
int TR_MENU_FLAGS(TR_MENU *menu, int32_t parent, int flags);
int32_t TR_MENU_RADIO(TR_MENU *menu, int32_t parent, int32_t id); // id of the one on, or 0
int TR_MENU_PLACE(TR_MENU *menu, int row, int col);
void TR_MENU_TIMEOUT(int seconds); // 0: no time-out

// Keys for the next run, taken before the keyboard (last fed, first taken).
void TR_MENU_FEED(int key);
// Feeds the keys that lead from the starting items to the item id and
// choose it. 1 when done; 0 with a message (unknown id, or "stackoverflow"
// for a path of more than 63 keys).
int TR_MENU_GOTO(TR_MENU *menu, int32_t id);

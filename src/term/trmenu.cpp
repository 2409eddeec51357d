// TR_MENU: building, changing and running a tree of pull-down menus.
//
// A run is a recursion over the open menus: each level opens its window
// (WINOPEN7), reads keys and either returns to its parent (closed), or
// passes a choice or a time-out up, each level closing its own window on
// the way. Keys fed with TR_MENU_FEED come before the keyboard, last fed
// first; the moves between the submenus of a bar work by feeding keys to the
// levels above (LEFT in a submenu of a bar feeds ENTER and LEFT: the bar
// moves to its neighbour and opens it).
//
// Radio groups are the runs of items between two separators of one menu.
// The items of a bar always drop down: a bar item without submenu gets one
// of a single entry (a copy of the item, refreshed at every run).
#include "term/trmenu.h"

#include "base/cp850.h"
#include "base/fatal.h"
#include "term/scr.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr chtype ATTR_ENABLED = 0x200000;  // A_BOLD
constexpr chtype ATTR_DISABLED = 0x100000; // A_DIM
constexpr chtype ATTR_CURRENT = 0x40000;   // A_REVERSE
constexpr chtype ATTR_HOT = 0x220000;      // added to the item's attribute
constexpr chtype ATTR_SCROLL = 0x600000;   // A_BOLD | A_ALTCHARSET
// The check mark (the small square of the PC graphic set) and the radio
// mark, taken from the terminal's own line-drawing set: a raw PC graphic
// byte garbles the line on a terminal that reads UTF-8.
#define MARK_CHECK ACS_BLOCK
#define MARK_RADIO ACS_DIAMOND

constexpr int KEY_TIMEDOUT = -1000; // no key came within the time-out
constexpr int MAX_PATH_KEYS = 63;

int g_timeout = 0; // seconds, 0: none

// The feed: a stack of keys for the run, 60 at first, growing by 10.
int *g_feed = nullptr;
int g_feed_n = 0, g_feed_room = 0;

[[noreturn]] void out_of_memory() {
    nv::fatal("%s", "TR_MENU : Onvoldoende geheugen");
}

void *xcalloc(size_t n, size_t size) {
    void *p = std::calloc(n, size);
    if (!p) out_of_memory();
    return p;
}

char *xstrdup(const char *s) {
    char *p = static_cast<char *>(xcalloc(std::strlen(s) + 1, 1));
    std::strcpy(p, s);
    return p;
}

int screen_lines() {
    return term_state ? term_state->term_lines : 25;
}
int screen_cols() {
    return term_state ? term_state->term_cols : 80;
}

bool is_enter(int key) {
    return key == '\n' || key == '\r' || key == KEY_ENTER;
}

// The text as shown: without the '&'; *hot gets the index of the hot letter.
std::string shown(const char *text, int *hot = nullptr) {
    std::string out;
    int h = -1;
    for (const char *c = text ? text : ""; *c; ++c) {
        if (*c == '&' && c[1] && h < 0) {
            h = (int)out.size();
            continue;
        }
        out += *c;
    }
    if (hot) *hot = h;
    return out;
}

int hot_letter(const char *text) {
    const char *a = text ? std::strchr(text, '&') : nullptr;
    return a && a[1] ? cp850::upper((unsigned char)a[1]) : 0;
}

// --------------------------------------------------------------- the tree

TR_MENU *menu_make(int flags, int level) {
    auto *m = static_cast<TR_MENU *>(xcalloc(1, sizeof(TR_MENU)));
    m->flags = flags;
    m->autosize = flags & TRM_AUTOSIZE;
    m->bar = flags & TRM_BAR;
    m->level = (int16_t)level;
    m->enabled = true;
    return m;
}

void menu_free(TR_MENU *m);

void item_free(TR_ITEM *it) {
    if (!it) return;
    std::free(it->text);
    menu_free(it->submenu);
    std::free(it);
}

void menu_free(TR_MENU *m) {
    if (!m) return;
    for (int i = 0; i < m->count; ++i)
        item_free(m->items[i]);
    std::free(m->items);
    std::free(m->title);
    std::free(m);
}

void set_text(TR_ITEM *it, const char *text) {
    std::free(it->text);
    std::string t =
        it->separator ? std::string(text ? text : "") : " " + std::string(text ? text : "");
    it->text = xstrdup(t.c_str());
    it->hotkey = it->separator ? 0 : hot_letter(text);
}

void centre(TR_MENU *m) {
    if (m->flags & TRM_HCENTRE)
        m->col = (int16_t)std::max(1, (screen_cols() - (m->width + 2)) / 2 + 1);
    if (m->flags & TRM_VCENTRE)
        m->row = (int16_t)std::max(1, (screen_lines() - (m->count + 2)) / 2 + 1);
}

void grow(TR_MENU *m, const TR_ITEM *it) {
    if (m->autosize) {
        int w = (int)shown(it->text).size() + (it->separator ? 4 : 2);
        if (w > m->width) m->width = (int16_t)w;
    }
    centre(m);
}

// Radio groups: numbered by the separators before the item.
void regroup(TR_MENU *m) {
    int g = 0;
    for (int i = 0; i < m->count; ++i) {
        if (m->items[i]->separator) ++g;
        m->items[i]->group = g;
    }
}

void radio_on(TR_MENU *m, int idx) {
    TR_ITEM *it = m->items[idx];
    for (int i = 0; i < m->count; ++i) {
        TR_ITEM *o = m->items[i];
        if (o->group == it->group && o->kind == TRI_RADIO_ON) o->kind = TRI_RADIO_OFF;
    }
    it->kind = TRI_RADIO_ON;
}

TR_ITEM *append(TR_MENU *m, const char *text, int32_t id, int flags, int key, TR_CALLBACK cb) {
    if (m->count >= m->room) {
        int room = m->room ? m->room * 2 : 8;
        auto **items =
            static_cast<TR_ITEM **>(std::realloc(m->items, sizeof(TR_ITEM *) * (size_t)room));
        if (!items) out_of_memory();
        m->items = items;
        m->room = (int16_t)room;
    }
    auto *it = static_cast<TR_ITEM *>(xcalloc(1, sizeof(TR_ITEM)));
    it->id = id;
    it->separator = flags & TRI_SEPARATOR;
    it->enabled = (flags & TRI_ENABLED) && !it->separator;
    it->kind = (uint16_t)(it->separator ? 0 : flags & 0x3C);
    it->key = key;
    it->callback = cb;
    set_text(it, text);
    m->items[m->count++] = it;
    regroup(m);
    if (it->kind == TRI_RADIO_ON) radio_on(m, m->count - 1);
    grow(m, it);
    return it;
}

// Depth-first: the item with this id, its menu and index.
TR_ITEM *find_item(TR_MENU *m, int32_t id, TR_MENU **owner = nullptr, int *index = nullptr) {
    if (!m) return nullptr;
    for (int i = 0; i < m->count; ++i) {
        TR_ITEM *it = m->items[i];
        if (!it->separator && it->id == id) {
            if (owner) *owner = m;
            if (index) *index = i;
            return it;
        }
        if (TR_ITEM *f = find_item(it->submenu, id, owner, index)) return f;
    }
    return nullptr;
}

// The item indices that lead from the top to the item id.
bool path_to(TR_MENU *m, int32_t id, std::vector<int> &path) {
    for (int i = 0; m && i < m->count; ++i) {
        TR_ITEM *it = m->items[i];
        if (it->separator) continue;
        path.push_back(i);
        if (it->id == id || path_to(it->submenu, id, path)) return true;
        path.pop_back();
    }
    return false;
}

TR_ITEM *item_or_message(TR_MENU *menu, int32_t id, TR_MENU **owner = nullptr,
                         int *index = nullptr) {
    TR_ITEM *it = find_item(menu, id, owner, index);
    if (!it) error("Item_ID %d not found !", (int)id);
    return it;
}

// The menu of parent (-1: the menu itself), or null with a message.
TR_MENU *submenu_of(TR_MENU *menu, int32_t parent) {
    if (parent == -1) return menu;
    TR_ITEM *it = find_item(menu, parent);
    if (!it) {
        error("menu_ID %d not found !", (int)parent);
        return nullptr;
    }
    if (!it->submenu) error("submenu_ID %d not found !", (int)parent);
    return it->submenu;
}

// Bar items drop down: a single-entry submenu for those without one.
void prepare_bar(TR_MENU *bar) {
    for (int i = 0; i < bar->count; ++i) {
        TR_ITEM *it = bar->items[i];
        if (it->submenu && !it->submenu->autosub) continue;
        if (!it->submenu) {
            it->submenu = menu_make(TRM_AUTOSIZE, 1);
            it->submenu->autosub = true;
        }
        TR_MENU *s = it->submenu;
        for (int k = 0; k < s->count; ++k)
            item_free(s->items[k]);
        s->count = 0;
        s->width = 0;
        int flags = (it->enabled ? TRI_ENABLED : 0) | it->kind;
        append(s, it->text + 1, it->id, flags, it->key, it->callback);
        s->enabled = it->enabled;
    }
}

// ------------------------------------------------------------------- run

enum class Outcome { closed, chosen, timedout };
struct Result {
    Outcome o;
    int32_t id;
};

struct Run {
    TR_MENU *top;
    bool timed;
};

int next_key(const Run &r) {
    if (g_feed_n > 0) return g_feed[--g_feed_n];
    SCRFLUSH(0);
    if (r.timed && !term_state->term_sigkey && !KEYHIT()) {
        int c = KEYWAIT(WINCUR(), g_timeout * 1000);
        if (c == ERR) return KEY_TIMEDOUT;
        KEYPUSH(c);
    }
    return KEYREAD(WINCUR());
}

bool selectable(const TR_ITEM *it) {
    return !it->separator && (it->enabled || it->submenu);
}

int default_start(const TR_MENU *m) {
    for (int i = 0; i < m->count; ++i)
        if (!m->items[i]->separator && m->items[i]->enabled) return i;
    for (int i = 0; i < m->count; ++i)
        if (!m->items[i]->separator && m->items[i]->submenu) return i;
    return -1;
}

int step(const TR_MENU *m, int cur, int dir) {
    for (int n = 0; n < m->count; ++n) {
        cur = (cur + dir + m->count) % m->count;
        if (!m->items[cur]->separator) return cur;
    }
    return cur;
}

bool all_radio(const TR_MENU *m) {
    bool any = false;
    for (int i = 0; i < m->count; ++i) {
        const TR_ITEM *it = m->items[i];
        if (it->separator) continue;
        if (it->kind != TRI_RADIO_OFF && it->kind != TRI_RADIO_ON) return false;
        any = true;
    }
    return any;
}

chtype item_attr(const TR_ITEM *it, bool current) {
    return current ? ATTR_CURRENT : it->enabled ? ATTR_ENABLED : ATTR_DISABLED;
}

void put_char(chtype attr, int row, int col, chtype ch) {
    WINATTR(attr);
    WINMOVE(row, col);
    waddch(WINCUR(), ch);
    WINATTR(ATTR_ENABLED);
}

// Geometry of an open menu.
struct View {
    int row, col;       // screen place of the window
    int width;          // inner width (vertical) or screen width (bar)
    int visible;        // item rows (vertical)
    std::vector<int> x; // column of each bar item, 0 when not shown
};

void paint_vertical(TR_MENU *m, const View &v, int cur) {
    for (int i = m->first; i <= m->last; ++i) {
        int row = i - m->first + 1;
        TR_ITEM *it = m->items[i];
        if (it->separator) {
            WINATTR(ATTR_DISABLED);
            WINMOVE(row, 1);
            for (int c = 0; c < v.width; ++c)
                waddch(WINCUR(), ACS_HLINE);
            int len = (int)std::strlen(it->text);
            if (len)
                WINTEXT(ATTR_DISABLED, row, std::max(1, (v.width - len) / 2 + 1), "%s", it->text);
            continue;
        }
        chtype attr = item_attr(it, i == cur);
        int hot;
        std::string s = shown(it->text, &hot);
        WINTEXT(attr, row, 1, "%-*.*s", v.width, v.width, s.c_str());
        if (hot >= 0 && hot < v.width) WINTEXT(attr | ATTR_HOT, row, 1 + hot, "%c", s[(size_t)hot]);
        if (it->kind == TRI_CHECK_ON) put_char(attr, row, 1, MARK_CHECK);
        if (it->kind == TRI_RADIO_ON) put_char(attr, row, 1, MARK_RADIO);
        if (it->submenu && !it->submenu->autosub) put_char(attr, row, v.width, ACS_RARROW);
    }
}

// Lays out the bar from m->first so that cur is visible.
void layout_bar(TR_MENU *m, View &v, int cur) {
    if (cur < m->first) m->first = (int16_t)cur;
    for (;;) {
        v.x.assign((size_t)m->count, 0);
        int x = 2;
        m->last = m->first;
        for (int i = m->first; i < m->count; ++i) {
            int w = (int)shown(m->items[i]->text).size() + 1;
            if (x + w - 1 > v.width - 1 && i > m->first) break;
            v.x[(size_t)i] = x;
            m->last = (int16_t)i;
            x += w;
        }
        if (cur <= m->last || m->first >= cur) return;
        m->first++;
    }
}

void paint_bar(TR_MENU *m, View &v, int cur) {
    layout_bar(m, v, cur);
    WINTEXT(ATTR_ENABLED, 1, 1, "%-*s", v.width, "");
    for (int i = m->first; i <= m->last; ++i) {
        TR_ITEM *it = m->items[i];
        chtype attr = item_attr(it, i == cur);
        int hot;
        std::string s = shown(it->text, &hot) + " ";
        int x = v.x[(size_t)i];
        WINTEXT(attr, 1, x, "%s", s.c_str());
        if (hot >= 0) WINTEXT(attr | ATTR_HOT, 1, x + hot, "%c", s[(size_t)hot]);
    }
    if (m->first > 0) put_char(ATTR_SCROLL, 1, 1, ACS_LARROW);
    if (m->last < m->count - 1) put_char(ATTR_SCROLL, 1, v.width, ACS_RARROW);
}

View open_window(TR_MENU *m, int row, int col) {
    View v{};
    int lines = screen_lines(), cols = screen_cols();
    if (m->bar) {
        v.row = 2;
        v.col = 1;
        v.width = cols;
        WINOPEN7(2, 1, 1, cols);
        return v;
    }
    v.width = std::clamp((int)m->width, 5, 64);
    int h = m->count + 2;
    if (h > lines - 3) {
        h = lines - 3;
        row = 2;
    }
    if (row + h - 1 > lines - 1) row = lines - h;
    if (col + v.width + 2 - 1 > cols) col = cols - (v.width + 2) + 1;
    v.row = std::max(1, row);
    v.col = std::max(1, col);
    v.visible = h - 2;
    WINOPEN7(v.row, v.col, h, v.width + 2);
    if (m->title && *m->title)
        WINBOX(" %s ", m->title);
    else
        WINBOX(nullptr);
    return v;
}

void scroll_to(TR_MENU *m, const View &v, int cur) {
    if (m->bar) return;
    if (cur < m->first) m->first = (int16_t)cur;
    if (cur > m->first + v.visible - 1) m->first = (int16_t)(cur - v.visible + 1);
    m->first = (int16_t)std::clamp((int)m->first, 0, std::max(0, m->count - v.visible));
    m->last = (int16_t)std::min(m->count - 1, m->first + v.visible - 1);
}

// Where the submenu of item cur opens.
void submenu_place(const TR_MENU *m, const View &v, int cur, const TR_MENU *sub, int *row,
                   int *col) {
    if (m->bar) {
        *row = 3;
        *col = v.x[(size_t)cur] ? v.x[(size_t)cur] : 1;
        return;
    }
    int sw = std::clamp((int)sub->width, 5, 64) + 2;
    *row = v.row + (cur - m->first);
    *col = v.col + v.width + 2;
    if (*col + sw - 1 > screen_cols()) *col = std::max(1, v.col - sw);
}

Result run_menu(Run &r, TR_MENU *m, int row, int col, const std::vector<int> &path, size_t depth) {
    int cur = -1;
    bool on_path = depth < path.size();
    if (on_path && selectable(m->items[path[depth]])) cur = path[depth];
    if (cur < 0) cur = default_start(m);
    if (cur < 0) {
        term_state->ing_key = key_cancel;
        return {Outcome::closed, 0};
    }
    bool open_next = on_path && depth + 1 < path.size() && cur == path[depth];
    m->first = 0;
    View v = open_window(m, row, col);
    for (;;) {
        scroll_to(m, v, cur);
        if (m->bar)
            paint_bar(m, v, cur);
        else
            paint_vertical(m, v, cur);
        int key = open_next ? '\n' : next_key(r);
        if (key == KEY_TIMEDOUT) {
            WINCLOSE();
            return {Outcome::timedout, 0};
        }
        TR_ITEM *it = m->items[cur];
        if (m->bar && key == key_down) key = '\n';
        if (!m->bar && key == KEY_RIGHT && it->submenu) key = '\n';
        if (key == ',') key = '.';
        if (key > 0 && key < 256 && key != ' ' && !is_enter(key) && key != key_esc &&
            key != key_tab) {
            int uc = cp850::upper(key);
            for (int i = 0; i < m->count; ++i) {
                TR_ITEM *o = m->items[i];
                if (o->separator || !o->enabled) continue;
                if ((o->hotkey && o->hotkey == uc) || (o->key && (o->key == uc || o->key == key))) {
                    cur = i;
                    key = '\n';
                    break;
                }
            }
            it = m->items[cur];
        } else if (key >= 256) {
            for (int i = 0; i < m->count; ++i) { // a function key as second key
                TR_ITEM *o = m->items[i];
                if (!o->separator && o->enabled && o->key == key) {
                    cur = i;
                    key = '\n';
                    break;
                }
            }
            it = m->items[cur];
        }
        if (is_enter(key)) {
            bool path_here = open_next;
            open_next = false;
            if (!selectable(it)) continue;
            if (it->callback && !(it->submenu && it->submenu->autosub)) it->callback(r.top, it->id);
            if (it->submenu) {
                int srow, scol;
                scroll_to(m, v, cur);
                if (m->bar) layout_bar(m, v, cur);
                submenu_place(m, v, cur, it->submenu, &srow, &scol);
                static const std::vector<int> none;
                Result s = run_menu(r, it->submenu, srow, scol, path_here ? path : none, depth + 1);
                if (s.o != Outcome::closed) {
                    WINCLOSE();
                    return s;
                }
                continue;
            }
            if (it->kind == TRI_CHECK_OFF || it->kind == TRI_CHECK_ON) {
                it->kind = it->kind == TRI_CHECK_OFF ? TRI_CHECK_ON : TRI_CHECK_OFF;
            } else if (it->kind == TRI_RADIO_OFF || it->kind == TRI_RADIO_ON) {
                radio_on(m, cur);
                if (all_radio(m)) TR_MENU_FEED(key_esc);
            } else {
                WINCLOSE();
                return {Outcome::chosen, it->id};
            }
            continue;
        }
        if (key == key_cancel || key == key_esc) {
            if (m->flags & TRM_NOCLOSE) continue;
            WINCLOSE();
            term_state->ing_key = key_cancel;
            return {Outcome::closed, 0};
        }
        bool bar_tree = r.top->bar;
        if (m->bar) {
            if (key == KEY_LEFT || key == key_up) cur = step(m, cur, -1);
            if (key == KEY_RIGHT) cur = step(m, cur, 1);
            continue;
        }
        if (key == key_up) cur = step(m, cur, -1);
        if (key == key_down) cur = step(m, cur, 1);
        if (key == KEY_LEFT && m->level > 0) {
            if (bar_tree && m->level == 1) {
                TR_MENU_FEED('\n');
                TR_MENU_FEED(KEY_LEFT);
            }
            WINCLOSE();
            return {Outcome::closed, 0};
        }
        if (key == KEY_RIGHT && m->level > 0 && bar_tree) {
            TR_MENU_FEED('\n');
            TR_MENU_FEED(KEY_RIGHT);
            for (int l = 1; l < m->level; ++l)
                TR_MENU_FEED(key_esc);
            WINCLOSE();
            return {Outcome::closed, 0};
        }
    }
}

} // namespace

// ------------------------------------------------------------ public calls

TR_MENU *TR_MENU_NEW(int flags, int row, int col, int width, const char *title) {
    TR_MENU *m = menu_make(flags, 0);
    if (m->bar) {
        row = 2;
        col = 1;
        width = (int16_t)screen_cols();
    }
    m->row = (int16_t)row;
    m->col = (int16_t)col;
    m->width = (int16_t)width;
    if (title) m->title = xstrdup(title);
    centre(m);
    return m;
}

int TR_MENU_ITEM(TR_MENU *menu, int32_t parent_id, const char *text, int32_t id, int flags, int key,
                 TR_CALLBACK callback) {
    if (!menu) return 0;
    TR_MENU *m = menu;
    if (parent_id != -1) {
        TR_ITEM *p = find_item(menu, parent_id);
        if (!p) {
            error("menu_ID %d not found !", (int)parent_id);
            return 0;
        }
        if (!p->submenu || p->submenu->autosub) {
            TR_MENU *old = p->submenu;
            TR_MENU *owner = nullptr;
            find_item(menu, parent_id, &owner);
            p->submenu = menu_make(TRM_AUTOSIZE, (owner ? owner->level : 0) + 1);
            p->submenu->enabled = p->enabled;
            menu_free(old);
        }
        m = p->submenu;
    }
    if (m->bar && (flags & TRI_SEPARATOR)) return 1;
    append(m, text, id, flags, key, callback);
    return 1;
}

int32_t TR_MENU_RUN(TR_MENU *menu, int32_t id) {
    if (!menu) return 0;
    if (menu->count == 0) return -1;
    if (menu->bar) prepare_bar(menu);
    std::vector<int> path;
    if (id > 0 && !path_to(menu, id, path)) {
        error("Item_ID %d not found !", (int)id);
        return 0;
    }
    Run r{menu, (menu->flags & TRM_TIMEOUT) && g_timeout > 0};
    int row = menu->row > 0 ? menu->row : 1, col = menu->col > 0 ? menu->col : 1;
    int cursor = curs_set(0);
    Result res = run_menu(r, menu, row, col, path, 0);
    if (cursor != ERR) curs_set(cursor);
    switch (res.o) {
    case Outcome::chosen:
        return res.id;
    case Outcome::timedout:
        return -2;
    default:
        return 0;
    }
}

void TR_MENU_FREE(TR_MENU *menu) {
    menu_free(menu);
}

int TR_MENU_ENABLE(TR_MENU *menu, int32_t id, int state) {
    TR_ITEM *it = item_or_message(menu, id);
    if (!it) return 0;
    it->enabled = state == 3 ? !it->enabled : state != 0;
    if (it->submenu) it->submenu->enabled = it->enabled;
    return 1;
}

int TR_MENU_CALLBACK(TR_MENU *menu, int32_t id, TR_CALLBACK fn) {
    TR_ITEM *it = item_or_message(menu, id);
    if (it) it->callback = fn;
    return it != nullptr;
}

int TR_MENU_DELETE(TR_MENU *menu, int32_t id) {
    TR_MENU *owner;
    int idx;
    TR_ITEM *it = item_or_message(menu, id, &owner, &idx);
    if (!it) return 0;
    item_free(it);
    for (int i = idx; i + 1 < owner->count; ++i)
        owner->items[i] = owner->items[i + 1];
    owner->count--;
    regroup(owner);
    centre(owner);
    return 1;
}

int TR_MENU_TITLE(TR_MENU *menu, int32_t parent, const char *text) {
    TR_MENU *m = submenu_of(menu, parent);
    if (!m) return 0;
    std::free(m->title);
    m->title = text ? xstrdup(text) : nullptr;
    return 1;
}

int TR_MENU_SECONDKEY(TR_MENU *menu, int32_t id, int key) {
    TR_ITEM *it = item_or_message(menu, id);
    if (it) it->key = key;
    return it != nullptr;
}

int TR_MENU_TEXT(TR_MENU *menu, int32_t id, const char *text) {
    TR_MENU *owner;
    TR_ITEM *it = item_or_message(menu, id, &owner);
    if (!it) return 0;
    set_text(it, text);
    grow(owner, it);
    return 1;
}

int TR_MENU_RENAME(TR_MENU *menu, int32_t id, int32_t newid) {
    TR_ITEM *it = item_or_message(menu, id);
    if (it) it->id = newid;
    return it != nullptr;
}

int TR_MENU_KIND(TR_MENU *menu, int32_t id) {
    TR_ITEM *it = item_or_message(menu, id);
    return it ? it->kind : 0;
}

int TR_MENU_SETKIND(TR_MENU *menu, int32_t id, int kind) {
    TR_MENU *owner;
    int idx;
    TR_ITEM *it = item_or_message(menu, id, &owner, &idx);
    if (!it) return 0;
    it->kind = (uint16_t)(kind & 0x3C);
    if (it->kind == TRI_RADIO_ON) radio_on(owner, idx);
    return 1;
}

int TR_MENU_STATE(TR_MENU *menu, int32_t id) {
    TR_ITEM *it = item_or_message(menu, id);
    return it && it->enabled;
}

int TR_MENU_FLAGS(TR_MENU *menu, int32_t parent, int flags) {
    TR_MENU *m = submenu_of(menu, parent);
    if (!m) return 0;
    m->flags = flags;
    m->autosize = flags & TRM_AUTOSIZE;
    centre(m);
    return 1;
}

int32_t TR_MENU_RADIO(TR_MENU *menu, int32_t parent, int32_t id) {
    TR_MENU *m = submenu_of(menu, parent);
    if (!m) return 0;
    const TR_ITEM *it = nullptr;
    for (int i = 0; i < m->count && !it; ++i)
        if (!m->items[i]->separator && m->items[i]->id == id) it = m->items[i];
    if (!it) {
        error("Item_ID %d not found !", (int)id);
        return 0;
    }
    for (int i = 0; i < m->count; ++i)
        if (m->items[i]->group == it->group && m->items[i]->kind == TRI_RADIO_ON)
            return m->items[i]->id;
    return 0;
}

int TR_MENU_PLACE(TR_MENU *menu, int row, int col) {
    if (!menu) return 0;
    menu->row = (int16_t)row;
    menu->col = (int16_t)col;
    return 1;
}

void TR_MENU_TIMEOUT(int seconds) {
    g_timeout = std::max(0, seconds);
}

void TR_MENU_FEED(int key) {
    if (g_feed_n >= g_feed_room) {
        int room = g_feed_room ? g_feed_room + 10 : 60;
        int *f = static_cast<int *>(std::realloc(g_feed, sizeof(int) * (size_t)room));
        if (!f) out_of_memory();
        g_feed = f;
        g_feed_room = room;
    }
    g_feed[g_feed_n++] = key;
}

int TR_MENU_GOTO(TR_MENU *menu, int32_t id) {
    std::vector<int> path;
    if (!menu || !path_to(menu, id, path)) {
        error("Item_ID %d not found !", (int)id);
        return 0;
    }
    // Every level starts on its first item that can be chosen, and moves
    // forward to the one on the path.
    std::vector<int> keys;
    const TR_MENU *m = menu;
    for (size_t d = 0; d < path.size(); ++d) {
        int cur = std::max(0, default_start(m));
        for (int n = 0; cur != path[d] && n < m->count; ++n) {
            cur = step(m, cur, 1);
            keys.push_back(m->bar ? KEY_RIGHT : key_down);
        }
        keys.push_back('\n');
        const TR_ITEM *it = m->items[path[d]];
        if (m->bar && (!it->submenu || it->submenu->autosub) && d + 1 == path.size())
            keys.push_back('\n'); // the single entry of its drop-down
        m = it->submenu;
    }
    if ((int)keys.size() > MAX_PATH_KEYS) {
        error("%s", "stackoverflow");
        return 0;
    }
    for (auto k = keys.rbegin(); k != keys.rend(); ++k)
        TR_MENU_FEED(*k);
    return 1;
}

// The selection list SEL: dialog, page painting, marks and result calls.
//
// During a dialog a page table holds the position of every shown line; the
// record of the current line is the one loaded in the caller (for an array
// list the caller's own index follows the cursor by relative steps). A page
// is painted by loading its first record and stepping forward one record per
// line. The marks are an unsorted singly linked list of positions; with
// sel_invert they stand for the records left out.
//
// Window: row 3 (at most LINES-5), at the right edge, as wide as the first
// record's text plus 4 (at least the title plus 4), down to the line above
// the status line. Row 1 (2 under a header) is the first list line; the page
// has rows-first-3 lines; the last inner row is the caller's prompt.
#include "term/sel.h"

#include "base/catalog.h"
#include "base/cp850.h"
#include "term/ingave.h"
#include "term/scr.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace {

constexpr chtype ATTR_CURRENT = 0x40000; // A_REVERSE
constexpr chtype ATTR_LINE = 0x200000;   // A_BOLD
constexpr chtype ATTR_MARK = 0x600000;   // A_BOLD | A_ALTCHARSET
constexpr chtype ATTR_HOT = 0x220000;    // added to the line's attribute

// ------------------------------------------------------------------ marks

bool mark_find(const SEL *l, int32_t pos) {
    for (const SELMARK *m = l->sel_marks; m; m = m->next)
        if (m->pos == pos) return true;
    return false;
}

// Appends a mark; false (with the message) when there is no memory for it.
bool mark_add(SEL *l, int32_t pos) {
    SELMARK *n = new (std::nothrow) SELMARK{pos, nullptr};
    if (!n) {
        error("%s", "Niet genoeg geheugen voor selectie");
        return false;
    }
    SELMARK **p = &l->sel_marks;
    while (*p)
        p = &(*p)->next;
    *p = n;
    return true;
}

bool mark_remove(SEL *l, int32_t pos) {
    for (SELMARK **p = &l->sel_marks; *p; p = &(*p)->next)
        if ((*p)->pos == pos) {
            SELMARK *gone = *p;
            *p = gone->next;
            delete gone;
            return true;
        }
    return false;
}

void marks_free(SEL *l) {
    while (l->sel_marks) {
        SELMARK *n = l->sel_marks->next;
        delete l->sel_marks;
        l->sel_marks = n;
    }
}

// ---------------------------------------------------------------- display

// The row text without the '&' of the hot letter; *hot gets the index of the
// hot letter in the result, or -1.
std::string display_text(const char *text, bool hotkeys, int *hot) {
    std::string out;
    *hot = -1;
    for (const char *c = text ? text : ""; *c; ++c) {
        if (hotkeys && *c == '&' && c[1] && *hot < 0) {
            *hot = (int)out.size();
            continue;
        }
        out += *c == '\t' ? ' ' : *c;
    }
    return out;
}

struct Dialog {
    SEL *l = nullptr;
    bool hot = false;
    int first = 1; // window row of the first list line
    int lines = 1; // lines of a page
    int width = 1; // inner width
    std::vector<int32_t> page;
    std::vector<int> hotletter; // upper-case hot letter of each shown line, 0 none
    int cur = 0;

    bool load(int32_t pos) {
        l->sel_pos = pos;
        return l->sel_step(0);
    }

    // Paints line i from the record that is loaded now.
    void paint_line(int i, bool current) {
        int row = first + i;
        chtype attr = current ? ATTR_CURRENT : ATTR_LINE;
        int hi;
        std::string text = display_text(l->sel_row ? l->sel_row() : "", hot, &hi);
        bool marked = mark_find(l, l->sel_pos) != l->sel_invert;
        if (marked) {
            WINATTR(ATTR_MARK); // keeps the window's colours, unlike attributes on the character
            WINMOVE(row, 1);
            waddch(WINCUR(), ACS_RARROW);
            WINATTR(ATTR_LINE);
        } else {
            WINTEXT(ATTR_LINE, row, 1, " ");
        }
        int room = width - 1;
        WINTEXT(attr, row, 2, "%-*.*s", room, room, text.c_str());
        if (hi >= 0 && hi < room) WINTEXT(attr | ATTR_HOT, row, 2 + hi, "%c", text[(size_t)hi]);
        if ((size_t)i < hotletter.size())
            hotletter[(size_t)i] = hi >= 0 ? cp850::upper((unsigned char)text[(size_t)hi]) : 0;
        if (current) l->sel_line = row;
    }

    // Loads a page start; a record that went away gives way to its
    // neighbours. False when the list has become empty.
    bool load_start(int32_t pos) {
        if (load(pos)) return true;
        l->sel_pos = pos;
        if (l->sel_step(1)) return true;
        l->sel_pos = pos;
        return l->sel_step(-1);
    }

    // A page from start, the cursor on line want (cut to the page).
    bool paint_page(int32_t start, int want, int mode) {
        if (!load_start(start)) return false;
        l->sel_mode = mode;
        page.clear();
        hotletter.assign((size_t)lines, 0);
        for (;;) {
            page.push_back(l->sel_pos);
            paint_line((int)page.size() - 1, (int)page.size() - 1 == want);
            if ((int)page.size() == lines || !l->sel_step(1)) break;
        }
        for (int r = (int)page.size(); r < lines; ++r)
            WINCLREOL(first + r, 1);
        cur = std::clamp(want, 0, (int)page.size() - 1);
        load(page[(size_t)cur]);
        if (cur != want) paint_line(cur, true);
        return true;
    }

    // The loaded record is the one of the current line again.
    void sync() {
        if (!l->sel_array) load(page[(size_t)cur]);
    }

    // Cursor to line to within the page; the current record is loaded.
    void move_to(int to) {
        if (to == cur) return;
        l->sel_mode = SEL_PAINT_LINE;
        paint_line(cur, false);
        if (l->sel_array)
            l->sel_step(to - cur);
        else
            load(page[(size_t)to]);
        cur = to;
        paint_line(cur, true);
    }

    void repaint() { paint_page(page[0], cur, SEL_PAINT_PAGE); }

    void up() {
        if (cur > 0) return move_to(cur - 1);
        load(page[0]);
        if (l->sel_step(-1))
            paint_page(l->sel_pos, 0, SEL_PAINT_SCROLL);
        else
            load(page[0]);
    }

    void down() {
        if (cur < (int)page.size() - 1) return move_to(cur + 1);
        if ((int)page.size() < lines) return; // the end of the records
        load(page[(size_t)cur]);
        if (l->sel_step(1) && page.size() > 1)
            paint_page(page[1], lines - 1, SEL_PAINT_SCROLL);
        else
            load(page[(size_t)cur]);
    }

    void page_down() {
        load(page.back());
        if (l->sel_step(1))
            paint_page(l->sel_pos, cur, SEL_PAINT_PAGE);
        else {
            load(page[(size_t)cur]);
            move_to((int)page.size() - 1);
        }
    }

    void page_up() {
        int32_t top = page[0];
        load(top);
        if (!l->sel_step(-lines))
            while (l->sel_step(-1)) {
            }
        int want = l->sel_pos == top ? 0 : cur;
        paint_page(l->sel_pos, want, SEL_PAINT_PAGE);
    }

    void toggle_mark() {
        int32_t pos = page[(size_t)cur];
        if (!mark_remove(l, pos)) mark_add(l, pos);
        l->sel_mode = SEL_PAINT_LINE;
        paint_line(cur, true);
        down();
    }

    // The line of a hot letter on this page, or -1.
    int hot_line(int c) const {
        c = cp850::upper((unsigned char)c);
        for (size_t i = 0; i < page.size(); ++i)
            if (hotletter[i] && hotletter[i] == c) return (int)i;
        return -1;
    }
};

// Keys of the list, allowed in the input set before the prompt.
void allow_keys(const SEL *l) {
    KEYALLOW(key_up);
    KEYALLOW(key_down);
    KEYALLOW(key_pgup);
    KEYALLOW(key_pgdn);
    KEYALLOW(key_cancel);
    KEYALLOW(key_f3);
    KEYALLOW(key_tab);
    if (l->sel_multi) {
        KEYALLOW(key_f6);
        KEYALLOW(key_f7);
        KEYALLOW(key_f10);
    }
}

// One round of input: the key, and whether a field came back non-empty
// (*located), or the line of a hot letter (*hotline).
int read_input(Dialog &d, bool *located, int *hotline) {
    SEL *l = d.l;
    *located = false;
    *hotline = -1;
    allow_keys(l);
    if (l->sel_input) {
        l->sel_input();
        int key = term_state->ing_key;
        if (!(term_state->ing_status & ING_EMPTY) && ing_text[0] && key != key_cancel &&
            key != key_esc) {
            if (d.hot && std::strlen(ing_text) == 1)
                *hotline = d.hot_line((unsigned char)ing_text[0]);
            if (*hotline < 0) *located = true;
        }
        return key;
    }
    std::string chars = "\n";
    if (d.hot)
        for (size_t i = 0; i < d.page.size(); ++i)
            if (int c = d.hotletter[i]) {
                chars += (char)c;
                chars += (char)cp850::lower(c);
            }
    WINMOVE(d.first + d.cur, 1);
    int key = INGAVEKEY(chars.c_str());
    if (key > 0 && key < 256 && key != '\n') *hotline = d.hot_line(key);
    return key;
}

// The dialog. True when it ended with a choice (marks or inversion set).
bool dialog(SEL *l, bool hotkeys) {
    marks_free(l);
    l->sel_invert = false;
    if (!l->sel_step || !l->sel_step(0)) return false;
    TERMSTATE *t = term_state;
    int lines_ = t->term_lines, cols_ = t->term_cols;
    int hi;
    std::string first_text = display_text(l->sel_row ? l->sel_row() : "", hotkeys, &hi);
    int tlen = (int)std::strlen(l->sel_title);

    int row = l->sel_row0 > 0 ? l->sel_row0 : 3;
    row = std::max(1, std::min(row, lines_ - 5));
    int width = l->sel_width > 0 ? l->sel_width : (int)first_text.size() + 4;
    width = std::min(std::max(width, tlen + 4), cols_);
    int col = l->sel_col0 > 0 ? l->sel_col0 : cols_ - width + 1;
    col = std::max(1, std::min(col, cols_ - width + 1));
    int rows = l->sel_rows > 0 ? l->sel_rows : t->term_lines - 1 - row;
    rows = std::min(rows, lines_ - row);
    Dialog d;
    d.l = l;
    d.hot = hotkeys != 0;
    d.first = l->sel_header ? 2 : 1;
    rows = std::max(rows, d.first + 4);
    if (row + rows - 1 > lines_ - 1) row = std::max(1, lines_ - rows); // keep the status line free
    d.lines = rows - d.first - 3;
    d.width = width - 2;

    int32_t start = l->sel_pos;
    WINOPEN1(row, col, rows, width);
    if (tlen)
        WINBOX(" %s ", l->sel_title);
    else
        WINBOX(nullptr);
    if (l->sel_header) l->sel_header();
    if (!d.paint_page(start, 0, SEL_PAINT_PAGE)) {
        WINCLOSE();
        return false;
    }

    bool chosen = false;
    for (;;) {
        bool located;
        int hotline;
        int key = read_input(d, &located, &hotline);
        if (key == key_cancel || key == key_esc) break;
        if (located) {
            if (!d.load(l->sel_pos) || !d.paint_page(l->sel_pos, 0, SEL_PAINT_PAGE)) d.sync();
            continue;
        }
        d.sync();
        bool none = !l->sel_marks && !l->sel_invert;
        if (hotline >= 0) {
            d.move_to(hotline);
            if (!l->sel_multi) {
                chosen = mark_add(l, d.page[(size_t)d.cur]);
                if (chosen) break;
            } else {
                d.toggle_mark();
            }
            continue;
        }
        if (key == key_f3 || (key == '\n' && (!l->sel_multi || none))) {
            if (none && !mark_add(l, d.page[(size_t)d.cur])) continue;
            chosen = true;
            break;
        }
        if (key == '\n') continue; // marks exist: F3 ends a multiple choice
        if (l->sel_multi && key == key_f7) {
            d.toggle_mark();
        } else if (l->sel_multi && key == key_f6) {
            l->sel_invert = !l->sel_invert;
            d.repaint();
        } else if (l->sel_multi && key == key_f10) {
            marks_free(l);
            l->sel_invert = false;
            d.repaint();
        } else if (key == key_up) {
            d.up();
        } else if (key == key_down) {
            d.down();
        } else if (key == key_pgdn) {
            d.page_down();
        } else if (key == key_pgup) {
            d.page_up();
        } else if (key == key_tab) {
            d.paint_page(d.page[(size_t)d.cur], 0, SEL_PAINT_PAGE);
        }
    }
    if (chosen) l->sel_pos = d.page[(size_t)d.cur];
    WINCLOSE();
    if (!chosen) {
        marks_free(l);
        l->sel_invert = false;
    }
    return chosen;
}

// The next record that is not among the marks; marks met are dropped.
bool inverted_result(SEL *l) {
    bool ok;
    if (l->sel_pass == 0) {
        l->sel_step(0);
        while (l->sel_step(-15)) {
        }
        while (l->sel_step(-1)) {
        }
        ok = l->sel_step(0);
    } else {
        l->sel_step(0); // the caller may have read other records since
        ok = l->sel_step(1);
    }
    while (ok) {
        if (!mark_remove(l, l->sel_pos)) {
            l->sel_pass++;
            return true;
        }
        ok = l->sel_step(1);
    }
    marks_free(l);
    l->sel_invert = false;
    l->sel_pass = 0;
    return false;
}

bool plain_result(SEL *l) {
    while (SELMARK *m = l->sel_marks) {
        l->sel_marks = m->next;
        l->sel_pos = m->pos;
        delete m;
        if (l->sel_step(0)) { // a record that went away is skipped
            l->sel_pass = l->sel_multi ? l->sel_pass + 1 : 0;
            return true;
        }
    }
    l->sel_pass = 0;
    return false;
}

} // namespace

SEL *SELNEW(bool (*step)(int32_t), void (*input)(), void (*header)(), const char *(*row)()) {
    SEL *l = new (std::nothrow) SEL{};
    if (!l) return nullptr;
    l->sel_step = step;
    l->sel_input = input;
    l->sel_header = header;
    l->sel_row = row;
    l->sel_pos = -1;
    l->sel_mode = SEL_PAINT_PAGE;
    return l;
}

bool SELRUN(SEL *list, int hotkeys) {
    if (!list) return false;
    if (list->sel_pass == 0) {
        if (!dialog(list, hotkeys != 0)) return false;
        if (list->sel_invert) return inverted_result(list);
        return plain_result(list);
    }
    return list->sel_invert ? inverted_result(list) : plain_result(list);
}

void SELFREE(SEL *list) {
    if (!list) return;
    marks_free(list);
    delete list;
}

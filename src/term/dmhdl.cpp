// dm_hdl: the drop-down list of entries (title, separators, items).
//
// The window stands at the right edge of the screen from the given row and
// moves up when it doesn't fit above the status line; a list longer than the
// screen scrolls. Only enabled items can be current. Memory faults end the
// program with the tag "dm_hdl" and the number of the step that failed.
#include "term/dmhdl.h"

#include "base/cp850.h"
#include "base/fatal.h"
#include "term/ingave.h"
#include "term/scr.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

DM_ENTRY *entry(DM_MENU *m, char kind, const char *text, int32_t id, bool enabled, int nr,
                int nr_text) {
    auto *e = static_cast<DM_ENTRY *>(std::calloc(1, sizeof(DM_ENTRY)));
    if (!e) mem_fatal("dm_hdl", nr);
    e->text = static_cast<char *>(std::malloc(std::strlen(text ? text : "") + 1));
    if (!e->text) mem_fatal("dm_hdl", nr_text);
    std::strcpy(e->text, text ? text : "");
    e->kind = kind;
    e->id = id;
    e->enabled = enabled;
    if (m->tail)
        m->tail->next = e;
    else
        m->head = e;
    m->tail = e;
    return e;
}

std::string shown(const char *text, int *hot) {
    std::string out;
    *hot = -1;
    for (const char *c = text; *c; ++c) {
        if (*c == '&' && c[1] && *hot < 0) {
            *hot = (int)out.size();
            continue;
        }
        out += *c;
    }
    return out;
}

struct Line {
    DM_ENTRY *e;
    std::string text;
    int hot; // index in text, -1 none
};

bool choosable(const Line &l) {
    return l.e->kind == 'I' && l.e->enabled;
}

int next_choosable(const std::vector<Line> &lines, int from, int dir) {
    int n = (int)lines.size();
    for (int i = from + dir; i >= 0 && i < n; i += dir)
        if (choosable(lines[(size_t)i])) return i;
    return from;
}

} // namespace

DM_MENU *DM_NEW(const char *title) {
    auto *m = static_cast<DM_MENU *>(std::calloc(1, sizeof(DM_MENU)));
    if (!m) mem_fatal("dm_hdl", 1);
    if (title && *title) entry(m, 'T', title, 0, false, 2, 2);
    return m;
}

void DM_SEP(DM_MENU *menu, const char *text) {
    if (menu) entry(menu, 'S', text, 0, false, 3, 4);
}

void DM_ITEM(DM_MENU *menu, const char *text, int32_t id, int enabled) {
    if (menu) entry(menu, 'I', text, id, enabled != 0, 5, 6);
}

void DM_FREE(DM_MENU *menu) {
    if (!menu) return;
    for (DM_ENTRY *e = menu->head; e;) {
        DM_ENTRY *n = e->next;
        std::free(e->text);
        std::free(e);
        e = n;
    }
    std::free(menu);
}

int32_t DM_RUN(DM_MENU *menu, int row, int32_t current) {
    if (!menu) return current;
    const char *title = nullptr;
    std::vector<Line> lines;
    int longest = 0;
    for (DM_ENTRY *e = menu->head; e; e = e->next) {
        if (e->kind == 'T') {
            title = e->text;
            continue;
        }
        Line l{e, "", -1};
        l.text = shown(e->text, &l.hot);
        longest = std::max(longest, (int)l.text.size() + (e->kind == 'S' ? 2 : 0));
        lines.push_back(l);
    }
    int cur = -1;
    for (size_t i = 0; i < lines.size(); ++i)
        if (choosable(lines[i]) && (cur < 0 || lines[i].e->id == current)) cur = (int)i;
    if (cur < 0) {
        DM_FREE(menu);
        return current;
    }
    int tlines = term_state->term_lines, tcols = term_state->term_cols;
    int width = std::max(longest + 4, title ? (int)std::strlen(title) + 6 : 0);
    width = std::min(width, tcols);
    int height = std::min((int)lines.size() + 2, tlines - 1);
    int visible = height - 2;
    row = std::max(1, std::min(row, tlines - height));
    WINOPEN1(row, tcols - width + 1, height, width);
    if (title)
        WINBOX(" %s ", title);
    else
        WINBOX(nullptr);
    int inner = width - 2, top = 0;
    int32_t result = current;
    for (;;) {
        if (cur < top) top = cur;
        if (cur >= top + visible) top = cur - visible + 1;
        std::string hots = "\n";
        for (int r = 0; r < visible; ++r) {
            const Line &l = lines[(size_t)(top + r)];
            if (l.e->kind == 'S') {
                WINATTR(ATTR_LABEL);
                WINMOVE(r + 1, 1);
                for (int c = 0; c < inner; ++c)
                    waddch(WINCUR(), ACS_HLINE);
                if (!l.text.empty())
                    WINTEXT(ATTR_LABEL, r + 1, std::max(1, (inner - (int)l.text.size()) / 2 + 1),
                            "%s", l.text.c_str());
                continue;
            }
            chtype attr = top + r == cur ? A_REVERSE : l.e->enabled ? ATTR_DATA : ATTR_LABEL;
            WINTEXT(attr, r + 1, 1, " %-*.*s", inner - 1, inner - 1, l.text.c_str());
            if (l.hot >= 0)
                WINTEXT(attr | A_UNDERLINE | A_BOLD, r + 1, 2 + l.hot, "%c", l.text[(size_t)l.hot]);
        }
        for (const Line &l : lines)
            if (choosable(l) && l.hot >= 0) {
                int c = (unsigned char)l.text[(size_t)l.hot];
                hots += (char)cp850::upper(c);
                hots += (char)cp850::lower(c);
            }
        KEYALLOW(key_up);
        KEYALLOW(key_down);
        KEYALLOW(key_cancel);
        KEYALLOW(key_f6);
        int key = INGAVEKEY(hots.c_str());
        if (key == key_cancel || key == key_esc || key == key_f6) break;
        if (key == key_up) cur = next_choosable(lines, cur, -1);
        if (key == key_down) cur = next_choosable(lines, cur, 1);
        if (key == '\n') {
            result = lines[(size_t)cur].e->id;
            break;
        }
        if (key > 0 && key < 256 && key != '\n') {
            int uc = cp850::upper(key);
            auto hit = std::find_if(lines.begin(), lines.end(), [&](const Line &l) {
                return choosable(l) && l.hot >= 0 &&
                       cp850::upper((unsigned char)l.text[(size_t)l.hot]) == uc;
            });
            if (hit != lines.end()) {
                result = hit->e->id;
                break;
            }
        }
    }
    WINCLOSE();
    DM_FREE(menu);
    return result;
}

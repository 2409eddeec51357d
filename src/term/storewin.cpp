// The store's screens: see storewin.h.
#include "term/storewin.h"

#include "term/ingave.h"
#include "term/scr.h"

#include <cstring>

namespace {

// What the display has drawn: the bar's cells, and whether the window or the
// last-line bar is up.
struct Progress {
    bool window = false;
    bool line = false;
    int cells = 0;
} g_prog;

int cells_for(long value, long total, int width) {
    if (total <= 0) total = value > 0 ? value : 1;
    if (value < 0) value = 0;
    long long n = (long long)value * width / total;
    return n > width ? width : (int)n;
}

bool screen_up() {
    return term_state && term_state->term_top >= 0;
}

void open_window(const char *title) {
    const int lines = term_state->term_lines, cols = term_state->term_cols;
    WINOPEN(lines - 2, 1, 3, cols, 3);
    WINBOX(" %s ", title);
    WINDOW *w = WINCUR();
    wmove(w, 1, 1);
    for (int i = 0; i < cols - 2; ++i)
        waddch(w, ACS_CKBOARD);
    curs_set(0);
    g_prog = Progress{true, false, 0};
    SCRFLUSH(0);
}

void setup_line(const char *title) {
    const int lines = term_state->term_lines, cols = term_state->term_cols;
    WINTEXTBASE(A_NORMAL, lines, 1, "%*s", cols, "");
    int len = (int)std::strlen(title);
    if (len >= 1 && len <= 69) WINTEXTBASE(A_BOLD, lines, (cols - len) / 2 + 1, "%s", title);
    curs_set(0);
    g_prog = Progress{false, true, 0};
}

} // namespace

void term_progress(int action, long value, long total, const char *title) {
    if (!screen_up()) return;
    const int lines = term_state->term_lines, cols = term_state->term_cols;
    switch (action) {
    case 0:
        open_window(title);
        break;
    case 1: {
        if (!g_prog.window) break;
        int n = cells_for(value, total, cols - 2);
        if (n > g_prog.cells) {
            WINTEXT(A_REVERSE, 1, 1, "%*s", n, "");
            g_prog.cells = n;
            SCRFLUSH(0);
        }
        break;
    }
    case 2:
        if (g_prog.window) WINCLOSE();
        g_prog = Progress{};
        curs_set(1);
        SCRFLUSH(0);
        break;
    case 3:
        setup_line(title);
        break;
    case 4: {
        if (!g_prog.line) setup_line(title);
        int n = cells_for(value, total, cols);
        if (n > g_prog.cells) {
            WINTEXTBASE(A_REVERSE, lines, 1, "%*s", n, "");
            g_prog.cells = n;
            SCRFLUSH(0);
        }
        break;
    }
    case 5:
        WINTEXTBASE(A_NORMAL, lines, 1, "%*s", cols, "");
        g_prog = Progress{};
        curs_set(1);
        SCRFLUSH(0);
        break;
    default:
        break;
    }
}

void term_support_error(const char *what, const char *support) {
    if (!screen_up()) return;
    const int lines = term_state->term_lines, cols = term_state->term_cols;
    WINOPEN(lines - 4, 1, 5, cols, 2);
    WINBOX(nullptr);
    beep();
    WINTEXT(A_BOLD, 1, 2, "%s", what);
    WINTEXT(A_BOLD, 2, 2, "%s", support);
    INGAVEENTER(3, 2);
    WINCLOSE();
}

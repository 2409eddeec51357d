// The screen layer: terminals, the window stack, text calls, the status line,
// the fatal box and the key reader. See scr.h for the model.
//
// Invariants:
//  - term_win[0..term_wincount-1] is the window stack; term_top is the index
//    of the current window (term_wincount - 1 once a window is open).
//  - term_win[i].base is the index of the bottom window of the terminal the
//    window belongs to; term_base is that of the current terminal.
//  - A terminal's stdscr is the bottom window of that terminal the first time
//    it is used; a later switch back to it opens a full window on top instead.
//  - Text reaches ncurses only through put_text, keys only through read_key:
//    those two convert between code page 850 and the terminal.
#include "term/scr.h"

#include "base/catalog.h"
#include "base/cp850.h"
#include "base/fatal.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>
#include <vector>
#include <wchar.h>

TERMSTATE *term_state = nullptr;

namespace {

struct termios g_tty_saved;
bool g_tty_valid = false;
std::vector<int> g_keystack;
const MacroHooks *g_macro = nullptr;
void (*g_modem_hangup)() = nullptr;

bool g_headless = false;
int g_headless_lines = 25, g_headless_cols = 80;
FILE *g_headless_out = nullptr, *g_headless_in = nullptr;
int g_errcount = 0; // consecutive read errors: a line that hung up

bool g_utf8 = false;                     // the terminal speaks UTF-8
std::string g_ctype;                     // the LC_CTYPE the screen was opened with
volatile sig_atomic_t g_stop_signal = 0; // SIGHUP or SIGTERM came in
bool g_stopping = false;                 // the stop is under way
WINDOW *g_small = nullptr;               // the "too small" message while it stands

constexpr int k_colours[8][3] = {{4, 7, 6}, {7, 4, 1}, {0, 6, 7}, {0, 3, 1},
                                 {0, 7, 6}, {4, 7, 6}, {7, 4, 1}, {7, 0, 1}};

TERMSTATE *ts() {
    return term_state;
}

WINREC *top() {
    if (!ts() || ts()->term_top < 0) return nullptr;
    return &ts()->term_win[ts()->term_top];
}

bool colours() {
    return has_colors();
}

void put_cap(const char *cap) {
    if (g_headless) return;
    char *s = tigetstr(cap);
    if (s && s != (char *)-1) putp(s);
}

void tty_save() {
    if (isatty(0) && tcgetattr(0, &g_tty_saved) == 0) g_tty_valid = true;
}

void tty_restore() {
    if (g_tty_valid) tcsetattr(0, TCSADRAIN, &g_tty_saved);
}

void tty_noecho() {
    struct termios t;
    if (g_tty_valid && tcgetattr(0, &t) == 0) {
        t.c_lflag &= ~(tcflag_t)ECHO;
        tcsetattr(0, TCSADRAIN, &t);
    }
}

void on_sigint(int) {
    if (term_state) term_state->term_sigkey = KEY_DC;
}
void on_sigquit(int) {
    if (term_state) term_state->term_sigkey = KEY_EXIT;
}
void on_stop(int sig) {
    g_stop_signal = sig;
}

void install_signals() {
    struct sigaction sa {};
    sigemptyset(&sa.sa_mask);
    sa.sa_handler = on_sigint;
    sigaction(SIGINT, &sa, nullptr);
    sa.sa_handler = on_sigquit;
    sigaction(SIGQUIT, &sa, nullptr);
    // No SA_RESTART: a key read that is waiting returns, and sees the flag.
    sa.sa_handler = on_stop;
    sigaction(SIGHUP, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}

// ------------------------------------------------------- character sets

bool names_utf8(const char *v) {
    if (!v) return false;
    std::string s;
    for (const char *p = v; *p; ++p)
        if (*p != '-' && *p != '_') s += (char)std::tolower((unsigned char)*p);
    return s.find("utf8") != std::string::npos;
}

bool ctype_is_utf8() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

// Which set the terminal speaks, and the LC_CTYPE that goes with it: a UTF-8
// one for UTF-8 (the user's own, else C.UTF-8), "C" for code page 850,
// whose bytes the screen then hands on as they are.
void choose_charset() {
    const char *o = std::getenv("TERMCODE");
    bool forced = o && *o && (names_utf8(o) || std::strstr(o, "850") || std::strstr(o, "8bit"));
    bool want;
    if (forced) {
        want = names_utf8(o);
        if (want && (!std::setlocale(LC_CTYPE, "") || !ctype_is_utf8()))
            std::setlocale(LC_CTYPE, "C");
    } else if (g_headless) {
        want = false;
    } else if (std::setlocale(LC_CTYPE, "")) {
        want = ctype_is_utf8();
    } else {
        // A locale that isn't installed here still says what the terminal
        // speaks (an ssh session from elsewhere brings its own).
        const char *v = std::getenv("LC_ALL");
        if (!v || !*v) v = std::getenv("LC_CTYPE");
        if (!v || !*v) v = std::getenv("LANG");
        want = names_utf8(v);
    }
    if (want && !ctype_is_utf8()) {
        for (const char *l : {"C.UTF-8", "C.utf8", "en_US.UTF-8"})
            if (std::setlocale(LC_CTYPE, l) && ctype_is_utf8()) break;
        want = ctype_is_utf8();
    }
    if (!want) std::setlocale(LC_CTYPE, "C");
    g_utf8 = want;
    const char *now = std::setlocale(LC_CTYPE, nullptr);
    g_ctype = now ? now : "C";
}

// Other code may set the locale for its own ends (number parsing); the
// screen needs its own LC_CTYPE back before it touches ncurses.
void keep_ctype() {
    const char *now = std::setlocale(LC_CTYPE, nullptr);
    if (!now || g_ctype != now) std::setlocale(LC_CTYPE, g_ctype.c_str());
}

wchar_t shown(unsigned char c) {
    if (c < 0x20 || c == 0x7F) return L'?';
    return g_utf8 ? (wchar_t)cp850::to_unicode(c) : (wchar_t)c;
}

// The one way text reaches a window: at most n bytes of a code page 850 text.
void put_text(WINDOW *w, const char *text, int n) {
    keep_ctype();
    wchar_t buf[1024];
    int k = 0;
    for (; k < n && k < 1023 && text[k]; ++k)
        buf[k] = shown((unsigned char)text[k]);
    buf[k] = 0;
    waddnwstr(w, buf, k);
}

// The one way keys come from the terminal: a typed UTF-8 character becomes
// its code page 850 byte, or KEY_NOCHAR.
int read_key(WINDOW *w) {
    keep_ctype();
    if (!g_utf8) return wgetch(w);
    wint_t wc;
    int r = wget_wch(w, &wc);
    if (r == ERR) return ERR;
    if (r == KEY_CODE_YES || wc < 0x80) return (int)wc;
    int b = cp850::from_unicode((char32_t)wc);
    return b < 0 ? KEY_NOCHAR : b;
}

// ------------------------------------------------------- the stop

[[noreturn]] void stop_now(const char *why) {
    if (g_stopping) std::_Exit(1); // a stop that comes back here: no second round
    g_stopping = true;
    if (g_modem_hangup) {
        auto h = g_modem_hangup;
        g_modem_hangup = nullptr;
        h();
    }
    nv::fatal_stop_files();
    bool screen = term_state && term_state->term_current >= 0;
    if (term_state) SCREND();
    if (screen) {
        std::string line = nv::scr::to_terminal(why);
        std::printf("\r\n%s\r\n", line.c_str());
    }
    // The files are closed above; what stdio still holds goes out, and then
    // the process ends without exit handlers, which have nothing left to do
    // and could wait on a terminal that is gone.
    std::fflush(nullptr);
    std::_Exit(1);
}

void check_stop() {
    if (!g_stop_signal || g_stopping) return;
    char why[160];
    std::snprintf(why, sizeof why, KOR(1, 161, "Programma gestopt door signaal %d"),
                  (int)g_stop_signal);
    stop_now(why);
}

[[noreturn]] void terminal_gone() {
    stop_now(KOR(1, 162, "Programma gestopt: de terminal is weg"));
}

// ------------------------------------------------------- window size

// The size of the real terminal; false when it can't be told.
bool real_size(int *rows, int *cols) {
    if (g_headless) return false;
    struct winsize ws {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) != 0 && ioctl(STDIN_FILENO, TIOCGWINSZ, &ws) != 0)
        return false;
    if (ws.ws_row == 0 || ws.ws_col == 0) return false;
    *rows = ws.ws_row;
    *cols = ws.ws_col;
    return true;
}

bool big_enough() {
    int rows, cols;
    TERMSTATE *t = ts();
    return !t || !real_size(&rows, &cols) || (rows >= t->term_lines && cols >= t->term_cols);
}

void redraw_all() {
    TERMSTATE *t = ts();
    if (!t || t->term_top < 0) return;
    keep_ctype();
    clearok(curscr, TRUE);
    for (int i = t->term_base; i <= t->term_top; ++i) {
        touchwin(t->term_win[i].window);
        wnoutrefresh(t->term_win[i].window);
    }
    doupdate();
}

// The message on a screen that is too small: alone, at the top left, so
// that it shows whatever the terminal's size.
void show_too_small() {
    TERMSTATE *t = ts();
    int rows = 0, cols = 0;
    real_size(&rows, &cols);
    char text[200];
    std::snprintf(text, sizeof text,
                  KOR(1, 160, "Het venster is te klein (%d x %d): nodig is %d x %d"), cols, rows,
                  t->term_cols, t->term_lines);
    keep_ctype();
    if (!g_small) g_small = newwin(0, 0, 0, 0);
    if (!g_small) return;
    keypad(g_small, TRUE);
    werase(g_small);
    wmove(g_small, 0, 0);
    put_text(g_small, text, (int)std::strlen(text));
    clearok(g_small, TRUE);
    wrefresh(g_small);
}

// A window change: wait while the terminal is too small, then draw all.
void window_changed() {
    while (!big_enough()) {
        show_too_small();
        // Only the next window change counts; keys meanwhile are dropped.
        int c;
        do {
            check_stop();
            errno = 0;
            c = read_key(g_small ? g_small : stdscr);
            if (c == ERR && errno != EINTR && ++g_errcount > 3) terminal_gone();
            if (c != ERR) g_errcount = 0;
        } while (c != KEY_RESIZE);
    }
    if (g_small) {
        delwin(g_small);
        g_small = nullptr;
    }
    redraw_all();
}

// Inner size of a window record.
int inner_rows(const WINREC &w) {
    return getmaxy(w.window) - (w.bordered ? 2 : 0);
}
int inner_cols(const WINREC &w) {
    return getmaxx(w.window) - (w.bordered ? 2 : 0);
}

void set_pairs(int n, int scheme) {
    if (!colours() || n + 22 >= COLOR_PAIRS) return;
    const int *c = k_colours[scheme & 7];
    init_pair((short)(n + 1), (short)c[1], (short)c[0]);
    init_pair((short)(n + 8), (short)c[0], (short)c[1]);
    init_pair((short)(n + 15), (short)c[2], (short)c[0]);
    init_pair((short)(n + 22), (short)c[2], (short)c[1]);
}

// The common step of a new window: it becomes the top of the stack.
void push_window(WINDOW *w, int scheme) {
    TERMSTATE *t = ts();
    int n = t->term_wincount++;
    t->term_top = n;
    WINREC &r = t->term_win[n];
    r.window = w;
    r.term = t->term_current;
    r.base = t->term_base;
    r.scheme = scheme;
    r.bordered = false;
    keypad(w, TRUE);
    set_pairs(n, scheme);
    WINCLREOS(1, 1);
}

int vformat(char *buf, size_t size, const char *fmt, va_list ap) {
    int n = std::vsnprintf(buf, size, fmt, ap);
    if (n < 0) {
        buf[0] = 0;
        return 0;
    }
    return std::min(n, (int)size - 1);
}

void fatal_handler(const char *text) {
    SCRFATAL("%s", text);
}

bool key_in_table(int code, int *slot) {
    if (!ts() || code == 0) return false;
    for (int i = 0; i < KEY_SLOTS; ++i)
        if (ts()->term_keys[i] == code) {
            if (slot) *slot = i;
            return true;
        }
    return false;
}

void set_bit(INPUTSET *s, int code, bool on) {
    if (!s || code < 0 || code >= 512) return;
    if (on)
        s->bits[code >> 3] |= (unsigned char)(1u << (code & 7));
    else
        s->bits[code >> 3] &= (unsigned char)~(1u << (code & 7));
}

} // namespace

// ------------------------------------------------------------ set-up, end

void SCRHEADLESS(int lines, int cols) {
    g_headless = true;
    g_headless_lines = lines;
    g_headless_cols = cols;
}

void SCRINIT() {
    term_state = static_cast<TERMSTATE *>(std::calloc(1, sizeof(TERMSTATE)));
    if (!term_state) {
        std::printf("SCRINIT : %s\n", KOR(1, 95, "Onvoldoende geheugen"));
        std::exit(1);
    }
    TERMSTATE *t = term_state;
    t->term_current = -1;
    t->term_top = -1;
    t->term_delay = 1;
    install_signals();
    choose_charset();
    tty_save();
    tty_noecho();
    // The input set is made before any terminal exists: INSETNEW copies the
    // current one, of which there is none yet.
    t->term_set = INSETNEW(100);
    if (!t->term_set) SCRFATAL("SCRINIT : %s", KOR(1, 95, "Onvoldoende geheugen"));
    nv::set_fatal_handler(fatal_handler);
    SCRTERM("");
    KEYCLEARSET();
    t->term_decimals = std::getenv("KPOS") ? 0 : 2;
    const int defaults[KEY_SLOTS] = {KEY_CANCEL, 9,  KEY_HELP, KEY_UP, KEY_DOWN, KEY_PPAGE,
                                     KEY_NPAGE,  27, KEY_BTAB, 0,      0,        0};
    for (int i = 0; i < KEY_SLOTS; ++i)
        t->term_keys[i] = defaults[i];
    for (int i = 0; i < 12; ++i)
        t->term_keys[SLOT_F1 + i] = KEY_F(i + 1);
    if (g_macro && g_macro->load) g_macro->load();
    WAITOFF();
}

void SCRTERM(const char *suffix) {
    TERMSTATE *t = ts();
    if (t->term_current >= 0) {
        put_cap("clear");
        put_cap("rs2");
    }
    int idx = -1;
    for (int i = 0; i < t->term_count; ++i)
        if (std::strcmp(t->term_list[i].suffix, suffix) == 0) idx = i;
    if (idx < 0 && t->term_count < 5) {
        idx = t->term_count++;
        TERMREC &r = t->term_list[idx];
        std::snprintf(r.suffix, sizeof r.suffix, "%s", suffix);
        char name[128];
        const char *env = std::getenv("TERM");
        if (g_headless) {
            std::snprintf(name, sizeof name, "Xterm%s", suffix);
        } else if (env && *env) {
            std::snprintf(name, sizeof name, "%s%s", env, suffix);
            name[0] = (char)std::toupper((unsigned char)name[0]);
        } else {
            std::snprintf(name, sizeof name, "TERM%s", suffix);
        }
        FILE *out = stdout, *in = stdin;
        if (g_headless) {
            if (!g_headless_out) g_headless_out = std::fopen("/dev/null", "w");
            if (!g_headless_in) g_headless_in = std::fopen("/dev/null", "r");
            out = g_headless_out;
            in = g_headless_in;
        }
        use_env(FALSE);
        r.screen = newterm(name, out, in);
        // Headless without the suite's entries on the search path: the
        // ordinary entry will do for the base terminal.
        if (!r.screen && g_headless && !*suffix) r.screen = newterm("xterm", out, in);
        if (t->term_current >= 0) set_term(t->term_list[t->term_current].screen);
        if (!r.screen) {
            if (idx == 0) {
                if (idx > 0) endwin();
                std::printf("\n%s (%s)\n", KOR(1, 93, "Onbekende terminfo"), name);
                std::fflush(stdout);
                SCREXIT(10);
            }
        }
    }
    if (idx < 0 || !t->term_list[idx].screen) {
        // No entry for the variant: the base terminal takes over.
        if (*suffix) SCRTERM("");
        return;
    }
    int lines = 25, cols = 80;
    if (std::strcmp(suffix, "-w") == 0) cols = 132;
    if (std::strcmp(suffix, "-l") == 0) lines = 43;
    if (g_headless && !*suffix) {
        lines = g_headless_lines;
        cols = g_headless_cols;
    }
    set_term(t->term_list[idx].screen);
    if (LINES != lines || COLS != cols) resizeterm(lines, cols);
    t->term_current = idx;
    cbreak();
    noecho();
    install_signals();
    typeahead(-1);
    set_escdelay(100);
    // On a code page 850 terminal bytes 128 to 255 go out as they are,
    // whatever the C locale thinks of them.
    if (!g_utf8) use_legacy_coding(2);
    put_cap("is2");
    put_cap("is3");
    t->term_base = t->term_wincount;
    bool in_stack = false;
    for (int i = 0; i < t->term_wincount; ++i)
        if (t->term_win[i].window == stdscr) in_stack = true;
    if (in_stack) {
        WINOPEN(1, 1, lines, cols, 0);
    } else {
        if (colours()) start_color();
        t->term_scheme = 0;
        push_window(stdscr, 0);
    }
    t->term_lines = getmaxy(stdscr);
    t->term_cols = getmaxx(stdscr);
    if (!big_enough()) window_changed();
}

void SCREND() {
    TERMSTATE *t = ts();
    if (!t) return;
    typeahead(-1);
    if (g_macro && g_macro->save) g_macro->save();
    if (t->term_current >= 0) {
        if (t->term_message[0]) error("%s", "");
        WAITCLEAR();
        if (top()) wrefresh(top()->window);
        while (t->term_top > 0)
            WINCLOSE();
        if (g_small) delwin(g_small);
        g_small = nullptr;
        endwin();
        for (int i = t->term_count - 1; i >= 0; --i)
            if (t->term_list[i].screen) delscreen(t->term_list[i].screen);
    }
    tty_restore();
    if (t->term_set) INSETFREE(t->term_set);
    std::free(t);
    term_state = nullptr;
    g_keystack.clear();
    nv::set_fatal_handler(nullptr);
    if (g_headless_out) std::fclose(g_headless_out);
    if (g_headless_in) std::fclose(g_headless_in);
    g_headless_out = g_headless_in = nullptr;
    // Descriptors of character devices that a chained program shouldn't see.
    for (int fd = 3; fd < 40; ++fd) {
        struct stat st;
        if (fstat(fd, &st) == 0 && S_ISCHR(st.st_mode)) close(fd);
    }
}

void SCREXIT(int status) {
    if (term_state) SCREND();
    std::exit(status);
}

int SCRSYSTEM(const char *dir, const char *command, int wait) {
    char path[1024] = "";
    size_t dl = dir ? std::strlen(dir) : 0;
    if (dl && dir[dl - 1] == '/') {
        std::snprintf(path, sizeof path, "%s", dir);
    } else if (dir && *dir) {
        const char *v = std::getenv(dir);
        if (v) std::snprintf(path, sizeof path, "%s/", v);
    }
    std::strncat(path, command, sizeof path - std::strlen(path) - 1);
    endwin();
    tty_restore();
    int r = std::system(path);
    tty_noecho();
    if (wait) {
        std::printf("\n%s ", KOR(1, 96, "<ENTER> voor vervolg"));
        std::fflush(stdout);
        int c;
        while ((c = std::getchar()) != '\n' && c != EOF) {
        }
    }
    TERMSTATE *t = ts();
    if (t && top()) {
        clearok(curscr, TRUE);
        for (int i = t->term_base; i <= t->term_top; ++i) {
            touchwin(t->term_win[i].window);
            wnoutrefresh(t->term_win[i].window);
        }
        doupdate();
    }
    return r;
}

// ------------------------------------------------------------------ windows

void WINOPEN(int row, int col, int rows, int cols, int scheme) {
    TERMSTATE *t = ts();
    if (top()) wnoutrefresh(top()->window);
    WINDOW *w = newwin(rows, cols, row - 1, col - 1);
    if (!w) mem_fatal("scr", 1);
    t->term_scheme = scheme;
    push_window(w, scheme);
}

void WINCLOSE() {
    TERMSTATE *t = ts();
    if (!t || t->term_top < 0) return;
    int n = t->term_top;
    WINREC &r = t->term_win[n];
    int below_term = n > 0 ? t->term_win[n - 1].term : 0;
    bool is_std = false;
    for (int i = 0; i < t->term_count; ++i)
        if (t->term_list[i].screen && r.window == stdscr) is_std = true;
    if (below_term != r.term) {
        // The first window of a terminal switch: back to the terminal below.
        put_cap("clear");
        put_cap("rs2");
        if (is_std)
            werase(curscr);
        else
            delwin(r.window);
        t->term_current = below_term;
        set_term(t->term_list[below_term].screen);
        put_cap("is2");
        // set_term doesn't bring LINES and COLS back: the stdscr knows.
        t->term_lines = getmaxy(stdscr);
        t->term_cols = getmaxx(stdscr);
    } else {
        if (n != r.base) SCRREPAINT();
        if (!is_std) delwin(r.window);
    }
    t->term_wincount--;
    t->term_top--;
    if (t->term_top < 0) return;
    WINREC &nt = t->term_win[t->term_top];
    t->term_scheme = nt.scheme;
    if (t->term_base != nt.base) {
        clearok(nt.window, TRUE);
        t->term_base = nt.base;
        for (int i = nt.base; i <= t->term_top; ++i) {
            touchwin(t->term_win[i].window);
            wnoutrefresh(t->term_win[i].window);
        }
        doupdate();
    }
}

void WINBOX(const char *titlefmt, ...) {
    WINREC *r = top();
    if (!r || ts()->term_off) return;
    wattrset(r->window, A_BOLD | (colours() ? COLOR_PAIR(ts()->term_top + 1) : 0));
    wborder(r->window, 0, 0, 0, 0, 0, 0, 0, 0);
    if (titlefmt) {
        char title[256];
        va_list ap;
        va_start(ap, titlefmt);
        int len = vformat(title, sizeof title, titlefmt, ap);
        va_end(ap);
        int col = (getmaxx(r->window) - len) / 2 + 1;
        WINTEXT(A_BOLD, 1, col, "%s", title);
    }
    r->bordered = true;
    WINATTR(ATTR_DATA);
}

void WINATTR(chtype attr) {
    WINREC *r = top();
    if (!r) return;
    if (colours()) {
        int pair = ts()->term_top + 1;
        if ((attr & A_UNDERLINE) && !(attr & A_REVERSE)) pair = ts()->term_top + 15;
        attr &= ~A_UNDERLINE;
        wbkgdset(r->window, ' ' | COLOR_PAIR(pair));
        wattrset(r->window, attr | COLOR_PAIR(pair));
    } else {
        wattrset(r->window, attr);
    }
}

void WINMOVE(int row, int col) {
    WINREC *r = top();
    if (!r) return;
    if (row < 1 || col < 1 || row > inner_rows(*r) || col > inner_cols(*r)) return;
    if (r->bordered)
        wmove(r->window, row, col);
    else
        wmove(r->window, row - 1, col - 1);
}

WINDOW *WINCUR() {
    return top() ? top()->window : nullptr;
}
int WININNERROWS() {
    return top() ? inner_rows(*top()) : 0;
}
int WININNERCOLS() {
    return top() ? inner_cols(*top()) : 0;
}

// --------------------------------------------------------------------- text

static int text_at(WINREC *r, chtype attr, int row, int col, const char *text) {
    if (row < 1 || col < 1 || row > inner_rows(*r) || col > inner_cols(*r)) return 0;
    int room = inner_cols(*r) - col + 1;
    int len = std::min((int)std::strlen(text), room);
    WINATTR(attr);
    WINMOVE(row, col);
    put_text(r->window, text, len);
    return len;
}

int WINTEXT(chtype attr, int row, int col, const char *fmt, ...) {
    WINREC *r = top();
    if (!r || ts()->term_off) return 0;
    char buf[1024];
    va_list ap;
    va_start(ap, fmt);
    vformat(buf, sizeof buf, fmt, ap);
    va_end(ap);
    int n = text_at(r, attr, row, col, buf);
    SCRREFRESH_THROTTLED();
    WINATTR(ATTR_DATA);
    return n;
}

int WINPUTS(const char *fmt, ...) {
    WINREC *r = top();
    if (!r || ts()->term_off) return 0;
    char buf[1024];
    va_list ap;
    va_start(ap, fmt);
    int n = vformat(buf, sizeof buf, fmt, ap);
    va_end(ap);
    put_text(r->window, buf, n);
    SCRREFRESH_THROTTLED();
    return n;
}

int WINTEXTBASE(chtype attr, int row, int col, const char *fmt, ...) {
    TERMSTATE *t = ts();
    if (!t || t->term_off || t->term_top < 0) return 0;
    char buf[1024];
    va_list ap;
    va_start(ap, fmt);
    vformat(buf, sizeof buf, fmt, ap);
    va_end(ap);
    // Write on the bottom window by making it the top for a moment.
    int saved = t->term_top;
    t->term_top = t->term_base;
    WINREC *base = top();
    int cy, cx;
    getyx(base->window, cy, cx);
    int n = text_at(base, attr, row, col, buf);
    WINATTR(ATTR_DATA);
    wmove(base->window, cy, cx);
    wnoutrefresh(base->window);
    t->term_top = saved;
    for (int i = t->term_base + 1; i <= t->term_top; ++i) {
        touchwin(t->term_win[i].window);
        wnoutrefresh(t->term_win[i].window);
    }
    SCRREFRESH_THROTTLED();
    return n;
}

void WINCLREOL(int row, int col) {
    WINREC *r = top();
    if (!r || ts()->term_off) return;
    WINMOVE(row, col);
    WINATTR(ATTR_LABEL);
    wclrtoeol(r->window);
    if (r->bordered) {
        int y, x;
        getyx(r->window, y, x);
        mvwaddch(r->window, y, getmaxx(r->window) - 1,
                 ACS_VLINE | A_BOLD | (colours() ? COLOR_PAIR(ts()->term_top + 1) : 0));
        wmove(r->window, y, x);
    }
}

void WINCLREOS(int row, int col) {
    WINREC *r = top();
    if (!r || ts()->term_off) return;
    WINMOVE(row, col);
    int y, x;
    getyx(r->window, y, x);
    if (y == 0 && x == 0) {
        WINATTR(ATTR_LABEL);
        werase(r->window);
    } else {
        WINCLREOL(row, col);
        for (int rr = row + 1; rr <= inner_rows(*r); ++rr)
            WINCLREOL(rr, 1);
    }
    // A blank in the last inner position fills the colour to the corner.
    int lr = inner_rows(*r), lc = inner_cols(*r);
    WINATTR(ATTR_LABEL);
    if (r->bordered)
        mvwaddch(r->window, lr, lc, ' ');
    else
        mvwaddch(r->window, lr - 1, lc - 1, ' ');
    WINATTR(ATTR_DATA);
    WINMOVE(row, col);
}

void SCRFLUSH(int seconds) {
    check_stop();
    WINREC *r = top();
    if (!r) return;
    keep_ctype();
    if (!ts()->term_off) wrefresh(r->window);
    ts()->term_lastrefresh = std::time(nullptr);
    if (seconds > 0) sleep((unsigned)seconds); // a signal cuts it short
    check_stop();
}

void SCRREPAINT() {
    TERMSTATE *t = ts();
    if (!t || t->term_top < 0) return;
    WINREC &tp = t->term_win[t->term_top];
    int ty = getbegy(tp.window), th = getmaxy(tp.window);
    for (int i = tp.base; i < t->term_top; ++i) {
        WINDOW *w = t->term_win[i].window;
        int wy = getbegy(w), wh = getmaxy(w);
        int from = std::max(ty, wy), to = std::min(ty + th, wy + wh);
        if (to > from) wtouchln(w, from - wy, to - from, 1);
        wnoutrefresh(w);
    }
}

void SCRDELAY(int seconds) {
    if (ts()) ts()->term_delay = seconds;
}
int SCRDELAYGET() {
    return ts() ? ts()->term_delay : 1;
}

void SCRREFRESH_THROTTLED() {
    check_stop();
    TERMSTATE *t = ts();
    WINREC *r = top();
    if (!r || t->term_off || t->term_delay < 0) return;
    time_t now = std::time(nullptr);
    if (t->term_delay == 0 || now - t->term_lastrefresh >= t->term_delay) {
        keep_ctype();
        wrefresh(r->window);
        t->term_lastrefresh = now;
    }
}

void error(const char *fmt, ...) {
    TERMSTATE *t = ts();
    if (!t || t->term_off || t->term_top < 0) return;
    WINREC &base = t->term_win[t->term_base];
    WINDOW *w = base.window;
    int cy, cx;
    WINREC *cur = top();
    getyx(cur->window, cy, cx);
    int row = getmaxy(w) - 1; // the terminal's last line
    attr_t battr = A_BOLD | (colours() ? COLOR_PAIR(t->term_base + 1) : 0);
    if (t->term_message[0]) {
        int n = (int)std::strlen(t->term_message);
        wattrset(w, battr);
        mvwprintw(w, row, 0, "%-*.*s", n, n, "");
    }
    char buf[1024];
    va_list ap;
    va_start(ap, fmt);
    vformat(buf, sizeof buf, fmt, ap);
    va_end(ap);
    int width = std::min(t->term_cols, (int)sizeof t->term_message - 1);
    int keep = std::min((int)std::strlen(buf), width);
    buf[keep] = 0;
    std::memcpy(t->term_message, buf, (size_t)keep + 1);
    if (buf[0]) {
        int n = (int)std::strlen(buf);
        wattrset(w, battr);
        // The last cell of the screen is left alone: writing it would scroll.
        wmove(w, row, 0);
        put_text(w, buf, std::min(n, getmaxx(w) - 1));
        beep();
    }
    wattrset(w, ATTR_DATA);
    wnoutrefresh(w);
    for (int i = t->term_base + 1; i <= t->term_top; ++i) {
        touchwin(t->term_win[i].window);
        wnoutrefresh(t->term_win[i].window);
    }
    wmove(cur->window, cy, cx);
    SCRREFRESH_THROTTLED();
}

void SCRFATAL(const char *fmt, ...) {
    static char text[1024];
    static bool busy = false;
    va_list ap;
    va_start(ap, fmt);
    vformat(text, sizeof text, fmt, ap);
    va_end(ap);
    if (g_modem_hangup) {
        auto h = g_modem_hangup;
        g_modem_hangup = nullptr;
        h();
    }
    // The files first: whatever happens to the screen, they are sound.
    nv::fatal_stop_files();
    const char *title = KOR(1, 94, "PROGRAMMA AFGEBROKEN");
    const char *support = KOR(1, 95, "Neem contact op met de Support-groep");
    const char *enter = KOR(1, 96, "<ENTER> voor vervolg");
    void *probe = std::malloc(1000);
    TERMSTATE *t = ts();
    if (!busy && probe && t && t->term_top >= 0 && !t->term_off) {
        busy = true;
        std::free(probe);
        int width = (int)std::max(std::strlen(text), std::strlen(support)) + 4;
        width = std::min(width, t->term_cols - 9);
        WINOPEN(18, 10, 5, width, 3);
        WINBOX("%s", title);
        WINTEXT(A_BOLD, 1, 2, "%s", text);
        WINTEXT(A_BOLD, 2, 2, "%s", support);
        WINTEXT(ATTR_LABEL, 3, 2, "%s", enter);
        wrefresh(WINCUR());
        int errors = 0;
        for (;;) {
            check_stop();
            errno = 0;
            int c = g_keystack.empty() ? read_key(stdscr) : g_keystack.back();
            if (!g_keystack.empty()) g_keystack.pop_back();
            if (c == '\n' || c == '\r' || c == KEY_ENTER) break;
            if (c == KEY_RESIZE) window_changed();
            if (c == ERR && errno != EINTR && ++errors > 3) break; // no one at the line
            if (g_headless && g_keystack.empty()) break;
        }
        while (t->term_top > 0)
            WINCLOSE();
        SCREXIT(1);
    }
    std::free(probe);
    if (t && t->term_current >= 0) endwin();
    std::printf("%s\r\n%s\r\n%s\r\n%s", nv::scr::to_terminal(title).c_str(),
                nv::scr::to_terminal(text).c_str(), nv::scr::to_terminal(support).c_str(),
                nv::scr::to_terminal(enter).c_str());
    std::fflush(stdout);
    int c;
    if (!g_headless)
        while ((c = std::getchar()) != '\n' && c != EOF) {
        }
    std::printf("\r\n");
    SCREXIT(1);
}

void WAITMSG() {
    TERMSTATE *t = ts();
    if (!t || !t->term_waiton || t->term_top < 0) return;
    const char *txt = KOR(1, 125, "Even geduld aub");
    int len = (int)std::strlen(txt);
    WINTEXTBASE(A_BOLD, t->term_lines, t->term_cols - len, "%s", txt);
    t->term_waitshown = true;
}

void WAITCLEAR() {
    TERMSTATE *t = ts();
    if (!t || !t->term_waitshown || t->term_top < 0) return;
    int len = (int)std::strlen(KOR(1, 125, "Even geduld aub"));
    WINTEXTBASE(A_BOLD, t->term_lines, t->term_cols - len, "%*s", len, "");
    t->term_waitshown = false;
}

void WAITOFF() {
    if (!ts()) return;
    WAITCLEAR();
    ts()->term_waiton = false;
}

void WAITON() {
    if (!ts()) return;
    WAITCLEAR();
    ts()->term_waiton = true;
}

// --------------------------------------------------------------------- keys

void SCRMACROHOOKS(const MacroHooks *hooks) {
    g_macro = hooks;
}
void SCRMODEMHOOK(void (*hangup)()) {
    g_modem_hangup = hangup;
}

bool KEYISSLOT(const void *p) {
    if (!ts()) return false;
    const char *b = reinterpret_cast<const char *>(&ts()->term_keys[0]);
    const char *e = reinterpret_cast<const char *>(&ts()->term_keys[KEY_SLOTS]);
    const char *q = static_cast<const char *>(p);
    return q >= b && q < e;
}

void KEYPUSH(int code) {
    if (g_macro && g_macro->push && g_macro->push(code)) return;
    g_keystack.push_back(code);
}

int KEYGET(WINDOW *w) {
    TERMSTATE *t = ts();
    static int answers = 0;
    for (;;) {
        if (g_stopping) {
            // A question asked while the program stops (a file that closes
            // badly) gets ENTER; never a wait for a line that is gone.
            if (++answers > 20) std::_Exit(1);
            return '\n';
        }
        check_stop();
        if (t && t->term_sigkey) {
            int k = t->term_sigkey;
            t->term_sigkey = 0;
            return k;
        }
        if (g_headless) nv::fatal("KEYGET: %s", "geen toetsen meer (headless)");
        errno = 0;
        int c = read_key(w ? w : stdscr);
        if (c == ERR) {
            // A blocking read only fails for a signal or a terminal that is
            // gone; a few tries tell the two apart.
            if (errno != EINTR && ++g_errcount > 3) terminal_gone();
            continue;
        }
        g_errcount = 0;
        if (c == KEY_RESIZE) {
            window_changed();
            continue;
        }
        if (c == 17 || c == 19 || c < -1) continue;
        return c;
    }
}

int KEYWAIT(WINDOW *w, int ms) {
    check_stop();
    if (g_stopping) return KEYGET(w);
    wtimeout(w, ms);
    int c = read_key(w);
    while (c == KEY_RESIZE) {
        window_changed();
        c = read_key(w);
    }
    wtimeout(w, -1);
    return c;
}

bool KEYHIT() {
    if (!g_keystack.empty()) return true;
    if (g_macro && g_macro->pending && g_macro->pending()) return true;
    WINDOW *w = WINCUR();
    if (!w || g_headless || g_stopping) return false;
    check_stop();
    nodelay(w, TRUE);
    int c = read_key(w);
    nodelay(w, FALSE);
    if (c == KEY_RESIZE) {
        window_changed();
        return false;
    }
    if (c == ERR) return false;
    g_keystack.push_back(c);
    return true;
}

int KEYREAD(WINDOW *w) {
    for (;;) {
        KEYHIT();
        int c;
        if (!g_keystack.empty()) {
            c = g_keystack.back();
            g_keystack.pop_back();
        } else if (g_macro && g_macro->pop && g_macro->pop(&c)) {
        } else {
            c = KEYGET(w); // a key left by a signal replaces what was read
        }
        if (c == KEY_F(2) && g_macro && g_macro->f2 && !KEYISSET(KEY_F(2))) {
            c = g_macro->f2(w);
            if (c == 0) continue;
        }
        if (c == 17 || c == 19 || c < -1) continue;
        return c;
    }
}

char *KEYNAME(int code, char *buf) {
    const char *n = nullptr;
    switch (code) {
    case '\n':
    case '\r':
    case KEY_ENTER:
        n = "RTRN";
        break;
    case 27:
        n = "ESC";
        break;
    case 9:
        n = "TAB";
        break;
    case KEY_DC:
        n = "DEL";
        break;
    case KEY_IC:
        n = "INS";
        break;
    case KEY_HOME:
        n = "HOME";
        break;
    case KEY_END:
        n = "END";
        break;
    case KEY_DOWN:
        n = "DOWN";
        break;
    case KEY_UP:
        n = "UP";
        break;
    case KEY_LEFT:
        n = "LEFT";
        break;
    case KEY_RIGHT:
        n = "RGHT";
        break;
    case KEY_BACKSPACE:
        n = "BACK";
        break;
    case KEY_NPAGE:
        n = "PGDN";
        break;
    case KEY_PPAGE:
        n = "PGUP";
        break;
    case ' ':
        n = "SPACE";
        break;
    case KEY_BTAB:
        n = "SH_TAB";
        break;
    default:
        break;
    }
    if (n)
        std::strcpy(buf, n);
    else if (code >= KEY_F(1) && code <= KEY_F(12) && code != KEY_F(2))
        std::sprintf(buf, "F%-2d", code - KEY_F(0));
    else
        std::sprintf(buf, "%c", (char)code);
    return buf;
}

void KEYALLOW(int code) {
    if (!ts() || code < 0 || code >= 512) return;
    set_bit(ts()->term_set, code, true);
    if (code == key_cancel) set_bit(ts()->term_set, key_esc, true);
    if (code == key_help) set_bit(ts()->term_set, key_f1, true);
}

void KEYDENY(int code) {
    if (ts()) set_bit(ts()->term_set, code, false);
}

bool KEYISSET(int code) {
    if (!ts() || !ts()->term_set || code < 0 || code >= 512) return false;
    return ts()->term_set->bits[code >> 3] & (1u << (code & 7));
}

bool KEYISEXIT(int code) {
    return KEYISSET(code) && key_in_table(code, nullptr);
}

bool KEYISMASKED(int code) {
    int slot;
    if (!KEYISSET(code) || !key_in_table(code, &slot)) return false;
    return ts()->term_set->mask & (1u << slot);
}

void KEYMASK(int code) {
    int slot;
    if (key_in_table(code, &slot)) ts()->term_set->mask |= 1u << slot;
}

void KEYUNMASK(int code) {
    int slot;
    if (key_in_table(code, &slot)) ts()->term_set->mask &= ~(1u << slot);
}

void KEYCLEARSET() {
    if (!ts() || !ts()->term_set) return;
    INPUTSET *s = ts()->term_set;
    std::memset(s->bits, 0, sizeof s->bits);
    s->lower = 0.0;
    s->upper = -1.0;
    s->mask = 0;
}

INPUTSET *INSETNEW(int size) {
    if (size <= 0) size = 81;
    INPUTSET *s = static_cast<INPUTSET *>(std::calloc(1, sizeof(INPUTSET)));
    if (!s) return nullptr;
    s->scratch = static_cast<char *>(std::calloc(1, (size_t)size));
    if (!s->scratch) {
        std::free(s);
        return nullptr;
    }
    s->scratch_size = size;
    s->upper = -1.0;
    if (ts() && ts()->term_set && ts()->term_set != s) {
        const INPUTSET *c = ts()->term_set;
        std::memcpy(s->bits, c->bits, sizeof s->bits);
        s->lower = c->lower;
        s->upper = c->upper;
        s->mask = c->mask;
    }
    return s;
}

void INSETUSE(const INPUTSET *set) {
    if (!ts() || !ts()->term_set || !set || set == ts()->term_set) return;
    INPUTSET *c = ts()->term_set;
    std::memcpy(c->bits, set->bits, sizeof c->bits);
    c->lower = set->lower;
    c->upper = set->upper;
    c->mask = set->mask;
}

void INSETFREE(INPUTSET *set) {
    if (!set) return;
    std::free(set->scratch);
    std::free(set);
}

// ------------------------------------------------------- character sets

bool nv::scr::utf8() {
    return g_utf8;
}

std::string nv::scr::to_terminal(const char *text) {
    std::string out;
    for (const char *p = text ? text : ""; *p; ++p) {
        unsigned char c = (unsigned char)*p;
        char32_t u = c < 0x20 || c == 0x7F ? U'?' : g_utf8 ? cp850::to_unicode(c) : c;
        if (!g_utf8 || u < 0x80) {
            out += (char)u;
        } else if (u < 0x800) {
            out += (char)(0xC0 | (u >> 6));
            out += (char)(0x80 | (u & 0x3F));
        } else {
            out += (char)(0xE0 | (u >> 12));
            out += (char)(0x80 | ((u >> 6) & 0x3F));
            out += (char)(0x80 | (u & 0x3F));
        }
    }
    return out;
}

std::string nv::scr::from_terminal(const char *text) {
    if (!g_utf8) return text ? text : "";
    std::string out;
    const unsigned char *p = (const unsigned char *)(text ? text : "");
    while (*p) {
        char32_t u = *p;
        int more = u < 0x80 ? 0 : u >= 0xF0 ? 3 : u >= 0xE0 ? 2 : u >= 0xC0 ? 1 : -1;
        if (more > 0) u &= 0x3F >> more;
        ++p;
        for (int i = 0; i < more; ++i, ++p) {
            if ((*p & 0xC0) != 0x80) {
                more = -1;
                break;
            }
            u = (u << 6) | (*p & 0x3F);
        }
        int b = more < 0 ? -1 : cp850::from_unicode(u);
        out += b < 0 ? '?' : (char)b;
    }
    return out;
}

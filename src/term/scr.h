// The screen layer: the only module that calls ncurses for windows, text and
// keys. It owns the one terminal state block (TERMSTATE): the terminals and
// their variants, the window stack, colours, the key table, the input set of
// the next field and the state of the field being entered.
//
// Positions are 1-based and relative to the current window; in a bordered
// window row 1, column 1 is the first position inside the border. Windows are
// strictly last in, first out. Every text call ends with a throttled refresh
// (at most one per SCRDELAY seconds) so that building a screen costs little
// on a slow serial line; SCRFLUSH(0) and the input engine refresh at once.
//
// Colours: each window level n (its index in term_win) owns the pairs n+1,
// n+8, n+15 and n+22, set from its scheme when it opens.
//
// Character sets: every text of the system is code page 850. A terminal that
// speaks it (or any 8-bit set) gets the bytes as they are; a terminal that
// speaks UTF-8 gets each character as its Unicode character, and what it
// types arrives as the code page 850 byte, so that fields, lists and hot
// letters never see anything else. Which of the two is found at SCRINIT
// from the locale's character set (LC_CTYPE), or from TERMCODE ("utf8" or
// "cp850") for terminals whose locale says otherwise. The screen needs that
// LC_CTYPE for as long as it runs, and puts it back when other code has
// changed it. Control bytes in a text never reach the terminal: they show
// as '?'.
//
// The screen is always the suite's fixed size. A window change is no key:
// the screen is drawn again whole; a terminal smaller than that size shows
// a message naming the size needed until it is big enough again.
//
// A hang-up (SIGHUP), SIGTERM or a terminal that is gone (end of file or an
// error on the key read) ends the program the way a fatal error does, but
// without waiting for anyone: the files are closed (nv::fatal_stop_files),
// the terminal restored where it still exists, exit status 1. The signal
// handlers only set a flag; key reads, refreshes and pauses look at it.
//
// This header deliberately does not include <term.h>: its capability macros
// (key_cancel, ...) would clash with the key-table names below.
#pragma once

#include <ctime>
#include <curses.h>
#include <string>

// ---------------------------------------------------------------- key table
enum {
    SLOT_CANCEL = 0, SLOT_TAB = 1, SLOT_HELP = 2, SLOT_UP = 3, SLOT_DOWN = 4,
    SLOT_PGUP = 5, SLOT_PGDN = 6, SLOT_ESC = 7, SLOT_SHTAB = 8,
    SLOT_F1 = 12, // F1..F12 are slots 12..23
    KEY_SLOTS = 30
};

// Input set: the keys legal in the next field, its numeric or date range, and
// the keys that must pass validation before they may leave it.
struct INPUTSET {
    unsigned char bits[64]; // one bit per key code below 512
    double lower;           // lower 0.0 with upper -1.0: no range
    double upper;
    char *scratch;          // scratch text buffer of scratch_size bytes
    int scratch_size;
    unsigned int mask;      // one bit per key-table slot
};

struct TERMREC {
    char suffix[4];
    SCREEN *screen;
};

struct WINREC {
    WINDOW *window;
    int term;      // index in term_list
    int base;      // index in term_win of the bottom window of that terminal
    int scheme;
    bool bordered; // set by WINBOX
};

struct TERMSTATE {
    int term_lines, term_cols;
    time_t term_lastrefresh;
    int term_off;    // set while the terminal is switched to its printer
    int term_insert; // insert mode of the current field
    int term_sigkey; // a key left by a signal handler, 0 when none
    int term_keys[KEY_SLOTS];
    TERMREC term_list[5];
    int term_count;
    int term_current;
    WINREC term_win[15];
    int term_wincount;
    int term_top;
    int term_base;
    int term_scheme;
    INPUTSET *term_set;
    int ing_status, ing_key;
    int term_decimals; // 2, or 0 when KPOS is set
    // The field being entered (owned by the field engine).
    int ing_row, ing_col, ing_len, ing_prec;
    char ing_type;
    char ing_flags[21];
    bool ing_numeric, ing_hidden, ing_scroll;
    int ing_window;
    void *ing_var;
    char term_message[136];
    // Not part of the classic block: refresh interval and the wait text.
    int term_delay;
    bool term_waiton;
    bool term_waitshown;
};

extern TERMSTATE *term_state; // allocated by SCRINIT, null before

// The key table by slot name, as screens use it: ing_key == key_cancel, and
// INGAVE(..., &key_cancel, &key_f5, &variable).
#define key_cancel (term_state->term_keys[SLOT_CANCEL])
#define key_tab (term_state->term_keys[SLOT_TAB])
#define key_help (term_state->term_keys[SLOT_HELP])
#define key_up (term_state->term_keys[SLOT_UP])
#define key_down (term_state->term_keys[SLOT_DOWN])
#define key_pgup (term_state->term_keys[SLOT_PGUP])
#define key_pgdn (term_state->term_keys[SLOT_PGDN])
#define key_esc (term_state->term_keys[SLOT_ESC])
#define key_shtab (term_state->term_keys[SLOT_SHTAB])
#define key_f1 (term_state->term_keys[SLOT_F1 + 0])
#define key_f2 (term_state->term_keys[SLOT_F1 + 1])
#define key_f3 (term_state->term_keys[SLOT_F1 + 2])
#define key_f4 (term_state->term_keys[SLOT_F1 + 3])
#define key_f5 (term_state->term_keys[SLOT_F1 + 4])
#define key_f6 (term_state->term_keys[SLOT_F1 + 5])
#define key_f7 (term_state->term_keys[SLOT_F1 + 6])
#define key_f8 (term_state->term_keys[SLOT_F1 + 7])
#define key_f9 (term_state->term_keys[SLOT_F1 + 8])
#define key_f10 (term_state->term_keys[SLOT_F1 + 9])
#define key_f11 (term_state->term_keys[SLOT_F1 + 10])
#define key_f12 (term_state->term_keys[SLOT_F1 + 11])

// True when p points into the key table of the terminal state (INGAVE uses
// this to tell exit keys from the variable).
bool KEYISSLOT(const void *p);

// Attributes of the text calls.
constexpr chtype ATTR_LABEL = 0x100000;   // A_DIM
constexpr chtype ATTR_DATA = 0x200000;    // A_BOLD, the default
constexpr chtype ATTR_GRAPH = 0x500000;   // A_DIM | A_ALTCHARSET

// ------------------------------------------------------------ set-up, end
void SCRINIT();
void SCREND();
[[noreturn]] void SCREXIT(int status);
void SCRTERM(const char *suffix);
int SCRSYSTEM(const char *dir, const char *command, int wait);

// ------------------------------------------------------------------ windows
void WINOPEN(int row, int col, int rows, int cols, int scheme);
inline void WINOPEN1(int r, int c, int rows, int cols) { WINOPEN(r, c, rows, cols, 1); }
inline void WINOPEN2(int r, int c, int rows, int cols) { WINOPEN(r, c, rows, cols, 2); }
inline void WINOPEN3(int r, int c, int rows, int cols) { WINOPEN(r, c, rows, cols, 3); }
inline void WINOPEN4(int r, int c, int rows, int cols) { WINOPEN(r, c, rows, cols, 4); }
inline void WINOPEN5(int r, int c, int rows, int cols) { WINOPEN(r, c, rows, cols, 5); }
inline void WINOPEN6(int r, int c, int rows, int cols) { WINOPEN(r, c, rows, cols, 6); }
inline void WINOPEN7(int r, int c, int rows, int cols) { WINOPEN(r, c, rows, cols, 7); }
void WINCLOSE();
void WINBOX(const char *titlefmt, ...) __attribute__((format(printf, 1, 2)));
void WINATTR(chtype attr);
void WINMOVE(int row, int col);

// Current window, its inner size, and whether it is bordered.
WINDOW *WINCUR();
int WININNERROWS();
int WININNERCOLS();

// --------------------------------------------------------------------- text
int WINTEXT(chtype attr, int row, int col, const char *fmt, ...) __attribute__((format(printf, 4, 5)));
int WINPUTS(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
int WINTEXTBASE(chtype attr, int row, int col, const char *fmt, ...) __attribute__((format(printf, 4, 5)));
void WINCLREOL(int row, int col);
void WINCLREOS(int row, int col);
void SCRFLUSH(int seconds);
void SCRREPAINT();
void SCRDELAY(int seconds);
int SCRDELAYGET();
void SCRREFRESH_THROTTLED(); // the check at the end of every text call
void error(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
[[noreturn]] void SCRFATAL(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// The wait text "Even geduld aub" on the bottom line, right-aligned.
void WAITMSG();
void WAITCLEAR();
void WAITOFF();
void WAITON();

// --------------------------------------------------------------------- keys
// A character typed on a UTF-8 terminal that code page 850 does not hold.
// It is in no input set, so every field refuses it with its beep.
constexpr int KEY_NOCHAR = 0x7F00;

void KEYPUSH(int code);
int KEYREAD(WINDOW *w);
int KEYGET(WINDOW *w);
int KEYWAIT(WINDOW *w, int ms); // a key within ms milliseconds, else ERR
bool KEYHIT();
char *KEYNAME(int code, char *buf);
void KEYALLOW(int code);
void KEYDENY(int code);
bool KEYISSET(int code);
bool KEYISEXIT(int code);
bool KEYISMASKED(int code);
void KEYMASK(int code);
void KEYUNMASK(int code);
void KEYCLEARSET(); // all key bits off, mask 0, no range
INPUTSET *INSETNEW(int size);
void INSETUSE(const INPUTSET *set);
void INSETFREE(INPUTSET *set);

// The seam for keyboard macros: the macro module installs these; without it
// KEYREAD reads the key stack and the terminal only.
struct MacroHooks {
    bool (*pop)(int *key);     // next key of a running macro
    bool (*push)(int key);     // KEYPUSH while a macro runs; false = not taken
    bool (*pending)();         // keys of a running macro left
    int (*f2)(WINDOW *w);      // F2 pressed: record/play; returns the key to deliver or 0
    void (*load)();            // SCRINIT
    void (*save)();            // SCREND
};
void SCRMACROHOOKS(const MacroHooks *hooks);

// The modem hang-up of the fatal path (installed by the modem driver).
void SCRMODEMHOOK(void (*hangup)());

namespace nv::scr {
bool utf8(); // the terminal speaks UTF-8
// A code page 850 text as the bytes the terminal shows it with.
std::string to_terminal(const char *text);
// Text in the terminal's character set (arguments, file and directory names
// of the system) in code page 850; '?' for what the code page lacks.
std::string from_terminal(const char *text);
} // namespace nv::scr

// ----------------------------------------------- headless use (tests, tools)
// With a headless screen SCRINIT opens ncurses on /dev/null-like streams of
// the given size instead of the real terminal; tests push keys with KEYPUSH.
// It speaks code page 850 unless TERMCODE says utf8.
void SCRHEADLESS(int lines, int cols);

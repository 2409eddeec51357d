// The editing loop of a field: paint, one key, again, until a key leaves
// the field and the text passes validation.
//
// A key goes through these rules in order: help (F1, or HELP at the start
// when it is no exit key); the immediate exit (an exit key at position 0,
// or ESC, leaves without validation and restores the entry text, except UP
// and DOWN under E or F, which validate); translation of CANCEL, EXIT and
// HELP into the first byte of the terminal's own string for them, so that
// where such a function sits on a plain character it types that character;
// the compose window (F11); leaving (ENTER, or an exit key further on);
// printable keys; editing keys. Then auto-enter under flag A.
//
// Status bit 1 (fresh) makes the first printable key replace the whole
// text; any cursor move drops it. After a validation error the cursor goes
// back to 0 and the field is fresh again, so that typing replaces the wrong
// text.
//
// Dates of width 8 and 10 show '-' at positions 2 and 5 and keep them in
// the buffer while typing; deleting there keeps the columns (a placeholder
// goes in) so the day and month stay in place. The separators are taken
// out again when the field is left.
#include "term/ingint.h"

#include "base/catalog.h"
#include "base/cp850.h"
#include "base/datum.h"
#include "base/fatal.h"
#include "base/txt.h"

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace nv::ing;

namespace {

TERMSTATE *t() {
    return ts();
}
int tlen() {
    return (int)std::strlen(ing_text);
}
bool scrolling() {
    return t()->ing_scroll && t()->ing_window > 0;
}

// ------------------------------------------------------------------ entry

void entry() {
    TERMSTATE *s = t();
    if ((s->ing_type != 'c' && s->ing_type != 'C') || s->ing_len >= 2) {
        // A c field of one position keeps its blank: it may be a code.
        int n = tlen();
        while (n > 0 && ing_text[n - 1] == ' ')
            ing_text[--n] = 0;
    }
    WAITCLEAR();
    std::memcpy(field.entry, ing_text, sizeof field.entry);
    field.entry_value = ing_value;
    s->ing_status = ING_FRESH;
    field.pos = field.offset = field.oldpos = 0;
    field.auto_pending = false;
    s->term_insert = 0;
    s->ing_hidden = flag('S');
    field.left_marker = scrolling() && s->ing_col > 1;
    field.right_marker = scrolling() && s->ing_col + s->ing_window <= WININNERCOLS();
}

void restore_entry() {
    std::memcpy(ing_text, field.entry, sizeof ing_text);
    ing_value = field.entry_value;
}

// ------------------------------------------------------------------ paint

void paint() {
    TERMSTATE *s = t();
    int len = s->ing_len;
    char disp[260];
    std::memset(disp, '_', (size_t)len);
    disp[len] = 0;
    bool seps = is_date_sep() && !date_relative();
    if (seps) {
        add_separators(ing_text);
        ing_text[len] = 0;
        for (int p : {2, 5}) {
            disp[p] = '-';
            if (field.pos == p) ++field.pos;
        }
    }
    if (!s->ing_hidden) {
        int n = std::min(tlen(), len);
        std::memcpy(disp, ing_text, (size_t)n);
    }
    int row = s->ing_row, col = s->ing_col;
    if (scrolling()) {
        int w = s->ing_window;
        int off = std::min(field.offset, len);
        WINTEXT(ATTR_DATA, row, col, "%-*.*s", w, w, disp + off);
        if (field.left_marker) {
            if (field.offset >= 1) {
                WINATTR(A_DIM);
                WINMOVE(row, col - 1);
                waddch(WINCUR(), ACS_LARROW);
            } else {
                WINTEXT(ATTR_LABEL, row, col - 1, " ");
            }
        }
        if (field.right_marker) {
            if (tlen() > field.offset + w) {
                WINATTR(A_DIM);
                WINMOVE(row, col + w);
                waddch(WINCUR(), ACS_RARROW);
            } else {
                WINTEXT(ATTR_LABEL, row, col + w, " ");
            }
        }
        WINATTR(ATTR_DATA);
        WINMOVE(row, col + field.pos - field.offset);
    } else {
        WINTEXT(ATTR_DATA, row, col, "%s", disp);
        int c = col + field.pos;
        if (c > WININNERCOLS()) c = WININNERCOLS();
        WINMOVE(row, c);
    }
    SCRFLUSH(0);
}

// ------------------------------------------------------------- scrolling

void scroll_after(int key) {
    if (!scrolling()) return;
    TERMSTATE *s = t();
    int w = s->ing_window, len = s->ing_len;
    int third = std::max(1, w / 3);
    if (key == KEY_END) {
        if (field.pos > field.offset + w) field.offset = field.pos - w;
        return;
    }
    if (field.pos < field.oldpos && field.offset >= field.pos && field.offset > 0) {
        do
            field.offset -= third;
        while (field.offset > field.pos);
        if (field.offset < 0) field.offset = 0;
    }
    while (field.pos >= field.offset + w) {
        field.offset += third;
        if (field.offset + w >= len) {
            field.offset = len - w + 1;
            break;
        }
    }
    if (field.offset < 0) field.offset = 0;
}

// ------------------------------------------------------------ date edits

// Deleting in a date with separators: the columns stay where they are.
// The tens of a day or month take the units, and the placeholder goes in
// behind them; elsewhere the placeholder takes the place of the digit.
void date_delete(int at, char placeholder) {
    int len = tlen();
    if (at < 0 || at >= len) return;
    if (at == 0 || at == 3) {
        ing_text[at] = at + 1 < len && ing_text[at + 1] != '-' ? ing_text[at + 1] : placeholder;
        if (at + 1 < len && ing_text[at + 1] != '-') ing_text[at + 1] = placeholder;
    } else {
        ing_text[at] = placeholder;
    }
    // Trailing blanks go, and a separator left at the end goes with them.
    for (;;) {
        len = tlen();
        if (len > 0 && ing_text[len - 1] == ' ')
            ing_text[len - 1] = 0;
        else if ((len == 6 && ing_text[5] == '-') || (len == 3 && ing_text[2] == '-'))
            ing_text[len - 1] = 0;
        else
            break;
    }
    if (field.pos > tlen()) field.pos = tlen();
}

bool date_columns() {
    return is_date_sep() && !date_relative();
}

// ---------------------------------------------------------------- keys

void error_key(int key) {
    error("<%c> %s", key, KOR(1, 129, "Ongeldige ingave!!  (HELP voor toelichting)"));
}

void put_char(int key) {
    TERMSTATE *s = t();
    int len = s->ing_len;
    if (field.pos > tlen()) field.pos = tlen();
    if (s->term_insert) {
        if (tlen() >= len) ing_text[len - 1] = 0; // the text is cut at the length
        txt_insert_char(ing_text, key, field.pos);
        ing_text[len] = 0;
    } else {
        bool append = field.pos == tlen();
        ing_text[field.pos] = (char)key;
        if (append) ing_text[field.pos + 1] = 0;
    }
    ++field.pos;
}

void printable(int key) {
    TERMSTATE *s = t();
    char type = s->ing_type;
    if (field.pos >= s->ing_len) {
        error("%s", KOR(1, 128, "Tik <ENTER> toets"));
        return;
    }
    if (flag('U')) key = cp850::upper(key);
    bool hex = type == 'x' || type == 'X';
    bool legal = KEYISSET(key) || (hex && key == '\\' && field.pos % 2 == 0);
    if (!legal) {
        error_key(key);
        return;
    }
    if (s->ing_status & ING_FRESH) {
        if (!std::strchr("DxX", type) || ((key == '+' || key == '-') && field.pos == 0))
            std::memset(ing_text, 0, sizeof ing_text);
    }
    if (type == 'b') {
        if (key == '+') key = (unsigned char)yes_letter();
        if (key == '-') key = (unsigned char)no_letter();
    }
    if (hex && key == '\\') {
        // A character entered as its two hex digits: the second one comes
        // back as the next key.
        int k = KEYREAD(WINCUR());
        if (k < 0 || k > 255) {
            error("%s", KOR(1, 127, "Ongeldige toets"));
            return;
        }
        char h[4];
        std::snprintf(h, sizeof h, "%02X", k);
        key = (unsigned char)h[0];
        KEYPUSH((unsigned char)h[1]);
    }
    if (date_columns() && key == '-') {
        int len = tlen();
        if ((field.pos == 1 && len == 1) || (field.pos == 4 && len == 4)) {
            // "5-" is day 05, "05-3-" month 03.
            txt_insert_char(ing_text, '0', field.pos - 1);
            ++field.pos;
            return;
        }
        if ((field.pos == 3 || field.pos == 6) && len == field.pos && ing_text[len - 1] == '-')
            return; // the separator is there already
    }
    put_char(key);
}

void other_key(int key) {
    TERMSTATE *s = t();
    bool cols = date_columns();
    switch (key) {
    case KEY_HOME:
        if (field.pos > 0) {
            field.pos = 0;
            field.offset = 0;
        } else {
            restore_entry();
            s->ing_status = 0;
        }
        break;
    case 8:
    case KEY_BACKSPACE:
        if (field.pos == 0) {
            std::memset(ing_text, 0, sizeof ing_text);
        } else if (cols) {
            int at = field.pos - 1;
            if (at == 2 || at == 5) --at;
            field.pos = at;
            date_delete(at, ' ');
        } else {
            txt_delete(ing_text, field.pos - 1, 1);
            --field.pos;
        }
        break;
    case KEY_DC:
        if (cols)
            date_delete(field.pos, '_');
        else if (field.pos < tlen())
            txt_delete(ing_text, field.pos, 1);
        break;
    case KEY_LEFT:
        if (field.pos > 0) --field.pos;
        if (cols && (field.pos == 2 || field.pos == 5)) --field.pos;
        break;
    case KEY_RIGHT:
        if (field.pos < tlen()) ++field.pos;
        if (cols && (field.pos == 2 || field.pos == 5) && field.pos < tlen()) ++field.pos;
        break;
    case KEY_END:
        field.pos = tlen();
        break;
    case KEY_IC:
        s->term_insert = !s->term_insert;
        break;
    case 23:
        break;
    default:
        error("%s", KOR(1, 127, "Ongeldige toets"));
        break;
    }
}

// CANCEL, EXIT and HELP that have no meaning here become the first byte of
// the terminal's own string for them; a terminal without one keeps the key.
int translate(int key) {
    const char *cap = key == KEY_CANCEL ? "kcan"
                      : key == KEY_EXIT ? "kext"
                      : key == KEY_HELP ? "khlp"
                                        : nullptr;
    if (!cap) return key;
    const char *s = tigetstr(cap);
    if (!s || s == (const char *)-1 || !*s) return key;
    return (unsigned char)s[0];
}

// The immediate exit: the text and value as on entry, nothing validated.
void leave_at_once() {
    restore_entry();
    t()->ing_status = 0;
    if (t()->ing_type == 'b' && !ing_text[0]) {
        ing_text[0] = no_letter();
        ing_text[1] = 0;
    }
    if (is_date_sep()) drop_separators(ing_text);
}

// ----------------------------------------------------------------- dates

void date_message(const char *typed) {
    char a[16], b[16];
    auto day = [](double v) { return (unsigned short)(v < 0 ? 0 : v > 65535 ? 65535 : v); };
    date_text(a, day(t()->term_set->lower), 10);
    date_text(b, day(t()->term_set->upper), 10);
    error(KOR(1, 131, "<%s> Alleen datum tussen %s en %s"), typed, a, b);
}

void date_failed() {
    restore_entry();
    t()->ing_status |= ING_ERROR;
}

// Day and month typed as " 5" or "5 " (after deleting) become "05".
void repair_pair(int at) {
    char &a = ing_text[at], &b = ing_text[at + 1];
    if (a == ' ' && cp850::is_digit(b)) {
        a = '0';
    } else if (cp850::is_digit(a) && b == ' ') {
        b = a;
        a = '0';
    }
}

void plain_date() {
    TERMSTATE *s = t();
    int w = s->ing_len;
    if (!ing_text[0]) {
        ing_value = 0;
        return;
    }
    char shown[300];
    std::snprintf(shown, sizeof shown, "%s", ing_text);
    if (w != 6) add_separators(shown);
    if (!datum_geldig(ing_text)) {
        const char *m = w == 8    ? KOR(1, 132, "<%s> Datum voldoet niet aan DD-MM-JJ")
                        : w == 10 ? KOR(1, 133, "<%s> Datum voldoet niet aan DD-MM-JJJJ")
                                  : KOR(1, 134, "<%s> Datum voldoet niet aan DDMMJJ");
        error(m, shown);
        date_failed();
        return;
    }
    if (w == 10 && tlen() == 8) {
        int y = std::atoi(ing_text + 4);
        if (y < 1900 || y > 2078) {
            date_message(shown);
            date_failed();
            return;
        }
    }
    unsigned short nr = datum_naar_nr(ing_text);
    double lo = s->term_set->lower, hi = s->term_set->upper;
    if ((lo != 0 || hi != 0) && lo <= hi && (nr < lo || nr > hi)) {
        date_message(shown);
        date_failed();
        return;
    }
    ing_value = nr;
}

// "+7" or "-3": the date the field held on entry moved by that many days.
void relative_date() {
    TERMSTATE *s = t();
    long n = std::atol(ing_text + 1);
    if (ing_text[0] == '-') n = -n;
    long base = (long)field.entry_value;
    if (!field.entry[0]) n = 0, base = 0;
    long result = base + n;
    if (result == 0 && flag('E')) {
        INGAVEERROR("Foutieve ingave");
        restore_entry();
        return;
    }
    double lo = s->term_set->lower == 0 ? datum_naar_nr("010180") : s->term_set->lower;
    double hi = s->term_set->upper;
    char shown[32];
    if (result < lo || result > hi || result <= 0 || result > 65535) {
        date_text(shown, result > 0 && result <= 65535 ? (unsigned short)result : 0, s->ing_len);
        date_message(shown);
        date_failed();
        return;
    }
    ing_value = (double)result;
    date_text(ing_text, (unsigned short)result, s->ing_len);
}

void date_leave() {
    if (is_date_sep()) {
        if (tlen() > 2) repair_pair(0);
        if (tlen() > 5) repair_pair(3);
        if (!date_relative()) drop_separators(ing_text);
    }
    if (date_relative())
        relative_date();
    else
        plain_date();
}

double tolerance() {
    return 0.1 / std::pow(10.0, t()->ing_prec);
}

} // namespace

// ------------------------------------------------------------ leave steps

int nv::ing::leave(int key) {
    TERMSTATE *s = t();
    char type = s->ing_type;
    if (type != 'c' || s->ing_len >= 2) {
        int n = tlen();
        while (n > 0 && ing_text[n - 1] == ' ')
            ing_text[--n] = 0;
    }
    if (s->ing_numeric) {
        ing_value = 0;
        if (ing_text[0] && key != KEY_CANCEL && key != key_cancel && key != 27 && key != key_esc) {
            if (INGAVECHECK() == 0) {
                std::snprintf(ing_text, sizeof ing_text, "%-*.*f", s->ing_len, s->ing_prec,
                              ing_value);
                txt_rtrim(ing_text);
            }
        }
        if (!(s->ing_status & ING_ERROR) && std::fabs(ing_value - field.entry_value) > tolerance())
            s->ing_status |= ING_CHANGED;
    } else {
        if (type == 'b') ing_value = ing_text[0] == yes_letter() ? 1 : 0;
        if (type == 'x' || type == 'X') {
            int n = tlen();
            std::memset(ing_text + n, 0, sizeof ing_text - (size_t)n);
        }
        char was[256], now[256];
        std::memcpy(was, field.entry, sizeof was);
        if (type == 'D') {
            date_leave();
            // The separators come and go with the editing: only the date counts.
            drop_separators(was);
        }
        std::memcpy(now, ing_text, sizeof now);
        if (type == 'D') drop_separators(now);
        if (std::strncmp(now, was, (size_t)s->ing_len) != 0) s->ing_status |= ING_CHANGED;
    }
    if (!(s->ing_status & ING_ERROR)) {
        int need = type == 'D' ? 6 : s->ing_len;
        if (flag('F') && tlen() < need)
            INGAVEERROR(KOR(1, 135, "Volledig vullen"));
        else if (flag('E') && !ing_text[0])
            INGAVEERROR(KOR(1, 130, "Ingave verplicht"));
    }
    return (s->ing_status & ING_ERROR) ? 1 : 0;
}

void INGAVEERROR(const char *text) {
    error("<%s> %s", ing_text, text);
    t()->ing_status |= ING_ERROR;
}

int INGAVECHECK() {
    TERMSTATE *s = t();
    std::string saved = std::setlocale(LC_ALL, nullptr) ? std::setlocale(LC_ALL, nullptr) : "C";
    std::setlocale(LC_ALL, "C");
    char buf[260];
    std::snprintf(buf, sizeof buf, "%s", ing_text);
    bool minus = false;
    if (buf[0] == '-') {
        std::memmove(buf, buf + 1, std::strlen(buf));
        minus = true;
    }
    int n = (int)std::strlen(buf);
    if (n > 0 && buf[n - 1] == '-') {
        buf[n - 1] = 0;
        minus = true;
    }
    if (char *comma = std::strchr(buf, ',')) *comma = '.';
    double v = 0;
    std::sscanf(buf, "%lf", &v);
    if (const char *point = std::strchr(buf, '.')) {
        int dec = 0;
        for (const char *p = point + 1; *p >= '0' && *p <= '9'; ++p)
            ++dec;
        if (dec > s->ing_prec) {
            INGAVEERROR(KOR(1, 121, "Teveel cijfers na de komma"));
            return 1;
        }
    }
    if (minus) v = -v;
    if (v == 0 && !flag('Z')) {
        INGAVEERROR(KOR(1, 122, "Moet ongelijk zijn aan 0"));
        return 1;
    }
    std::setlocale(LC_ALL, saved.c_str());
    double lo = s->term_set->lower, hi = s->term_set->upper;
    if (v < lo || v > hi) {
        char msg[1200];
        int w = s->ing_prec + 1, p = s->ing_prec;
        std::snprintf(msg, sizeof msg, "%s %*.*f %s %*.*f %s", KOR(1, 123, "Alleen"), w, p, lo,
                      KOR(1, 119, "t/m"), w, p, hi, KOR(1, 124, "mogelijk"));
        INGAVEERROR(msg);
        return 1;
    }
    ing_value = v;
    return 0;
}

// ------------------------------------------------------------- the loop

int INGAVEEDIT() {
    TERMSTATE *s = t();
    entry();
    for (;;) {
        paint();
        int key;
        if (field.auto_pending) {
            field.auto_pending = false;
            SCRFLUSH(0);
            key = '\n';
        } else {
            key = KEYREAD(WINCUR());
        }
        if (key == '\r' || key == KEY_ENTER) key = '\n';
        s->ing_key = key;
        error("%s", "");
        s->ing_status &= ~ING_ERROR;
        field.oldpos = field.pos;

        bool help_is_exit = KEYISSET(key_help);
        if ((key == key_f1 && !help_is_exit && !KEYISEXIT(key_f1)) ||
            (key == key_help && !help_is_exit && field.pos == 0)) {
            INGAVEHELP();
            continue;
        }

        bool leaving = false;
        if ((KEYISSET(key) && field.pos == 0) || key == 27) {
            if (key == KEY_EXIT) nv::fatal("%s", KOR(1, 126, "EXIT-toets gebruikt"));
            if (KEYISEXIT(key)) {
                if (!KEYISMASKED(key)) {
                    leave_at_once();
                    break;
                }
                leaving = true;
            }
        }
        if (!leaving) {
            key = translate(key);
            s->ing_key = key;
            if (key == KEY_F(11) && std::strchr("cCsS", s->ing_type)) {
                key = compose();
                if (key < 0) continue;
                s->ing_key = key;
            }
            leaving = key == '\n' || KEYISEXIT(key);
        }
        if (leaving) {
            if (leave(key) == 0) break;
        } else if (key >= 32 && key <= 255) {
            printable(key);
        } else {
            other_key(key);
        }

        if (s->ing_status & ING_ERROR) {
            field.pos = field.offset = 0;
            s->ing_status = ING_ERROR | ING_FRESH;
            field.auto_pending = false;
        } else {
            if (!leaving && flag('A') && field.pos >= s->ing_len) field.auto_pending = true;
            if (field.pos != field.oldpos) s->ing_status = 0;
        }
        scroll_after(key);
    }
    return s->ing_status;
}

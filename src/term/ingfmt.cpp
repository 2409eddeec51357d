// The format language of a field and its set-up.
//
//   [length] [.precision] type [ [charset] ] [,] [flags]
//
// Types, with the variable they take:
//   B amount (int32, cents when the system has 2 decimals)   l int32
//   d int16   u uint16   n int8   U uint8   f double (precision = decimals)
//   D day number (uint16), width 6 DDMMJJ, 8 DD-MM-JJ or 10 DD-MM-JJJJ
//   b one byte 0/1 shown as J or N
//   c char array of length bytes        C the same, scrolling
//   s string, room for length + 1       S the same, scrolling
//   x hex text in a byte array          X the same, scrolling
// For C, S and X the precision is the width of the window the field
// scrolls in. [abc] makes only those characters legal, [^abc] removes them.
// Flags: A auto-enter, E entry required, F fill, I initial blank,
// J right-justify, N/P/Z negative/positive/zero allowed, S secret,
// U upper case.
//
// Set-up loads the variable into ing_text and ing_value, makes the keys of
// the type legal in the current input set and works out the numeric or date
// range in its bounds.
#include "term/ingint.h"

#include "base/catalog.h"
#include "base/datum.h"
#include "base/fatal.h"
#include "base/txt.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

char ing_text[256];
double ing_value;
int ing_charset;

namespace nv::ing {

Field field;
char settext[256];

bool flag(char c) {
    return std::strchr(ts()->ing_flags, c) != nullptr;
}

bool is_date_sep() {
    return ts()->ing_type == 'D' && (ts()->ing_len == 8 || ts()->ing_len == 10);
}

bool date_relative() {
    return ing_text[0] == '+' || ing_text[0] == '-';
}

char yes_letter() {
    return KOR(1, 74, "J")[0];
}
char no_letter() {
    return KOR(1, 75, "N")[0];
}

void date_text(char *out, unsigned short nr, int width) {
    datum_tekst(out, nr, width == 10);
    if (width != 6) add_separators(out);
}

void add_separators(char *text) {
    for (int p : {2, 5}) {
        int len = (int)std::strlen(text);
        if (len < p) break;
        if (text[p] != '-') txt_insert_char(text, '-', p);
    }
}

void drop_separators(char *text) {
    int len = (int)std::strlen(text);
    if (len > 5 && text[5] == '-') txt_delete(text, 5, 1);
    if (len > 2 && text[2] == '-') txt_delete(text, 2, 1);
}

void screen_pos(int row, int col, int *srow, int *scol) {
    WINREC &w = ts()->term_win[ts()->term_top];
    int b = w.bordered ? 1 : 0;
    *srow = getbegy(w.window) + b + row;
    *scol = getbegx(w.window) + b + col;
}

namespace {

const char *reason(int nr) {
    switch (nr) {
    case 136:
        return KOR(1, 136, "Lengte > 255 tekens");
    case 137:
        return KOR(1, 137, "precision alleen bij f, C, S en X");
    case 138:
        return KOR(1, 138, "ongeldige vartype");
    case 139:
        return KOR(1, 139, "[ zonder ]");
    case 140:
        return KOR(1, 140, "ongeldig bereik");
    default:
        return KOR(1, 141, "STRING fout");
    }
}

[[noreturn]] void fail(const char *format, int nr) {
    INGAVEFATAL(format, reason(nr));
}

void allow_range(int from, int to) {
    for (int c = from; c <= to; ++c)
        KEYALLOW(c);
}

void append_flags(const char *add) {
    char *f = ts()->ing_flags;
    for (; *add; ++add) {
        int len = (int)std::strlen(f);
        if (!std::strchr(f, *add) && len < (int)sizeof ts()->ing_flags - 1) {
            f[len] = *add;
            f[len + 1] = 0;
        }
    }
}

// Default range of a numeric type, before the width cuts it.
void type_range(char type, double *lo, double *hi) {
    switch (type) {
    case 'B':
        *lo = -2147483647.0, *hi = 2147483647.0;
        if (ts()->term_decimals == 2) *lo /= 100, *hi /= 100;
        break;
    case 'l':
        *lo = -2147483647.0, *hi = 2147483647.0;
        break;
    case 'd':
        *lo = -32768, *hi = 32767;
        break;
    case 'u':
        *lo = 0, *hi = 65535;
        break;
    case 'n':
        *lo = -128, *hi = 127;
        break;
    case 'U':
        *lo = 0, *hi = 255;
        break;
    default:
        *lo = -1.7976931348623157e308, *hi = 1.7976931348623157e308;
        break;
    }
}

// The largest number the field can show: length nines with the point
// before the last prec of them; the smallest the same with a minus sign in
// place of the first nine (0 for a field of one position). Parsed from the
// text so that it compares exactly with a value typed in full.
void width_range(int len, int prec, double *lo, double *hi) {
    char nines[300], minus[300];
    int n = 0;
    if (prec >= len && prec > 0) nines[n++] = '.';
    for (int i = 0; i < len; ++i) {
        if (prec > 0 && prec < len && i == len - prec) nines[n++] = '.';
        nines[n++] = '9';
    }
    nines[n] = 0;
    *hi = std::strtod(nines, nullptr);
    // The minus sign takes the place of the first nine.
    char *first = std::strchr(nines, '9');
    std::snprintf(minus, sizeof minus, "-%.*s%s", (int)(first - nines), nines, first + 1);
    *lo = len <= 1 ? 0.0 : std::strtod(minus, nullptr);
}

// Caller's bounds against the limits of the field: a real range is pulled
// inside them, the no-range pair takes them (the lower one only when 0).
void combine_bounds(const char *format, double lo, double hi) {
    INPUTSET *s = ts()->term_set;
    if (s->lower <= s->upper) {
        if (s->lower < lo) s->lower = lo;
        if (s->upper > hi) s->upper = hi;
        if (s->lower > s->upper) fail(format, 140);
    } else {
        s->upper = hi;
        if (s->lower == 0.0) s->lower = lo;
    }
}

double load_number(char type) {
    const void *v = ts()->ing_var;
    if (!v) return 0;
    switch (type) {
    case 'B': {
        int32_t x;
        std::memcpy(&x, v, 4);
        return ts()->term_decimals == 2 ? x / 100.0 : x;
    }
    case 'l': {
        int32_t x;
        std::memcpy(&x, v, 4);
        return x;
    }
    case 'd': {
        int16_t x;
        std::memcpy(&x, v, 2);
        return x;
    }
    case 'u':
    case 'D': {
        uint16_t x;
        std::memcpy(&x, v, 2);
        return x;
    }
    case 'n':
        return *(const signed char *)v;
    case 'U':
    case 'b':
        return *(const unsigned char *)v;
    case 'f': {
        double x;
        std::memcpy(&x, v, 8);
        return x;
    }
    default:
        return 0;
    }
}

void numeric_setup(const char *format) {
    TERMSTATE *t = ts();
    int len = t->ing_len, prec = t->ing_prec;
    ing_value = load_number(t->ing_type);
    std::snprintf(ing_text, sizeof ing_text, "%-*.*f", len, prec, ing_value);

    double lo, hi, wlo, whi;
    type_range(t->ing_type, &lo, &hi);
    width_range(len, prec, &wlo, &whi);
    if (hi > whi) hi = whi;
    if (lo < wlo) lo = wlo;

    // N, P and Z: without N nothing below zero, without P nothing above;
    // without Z the smallest step of the field takes the place of zero.
    double step = std::pow(10.0, -prec);
    bool n = flag('N'), p = flag('P'), z = flag('Z');
    if (!n && lo < (z ? 0.0 : step)) lo = z ? 0.0 : step;
    if (!p && hi > (z ? 0.0 : -step)) hi = z ? 0.0 : -step;

    combine_bounds(format, lo, hi);
    if (t->term_set->lower < 0) KEYALLOW('-');
}

void date_setup(const char *format) {
    TERMSTATE *t = ts();
    ing_value = load_number('D');
    if (t->ing_len == 10)
        combine_bounds(format, datum_naar_nr("01011900"), datum_naar_nr("31122078"));
    else
        combine_bounds(format, datum_naar_nr("010180"), datum_naar_nr("311250"));
    if (ing_value != 0) date_text(ing_text, (unsigned short)ing_value, t->ing_len);
    KEYALLOW('+');
    KEYALLOW('-');
}

void text_setup(const char *format) {
    TERMSTATE *t = ts();
    const char *v = (const char *)t->ing_var;
    if (!v) return;
    switch (t->ing_type) {
    case 's':
    case 'S':
        if (!flag('I') && strnlen(v, (size_t)t->ing_len + 1) > (size_t)t->ing_len)
            fail(format, 141);
        std::strncpy(ing_text, v, (size_t)t->ing_len);
        break;
    case 'b':
        ing_value = load_number('b');
        if (!flag('I')) ing_text[0] = ing_value == 0 ? no_letter() : yes_letter();
        break;
    default: // c, C, x, X: the bytes as they are
        std::memcpy(ing_text, v, (size_t)t->ing_len);
        break;
    }
}

// The keys a type brings with it.
void type_keys(char type, int prec) {
    switch (type) {
    case 'b':
        KEYALLOW((unsigned char)yes_letter());
        KEYALLOW((unsigned char)no_letter());
        KEYALLOW('+');
        KEYALLOW('-');
        break;
    case 'c':
    case 'C':
    case 's':
    case 'S':
        allow_range(32, 254);
        break;
    case 'x':
    case 'X':
        allow_range('0', '9');
        allow_range('A', 'F');
        break;
    default: // numeric and dates
        allow_range('0', '9');
        if ((type == 'B' && ts()->term_decimals > 0) || (type == 'f' && prec > 0)) {
            KEYALLOW('.');
            KEYALLOW(',');
        }
        break;
    }
}

} // namespace
} // namespace nv::ing

using namespace nv::ing;

void INGAVEFATAL(const char *format, const char *reason) {
    TERMSTATE *t = ts();
    nv::fatal("INGAVE(): r=%d, c=%d, cs=%s --> %s ", t ? t->ing_row : 0, t ? t->ing_col : 0,
              format ? format : "", reason);
}

const char *INGAVEPREP(const char *format) {
    TERMSTATE *t = ts();
    char fmt[300];
    std::snprintf(fmt, sizeof fmt, "%s", format ? format : "");
    txt_trim(fmt);
    const char *p = fmt;

    std::memset(ing_text, 0, sizeof ing_text);
    ing_value = 0;
    ing_charset = 0;
    settext[0] = 0;
    t->ing_flags[0] = 0;
    t->ing_scroll = false;
    t->ing_window = 0;

    long len = 0;
    while (*p >= '0' && *p <= '9') {
        if (len < 100000) len = len * 10 + (*p - '0');
        ++p;
    }
    if (len >= 256) fail(format, 136);
    if (len == 0) len = 1;
    int prec = 0;
    if (*p == '.') {
        ++p;
        long pr = 0;
        while (*p >= '0' && *p <= '9') {
            if (pr < 100000) pr = pr * 10 + (*p - '0');
            ++p;
        }
        prec = (int)(pr > 255 ? 255 : pr);
    }
    char type = *p;
    if (!type || !std::strchr("BldunUfDbcCsSxX", type)) fail(format, 138);
    ++p;
    if (prec > 0 && !std::strchr("fCSX", type)) fail(format, 137);
    if (type == 'C' || type == 'S' || type == 'X') {
        if (prec > 0) {
            t->ing_window = prec;
            t->ing_scroll = true;
        }
        prec = 0;
    }
    if (type == 'B') prec = t->term_decimals;
    t->ing_type = type;
    t->ing_len = (int)len;
    t->ing_prec = prec;
    t->ing_numeric = std::strchr("DcCbsSxX", type) == nullptr;
    type_keys(type, prec);

    if (*p == '[') {
        const char *end = std::strchr(p + 1, ']');
        if (!end) fail(format, 139);
        ++p;
        bool neg = *p == '^';
        if (neg) ++p;
        std::snprintf(settext, sizeof settext, "%.*s", (int)(end - p), p);
        if (neg) {
            for (const char *c = p; c < end; ++c)
                KEYDENY((unsigned char)*c);
            ing_charset = 2;
        } else {
            for (int c = 32; c <= 254; ++c)
                KEYDENY(c);
            for (const char *c = p; c < end; ++c)
                KEYALLOW((unsigned char)*c);
            ing_charset = 1;
        }
        p = end + 1;
    }
    if (*p == ',') ++p;
    std::snprintf(t->ing_flags, sizeof t->ing_flags, "%s", p);

    if (type == 'b') {
        t->ing_len = 1;
        append_flags("UE");
    }
    if (type == 'x' || type == 'X') append_flags("U");
    if (type == 'D') t->ing_len = (len == 10 || len == 8) ? (int)len : 6;
    if (t->ing_numeric && !flag('N') && !flag('P') && !flag('Z')) append_flags("NZP");
    check_var(format);

    if (t->ing_numeric)
        numeric_setup(format);
    else if (type == 'D')
        date_setup(format);
    else
        text_setup(format);

    KEYALLOW(KEY_EXIT);
    KEYALLOW(KEY_HOME);
    if (t->ing_len > 1) {
        KEYALLOW(KEY_RIGHT);
        KEYALLOW(KEY_LEFT);
        KEYALLOW(KEY_IC);
        KEYALLOW(KEY_DC);
        KEYALLOW(KEY_BACKSPACE);
    }
    return t->ing_flags;
}

// ------------------------------------------------------------ FMT helpers

namespace {
char fmtbuf[300];

const char *fmt_plain(int n, const char *conv) {
    if (n == 0)
        std::snprintf(fmtbuf, sizeof fmtbuf, "%%%s", conv);
    else
        std::snprintf(fmtbuf, sizeof fmtbuf, "%%%d%s", n, conv);
    return fmtbuf;
}

const char *fmt_cut(int w, int n, const char *conv) {
    std::snprintf(fmtbuf, sizeof fmtbuf, "%%%d.%d%s", w, n, conv);
    return fmtbuf;
}
} // namespace

const char *FMT_C(int n) {
    return fmt_plain(n, "c");
}
const char *FMT_S(int n) {
    return fmt_plain(n, "s");
}
const char *FMT_D(int n) {
    return fmt_plain(n, "d");
}
const char *FMT_HD(int n) {
    return fmt_plain(n, "hd");
}
const char *FMT_LD(int n) {
    return fmt_plain(n, "ld");
}
const char *FMT_U(int n) {
    return fmt_plain(n, "u");
}
const char *FMT_HU(int n) {
    return fmt_plain(n, "hu");
}
const char *FMT_LU(int n) {
    return fmt_plain(n, "lu");
}
const char *FMT_LS(int n) {
    return fmt_cut(-n, n, "s");
}
const char *FMT_RS(int n) {
    return fmt_cut(n, n, "s");
}
const char *FMT_LABEL(int n) {
    return fmt_cut(-n, n, "s: ");
}

const char *FMT_BLANKS(int n) {
    if (n < 0) n = 0;
    if (n > (int)sizeof fmtbuf - 1) n = (int)sizeof fmtbuf - 1;
    std::memset(fmtbuf, ' ', (size_t)n);
    fmtbuf[n] = 0;
    return fmtbuf;
}

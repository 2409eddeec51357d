// Popups and questions: FFLASH, FOUTMELDING, INGAVEJN, STOPCHECK, KEUZE and
// the display texts.
//
// Every dialog here restores what it opened: its window, and where it asks
// a question in the middle of someone else's screen (FFLASH with a question,
// STOPCHECK), the caller's ing_key, ing_status and input set.
#include "term/popup.h"

#include "base/catalog.h"
#include "base/cp850.h"
#include "base/fatal.h"
#include "term/dmhdl.h"
#include "term/ingave.h"
#include "term/scr.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr int FLASH_BUF = 1024;
constexpr int FLASH_LINES = 20;
constexpr int FLASH_WIDTH = 76;

char yes_letter() {
    return KOR(1, 74, "J")[0];
}
char no_letter() {
    return KOR(1, 75, "N")[0];
}

void open_scheme(int scheme, int row, int col, int rows, int cols) {
    if (scheme == 1)
        WINOPEN2(row, col, rows, cols);
    else if (scheme == 2)
        WINOPEN3(row, col, rows, cols);
    else
        WINOPEN1(row, col, rows, cols);
}

// Keeps the caller's field state while a popup asks something.
struct FieldState {
    int status, key;
    INPUTSET *set;
    FieldState() : status(term_state->ing_status), key(term_state->ing_key), set(INSETNEW(0)) {}
    ~FieldState() {
        term_state->ing_status = status;
        term_state->ing_key = key;
        if (set) {
            INSETUSE(set);
            INSETFREE(set);
        }
    }
    FieldState(const FieldState &) = delete;
    FieldState &operator=(const FieldState &) = delete;
};

} // namespace

// ---------------------------------------------------------------- FFLASH

nv::FlashBox nv::fflash_layout(int option, const char *title, const char *text) {
    FlashBox b;
    int tlen = 0;
    size_t tl = title ? std::strlen(title) : 0;
    if (tl >= 1 && tl <= 65) {
        b.title = " " + std::string(title) + " ";
        tlen = (int)b.title.size();
        if (tlen % 2) ++tlen;
    }
    std::string cur;
    for (const char *c = text ? text : "";; ++c) {
        if (*c == '\n' || !*c) {
            if ((int)b.lines.size() < FLASH_LINES) b.lines.push_back(cur.substr(0, FLASH_WIDTH));
            cur.clear();
            if (!*c) break;
            continue;
        }
        cur += *c == '\t' ? ' ' : *c;
    }
    if (b.lines.size() == 1 && b.lines[0].empty() && option != -2) b.lines.clear();
    int longest = 0;
    for (size_t i = 0; i < b.lines.size(); ++i) {
        int len = (int)b.lines[i].size();
        if (option == -2 && i + 1 == b.lines.size()) len = std::min(len + 9, FLASH_WIDTH);
        longest = std::max(longest, len);
    }
    int width = longest + 4;
    if (width <= tlen) width = 14;
    if (option < 0) width = std::max(width, 32);
    width = std::max(width, tlen + 2);
    int n = (int)b.lines.size();
    int height = option == -1 ? n + 3 : n + 2;
    int lines = term_state ? term_state->term_lines : 25,
        cols = term_state ? term_state->term_cols : 80;
    b.cols = width;
    b.rows = height;
    b.col = std::max(1, (cols - width) / 2 + 1);
    b.row = std::max(1, (lines - height) / 2);
    return b;
}

int FFLASH(int option, int scheme, int attr, const char *title, const char *fmt, ...) {
    if (option < -2) nv::fatal("FFLASH invalid option [%d]", option);
    va_list ap;
    std::unique_ptr<char[]> buf(new (std::nothrow) char[FLASH_BUF]);
    if (!buf) {
        char line[136];
        va_start(ap, fmt);
        std::vsnprintf(line, sizeof line, fmt, ap);
        va_end(ap);
        error("%s", line);
        return 1;
    }
    va_start(ap, fmt);
    std::vsnprintf(buf.get(), FLASH_BUF, fmt, ap);
    va_end(ap);
    nv::FlashBox b = nv::fflash_layout(option, title, buf.get());
    buf.reset();

    open_scheme(scheme, b.row, b.col, b.rows, b.cols);
    if (b.title.empty())
        WINBOX(nullptr);
    else
        WINBOX("%s", b.title.c_str());
    int n = (int)b.lines.size();
    int shown = option == -2 ? n - 1 : n;
    for (int i = 0; i < shown; ++i)
        WINTEXT((chtype)attr, i + 1, 2, "%s", b.lines[(size_t)i].c_str());
    SCRFLUSH(0);
    int result = 1;
    if (option < 0) {
        FieldState keep;
        if (option == -2)
            result = INGAVEJN(n, 2, "%s", b.lines.back().c_str());
        else
            INGAVEENTER(n + 1, 2);
    } else if (option > 0) {
        SCRFLUSH(option);
    }
    WINCLOSE();
    SCRFLUSH(0);
    return result;
}

// ----------------------------------------------------------- FOUTMELDING

void FOUTMELDING(const char *text, int seconds) {
    std::vector<std::string> lines;
    std::string cur;
    for (const char *c = text ? text : "";; ++c) {
        if (*c == '\n' || !*c) {
            lines.push_back(cur);
            cur.clear();
            if (!*c) break;
            continue;
        }
        cur += *c;
    }
    int longest = 25;
    for (const auto &l : lines)
        longest = std::max(longest, (int)l.size());
    int tl = term_state->term_lines, tc = term_state->term_cols;
    int width = std::min(longest + 4, tc);
    int height = std::min((int)lines.size() + 4 + (seconds == 0 ? 1 : 0), tl);
    WINOPEN3(std::max(1, (tl - height) / 2), std::max(1, (tc - width) / 2 + 1), height, width);
    WINBOX(" %s ", DET(1, 264, "FOUTMELDING"));
    int w = width - 4;
    for (size_t i = 0; i < lines.size(); ++i)
        WINTEXT(A_BOLD, (int)i + 2, 2, "%-*.*s", w, w, lines[i].c_str());
    if (seconds > 0) {
        SCRFLUSH(seconds);
        flushinp(); // what was typed meanwhile was not meant for this box
    } else {
        flushinp();
        INGAVEENTER(height - 2, 2);
    }
    WINCLOSE();
}

// -------------------------------------------------------------- INGAVEJN

bool INGAVEJN(int row, int col, const char *fmt, ...) {
    char text[256];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(text, sizeof text, fmt, ap);
    va_end(ap);
    const char *q = text;
    int dflt = -1; // no default: an answer is required
    if (q[0] == '[' && q[1] && q[2] == ']') {
        dflt =
            q[1] == '+' || cp850::upper((unsigned char)q[1]) == (unsigned char)yes_letter() ? 1 : 0;
        q += 3;
        if (*q == ',') ++q;
    }
    if (!*q) q = KOR(1, 144, "Akkoord");
    WINCLREOL(row, col);
    int n = WINTEXT(ATTR_LABEL, row, col, "%s? (%c/%c)", q, yes_letter(), no_letter());
    unsigned char answer = dflt == 1 ? 1 : 0;
    INGAVE(row, col + n + 1, dflt < 0 ? "b,/EI" : "b,/E", &key_cancel, &answer);
    int key = term_state->ing_key;
    if (key == key_cancel || key == key_esc) return false;
    return answer == 1;
}

// ------------------------------------------------------------- STOPCHECK

namespace {

bool g_stop_allowed = true;
bool g_stop_confirmed = false;
time_t g_stop_last = 0;
time_t (*g_stop_clock)() = nullptr;
void (*g_macro_suspend)() = nullptr;
void (*g_macro_resume)() = nullptr;

time_t stop_now() {
    return g_stop_clock ? g_stop_clock() : std::time(nullptr);
}

struct MacroHold {
    MacroHold() {
        if (g_macro_suspend) g_macro_suspend();
    }
    ~MacroHold() {
        if (g_macro_resume) g_macro_resume();
    }
    MacroHold(const MacroHold &) = delete;
    MacroHold &operator=(const MacroHold &) = delete;
};

bool stop_question() {
    FieldState keep;
    error("%s", "");
    const char *ask = KOR(1, 144, "Akkoord");
    int width = std::max(24, (int)std::strlen(ask) + 17);
    WINOPEN3(term_state->term_lines - 7, 11, 5, width);
    WINBOX(" %s ", KOR(1, 146, "Onderbreken"));
    bool yes = INGAVEJN(2, 4, "[+]");
    WINCLOSE();
    return yes;
}

} // namespace

void nv::stop_set_clock(time_t (*clock)()) {
    g_stop_clock = clock;
}

void STOPMACROHOOKS(void (*suspend)(), void (*resume)()) {
    g_macro_suspend = suspend;
    g_macro_resume = resume;
}

bool STOPCHECK() {
    if (!term_state || term_state->term_off || !g_stop_allowed || g_stop_confirmed)
        return g_stop_confirmed;
    time_t now = stop_now();
    if (now == g_stop_last) return g_stop_confirmed;
    g_stop_last = now;
    bool asked = false, other = false;
    {
        MacroHold hold;
        while (KEYHIT()) {
            int key = KEYREAD(WINCUR());
            if (key == key_cancel || key == key_esc) {
                asked = true;
                break;
            }
            other = true;
        }
    }
    if (asked)
        g_stop_confirmed = stop_question();
    else if (other)
        error("%s", KOR(1, 145, "Alleen <CANCEL> voor onderbreken"));
    return g_stop_confirmed;
}

void STOPON() {
    g_stop_allowed = true;
}
void STOPOFF() {
    g_stop_allowed = false;
}
bool STOPGET() {
    return g_stop_allowed;
}
void STOPRESET() {
    g_stop_confirmed = false;
    g_stop_allowed = true;
    g_stop_last = 0;
}

// ----------------------------------------------------------------- KEUZE

const char *keuze_text[KEUZE_MAX];

namespace {

int g_keuze_count = 0;
uint32_t g_keuze_on = 0;
int g_keuze_default = -1;
struct {
    bool on;
    int result;
    int32_t *var;
    int32_t low, high;
} g_keuze_number{};

bool keuze_enabled(int i) {
    return i >= 0 && i < g_keuze_count && (g_keuze_on >> i & 1u) && keuze_text[i];
}

// The hot letter of a choice (upper case), or 0.
int keuze_letter(int i) {
    const char *a = std::strchr(keuze_text[i], '&');
    return a && a[1] ? cp850::upper((unsigned char)a[1]) : 0;
}

std::string without_amp(const char *t, int *hot) {
    std::string s;
    *hot = -1;
    for (; *t; ++t) {
        if (*t == '&' && t[1] && *hot < 0) {
            *hot = (int)s.size();
            continue;
        }
        s += *t;
    }
    return s;
}

int digits_of(int32_t v) {
    int n = 1;
    while (v >= 10) {
        v /= 10;
        ++n;
    }
    return n;
}

// Paints the prompt line; returns the column of the field. *full tells
// whether the whole texts fit (otherwise the letters alone are shown).
int keuze_paint(int row, int col, bool *full) {
    std::string label = DET(7, 556, "Uw keuze");
    int room = WININNERCOLS() - col + 1;
    int extra = 1 + (g_keuze_number.on ? digits_of(g_keuze_number.high) - 1 : 0);
    struct Part {
        std::string text;
        int hot;
    };
    for (int pass = 0; pass < 2; ++pass) {
        *full = pass == 0;
        std::vector<Part> parts;
        for (int i = 0; i < g_keuze_count; ++i) {
            if (!keuze_enabled(i)) continue;
            Part p;
            if (*full) {
                p.text = without_amp(keuze_text[i], &p.hot);
            } else {
                int c = keuze_letter(i);
                if (!c) continue;
                p.text = std::string(1, (char)c);
                p.hot = 0;
            }
            parts.push_back(p);
        }
        std::string line = label + " (";
        std::vector<int> hotcols;
        for (size_t k = 0; k < parts.size(); ++k) {
            if (k) line += *full ? ", " : ",";
            if (parts[k].hot >= 0) hotcols.push_back((int)line.size() + parts[k].hot);
            line += parts[k].text;
        }
        line += ") : ";
        if (*full && (int)line.size() + extra > room) continue;
        WINCLREOL(row, col);
        WINTEXT(ATTR_LABEL, row, col, "%s", line.c_str());
        for (int h : hotcols)
            WINTEXT(ATTR_DATA, row, col + h, "%c", cp850::upper((unsigned char)line[(size_t)h]));
        return col + (int)line.size();
    }
    return col;
}

// The list of the full texts; the index chosen, or -1.
int keuze_list(int row) {
    DM_MENU *dm = DM_NEW(DET(7, 556, "Uw keuze"));
    for (int i = 0; i < g_keuze_count; ++i)
        if (keuze_enabled(i)) DM_ITEM(dm, keuze_text[i], i + 1, 1);
    int srow = getbegy(WINCUR()) + row + 1;
    return DM_RUN(dm, srow, 0) - 1;
}

// Further digits of a number that is still below its range; -1 cancelled.
long keuze_more_digits(int row, int col, long n) {
    while (n < g_keuze_number.low && n * 10 <= g_keuze_number.high) {
        char d = 0;
        INGAVE(row, col++, "1c[0123456789],A", &key_cancel, &d);
        int key = term_state->ing_key;
        if (key == key_cancel || key == key_esc) return -1;
        if (d < '0' || d > '9') break;
        n = n * 10 + (d - '0');
    }
    return n;
}

} // namespace

void KEUZEINIT(int count) {
    g_keuze_count = std::clamp(count, 0, KEUZE_MAX);
    g_keuze_on = g_keuze_count == 32 ? 0xFFFFFFFFu : (1u << g_keuze_count) - 1;
    g_keuze_default = -1;
    g_keuze_number = {};
}

void KEUZEADD(int index) {
    if (index < 0 || index >= KEUZE_MAX) return;
    g_keuze_on |= 1u << index;
    g_keuze_count = std::max(g_keuze_count, index + 1);
}

void KEUZEDEL(int index) {
    if (index >= 0 && index < KEUZE_MAX) g_keuze_on &= ~(1u << index);
}

void KEUZEDEFAULT(int index) {
    g_keuze_default = index >= 0 && index < KEUZE_MAX ? index : -1;
}

void KEUZENUMBER(int result, int32_t *variable, int32_t low, int32_t high) {
    g_keuze_number = {variable != nullptr, result, variable, low, high};
}

int KEUZE(int row, int col) {
    for (;;) {
        bool full;
        int fcol = keuze_paint(row, col, &full);
        std::string set;
        for (int i = 0; i < g_keuze_count; ++i)
            if (keuze_enabled(i) && keuze_letter(i)) set += (char)keuze_letter(i);
        if (g_keuze_number.on) set += "0123456789";
        char fmt[80];
        std::snprintf(fmt, sizeof fmt, "1c[%s],UA", set.c_str());
        char v = keuze_enabled(g_keuze_default) ? (char)keuze_letter(g_keuze_default) : 0;
        if (full)
            INGAVE(row, fcol, fmt, &key_cancel, &v);
        else
            INGAVE(row, fcol, fmt, &key_cancel, &key_help, &v);
        int key = term_state->ing_key;
        if (!full && (key == key_help || key == key_f1)) {
            int chosen = keuze_list(row);
            if (chosen >= 0) return chosen;
            continue;
        }
        if (key != '\n') return -1;
        int c = (unsigned char)v;
        if (c == 0 || c == ' ') continue;
        if (cp850::is_digit(c) && g_keuze_number.on) {
            long n = keuze_more_digits(row, fcol + 1, c - '0');
            if (n < 0) continue;
            if (n >= g_keuze_number.low && n <= g_keuze_number.high) {
                *g_keuze_number.var = (int32_t)n;
                return g_keuze_number.result;
            }
            error("<%ld> %s", n, "ongeldige keuze");
            continue;
        }
        for (int i = 0; i < g_keuze_count; ++i)
            if (keuze_enabled(i) && keuze_letter(i) == cp850::upper(c)) return i;
        error("<%c> %s", c, "ongeldige keuze");
    }
}

// --------------------------------------------------------- display texts

const char *JATEXT(int flag) {
    return flag ? "Ja " : "Nee";
}
const char *JNTEXT(int flag) {
    return flag ? KOR(1, 74, "J") : KOR(1, 75, "N");
}

const char *LAFTEXT(int bits) {
    static char text[4];
    text[0] = bits & 1 ? 'L' : ' ';
    text[1] = bits & 2 ? 'A' : ' ';
    text[2] = bits & 4 ? 'F' : ' ';
    text[3] = 0;
    return text;
}

const char *MAILTEXT(int value) {
    switch (value) {
    case 2:
        return "Post en e-mail";
    case 4:
        return "Alleen post";
    case 8:
        return "Alleen e-mail";
    case 16:
        return "Geen mailing";
    default:
        return "";
    }
}

const char *MAILCODE(int value) {
    switch (value) {
    case 2:
        return "J";
    case 4:
        return "P";
    case 8:
        return "E";
    case 16:
        return "N";
    default:
        return "";
    }
}

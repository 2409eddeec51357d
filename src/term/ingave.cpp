// INGAVE: one field from set-up to the final paint, and INGAVEKEY, the
// wait for a single key without a field.
//
// Order of a field: place stored, exit keys added to the input set, set-up
// (ingfmt.cpp), UP and DOWN validated under E or F, I clears, a numeric 0
// shows as an empty field (unless Z and E together), the editing loop
// (ingedit.cpp), then the variable is written back for every exit, also a
// cancelling one, and the final value painted without the underscores.
// The input set is reset at the end: the next field starts from scratch.
#include "term/ingint.h"

#include "base/catalog.h"
#include "base/datum.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>

namespace nv::ing {
IngVar var_info;
} // namespace nv::ing

using namespace nv::ing;

namespace {

// Half away from zero, kept inside what a 64-bit integer holds.
long long rounded(double v) {
    double r = std::round(v);
    if (r > 9.0e18) r = 9.0e18;
    if (r < -9.0e18) r = -9.0e18;
    if (std::isnan(r)) r = 0;
    return (long long)r;
}

int32_t rounded32(double v) {
    long long r = rounded(v);
    if (r > INT32_MAX) r = INT32_MAX;
    if (r < INT32_MIN) r = INT32_MIN;
    return (int32_t)r;
}

void write_back() {
    TERMSTATE *t = ts();
    void *v = t->ing_var;
    if (!v) return;
    switch (t->ing_type) {
    case 'B': {
        int32_t x = rounded32(t->term_decimals == 2 ? ing_value * 100 : ing_value);
        std::memcpy(v, &x, 4);
        break;
    }
    case 'l': {
        int32_t x = rounded32(ing_value);
        std::memcpy(v, &x, 4);
        break;
    }
    case 'd':
    case 'u':
    case 'D': {
        uint16_t x = (uint16_t)(rounded(ing_value) & 0xFFFF);
        std::memcpy(v, &x, 2);
        break;
    }
    case 'n':
    case 'U':
    case 'b':
        *(unsigned char *)v = (unsigned char)(rounded(ing_value) & 0xFF);
        break;
    case 'f':
        std::memcpy(v, &ing_value, 8);
        break;
    case 's':
    case 'S':
        ing_text[t->ing_len] = 0;
        std::memcpy(v, ing_text, (size_t)t->ing_len + 1);
        break;
    default:
        std::memcpy(v, ing_text, (size_t)t->ing_len);
        break;
    }
}

void final_paint() {
    TERMSTATE *t = ts();
    int w = t->ing_scroll ? t->ing_window : t->ing_len;
    if (t->ing_hidden) {
        WINTEXT(ATTR_DATA, t->ing_row, t->ing_col, "%*s", w, "");
    } else if (t->ing_type == 'D') {
        char d[16];
        date_text(d, datum_naar_nr(ing_text), t->ing_len);
        WINTEXT(ATTR_DATA, t->ing_row, t->ing_col, "%-*s", t->ing_len, d);
    } else {
        WINTEXT(ATTR_DATA, t->ing_row, t->ing_col, "%-*.*s", w, w, ing_text);
    }
    if (t->ing_scroll && !t->ing_hidden) {
        if (field.left_marker) WINTEXT(ATTR_LABEL, t->ing_row, t->ing_col - 1, " ");
        if (field.right_marker) {
            if ((int)std::strlen(ing_text) > w) {
                WINATTR(A_DIM);
                WINMOVE(t->ing_row, t->ing_col + w);
                waddch(WINCUR(), ACS_RARROW);
                WINATTR(ATTR_DATA);
            } else {
                WINTEXT(ATTR_LABEL, t->ing_row, t->ing_col + w, " ");
            }
        }
    }
}

} // namespace

void nv::ing::check_var(const char *format) {
    const IngVar &v = var_info;
    if (v.size == 0) return;
    TERMSTATE *t = ts();
    char type = t->ing_type;
    bool ok;
    switch (type) {
    case 'B':
    case 'l':
        ok = v.size == 4 && !v.floating;
        break;
    case 'd':
    case 'u':
    case 'D':
        ok = v.size == 2 && !v.floating;
        break;
    case 'f':
        ok = v.size == 8 && v.floating;
        break;
    default:
        ok = v.size == 1;
        break; // one byte, or an array of bytes
    }
    if (!ok) INGAVEFATAL(format, KOR(1, 138, "ongeldige vartype"));
    long need = type == 's' || type == 'S'  ? t->ing_len + 1L
                : std::strchr("cCxX", type) ? (long)t->ing_len
                                            : 1L;
    if (v.extent >= 0 && v.extent < need) INGAVEFATAL(format, KOR(1, 141, "STRING fout"));
}

int nv::ingave_call(int row, int col, const char *format, int *const *keys, int nkeys, IngVar var) {
    TERMSTATE *t = ts();
    t->ing_row = row;
    t->ing_col = col;
    t->ing_var = var.p;
    for (int i = 0; i < nkeys; ++i) {
        if (!KEYISSLOT(keys[i])) INGAVEFATAL(format, KOR(1, 138, "ongeldige vartype"));
        KEYALLOW(*keys[i]);
    }
    var_info = var;
    INGAVEPREP(format);
    var_info = IngVar{};
    if (flag('E') || flag('F')) {
        KEYMASK(key_up);
        KEYMASK(key_down);
    }
    if (flag('I')) {
        ing_value = 0;
        std::memset(ing_text, 0, sizeof ing_text);
    }
    if (t->ing_numeric && ing_value == 0 && !(flag('Z') && flag('E')))
        std::memset(ing_text, 0, sizeof ing_text);

    INGAVEEDIT();

    if (!ing_text[0]) {
        t->ing_status |= ING_EMPTY;
    } else if (flag('J')) {
        int len = (int)std::strlen(ing_text);
        if (len < t->ing_len) {
            std::memmove(ing_text + (t->ing_len - len), ing_text, (size_t)len + 1);
            std::memset(ing_text, ' ', (size_t)(t->ing_len - len));
        }
    }
    write_back();
    final_paint();
    t->term_lastrefresh = std::time(nullptr);
    KEYUNMASK(key_up);
    KEYUNMASK(key_down);
    KEYCLEARSET();
    WAITMSG();
    return t->ing_status & ING_CHANGED;
}

int nv::ingavekey_call(int *const *keys, int nkeys, const char *chars) {
    TERMSTATE *t = ts();
    t->ing_status = 0;
    WAITCLEAR();
    for (int i = 0; i < nkeys; ++i)
        if (KEYISSLOT(keys[i])) KEYALLOW(*keys[i]);
    for (const char *c = chars ? chars : ""; *c; ++c)
        KEYALLOW((unsigned char)*c);
    curs_set(0);
    SCRFLUSH(0);
    int key;
    for (;;) {
        key = KEYREAD(WINCUR());
        if (key == '\r' || key == KEY_ENTER) key = '\n';
        if (KEYISSET(key)) break;
    }
    curs_set(1);
    if (KEYISEXIT(key)) t->ing_status |= ING_EMPTY;
    t->ing_key = key;
    KEYCLEARSET();
    WAITMSG();
    return key;
}

int INGAVEENTER(int row, int col) {
    WINCLREOL(row, col);
    WINTEXT(A_NORMAL, row, col, "%s", KOR(1, 96, "<ENTER> voor vervolg"));
    KEYALLOW('\n');
    return INGAVEKEY("");
}

// The help screen of a field: what kind of input is expected, how many
// positions, which characters, which function keys leave the field and, for
// numbers, the range. It reads everything from the field state and leaves
// the field as it was.
#include "term/ingint.h"

#include "base/catalog.h"

#include <cstdio>
#include <cstring>
#include <string>

using namespace nv::ing;

namespace {

// Writes the pieces of one row one after the other.
struct Row {
    int row, col = 2;
    void put(chtype attr, const char *fmt, const char *s) {
        col += WINTEXT(attr, row, col, fmt, s);
    }
    void num(chtype attr, int n) {
        char b[16];
        std::snprintf(b, sizeof b, " %d ", n);
        col += WINTEXT(attr, row, col, "%s", b);
    }
};

const char *kind(char type) {
    switch (type) {
    case 'c':
    case 'C':
    case 's':
    case 'S':
        return KOR(1, 100, "tekst");
    case 'b':
        return KOR(1, 101, "Ja of Nee");
    case 'B':
        return KOR(1, 102, "bedrag");
    case 'D':
        return KOR(1, 103, "datum");
    case 'x':
    case 'X':
        return KOR(1, 104, "hexadecimale waarde");
    default:
        return KOR(1, 105, "getal");
    }
}

// The characters of the [...] set as the user reads them.
std::string legal_text(char type) {
    if (ing_charset == 1) return settext;
    if (ing_charset == 2) return std::string(settext) + " " + KOR(1, 112, "niet");
    switch (type) {
    case 'c':
    case 'C':
    case 's':
    case 'S':
        return KOR(1, 113, "Alle tekens");
    case 'b':
        return KOR(1, 114, "J, N");
    case 'x':
    case 'X':
        return KOR(1, 115, "Hexadecimale tekens");
    default:
        return KOR(1, 116, "Alle cijfers");
    }
}

void function_keys() {
    struct Named {
        int code;
        const char *name;
    } named[] = {{key_up, "Cursor Up"},   {key_down, "Cursor Down"}, {key_pgup, "Page Up"},
                 {key_pgdn, "Page Down"}, {key_tab, "Tab"},          {key_shtab, "Shift+Tab"},
                 {key_help, "HELP"},      {key_cancel, "CANCEL"}};
    std::string list;
    for (const Named &n : named) {
        if (!KEYISSET(n.code)) continue;
        if (!list.empty()) list += ", ";
        list += n.name;
    }
    if (!list.empty()) {
        WINTEXT(ATTR_LABEL, 7, 2, "%s",
                KOR(1, 118, "De volgende functietoetsen zijn toe te passen :"));
        WINTEXT(ATTR_DATA, 8, 2, "%s", list.c_str());
    }
    std::string fkeys;
    for (int i = 0; i < 12; ++i) {
        if (!KEYISSET(term_state->term_keys[SLOT_F1 + i])) continue;
        char b[16];
        std::snprintf(b, sizeof b, "F%d, ", i + 1);
        fkeys += b;
    }
    if (!fkeys.empty()) WINTEXT(ATTR_DATA, 9, 2, "%s", fkeys.c_str());
}

// A bound as a whole number; a field wider than a long shows its limit.
long whole(double v) {
    if (v >= 9.2e18) return 9200000000000000000L;
    if (v <= -9.2e18) return -9200000000000000000L;
    return (long)v;
}

void range_row() {
    TERMSTATE *s = ts();
    const INPUTSET *set = s->term_set;
    char b[800];
    int n = std::snprintf(b, sizeof b, "%s : ", KOR(1, 120, "Bereik"));
    if (s->ing_prec > 0) {
        char f[32];
        std::snprintf(f, sizeof f, "%%-%d.%df", s->ing_len, s->ing_prec);
        n += std::snprintf(b + n, sizeof b - (size_t)n, f, set->lower);
        n += std::snprintf(b + n, sizeof b - (size_t)n, " %s ", KOR(1, 119, "t/m"));
        std::snprintf(b + n, sizeof b - (size_t)n, f, set->upper);
    } else {
        std::snprintf(b + n, sizeof b - (size_t)n, "%ld %s %ld", whole(set->lower),
                      KOR(1, 119, "t/m"), whole(set->upper));
    }
    WINTEXT(ATTR_LABEL, 10, 2, "%s", b);
}

} // namespace

void INGAVEHELP() {
    TERMSTATE *s = ts();
    char type = s->ing_type;
    WINOPEN4(9, 5, 14, 70);
    WINBOX("%s", KOR(1, 97, " Ingave HELP-informatie "));

    Row r2{2};
    r2.put(ATTR_LABEL, "%s", KOR(1, 98, "Er wordt ingave"));
    if (type != 'b') r2.put(ATTR_LABEL, " %s", KOR(1, 99, "van een"));
    r2.put(ATTR_DATA, " %s ", kind(type));
    r2.put(ATTR_LABEL, "%s", KOR(1, 106, "verwacht"));

    Row r3{3};
    r3.put(ATTR_LABEL, "%s", flag('E') ? KOR(1, 107, "U moet") : KOR(1, 108, "U mag"));
    r3.num(ATTR_DATA, s->ing_len);
    r3.put(ATTR_LABEL, "%s", KOR(1, 109, "posities vullen"));
    if (s->ing_numeric && s->ing_prec > 0) {
        r3.put(ATTR_LABEL, ", %s", KOR(1, 110, "waarvan"));
        r3.num(ATTR_DATA, s->ing_prec);
        r3.put(ATTR_LABEL, "%s", KOR(1, 111, "cijfers na de komma"));
    }
    if (type == 'D') r3.put(ATTR_LABEL, "%s", "  (DDMMJJ)");

    Row r5{5};
    r5.put(ATTR_DATA, "%s ", legal_text(type).c_str());
    r5.put(ATTR_LABEL, "%s", KOR(1, 117, "toegestaan"));

    function_keys();
    if (s->ing_numeric) range_row();

    const char *enter = KOR(1, 96, "<ENTER> voor vervolg");
    int n = WINTEXT(ATTR_LABEL, 12, 2, "%s _", enter);
    for (;;) {
        WINMOVE(12, 2 + n - 1);
        SCRFLUSH(0);
        int key = KEYREAD(WINCUR());
        if (key == '\n' || key == '\r' || key == KEY_ENTER) break;
        error("%s", "Ongeldige ingave");
    }
    error("%s", "");
    WINCLOSE();
}

// The compose window: F11 in a text field asks for a short code of two or
// three characters (or a number) and types the code page 850 character it
// stands for, so that accented letters and signs that the keyboard lacks
// can still be entered. "e'" gives e acute, "o/" o slash, "1/2" one half,
// "130" the character 130 itself.
#include "term/fldedit.h"
#include "term/ingint.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace {

struct Compose {
    const char *code;
    unsigned char ch;
};

// clang-format off
const Compose table[] = {
    // diaeresis
    {"u\"", 129}, {"a\"", 132}, {"e\"", 137}, {"i\"", 139}, {"A\"", 142}, {"o\"", 148},
    {"y\"", 152}, {"O\"", 153}, {"U\"", 154}, {"E\"", 211}, {"I\"", 216},
    // acute
    {"e'", 130}, {"E'", 144}, {"a'", 160}, {"i'", 161}, {"o'", 162}, {"u'", 163},
    {"A'", 181}, {"I'", 214}, {"O'", 224}, {"U'", 233}, {"y'", 236}, {"Y'", 237},
    // grave
    {"a`", 133}, {"e`", 138}, {"i`", 141}, {"o`", 149}, {"u`", 151}, {"A`", 183},
    {"E`", 212}, {"I`", 222}, {"O`", 227}, {"U`", 235},
    // circumflex
    {"a^", 131}, {"e^", 136}, {"i^", 140}, {"o^", 147}, {"u^", 150}, {"A^", 182},
    {"E^", 210}, {"I^", 215}, {"O^", 226}, {"U^", 234},
    // tilde
    {"n~", 164}, {"N~", 165}, {"a~", 198}, {"A~", 199}, {"o~", 228}, {"O~", 229},
    // cedilla and ogonek-like
    {"C,", 128}, {"c,", 135}, {"u,", 230},
    // ordinals
    {"a_", 166}, {"o_", 167},
    // ring and circled
    {"ao", 134}, {"Ao", 143}, {"ro", 169}, {"co", 184},
    // slashed
    {"o/", 155}, {"O/", 157}, {"\\/", 158}, {"c/", 189},
    // the rest
    {"ae", 145}, {"AE", 146}, {"1/2", 171}, {"1/4", 172}, {"<<", 174}, {">>", 175},
    {"Y=", 190}, {"D-", 209}, {"ss", 225}, {"+-", 241}, {"3/4", 243}, {"SS", 245},
    {":-", 246}, {"gr", 248},
};
// clang-format on
static_assert(sizeof table / sizeof table[0] == 76);

} // namespace

namespace nv::ing {

// The character of a compose code: all digits is the number itself, else
// the table; 0 when the code is unknown.
int compose_code(const char *code) {
    if (!*code) return 0;
    bool digits = true;
    for (const char *p = code; *p; ++p)
        digits = digits && std::isdigit((unsigned char)*p);
    if (digits) return std::atoi(code);
    for (const Compose &c : table)
        if (std::strcmp(c.code, code) == 0) return c.ch;
    return 0;
}

int compose() {
    TERMSTATE *s = ts();
    int row, col;
    screen_pos(s->ing_row, s->ing_col, &row, &col);
    if (row + 2 > s->term_lines) row = s->term_lines - 2;
    if (col + 5 > s->term_cols) col = s->term_cols - 5;
    if (row < 1) row = 1;
    if (col < 1) col = 1;
    WINOPEN2(row, col, 3, 6);
    WINBOX(nullptr);
    char code[8] = "";
    int k = FLDEDIT(1, 1, code, 4);
    WINCLOSE();
    if (k == 27) return -1; // the user thought better of it
    int n = (int)std::strlen(code);
    while (n > 0 && code[n - 1] == ' ')
        code[--n] = 0;
    return compose_code(code);
}

} // namespace nv::ing

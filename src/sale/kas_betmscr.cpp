// The list of payment means: see kas_betmscr.h.
#include "sale/kas_betmscr.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "sale/kas_betm.h"
#include "term/ingave.h"
#include "term/popup.h"
#include "term/scr.h"
#include "term/sel.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Rij {
    char letter; // fixed letter
    int nummer;  // 0-based within the table; -1 for the single means
    std::string naam;
};

struct Lijst {
    SEL *sel = nullptr;
    std::vector<Rij> rijen;
    char tekst[40] = {};
};
Lijst *g = nullptr;

void vul(char letter) {
    const char *tabellen = "QAPWOV";
    for (const char *t = tabellen; *t; ++t) {
        if (std::strchr(tabellen, letter) && letter != *t) continue;
        if (*t == 'V') {
            for (int i = 0; i < 25; ++i)
                if (betm_valuta(i)[0]) g->rijen.push_back({'V', i, betm_valuta(i)});
            continue;
        }
        int s = (int)(t - tabellen) + 1;
        for (int i = 0; i < betm_aantal(s); ++i)
            if (betm_entry_van(s, i)->in_gebruik)
                g->rijen.push_back({*t, i, betm_entry_van(s, i)->naam});
    }
    if (letter == ' ') g->rijen.push_back({' ', -1, betm_soort_naam(0)});
    if (letter == ' ' || letter == 'F') g->rijen.push_back({'F', -1, betm_naam('F', 0)});
    if (letter == ' ' || letter == 'R') g->rijen.push_back({'R', -1, betm_naam('R', 0)});
}

bool step(int32_t delta) {
    int32_t n = (int32_t)g->rijen.size(), from = g->sel->sel_pos;
    int32_t to = from + delta < 0 ? 0 : (from + delta >= n ? n - 1 : from + delta);
    g->sel->sel_pos = to;
    return n > 0 && to == from + delta;
}

const char *row() {
    const Rij &r = g->rijen[(size_t)g->sel->sel_pos];
    char nr[16] = "  ";
    if (r.nummer >= 0) std::snprintf(nr, sizeof nr, "%-2d", r.nummer + 1);
    std::snprintf(g->tekst, sizeof g->tekst, "%c%s %-20.20s", betm_letter_lokaal(r.letter), nr,
                  r.naam.c_str());
    return g->tekst;
}

// "Code": a letter and a number; the first row of that letter with a number
// at or above it, else the last row.
void input() {
    int r = WININNERROWS();
    char code[4] = {};
    WINCLREOL(r, 1);
    const char *label = DET(5, 940, "Code");
    WINTEXT(ATTR_LABEL, r, 2, "%s:", label);
    INGAVE(r, 4 + (int)std::strlen(label), "3s,IU", code);
    if (!code[0] || term_state->ing_key == key_cancel || term_state->ing_key == key_esc) return;
    char letter = betm_letter_vast(code[0]);
    int nummer = std::atoi(code + 1) - 1;
    int32_t n = (int32_t)g->rijen.size();
    for (int32_t i = 0; i < n; ++i)
        if (g->rijen[(size_t)i].letter == letter && g->rijen[(size_t)i].nummer >= nummer) {
            g->sel->sel_pos = i;
            return;
        }
    g->sel->sel_pos = n - 1;
}

const char *titel(char letter) {
    switch (letter) {
    case 'Q':
        return DET(5, 941, " betaalmiddelen cheques ");
    case 'A':
        return DET(5, 942, " betaalmiddelen credit cards ");
    case 'P':
        return DET(5, 943, " betaalmiddelen pinpassen ");
    case 'W':
        return DET(5, 944, " betaalmiddelen waardebonnen ");
    case 'O':
        return DET(5, 945, " betaalmiddelen overig ");
    case 'V':
        return DET(5, 946, " betaalmiddelen valuta ");
    default:
        return DET(5, 947, " betaalmiddelen ");
    }
}

} // namespace

bool betm_kies(char letter, unsigned char *marks) {
    int totaal = 0;
    for (int s = 1; s <= BETM_SOORTEN; ++s)
        totaal += betm_aantal(s);
    if (!betm_geladen() || totaal + betm_map_aantal() == 0) {
        FFLASH(-1, 0, A_BOLD, nullptr, "%s", DET(5, 948, "Geen betaalmiddelen informatie"));
        return false;
    }
    Lijst lijst;
    Lijst *outer = g;
    g = &lijst;
    vul(letter);
    bool gekozen = false;
    if (!g->rijen.empty()) {
        g->sel = SELNEW(step, input, nullptr, row);
        if (!g->sel) mem_fatal("kas_betm", 7);
        g->sel->sel_pos = 0;
        g->sel->sel_row0 = 5;
        g->sel->sel_col0 = 30;
        g->sel->sel_rows = 15;
        // The title is set with its own blanks; the list adds one on each side.
        std::string t = titel(letter);
        std::snprintf(g->sel->sel_title, sizeof g->sel->sel_title, "%s",
                      t.substr(t.find_first_not_of(' '),
                               t.find_last_not_of(' ') - t.find_first_not_of(' ') + 1)
                          .c_str());
        while (SELRUN(g->sel, 0)) {
            const Rij &r = g->rijen[(size_t)g->sel->sel_pos];
            marks[r.letter == ' ' ? 0 : betm_slot(r.letter, r.nummer < 0 ? 0 : r.nummer)] = 1;
            gekozen = true;
        }
        SELFREE(g->sel);
    }
    g = outer;
    return gekozen;
}

// The menu engine: see menuhdl.h.
#include "frame/menuhdl.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "frame/start.h"
#include "term/ingave.h"
#include "term/scr.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

struct menu_item_rec {
    uint8_t nummer;
    uint8_t groep;
    uint8_t rij, kolom;
    char tekst[39];
    uint8_t actief;
    menu_functie functie;
    menu_item_rec *volgende;
};

struct menu_kop {
    uint8_t volgnr = 1;
    uint8_t groepnr = 0;
    uint8_t rij = 3;
    uint8_t kolom = 2;
    uint8_t eerste = 0;
    uint8_t laatste = 0;
    uint8_t niveau = 0;
    uint8_t breedte = 35;
    menu_functie voorkeur = nullptr;
    menu_item_rec *items = nullptr;
};

menu_kop *g_menu = nullptr;
menu_functie g_last[10] = {};

constexpr chtype ACCENT = A_BOLD | A_UNDERLINE; // the second colour band

void free_menu() {
    if (!g_menu) return;
    for (menu_item_rec *i = g_menu->items; i;) {
        menu_item_rec *n = i->volgende;
        delete i;
        i = n;
    }
    delete g_menu;
    g_menu = nullptr;
}

// Formats a text to the column width and trims it.
void fit(char *out, size_t size, const char *text, int width) {
    std::snprintf(out, size, "%-*.*s", width, width, text);
    size_t n = std::strlen(out);
    while (n && out[n - 1] == ' ') out[--n] = 0;
    size_t s = 0;
    while (out[s] == ' ') ++s;
    std::memmove(out, out + s, n - s + 1);
}

void draw(const menu_item_rec *i, bool current) {
    chtype num = current ? A_REVERSE : (i->actief ? ACCENT : ATTR_LABEL);
    chtype txt = current ? A_REVERSE : ATTR_DATA;
    WINTEXT(num, i->rij, i->kolom, "%2d", i->nummer);
    WINTEXT(txt, i->rij, i->kolom + 3, "%s", i->tekst);
}

int bottom_row() { return term_state->term_lines - 1; }

void help_window() {
    int rows = 8, row = term_state->term_lines - 9 + 1;
    WINOPEN1(row, 1, rows, 80);
    WINBOX(" %s ", KOR(1, 150, "keuzemogelijkheden"));
    char range[16];
    std::snprintf(range, sizeof range, "%d-%d", g_menu->eerste, g_menu->laatste);
    const char *rowsTxt[4][2] = {{range, KOR(1, 151, "Nummer van menukeuze")},
                                 {"Up", KOR(1, 152, "Naar vorige menukeuze")},
                                 {"Dn", KOR(1, 153, "Naar volgende menukeuze")},
                                 {"Tab", KOR(1, 154, "Naar eerste menukeuze van volgende rubriek")}};
    for (int r = 0; r < 4; ++r) {
        WINTEXT(A_BOLD, r + 1, 3, "%-8s", rowsTxt[r][0]);
        WINTEXT(ATTR_LABEL, r + 1, 12, "%s", rowsTxt[r][1]);
    }
    INGAVEENTER(rows - 2, 3);
    WINCLOSE();
}

menu_item_rec *find_nr(int nr) {
    for (menu_item_rec *i = g_menu->items; i; i = i->volgende)
        if (i->nummer == nr) return i;
    return nullptr;
}

menu_item_rec *last_item() {
    menu_item_rec *i = g_menu->items;
    while (i && i->volgende) i = i->volgende;
    return i;
}

menu_item_rec *previous(menu_item_rec *cur) {
    menu_item_rec *prev = nullptr;
    for (menu_item_rec *i = g_menu->items; i && i != cur; i = i->volgende) prev = i;
    return prev ? prev : last_item();
}

menu_item_rec *next_group(menu_item_rec *cur) {
    for (menu_item_rec *i = cur->volgende; i; i = i->volgende)
        if (i->groep != cur->groep) return i;
    return g_menu->items;
}

} // namespace

void menu_start(int level) {
    if (level > 9 || level < 0) mem_fatal("menuhdl", 101);
    free_menu();
    g_menu = new (std::nothrow) menu_kop;
    if (!g_menu) mem_fatal("menuhdl", 1);
    g_menu->niveau = (uint8_t)level;
    // Everything between the title row and the bottom line goes.
    for (int r = 2; r < term_state->term_lines; ++r) WINCLREOL(r, 1);
}

void menu_voorkeur(menu_functie f) {
    if (g_menu) g_menu->voorkeur = f;
}

void menu_groep(bool shown, const char *text) {
    if (!shown || !g_menu) return;
    if (g_menu->rij != 3) g_menu->rij++;
    char buf[80];
    fit(buf, sizeof buf, text, g_menu->breedte);
    for (char *p = buf; *p; ++p) *p = (char)std::toupper((unsigned char)*p);
    WINTEXT(ACCENT, g_menu->rij, g_menu->kolom, "%s", buf);
    g_menu->rij++;
    g_menu->groepnr++;
    g_menu->volgnr = (uint8_t)(g_menu->volgnr + 10);
    while (g_menu->volgnr % 10 != 1) g_menu->volgnr--;
}

void menu_item(bool shown, bool active, const char *text, menu_functie f) {
    if (!f) mem_fatal("menuhdl", 102);
    if (!shown || !g_menu) return;
    menu_item_rec *i = new (std::nothrow) menu_item_rec{};
    if (!i) mem_fatal("menuhdl", g_menu->items ? 3 : 2);
    i->nummer = g_menu->volgnr;
    i->groep = g_menu->groepnr;
    i->rij = g_menu->rij;
    i->kolom = g_menu->kolom;
    fit(i->tekst, sizeof i->tekst, text, g_menu->breedte);
    i->tekst[0] = (char)std::toupper((unsigned char)i->tekst[0]);
    i->actief = active;
    i->functie = f;
    if (!g_menu->items) {
        g_menu->items = i;
        g_menu->eerste = i->nummer;
    } else {
        last_item()->volgende = i;
    }
    g_menu->laatste = i->nummer;
    draw(i, false);
    g_menu->volgnr++;
    g_menu->rij++;
}

void menu_regel() {
    if (g_menu) g_menu->rij++;
}

void menu_kolom() {
    if (!g_menu) return;
    g_menu->rij = 3;
    g_menu->kolom = (uint8_t)(g_menu->kolom + (g_menu->breedte == 20 ? 26 : 40));
}

bool menu_run() {
    if (!g_menu) return false;
    int prompt_row = bottom_row();
    if (!g_menu->items) {
        WINTEXT(A_BOLD, prompt_row - 1, 2, "%s", KOR(1, 155, "Geen menubevoegdheden"));
        INGAVEENTER(prompt_row, 2);
        free_menu();
        return false;
    }
    menu_item_rec *cur = nullptr;
    for (menu_item_rec *i = g_menu->items; i && !cur; i = i->volgende)
        if (g_menu->voorkeur && i->functie == g_menu->voorkeur) cur = i;
    for (menu_item_rec *i = g_menu->items; i && !cur; i = i->volgende)
        if (g_last[g_menu->niveau] && i->functie == g_last[g_menu->niveau]) cur = i;
    if (!cur) cur = g_menu->items;

    const char *prompt = DET(7, 556, "Uw keuze");
    const char *fmt = g_menu->volgnr > 9 ? "2d,PA" : "1d,PA";
    int field_col = 2 + (int)std::strlen(prompt) + 2;
    menu_item_rec *chosen = nullptr;
    for (;;) {
        draw(cur, true);
        WINCLREOL(prompt_row, 1);
        WINTEXT(ATTR_LABEL, prompt_row, 2, "%s", prompt);
        short nr = cur->nummer;
        INGAVE(prompt_row, field_col, fmt, &key_up, &key_down, &key_tab, &key_help, &key_f10, &key_cancel, &nr);
        int k = term_state->ing_key;
        if (k == key_help || k == key_f1) {
            help_window();
            continue;
        }
        if (k == key_f10) {
            frame::info_window(true);
            continue;
        }
        if (k == key_cancel || k == key_esc) break;
        draw(cur, false);
        if (k == key_up) {
            cur = previous(cur);
        } else if (k == key_down) {
            cur = cur->volgende ? cur->volgende : g_menu->items;
        } else if (k == key_tab) {
            cur = next_group(cur);
        } else {
            menu_item_rec *i = (term_state->ing_status & ING_EMPTY) ? cur : find_nr(nr);
            if (!i) {
                error("%s", KOR(1, 156, "Ongeldige keuze"));
                continue;
            }
            cur = i;
            if (!i->actief) {
                error("%s", KOR(1, 157, "Keuze niet beschikbaar"));
                continue;
            }
            chosen = i;
            break;
        }
    }
    menu_functie f = chosen ? chosen->functie : nullptr;
    int level = g_menu->niveau;
    free_menu();
    if (!f) return false;
    g_last[level] = f;
    f();
    return true;
}

int menu::items(Seen *out, int max) {
    int n = 0;
    for (menu_item_rec *i = g_menu ? g_menu->items : nullptr; i && n < max; i = i->volgende)
        out[n++] = {i->nummer, i->actief != 0, i->tekst};
    return n;
}

// The seller field and list: see kas_vkpscr.h.
//
// The list's identity of a record (sel_pos) is the seller number in both
// orders, so that TAB can switch the order and paint the new order from the
// seller under the cursor. By number the list walks the file on key 1; by
// name it walks a table built on the first switch, rebuilt when a seller it
// names has gone or a seller turns up that it lacks.
#include "sale/kas_vkpscr.h"

#include "base/catalog.h"
#include "base/cp850.h"
#include "base/fatal.h"
#include "sale/kas_vkp.h"
#include "term/ingave.h"
#include "term/popup.h"
#include "term/scr.h"
#include "term/sel.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// The state of the one list that can be open.
struct List {
    SEL *sel = nullptr;
    bool by_name = false;
    vkp::NameTable table;
    bool table_built = false;
    vkp_rec cur{}; // the record loaded last, names in clear text
    char row[64] = {};
};
List *g = nullptr;

bool load(int32_t nr) {
    if (nr <= 0 || nr >= 1000 || nr == VKP_EIGEN || !vkp_lees((uint16_t)nr, &g->cur)) return false;
    g->sel->sel_pos = nr;
    return true;
}

bool build_table() {
    error("%s", DET(5, 901, "Even geduld a.u.b."));
    SCRFLUSH(0);
    g->table_built = g->table.build();
    error("%s", "");
    if (!g->table_built) error("%s", DET(5, 902, "Geen geheugen beschikbaar voor overzicht"));
    return g->table_built;
}

bool step_by_number(int32_t delta) {
    if (delta == 0) return load(g->sel->sel_pos);
    vkp_rec r{};
    bool full = vkp::step_by_number(g->sel->sel_pos, delta, &r);
    if (r.nummer) load(r.nummer);
    return full;
}

bool step_by_name(int32_t delta) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        int32_t pos = g->sel->sel_pos;
        int p = g->table.place(pos);
        if (p < 0 && attempt == 0 && load(pos)) { // a seller the table lacks
            build_table();
            continue;
        }
        int n = g->table.size();
        if (delta == 0 && p < 0) return false;
        int from = p >= 0 ? p : (delta > 0 ? -1 : n);
        int to = std::clamp(from + delta, 0, n - 1);
        if (n == 0 || (delta != 0 && to == from)) return false;
        if (load(g->table.at(to).nummer)) return to == from + delta;
        g->sel->sel_pos = pos;
        build_table(); // a seller the table names has gone
    }
    return false;
}

bool step(int32_t delta) {
    return g->by_name ? step_by_name(delta) : step_by_number(delta);
}

const char *row() {
    if (g->by_name)
        std::snprintf(g->row, sizeof g->row, "%-30.30s  %3d", g->cur.naam, g->cur.nummer);
    else
        std::snprintf(g->row, sizeof g->row, "%3d  %-30.30s", g->cur.nummer, g->cur.naam);
    return g->row;
}

void header() {
    const char *vkp = DET(5, 903, "vkp"), *naam = DET(5, 904, "Verkoper");
    WINCLREOL(1, 1);
    if (g->by_name)
        WINTEXT(ATTR_LABEL, 1, 2, "%-30.30s  %3.3s", naam, vkp);
    else
        WINTEXT(ATTR_LABEL, 1, 2, "%3.3s  %-30.30s", vkp, naam);
}

// The first seller at or after the typed start, in the current order; the
// last one when none comes after it.
int32_t find(const char *text) {
    if (!g->by_name) {
        int32_t n = std::atoi(text);
        if (load(n)) return n;
        vkp_rec r{};
        if (!vkp::step_by_number(n, 1, &r)) vkp::step_by_number(1000, -1, &r);
        return r.nummer ? r.nummer : g->sel->sel_pos;
    }
    std::string want = text;
    for (char &c : want)
        c = (char)cp850::upper((unsigned char)c);
    for (int i = 0; i < g->table.size(); ++i)
        if (vkp::sort_key(g->table.at(i).naam) >= want) return g->table.at(i).nummer;
    return g->table.size() ? g->table.at(g->table.size() - 1).nummer : g->sel->sel_pos;
}

// The prompt: a search field, and TAB for the other order. A switch hands
// the list the current seller as a located record, so that it paints the
// new order from there.
void input() {
    int r = WININNERROWS();
    char text[16] = {};
    WINCLREOL(r, 1);
    const char *label = g->by_name ? DET(5, 905, "Naam") : DET(5, 906, "Nummer");
    const char *hint = g->by_name ? DET(5, 907, "<TAB> op nummer") : DET(5, 908, "<TAB> op naam");
    int col = 2 + (int)std::strlen(label) + 2;
    int width = g->by_name ? 15 : 3;
    WINTEXT(ATTR_LABEL, r, 2, "%s:", label);
    WINTEXT(ATTR_LABEL, r, col + width + 2, "%s", hint);
    INGAVE(r, col, g->by_name ? "15s,IU" : "3s[0123456789],I", text);
    TERMSTATE *t = term_state;
    if (t->ing_key == key_tab) {
        int32_t current = g->sel->sel_pos;
        if (!g->by_name && !g->table_built && !build_table()) return;
        g->by_name = !g->by_name;
        header();
        g->sel->sel_pos = current;
        std::strcpy(ing_text, "\t"); // a non-empty field: the list paints from sel_pos
        t->ing_status &= ~ING_EMPTY;
        return;
    }
    if (text[0] && t->ing_key != key_cancel && t->ing_key != key_esc) g->sel->sel_pos = find(text);
}

} // namespace

bool vkp_lijst(uint16_t *number) {
    auto list = std::make_unique<List>();
    List *outer = g;
    bool own_file = !vkp_file; // one open for the whole list
    if (own_file) vkp_open();
    g = list.get();
    g->sel = SELNEW(step, input, header, row);
    if (!g->sel) mem_fatal("kas_vkp", 1);
    bool chosen = false;
    vkp_rec first{};
    if (load(*number) || (vkp::step_by_number(0, 1, &first) && load(first.nummer))) {
        std::snprintf(g->sel->sel_title, sizeof g->sel->sel_title, "%s", DET(5, 909, "Verkopers"));
        g->sel->sel_width = 44;
        chosen = SELRUN(g->sel, 0);
        if (chosen) *number = (uint16_t)g->sel->sel_pos;
    } else {
        FFLASH(-1, 0, A_BOLD, DET(5, 909, "Verkopers"), "%s", DET(5, 910, "Geen informatie"));
    }
    SELFREE(g->sel);
    if (own_file) vkp_close();
    g = outer;
    return chosen;
}

int vkp_veld(int row, int col, const char *format, uint16_t *number, bool must_exist) {
    INPUTSET *set = term_state->term_set;
    double lower = set->lower, upper = set->upper;
    for (;;) {
        set->lower = lower;
        set->upper = upper;
        INGAVE(row, col, format, &key_cancel, &key_esc, &key_up, &key_down, &key_f3, &key_f5,
               number);
        int key = term_state->ing_key;
        if (key == key_f5) {
            uint16_t chosen = *number;
            if (vkp_lijst(&chosen)) *number = chosen;
            continue;
        }
        bool leave = key == key_cancel || key == key_esc || key == key_up || key == key_down ||
                     key == key_f3 || (term_state->ing_status & ING_EMPTY) || *number == 0;
        vkp_rec r;
        if (!leave && must_exist && !vkp_lees(*number, &r)) {
            error("<%hu> %s", *number, DET(5, 911, "Ongeldig verkopernummer"));
            continue;
        }
        return key;
    }
}

int vkp_wissel(int row, int col, uint16_t *number, bool must_exist) {
    auto show = [&] {
        vkp_rec r;
        if (*number == 0) {
            WINTEXT(ATTR_DATA, row, col, "%-38s", "");
            return;
        }
        vkp_lees(*number, &r);
        WINTEXT(ATTR_DATA, row, col, "%-3d     %-30.30s", *number, r.naam);
    };
    show();
    term_state->term_set->lower = 1;
    term_state->term_set->upper = 999;
    int key = vkp_veld(row, col, "3u,E", number, must_exist);
    show();
    return key;
}

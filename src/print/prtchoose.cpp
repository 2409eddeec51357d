// The choice of a destination: the list of connections and formats that fit
// the report, and the width menu for a print to a file.
//
// A list entry is one connection with one format of its code. The list is
// in the order of the files, so that the maintenance programs decide the
// order the user sees. One entry is taken without asking.
#include "base/catalog.h"
#include "base/cp850.h"
#include "print/prtint.h"
#include "term/ingave.h"
#include "term/scr.h"
#include "term/sel.h"
#include "term/trmenu.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

using namespace nv::prt;

namespace {

struct Entry {
    TR_PTRG_REC general;
    TR_PTRC_REC connection;
    TR_PTRP_REC property;
    std::string text;
};

std::vector<Entry> g_entries;
SEL *g_sel;
int32_t g_cur;

std::string field(const char *f, size_t size) {
    return std::string(f, strnlen(f, size));
}

void prt_use_maintain_list(Tables &t, uint16_t code, uint16_t mask) {
    g_entries.clear();
    for (const TR_PTRC_REC &c : t.connections(code)) {
        TR_PTRG_REC g;
        if (!t.general(c.tr_code, &g)) g = TR_PTRG_REC{};
        for (const TR_PTRP_REC &p : t.formats(c.tr_code)) {
            if (!cols_fit(p.pp_cols, mask) || !paper_fit(p.pp_rows, mask)) continue;
            char text[100];
            std::snprintf(text, sizeof text, "%-12.12s %-20.20s %-29.29s %3hd %4hd %-1.1s %1s",
                          field(g.name, sizeof g.name).c_str(),
                          field(c.cd_name, sizeof c.cd_name).c_str(),
                          field(p.pp_desc, sizeof p.pp_desc).c_str(), p.pp_cols, p.pp_rows,
                          p.pp_portrait ? "P" : "L", c.cd_todir ? "J" : "N");
            g_entries.push_back(Entry{g, c, p, text});
        }
    }
}

bool step(int32_t delta) {
    int32_t n = (int32_t)g_entries.size();
    if (delta == 0) {
        if (g_sel->sel_pos < 0 || g_sel->sel_pos >= n) return false;
        g_cur = g_sel->sel_pos;
        return true;
    }
    int32_t to = g_cur + delta;
    bool full = to >= 0 && to < n;
    g_cur = to < 0 ? 0 : to >= n ? n - 1 : to;
    g_sel->sel_pos = g_cur;
    return full;
}

const char *row() {
    return g_entries[(size_t)g_cur].text.c_str();
}

void header() {
    WINTEXT(ATTR_LABEL, 1, 2, "%s", "Printer");
    WINTEXT(ATTR_LABEL, 1, 15, "%s", "Device");
    WINTEXT(ATTR_LABEL, 1, 36, "%s", "Configuratie");
    WINTEXT(ATTR_LABEL, 1, 66, "%.12s", "Kol  Rij O W");
}

// The prompt: a letter moves to the next printer whose name starts with it.
void input() {
    char c[1] = {' '};
    INGAVE(WININNERROWS(), 2, "1c,I", c);
    int letter = cp850::upper((unsigned char)ing_text[0]);
    if (!letter || letter == ' ') return;
    int32_t n = (int32_t)g_entries.size();
    for (int32_t i = 1; i <= n; ++i) {
        const Entry &e = g_entries[(size_t)((g_cur + i) % n)];
        if (cp850::upper((unsigned char)e.general.name[0]) == letter) {
            g_sel->sel_pos = (g_cur + i) % n;
            return;
        }
    }
}

// Runs the list until a choice, or a cancel where that is allowed. The
// index of the entry, or -1.
int32_t run_list() {
    g_sel = SELNEW(step, input, header, row);
    if (!g_sel) return -1;
    std::snprintf(g_sel->sel_title, sizeof g_sel->sel_title, "%s", KOR(4, 80, "Printbestemming"));
    int32_t chosen = -1;
    for (;;) {
        g_sel->sel_pos = 0;
        g_cur = 0;
        if (SELRUN(g_sel, 0)) {
            chosen = g_sel->sel_pos;
            break;
        }
        if (g_cancel_ok) break;
        error("%s", KOR(4, 747, "U dient een printbestemming te selecteren"));
    }
    SELFREE(g_sel);
    g_sel = nullptr;
    return chosen;
}

} // namespace

int PRT_CHOOSE(PRTDEST *dest, TR_PTRG_REC *general, TR_PTRC_REC *connection, TR_PTRP_REC *property,
               uint16_t widthmask) {
    Tables t;
    t.open();
    prt_use_maintain_list(t, dest->dest_code, widthmask);
    if (g_entries.empty()) {
        if (!(dest->dest_flags & PRT_PREVIEW)) return 1;
        if (!t.general(dest->dest_code, general)) *general = TR_PTRG_REC{};
        *connection = TR_PTRC_REC{};
        default_format(property, widthmask);
        return 0;
    }
    int32_t i = g_entries.size() == 1 ? 0 : run_list();
    if (i < 0) {
        g_entries.clear();
        return 1;
    }
    const Entry &e = g_entries[(size_t)i];
    *general = e.general;
    *connection = e.connection;
    *property = e.property;
    dest->dest_code = e.connection.tr_code;
    dest->dest_id = e.connection.cd_id;
    g_entries.clear();
    return 0;
}

int PRT_WIDTH(uint16_t mask) {
    TR_MENU *m = TR_MENU_NEW(13, 0, 0, 0, KOR(4, 81, "Printbreedte"));
    TR_MENU_ITEM(m, -1, KOR(4, 82, " &40 koloms"), 40, (mask & PRT_W40) ? 1 : 0, 0, nullptr);
    TR_MENU_ITEM(m, -1, KOR(4, 83, " &80 koloms"), 80, (mask & PRT_W80) ? 1 : 0, 0, nullptr);
    TR_MENU_ITEM(m, -1, KOR(4, 84, "&132 koloms"), 132, (mask & PRT_W132) ? 1 : 0, 0, nullptr);
    int32_t id = TR_MENU_RUN(m, 0);
    TR_MENU_FREE(m);
    return id == 40 || id == 80 || id == 132 ? id : 0;
}

// The sale screen: see vrkscr.h.
//
// Everything here paints the base window of the terminal: the sale screen
// is the whole screen, and the dialogs of the receipt open their windows
// on top of it.
#include "sale/vrkscr.h"

#include "base/catalog.h"
#include "base/datum.h"
#include "base/txt.h"
#include "merch/ean.h"
#include "merch/ioeti.h"
#include "merch/leesstam.h"
#include "merch/stam.h"
#include "print/prtamount.h"
#include "sale/kas_vkp.h"
#include "sale/vrkbon.h"
#include "store/ix.h"
#include "term/scr.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr chtype ACCENT = A_BOLD | A_UNDERLINE;
constexpr chtype ATTENTIE = A_BOLD | A_REVERSE;

bool g_klantrij = false;
char g_toets[FN_AANTAL];
char g_kop[96]; // the column header, composed once

const char *label_tekst(int f) {
    switch (f) {
    case FN_VERKOOP:
        return DET(21, 1, "&Verkoop");
    case FN_RETOUR:
        return DET(21, 2, "&Retour");
    case FN_DEBITEUR:
        return DET(21, 3, "&Debiteurenbetaling");
    case FN_WISSEL:
        return DET(21, 4, "&Wisselen van verkoper");
    case FN_GROEP:
        return DET(21, 5, "&Groep");
    case FN_GROEP_TOTAAL:
        return DET(21, 6, "&Totaal groep");
    case FN_CLEAR:
        return DET(21, 7, "&Clearen laatste regel");
    case FN_PRIJS:
        return DET(21, 8, "&Prijs ingeven/wijzigen");
    case FN_BEDRAG:
        return DET(21, 9, "&Bedrag wijzigen");
    case FN_KORTING:
        return DET(21, 10, "&Korting ingeven/wijzigen");
    case FN_STUKS:
        return DET(21, 11, "&Stuks ingeven/wijzigen");
    case FN_OPMERKING:
        return DET(21, 12, "Opmerki&ng ingeven");
    case FN_OMZETGROEP:
        return DET(21, 13, "&Omzetgroep");
    case FN_ARTIKEL:
        return DET(21, 14, "&Artikel");
    case FN_MAAT:
        return DET(21, 15, "Serie/&Maat");
    default:
        return DET(21, 16, "&/ %s");
    }
}

// Where the letter of a function is marked in the header: 1-based columns.
struct Strook {
    int f, van, tot;
};
constexpr Strook k_stroken[] = {{FN_OPMERKING, 30, 45},
                                {FN_STUKS, 47, 50},
                                {FN_PRIJS, 52, 59},
                                {FN_KORTING, 61, 68},
                                {FN_BEDRAG, 70, 77}};

char andere_kast(char c) {
    if (c >= 'a' && c <= 'z') return (char)(c - 'a' + 'A');
    if (c >= 'A' && c <= 'Z') return (char)(c - 'A' + 'a');
    return c;
}

const char *kolomkop() {
    if (!g_kop[0])
        std::snprintf(g_kop, sizeof g_kop,
                      "%-8.7s %-15.14s%-6.4s%-16.16s|%4.4s%9.8s%9.8s%9.8s%2.1s",
                      DET(21, 20, "Artikel"), DET(21, 21, "Serie/omschr."), DET(21, 22, "Maat"),
                      DET(21, 23, "Opmerking"), DET(21, 24, "Stk"), DET(21, 25, "Prijs"),
                      DET(21, 26, "Korting"), DET(21, 27, "Bedrag"), DET(21, 28, "A"));
    return g_kop;
}

void bedrag_op(chtype attr, int row, int col, int32_t value, int width) {
    char text[40];
    WINTEXT(attr, row, col, "%s", AMOUNTTEXT(value, width, text));
}

// The series and size of a label, EAN or series/size line, "" when the
// number is not (or no longer) known.
void serie_maat(const jrn_regel &r, char *serie, size_t size, char maat[4]) {
    serie[0] = 0;
    maat[0] = 0;
    uint32_t art = 0;
    uint16_t kleur = 0, volgnr = 0;
    uint8_t m = 0;
    if (r.soort == 0) {
        int32_t nr = (int32_t)r.nummer;
        etiket_rec e{};
        if (!ioeti_is_open() || !ioeti('R', &nr, &e) || e.status == ETI_VRIJ) return;
        art = e.art_nr, kleur = e.kleur, volgnr = e.volgnr, m = e.maat;
    } else {
        ean_rec e{};
        char code[14] = {};
        std::memcpy(code, r.invoer, 13);
        txt_trim(code);
        if (!dtean || !ean_lees(dtean, &e, code)) return;
        art = e.ean_nummer, kleur = e.ean_kleur, volgnr = e.ean_volgnr, m = e.ean_maat;
    }
    std::snprintf(serie, size, "%lu.%d.%d", (unsigned long)art, kleur, volgnr);
    // The series of an open line is in the buffer already (and locked):
    // it must not be read again through the handle that will write it back.
    ser_rec s{};
    if (ser_buffer.art_nr == art && ser_buffer.kleur == kleur && ser_buffer.volgnr == volgnr) {
        s = ser_buffer;
    } else {
        s.art_nr = art, s.kleur = kleur, s.volgnr = volgnr;
        if (!dtser || !IXREAD(dtser, &s)) return;
    }
    maat_tekst(s, m, maat);
}

const char *groep_tekst(uint16_t groep) {
    static omzgrp_rec g{};
    if (!dtomzgrp) return "";
    lees_omzgrp(dtomzgrp, &g, groep);
    static char out[16];
    std::snprintf(out, sizeof out, "%.15s", g.omschrijving);
    return out;
}

} // namespace

const char *functie_label(int f) {
    static char buf[64];
    if (f != FN_EINDE) return label_tekst(f);
    std::snprintf(buf, sizeof buf, label_tekst(f), DET(21, 17, "einde"));
    return buf;
}

char functie_toets(int f) {
    if (f < 0 || f >= FN_AANTAL) return 0;
    if (!g_toets[f]) functie_toetsen_lees();
    return g_toets[f];
}

void functie_toetsen_lees() {
    for (int f = 0; f < FN_AANTAL; ++f) {
        const char *amp = std::strchr(functie_label(f), '&');
        g_toets[f] = amp && amp[1] ? amp[1] : ' ';
    }
}

void scherm_klantrij(bool on) {
    g_klantrij = on;
}
int scherm_eerste_rij() {
    return g_klantrij ? 7 : 6;
}
int scherm_laatste_rij() {
    return term_state->term_lines - 3;
}
int scherm_status_rij() {
    return term_state->term_lines - 2;
}
int scherm_prompt_rij() {
    return term_state->term_lines - 1;
}

void scherm_titel(const char *soort) {
    // Up to the head of branch, till and date at column 49.
    WINTEXT(A_BOLD, 1, 1, "%-48s", "");
    WINTEXT(A_BOLD, 1, 2, "%s", DET(21, 30, "verkopen/retouren"));
    if (soort && soort[0]) WINTEXT(ACCENT, 1, 22, "%-.26s", soort);
}

void scherm_kop(int branch, int till, uint16_t date) {
    if (branch >= 0) {
        WINTEXT(ATTR_LABEL, 1, 49, "%-3.3s:    ", DET(21, 31, "FIL"));
        if (branch > 99)
            WINTEXT(A_BOLD, 1, 53, "%3d", branch);
        else
            WINTEXT(A_BOLD, 1, 54, "%02d", branch);
    } else {
        WINTEXT(ATTR_LABEL, 1, 49, "%8s", "");
    }
    WINTEXT(ATTR_LABEL, 1, 57, "%-3.3s:   ", DET(21, 32, "KAS"));
    WINTEXT(A_BOLD, 1, 62, "%02d", till);
    if (date) {
        WINTEXT(ATTR_LABEL, 1, 65, "%-5.5s: ", DET(21, 33, "DATUM"));
        WINTEXT(date != datum_vandaag() ? ATTENTIE : A_BOLD, 1, 72, "%s", datum_toon(date));
    }
}

void scherm_opbouw(uint16_t verkoper) {
    for (int r = 2; r <= term_state->term_lines - 1; ++r)
        WINCLREOL(r, 1);
    scherm_verkoper(verkoper);
    int lijn = g_klantrij ? 5 : 4;
    WINATTR(ATTR_LABEL);
    WINMOVE(lijn, 1);
    for (int c = 1; c <= 80; ++c)
        waddch(WINCUR(), ACS_HLINE);
    scherm_kolomkop("");
}

void scherm_verkoper(uint16_t verkoper) {
    WINTEXT(ATTR_LABEL, 3, 2, "%s", DET(21, 34, "VERK"));
    vkp_rec v{};
    if (verkoper && vkp_lees(verkoper, &v))
        WINTEXT(A_BOLD, 3, 8, "%-3d     %-30.30s", verkoper, v.naam);
    else if (verkoper)
        WINTEXT(A_BOLD, 3, 8, "%-3d     %-30.30s", verkoper, "");
    else
        WINTEXT(A_BOLD, 3, 8, "%-38s", "");
}

void scherm_kolomkop(const char *geldig) {
    int row = g_klantrij ? 6 : 5;
    const char *kop = kolomkop();
    WINTEXT(ATTR_LABEL, row, 1, "%s", kop);
    for (const Strook &s : k_stroken) {
        char t = functie_toets(s.f);
        if (!std::strchr(geldig, t) && !std::strchr(geldig, andere_kast(t))) continue;
        int found = 0;
        for (char want : {t, andere_kast(t)}) {
            for (int c = s.van; c <= s.tot && !found && c <= (int)std::strlen(kop); ++c)
                if (kop[c - 1] == want) found = c;
            if (found) break;
        }
        if (found) WINTEXT(ACCENT, row, found, "%c", kop[found - 1]);
    }
}

void scherm_subtotaal(int32_t stuks, int32_t bedrag) {
    WINTEXT(ATTR_LABEL, 3, 48, "%s", DET(21, 35, "Stuks"));
    WINTEXT(ATTR_LABEL, 3, 60, "%s", DET(21, 36, "Subtotaal"));
    if (stuks == 0 && bedrag == 0) {
        WINTEXT(A_BOLD, 3, 55, "%4s", "");
        WINTEXT(A_BOLD, 3, 70, "%9s", "");
        return;
    }
    WINTEXT(A_BOLD, 3, 55, "%-4d", stuks);
    bedrag_op(A_BOLD, 3, 70, bedrag, 9);
}

void scherm_etiket(const char *waarschuwing, const char *merk, const char *oms) {
    int row = scherm_status_rij();
    WINCLREOL(row, 1);
    if (!waarschuwing) return;
    if (waarschuwing[0]) WINTEXT(ATTENTIE, row, 2, "%s", waarschuwing);
    if (merk) {
        WINTEXT(ATTR_LABEL, row, 29, "%s", DET(21, 37, "Mrk"));
        WINTEXT(A_BOLD, row, 33, "%-.20s", merk);
    }
    if (oms) {
        WINTEXT(ATTR_LABEL, row, 55, "%s", DET(21, 38, "Oms"));
        WINTEXT(A_BOLD, row, 59, "%-.21s", oms);
    }
}

void scherm_soortteken(int row, char kind, bool groep) {
    char t = groep                          ? functie_toets(FN_GROEP)
             : (kind == 'R' || kind == 'z') ? functie_toets(FN_RETOUR)
                                            : '|';
    WINTEXT(groep || t != '|' ? ACCENT : ATTR_LABEL, row, 47, "%c", t);
}

void regel_toon(int row, char kind, const jrn_regel &r) {
    WINCLREOL(row, 1);
    long nr = (long)r.nummer;
    if (r.soort == 0)
        WINTEXT(A_BOLD, row, 1, "%-8ld", nr);
    else if (r.soort == 'A' || r.soort == 'O')
        WINTEXT(A_BOLD, row, 1, "%c %-5ld", r.soort, nr);
    else if (r.soort == 'E')
        WINTEXT(A_BOLD, row, 1, "%s", "EAN    ");
    else if (nr <= 99999)
        WINTEXT(A_BOLD, row, 1, "%c %-5ld", r.soort, nr);
    else if (nr <= 999999)
        WINTEXT(A_BOLD, row, 1, "%c%-6ld", r.soort, nr);
    else
        WINTEXT(A_BOLD, row, 1, "%s", "MAAT");

    if (r.lflags & LF_ONBEKEND) {
        WINTEXT(A_BOLD, row, 10, "%-20.20s",
                r.soort == 0 ? DET(21, 40, "Onbekend etiketnr")
                             : DET(21, 41, "Onbekende serie/maat"));
    } else if (r.soort == 0 || r.soort == 'E' || r.soort == 'M') {
        char serie[32], maat[4];
        serie_maat(r, serie, sizeof serie, maat);
        WINTEXT(A_BOLD, row, 10, "%-14.14s %-3.3s", serie, maat);
    } else if (r.soort == 'A') {
        WINTEXT(A_BOLD, row, 10, "%4d %-15.15s", r.omzetgroep, groep_tekst(r.omzetgroep));
    } else if (r.soort == 'O') {
        WINTEXT(A_BOLD, row, 10, "%-15.15s", groep_tekst(r.omzetgroep));
    }
    if (r.opmerking[0])
        WINTEXT(A_BOLD, row, 31, "%-15.15s", r.opmerking);
    else if (r.soort != 'O')
        WINTEXT(ATTR_LABEL, row, 31, "%-15.15s", groep_tekst(r.omzetgroep));

    scherm_soortteken(row, kind, r.lflags & LF_GROEP);
    WINTEXT(A_BOLD, row, 49, "%3d", r.aantal);
    int32_t korting = (int32_t)r.aantal * r.prijs - r.bedrag;
    if (r.prijs != r.bedrag || korting != 0) bedrag_op(A_BOLD, row, 53, r.prijs, 8);
    if (korting != 0) bedrag_op(A_BOLD, row, 62, korting, 8);
    bool retour = kind == 'R' || kind == 'z';
    bedrag_op(retour ? ATTENTIE : A_BOLD, row, 71, r.bedrag, 8);
    if (r.actie) WINTEXT(A_BOLD, row, 80, "%d", r.actie % 10);
}

void regel_toon_d(int row, const jrn_d &d) {
    WINCLREOL(row, 1);
    WINTEXT(A_BOLD, row, 9, "%s", DET(21, 42, "ontvangst"));
    WINTEXT(A_BOLD, row, 30, "%-.30s", d.omschrijving);
    bedrag_op(A_BOLD, row, 70, d.bedrag, 9);
}

int scherm_herbouw(jrn_cursor *c, bool jump) {
    int eerste = scherm_eerste_rij(), laatste = scherm_laatste_rij();
    int rows = laatste - eerste + 1;
    int n = vrkbon_count();
    auto zichtbaar = [](const vrkbon_entry &e) {
        return e.letter == 'D' ? !e.cancelled : jrn_is_line(e.letter) && !e.cancelled;
    };
    int live = 0;
    vrkbon_entry e{};
    for (int i = 0; i < n; ++i)
        if (vrkbon_get(i, &e) && zichtbaar(e)) ++live;
    int start = 0;
    if (jump || live > rows) {
        // Back from the end until half the rows are used.
        int want = rows / 2, seen = 0;
        start = n;
        while (start > 0 && seen < want) {
            --start;
            if (vrkbon_get(start, &e) && zichtbaar(e)) ++seen;
        }
    }
    for (int r = eerste; r <= laatste; ++r)
        WINCLREOL(r, 1);
    // Reading S records would overwrite the group area in the cursor.
    jrn_s groep = c->s;
    jrn_regel regel = c->regel;
    jrn_d d = c->d;
    off_t pos = c->pos;
    int row = eerste;
    for (int i = start; i < n && row <= laatste; ++i) {
        if (!vrkbon_get(i, &e) || !zichtbaar(e)) continue;
        c->pos = e.offset;
        if (!iojrn_read(c)) continue;
        if (e.letter == 'D') {
            if (c->d.dflags & DF_GEANNULEERD) continue;
            regel_toon_d(row++, c->d);
        } else {
            if (c->regel.lflags & LF_GEANNULEERD) continue;
            regel_toon(row++, e.letter, c->regel);
        }
    }
    c->s = groep;
    c->regel = regel;
    c->d = d;
    c->pos = pos;
    return row;
}

// The session and the receipts of the sale entry: see vrktran.h.
//
// State: vrk (vrkstat.h) is the one sale of the process; this module sets
// its session fields and the header of each receipt. The branch lock is
// taken in sessie_open and released by verkopen when the session ends;
// nothing in between returns to the menu without passing there.
#include "sale/vrktran.h"

#include "base/catalog.h"
#include "base/datum.h"
#include "base/fatal.h"
#include "frame/iosys.h"
#include "sale/jrnnaam.h"
#include "sale/kas_vkp.h"
#include "sale/kas_vkpscr.h"
#include "sale/vrkbon.h"
#include "sale/vrkjrn.h"
#include "sale/vrkscr.h"
#include "sale/vrkstat.h"
#include "term/ingave.h"
#include "term/popup.h"
#include "term/scr.h"
#include "term/sel.h"

#include <cstdio>
#include <cstring>

namespace {

uint16_t g_werkdatum = 0;
kas_parm g_parm;
sys_bedrijf g_bedrijf;
vrk_klant_hooks g_klant{};

void lees_bedrijf() {
    long nr = sysmap::REC_COMPANY;
    g_bedrijf = {};
    iosys('R', &nr, &g_bedrijf, sysmap::FIXED);
    if (!g_bedrijf.aantal_fil) g_bedrijf.aantal_fil = 1;
}

bool klanten_op_bon() {
    return g_bedrijf.vlag1 & 2;
}

int prompt_rij() {
    return scherm_prompt_rij();
}

// A label on the bottom row and the column behind it for the field.
int prompt(const char *label) {
    WINCLREOL(prompt_rij(), 1);
    WINTEXT(ATTR_LABEL, prompt_rij(), 2, "%s", label);
    return 2 + (int)std::strlen(label) + 2;
}

// ------------------------------------------------------------ branch list
struct FilLijst {
    SEL *sel;
    int aantal;
    char rij[48];
} *g_lijst = nullptr;

bool fil_step(int32_t delta) {
    int32_t to = g_lijst->sel->sel_pos + delta;
    bool full = to >= 0 && to < g_lijst->aantal;
    if (to < 0) to = 0;
    if (to >= g_lijst->aantal) to = g_lijst->aantal - 1;
    g_lijst->sel->sel_pos = to;
    return full;
}

const char *fil_row() {
    fil_rec r{};
    iofil('R', (int)g_lijst->sel->sel_pos, &r);
    std::snprintf(g_lijst->rij, sizeof g_lijst->rij, "%3d  %-30.30s", (int)g_lijst->sel->sel_pos,
                  r.naam);
    return g_lijst->rij;
}

bool fil_kies(uint16_t *branch) {
    FilLijst l{SELNEW(fil_step, nullptr, nullptr, fil_row), g_bedrijf.aantal_fil, {}};
    if (!l.sel) mem_fatal("vrktran", 3);
    FilLijst *outer = g_lijst;
    g_lijst = &l;
    l.sel->sel_array = true;
    l.sel->sel_pos = *branch < l.aantal ? *branch : 0;
    l.sel->sel_width = 40;
    std::snprintf(l.sel->sel_title, sizeof l.sel->sel_title, "%s", DET(21, 50, "Filialen"));
    bool chosen = SELRUN(l.sel, 0);
    if (chosen) *branch = (uint16_t)l.sel->sel_pos;
    SELFREE(l.sel);
    g_lijst = outer;
    return chosen;
}

// ------------------------------------------------------------ session
bool vraag_datum(uint16_t *date) {
    int col = prompt(DET(21, 51, "Datum"));
    uint16_t d = *date;
    INGAVE(prompt_rij(), col, "D,E", &key_cancel, &key_esc, &d);
    int k = term_state->ing_key;
    WINCLREOL(prompt_rij(), 1);
    if (k == key_cancel || k == key_esc) return false;
    *date = d;
    scherm_kop(-1, 0, d);
    return true;
}

// The branch field; false on cancel or escape.
bool vraag_filiaal(uint16_t *branch) {
    for (;;) {
        int col = prompt(DET(21, 52, "Filiaal"));
        term_state->term_set->lower = 0;
        term_state->term_set->upper = g_bedrijf.aantal_fil - 1;
        INGAVE(prompt_rij(), col, "3u,EZP", &key_cancel, &key_esc, &key_f5, branch);
        int k = term_state->ing_key;
        if (k == key_f5) {
            fil_kies(branch);
            continue;
        }
        WINCLREOL(prompt_rij(), 1);
        return k != key_cancel && k != key_esc;
    }
}

// The journal of the branch did not end cleanly: the user decides.
bool onvolledig_doorgaan() {
    for (int r = 2; r <= term_state->term_lines - 1; ++r)
        WINCLREOL(r, 1);
    const char *tekst[4] = {DET(21, 53, " De verkoopfunctie is niet correct afgesloten.  "),
                            DET(21, 54, " De laatste transactie wordt mogelijk hersteld. "), "",
                            DET(21, 55, " Neem contact op met de systeembeheerder.       ")};
    for (int i = 0; i < 4; ++i)
        WINTEXT(A_BOLD | A_REVERSE, 8 + i, 3, "%-48.48s", tekst[i]);
    beep();
    bool ja = INGAVEJN(13, 3, "%s", DET(21, 56, "Wilt u doorgaan"));
    for (int r = 8; r <= 13; ++r)
        WINCLREOL(r, 1);
    return ja;
}

} // namespace

void verkopen_instellen(uint16_t werkdatum) {
    g_werkdatum = werkdatum;
}

void vrk_set_klant_hooks(const vrk_klant_hooks &h) {
    g_klant = h;
}

bool sessie_open(bool first, int *branch, uint16_t *date) {
    bool een = g_bedrijf.aantal_fil <= 1;
    bool datum_vragen = first || een;
    for (;;) {
        if (datum_vragen && !vraag_datum(date)) return false;
        datum_vragen = true;
        uint16_t b = 0;
        if (!een) {
            b = (uint16_t)(*branch >= 0 && *branch < g_bedrijf.aantal_fil ? *branch : 0);
            bool gekozen = false;
            while (vraag_filiaal(&b)) {
                scherm_kop(b, 0, *date);
                if (jrn_lock(b, 'S')) {
                    gekozen = true;
                    break;
                }
                error(DET(21, 57, "Journaal reeds in gebruik voor filiaal %hd"), (short)b);
            }
            if (!gekozen) continue;
        } else if (!jrn_lock(0, 'S')) {
            WINTEXT(A_BOLD, prompt_rij() - 1, 2, "%s", DET(21, 58, "Journaal reeds in gebruik"));
            INGAVEENTER(prompt_rij(), 2);
            WINCLREOL(prompt_rij() - 1, 1);
            continue;
        }
        *branch = b;
        char naam[16];
        jrn_naam(naam, b, 0);
        if (!jrn_check_damaged(naam, true) && !onvolledig_doorgaan()) {
            jrn_lock(b, 'U');
            return false;
        }
        return true;
    }
}

jrn_cursor *bon_start(int branch, uint16_t date) {
    uint32_t kltnr = 0;
    for (;;) {
        scherm_verkoper(vrk.verkoper);
        WINCLREOL(prompt_rij(), 1);
        WINTEXT(ATTR_LABEL, prompt_rij(), 2, "%s",
                DET(21, 59, "Nieuw nummer of <ENTER> indien correct"));
        uint16_t nr = vrk.verkoper;
        term_state->term_set->lower = 1;
        term_state->term_set->upper = 999;
        int k = vkp_veld(3, 8, "3u,", &nr, false);
        WINCLREOL(prompt_rij(), 1);
        if (k == key_cancel || k == key_esc) return nullptr;
        if (nr == 0) continue;
        vrk.verkoper = vrk.verkoper_regel = nr;
        scherm_verkoper(nr);
        kltnr = 0;
        if (!klanten_op_bon() || !g_klant.vraag || g_klant.vraag(&kltnr)) break;
    }
    jrn_cursor *c = vrkbon_open(branch);
    vrk.bon = c;
    vrk_bon_nieuw();
    c->h = {};
    c->h.filnr = (uint8_t)branch;
    c->h.datum = date;
    c->h.hflags = HF_VERWERKT;
    c->h.bonnr = g_parm.bonnummer;
    c->h.vkpnr = vrk.verkoper;
    c->h.tijd = (uint16_t)(tijd_nu() / 60);
    c->h.kltnr = klanten_op_bon() ? kltnr : 0;
    long nr = sysmap::REC_COUNTRY;
    sys_land land{};
    if (iosys('R', &nr, &land, sysmap::FIXED)) std::memcpy(c->h.valuta, land.valuta, 3);
    vrk.bon_gestart = false;
    vrk.rij = scherm_eerste_rij();
    return c;
}

void bon_afsluiten(jrn_cursor *c) {
    if (!vrk.bon_gestart) {
        vrkbon_close(c, false);
    } else {
        c->t = {};
        c->t.totaal = vrk.subtotaal_bedrag;
        c->t.contant = vrk.subtotaal_bedrag;
        if (c->h.kltnr && g_klant.einde) g_klant.einde(c);
        vrkbon_close(c, true);
    }
    vrk.bon = nullptr;
    vrk.bon_gestart = false;
    scherm_opbouw(vrk.verkoper);
    scherm_subtotaal(0, 0);
}

void verkopen() {
    scherm_titel("");
    if (!vrk.verkoopdatum) vrk.verkoopdatum = g_werkdatum ? g_werkdatum : datum_vandaag();
    if (!kasparm_read(&g_parm)) open_fatal("vrktran", "KASPARM.TXT");
    lees_bedrijf();
    g_parm.veld2287 = klanten_op_bon() ? 1 : 0;
    scherm_klantrij(klanten_op_bon());
    int branch = 0;
    for (bool first = true;; first = false) {
        for (int r = 2; r <= term_state->term_lines - 1; ++r)
            WINCLREOL(r, 1);
        scherm_titel("");
        scherm_kop(-1, 0, vrk.verkoopdatum);
        if (!sessie_open(first, &branch, &vrk.verkoopdatum)) break;
        vrk.filiaal = branch;
        scherm_kop(g_bedrijf.aantal_fil > 1 ? branch : -1, 0, vrk.verkoopdatum);
        vkp_open();
        scherm_opbouw(vrk.verkoper);
        while (jrn_cursor *c = bon_start(branch, vrk.verkoopdatum)) {
            bon_invoer(c);
            bon_afsluiten(c);
        }
        jrn_lock(branch, 'U');
        vkp_close();
    }
    for (int r = 1; r <= term_state->term_lines - 1; ++r)
        WINCLREOL(r, 1);
}

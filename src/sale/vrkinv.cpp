// The line loop of a receipt: bon_invoer with lees_functie, the choice
// list of the functions, and number entry. See vrktran.h.
//
// A line is prepared (regel_nieuw), entered at the prompt (a number, which
// opens it), and closed by the next function or number: only then is it
// booked and written into the BON file, and the row moves on. The rules of
// a line (decoding, validation, booking) are regel.h; this file asks,
// shows and calls them.
#include "base/catalog.h"
#include "base/fileutil.h"
#include "frame/iosys.h"
#include "sale/kas_vkpscr.h"
#include "sale/regel.h"
#include "sale/vrkbon.h"
#include "sale/vrkscr.h"
#include "sale/vrkstat.h"
#include "sale/vrktran.h"
#include "term/ingave.h"
#include "term/popup.h"
#include "term/scr.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int MAX_INDEX = 500;    // entries of the BON index before the receipt must end
constexpr int KEUZE_BIT = 0x1000; // lees_functie: a function chosen from the list

char g_extra[17]; // letters of KASPARM.TXT that may start a number

int prompt_rij() {
    return scherm_prompt_rij();
}

const char *soort_tekst(char kind) {
    if (kind == 'R') return DET(21, 60, "retour");
    if (kind == 'D') return DET(21, 61, "ontvangst");
    return DET(21, 62, "verkopen");
}

void niet_beschikbaar() {
    error("%s", DET(1, 300, "Deze functie is nog niet beschikbaar."));
}

// The valid keys now: the letters of the functions that may run, and the
// signs +, - and * of functions 0, 9 and 8.
std::string geldige_toetsen(const jrn_cursor *c) {
    std::string k;
    auto add = [&](int f) { k += functie_toets(f); };
    add(FN_ARTIKEL), add(FN_MAAT), add(FN_WISSEL), add(FN_VERKOOP);
    if (!(vrk.soort_tx == 'V' && !vrk.regel_open && vrkbon_count() < 2)) add(FN_CLEAR);
    if (vrk.regel_open) {
        add(FN_OPMERKING), k += '+', add(FN_BEDRAG), k += '*';
        if (c->regel.prijs) add(FN_KORTING), k += '-';
        if (rinfo.kan_stuks) add(FN_STUKS);
        if (c->regel.prijs == 0 || rinfo.kan_prijs) add(FN_PRIJS);
    }
    if (vrk.in_groep) {
        add(FN_GROEP_TOTAAL);
    } else {
        add(FN_GROEP), add(FN_RETOUR);
        if (file_size("KSKV.TXT") > 0) add(FN_DEBITEUR);
    }
    return k;
}

char andere_kast(char c) {
    if (c >= 'a' && c <= 'z') return (char)(c - 'a' + 'A');
    if (c >= 'A' && c <= 'Z') return (char)(c - 'A' + 'a');
    return c;
}

bool functie_geldig(int f, const std::string &geldig) {
    if (f == FN_EINDE) return !vrk.in_groep;
    if (f == FN_OMZETGROEP) return false; // offered in the list, never reachable
    return geldig.find(functie_toets(f)) != std::string::npos;
}

// The function of a key: the signs, then the letters as typed, then in the
// other case; -1 when none.
int functie_van(int key) {
    if (key == '+') return FN_VERKOOP;
    if (key == '-') return FN_KORTING;
    if (key == '*') return FN_BEDRAG;
    for (char want : {(char)key, andere_kast((char)key)})
        for (int f = 0; f < FN_AANTAL; ++f)
            if (functie_toets(f) == want && f != FN_EINDE) return f;
    return -1;
}

// ------------------------------------------------------------ choice list
struct Keuze {
    int f;           // -1: a heading
    const char *kop; // the heading's text
};

std::string zonder_amp(const char *label) {
    std::string s;
    for (const char *p = label; *p; ++p)
        if (*p != '&') s += *p;
    return s;
}

int keuzelijst(const std::string &geldig) {
    std::vector<Keuze> v;
    v.push_back({-1, DET(21, 70, "huidige regel")});
    for (int f : {FN_BEDRAG, FN_KORTING, FN_STUKS, FN_PRIJS, FN_OPMERKING})
        v.push_back({f, nullptr});
    v.push_back({-1, DET(21, 71, "volgende regel")});
    for (int f : {FN_ARTIKEL, FN_MAAT, FN_OMZETGROEP, FN_RETOUR, FN_VERKOOP})
        v.push_back({f, nullptr});
    if (vrk.in_groep)
        v.push_back({FN_GROEP_TOTAAL, nullptr});
    else
        v.push_back({FN_GROEP, nullptr}), v.push_back({FN_DEBITEUR, nullptr});
    v.push_back({-1, DET(21, 72, "algemeen")});
    v.push_back({FN_CLEAR, nullptr}), v.push_back({FN_WISSEL, nullptr});
    if (!vrk.in_groep) v.push_back({FN_EINDE, nullptr});

    int rows = (int)v.size();
    WINOPEN1(2, 18, rows + 2, 46);
    WINBOX(" %s ", DET(21, 73, "keuzemogelijkheden"));
    auto teken = [&](int i, bool cur) {
        const Keuze &k = v[(size_t)i];
        if (k.f < 0) {
            WINTEXT(A_BOLD | A_UNDERLINE, i + 1, 2, "%s", k.kop);
            return;
        }
        char toets[8];
        char t = functie_toets(k.f);
        if (k.f == FN_VERKOOP)
            std::snprintf(toets, sizeof toets, "%c +", t);
        else if (k.f == FN_BEDRAG)
            std::snprintf(toets, sizeof toets, "%c *", t);
        else if (k.f == FN_KORTING)
            std::snprintf(toets, sizeof toets, "%c -", t);
        else
            std::snprintf(toets, sizeof toets, "%c", t);
        std::string label = zonder_amp(functie_label(k.f));
        if (k.f == FN_VERKOOP) label += std::string(", ") + DET(21, 74, "regel afsluiten");
        chtype a = !functie_geldig(k.f, geldig) ? ATTR_LABEL : cur ? A_REVERSE : A_BOLD;
        WINTEXT(a, i + 1, 4, "%-4s %-34.34s", toets, label.c_str());
    };
    int cur = -1;
    for (int i = 0; i < rows; ++i) {
        if (cur < 0 && v[(size_t)i].f >= 0 && functie_geldig(v[(size_t)i].f, geldig)) cur = i;
        teken(i, false);
    }
    std::string letters = "\n";
    for (const Keuze &k : v)
        if (k.f >= 0 && functie_geldig(k.f, geldig)) {
            letters += functie_toets(k.f);
            letters += andere_kast(functie_toets(k.f));
        }
    int chosen = -1;
    for (;;) {
        teken(cur, true);
        int key = INGAVEKEY(&key_up, &key_down, &key_cancel, &key_esc, letters.c_str());
        teken(cur, false);
        if (key == key_cancel || key == key_esc) break;
        if (key == key_up || key == key_down) {
            int step = key == key_up ? -1 : 1, i = cur;
            do {
                i = (i + step + rows) % rows;
            } while (v[(size_t)i].f < 0 || !functie_geldig(v[(size_t)i].f, geldig));
            cur = i;
            continue;
        }
        if (key == '\n') {
            chosen = v[(size_t)cur].f;
            break;
        }
        for (const Keuze &k : v)
            if (k.f >= 0 && functie_geldig(k.f, geldig) &&
                (functie_toets(k.f) == key || andere_kast(functie_toets(k.f)) == key))
                chosen = k.f;
        if (chosen >= 0) break;
    }
    WINCLOSE();
    return chosen;
}

// ------------------------------------------------------------ the prompt
// A key of the user: 0 when he leaves the receipt, a function from the
// list as KEUZE_BIT + its number, else the character typed.
int lees_functie(jrn_cursor *c) {
    for (;;) {
        scherm_subtotaal(vrk.subtotaal_stuks, vrk.subtotaal_bedrag);
        std::string geldig = geldige_toetsen(c);
        scherm_kolomkop(geldig.c_str());
        std::string set = "1234567890" + geldig + g_extra;
        for (char ch : geldig)
            if (andere_kast(ch) != ch) set += andere_kast(ch);
        char fmt[96];
        std::snprintf(fmt, sizeof fmt, "1c[%s],IUA", set.c_str());
        int row = prompt_rij();
        WINCLREOL(row, 1);
        const char *label = DET(21, 75, "Ingave");
        WINTEXT(ATTR_LABEL, row, 2, "%s", label);
        char k[2] = {};
        bool mag_weg = !vrk.in_groep;
        if (mag_weg)
            INGAVE(row, 4 + (int)std::strlen(label), fmt, &key_help, &key_f1, &key_cancel, &key_esc,
                   k);
        else
            INGAVE(row, 4 + (int)std::strlen(label), fmt, &key_help, &key_f1, k);
        int key = term_state->ing_key;
        bool weg = mag_weg && (key == key_cancel || key == key_esc);
        if (key == key_help || key == key_f1) {
            int f = keuzelijst(geldig);
            if (f < 0) continue;
            if (f != FN_EINDE) return KEUZE_BIT + f;
            weg = true;
        }
        if (weg) {
            if (!vrk.regel_open && !vrk.bon_gestart) return 0;
            WINCLREOL(row, 1);
            if (INGAVEJN(row, 2, "%s", "")) return 0;
            continue;
        }
        if (k[0]) return (unsigned char)k[0];
    }
}

// ------------------------------------------------------------ lines
// Prepares the next line: the row moves on (a jump by half a page when it
// passes the last line row), the line area is cleared, the kind shows.
void regel_nieuw(jrn_cursor *c, char kind) {
    if (vrk.rij > scherm_laatste_rij()) vrk.rij = scherm_herbouw(c, true);
    regel_leeg(c, kind);
    scherm_titel(soort_tekst(kind));
    WINCLREOL(vrk.rij, 1);
    scherm_soortteken(vrk.rij, kind, vrk.in_groep);
}

// Closes the open line; true when there was one.
bool sluit(jrn_cursor *c) {
    if (!vrk.regel_open) return false;
    if (!regel_sluiten(c, vrk.soort_tx))
        error("%s", DET(21, 76, "Regel niet in het bonbestand geschreven"));
    vrk.regel_open = false;
    scherm_subtotaal(vrk.subtotaal_stuks, vrk.subtotaal_bedrag);
    scherm_etiket(nullptr, nullptr, nullptr);
    ++vrk.rij;
    return true;
}

// A number typed or scanned: the key struck is its first character.
void nummer_invoer(jrn_cursor *c, int key) {
    if (sluit(c)) regel_nieuw(c, 'V');
    regel_uitslag u{};
    if (regel_groep_vol(c, &u) != RF_GOED) {
        error("%s", u.tekst);
        return;
    }
    KEYPUSH(key);
    int row = prompt_rij();
    WINCLREOL(row, 1);
    const char *label = DET(21, 77, "PLU-NUMMER");
    WINTEXT(ATTR_LABEL, row, 2, "%s", label);
    char tekst[14] = {};
    INGAVE(row, 4 + (int)std::strlen(label), "13s,UI", &key_cancel, &key_esc, tekst);
    int k = term_state->ing_key;
    WINCLREOL(row, 1);
    if (k == key_cancel || k == key_esc || !tekst[0]) return;
    plu_invoer in{};
    if (plu_decodeer(tekst, &in, &u) != RF_GOED || regel_valideer(c, in, &u) != RF_GOED) {
        scherm_etiket(nullptr, nullptr, nullptr);
        error("%s", u.tekst);
        return;
    }
    scherm_etiket(u.status, u.mrk[0] ? u.mrk : nullptr, u.oms[0] ? u.oms : nullptr);
    if (u.piep) beep();
    regel_toon(vrk.rij, vrk.soort_tx, c->regel);
    if (u.vraag_bedrag) KEYPUSH(functie_toets(FN_BEDRAG));
    if (u.vraag_prijs) KEYPUSH(functie_toets(FN_PRIJS));
}

void opmerking(jrn_cursor *c) {
    if (!vrk.regel_open) return;
    int row = prompt_rij();
    WINCLREOL(row, 1);
    WINTEXT(ATTR_LABEL, row, 2, "%s", DET(21, 78, "OPMERKING"));
    char tekst[16];
    std::memcpy(tekst, c->regel.opmerking, sizeof tekst);
    tekst[15] = 0;
    INGAVE(vrk.rij, 31, "15c,", &key_cancel, &key_esc, tekst);
    int k = term_state->ing_key;
    WINCLREOL(row, 1);
    if (k != key_cancel && k != key_esc) std::memcpy(c->regel.opmerking, tekst, sizeof tekst);
    regel_toon(vrk.rij, vrk.soort_tx, c->regel);
}

void wissel_verkoper(jrn_cursor *c) {
    char kind = sluit(c) ? 'V' : vrk.soort_tx;
    uint16_t nr = vrk.verkoper_regel ? vrk.verkoper_regel : vrk.verkoper;
    vkp_wissel(3, 8, &nr, false);
    if (nr) vrk.verkoper = vrk.verkoper_regel = nr;
    scherm_verkoper(vrk.verkoper);
    regel_nieuw(c, kind);
}

void clear(jrn_cursor *c) {
    if (!vrk.regel_open) {
        niet_beschikbaar(); // taking back a closed line comes with the discounts
        return;
    }
    regel_vervallen(c);
    vrk.regel_open = false;
    scherm_etiket(nullptr, nullptr, nullptr);
    regel_nieuw(c, vrk.soort_tx);
}

} // namespace

void bon_invoer(jrn_cursor *c) {
    functie_toetsen_lees();
    kas_parm parm{};
    g_extra[0] = 0;
    if (kasparm_read(&parm)) {
        std::snprintf(g_extra, sizeof g_extra, "%.16s", parm.extra_letters);
        for (char *p = g_extra; *p; ++p)
            if (*p == ' ') *p = 0;
    }
    const char *maoe = DET(9, 710, "MAOE");
    regel_nieuw(c, 'V');
    for (;;) {
        int n = vrkbon_count();
        if (n > MAX_INDEX) break;
        if (n == MAX_INDEX)
            error("%s %d %s", DET(21, 79, "Maximaal"), MAX_INDEX,
                  DET(21, 80, "transacties. Eerst bon afsluiten"));
        int key = lees_functie(c);
        if (key == 0) break;
        int f = key & KEUZE_BIT              ? key - KEUZE_BIT
                : (key >= '0' && key <= '9') ? -1
                                             : functie_van(key);
        switch (f) {
        case FN_VERKOOP:
        case FN_RETOUR:
            sluit(c);
            regel_nieuw(c, f == FN_RETOUR ? 'R' : 'V');
            break;
        case FN_WISSEL:
            wissel_verkoper(c);
            break;
        case FN_CLEAR:
            clear(c);
            break;
        case FN_OPMERKING:
            opmerking(c);
            break;
        case FN_ARTIKEL:
            nummer_invoer(c, maoe[1]);
            break;
        case FN_MAAT:
            nummer_invoer(c, maoe[0]);
            break;
        case FN_OMZETGROEP:
            break; // never offered
        case -1:
            if ((key >= '0' && key <= '9') || (key && std::strchr(g_extra, key)))
                nummer_invoer(c, key);
            break;
        default:
            niet_beschikbaar();
            break;
        }
    }
    sluit(c);
}

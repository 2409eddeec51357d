// The invoice file: see kas_fact.h.
#include "exchange/kas_fact.h"

#include "base/catalog.h"
#include "base/datum.h"
#include "base/fatal.h"
#include "customer/klant.h"
#include "exchange/kas_omz.h"
#include "exchange/xchinst.h"
#include "frame/iosys.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

FILE *g_fact = nullptr;
int g_filiaal = -1; // branch of the record in hand
int g_admin = 0;
long g_rekening = 0;

void lees_filiaal(int filiaal) {
    if (filiaal == g_filiaal) return;
    fil_rec f{};
    if (iofil('R', filiaal, &f)) {
        uint16_t admin;
        int32_t rekening;
        std::memcpy(&admin, (const char *)&f + FIL_FACT_ADMIN, sizeof admin);
        std::memcpy(&rekening, (const char *)&f + FIL_FACT_REKENING, sizeof rekening);
        g_admin = admin, g_rekening = rekening;
    } else {
        g_admin = 0, g_rekening = 0;
    }
    g_filiaal = filiaal;
}

void kop(jrn_cursor *c) {
    const jrn_h &h = c->h;
    lees_filiaal(h.filnr);
    char naam[20];
    std::snprintf(naam, sizeof naam, "FACT%02d%02d.KAS", c->filnr, c->kasnr);
    g_fact = std::fopen(naam, "a");
    if (!g_fact)
        nv::fatal("%s: %s (file=%s, errno=%d)", "KAS_FACT", std::strerror(errno), naam, errno);
    char datum[10];
    datum_tekst(datum, h.datum, false);
    std::fprintf(g_fact, "D~%d~~~%-2.2s%-2.2s\n", g_admin, datum + 4, datum + 2);
    klt_rec k{};
    char code[16];
    if (lees_klant_tijdelijk(&k, (int32_t)h.kltnr) && k.debiteur[0])
        std::snprintf(code, sizeof code, "%-.6s", k.debiteur);
    else
        std::snprintf(code, sizeof code, "%ld", (long)h.kltnr);
    std::fprintf(g_fact, "H~%s~~~~%s~~~~J~J~I\n", code, datum);
}

void regel(const jrn_regel &r, char soort) {
    long s = soort == 'R' ? -1 : 1;
    if (r.opmerking[0]) std::fprintf(g_fact, "R~%-.15s\n", r.opmerking);
    char groep[32] = {};
    const omz_waren *w = omz_get_waren();
    if (!w || !w->groep_naam || !w->groep_naam(r.omzetgroep, groep, sizeof groep))
        std::snprintf(groep, sizeof groep, "%s", DET(5, 950, "onbekend"));
    std::fprintf(g_fact, "R~%-.15s~%d~%ld~%ld~%ld~%d\n", groep, (int)(r.aantal * s), r.bedrag * s,
                 (long)(r.bedrag - r.bedrag_excl) * s, g_rekening,
                 r.btw <= 10 ? xch.btw_tarief[r.btw] : 0);
}

void slot(const jrn_t &t) {
    if (t.totaal != t.op_rekening)
        std::fprintf(g_fact, "R~%s ~1~%ld~0~%ld~0\n", DET(5, 951, "AF: Reeds voldaan"),
                     (long)t.op_rekening - t.totaal, g_rekening);
    std::fprintf(g_fact, "T~\n");
    std::fclose(g_fact);
    g_fact = nullptr;
}

} // namespace

void fact_schrijf(jrn_cursor *c, char soort) {
    if (soort == 'H') {
        if (g_fact) std::fclose(g_fact);
        kop(c);
    } else if (g_fact && (soort == 'V' || soort == 'R')) {
        regel(c->regel, soort);
    } else if (g_fact && soort == 'T') {
        slot(c->t);
    }
}

// Turnover posting: see kas_omz.h.
#include "exchange/kas_omz.h"

#include "base/fatal.h"
#include "exchange/kas_fact.h"
#include "exchange/xchinst.h"
#include "sale/jrnnaam.h"
#include "sale/kas_betm.h"
#include "store/ix.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

ICB *omz_icb = nullptr;
omz_accu omz_acc{};

namespace {

const omz_waren *g_waren = nullptr;

// One counter record: read under its lock, changed by f, written back.
template <typename F> void boek(const jrn_h &h, char soort, int sub1, int sub2, F f) {
    omz_rec o{};
    o.filnr = h.filnr;
    o.kasnr = h.kasnr;
    o.datum = h.datum;
    o.omz_soort = soort;
    o.sub1 = (uint16_t)sub1;
    o.sub2 = (uint16_t)sub2;
    IXREADL(omz_icb, &o);
    f(o.tel);
    IXWRITE(omz_icb, &o);
}

// What a line posts at line level: the pieces and their cost, the excl.
// amount of the pieces whose cost is known.
struct Kost {
    int32_t kost = 0, netto = 0;
    int stuks = 0;
};

void post_vg(const jrn_h &h, const jrn_regel &r, char type, const Kost &k) {
    int32_t bedrag = r.bedrag, aantal = r.aantal, excl = r.bedrag_excl;
    if (k.stuks != r.aantal) {
        bedrag = r.aantal ? k.stuks * (r.bedrag / r.aantal) : 0;
        excl = r.aantal ? k.stuks * (r.bedrag_excl / r.aantal) : 0;
        aantal = k.stuks;
    }
    for (char soort : {'V', 'G'}) {
        boek(h, soort, soort == 'V' ? r.vkpnr : 0, r.omzetgroep, [&](int32_t *t) {
            if (type == 'V') {
                t[0] += k.netto, t[1] += k.kost, t[2] += k.stuks * r.prijs;
                t[3] += bedrag, t[5] += aantal, t[7] += excl;
            } else if (type == 'R') {
                t[0] -= k.netto, t[1] -= k.kost, t[2] -= k.stuks * r.prijs;
                t[4] += bedrag, t[6] += aantal, t[7] -= excl;
            }
        });
    }
}

// The pieces of a series/size line among the labels of its series.
struct Telling {
    char type;
    uint8_t maat;
    const jrn_h *h;
    int32_t unit;
    int stuks, geteld = 0;
    int32_t kost = 0;
};

bool tel_etiket(const omz_etiket &e, void *ctx) {
    auto &t = *(Telling *)ctx;
    if (t.geteld >= t.stuks) return false;
    bool telt =
        e.maat == t.maat &&
        (t.type == 'R' ? e.status == 2
                       : e.status == 3 && e.verkocht_op == t.h->datum && e.filiaal == t.h->filnr &&
                             std::abs(e.verkoopprijs - t.unit) < 2 &&
                             (!xch_klanten() || e.klant_nr == t.h->kltnr));
    if (telt) t.kost += e.inkoopprijs, ++t.geteld;
    return t.geteld < t.stuks;
}

// A series/size line; true when it is to be posted as a label line instead.
bool maat_kost(jrn_cursor *c, char type, Kost &k, const omz_waren &w) {
    jrn_regel &r = c->regel;
    omz_ean e{};
    omz_etiket et{};
    bool gevonden = w.ean && w.ean(r.invoer, &e) && e.soort == 'M';
    if (!gevonden && w.etiket_van_invoer && w.etiket_van_invoer(r.invoer, &et)) {
        e = omz_ean{'M', et.art_nr, et.kleur, et.volgnr, et.maat};
        gevonden = true;
    }
    bool maatreg = false;
    if (!gevonden || !w.serie_maatreg || !w.serie_maatreg(e.nummer, e.kleur, e.volgnr, &maatreg))
        return false;
    if (!maatreg && r.aantal == 1) {
        r.soort = 0;
        k.stuks = r.aantal;
        return true;
    }
    uint16_t groep;
    if (w.artikel_groep && w.artikel_groep(e.nummer, &groep)) r.omzetgroep = groep;
    Telling t{type, e.maat, &c->h, r.aantal ? r.bedrag / r.aantal : 0, k.stuks};
    if (w.etiketten && t.stuks > 0) w.etiketten(e.nummer, e.kleur, e.volgnr, tel_etiket, &t);
    k.kost = t.kost;
    k.netto =
        t.geteld == r.aantal ? r.bedrag_excl : t.geteld * (r.aantal ? r.bedrag_excl / r.aantal : 0);
    k.stuks = t.geteld;
    return false;
}

// Group and cost of the line's goods. A line may turn from series/size into
// label and back once each; a third turn posts what is known.
void bepaal_kost(jrn_cursor *c, char type, Kost &k, const omz_waren &w) {
    jrn_regel &r = c->regel;
    for (int ronde = 0; ronde < 3; ++ronde) {
        omz_ean e{};
        if (r.soort == 'E' && w.ean && w.ean(r.invoer, &e)) {
            r.soort = e.soort;
            if (e.soort == 'A') r.nummer = e.nummer;
        }
        if (r.soort == 'A') {
            uint16_t groep;
            int32_t kostprijs;
            if (w.artikel_rij && w.artikel_rij(r.nummer, &groep, &kostprijs)) {
                r.omzetgroep = groep;
                if (kostprijs) k.kost = r.aantal * kostprijs, k.netto = r.bedrag_excl;
            }
            return;
        }
        if (r.soort == 'M') {
            if (!maat_kost(c, type, k, w)) return;
            continue;
        }
        omz_etiket et{};
        if (r.soort != 0 || !w.etiket || !w.etiket(r.nummer, &et)) return;
        bool maatreg = false;
        if (w.serie_maatreg) w.serie_maatreg(et.art_nr, et.kleur, et.volgnr, &maatreg);
        uint16_t groep;
        if (w.artikel_groep && w.artikel_groep(et.art_nr, &groep)) r.omzetgroep = groep;
        if (!maatreg) {
            k.kost = et.inkoopprijs, k.netto = r.bedrag_excl;
            return;
        }
        r.soort = 'M';
    }
}

} // namespace

void omz_set_waren(const omz_waren *w) {
    g_waren = w;
}
const omz_waren *omz_get_waren() {
    return g_waren;
}

void omz_open() {
    if (!omz_icb) omz_icb = IXOPEN("DTOMZET", 2);
}

void omz_close() {
    if (omz_icb) IXCLOSE(omz_icb);
    omz_icb = nullptr;
}

void omz_wis() {
    std::memset(&omz_acc, 0, sizeof omz_acc);
}

int32_t btw_excl(int32_t bedrag, int btw) {
    if (bedrag >= 0 && bedrag < 2140000)
        return (int32_t)(((int64_t)bedrag * 1000 + 500 + btw / 2) / (btw + 1000));
    return (int32_t)std::lround(bedrag / (btw / 1000.0 + 1));
}

bool omz_bon_geannuleerd(const jrn_t &t) {
    char tekst[sizeof t.tekst + 1] = {};
    std::memcpy(tekst, t.tekst, sizeof t.tekst);
    const char *p = std::strstr(tekst, "geannuleerd");
    return std::strncmp(tekst, "Bon", 3) == 0 && p && p - tekst >= 8;
}

void omz_regel(jrn_cursor *c, char type, int stuks) {
    char soort = c->regel.soort;
    Kost k;
    k.stuks = stuks;
    if (g_waren && (type == 'V' || type == 'R')) bepaal_kost(c, type, k, *g_waren);
    c->regel.soort = soort;
    post_vg(c->h, c->regel, type, k);
}

void omz_tel(const jrn_regel &r, char type) {
    if (type != 'V' && type != 'R') return;
    int s = type == 'V' ? 1 : -1;
    int32_t advies = r.aantal * r.prijs;
    int32_t *btw = omz_acc.btw[r.btw <= 10 ? r.btw : 0];
    int32_t *actie = omz_acc.actie[r.actie <= 9 ? r.actie : 0];
    btw[0] += s * r.bedrag, btw[1] += s * r.bedrag_excl;
    actie[0] += s * advies, actie[type == 'V' ? 1 : 2] += r.bedrag;
    omz_acc.bon[0] += s * advies;
    omz_acc.bon[type == 'V' ? 1 : 2] += r.bedrag;
    omz_acc.bon[type == 'V' ? 3 : 4] += r.aantal;
    if (r.vkpnr < 1000) omz_acc.vkp[r.vkpnr] += s * r.bedrag, omz_acc.vkp_used[r.vkpnr] = 1;
}

void omz_betaling_t(const jrn_t &t) {
    omz_acc.betaling[0] += t.contant;
    omz_acc.kas_a += t.kas_a;
    omz_acc.kas_b += t.kas_b;
    omz_acc.op_rekening += t.op_rekening;
    omz_acc.gefactureerd += t.gefactureerd;
}

void omz_betaling_b(const jrn_b &b) {
    if (b.betm_soort >= 1 && b.betm_soort <= 6) {
        int slot = betm_slot_nr(b.betm_soort, b.betm_nr);
        bool goed = b.betm_soort == 6 ? slot >= 151 && slot <= 160 : slot >= 1 && slot <= 150;
        if (goed) omz_acc.betaling[slot] += b.bedrag;
    } else if (b.betm_soort == 9 && (b.betm_nr == 1 || b.betm_nr == 2)) {
        omz_acc.overdracht[b.betm_nr - 1] += b.bedrag;
    }
}

void omz_bon(jrn_cursor *c, bool met_betaling, bool met_uur) {
    const jrn_h &h = c->h;
    const omz_accu &a = omz_acc;
    for (int i = 0; i < 10; ++i)
        if (a.actie[i][0] || a.actie[i][1] || a.actie[i][2])
            boek(h, 'A', i, 0, [&](int32_t *t) {
                for (int j = 0; j < 3; ++j)
                    t[j] += a.actie[i][j];
            });
    for (int i = 1; i <= 10; ++i)
        if (a.btw[i][0] || a.btw[i][1])
            boek(h, 'B', i, 0, [&](int32_t *t) { t[0] += a.btw[i][0], t[1] += a.btw[i][1]; });
    if (met_betaling) {
        if (a.betaling[0] || a.kas_a || a.kas_b)
            boek(h, 'F', 0, 0,
                 [&](int32_t *t) { t[0] += a.betaling[0], t[3] += a.kas_a, t[5] += a.kas_b; });
        for (int slot = 1; slot <= 160; ++slot)
            if (a.betaling[slot])
                boek(h, 'F', slot, 0, [&](int32_t *t) { t[0] += a.betaling[slot]; });
        int32_t verschil = a.overdracht[0] - a.overdracht[1];
        const int32_t rest[3] = {a.op_rekening, a.gefactureerd, verschil};
        for (int i = 0; i < 3; ++i)
            if (rest[i]) boek(h, 'F', 161 + i, 0, [&](int32_t *t) { t[0] += rest[i]; });
    }
    int bonnen = omz_bon_geannuleerd(c->t) ? -1 : 1;
    for (int s = 0; s < 1000; ++s)
        if (a.vkp_used[s])
            boek(h, 'T', s, 0, [&](int32_t *t) { t[0] += a.vkp[s], t[2] += bonnen; });
    if (!met_uur) return;
    boek(h, 'U', h.tijd / 60, 0, [&](int32_t *t) {
        if (met_betaling) {
            t[0] += bonnen;
            if (a.kas_b) t[1] += 1, t[7] += a.kas_b;
        }
        for (int j = 0; j < 5; ++j)
            t[2 + j] += a.bon[j];
    });
}

void omz_betaling(jrn_cursor *c) {
    int slot = betm_slot_nr(c->u.betm_soort, c->u.betm_nr);
    boek(c->h, 'F', slot, 0, [&](int32_t *t) { t[1] += c->u.bedrag; });
}

void omz_bon_uit_bon(int branch) {
    char naam[16];
    bon_naam(naam, branch);
    jrn_cursor *c = iojrn_open(naam, O_RDONLY);
    if (!c) nv::fatal("%s: %s (file=%s, errno=%d)", "KAS_OMZ", std::strerror(errno), naam, errno);
    bool eigen = !omz_icb;
    omz_open();
    omz_wis();
    // The T decides whether the receipt is invoiced, and the invoice starts
    // at the H: a first walk finds it.
    while (iojrn_read(c) && c->letter != 'X') {
    }
    jrn_t t = c->t;
    c->pos = 0;
    if (iojrn_read(c) && c->letter == 'H') {
        bool factuur = xch_facturen() && t.gefactureerd && c->h.kltnr;
        if (factuur) fact_schrijf(c, 'H');
        while (iojrn_read(c) && c->letter != 'X') {
            char l = c->letter;
            jrn_regel &r = c->regel;
            if ((l != 'V' && l != 'R') || (r.lflags & LF_GEANNULEERD)) continue;
            if (factuur) fact_schrijf(c, l);
            omz_tel(r, l);
            omz_regel(c, l, r.soort == 'M' ? r.aantal - r.rest : r.aantal);
        }
        c->t = t;
        if (factuur) fact_schrijf(c, 'T');
        omz_betaling_t(t);
        omz_bon(c, true, true);
    }
    iojrn_close(c);
    if (eigen) omz_close();
}

void omz_storno(jrn_cursor *c) {
    ICB *buiten = omz_icb;
    omz_icb = nullptr;
    omz_open();
    omz_wis();
    jrn_regel &r = c->regel;
    omz_tel(r, 'R');
    Kost k;
    k.stuks = r.aantal;
    k.netto = r.bedrag_excl;
    omz_etiket et{};
    if (g_waren && g_waren->etiket && g_waren->etiket(r.nummer, &et)) k.kost = et.inkoopprijs;
    post_vg(c->h, r, 'R', k);
    omz_bon(c, true, true);
    omz_close();
    omz_icb = buiten;
}

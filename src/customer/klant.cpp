// Customer rules and lookups: see klant.h.
#include "customer/klant.h"

#include "base/datum.h"
#include "base/txt.h"
#include "frame/iosys.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

klt_rec klt_buffer{};

namespace {

int jaar(uint16_t datum) {
    int d, m, y;
    datum_dmj(datum, &d, &m, &y);
    return y;
}

bool bestaat(ICB *icb, int64_t nr) {
    klt_rec k{};
    k.kltnr = (int32_t)nr;
    return IXREAD(icb, &k) == 1;
}

} // namespace

int klt_soort(int actie) {
    return actie == 0 ? 0 : (actie == 9 ? 2 : 1);
}

void klt_eerste_datum(klt_rec &k, uint16_t datum) {
    bool zonder = k.etiket_kop == 0 && !k.aantal[0] && !k.aantal[1] && !k.aantal[2];
    if (datum && (zonder || datum < k.eerste_datum)) k.eerste_datum = datum;
}

bool klt_rol(klt_rec &k, uint16_t datum) {
    if (!datum) return false;
    bool rolt = k.laatste_aankoop && jaar(datum) > jaar(k.laatste_aankoop);
    if (rolt) {
        std::memset(k.bedrag, 0, sizeof k.bedrag);
        std::memset(k.aantal, 0, sizeof k.aantal);
    }
    if (datum > k.laatste_aankoop) k.laatste_aankoop = datum;
    return rolt;
}

bool klt_boek(klt_rec &k, int actie, int teken, int32_t bedrag, uint16_t datum) {
    int s = klt_soort(actie);
    if (teken > 0) {
        klt_eerste_datum(k, datum);
        klt_rol(k, datum);
        k.bedrag[s] += bedrag;
        k.aantal[s] = (uint16_t)(k.aantal[s] + 1);
        return true;
    }
    if (k.laatste_aankoop && datum && jaar(datum) < jaar(k.laatste_aankoop)) return false;
    k.bedrag[s] -= bedrag;
    k.aantal[s] = (uint16_t)(k.aantal[s] - 1);
    return true;
}

bool klt_bon_afsluiten(ICB *icb, klt_rec *k, uint16_t datum) {
    if (!k->kltnr || !datum || datum <= k->laatste_aankoop) return false;
    if (IXREAD(icb, k) != 1) return false;
    klt_rol(*k, datum);
    return IXWRITE(icb, k) == 1;
}

void klt_koppel(klt_rec &k, uint32_t label, uint32_t *label_volgend) {
    *label_volgend = (uint32_t)k.etiket_kop;
    k.etiket_kop = (int32_t)label;
}

bool klt_ontkoppel(klt_rec &k, uint32_t label, uint32_t label_volgend, const klt_keten &keten) {
    if (!label) return false;
    if ((uint32_t)k.etiket_kop == label) {
        k.etiket_kop = (int32_t)label_volgend;
        return true;
    }
    uint32_t vorige = (uint32_t)k.etiket_kop;
    for (int stap = 0; vorige && stap < KLT_KETEN_MAX; ++stap) {
        uint32_t volgend = keten.volgend(vorige, keten.ctx);
        if (volgend == label) {
            keten.zet_volgend(vorige, label_volgend, keten.ctx);
            return true;
        }
        vorige = volgend;
    }
    return false;
}

int klt_nummer_regel() {
    uint8_t rec[64] = {};
    long nr = 1;
    if (!iosys('R', &nr, rec, sysmap::MARKS)) return 1;
    return rec[1] ? rec[1] : 1;
}

int32_t klt_laatst_toegevoegd() {
    uint8_t rec[64] = {};
    long nr = sysmap::REC_CUSTNR;
    iosys('R', &nr, rec, sysmap::FIXED);
    int32_t v;
    std::memcpy(&v, rec, sizeof v);
    return v;
}

void klt_zet_laatst_toegevoegd(int32_t v) {
    uint8_t rec[64] = {};
    long nr = sysmap::REC_CUSTNR;
    iosys('X', &nr, rec, sysmap::FIXED);
    std::memcpy(rec, &v, sizeof v);
    iosys('W', &nr, rec, sysmap::FIXED);
}

int64_t next_customer_number(ICB *icb, int regel, int32_t laatste) {
    int64_t nr = 1;
    if (regel == 1) nr = (int64_t)laatste + 1;
    if (regel == 3) {
        if (bestaat(icb, KLT_MAX)) return KLT_MAX;
        klt_rec k{};
        k.kltnr = KLT_MAX;
        return IXPREVR(icb, &k) == 1 ? (int64_t)k.kltnr + 1 : 1;
    }
    while (nr <= KLT_MAX && bestaat(icb, nr))
        ++nr;
    return nr;
}

void klt_nieuw(klt_rec &k, int32_t kltnr, uint16_t vandaag) {
    std::memset(&k, 0, sizeof k);
    k.kltnr = kltnr;
    k.eerste_datum = vandaag;
    k.mailing = KLT_POST_EMAIL;
    std::memset(k.kenmerken, ' ', sizeof k.kenmerken);
}

void klt_onbekend(klt_rec &k, int32_t kltnr, uint16_t vandaag, const char *land) {
    klt_nieuw(k, kltnr, vandaag);
    std::memset(k.naam, '*', 15);
    std::memcpy(k.land, land, strnlen(land, sizeof k.land));
}

void klt_stempel(klt_rec &k) {
    uint8_t rec[64] = {};
    long nr = sysmap::REC_COPY;
    if (!iosys('X', &nr, rec, sysmap::FIXED)) return;
    std::memcpy(&k.stempel, rec + 4, sizeof k.stempel);
    iosys('U', &nr, rec, sysmap::FIXED);
}

bool lees_klant(ICB *icb, klt_rec *k, int32_t kltnr) {
    if (kltnr && k->kltnr == kltnr) return true;
    std::memset(k, 0, sizeof *k);
    k->kltnr = kltnr;
    if (IXREAD(icb, k) == 1) return true;
    std::memset(k, 0, sizeof *k);
    return false;
}

bool lees_klant_tijdelijk(klt_rec *k, int32_t kltnr) {
    if (kltnr && k->kltnr == kltnr) return true;
    if (access("DTKLT.TXT", F_OK) != 0) return false; // no customer file in this system
    ICB *icb = IXOPEN("DTKLT", 0);
    bool found = lees_klant(icb, k, kltnr);
    IXCLOSE(icb);
    return found;
}

void klt_naam_tekst(const klt_rec &k, char *out, size_t size) {
    char titel[33] = {};
    long nr = k.titel;
    if (nr >= 1 && nr <= 20) iosys('R', &nr, titel, sysmap::ADDRESS_TITLES);
    std::snprintf(out, size, "%-.20s %-.8s %-.8s %-.30s", titel, k.voorletters, k.voorvoegsels,
                  k.naam);
    // Parts that are empty leave no gaps.
    size_t w = 0;
    for (size_t r = 0; out[r]; ++r)
        if (out[r] != ' ' || (w > 0 && out[w - 1] != ' ')) out[w++] = out[r];
    out[w] = 0;
    txt_rtrim(out);
}

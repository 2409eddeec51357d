// Stock booking of one line: see etiboek.h.
//
// Order of locks: the series (DTSER) first, then a customer (DTKLT); the
// refill list and the small-article register are locked for one change
// each. The label store has no locks of its own: the series lock guards
// its labels.
#include "sale/etiboek.h"

#include "customer/klant.h"
#include "exchange/iokasmut.h"
#include "frame/iosys.h"
#include "merch/ean.h"
#include "merch/leesstam.h"
#include "merch/stam.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>

etiket_rec eti_buffer;
int32_t eti_nummer = 0;
sys_actie actie_buffer;

namespace {

int g_actie_nr = 0; // the action period in actie_buffer, 0 none

sys_bedrijf bedrijf() {
    sys_bedrijf b{};
    long nr = sysmap::REC_COMPANY;
    if (iosys_fd() >= 0) iosys('R', &nr, &b, sysmap::FIXED);
    return b;
}

bool kasmut_aan() {
    sys_land l{};
    long nr = sysmap::REC_COUNTRY;
    return iosys_fd() >= 0 && iosys('R', &nr, &l, sysmap::FIXED) && l.kasmut_vlag;
}

// The label list of a customer runs through the label store.
uint32_t volgend(uint32_t label, void *) {
    auto n = (int32_t)label;
    etiket_rec e{};
    return ioeti('R', &n, &e) ? e.klant_volgend : 0;
}
void zet_volgend(uint32_t label, uint32_t next, void *) {
    auto n = (int32_t)label;
    etiket_rec e{};
    if (!ioeti('R', &n, &e)) return;
    e.klant_volgend = next;
    ioeti('W', &n, &e);
}

// A return takes the label out of its customer's counters and list. The
// receipt's customer is in klt_buffer, held by the caller; another customer
// is locked for the moment.
void klant_terug(const jrn_h &h, const jrn_regel &regel) {
    etiket_rec &e = eti_buffer;
    bool ander = e.klant_nr != h.kltnr || klt_buffer.kltnr != (int32_t)e.klant_nr;
    klt_rec eigen = klt_buffer;
    klt_rec &k = klt_buffer;
    bool gevonden;
    if (ander) {
        std::memset(&k, 0, sizeof k);
        k.kltnr = (int32_t)e.klant_nr;
        gevonden = dtklt && IXREADL(dtklt, &k) == 1;
    } else {
        gevonden = true;
    }
    if (gevonden) {
        klt_boek(k, regel.actie, -1, e.verkoopprijs, e.verkocht_op);
        klt_ontkoppel(k, (uint32_t)eti_nummer, e.klant_volgend,
                      klt_keten{volgend, zet_volgend, nullptr});
        IXWRITEL(dtklt, &k);
    }
    if (ander) {
        if (dtklt) IXUNLOCK(dtklt, &k);
        klt_buffer = eigen;
    }
    e.klant_nr = 0;
    e.klant_volgend = 0;
}

void klant_verkoop(const jrn_h &h, const jrn_regel &regel) {
    etiket_rec &e = eti_buffer;
    klt_rec &k = klt_buffer;
    if (k.kltnr != (int32_t)h.kltnr) { // the caller holds it once it is read
        std::memset(&k, 0, sizeof k);
        k.kltnr = (int32_t)h.kltnr;
        if (!dtklt || IXREADL(dtklt, &k) != 1) {
            if (dtklt) IXUNLOCK(dtklt, &k);
            std::memset(&k, 0, sizeof k);
            return;
        }
    }
    klt_eerste_datum(k, e.verkocht_op);
    klt_boek(k, regel.actie, +1, e.verkoopprijs, e.verkocht_op);
    klt_koppel(k, (uint32_t)eti_nummer, &e.klant_volgend);
    IXWRITEL(dtklt, &k);
}

void schrijf_etiket() {
    int32_t n = eti_nummer;
    ioeti('W', &n, &eti_buffer);
}

aanv_rec aanv_van_etiket() {
    return aanv_rec{eti_buffer.art_nr, eti_buffer.kleur, eti_buffer.volgnr, (uint32_t)eti_nummer};
}

void boek_retour(const jrn_h &h, jrn_regel &regel) {
    etiket_rec &e = eti_buffer;
    if (e.klant_nr) klant_terug(h, regel);
    e.status = ETI_VOORRAAD;
    bool terug_naar_ander = (regel.lflags & LF_GEANNULEERD) && (regel.lflags & LF_ANDER_FIL);
    e.filiaal = terug_naar_ander ? regel.ander_fil : h.filnr;
    e.actiecode = 0;
    e.verkoper = 0;
    e.verkocht_op = 0;
    if (e.afprijs_nr) {
        if (!lees_actie(e.afprijs_nr) || !actie_geldig(actie_buffer, h.datum, e.filiaal)) {
            e.afprijs_nr = 0;
            e.verkoopprijs = 0;
            regel.lflags |= LF_ACTIE_VERVALLEN;
        }
    } else {
        e.verkoopprijs = 0;
    }
    schrijf_etiket();
    ++ser_buffer.ser_voorraad;
    --ser_buffer.ser_verkocht;
    if (kasmut_aan()) {
        char tekst[24];
        std::snprintf(tekst, sizeof tekst, "%05ld%03hu%04hu", (long)ser_buffer.art_nr,
                      ser_buffer.kleur, ser_buffer.volgnr);
        kasmut_schrijf(255, 255, 'd', tekst);
    }
    aanv_rec a = aanv_van_etiket();
    if (IXREADL(dtaanv, &a) == 1)
        IXDELETE(dtaanv, &a);
    else
        IXUNLOCK(dtaanv, &a);
}

void boek_verkoop(const jrn_h &h, jrn_regel &regel) {
    etiket_rec &e = eti_buffer;
    if (e.status == ETI_NOTA) {
        e.status = ETI_VOORRAAD;
        e.ontvangen = h.datum;
        if (h.datum > ser_buffer.ser_laatst_ontv) ser_buffer.ser_laatst_ontv = h.datum;
        ++ser_buffer.ser_voorraad;
        --ser_buffer.ser_nota;
        regel.eti_status = ETI_NOTA;
    } else if (e.status == ETI_CORRECTIES) {
        ++ser_buffer.ser_voorraad;
        --ser_buffer.ser_correcties;
        regel.eti_status = ETI_CORRECTIES;
    }
    e.status = ETI_VERKOPEN;
    e.verkocht_op = h.datum;
    bool terug_naar_ander = (regel.lflags & LF_GEANNULEERD) && (regel.lflags & LF_ANDER_FIL);
    e.filiaal = terug_naar_ander ? regel.ander_fil : h.filnr;
    e.verkoper = regel.vkpnr;
    if (e.afprijs_nr && regel.bedrag != e.verkoopprijs) e.afprijs_nr = 0;
    e.verkoopprijs = regel.bedrag;
    e.btw_tarief = (int16_t)btw_tarief_code(regel.btw);
    e.actiecode = regel.actie;
    e.klant_nr = 0;
    if (klanten_aan()) {
        e.klant_nr = h.kltnr;
        if (h.kltnr) klant_verkoop(h, regel);
    }
    schrijf_etiket();
    if (e.verkocht_op > ser_buffer.ser_laatst_verk) ser_buffer.ser_laatst_verk = e.verkocht_op;
    --ser_buffer.ser_voorraad;
    ++ser_buffer.ser_verkocht;
    aanv_rec a = aanv_van_etiket();
    IXWRITE(dtaanv, &a);
}

// The series of ean_buffer in ser_buffer (read again only for another
// series), with its article and turnover group.
bool serie_van_ean() {
    const ean_rec &n = ean_buffer;
    if (ser_buffer.art_nr != n.ean_nummer || ser_buffer.kleur != n.ean_kleur ||
        ser_buffer.volgnr != n.ean_volgnr || !ser_buffer.art_nr) {
        std::memset(&ser_buffer, 0, sizeof ser_buffer);
        ser_buffer.art_nr = n.ean_nummer;
        ser_buffer.kleur = n.ean_kleur;
        ser_buffer.volgnr = n.ean_volgnr;
        if (IXREAD(dtser, &ser_buffer) != 1) {
            std::memset(&ser_buffer, 0, sizeof ser_buffer);
            return false;
        }
    }
    lees_art(dtart, &art_buffer, ser_buffer.art_nr);
    lees_omzgrp(dtomzgrp, &omzgrp_buffer, art_buffer.art_omzetgroep);
    return true;
}

// The pick found label n: lock the series (its record read again under the
// lock) and the label read again, as it stands now.
bool neem(int32_t n) {
    IXREADL(dtser, &ser_buffer);
    eti_nummer = n;
    return ioeti('R', &n, &eti_buffer) == 1;
}

} // namespace

int btw_tarief_code(int btw_code) {
    if (btw_code < 0 || btw_code > 10) return 0;
    return bedrijf().btw_tarief[btw_code];
}

bool klanten_aan() {
    return bedrijf().vlag1 & 2;
}

bool met_kassas() {
    return bedrijf().vlag1 & 4;
}

bool lees_actie(int nr) {
    if (nr <= 0 || nr > sysmap::ACTIONS.limit) return false;
    if (nr == g_actie_nr) return true;
    g_actie_nr = 0;
    long n = nr;
    if (iosys_fd() < 0 || !iosys('R', &n, &actie_buffer, sysmap::ACTIONS)) return false;
    g_actie_nr = nr;
    return true;
}

void lees_actie_vergeet() {
    g_actie_nr = 0;
}

void etiket_boek(const jrn_h &h, jrn_regel &regel, int teken) {
    etiket_rec &e = eti_buffer;
    if (e.onderweg) {
        regel.lflags |= LF_ONDERWEG;
        if (e.onderweg_filiaal != h.filnr) {
            regel.lflags |= LF_ANDER_FIL;
            regel.ander_fil = e.onderweg_filiaal;
        }
    } else if (e.filiaal != h.filnr) {
        regel.lflags |= LF_ANDER_FIL;
        regel.ander_fil = e.filiaal;
    }
    if (teken < 0)
        boek_retour(h, regel);
    else
        boek_verkoop(h, regel);
    IXPUTREC(dtser, &ser_buffer);
}

bool zoek_voorraad_etiket(const jrn_h &h, jrn_regel &) {
    if (!serie_van_ean() || ser_buffer.ser_eti_kop < 0) return false;
    uint16_t best_eigen = 65500, best_onderweg = 65500;
    int32_t eigen = -1, onderweg = -1;
    int32_t n = ser_buffer.ser_eti_kop;
    etiket_rec e{};
    for (int ok = ioeti('F', &n, &e); ok; ok = ioeti('N', &n, &e)) {
        if (e.status != ETI_VOORRAAD || e.maat != ean_buffer.ean_maat) continue;
        if (!e.onderweg && e.filiaal == h.filnr && e.ontvangen < best_eigen) {
            best_eigen = e.ontvangen;
            eigen = n;
        } else if (e.onderweg && e.onderweg_filiaal == h.filnr && e.ontvangen < best_onderweg) {
            best_onderweg = e.ontvangen;
            onderweg = n;
        }
    }
    int32_t gekozen = eigen >= 0 ? eigen : onderweg;
    return gekozen >= 0 && neem(gekozen);
}

bool zoek_verkocht_etiket(const jrn_h &h, jrn_regel &regel, uint16_t datum, int32_t prijs,
                          int32_t marge) {
    if (!serie_van_ean() || ser_buffer.ser_eti_kop < 0) return false;
    bool klanten = klanten_aan();
    uint16_t best = 0;
    int32_t gekozen = -1;
    int32_t n = ser_buffer.ser_eti_kop;
    etiket_rec e{};
    for (int ok = ioeti('F', &n, &e); ok; ok = ioeti('N', &n, &e)) {
        if (e.status != ETI_VERKOPEN || e.filiaal != h.filnr || e.maat != ean_buffer.ean_maat)
            continue;
        if (klanten && e.klant_nr != h.kltnr) continue;
        bool prijs_goed = prijs == 0 && e.verkoopprijs == 0 && e.actiecode == regel.actie;
        if (!prijs_goed)
            prijs_goed = prijs >= 1 && e.verkoopprijs >= prijs - 1 &&
                         e.verkoopprijs <= prijs + marge && e.actiecode == regel.actie;
        if (!prijs_goed) continue;
        if (datum == 0) {
            if (e.verkocht_op > best) best = e.verkocht_op, gekozen = n;
        } else if (e.verkocht_op == datum) {
            gekozen = n;
            break;
        }
    }
    return gekozen >= 0 && neem(gekozen);
}

void maat_boek(const jrn_h &h, jrn_regel &regel, int teken) {
    char code[14];
    std::snprintf(code, sizeof code, "%.13s", regel.invoer);
    if (!ean_lees(dtean, &ean_buffer, code) || !serie_van_ean()) {
        regel.rest = regel.aantal;
        regel.lflags |= LF_SIGNAAL;
        return;
    }
    const int32_t totaal = regel.bedrag;
    regel.rest = regel.aantal;
    int32_t over = totaal, geboekt = 0;
    int32_t stuk_retour = regel.aantal ? totaal / regel.aantal : 0;
    while (regel.rest) {
        bool gevonden = teken < 0 ? zoek_verkocht_etiket(h, regel, 0, stuk_retour, regel.aantal - 1)
                                  : zoek_voorraad_etiket(h, regel);
        if (!gevonden) break;
        if (teken < 0) {
            regel.bedrag = stuk_retour;
        } else {
            regel.bedrag = (over * 10 / regel.rest + 5) / 10;
            over -= regel.bedrag;
        }
        geboekt += regel.bedrag;
        etiket_boek(h, regel, teken);
        --regel.rest;
    }
    if (regel.rest) {
        regel.lflags |= LF_SIGNAAL;
        regel.bedrag = totaal;
    } else {
        regel.bedrag = teken < 0 ? totaal : geboekt;
    }
}

void artreg_boek(const jrn_h &h, jrn_regel &regel, int teken) {
    lees_artreg(dtartreg, &artreg_buffer, (uint16_t)regel.nummer);
    artreg_rec r{};
    r.artikel = (uint16_t)regel.nummer;
    r.artreg_filiaal = (uint8_t)(h.filnr + 1);
    bool bestaat = IXREADL(dtartreg, &r) == 1;
    if (!bestaat) {
        std::memset(&r, 0, sizeof r);
        r.artikel = (uint16_t)regel.nummer;
        r.artreg_filiaal = (uint8_t)(h.filnr + 1);
        r.fil.ar_filiaalprijs = artreg_buffer.art.ar_prijs;
    }
    int32_t q = regel.aantal * teken;
    int32_t kost = artreg_buffer.art.ar_kostprijs;
    r.fil.ar_voorraad -= q;
    for (int i = 0; i < 2; ++i) {
        r.fil.ar_aantal[i] += q;
        r.fil.ar_bedrag[i] += regel.bedrag * teken;
        r.fil.ar_excl[i] += regel.bedrag_excl * teken;
        if (kost > 0) r.fil.ar_marge[i] += (regel.bedrag_excl - kost * regel.aantal) * teken;
    }
    // A new row is made and written in one step; the record is the same.
    if (bestaat)
        IXPUTREC(dtartreg, &r);
    else
        IXWRITE(dtartreg, &r);
}

// Line entry: validation of a decoded number by its kind, prices and
// actions, and filling the line. See regel.h.
//
// A label line keeps its series locked (IXREADL) from here until the line
// is closed or dropped; every failure on the way releases it. The other
// kinds lock nothing until they are booked.
#include "base/catalog.h"
#include "base/datum.h"
#include "exchange/kskvrec.h"
#include "frame/iosys.h"
#include "merch/ean.h"
#include "merch/leesstam.h"
#include "merch/stam.h"
#include "sale/iojrn.h"
#include "sale/regel.h"
#include "sale/vrkstat.h"
#include "store/iomaat.h"
#include "store/ix.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

regel_fout fout(regel_uitslag *u, regel_fout f, ...) {
    u->fout = f;
    va_list ap;
    va_start(ap, f);
    std::vsnprintf(u->tekst, sizeof u->tekst, regel_melding(f), ap);
    va_end(ap);
    return f;
}

void tekst(char *out, size_t size, const char *veld, size_t breedte) {
    std::snprintf(out, size, "%.*s", (int)breedte, veld);
}

int aantal_filialen() {
    sys_bedrijf b{};
    long nr = sysmap::REC_COMPANY;
    if (iosys_fd() >= 0) iosys('R', &nr, &b, sysmap::FIXED);
    return b.aantal_fil;
}

// The price of the line: the action price when action nr is valid for the
// receipt's day and branch, else the normal price.
void prijzen(const jrn_h &h, int32_t normaal, int actie_nr, int32_t actieprijs) {
    rinfo.prijs_normaal = normaal;
    rinfo.actie = 0;
    rinfo.actie_nr = 0;
    if (actie_nr && lees_actie(actie_nr) && actie_geldig(actie_buffer, h.datum, h.filnr)) {
        rinfo.actie_nr = (uint8_t)actie_nr;
        rinfo.actie = actie_buffer.actiecode;
        rinfo.prijs_actie = actieprijs;
    }
}

// Filling the line from what validation found.
void vul(jrn_cursor *c, const char *invoer, char soort, long nummer, uint16_t omzetgroep,
         uint8_t btw, bool retour_bedrag) {
    jrn_regel &r = c->regel;
    if (!(r.lflags & LF_ONBEKEND)) {
        std::memcpy(r.invoer, invoer, sizeof r.invoer);
        r.soort = soort;
        r.nummer = (uint32_t)nummer;
        r.omzetgroep = omzetgroep;
        r.aantal = 1;
        r.prijs = rinfo.prijs_normaal;
        r.btw = btw;
    }
    std::memcpy(rinfo.invoer, r.invoer, sizeof r.invoer);
    rinfo.invoer[13] = 0;
    if (retour_bedrag) { // a label coming back: what was paid, as it was paid
        r.bedrag = rinfo.verkocht_op ? eti_buffer.verkoopprijs : 0;
        r.actie = rinfo.verkocht_op ? eti_buffer.actiecode : 0;
        rinfo.actie = r.actie;
    } else if (rinfo.actie_nr && rinfo.prijs_actie != rinfo.prijs_normaal) {
        r.bedrag = rinfo.prijs_actie;
        r.actie = rinfo.actie;
    } else {
        r.bedrag = rinfo.prijs_normaal;
        r.actie = 0;
        rinfo.actie = 0;
        rinfo.actie_nr = 0;
    }
}

// Is the label's own code in KSZI, goods out on approval?
bool op_zicht(int32_t nummer) {
    if (access("KSZI.TXT", F_OK) != 0) return false;
    char code[14];
    plu_ean_vorm(SRT_ETIKET, nummer, code);
    ICB *icb = IXOPEN("KSZI", 0);
    kszi_rec r{};
    bool gevonden = false;
    for (int ok = IXFIRST(icb, &r); ok && !gevonden; ok = IXNEXTR(icb, &r)) {
        char ean[14];
        std::snprintf(ean, sizeof ean, "%.13s", r.ean);
        for (char *p = ean + std::strlen(ean); p > ean && p[-1] == ' ';)
            *--p = 0;
        gevonden = std::strcmp(ean, code) == 0;
    }
    IXCLOSE(icb);
    return gevonden;
}

regel_fout valideer_maat(jrn_cursor *c, const char *invoer, char soort, long nummer,
                         regel_uitslag *u);

regel_fout valideer_etiket(jrn_cursor *c, const plu_invoer &in, regel_uitslag *u) {
    const jrn_h &h = c->h;
    bool retour = vrk.soort_tx == 'R';
    eti_nummer = (int32_t)in.nummer;
    int32_t n = eti_nummer;
    std::memset(&eti_buffer, 0, sizeof eti_buffer);
    auto onbekend = [&] {
        std::snprintf(u->tekst, sizeof u->tekst, "<%ld> %s", in.nummer,
                      regel_melding(RF_ONBEKEND_ETIKET));
        return u->fout = RF_ONBEKEND_ETIKET;
    };
    if (!ioeti('R', &n, &eti_buffer) || eti_buffer.status > ETI_CORRECTIES) return onbekend();
    etiket_rec &e = eti_buffer;
    std::memset(&ser_buffer, 0, sizeof ser_buffer);
    ser_buffer.art_nr = e.art_nr;
    ser_buffer.kleur = e.kleur;
    ser_buffer.volgnr = e.volgnr;
    if (IXREADL(dtser, &ser_buffer) != 1) {
        IXUNLOCK(dtser, &ser_buffer);
        std::memset(&ser_buffer, 0, sizeof ser_buffer);
        return onbekend();
    }
    lees_art(dtart, &art_buffer, e.art_nr);
    lees_omzgrp(dtomzgrp, &omzgrp_buffer, art_buffer.art_omzetgroep);
    lees_merk(dtmerk, &merk_buffer, ser_buffer.ser_merk);
    lees_lev(dtlev, &lev_buffer, e.lev_nr);

    regel_fout f = RF_GOED;
    if (!retour) {
        if (e.status != ETI_VOORRAAD && !(e.status == ETI_CORRECTIES && !e.actiecode))
            f = fout(u, RF_NIET_OP_VOORRAAD);
    } else if (e.status != ETI_VERKOPEN) {
        f = fout(u, RF_NIET_VERKOCHT);
    } else if (klanten_aan() && e.klant_nr && e.klant_nr != h.kltnr) {
        f = fout(u, RF_ANDERE_KLANT, (long)e.klant_nr);
    } else if (met_kassas() && op_zicht(eti_nummer)) {
        f = fout(u, RF_OP_ZICHT, (long)eti_nummer);
    } else {
        char dd[8];
        std::snprintf(u->status, sizeof u->status, DET(5, 320, "Vrk: %-3u dd: %6s "),
                      (unsigned)e.verkoper, datum_tekst(dd, e.verkocht_op, false));
    }
    if (f != RF_GOED) {
        IXUNLOCK(dtser, &ser_buffer);
        return f;
    }
    if (aantal_filialen() > 1) {
        bool hier = e.onderweg ? e.onderweg_filiaal == h.filnr || e.filiaal == h.filnr
                               : e.filiaal == h.filnr;
        if (!hier) {
            char st[81];
            std::snprintf(st, sizeof st, DET(5, 321, "Fil: %-2d "),
                          e.onderweg ? e.onderweg_filiaal : e.filiaal);
            std::strncat(st, u->status, sizeof st - std::strlen(st) - 1);
            std::snprintf(u->status, sizeof u->status, "%s", st);
            u->piep = true;
        }
    }
    tekst(u->mrk, sizeof u->mrk, merk_buffer.merk_code, 3);
    tekst(u->oms, sizeof u->oms, art_buffer.art_omschr, sizeof art_buffer.art_omschr);

    if (ser_buffer.ser_maatreg) { // the series keeps stock by size, not by label
        IXUNLOCK(dtser, &ser_buffer);
        if (!ean_lees_maat(dtean, &ean_buffer, ser_buffer, e.maat)) return fout(u, RF_ETIKETNIVEAU);
        char code[14];
        std::snprintf(code, sizeof code, "%.13s", ean_buffer.ean_code);
        return valideer_maat(c, code, SRT_MAAT, in.nummer, u);
    }

    if (retour) {
        rinfo.prijs_normaal = e.adviesprijs;
        rinfo.verkocht_op = e.verkocht_op;
        rinfo.kan_prijs = false;
    } else {
        rinfo.kan_prijs = true;
        prijzen(h, e.adviesprijs, e.afprijs_nr, e.verkoopprijs);
    }
    vul(c, in.invoer, SRT_ETIKET, in.nummer, art_buffer.art_omzetgroep, art_buffer.btw_code,
        retour);
    return RF_GOED;
}

// The labels of the series in ser_buffer that a series/size line of size
// maat can take, at most MAAT_TEL_MAX; the first with an action sets it.
int tel_etiketten(const jrn_h &h, uint8_t maat, bool retour, int *actie_nr, int32_t *actieprijs) {
    int tel = 0;
    *actie_nr = 0;
    int32_t n = ser_buffer.ser_eti_kop;
    if (n < 0) return 0;
    etiket_rec e{};
    for (int ok = ioeti('F', &n, &e); ok && tel < MAAT_TEL_MAX; ok = ioeti('N', &n, &e)) {
        if (e.maat != maat) continue;
        if (retour) {
            if (e.status == ETI_VERKOPEN && e.filiaal == h.filnr) ++tel;
            continue;
        }
        int fil = e.onderweg ? e.onderweg_filiaal : e.filiaal;
        if (e.status != ETI_VOORRAAD || fil != h.filnr) continue;
        ++tel;
        if (!*actie_nr && e.afprijs_nr) *actie_nr = e.afprijs_nr, *actieprijs = e.verkoopprijs;
    }
    return tel;
}

regel_fout valideer_maat(jrn_cursor *c, const char *invoer, char soort, long nummer,
                         regel_uitslag *u) {
    const jrn_h &h = c->h;
    bool retour = vrk.soort_tx == 'R';
    const ean_rec &en = ean_buffer;
    ser_rec s{};
    s.art_nr = en.ean_nummer;
    s.kleur = en.ean_kleur;
    s.volgnr = en.ean_volgnr;
    if (IXREAD(dtser, &s) != 1) return fout(u, RF_ONBEKEND_MAAT);
    ser_buffer = s;
    if (!ser_buffer.ser_maatreg) return fout(u, RF_GEEN_MAATNIVEAU);
    lees_art(dtart, &art_buffer, s.art_nr);
    lees_omzgrp(dtomzgrp, &omzgrp_buffer, art_buffer.art_omzetgroep);
    lees_merk(dtmerk, &merk_buffer, s.ser_merk);
    int actie_nr;
    int32_t actieprijs = 0;
    int tel = tel_etiketten(h, en.ean_maat, retour, &actie_nr, &actieprijs);
    if (!tel) {
        const char *vorm = retour ? DET(5, 315, "<%s> Onvoldoende verkocht (%d stuks)")
                                  : regel_melding(RF_ONVOLDOENDE);
        std::snprintf(u->tekst, sizeof u->tekst, vorm, invoer, tel);
        return u->fout = RF_ONVOLDOENDE;
    }
    rinfo.aantal_max = tel;
    rinfo.kan_stuks = true;
    rinfo.kan_prijs = true;
    prijzen(h, maat_prijs(s, en.ean_maat), retour ? 0 : actie_nr, actieprijs);
    vul(c, invoer, soort, nummer, art_buffer.art_omzetgroep, art_buffer.btw_code, false);
    tekst(u->mrk, sizeof u->mrk, merk_buffer.merk_code, 3);
    tekst(u->oms, sizeof u->oms, art_buffer.art_omschr, sizeof art_buffer.art_omschr);
    u->vraag_bedrag = retour;
    return RF_GOED;
}

regel_fout valideer_artikel(jrn_cursor *c, const char *invoer, long nummer, regel_uitslag *u) {
    const jrn_h &h = c->h;
    if (nummer <= 0 || nummer > 0xFFFF || !lees_artreg(dtartreg, &artreg_buffer, (uint16_t)nummer))
        return fout(u, RF_ONBEKEND_ARTIKEL, (unsigned short)nummer);
    artreg_rec fil{};
    bool eigen = lees_artreg(dtartreg, &fil, (uint16_t)nummer, h.filnr);
    lees_omzgrp(dtomzgrp, &omzgrp_buffer, artreg_buffer.art.ar_omzetgroep);
    rinfo.kan_stuks = true;
    rinfo.kan_prijs = true;
    prijzen(h, artreg_buffer.art.ar_prijs, eigen ? fil.fil.ar_afprijs_nr : 0,
            fil.fil.ar_filiaalprijs);
    vul(c, invoer, SRT_ARTIKEL, nummer, artreg_buffer.art.ar_omzetgroep, omzgrp_buffer.btw_code,
        false);
    tekst(u->oms, sizeof u->oms, omzgrp_buffer.omschrijving, sizeof omzgrp_buffer.omschrijving);
    return RF_GOED;
}

regel_fout valideer_ean(jrn_cursor *c, const plu_invoer &in, regel_uitslag *u) {
    if (!ean_lees(dtean, &ean_buffer, in.tekst)) return fout(u, RF_ONBEKEND_EAN, in.tekst);
    if (ean_buffer.ean_soort == 'M') return valideer_maat(c, in.invoer, SRT_EAN, 0, u);
    return valideer_artikel(c, in.invoer, (long)ean_buffer.ean_nummer, u);
}

} // namespace

int32_t maat_prijs(const ser_rec &ser, uint8_t maat) {
    if (!lees_maten(&maat_tabel, 1, ser.ser_maatsoort)) return ser.ser_adviesprijs[0];
    auto plaats = [](uint8_t m) {
        maat_entry e{};
        e.number = m;
        return mtread(maat_tabel, 'R', &e, 1) ? (int)e.position : 0;
    };
    int p = plaats(maat);
    for (int g = 0; g < 8; ++g)
        if (!ser.ser_prijsgroep[g] || plaats(ser.ser_prijsgroep[g]) >= p)
            return ser.ser_adviesprijs[g];
    return ser.ser_adviesprijs[7];
}

// DTOMZGRP has no mark of its own: a group keeps stock when an article
// sold with labels or a small article of the register books into it.
bool omzetgroep_met_voorraad(uint16_t omzetgroep) {
    bool voorraad = false;
    art_rec a{};
    for (int ok = IXFIRST(dtart, &a); ok && !voorraad; ok = IXNEXTR(dtart, &a))
        voorraad = a.art_omzetgroep == omzetgroep;
    artreg_rec r{};
    for (int ok = IXFIRST(dtartreg, &r); ok && !voorraad; ok = IXNEXTR(dtartreg, &r))
        voorraad = r.artreg_filiaal == 0 && r.art.ar_omzetgroep == omzetgroep;
    return voorraad;
}

regel_fout regel_omzetgroep(jrn_cursor *c, uint16_t omzetgroep, int32_t prijs, regel_uitslag *u) {
    std::memset(u, 0, sizeof *u);
    if (!lees_omzgrp(dtomzgrp, &omzgrp_buffer, omzetgroep)) return fout(u, RF_ONGELDIG);
    if (omzetgroep_met_voorraad(omzetgroep)) return fout(u, RF_OMZGRP_VOORRAAD);
    char invoer[14] = {};
    std::snprintf(invoer, sizeof invoer, "%u", (unsigned)omzetgroep);
    rinfo.kan_stuks = false;
    rinfo.kan_prijs = true;
    rinfo.prijs_normaal = prijs;
    vul(c, invoer, SRT_OMZETGROEP, omzetgroep, omzetgroep, omzgrp_buffer.btw_code, false);
    c->regel.bedrag = c->regel.aantal * prijs;
    tekst(u->oms, sizeof u->oms, omzgrp_buffer.omschrijving, sizeof omzgrp_buffer.omschrijving);
    u->vraag_prijs = prijs == 0;
    vrk.regel_open = true;
    return RF_GOED;
}

regel_fout regel_valideer(jrn_cursor *c, const plu_invoer &in, regel_uitslag *u) {
    std::memset(u, 0, sizeof *u);
    std::memset(&rinfo, 0, sizeof rinfo);
    vrk.regel_open = false;
    regel_fout f;
    switch (in.soort) {
    case SRT_ETIKET:
        f = valideer_etiket(c, in, u);
        break;
    case SRT_MAAT:
        f = ean_lees(dtean, &ean_buffer, in.invoer) && ean_buffer.ean_soort == 'M'
                ? valideer_maat(c, in.invoer, SRT_MAAT, in.nummer, u)
                : fout(u, RF_ONBEKEND_MAAT);
        break;
    case SRT_ARTIKEL:
        f = valideer_artikel(c, in.invoer, in.nummer, u);
        break;
    case SRT_OMZETGROEP:
        if (in.nummer <= 0 || in.nummer > 0xFFFF) return fout(u, RF_ONGELDIG);
        return regel_omzetgroep(c, (uint16_t)in.nummer, 0, u);
    default:
        f = valideer_ean(c, in, u);
        break;
    }
    if (f != RF_GOED) return f;
    u->vraag_prijs = c->regel.prijs == 0;
    vrk.regel_open = true;
    return RF_GOED;
}

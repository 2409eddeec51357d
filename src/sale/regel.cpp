// Line entry: decoding a number, preparing, closing and dropping a line.
// The validation by kind is regel_val.cpp. See regel.h.
#include "sale/regel.h"

#include "base/catalog.h"
#include "exchange/kas_omz.h"
#include "merch/ean.h"
#include "merch/stam.h"
#include "sale/vrkbon.h"
#include "sale/vrkstat.h"
#include "store/ix.h"

#include <cctype>
#include <cstdio>
#include <cstring>

regel_info rinfo;

const char *regel_melding(regel_fout f) {
    switch (f) {
    case RF_GOED:
        return "";
    case RF_ONGELDIG:
        return DET(5, 301, "Ongeldige ingave");
    case RF_ONBEKEND_ETIKET:
        return DET(5, 302, "Onbekend etiketnummer");
    case RF_NIET_OP_VOORRAAD:
        return DET(5, 303, "Etiket niet op voorraad");
    case RF_NIET_VERKOCHT:
        return DET(5, 304, "Etiket niet verkocht");
    case RF_ANDERE_KLANT:
        return DET(5, 305, "Verkocht aan klant: %-6ld  ");
    case RF_OP_ZICHT:
        return DET(5, 306, "Etiket %ld is op zicht verkocht");
    case RF_ETIKETNIVEAU:
        return DET(5, 307, "Etiketniveau niet toegestaan bij deze serie");
    case RF_GEEN_MAATNIVEAU:
        return DET(5, 308, "Verkoop op serie/maat niveau bij deze serie niet toegestaan");
    case RF_ONBEKEND_MAAT:
        return DET(5, 309, "Onbekend serie/maat");
    case RF_ONBEKEND_EAN:
        return DET(5, 310, "<%s> Onbekende EAN-code");
    case RF_ONBEKEND_ARTIKEL:
        return DET(5, 311, "<%hu> Onbekend artikel");
    case RF_ONVOLDOENDE:
        return DET(5, 312, "<%s> Onvoldoende voorraad (%d stuks)");
    case RF_OMZGRP_VOORRAAD:
        return DET(5, 313, "omzetgroep met voorraad niet toegestaan");
    case RF_GROEP_VOL:
        return DET(5, 314, "Eerst groep afsluiten (T)");
    case RF_AANTAL:
        break;
    }
    return "";
}

void plu_ean_vorm(char soort, long nummer, char *out) {
    if (!eti_ean(soort, nummer, out)) out[0] = 0;
}

regel_fout plu_decodeer(const char *tekst, plu_invoer *uit, regel_uitslag *u) {
    std::memset(uit, 0, sizeof *uit);
    ean_tekst(tekst, uit->tekst);
    int soort;
    long nummer;
    if (!ean_parse_invoer(uit->tekst, &soort, &nummer)) {
        if (u) std::snprintf(u->tekst, sizeof u->tekst, "%s", regel_melding(RF_ONGELDIG));
        if (u) u->fout = RF_ONGELDIG;
        return RF_ONGELDIG;
    }
    uit->soort = (char)soort;
    uit->nummer = nummer;
    std::memcpy(uit->invoer, uit->tekst, sizeof uit->invoer);
    // A code of more than eight digits is kept as it came; any other
    // number the line keeps in the own code of its kind.
    bool code = std::strlen(uit->tekst) > 8 && std::isdigit((unsigned char)uit->tekst[0]);
    if (!code && nummer != 0) plu_ean_vorm(uit->soort, nummer, uit->invoer);
    return RF_GOED;
}

void regel_leeg(jrn_cursor *c, char soort_tx) {
    std::memset(&c->regel, 0, sizeof c->regel);
    c->regel.aantal = 1;
    c->regel.vkpnr = vrk.verkoper_regel;
    if (vrk.in_groep) c->regel.lflags |= LF_GROEP;
    std::memset(&rinfo, 0, sizeof rinfo);
    vrk.regel_open = false;
    vrk.soort_tx = soort_tx;
}

regel_fout regel_groep_vol(const jrn_cursor *c, regel_uitslag *u) {
    if (!vrk.in_groep || c->s.groep_regels < GROEP_MAX_REGELS) return RF_GOED;
    if (u) {
        u->fout = RF_GROEP_VOL;
        std::snprintf(u->tekst, sizeof u->tekst, "%s", regel_melding(RF_GROEP_VOL));
    }
    return RF_GROEP_VOL;
}

namespace {

// The label line's series stays locked from validation to closing: take
// the record in hand again (the handle may have read other series since)
// and the label as it stands.
void etiket_terug_in_hand() {
    IXREADL(dtser, &ser_buffer);
    int32_t n = eti_nummer;
    ioeti('R', &n, &eti_buffer);
}

void boek(jrn_cursor *c, int teken) {
    jrn_regel &r = c->regel;
    switch (r.soort) {
    case SRT_ETIKET:
        etiket_terug_in_hand();
        etiket_boek(c->h, r, teken);
        break;
    case SRT_MAAT:
    case SRT_EAN:
        maat_boek(c->h, r, teken);
        break;
    case SRT_ARTIKEL:
        artreg_boek(c->h, r, teken);
        break;
    default: // a turnover group has no stock
        break;
    }
}

} // namespace

bool regel_sluiten(jrn_cursor *c, char kind) {
    if (!vrk.regel_open) return true;
    vrk.regel_open = false;
    if (kind == 'D') {
        vrk.subtotaal_bedrag += c->d.bedrag;
        return true;
    }
    jrn_regel &r = c->regel;
    int teken = kind == 'R' ? -1 : 1;
    int tarief = r.soort == SRT_ETIKET ? eti_buffer.btw_tarief : btw_tarief_code(r.btw);
    r.bedrag_excl = btw_excl(r.bedrag, tarief);
    boek(c, teken);
    vrk.subtotaal_stuks += teken * r.aantal;
    vrk.subtotaal_bedrag += teken * r.bedrag;
    vrk.btw_totaal += teken * (r.bedrag - r.bedrag_excl);
    if (r.lflags & LF_GROEP) {
        c->s.groep_totaal += teken * r.bedrag;
        c->s.groep_bruto += teken * r.prijs * r.aantal;
        ++c->s.groep_regels;
    }
    bool goed = true;
    if (!vrk.bon_gestart) {
        goed = vrkbon_add(c, 'H');
        if (vrk.in_groep && goed) goed = vrkbon_add(c, 'S');
        vrk.bon_gestart = true;
    }
    return vrkbon_add(c, kind) && goed;
}

void regel_vervallen(jrn_cursor *c) {
    if (vrk.regel_open && c->regel.soort == SRT_ETIKET && ser_buffer.art_nr)
        IXUNLOCK(dtser, &ser_buffer);
    vrk.regel_open = false;
    vrk.verkoper_regel = vrk.verkoper;
}

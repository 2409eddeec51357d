// Booking a journal line: see vwkas.h. The effects of a label changing
// status, the picks of a series kept by size and the piece-by-piece booking
// are line entry's (etiboek.h); this module decides which of them a line
// gets and marks the line when none fits.
#include "journal/vwkas.h"

#include "exchange/kas_omz.h"
#include "merch/leesstam.h"
#include "merch/stam.h"
#include "sale/etiboek.h"
#include "store/ix.h"

#include <cstring>

namespace {

// The series into ser_buffer. Read every time: the buffer may hold the
// key from before another process changed the record (its size
// registration among others), and a read goes through the block cache.
bool laad_serie(uint32_t art_nr, uint16_t kleur, uint16_t volgnr) {
    std::memset(&ser_buffer, 0, sizeof ser_buffer);
    ser_buffer.art_nr = art_nr;
    ser_buffer.kleur = kleur;
    ser_buffer.volgnr = volgnr;
    if (art_nr && IXREAD(dtser, &ser_buffer) == 1) return true;
    std::memset(&ser_buffer, 0, sizeof ser_buffer);
    return false;
}

// A label number of a series kept by size: the pick of the piece that is
// really booked. The picks leave the label in eti_buffer / eti_nummer.
bool kies_maat_etiket(jrn_cursor *c, bool met_vlag) {
    jrn_regel &r = c->regel;
    if (!ean_lees_maat(dtean, &ean_buffer, ser_buffer, eti_buffer.maat)) return false;
    if (vwkas_teken(c->letter) < 0) return zoek_verkocht_etiket(c->h, r, 0, r.bedrag, 1);
    if (met_vlag) r.lflags |= LF_MAAT_ETIKET;
    if (!zoek_voorraad_etiket(c->h, r)) return false;
    if (eti_buffer.onderweg) r.lflags |= LF_ONDERWEG;
    return true;
}

bool zoek(jrn_cursor *c, bool stil, bool met_vlag) {
    std::memset(&eti_buffer, 0, sizeof eti_buffer);
    int32_t n = eti_nummer;
    if (ioeti('R', &n, &eti_buffer) != 1) return false;
    if (!laad_serie(eti_buffer.art_nr, eti_buffer.kleur, eti_buffer.volgnr)) return false;
    lees_art(dtart, &art_buffer, ser_buffer.art_nr);
    if (!stil && ser_buffer.ser_maatreg && !kies_maat_etiket(c, met_vlag)) return false;
    if (eti_buffer.afprijs_nr) lees_actie(eti_buffer.afprijs_nr);
    return true;
}

void boek_etiket(jrn_cursor *c, bool stil, bool corr) {
    jrn_regel &r = c->regel;
    if (!stil) eti_nummer = (int32_t)r.nummer;
    bool gevonden = corr ? etiket_zoek_corr(c, stil) : etiket_zoek(c, stil);
    if (!gevonden) {
        r.lflags |= LF_SIGNAAL | LF_ONBEKEND;
        return;
    }
    vwkas_boek(c, stil);
}

} // namespace

bool etiket_zoek(jrn_cursor *c, bool stil) {
    return zoek(c, stil, true);
}

bool etiket_zoek_corr(jrn_cursor *c, bool stil) {
    return zoek(c, stil, false);
}

void vwkas_boek(jrn_cursor *c, bool stil) {
    jrn_regel &r = c->regel;
    const etiket_rec &e = eti_buffer;
    IXREADL(dtser, &ser_buffer);
    int teken = vwkas_teken(c->letter);
    bool te_boeken =
        teken > 0 ? e.status == ETI_VOORRAAD || (e.status == ETI_CORRECTIES && e.actiecode == 0)
                  : e.status == ETI_VERKOPEN;
    if (!te_boeken) {
        r.lflags |= LF_SIGNAAL;
        r.eti_status = e.status;
        IXUNLOCK(dtser, &ser_buffer);
        return;
    }
    etiket_boek(c->h, r, teken); // releases the series
    if (!stil && (c->letter == 'V' || c->letter == 'R')) {
        omz_regel(c, c->letter, r.aantal);
        omz_tel(r, c->letter);
    }
}

void vwkas_etiket(jrn_cursor *c, bool stil) {
    boek_etiket(c, stil, false);
}

void corr_etiket(jrn_cursor *c, bool stil) {
    boek_etiket(c, stil, true);
}

void vwkas_maat(jrn_cursor *c) {
    jrn_regel &r = c->regel;
    const ean_rec &n = ean_buffer;
    if (!laad_serie(n.ean_nummer, n.ean_kleur, n.ean_volgnr) || !ser_buffer.ser_maatreg) {
        r.lflags |= LF_SIGNAAL | LF_ONBEKEND;
        return;
    }
    lees_art(dtart, &art_buffer, ser_buffer.art_nr);
    maat_boek(c->h, r, vwkas_teken(c->letter));
    omz_regel(c, c->letter, (r.aantal - r.rest) & 255);
    omz_tel(r, c->letter);
}

// Lookups in the master files: see leesstam.h.
#include "merch/leesstam.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "frame/iosys.h"
#include "merch/ean.h"
#include "store/iomaat.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

iomaat *maat_tabel = nullptr;

namespace {

// IXREAD on key 1; the handle's own key afterwards as it was.
bool read_key(ICB *icb, void *rec, int key) {
    int active = icb->blk.keynr;
    if (active != key) IXSWITCH(icb, key);
    bool found = IXREAD(icb, rec) == 1;
    if (active != key && active > 0) IXSWITCH(icb, active);
    return found;
}

// The common shape: cache test, key in the buffer, read, clear when absent.
template <typename R, typename K> bool lookup(ICB *icb, R *rec, K R::*field, K key, int nr) {
    if (!icb) errno_fatal("leesstam", nr);
    if (key && rec->*field == key) return true;
    std::memset((void *)rec, 0, sizeof *rec);
    rec->*field = key;
    if (read_key(icb, rec, 1)) return true;
    std::memset((void *)rec, 0, sizeof *rec);
    return false;
}

// The same lookup on the file opened read-only for the moment.
template <typename R, typename F> bool for_the_moment(const char *name, R *rec, bool cached, F f) {
    if (cached) return true;
    if (access((std::string(name) + ".TXT").c_str(), F_OK) != 0) return false;
    ICB *icb = IXOPEN(name, 0);
    bool found = f(icb, rec);
    IXCLOSE(icb);
    return found;
}

template <typename R> bool sys_text(R *rec, long nr, const sysmap::Table &t) {
    char text[64] = {};
    bool found = iosys_fd() >= 0 && iosys('R', &nr, text, t);
    std::snprintf(rec->tekst, sizeof rec->tekst, "%.*s", t.length, found ? text : "");
    return found;
}

} // namespace

bool lees_art(ICB *icb, art_rec *rec, uint32_t art_nr) {
    return lookup(icb, rec, &art_rec::art_nr, art_nr, 1);
}

bool lees_artreg(ICB *icb, artreg_rec *rec, uint16_t artikel, int filiaal) {
    if (!icb) errno_fatal("leesstam", 2);
    auto row = (uint8_t)(filiaal + 1);
    if (artikel && rec->artikel == artikel && rec->artreg_filiaal == row) return true;
    std::memset(rec, 0, sizeof *rec);
    rec->artikel = artikel;
    rec->artreg_filiaal = row;
    if (read_key(icb, rec, 1)) return true;
    std::memset(rec, 0, sizeof *rec);
    return false;
}

bool lees_merk(ICB *icb, merk_rec *rec, uint16_t merk_nr) {
    return lookup(icb, rec, &merk_rec::merk_nr, merk_nr, 3);
}

bool lees_lev(ICB *icb, lev_rec *rec, uint16_t lev_nr) {
    return lookup(icb, rec, &lev_rec::lev_nr, lev_nr, 4);
}

bool ean_lees_maat(ICB *icb, ean_rec *rec, const ser_rec &ser, uint8_t maat) {
    if (!icb) errno_fatal("leesstam", 7);
    if (ser.art_nr && rec->ean_soort == 'M' && rec->ean_nummer == ser.art_nr &&
        rec->ean_kleur == ser.kleur && rec->ean_volgnr == ser.volgnr && rec->ean_maat == maat)
        return true;
    std::memset(rec, 0, sizeof *rec);
    rec->ean_soort = 'M';
    rec->ean_nummer = ser.art_nr;
    rec->ean_kleur = ser.kleur;
    rec->ean_volgnr = ser.volgnr;
    rec->ean_maat = maat;
    if (read_key(icb, rec, 2)) return true;
    std::memset(rec, 0, sizeof *rec);
    return false;
}

bool lees_omzgrp(ICB *icb, omzgrp_rec *rec, uint16_t omzetgroep) {
    if (!icb || !omzetgroep || rec->omzetgroep != omzetgroep) {
        std::memset(rec, 0, sizeof *rec);
        rec->omzetgroep = omzetgroep;
        if (icb && read_key(icb, rec, 1)) return true;
        std::memset(rec, 0, sizeof *rec);
        std::snprintf(rec->omschrijving, sizeof rec->omschrijving, "%s", DET(9, 720, "onbekend"));
        return false;
    }
    return true;
}

bool lees_art_tijdelijk(art_rec *rec, uint32_t art_nr) {
    return for_the_moment("DTART", rec, art_nr && rec->art_nr == art_nr,
                          [&](ICB *icb, art_rec *r) { return lees_art(icb, r, art_nr); });
}

bool lees_merk_tijdelijk(merk_rec *rec, uint16_t merk_nr) {
    return for_the_moment("DTMERK", rec, merk_nr && rec->merk_nr == merk_nr,
                          [&](ICB *icb, merk_rec *r) { return lees_merk(icb, r, merk_nr); });
}

bool lees_lev_tijdelijk(lev_rec *rec, uint16_t lev_nr) {
    return for_the_moment("DTLEV", rec, lev_nr && rec->lev_nr == lev_nr,
                          [&](ICB *icb, lev_rec *r) { return lees_lev(icb, r, lev_nr); });
}

bool lees_ean_tijdelijk(ean_rec *rec, const char *code) {
    return for_the_moment("DTEAN", rec, false,
                          [&](ICB *icb, ean_rec *r) { return ean_lees(icb, r, code); });
}

bool lees_kleur(kleur_rec *rec, uint16_t kleur) {
    if (kleur && rec->kleur == kleur) return true;
    rec->kleur = 0;
    if (!sys_text(rec, kleur, sysmap::COLOURS)) return false;
    rec->kleur = kleur;
    return true;
}

bool lees_deelseizoen(deelseizoen_rec *rec, uint8_t code) {
    if (code && rec->code == code) return true;
    rec->code = 0;
    if (!sys_text(rec, code, sysmap::SIZE_KINDS)) return false;
    rec->code = code;
    return true;
}

bool lees_maten(iomaat **tabel, uint8_t systeem, uint8_t soort, bool *nieuw) {
    if (nieuw) *nieuw = false;
    if (*tabel && (*tabel)->system == systeem && (*tabel)->subsystem == soort)
        return (*tabel)->stored;
    if (*tabel) iomaat_close(*tabel);
    *tabel = nullptr;
    if (!systeem || !soort) return false;
    *tabel = iomaat_open(systeem, soort, 0);
    if (nieuw) *nieuw = true;
    return (*tabel)->stored;
}

void lees_maten_vrij() {
    if (maat_tabel) iomaat_close(maat_tabel);
    maat_tabel = nullptr;
}

namespace {
// The position of size number maat in the series' table, 0 when it has none.
int position(const ser_rec &ser, uint8_t maat) {
    if (!lees_maten(&maat_tabel, 1, ser.ser_maatsoort)) return 0;
    maat_entry e{};
    e.number = maat;
    return mtread(maat_tabel, 'R', &e, 1) ? e.position : 0;
}
} // namespace

int maat_prijsgroep(const ser_rec &ser, uint8_t maat) {
    int pos = position(ser, maat);
    if (!pos) return -1;
    bool groups = false;
    for (int g = 0; g < 8; ++g) {
        if (!ser.ser_prijsgroep[g]) continue;
        groups = true;
        int last = position(ser, ser.ser_prijsgroep[g]);
        if (last && pos <= last) return g;
    }
    return groups ? -1 : 0;
}

void maat_tekst(const ser_rec &ser, uint8_t maat, char out[4]) {
    out[0] = 0;
    if (!lees_maten(&maat_tabel, 1, ser.ser_maatsoort)) return;
    maat_entry e{};
    e.number = maat;
    if (!mtread(maat_tabel, 'R', &e, 1)) return;
    std::memcpy(out, e.code, 3);
    out[3] = 0;
}

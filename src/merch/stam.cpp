// The master file set: see stam.h.
#include "merch/stam.h"

#include "frame/iosys.h"
#include "merch/ioeti.h"
#include "merch/leesstam.h"
#include "store/iomaat.h"
#include "store/ix.h"

#include <initializer_list>

ICB *dtart, *dtser, *dtaanv, *dtean, *dtartreg, *dtkoers, *dtomzgrp, *dtlev, *dtmerk, *dtmaat,
    *dtmtom, *dtklt, *dtkltknm;

art_rec art_buffer;
ser_rec ser_buffer;
omzgrp_rec omzgrp_buffer;
ean_rec ean_buffer;
artreg_rec artreg_buffer;
lev_rec lev_buffer;
merk_rec merk_buffer;

namespace {
bool g_customers = false;

void close_one(ICB *&icb) {
    if (icb) IXCLOSE(icb);
    icb = nullptr;
}
} // namespace

void stam_open() {
    if (stam_is_open()) return;
    sys_bedrijf company{};
    long nr = sysmap::REC_COMPANY;
    iosys('R', &nr, &company, sysmap::FIXED);
    g_customers = company.vlag1 & 1;
    dtart = IXOPEN("DTART", 2);
    dtser = IXOPEN("DTSER", 2);
    dtaanv = IXOPEN("DTAANV", 2);
    dtean = IXOPEN("DTEAN", 2);
    dtartreg = IXOPEN("DTARTREG", 2);
    dtkoers = IXOPEN("DTKOERS", 0);
    dtomzgrp = IXOPEN("DTOMZGRP", 0);
    dtlev = IXOPEN("DTLEV", 0);
    dtmerk = IXOPEN("DTMERK", 0);
    dtmaat = IXOPEN("DTMAAT", 0);
    dtmtom = IXOPEN("DTMTOM", 0);
    if (g_customers) {
        dtklt = IXOPEN("DTKLT", 2);
        dtkltknm = IXOPEN("DTKLTKNM", 0);
    }
    ioeti_use_art(dtart);
    nv::store::iomaat_files(dtmaat, dtmtom);
}

void stam_close() {
    if (!stam_is_open()) return;
    lees_maten_vrij();
    ioeti_use_art(nullptr);
    nv::store::iomaat_files(nullptr, nullptr);
    for (ICB **icb : {&dtart, &dtartreg, &dtean, &dtkoers, &dtlev, &dtmerk, &dtmaat, &dtmtom,
                      &dtomzgrp, &dtser, &dtaanv})
        close_one(*icb);
    if (g_customers) {
        close_one(dtklt);
        close_one(dtkltknm);
    }
}

bool stam_is_open() {
    return dtart != nullptr;
}

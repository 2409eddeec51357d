// The main program's working set: see werkset.h.
#include "frame/werkset.h"

#include "exchange/kas_dcmu.h"
#include "exchange/kas_omz.h"
#include "exchange/konl_mut.h"
#include "exchange/xchinst.h"
#include "frame/start.h"
#include "sale/kas_betm.h"
#include "sale/vrkbon.h"
#include "sale/vrktran.h"

void werkset_open() {
    betm_laad();
    xch_instellen(frame::company, frame::country);
    konl_lijst_maak();
    vrkbon_set_omzet(omz_bon_uit_bon);
    verkopen_instellen(frame::user.werkdatum);
    if (xch_kassas()) vrkbon_set_op_rekening(kskv_afboeken);
}

void werkset_ronde() {
    omz_wis();
}

void werkset_sluit() {
    betm_vrij();
}

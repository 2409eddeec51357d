// The settings of the exchange modules: see xchinst.h.
#include "exchange/xchinst.h"

#include <cstring>

xch_instelling xch;

void xch_instellen(const sys_bedrijf &b, const sys_land &l) {
    xch.vlag1 = b.vlag1;
    xch.vlag3 = b.vlag3;
    xch.aantal_fil = b.aantal_fil;
    xch.kasmut_vlag = l.kasmut_vlag;
    std::memcpy(xch.valuta, l.valuta, 3);
    xch.valuta[3] = 0;
    std::memcpy(xch.btw_tarief, b.btw_tarief, sizeof xch.btw_tarief);
}

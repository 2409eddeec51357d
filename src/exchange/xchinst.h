// The settings of the system file that the turnover posting and the exchange
// files read, copied once at the program's start (xch_instellen) so that the
// modules need not reach into the frame. Tools and tests set them the same way.
#pragma once

#include "frame/sysrec.h"

struct xch_instelling {
    uint8_t vlag1 = 0;      // 2 sales on customers, 4 tills and journals
    uint8_t vlag3 = 0;      // 2 invoice file
    uint8_t aantal_fil = 0; // branches
    uint8_t kasmut_vlag = 0;
    char valuta[4] = {}; // home currency
    int16_t btw_tarief[11] = {};
};
extern xch_instelling xch; // the settings in force

void xch_instellen(const sys_bedrijf &b, const sys_land &l);

inline bool xch_klanten() {
    return xch.vlag1 & 2;
} // sales booked on customers
inline bool xch_kassas() {
    return xch.vlag1 & 4;
} // the multi-till option
inline bool xch_facturen() {
    return xch.vlag3 & 2;
} // FACT files at a receipt's end

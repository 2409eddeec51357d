// Removing a label: see etiket.h.
#include "merch/etiket.h"

#include "exchange/iokasmut.h"
#include "merch/stam.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

const eti_verwijzing eti_verwijzingen[4] = {
    {"DTIO", 2, 4, true},    // goods movements between branches
    {"DTONTV", 1, 4, false}, // receipts
    {"DTGO", 1, 4, false},   // goods on their way
    {"DTFIN", 2, 16, true},  // financial lines
};

namespace {

// Deletes the records of the label from a file that is there, opened for
// the moment.
void clear_references(const eti_verwijzing &v, int32_t label_no) {
    if (access((std::string(v.naam) + ".TXT").c_str(), F_OK) != 0) return;
    ICB *icb = IXOPEN(v.naam, 2);
    std::vector<uint8_t> rec((size_t)icb->hdr.reclen + 4, 0);
    IXSWITCH(icb, v.key);
    for (;;) {
        std::memset(rec.data(), 0, rec.size());
        std::memcpy(rec.data() + v.offset, &label_no, sizeof label_no);
        bool found = v.meer ? IXFIRSTR(icb, rec.data(), 1) : IXREADL(icb, rec.data());
        if (!found) break;
        IXDELETE(icb, rec.data());
        if (!v.meer) break;
    }
    IXSWITCH(icb, 1);
    IXCLOSE(icb);
}

} // namespace

bool etiket_verwijderen(int32_t label_no, etiket_rec *rec) {
    if (!ioeti('R', &label_no, rec)) return false; // the label current for D
    if (rec->status > ETI_NOTA) {
        aanv_rec a{rec->art_nr, rec->kleur, rec->volgnr, (uint32_t)label_no};
        if (IXREADL(dtaanv, &a)) IXDELETE(dtaanv, &a);
        for (const eti_verwijzing &v : eti_verwijzingen)
            clear_references(v, label_no);
        ioeti('R', &label_no, rec);
    }
    ioeti('D', &label_no, rec);
    int32_t *counter[] = {nullptr, &ser_buffer.ser_nota, &ser_buffer.ser_voorraad,
                          &ser_buffer.ser_verkocht, &ser_buffer.ser_correcties};
    if (rec->status <= ETI_CORRECTIES && counter[rec->status]) --*counter[rec->status];
    if (!ser_buffer.ser_maatreg) {
        char text[40];
        std::snprintf(text, sizeof text, "%05ld%03hu%04hu", (long)ser_buffer.art_nr,
                      ser_buffer.kleur, ser_buffer.volgnr);
        kasmut_schrijf(255, 255, 'g', text);
    }
    IXWRITEL(dtser, &ser_buffer);
    return true;
}

// The VAT code of a label's article: the one place where the label store
// reads the record store. One article is remembered, since a chain walk
// asks for the same article label after label.
#include "merch/ioeti.h"

#include "merch/stamrec.h"
#include "store/ix.h"

#include <unistd.h>

namespace {
ICB *g_art = nullptr; // the program's DTART handle, when it has one
bool g_cached = false;
uint32_t g_cached_art = 0;
int g_cached_code = 1;
} // namespace

void ioeti_use_art(ICB *icb) {
    g_art = icb;
    g_cached = false;
}

void ioeti_btw_forget() {
    g_cached = false;
}

int ioeti_btw_code(uint32_t art_nr) {
    if (g_cached && g_cached_art == art_nr) return g_cached_code;
    art_rec r{};
    r.art_nr = art_nr;
    bool found = false;
    ICB *icb = g_art;
    bool own = !icb && access("DTART.TXT", F_OK) == 0 && access("DTART.INX", F_OK) == 0;
    if (own) icb = IXOPEN("DTART", 0);
    if (icb) {
        int key = icb->blk.keynr;
        if (key != 1) IXSWITCH(icb, 1);
        found = IXREAD(icb, &r);
        if (key != 1 && key > 0) IXSWITCH(icb, key);
        if (own) IXCLOSE(icb);
    }
    g_cached = true;
    g_cached_art = art_nr;
    g_cached_code = found && r.btw_code >= 1 && r.btw_code <= 10 ? r.btw_code : 1;
    return g_cached_code;
}

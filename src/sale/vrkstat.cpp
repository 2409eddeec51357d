// The state of the sale entry: see vrkstat.h.
#include "sale/vrkstat.h"

vrk_staat vrk{};

void vrk_bon_nieuw() {
    vrk.regel_open = false;
    vrk.bon_gestart = false;
    vrk.in_groep = false;
    vrk.subtotaal_stuks = 0;
    vrk.subtotaal_bedrag = 0;
    vrk.btw_totaal = 0;
    vrk.verkoper_regel = vrk.verkoper;
}

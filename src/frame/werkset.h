// The tables and seams of the business modules that the main program sets
// up before its menu loop: the payment means tables, the settings of the
// turnover posting and the exchange files, the list of online tills, and
// the closing of a receipt (turnover posting; with tills, the removal of a
// paid sale on account).
#pragma once

void werkset_open();  // before the menu loop
void werkset_ronde(); // each pass: the turnover accumulators cleared
void werkset_sluit(); // on a normal leave

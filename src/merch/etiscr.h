// The label screens: changing a label by hand and the list of the labels of
// one status of a series, from which the caller's actions are chosen.
#pragma once

#include "merch/ioeti.h"

#include <cstdint>

// Size, received date (stock only) and prices of label label_no (read into
// *rec) of the series in ser_buffer, which the caller holds locked. Only
// labels in NOTA or VOORRAAD; a new size must lie in the price group of the
// old one. True when the label was written.
bool etiket_corrigeren(int32_t label_no, etiket_rec *rec);

// Which labels the list shows besides their status (0 / -1: any).
struct etilijst_filter {
    int maat = -1;
    uint16_t lev_nr = 0;
    uint16_t van = 0, tot = 0; // received (sold, corrected) between, both included
    int filiaal = -1;
};

// What the user may do with a chosen label; each asks "...? (J/N)" first,
// default no. The list locks the series for a removal or a change.
struct etilijst_acties {
    bool verwijderen = false;                                    // "Etiket verwijderen"
    bool corrigeren = false;                                     // "Etiket corrigeren"
    bool (*retour)(int32_t label_no, etiket_rec *rec) = nullptr; // "Etiket retour naar voorraad"
    bool selecteren = false; // "Etiket selecteren": ends the list
    char rechten = ' ';      // 'I': purchase prices are not shown
};

// "Etiketten NOTA" (VOORRAAD, VERKOPEN, CORRECTIES): the labels of status
// `status` of the series in ser_buffer, paged with PGDN and PGUP, a label
// chosen with UP, DOWN and ENTER, left with CANCEL or ESC. Returns the
// label chosen with "Etiket selecteren", else 0.
int32_t etiket_lijst(int status, const etilijst_filter &filter, const etilijst_acties &acties);

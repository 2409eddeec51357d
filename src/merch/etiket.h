// Changes to single labels outside a sale: removing a label from the
// system, and changing its size, dates and prices by hand (etiscr.h holds
// the dialog).
#pragma once

#include "merch/ioeti.h"

// Removes label label_no (read into *rec) of the series in ser_buffer,
// whose DTSER record the caller holds locked: a label beyond an order
// (status above 1) is first taken out of the files that refer to it
// (DTAANV, and when present DTIO, DTONTV, DTGO, DTFIN); then the slot is
// cleared, the series' counter of the status goes down, the offline tills
// hear of it (KASMUT 'g', series without size registration) and the series
// is written, the lock kept. False when the label is not there.
bool etiket_verwijderen(int32_t label_no, etiket_rec *rec);

// The files beside the label store that hold label numbers, and where: the
// key the label is searched on and the offset of the label number, which is
// that key's first field.
struct eti_verwijzing {
    const char *naam;
    int key;
    int offset;
    bool meer; // more than one record per label
};
extern const eti_verwijzing eti_verwijzingen[4]; // DTIO, DTONTV, DTGO, DTFIN

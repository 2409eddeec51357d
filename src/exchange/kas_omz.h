// Turnover posting: what happened at the tills goes into DTOMZET (omzrec.h).
//
// Every booked sale line feeds the records per seller and group ('V', 'G')
// at once (omz_regel) and the receipt's accumulators (omz_tel); at the end of
// the receipt omz_bon writes the accumulators: per action code, VAT code,
// payment slot, seller and hour. The back office posts a closed receipt from
// its BON file in one go (omz_bon_uit_bon, run by vrkbon_close through the
// hook the main program installs); journal processing calls the pieces.
//
// Each counter update is one record: cleared buffer, key fields, IXREADL
// (the old counters when the record exists, zeros when not), add, IXWRITE.
// The lock is held from the read to the write only, so tills post at the
// same moment. DTOMZET is opened by the caller (omz_open, mode 2) and kept
// in the global handle omz_icb.
//
// A receipt is cancelled when the text of its T starts with "Bon" and holds
// "geannuleerd" at position 9 or later: it counts -1 receipt instead of +1.
//
// The cost price of a line comes from the merchandise files (articles,
// series, labels, EAN codes). The merchandise module hands them in through
// omz_set_waren; until then a line posts with the turnover group it carries
// and counts as a line of unknown cost.
#pragma once

#include "exchange/omzrec.h"
#include "sale/iojrn.h"

#include <cstdint>

struct ICB;

extern ICB *omz_icb; // DTOMZET, opened by omz_open

// The receipt's accumulators.
struct omz_accu {
    int32_t btw[11][2];   // amount, excl. amount; by VAT code of the line
    int32_t actie[10][3]; // recommended value, sold, returned; by action code
    int32_t bon[5];       // recommended value, sold, returned, pieces sold, pieces returned
    int32_t vkp[1000];    // amount per seller of the line
    uint8_t vkp_used[1000];
    int32_t betaling[164]; // payment slots: 0 cash, 1..160 from B records
    int32_t overdracht[2]; // till transfers: credit vouchers received, issued
    int32_t kas_a, kas_b, op_rekening, gefactureerd; // from the T record
};
extern omz_accu omz_acc;

// The merchandise lookups of the line posting; each returns found. Codes
// are the line's invoer: 13 bytes, not terminated when they fill it.
struct omz_ean {
    char soort;      // 'M' series and size, 'A' article
    uint32_t nummer; // article of the series, or article number
    uint16_t kleur, volgnr;
    uint8_t maat;
};
struct omz_etiket {
    uint32_t nummer;
    uint32_t art_nr;
    uint16_t kleur, volgnr;
    uint8_t maat;
    uint8_t status; // 1 nota, 2 stock, 3 sold, 4 correction
    uint8_t filiaal;
    uint16_t verkocht_op;
    int32_t inkoopprijs;
    int32_t verkoopprijs;
    uint32_t klant_nr;
};
struct omz_waren {
    bool (*ean)(const char *code, omz_ean *out);
    // The label whose number an entered code holds (series/size lines).
    bool (*etiket_van_invoer)(const char *invoer, omz_etiket *out);
    bool (*etiket)(uint32_t nummer, omz_etiket *out);
    bool (*serie_maatreg)(uint32_t art_nr, uint16_t kleur, uint16_t volgnr, bool *maatreg);
    bool (*artikel_groep)(uint32_t art_nr, uint16_t *omzetgroep);          // DTART
    bool (*artikel_rij)(uint32_t artikel, uint16_t *groep, int32_t *kost); // DTARTREG
    // The labels of a series in chain order: f for each until it returns false.
    void (*etiketten)(uint32_t art_nr, uint16_t kleur, uint16_t volgnr,
                      bool (*f)(const omz_etiket &e, void *ctx), void *ctx);
    // Description of a turnover group (invoice lines).
    bool (*groep_naam)(uint16_t groep, char *out, int size);
};
void omz_set_waren(const omz_waren *w); // null: none
const omz_waren *omz_get_waren();

void omz_open();  // DTOMZET mode 2 into omz_icb, when not open
void omz_close(); // closes omz_icb

void omz_wis();                      // clears all accumulators
void omz_betaling_t(const jrn_t &t); // cash, kas_a, kas_b, on account, invoiced
void omz_betaling_b(const jrn_b &b); // a B record into the payment accumulators

// The line in c->regel of the receipt in c->h; type 'V', 'R' (others post
// nothing but the records' existence); stuks: pieces to post.
void omz_regel(jrn_cursor *c, char type, int stuks);
void omz_tel(const jrn_regel &r, char type);
// Writes the accumulators; the payments (omz_betaling_t and _b) with
// met_betaling; the hour record with met_uur. The receipt: c->h, and c->t
// for the cancelled test.
void omz_bon(jrn_cursor *c, bool met_betaling, bool met_uur);
// A U record (c->u) of the receipt in c->h: 'F' of its slot, tel1.
void omz_betaling(jrn_cursor *c);
// The closed receipt of branch from its BON file, with the invoice lines.
void omz_bon_uit_bon(int branch);
// Takes a sold line (c->regel of the receipt c->h) out of the turnover:
// posted as a return of all its pieces, with the label's purchase price as
// cost. Opens and closes DTOMZET itself.
void omz_storno(jrn_cursor *c);

bool omz_bon_geannuleerd(const jrn_t &t);
int32_t btw_excl(int32_t bedrag, int btw); // btw in tenths of a percent

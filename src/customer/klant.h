// Customer rules that the sale, the journal processing and the customer
// screens share: the counters that a booked label moves, the first and last
// purchase dates and the statistics of the year, the customer's label list,
// the numbering rules, the change stamp, and the lookups with the one-record
// buffer of the master file.
//
// Statistics. The three pairs of counters (amount and pieces of sales of
// action kind 0, of other kinds, of kind 9) count the sales of one calendar
// year: the year of laatste_aankoop. A sale on a day of a later year first
// rolls the statistics to that year: the counters start from zero. A return
// takes its label's sale out again only when that sale lies in the year the
// counters hold; a sale of a year that is already rolled away is no longer
// in them. A customer without laatste_aankoop (written before it was kept)
// keeps his counters at the first roll.
//
// Label list. Every label sold to a customer carries the customer's number
// and a link to the label sold to him before (klant_volgend in the label
// store); etiket_kop in the customer record is the latest. The label store
// belongs to the merchandise module, so the walk of the list goes through
// two small functions of the caller (klt_keten).
#pragma once

#include "customer/kltrec.h"

#include <cstddef>
#include <cstdint>

struct ICB;

// The customer record in hand (the master file's one-record buffer).
extern klt_rec klt_buffer;

// Index of the counter pair of an action code: 0, 9, or any other.
int klt_soort(int actie);

// The first date rule: a customer without sales (etiket_kop 0 and the three
// counts 0), or a day before his first date, takes `datum` as first date.
void klt_eerste_datum(klt_rec &k, uint16_t datum);

// Brings the statistics to `datum`: a later year zeroes the counters, and
// laatste_aankoop moves up to datum. True when the year rolled.
bool klt_rol(klt_rec &k, uint16_t datum);

// A label of action `actie` sold (teken +1) or taken back (teken -1) for
// `bedrag` (the label's verkoopprijs). datum: the sale's day; for a return
// the day the label was sold. True when the counters moved.
bool klt_boek(klt_rec &k, int actie, int teken, int32_t bedrag, uint16_t datum);

// The end of a receipt on a customer (the record held locked by the caller
// with IXREADL): when datum lies after the last purchase, the record is read
// again, rolled to datum and written (IXWRITE, which releases it). False
// when there was nothing to write: the caller then unlocks.
bool klt_bon_afsluiten(ICB *icb, klt_rec *k, uint16_t datum);

// The label list.
struct klt_keten {
    uint32_t (*volgend)(uint32_t label, void *ctx);                   // klant_volgend of a label
    void (*zet_volgend)(uint32_t label, uint32_t volgend, void *ctx); // writes it
    void *ctx;
};
// Puts label at the head: *label_volgend gets the old head.
void klt_koppel(klt_rec &k, uint32_t label, uint32_t *label_volgend);
// Takes label (whose own link is label_volgend) out of the list. False when
// it is not in the list (the list is left as it is); a list that runs in a
// circle is walked at most KLT_KETEN_MAX steps.
constexpr int KLT_KETEN_MAX = 100000;
bool klt_ontkoppel(klt_rec &k, uint32_t label, uint32_t label_volgend, const klt_keten &keten);

// Numbers. Valid: 1 to 999,999. The numbering rule is byte 1 of the first
// mark-table record of the system file (0 counts as 1):
//   1 on from the last added number (system record 3) to the first free one
//   2 the lowest free number
//   3 above the highest number; 999,999 itself when that exists
// The result may be in use or above 999,999: the caller tests it.
inline bool klt_nummer_geldig(int64_t n) {
    return n >= 1 && n <= KLT_MAX;
}
int klt_nummer_regel();                     // from the system file (iosys open)
int32_t klt_laatst_toegevoegd();            // system record 3
void klt_zet_laatst_toegevoegd(int32_t nr); // locks record 3, writes, unlocks
int64_t next_customer_number(ICB *icb, int regel, int32_t laatste);

// A fresh record: number, first date `vandaag`, mailing "Post en e-mail",
// blank marks. The record a journal processing makes for an unknown number
// has 15 stars for a name and the country of the system.
void klt_nieuw(klt_rec &k, int32_t kltnr, uint16_t vandaag);
void klt_onbekend(klt_rec &k, int32_t kltnr, uint16_t vandaag, const char *land);

// Change stamp: locks fixed system record 8, copies its u16 at offset 4,
// unlocks.
void klt_stempel(klt_rec &k);

// Lookups. lees_klant reads customer kltnr into *k with the open handle, and
// does nothing when kltnr is nonzero and already in *k. The _tijdelijk form
// opens DTKLT read-only for the call. Both return found.
bool lees_klant(ICB *icb, klt_rec *k, int32_t kltnr);
bool lees_klant_tijdelijk(klt_rec *k, int32_t kltnr);

// The customer as the receipt shows him: title (system file), the two name
// parts and the surname, "%-.20s %-.8s %-.8s %-.30s" trimmed of blanks.
void klt_naam_tekst(const klt_rec &k, char *out, size_t size);

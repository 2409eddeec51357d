// The payment means tables of the tills: their names for reports, their slot
// in the turnover accumulators, and the list to choose means from
// (kas_betmscr.h). The sale entry of this program takes no payment itself;
// the B and U records of till journals refer to these tables.
//
// DTBETM.TXT, delivered by the suite's till set-up. On disk: never renumber.
// A run of tagged records of 29 bytes: one letter, then a 28-byte entry.
// The file holds the tables at full capacity, 160 records, 4640 bytes:
//
//   letter  kind  capacity  entry
//   'Q'      1      30      cheques           0 char[22] naam, scrambled
//   'A'      2      30      credit cards     22 u8       in_gebruik: offered in lists
//   'P'      3      30      debit cards      23 u8[5]    not read here
//   'W'      4      30      vouchers
//   'O'      5      30      other
//   'M'   mapping   10      bytes 0 and 1: letter and number of another means
//
// Loading stops at a letter that is none of these, or at a letter other than
// 'M' behind an 'M' record; what was read stands. An entry whose name is
// empty after unscrambling is not counted: the next record takes its number.
// From offset 4640 an optional block of 60 bytes per means number follows
// (betm_extra).
//
// DTBETMX.TXT: five texts of 20 bytes in a row.
//
// Two numberings of means exist. The letter form ("QAPWOV", 'V' foreign
// currency with the codes of KASPARM.TXT at offset 180, and 'F', 'R', 'T')
// counts from 0 within a table; the journal form (betm_soort 0..9 of B and U
// records) counts from 1. The letters are translated by the catalogue: the
// fixed set "QAPWOVM FRT" has the local letters at the same places.
//
// Slots of the turnover accumulators: 0 cash; kind k (1..5), journal number n
// gives k*30 + n - 30 (1..150); currencies 151..160; 161 on account, 162
// invoiced, 163 credit vouchers received (the till transfers). Results are
// taken in a byte, as the suite does, so out-of-range numbers wrap.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int BETM_SOORTEN = 5;     // tables Q A P W O
constexpr int BETM_CAPACITEIT = 30; // entries per table
constexpr int BETM_MAP = 10;        // entries of the 'M' mapping
constexpr int BETM_RECORD = 29;     // letter + entry
constexpr long BETM_EXTRA_OFFSET = 4640;
constexpr int BETM_EXTRA = 60;  // bytes of the optional block per number
constexpr int BETM_SLOTS = 256; // every slot a byte can name

#pragma pack(push, 1)
struct betm_entry {
    char naam[22];      // unscrambled at load
    uint8_t in_gebruik; // offered in the selection list
    uint8_t res23[5];
};
#pragma pack(pop)
static_assert(sizeof(betm_entry) == 28);
static_assert(sizeof(betm_entry) * BETM_CAPACITEIT == 840);
static_assert(offsetof(betm_entry, in_gebruik) == 22);

// Loads DTBETM.TXT and DTBETMX.TXT (missing files and no memory are fatal,
// tag "kas_betm"), and the currency codes of KASPARM.TXT when it is there.
void betm_laad();
void betm_vrij();
bool betm_geladen();

// Entries counted in table kind 1..5 (0 for other kinds or before loading),
// and entry i (0-based) of it, or null.
int betm_aantal(int kind);
const betm_entry *betm_entry_van(int kind, int i);
int betm_map_aantal();
// Currency code of number i (0-based) in KASPARM.TXT; "" when unused.
const char *betm_valuta(int i);
// Text i (0..4) of DTBETMX.TXT.
const char *betm_xtekst(int i);

// The block of number (1-based) behind the tables: 15 words, zeroed first.
// False when the file has no such block.
bool betm_extra(int number, void *buffer);

// Name by letter form (fixed letters), number from 0: the entry's name;
// 'F' "Facturering", 'R' "Op rekening", 'T' "Tegoedbon", 'V' the currency
// code; 'M' follows its mapping, "contant" when that is empty. "" otherwise.
const char *betm_naam(char letter, int number);
// Name by journal numbers (kind 0..9, number from 1).
const char *betm_naam_nr(int kind, int number);
// "Contant", "Cheques", ... "Tegoedbon" for kinds 0..9; "" otherwise.
const char *betm_soort_naam(int kind);

// Slot in the turnover accumulators, by letter form and by journal form.
int betm_slot(char letter, int number);
int betm_slot_nr(int kind, int number);

// The local letter of a fixed letter and back; a letter outside the set
// comes back unchanged.
char betm_letter_lokaal(char vast);
char betm_letter_vast(char lokaal);

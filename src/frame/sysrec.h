// The suite's system file DTSYS.TXT, the branch file DTFILGEG.TXT and the till
// parameter block KASPARM.TXT: their maps and the records this program reads.
// On disk: never renumber, never move a field. All records are memory images,
// packed and little-endian, texts NUL-padded.
//
// DTSYS.TXT is a set of fixed-length tables at fixed offsets; record n of a
// table lies at base + (n-1) * length, numbers from 1.
//
//   base    length  records  content
//   0         64      25     fixed records (1 company, 3 last customer number,
//                            4 label store head, 7 picture directories,
//                            8 copy values, 10 release, 15 country, 20 ...)
//   2000      32      20     titles of address
//   2640      64      99     users
//   10416     30     1+9     code table kind 1 (title, codes 1..9); kinds 2..4
//                            follow at +300 each
//   11616     64      30     mark tables of the customer subsystem
//   13536      1    branch   journal lock bytes (13536 + branch), lock only
//   14880     36      99     currencies
//   18444     20     999     colours
//   40008     15       8     mark table titles
//   40085      1   16 x 99   batch lock bytes (40085 + function*99 + user-1)
//   42780     20      99     size systems
//   44760     20      99     size kinds
//   46900     28      99     table read whole at need
//   49672     68     100     label kinds
//   65460     20     100     per user group: groep*10 + n
//   67460     52     100     per user group: groep*10 + n + 1
//   111468    64      99     action periods
//   117804    52      99     branch sets
#pragma once

#include <cstddef>
#include <cstdint>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records are little-endian memory images");

namespace sysmap {
struct Table {
    long base;
    int length;
    long limit;
};
constexpr Table FIXED{0, 64, 25};
constexpr Table ADDRESS_TITLES{2000, 32, 20};
constexpr Table USERS{2640, 64, 99};
constexpr Table CODE_TITLE[4] = {{10416, 30, 1}, {10716, 30, 1}, {11016, 30, 1}, {11316, 30, 1}};
constexpr Table CODES[4] = {{10446, 30, 9}, {10746, 30, 9}, {11046, 30, 9}, {11346, 30, 9}};
constexpr Table MARKS{11616, 64, 30};
constexpr long JOURNAL_LOCKS = 13536;
constexpr Table CURRENCIES{14880, 36, 99};
constexpr Table COLOURS{18444, 20, 999};
constexpr Table MARK_TITLES{40008, 15, 8};
constexpr long BATCH_LOCKS = 40085;
constexpr Table SIZE_SYSTEMS{42780, 20, 99};
constexpr Table SIZE_KINDS{44760, 20, 99};
constexpr Table TABLE_46900{46900, 28, 99};
constexpr Table LABEL_KINDS{49672, 68, 100};
constexpr Table GROUP_SMALL{65460, 20, 100};
constexpr Table GROUP_LARGE{67460, 52, 100};
constexpr Table ACTIONS{111468, 64, 99};
constexpr Table BRANCH_SETS{117804, 52, 99};
constexpr long FILE_SIZE = 117804 + 52 * 99; // end of the last table

// Fixed record numbers.
constexpr long REC_COMPANY = 1, REC_CUSTNR = 3, REC_LABELHEAD = 4, REC_PICTURES = 7,
               REC_COPY = 8, REC_RELEASE = 10, REC_COUNTRY = 15, REC_20 = 20;
} // namespace sysmap

#pragma pack(push, 1)

// Fixed record 1: the company and the flags that switch functions on and off.
struct sys_bedrijf {
    char bedrijf[30];      //  0 company name, printed on reports
    uint8_t vlag1;         // 30 1 customers, 2 sales on customers, 4 tills/journals, 8 second till map
    uint8_t vlag2;         // 31 1 data communication with branches
    uint8_t vlag3;         // 32 2 invoice file, 4 extra stock column, 16 customer counters
    uint8_t res33;         // 33
    uint8_t artikel_breedte; // 34 4 = four-position article numbers, else five
    uint8_t kleur_breedte; // 35 2 = two-position colour numbers, else three
    uint8_t res36[3];      // 36
    uint8_t aantal_fil;    // 39 number of branches; 1 hides branch questions
    uint8_t res40;         // 40
    uint8_t maatsoort;     // 41 default size kind
    int16_t btw_tarief[11]; // 42 VAT per code in tenths of a percent
};
static_assert(sizeof(sys_bedrijf) == 64);
static_assert(offsetof(sys_bedrijf, vlag1) == 30 && offsetof(sys_bedrijf, vlag3) == 32);
static_assert(offsetof(sys_bedrijf, artikel_breedte) == 34 && offsetof(sys_bedrijf, kleur_breedte) == 35);
static_assert(offsetof(sys_bedrijf, aantal_fil) == 39 && offsetof(sys_bedrijf, maatsoort) == 41);
static_assert(offsetof(sys_bedrijf, btw_tarief) == 42);

// Fixed record 10: the release of the files.
struct sys_release {
    uint8_t res0[58];
    char release[5]; // 58 "8.70 "
    uint8_t res63;
};
static_assert(sizeof(sys_release) == 64 && offsetof(sys_release, release) == 58);

// Fixed record 15: country.
struct sys_land {
    char valuta[3];         //  0 home currency, into each journal header
    char land[3];           //  3 "NLD" switches on the KIX code
    uint8_t etiket_breedte; //  6 6: 999999, 8: 29999999, else 9999999
    uint8_t code_vlag;      //  7
    uint8_t res8[4];        //  8
    uint8_t filiaalselectie; // 12 2 = branch sets always with a list
    uint8_t res13[6];       // 13
    uint8_t kasmut_vlag;    // 19
    uint8_t res20;          // 20
    uint8_t ean_aantal;     // 21 set = ean_prefix in use
    char ean_prefix[9][4];  // 22 own EAN prefixes
    uint8_t res58[6];       // 58
};
static_assert(sizeof(sys_land) == 64);
static_assert(offsetof(sys_land, etiket_breedte) == 6 && offsetof(sys_land, filiaalselectie) == 12);
static_assert(offsetof(sys_land, kasmut_vlag) == 19 && offsetof(sys_land, ean_aantal) == 21);
static_assert(offsetof(sys_land, ean_prefix) == 22);

// Fixed record 7: picture directories.
struct sys_plaatjes {
    char dos_pad[25];  //  0 with back-slashes
    uint8_t in_gebruik; // 25
    char unix_pad[25]; // 26 with slashes
    uint8_t res51[13];
};
static_assert(sizeof(sys_plaatjes) == 64 && offsetof(sys_plaatjes, unix_pad) == 26);

// A user record.
struct sys_gebruiker {
    char naam[18];          //  0 scrambled
    char printer[4];        // 18 default print destination
    char tty[6];            // 22 terminal without "tty"/"pts"
    uint16_t printer_optie; // 28
    uint8_t res30[8];       // 30
    uint8_t status;         // 38 0 free, 1 at work, 2 handing over, 10/11 critical update
    char rechten;           // 39 'I' look only, 'S' supervisor
    int32_t tijdstip;       // 40 time() of the last hand-over
    uint16_t menu_positie;  // 44
    uint8_t res46[2];       // 46
    char programma[10];     // 48 program the user is in or handing over to
    uint16_t werkdatum;     // 58 work date (day number)
    uint16_t menu_vorig;    // 60
    uint8_t groep;          // 62
    uint8_t res63;          // 63
};
static_assert(sizeof(sys_gebruiker) == 64);
static_assert(offsetof(sys_gebruiker, printer) == 18 && offsetof(sys_gebruiker, tty) == 22);
static_assert(offsetof(sys_gebruiker, printer_optie) == 28 && offsetof(sys_gebruiker, status) == 38);
static_assert(offsetof(sys_gebruiker, rechten) == 39 && offsetof(sys_gebruiker, tijdstip) == 40);
static_assert(offsetof(sys_gebruiker, menu_positie) == 44 && offsetof(sys_gebruiker, programma) == 48);
static_assert(offsetof(sys_gebruiker, werkdatum) == 58 && offsetof(sys_gebruiker, menu_vorig) == 60);
static_assert(offsetof(sys_gebruiker, groep) == 62);

// User status values.
enum : uint8_t { US_FREE = 0, US_WORK = 1, US_HANDOVER = 2, US_CRITICAL = 10, US_REBUILD = 11 };

// An action period.
struct sys_actie {
    uint16_t vanaf;        //  0 first day
    uint16_t tot;          //  2 last day
    uint8_t actiecode;     //  4
    uint8_t filialen[32];  //  5 bit b of byte n is branch n*8+b
    char omschrijving[27]; // 37
};
static_assert(sizeof(sys_actie) == 64 && offsetof(sys_actie, filialen) == 5);
static_assert(offsetof(sys_actie, omschrijving) == 37);

// Is the action valid for a sale on `datum` in `filiaal`? One test for sale
// entry and journal processing alike.
bool actie_geldig(const sys_actie &a, uint16_t datum, int filiaal);

// DTFILGEG.TXT: one record per slot; slot 0 is the central record.
struct fil_rec {
    char naam[32];         //   0 scrambled branch name (slot 0: company name)
    uint8_t res32[276];    //  32
    uint8_t kas_modus;     // 308 above 1: the branch has tills of its own
    uint8_t kassa_map[13]; // 309 bit per till 1..99
    uint8_t kassa_map2[13]; // 322 second map (counts with vlag1 & 8)
    uint8_t res335[277];   // 335
};
static_assert(sizeof(fil_rec) == 612);
static_assert(offsetof(fil_rec, kas_modus) == 308 && offsetof(fil_rec, kassa_map) == 309);
static_assert(offsetof(fil_rec, kassa_map2) == 322);

// KASPARM.TXT: till parameters, read whole at the start of sale entry.
struct kas_ontvangst {
    uint8_t res0[12];
    char tekst[12]; // 12 description of a received amount (runs on into the next row)
};
static_assert(sizeof(kas_ontvangst) == 24);

struct kas_parm {
    uint8_t res0[104];
    uint16_t bonnummer;            //  104 receipt number of back-office H records
    uint8_t res106[74];            //  106
    char valuta[25][4];            //  180 payment currencies, empty = unused
    uint8_t res280[1448];          //  280
    kas_ontvangst ontvangst[20];   // 1728 received amounts 11..30
    uint8_t res2208[79];           // 2208
    uint8_t veld2287;              // 2287 set to vlag1 bit 2 at the start of sale entry
    uint8_t res2288[32];           // 2288
    char extra_letters[16];        // 2320 letters that may start an entered number
};
static_assert(sizeof(kas_parm) == 2336);
static_assert(offsetof(kas_parm, bonnummer) == 104 && offsetof(kas_parm, valuta) == 180);
static_assert(offsetof(kas_parm, ontvangst) == 1728 && offsetof(kas_parm, veld2287) == 2287);
static_assert(offsetof(kas_parm, extra_letters) == 2320);

#pragma pack(pop)

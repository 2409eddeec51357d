// The payment means tables: see kas_betm.h.
#include "sale/kas_betm.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/osfile.h"
#include "base/scramble.h"
#include "frame/iosys.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>

namespace {

constexpr const char *VAST = "QAPWOVM FRT"; // the fixed letters
constexpr const char *SOORTEN = "QAPWO";    // tables 1..5
constexpr const char *NAAM = "DTBETM.TXT";
constexpr const char *NAAM_X = "DTBETMX.TXT";

// The loaded tables; allocated by betm_laad, as the suite's tills expect
// the tables to be of full size whatever the file holds.
struct Tabellen {
    betm_entry *tabel[BETM_SOORTEN] = {};
    int aantal[BETM_SOORTEN] = {};
    betm_entry *map = nullptr;
    int map_aantal = 0;
    char valuta[25][4] = {};
    char xtekst[5][21] = {};
};
Tabellen *g = nullptr;

int soort_van(char letter) {
    const char *p = letter ? std::strchr(SOORTEN, letter) : nullptr;
    return p ? (int)(p - SOORTEN) + 1 : 0;
}

void lees_x() {
    int fd = nv::os::open_shared(NAAM_X, O_RDONLY);
    if (fd < 0) open_fatal("kas_betm", NAAM_X);
    char buf[100] = {};
    ssize_t n = nv::os::pread_full(fd, buf, sizeof buf, 0);
    nv::os::close_shared(fd);
    for (int i = 0; i < 5; ++i)
        if (n > i * 20) std::memcpy(g->xtekst[i], buf + i * 20, 20);
}

// One entry of a table: the name unscrambled; an empty name isn't counted.
void neem(int soort, const char *rec) {
    betm_entry e;
    std::memcpy(&e, rec, sizeof e);
    char naam[sizeof e.naam + 2] = {};
    std::memcpy(naam, e.naam, sizeof e.naam);
    UNSCRAMBLE(naam);
    if (!naam[0] || g->aantal[soort - 1] >= BETM_CAPACITEIT) return;
    std::memset(e.naam, 0, sizeof e.naam);
    std::memcpy(e.naam, naam, strnlen(naam, sizeof e.naam - 1));
    g->tabel[soort - 1][g->aantal[soort - 1]++] = e;
}

void lees_tabellen() {
    int fd = nv::os::open_shared(NAAM, O_RDONLY);
    if (fd < 0) open_fatal("kas_betm", NAAM);
    static char buf[BETM_EXTRA_OFFSET];
    ssize_t n = nv::os::pread_full(fd, buf, sizeof buf, 0);
    nv::os::close_shared(fd);
    char vorige = 0;
    for (long off = 0; n > 0 && off + BETM_RECORD <= n; off += BETM_RECORD) {
        char letter = buf[off];
        const char *rec = buf + off + 1;
        if (vorige == 'M' && letter != 'M') break;
        if (letter == 'M') {
            if (g->map_aantal < BETM_MAP) std::memcpy(&g->map[g->map_aantal++], rec, 28);
        } else if (int s = soort_van(letter)) {
            neem(s, rec);
        } else {
            break;
        }
        vorige = letter;
    }
}

const char *catt(int nr, const char *dflt) {
    return DET(5, nr, dflt);
}

} // namespace

void betm_laad() {
    betm_vrij();
    g = new (std::nothrow) Tabellen;
    if (!g) mem_fatal("kas_betm", 1);
    for (int i = 0; i < BETM_SOORTEN; ++i) {
        g->tabel[i] = (betm_entry *)std::calloc(BETM_CAPACITEIT, sizeof(betm_entry));
        if (!g->tabel[i]) mem_fatal("kas_betm", i + 1);
    }
    g->map = (betm_entry *)std::calloc(BETM_MAP, sizeof(betm_entry));
    if (!g->map) mem_fatal("kas_betm", 6);
    lees_tabellen();
    lees_x();
    kas_parm *k = new (std::nothrow) kas_parm;
    if (k && kasparm_read(k))
        for (int i = 0; i < 25; ++i)
            std::memcpy(g->valuta[i], k->valuta[i], 3);
    delete k;
}

void betm_vrij() {
    if (!g) return;
    for (auto *t : g->tabel)
        std::free(t);
    std::free(g->map);
    delete g;
    g = nullptr;
}

bool betm_geladen() {
    return g != nullptr;
}

int betm_aantal(int kind) {
    return g && kind >= 1 && kind <= BETM_SOORTEN ? g->aantal[kind - 1] : 0;
}

const betm_entry *betm_entry_van(int kind, int i) {
    if (i < 0 || i >= betm_aantal(kind)) return nullptr;
    return &g->tabel[kind - 1][i];
}

int betm_map_aantal() {
    return g ? g->map_aantal : 0;
}

const char *betm_valuta(int i) {
    return g && i >= 0 && i < 25 ? g->valuta[i] : "";
}

const char *betm_xtekst(int i) {
    return g && i >= 0 && i < 5 ? g->xtekst[i] : "";
}

bool betm_extra(int number, void *buffer) {
    std::memset(buffer, 0, BETM_EXTRA);
    if (number < 1) return false;
    int fd = nv::os::open_shared(NAAM, O_RDONLY);
    if (fd < 0) return false;
    ssize_t n = nv::os::pread_full(fd, buffer, BETM_EXTRA,
                                   BETM_EXTRA_OFFSET + (long)(number - 1) * BETM_EXTRA);
    nv::os::close_shared(fd);
    if (n == BETM_EXTRA) return true;
    std::memset(buffer, 0, BETM_EXTRA);
    return false;
}

const char *betm_naam(char letter, int number) {
    if (int s = soort_van(letter)) {
        const betm_entry *e = betm_entry_van(s, number);
        return e ? e->naam : "";
    }
    switch (letter) {
    case 'F':
        return catt(921, "Facturering");
    case 'R':
        return catt(922, "Op rekening");
    case 'T':
        return catt(923, "Tegoedbon");
    case 'V':
        return betm_valuta(number);
    case 'M': {
        if (!g || number < 0 || number >= g->map_aantal || !g->map[number].naam[0] ||
            g->map[number].naam[0] == 'M')
            return catt(924, "contant");
        return betm_naam(g->map[number].naam[0], (uint8_t)g->map[number].naam[1]);
    }
    default:
        return "";
    }
}

const char *betm_soort_naam(int kind) {
    static const char *const dflt[10] = {"Contant",      "Cheques",  "Credit-cards", "Pin",
                                         "Waardebonnen", "Overig",   "Valutacodes",  "Op rekening",
                                         "Facturering",  "Tegoedbon"};
    return kind >= 0 && kind <= 9 ? catt(930 + kind, dflt[kind]) : "";
}

const char *betm_naam_nr(int kind, int number) {
    if (kind >= 1 && kind <= BETM_SOORTEN) return betm_naam(SOORTEN[kind - 1], number - 1);
    if (kind == 6) return betm_valuta(number - 1);
    if (kind == 9 && number == 1) return catt(925, "Tegoedbon ontvangen");
    if (kind == 9 && number == 2) return catt(926, "Tegoedbon uitgedeeld");
    return betm_soort_naam(kind);
}

int betm_slot(char letter, int number) {
    if (int s = soort_van(letter)) return ((s - 1) * BETM_CAPACITEIT + number + 1) & 255;
    switch (letter) {
    case 'V':
        return (number - 105) & 255;
    case 'R':
        return 161;
    case 'F':
        return 162;
    case 'T':
        return 163;
    default:
        return 0;
    }
}

int betm_slot_nr(int kind, int number) {
    if (kind >= 1 && kind <= BETM_SOORTEN) return (kind * BETM_CAPACITEIT + number - 30) & 255;
    switch (kind) {
    case 6:
        return (number - 106) & 255;
    case 7:
        return 161;
    case 8:
        return 162;
    case 9:
        return (number - 94) & 255;
    default:
        return 0;
    }
}

namespace {
// The catalogue's letters at the places of the fixed set.
const char *lokaal() {
    const char *l = DET(5, 920, VAST);
    return std::strlen(l) == std::strlen(VAST) ? l : VAST;
}
} // namespace

char betm_letter_lokaal(char vast) {
    const char *p = vast ? std::strchr(VAST, vast) : nullptr;
    return p ? lokaal()[p - VAST] : vast;
}

char betm_letter_vast(char lok) {
    const char *l = lokaal();
    const char *p = lok ? std::strchr(l, lok) : nullptr;
    return p ? VAST[p - l] : lok;
}

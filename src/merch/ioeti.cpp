// The label store: see ioeti.h for the file.
//
// Actions of ioeti (all but O and C need the open file):
//   O  open DTETI.TXT read/write (fatal when already open or when it fails),
//      read the settings; the cursor belongs to no block, no series bound
//   C  close; the user's status byte becomes 1
//   R  read label *label_no: 1 when it exists. The label's block and slot
//      become current, also when the slot is free. A number beyond the file
//      or above the highest label is simply not found
//   F  *label_no is a block (a chain head): its first used slot, else as N
//   N  the next used slot along the chain; 0 at the end (the last block
//      stays current)
//   W  pack rec and write it. *label_no 0: the first free slot of the
//      current chain, a new block at its tail when none is free; the number
//      comes back in *label_no
//   I  a block from the free chain or from the end of the file, linked
//      behind the current block when that is the tail of rec's series;
//      *label_no := its first label. Result 0
//   D  clear the current label: 0; when *label_no is not the current label
//      nothing happens and the result is 1
//   X  abort: fatal
//
// Every change is written at once; the buffer never holds anything that is
// not on disk. That is why moving to another block does not write the old
// one back: a block read without the series' lock may meanwhile have been
// changed by another process.
#include "merch/ioeti.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/osfile.h"
#include "frame/iosys.h"
#include "merch/stamrec.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

char g_file[256] = "DTETI.TXT";

int g_fd = -1;
int32_t g_block = -1; // current block
int g_slot = 0;       // current slot
eti_blok g_buf;       // the current block as it is on disk
bool g_valid = false; // g_buf holds g_block
char g_action = ' ';  // last action, for the trace line
bool g_bound = false;
eti_kop g_bind{};    // key of the bound series
long g_user = 0;     // user record to mark, 0 none
int g_hops = 0;      // blocks walked since the last R or F
int g_hop_limit = 0; // blocks in the file when last looked

// Settings from the system file, read at open.
bool g_transit = false;
int g_breedte = 7;
int16_t g_btw[11] = {};

bool read_fixed(long nr, void *buf) {
    if (iosys_fd() < 0) return false;
    return iosys('R', &nr, buf, sysmap::FIXED);
}

void load_settings() {
    sys_bedrijf b{};
    if (read_fixed(sysmap::REC_COMPANY, &b)) std::memcpy(g_btw, b.btw_tarief, sizeof g_btw);
    sys_land land{};
    if (read_fixed(sysmap::REC_COUNTRY, &land)) g_breedte = land.etiket_breedte;
    uint32_t rec20[16] = {};
    g_transit = read_fixed(sysmap::REC_20, rec20) && rec20[0] != 0;
}

int32_t highest_block() {
    switch (g_breedte) {
    case 6:
        return 99999;
    case 8:
        return 2999999;
    default:
        return 999999;
    }
}

void user_status(uint8_t status) {
    if (g_user <= 0 || iosys_fd() < 0) return;
    sys_gebruiker u{};
    long nr = g_user;
    if (!iosys('R', &nr, &u, sysmap::USERS)) return;
    u.status = status;
    iosys('w', &nr, &u, sysmap::USERS); // the record stays locked for the run
}

[[noreturn]] void chain_fatal(const char *text) {
    int e = errno;
    user_status(US_REBUILD);
    nv::fatal("%s(%d): a=%c,f=%d,r=%ld -> %s", "ioeti", e, g_action, g_fd, (long)g_block, text);
}

bool same_series(const eti_kop &k, uint32_t art, uint16_t kleur, uint16_t volgnr) {
    return k.art_nr == art && k.kleur == kleur && k.volgnr == volgnr;
}

// The block g_block into the buffer, or a fatal trace line.
void checked_read() {
    g_valid = false;
    errno = 0;
    if (g_block > highest_block()) chain_fatal(DET(9, 700, "Ongeldige etiketketting"));
    if (g_block < 0) {
        errno = EINVAL;
        chain_fatal(DET(9, 701, "Foutieve etiketketting"));
    }
    if (nv::os::pread_full(g_fd, &g_buf, sizeof g_buf, (off_t)g_block * ETI_BLOKLEN) != ETI_BLOKLEN)
        chain_fatal(DET(9, 702, "Buiten bestand"));
    if (g_bound && !same_series(g_buf.kop, g_bind.art_nr, g_bind.kleur, g_bind.volgnr)) {
        char text[80];
        std::snprintf(text, sizeof text, "%s %ld.%d.%d", DET(9, 703, "Etiket niet van"),
                      (long)g_bind.art_nr, g_bind.kleur, g_bind.volgnr);
        chain_fatal(text);
    }
    g_valid = true;
}

// The same read for lookups: any failure is a plain false.
bool quiet_read() {
    g_valid = false;
    if (g_block < 0 || g_block > highest_block()) return false;
    if (nv::os::pread_full(g_fd, &g_buf, sizeof g_buf, (off_t)g_block * ETI_BLOKLEN) != ETI_BLOKLEN)
        return false;
    g_valid = true;
    return true;
}

void write_block() {
    if (g_block < 0 || g_block > highest_block()) return;
    nv::os::pwrite_full(g_fd, &g_buf, sizeof g_buf, (off_t)g_block * ETI_BLOKLEN);
}

// One step along a chain. A chain that runs through more blocks than the
// file has is a loop: it would never end.
void hop_to(int32_t block) {
    if (++g_hops > g_hop_limit) {
        struct stat st;
        g_hop_limit = fstat(g_fd, &st) == 0 ? (int)(st.st_size / ETI_BLOKLEN) : 0;
        if (g_hops > g_hop_limit) chain_fatal(DET(9, 700, "Ongeldige etiketketting"));
    }
    g_block = block;
    g_slot = 0;
    checked_read();
}

// Signed words keep a digit in their lowest decimal place also when the
// price is negative: division rounds down.
int32_t floor_div10(int32_t w) {
    return w >= 0 ? w / 10 : -((-(int64_t)w + 9) / 10);
}
int floor_mod10(int32_t w) {
    return (int)(w - floor_div10(w) * 10);
}

bool slot_used(int slot) {
    return floor_mod10((int32_t)g_buf.woord[slot][2]) != 0;
}

int16_t rate_of(uint32_t art_nr) {
    int code = ioeti_btw_code(art_nr);
    return g_btw[code >= 1 && code <= 10 ? code : 1];
}

void unpack(int slot, etiket_rec *r) {
    const uint32_t *w = g_buf.woord[slot];
    *r = etiket_rec{};
    r->art_nr = g_buf.kop.art_nr;
    r->kleur = g_buf.kop.kleur;
    r->volgnr = g_buf.kop.volgnr;
    r->blok_kenmerk = (uint8_t)g_buf.kop.blok_kenmerk;
    r->inkoopprijs = w[0] / 10;
    r->inkoopcode = (uint8_t)(w[0] % 10);
    r->adviesprijs = floor_div10((int32_t)w[1]);
    r->actiecode = (uint8_t)floor_mod10((int32_t)w[1]);
    r->verkoopprijs = floor_div10((int32_t)w[2]);
    r->status = (uint8_t)floor_mod10((int32_t)w[2]);
    r->p_vlag = (int8_t)(w[3] / 1000000000u);
    r->verkoper = (uint16_t)(w[3] / 1000000u % 1000u);
    r->klant_nr = w[3] % 1000000u;
    r->klant_volgend = w[4];
    unsigned maat_afprijs = w[5] & 0xFFFFu;
    r->maat = (uint8_t)(maat_afprijs / 100);
    r->afprijs_nr = (uint8_t)(maat_afprijs % 100);
    r->filiaal = (uint8_t)(w[5] >> 16);
    unsigned code = w[5] >> 24;
    r->lev_nr = (uint16_t)w[6];
    r->ord_datum = (uint16_t)(w[6] >> 16);
    r->ontvangen = (uint16_t)w[7];
    if (r->status == ETI_NOTA) r->lev_vanaf = (uint16_t)(w[7] >> 16);
    if (r->status >= ETI_VERKOPEN) r->verkocht_op = (uint16_t)(w[7] >> 16);
    r->order_nr = w[8] % 10000000u;
    r->btw_tarief = r->status >= ETI_VERKOPEN ? (int16_t)(w[8] / 10000000u) : rate_of(r->art_nr);
    r->order_loc = 255;
    if (r->status == ETI_VOORRAAD && code) {
        r->onderweg = 1;
        r->onderweg_filiaal = (uint8_t)(code - 1);
    } else if (r->status == ETI_NOTA && code) {
        r->order_loc = (uint8_t)(code - 1);
    }
    r->order_loc_aan = r->order_loc < 255;
}

uint8_t location_code(const etiket_rec &r) {
    if (r.status == ETI_VOORRAAD && r.onderweg) {
        if (g_transit) return (uint8_t)(r.onderweg_filiaal + 1);
        if (std::getenv("ZOK_INTERN")) errno_fatal("ioeti", 5);
        return 0; // without the transit option the mark is dropped
    }
    if (r.status == ETI_NOTA && r.order_loc_aan) return (uint8_t)(r.order_loc + 1);
    return 0;
}

void pack(etiket_rec *r, eti_blok &blok, int slot) {
    if (r->status == ETI_NOTA || r->status == ETI_VOORRAAD) r->btw_tarief = rate_of(r->art_nr);
    uint32_t *w = blok.woord[slot];
    w[0] = r->inkoopprijs * 10u + r->inkoopcode % 10u;
    w[1] = (uint32_t)(int32_t)((int64_t)r->adviesprijs * 10 + r->actiecode % 10);
    w[2] = (uint32_t)(int32_t)((int64_t)r->verkoopprijs * 10 + r->status % 10);
    w[3] = (uint32_t)(uint8_t)r->p_vlag * 1000000000u + r->verkoper * 1000000u + r->klant_nr;
    w[4] = r->klant_volgend;
    w[5] = ((r->maat * 100u + r->afprijs_nr) & 0xFFFFu) | (uint32_t)r->filiaal << 16 |
           (uint32_t)location_code(*r) << 24;
    w[6] = r->lev_nr | (uint32_t)r->ord_datum << 16;
    uint16_t high = r->status == ETI_NOTA       ? r->lev_vanaf
                    : r->status >= ETI_VERKOPEN ? r->verkocht_op
                                                : 0;
    w[7] = r->ontvangen | (uint32_t)high << 16;
    w[8] = (uint32_t)((int64_t)r->btw_tarief * 10000000 + r->order_nr);
    blok.kop.blok_kenmerk = r->blok_kenmerk;
}

int act_read(int32_t *label_no, etiket_rec *rec) {
    rec->status = ETI_VRIJ;
    if (*label_no <= 0) return 0;
    g_block = (*label_no - 1) / 10;
    g_slot = (*label_no - 1) % 10;
    g_hops = 0;
    if (quiet_read()) unpack(g_slot, rec);
    return rec->status != ETI_VRIJ;
}

int act_next(int32_t *label_no, etiket_rec *rec) {
    if (!g_valid) return 0; // no block in hand: no chain to follow
    ++g_slot;
    for (;;) {
        if (g_slot > 9) {
            if (g_buf.kop.volgend_blok < 0) return 0;
            hop_to(g_buf.kop.volgend_blok);
        }
        if (slot_used(g_slot)) {
            unpack(g_slot, rec);
            *label_no = g_block * 10 + g_slot + 1;
            return 1;
        }
        ++g_slot;
    }
}

void act_insert(int32_t *label_no, etiket_rec *rec) {
    eti_vrij_rec v{};
    long nr = sysmap::REC_LABELHEAD;
    if (iosys_fd() < 0) open_fatal("ioeti", "DTSYS.TXT"); // no allocation state to go by
    iosys('X', &nr, &v, sysmap::FIXED);
    user_status(US_CRITICAL);
    // Standing in the series' chain: the new block goes behind its tail.
    if (g_valid && same_series(g_buf.kop, rec->art_nr, rec->kleur, rec->volgnr)) {
        while (g_buf.kop.volgend_blok >= 0)
            hop_to(g_buf.kop.volgend_blok);
        g_buf.kop.volgend_blok = v.eti_vrij_kop;
        write_block();
    }
    g_block = v.eti_vrij_kop;
    if (v.eti_vrij_kop != v.eti_nieuw) {
        checked_read();
        v.eti_vrij_kop = g_buf.kop.volgend_blok;
        if (v.eti_vrij_aantal > 0) --v.eti_vrij_aantal;
    } else {
        ++v.eti_nieuw;
        ++v.eti_vrij_kop;
        v.eti_vrij_aantal = 0;
    }
    iosys('W', &nr, &v, sysmap::FIXED);
    std::memset(&g_buf, 0, sizeof g_buf);
    g_buf.kop.art_nr = rec->art_nr;
    g_buf.kop.kleur = rec->kleur;
    g_buf.kop.volgnr = rec->volgnr;
    g_buf.kop.volgend_blok = -1;
    g_buf.kop.blok_kenmerk = rec->blok_kenmerk;
    g_valid = true;
    g_slot = 0;
    *label_no = g_block * 10 + 1;
    write_block();
    user_status(US_WORK);
}

int act_write(int32_t *label_no, etiket_rec *rec) {
    if (*label_no < 0) {
        g_block = -1;
        checked_read(); // no such label: fatal
    } else if (*label_no != 0) {
        int32_t block = (*label_no - 1) / 10;
        if (block != g_block || !g_valid) {
            g_block = block;
            checked_read();
        }
        g_slot = (*label_no - 1) % 10;
    } else if (!g_valid || !same_series(g_buf.kop, rec->art_nr, rec->kleur, rec->volgnr)) {
        // No block of this series in hand: its label starts a block of its own.
        act_insert(label_no, rec);
    } else {
        g_hops = 0;
        g_slot = 0;
        while (*label_no == 0) {
            while (g_slot <= 9 && slot_used(g_slot))
                ++g_slot;
            if (g_slot <= 9)
                *label_no = g_block * 10 + g_slot + 1;
            else if (g_buf.kop.volgend_blok >= 0)
                hop_to(g_buf.kop.volgend_blok);
            else
                act_insert(label_no, rec);
        }
    }
    pack(rec, g_buf, g_slot);
    write_block();
    return 1;
}

int act_delete(int32_t *label_no) {
    if (!g_valid || *label_no != g_block * 10 + g_slot + 1) return 1;
    std::memset(g_buf.woord[g_slot], 0, sizeof g_buf.woord[g_slot]);
    write_block();
    return 0;
}

} // namespace

int ioeti(int action, int32_t *label_no, etiket_rec *rec) {
    if (action < 'C' || action > 'X' || !std::strchr("OCRFNWIDX", action)) return 0;
    if (action != 'O' && action != 'C' && g_fd < 0) errno_fatal("ioeti", 2);
    g_action = (char)action;
    switch (action) {
    case 'O':
        if (g_fd >= 0) errno_fatal("ioeti", 3);
        g_fd = nv::os::open_shared(g_file, O_RDWR);
        if (g_fd < 0) open_fatal("ioeti", g_file);
        load_settings();
        ioeti_btw_forget();
        g_block = -1;
        g_slot = 0;
        g_valid = false;
        g_bound = false;
        g_hop_limit = 0;
        return 0;
    case 'C':
        if (g_fd >= 0) nv::os::close_shared(g_fd);
        g_fd = -1;
        g_valid = false;
        user_status(US_WORK);
        return 0;
    case 'R':
        return act_read(label_no, rec);
    case 'F': {
        int64_t first = (int64_t)*label_no * 10 + 1;
        *label_no = first > INT32_MAX ? INT32_MAX : (int32_t)first;
        if (act_read(label_no, rec)) return 1;
        return act_next(label_no, rec);
    }
    case 'N':
        return act_next(label_no, rec);
    case 'W':
        return act_write(label_no, rec);
    case 'I':
        act_insert(label_no, rec);
        return 0;
    case 'D':
        return act_delete(label_no);
    default: // 'X'
        errno_fatal("ioeti", 1);
    }
}

int ioeti_status_scan(int action, int32_t *label_no, etiket_rec *rec, int status) {
    if (action != 'F' && action != 'R' && action != 'N') errno_fatal("ioeti", 4);
    int found = ioeti(action, label_no, rec);
    if (!found && action != 'R') return 0; // F and N: the chain has ended
    while (!found || rec->status != status) {
        found = ioeti('N', label_no, rec);
        if (!found) return 0;
    }
    return 1;
}

void ioeti_bind_series(bool bind, uint32_t art_nr, uint16_t kleur, uint16_t volgnr) {
    g_bound = bind;
    g_bind = eti_kop{};
    if (bind) {
        g_bind.art_nr = art_nr;
        g_bind.kleur = kleur;
        g_bind.volgnr = volgnr;
    }
}

bool ioeti_free_chain(ser_rec *ser) {
    if (g_fd < 0) errno_fatal("ioeti", 2);
    eti_vrij_rec v{};
    long nr = sysmap::REC_LABELHEAD;
    if (iosys_fd() < 0) open_fatal("ioeti", "DTSYS.TXT");
    iosys('X', &nr, &v, sysmap::FIXED);
    user_status(US_CRITICAL);
    bool ok = false;
    int32_t block = ser->ser_eti_kop;
    for (int blocks = 0;; ++blocks) {
        if (block < 0) {
            ok = true;
            break;
        }
        g_block = block;
        if (blocks > g_hop_limit) {
            struct stat st;
            g_hop_limit = fstat(g_fd, &st) == 0 ? (int)(st.st_size / ETI_BLOKLEN) : 0;
            if (blocks > g_hop_limit) break; // a loop
        }
        if (!quiet_read() || !same_series(g_buf.kop, ser->art_nr, ser->kleur, ser->volgnr)) break;
        int32_t next = g_buf.kop.volgend_blok;
        std::memset(&g_buf, 0, sizeof g_buf);
        g_buf.kop.volgend_blok = v.eti_vrij_kop;
        write_block();
        v.eti_vrij_kop = block;
        ++v.eti_vrij_aantal;
        block = next;
    }
    iosys('W', &nr, &v, sysmap::FIXED);
    g_valid = false; // the buffer is a free block now
    g_slot = 0;
    user_status(US_WORK);
    ser->ser_eti_kop = -1;
    return ok;
}

void ioeti_reopen() {
    if (g_fd < 0) return;
    int32_t n = 0;
    ioeti('C', &n, nullptr);
    ioeti('O', &n, nullptr);
}

void ioeti_pack(etiket_rec *rec, eti_blok *blok, int slot) {
    pack(rec, *blok, slot);
}

bool ioeti_is_open() {
    return g_fd >= 0;
}

int32_t max_label_no() {
    sys_land land{};
    if (read_fixed(sysmap::REC_COUNTRY, &land)) g_breedte = land.etiket_breedte;
    switch (g_breedte) {
    case 6:
        return 999999;
    case 8:
        return 29999999;
    default:
        return 9999999;
    }
}

int32_t next_label_seq() {
    uint32_t rec[16] = {};
    long nr = 5;
    iosys('X', &nr, rec, sysmap::FIXED);
    uint32_t v = rec[0] == 0 ? 999 : rec[0];
    v = v >= 9999999 ? 1000 : v + 1;
    rec[0] = v;
    iosys('W', &nr, rec, sysmap::FIXED);
    return (int32_t)v;
}

void ioeti_set_user(long user_nr) {
    g_user = user_nr;
}

void ioeti_filename(const char *path) {
    std::snprintf(g_file, sizeof g_file, "%s", path);
}

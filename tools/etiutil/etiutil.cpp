// etiutil: the label store DTETI.TXT of the current directory from the
// command line, reading only (no file is written).
//
//   etiutil show N      the label as the program reads it: one line
//                       "name: value" for each field, prices in cents, dates
//                       as day numbers with the date in brackets; "not
//                       found" (exit status 1) when the label isn't there
//   etiutil chain BLOCK the label numbers of the chain that starts at BLOCK,
//                       one a line; a broken chain ends with the label
//                       store's fatal text on stderr and exit status 1
//   etiutil free        the allocation state in system record 4
//
// Bad arguments: a message and exit status 2; a missing file: exit status 1.
#include "base/datum.h"
#include "frame/iosys.h"
#include "merch/ioeti.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int usage() {
    std::fprintf(stderr, "gebruik: etiutil show ETIKETNUMMER\n"
                         "         etiutil chain BLOKNUMMER\n"
                         "         etiutil free\n");
    return 2;
}

bool number(const char *s, long *out) {
    char *end;
    errno = 0;
    long v = std::strtol(s, &end, 10);
    if (!*s || *end || errno || v < 0 || v > INT32_MAX) return false;
    *out = v;
    return true;
}

bool present(const char *name) {
    struct stat st;
    if (::stat(name, &st) == 0 && S_ISREG(st.st_mode)) return true;
    std::fprintf(stderr, "etiutil: %s ontbreekt in deze directory\n", name);
    return false;
}

void open_files(bool labels) {
    long nr = 1;
    char rec[64];
    iosys('O', &nr, rec, sysmap::FIXED);
    int32_t none = 0;
    if (labels) ioeti('O', &none, nullptr);
}

void date_line(const char *name, uint16_t day) {
    if (day)
        std::printf("%s: %u (%s)\n", name, day, datum_toon(day));
    else
        std::printf("%s: 0\n", name);
}

int cmd_show(long label) {
    open_files(true);
    int32_t n = (int32_t)label;
    etiket_rec r{};
    if (!ioeti('R', &n, &r)) {
        std::printf("not found\n");
        return 1;
    }
    std::printf("art_nr: %u\nkleur: %u\nvolgnr: %u\nstatus: %u\nblok_kenmerk: %u\nmaat: %u\n"
                "filiaal: %u\nlev_nr: %u\n",
                r.art_nr, r.kleur, r.volgnr, r.status, r.blok_kenmerk, r.maat, r.filiaal, r.lev_nr);
    date_line("ord_datum", r.ord_datum);
    date_line("lev_vanaf", r.lev_vanaf);
    date_line("ontvangen", r.ontvangen);
    date_line("verkocht_op", r.verkocht_op);
    std::printf("btw_tarief: %d\ninkoopprijs: %u\nadviesprijs: %d\nverkoopprijs: %d\np_vlag: %d\n"
                "actiecode: %u\nafprijs_nr: %u\ninkoopcode: %u\nklant_nr: %u\nklant_volgend: %u\n"
                "verkoper: %u\nonderweg: %u\nonderweg_filiaal: %u\norder_nr: %u\norder_loc: %u\n"
                "order_loc_aan: %u\n",
                r.btw_tarief, r.inkoopprijs, r.adviesprijs, r.verkoopprijs, r.p_vlag, r.actiecode,
                r.afprijs_nr, r.inkoopcode, r.klant_nr, r.klant_volgend, r.verkoper, r.onderweg,
                r.onderweg_filiaal, r.order_nr, r.order_loc, r.order_loc_aan);
    return 0;
}

int cmd_chain(long block) {
    // The walk is bound to the series of the first block, so that a chain
    // that runs into another series' block stops with the store's message.
    eti_kop head{};
    int fd = ::open("DTETI.TXT", O_RDONLY);
    bool there =
        fd >= 0 && pread(fd, &head, sizeof head, (off_t)block * ETI_BLOKLEN) == sizeof head;
    if (fd >= 0) ::close(fd);
    if (!there) {
        std::fprintf(stderr, "etiutil: blok %ld ligt buiten DTETI.TXT\n", block);
        return 1;
    }
    open_files(true);
    ioeti_bind_series(true, head.art_nr, head.kleur, head.volgnr);
    int32_t n = (int32_t)block;
    etiket_rec r{};
    for (int found = ioeti('F', &n, &r); found; found = ioeti('N', &n, &r))
        std::printf("%d\n", n);
    return 0;
}

int cmd_free() {
    open_files(false);
    eti_vrij_rec v{};
    long nr = sysmap::REC_LABELHEAD;
    iosys('R', &nr, &v, sysmap::FIXED);
    std::printf("eti_vrij_kop: %d\neti_nieuw: %d\neti_vrij_aantal: %d\n", v.eti_vrij_kop,
                v.eti_nieuw, v.eti_vrij_aantal);
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) return usage();
    const char *cmd = argv[1];
    long arg = 0;
    if (std::strcmp(cmd, "free") == 0) {
        if (argc != 2) return usage();
        return present("DTSYS.TXT") ? cmd_free() : 1;
    }
    bool show = std::strcmp(cmd, "show") == 0, chain = std::strcmp(cmd, "chain") == 0;
    if (!(show || chain) || argc != 3 || !number(argv[2], &arg)) return usage();
    if (!present("DTSYS.TXT") || !present("DTETI.TXT")) return 1;
    return show ? cmd_show(arg) : cmd_chain(arg);
}

// Start-up and hand-over: see start.h.
#include "frame/start.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/fileutil.h"
#include "base/scramble.h"
#include "frame/iosys.h"
#include "frame/startchk.h"
#include "store/iomaat.h"
#include "store/ix.h"
#include "store/ixhook.h"
#include "store/ixprogress.h"
#include "term/ingave.h"
#include "term/popup.h"
#include "term/scr.h"
#include "term/storewin.h"

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <sys/statvfs.h>
#include <unistd.h>

namespace frame {

const char *const OWN_NAME = "norvanke";
const char *const VERSION = "8.70 ";
const int NUMBER = 870;
const char *const DATE_STRING = "05-4-2016";

char caller[16];
bool background = false;
long user_nr = 0;
sys_gebruiker user;
char user_name[20];
sys_bedrijf company;
sys_land country;

namespace {
char g_compiled[64] = "";
const char *g_date = DATE_STRING;
StartHooks g_hooks{};

// The lock wait of the system file: a one-line window on the bottom row.
void screen_wait(const char *text) {
    if (!term_state || term_state->term_top < 0) {
        sleep(2);
        return;
    }
    WINOPEN(term_state->term_lines, 1, 1, term_state->term_cols, 3);
    WINTEXT(A_BOLD, 1, 1, "%s", text);
    SCRFLUSH(2);
    WINCLOSE();
    SCRFLUSH(0);
}

} // namespace

void store_inuse_text(ICB *icb, char *out, size_t size) {
    char who[200];
    off_t at = icb->cur_rec >= 0 ? (off_t)icb->cur_rec * icb->hdr.reclen : 0;
    sys_lock_text("", icb->dfd, at, icb->hdr.reclen, who, sizeof who);
    std::snprintf(out, size, "%-.11s: %-.19s --> %.80s", icb->fname, icb->hdr.title, who);
}

namespace {

// The record store's wait for a locked record: who holds it, on the bottom
// row, for two seconds.
void store_inuse(ICB *icb) {
    if (!term_state || term_state->term_top < 0) {
        sleep(2);
        return;
    }
    char line[320];
    store_inuse_text(icb, line, sizeof line);
    WINOPEN(term_state->term_lines, 1, 1, term_state->term_cols, 3);
    WINTEXT(A_BOLD, 1, 1, "%s", line);
    SCRFLUSH(2);
    WINCLOSE();
    SCRFLUSH(0);
}

// A file_lock that is refused: the ordinary message box, for a second.
void file_wait(const char *text) {
    if (!term_state || term_state->term_top < 0) {
        sleep(1);
        return;
    }
    FFLASH(1, 1, A_BOLD, "", "%s", text);
}

// The store's questions and messages go into the ordinary message box.
int store_flash(int option, const char *title, const char *text) {
    if (!term_state || term_state->term_top < 0) return option == -2 ? 0 : 1;
    return FFLASH(option, 0, A_BOLD, title, "%s", text);
}

// An index block beyond the end of the file is retried while another
// process is still extending it: the line stands on the last row meanwhile.
bool store_eof(const char *line) {
    if (!term_state || term_state->term_top < 0) {
        sleep(1);
        return true;
    }
    WINTEXTBASE(A_BOLD, term_state->term_lines, 1, "%-*.*s", term_state->term_cols - 1,
                term_state->term_cols - 1, line);
    SCRFLUSH(1);
    WINTEXTBASE(A_BOLD, term_state->term_lines, 1, "%*s", term_state->term_cols - 1, "");
    return true;
}

void read_fixed(long nr, void *buf) {
    long n = nr;
    if (!iosys('R', &n, buf, sysmap::FIXED)) std::memset(buf, 0, sysmap::FIXED.length);
}

// The stamp a size table gets at its write-back: fixed record 8, offset 2.
int size_stamp() {
    uint8_t rec[64];
    read_fixed(sysmap::REC_COPY, rec);
    return rec[2] | rec[3] << 8;
}

void set_locale() {
    // The character type stays what the screen chose for the terminal.
    const char *ct = std::setlocale(LC_CTYPE, nullptr);
    std::string ctype = ct ? ct : "C";
    std::setlocale(LC_ALL, "C");
    std::setlocale(LC_CTYPE, ctype.c_str());
    const char *msg = std::setlocale(LC_MESSAGES, nullptr);
    if (msg) {
        std::string m = msg; // setlocale may overwrite the returned text
        std::setlocale(LC_COLLATE, m.c_str());
        std::setlocale(LC_MESSAGES, m.c_str());
    }
}

bool field_is(const char *field, size_t size, const char *text) {
    size_t n = std::strlen(text);
    if (n > size) return false;
    if (std::memcmp(field, text, n) != 0) return false;
    return n == size || field[n] == 0;
}

void write_user(int action) {
    long n = user_nr;
    iosys(action, &n, &user, sysmap::USERS);
}
} // namespace

void set_start_hooks(const StartHooks &h) { g_hooks = h; }

void set_compiled(const char *date, const char *time) {
    std::snprintf(g_compiled, sizeof g_compiled, "%s %s", date, time);
}

void info_window(bool wait) {
    char cwd[512];
    if (!getcwd(cwd, sizeof cwd)) std::snprintf(cwd, sizeof cwd, "?");
    double mb = 0;
    struct statvfs vs;
    if (statvfs(".", &vs) == 0) mb = (double)vs.f_bavail * (double)vs.f_frsize / 1024.0 / 1024.0;
    const char *term = std::getenv("TERM");
    const char *tty = ttyname(0);
    WINOPEN1(6, 8, 13, 64);
    WINBOX(" %s ", KOR(1, 140, "Informatie"));
    struct Row {
        const char *label;
        std::string text;
    };
    char b[6][160];
    std::snprintf(b[0], sizeof b[0], "%d %s", NUMBER, g_date);
    std::snprintf(b[1], sizeof b[1], "LINUX %s", g_compiled);
    std::snprintf(b[2], sizeof b[2], "Brandel%s %dF", VERSION, company.aantal_fil);
    std::snprintf(b[3], sizeof b[3], "%s (%c)", user_name, user.rechten ? user.rechten : ' ');
    std::snprintf(b[4], sizeof b[4], "%.2f", mb);
    std::snprintf(b[5], sizeof b[5], "%s %s", term ? term : "", tty ? tty : "");
    // The directory's name is in the terminal's character set, not the system's.
    const Row rows[] = {{"Program", OWN_NAME}, {"Version", b[0]},
                        {"Compiled", b[1]},    {"Application", b[2]},
                        {"Userinfo", b[3]},    {"Directory", nv::scr::from_terminal(cwd)},
                        {"Diskfree Mb", b[4]}, {"Tty", b[5]}};
    int r = 2;
    for (const Row &row : rows) {
        WINTEXT(ATTR_LABEL, r, 3, "%-12s", row.label);
        WINTEXT(ATTR_DATA, r, 16, "%s", row.text.c_str());
        ++r;
    }
    if (wait) {
        INGAVEENTER(11, 3);
        WINCLOSE();
    } else {
        SCRFLUSH(0);
    }
}

void wrong_start(int code) {
    if (term_state && term_state->term_top >= 0) {
        while (term_state->term_top > term_state->term_base) WINCLOSE();
        WINCLREOS(1, 1);
        info_window(false);
    }
    SCRFATAL("%s %s %d", OWN_NAME, DET(1, 141, "foutief gestart, code"), code);
}

void frame_start(const char *name, const char *date, int argc, char **argv) {
    (void)name;
    g_date = date;
    SCRINIT();
    if (argc == 5 && std::strncmp(argv[2], "xkqz", 4) == 0) background = true;
    WINTEXT(A_BOLD, 1, 1, "%s %s", OWN_NAME, VERSION);
    if (argc != 5) wrong_start(99);
    set_locale();
    nv::catalogs_open();

    long n = 1;
    iosys('O', &n, &company, sysmap::FIXED);
    read_fixed(sysmap::REC_COMPANY, &company);
    iofil('O', 0, nullptr);
    start_checks();
    sys_release rel{};
    read_fixed(sysmap::REC_RELEASE, &rel);
    if (std::memcmp(rel.release, VERSION, 5) != 0)
        SCRFATAL(DET(1, 142, "Foutieve release: bestanden van %-.5s"), rel.release);

    std::snprintf(caller, sizeof caller, "%s", argv[4]);
    user_nr = std::atol(argv[3]);
    if (user_nr == 0) wrong_start(2);
    n = user_nr;
    sys_set_wait_hook(screen_wait);
    if (!iosys('X', &n, &user, sysmap::USERS)) wrong_start(2);

    char clear[sizeof user.naam + 2] = {};
    std::memcpy(clear, user.naam, sizeof user.naam);
    UNSCRAMBLE(clear);
    std::snprintf(user_name, sizeof user_name, "%s", clear);
    if (std::strcmp(clear, argv[2]) != 0) wrong_start(1);
    if (!field_is(user.programma, sizeof user.programma, argv[1])) wrong_start(0);
    if (user.status < US_CRITICAL) {
        user.status = US_WORK;
        write_user('w');
    }
    if (!field_is(user.programma, sizeof user.programma, OWN_NAME)) wrong_start(13);

    read_fixed(sysmap::REC_COMPANY, &company);
    read_fixed(sysmap::REC_COUNTRY, &country);
    if ((company.vlag1 & 4) && g_hooks.load_till_index) g_hooks.load_till_index();
    nv::store::set_inuse_hook(store_inuse);
    nv::store::set_flash_hook(store_flash);
    nv::store::set_eof_hook(store_eof);
    nv::store::set_progress_hook(term_progress);
    nv::store::set_iomaat_error_hook(term_support_error);
    nv::store::set_iomaat_stamp_hook(size_stamp);
    nv::set_file_wait_hook(file_wait);
    if (g_hooks.after_start) g_hooks.after_start();
}

void start_program(const char *name) {
    if (user.status != US_FREE && user.status < 5) user.status = *name ? US_HANDOVER : US_FREE;
    std::memset(user.programma, 0, sizeof user.programma);
    std::memcpy(user.programma, name, std::min(std::strlen(name), sizeof user.programma));
    user.tijdstip = (int32_t)std::time(nullptr);
    if (std::strcmp(name, "norpot") == 0) {
        user.menu_vorig = user.menu_positie;
        user.menu_positie = 0;
    } else {
        user.menu_vorig = 0;
    }
    if (!*name) std::memset(user.tty, 0, sizeof user.tty);
    write_user('W');

    long n = 1;
    iofil('C', 0, nullptr);
    iosys('C', &n, nullptr, sysmap::FIXED);
    if (g_hooks.free_till_index) g_hooks.free_till_index();

    std::string uname = user_name, unr = std::to_string(user_nr);
    nv::catalogs_close();
    SCREND();
    if (!*name) std::exit(0);

    auto dir_of = [](const char *var) {
        const char *v = std::getenv(var);
        std::string d = v ? v : "";
        if (!d.empty() && d.back() != '/') d += '/';
        return d;
    };
    if (std::getenv("TSTBIN")) {
        std::string p = dir_of("TSTBIN") + name;
        execl(p.c_str(), p.c_str(), name, uname.c_str(), unr.c_str(), OWN_NAME, (char *)nullptr);
    }
    std::string p = dir_of("BIN") + name;
    execl(p.c_str(), p.c_str(), name, uname.c_str(), unr.c_str(), OWN_NAME, (char *)nullptr);
    execlp(name, name, name, uname.c_str(), unr.c_str(), OWN_NAME, (char *)nullptr);

    SCRINIT();
    nv::catalogs_open();
    SCRFATAL("%s %s %s", DET(1, 143, "Programma"), name, DET(1, 144, "niet gevonden"));
}

} // namespace frame

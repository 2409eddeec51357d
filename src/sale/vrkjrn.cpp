// The journal guards: see vrkjrn.h.
#include "sale/vrkjrn.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/fileutil.h"
#include "base/iolock.h"
#include "frame/iosys.h"
#include "sale/iojrn.h"
#include "sale/jrnnaam.h"
#include "store/ix.h"
#include "term/ingave.h"
#include "term/scr.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int aantal_filialen() {
    long nr = sysmap::REC_COMPANY;
    sys_bedrijf b{};
    iosys('R', &nr, &b, sysmap::FIXED);
    return b.aantal_fil ? b.aantal_fil : 1;
}

// The damaged journal goes to the end of its ".BAD" file (so that several
// damaged journals of one till gather there) and starts anew, empty.
void zet_opzij(const char *path) {
    char bad[300];
    jrn_bad_naam(bad, sizeof bad, path);
    if (!file_copy(path, bad, 1)) errno_fatal("vrkjrn", 1);
    file_remove(path);
    int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0660);
    if (fd < 0) open_fatal("vrkjrn", path);
    fchmod(fd, 0660);
    close(fd);
}

// The box of a damaged journal; the user's choice, 1 or 2.
int beschadigd_dialoog(const char *path, bool interactive) {
    WINOPEN1(10, 10, 12, 65);
    WINBOX(nullptr);
    WINTEXT(A_BOLD, 1, 2, DET(20, 1, "Het journaal (%s) is beschadigd."), path);
    WINTEXT(A_BOLD, 2, 2, "%s", DET(20, 2, "Neem contact op met ZOK Support."));
    int keuze = 1;
    if (interactive) {
        WINTEXT(A_BOLD, 4, 2, "%s", "  1");
        WINTEXT(A_BOLD, 4, 7, "%s", DET(20, 3, "Verder werken"));
        WINTEXT(ATTR_LABEL, 5, 9, "%s", DET(20, 4, "Het foutieve journaal wordt opzij gezet,"));
        WINTEXT(ATTR_LABEL, 6, 9, "%s",
                DET(20, 5, "er wordt verder gewerkt met een leeg nieuw journaal."));
        WINTEXT(ATTR_LABEL, 7, 9, "%s", DET(20, 6, "Zie ook handleiding!"));
        WINTEXT(A_BOLD, 8, 2, "%s", "  2");
        WINTEXT(A_BOLD, 8, 7, "%s", DET(20, 7, "Programma verlaten"));
        const char *prompt = DET(20, 8, "Uw keuze");
        WINTEXT(ATTR_LABEL, 10, 2, "%s", prompt);
        char c[2] = "1";
        do {
            INGAVE(10, 4 + (int)std::strlen(prompt), "1c[12],IE", c);
        } while (c[0] != '1' && c[0] != '2');
        keuze = c[0] - '0';
    } else {
        SCRFLUSH(0);
        sleep(5);
    }
    WINCLOSE();
    return keuze;
}

// The message of jrn_lock_all on the third row from the bottom.
void meld(const char *a, int branch, const char *b) {
    int row = term_state->term_lines - 2;
    WINCLREOL(row, 1);
    if (aantal_filialen() > 1)
        WINTEXT(A_BOLD | A_REVERSE, row, 2, "%s%d%s%s", a, branch, b[0] ? " " : "", b);
    else
        WINTEXT(A_BOLD | A_REVERSE, row, 2, "%s",
                b[0] ? DET(20, 13, "Journaal niet consistent")
                     : DET(20, 12, "Journaal reeds in gebruik"));
    beep();
}

// The walk of jrn_select_next: a work file of branch and till, key 1 on
// both, that lives from the first call to the end of the walk.
struct SelRec {
    uint16_t filiaal;
    uint16_t kassa;
    uint8_t res4[10];
};
static_assert(sizeof(SelRec) == 14);
constexpr const char *SEL_NAAM = "DTSELJRN";
ICB *g_sel = nullptr;
bool g_sel_eerste = false;
SelRec g_sel_rec{}; // the entry handed out last: the walk goes on behind its key

void sel_weg() {
    for (const char *ext : {".TXT", ".INX"})
        file_remove((std::string(SEL_NAAM) + ext).c_str());
}

ICB *sel_maak(int branch, int till, int alle) {
    sel_weg();
    ICB *icb = IXCREATE(SEL_NAAM, 1);
    SelRec r{};
    UPDFCB_INX("journaalselectie", &r, sizeof r);
    UPDFCB_END(icb);
    UPDFCB_KEY(1, "key1", 0);
    UPDFCB_FLD('I', &r.filiaal, 2);
    UPDFCB_FLD('I', &r.kassa, 2);
    UPDFCB_END(icb);
    IXINIT(icb);
    char pad[PATH_MAX];
    std::snprintf(pad, sizeof pad, "%s", "VR?????.JRN");
    if (DIRECTORY('O', pad, 0)) {
        while (DIRECTORY('N', pad, 0)) {
            int b, t;
            if (std::sscanf(pad, "VRK%2d%2d.JRN", &b, &t) != 2 &&
                std::sscanf(pad, "VR%3d%2d.JRN", &b, &t) != 2)
                continue;
            if (branch != alle && branch != JRN_ALLE && b != branch) continue;
            if (till != 100 && till != JRN_ALLE && t != till) continue;
            r.filiaal = (uint16_t)b;
            r.kassa = (uint16_t)t;
            IXWRITE(icb, &r);
        }
        DIRECTORY('C', pad, 0);
    }
    return icb;
}

} // namespace

bool jrn_lock(int branch, int action) {
    return IOLOCK(action, iosys_fd(), sysmap::JOURNAL_LOCKS + branch, 1);
}

bool jrn_check_damaged(const char *path, bool interactive) {
    long size = file_size(path);
    if (size <= 0) return true;
    long r = iojrn_check(path);
    if (r == size) return true;
    if (r >= 0) return false;
    if (beschadigd_dialoog(path, interactive) == 2) {
        nv::fatal_stop_files();
        SCREXIT(0);
    }
    zet_opzij(path);
    return true;
}

bool jrn_lock_all() {
    int n = aantal_filialen();
    for (int b = 0; b < n; ++b) {
        bool locked = jrn_lock(b, 'S');
        char name[16];
        jrn_naam(name, b, 0);
        if (!locked)
            meld(DET(20, 10, "Journaal reeds in gebruik voor filiaal "), b, "");
        else if (!jrn_check_damaged(name, true))
            meld(DET(20, 11, "Journaal voor filiaal "), b, DET(20, 14, "niet consistent"));
        else
            continue;
        for (int u = 0; u <= b; ++u)
            jrn_lock(u, 'U');
        INGAVEENTER(term_state->term_lines - 1, 2);
        return false;
    }
    return true;
}

void jrn_unlock_all() {
    for (int b = 0, n = aantal_filialen(); b < n; ++b)
        jrn_lock(b, 'U');
}

bool jrn_ask_branch_till(int *branch, int *till) {
    long nr = sysmap::REC_COMPANY;
    sys_bedrijf b{};
    iosys('R', &nr, &b, sysmap::FIXED);
    int n = b.aantal_fil ? b.aantal_fil : 1;
    const char *alle = DET(20, 20, "Alle");
    const char *hint = DET(20, 21, "<ENTER> voor alle");
    for (;;) {
        *branch = 0;
        if (n > 1) {
            WINCLREOL(3, 1);
            WINTEXT(ATTR_LABEL, 3, 2, "%s", DET(20, 22, "Filiaal"));
            WINTEXT(ATTR_LABEL, 3, 18, "%s", hint);
            uint8_t f = 0;
            INGAVE(3, 12, "2U,IZP", &key_cancel, &key_esc, &f);
            int k = term_state->ing_key;
            if (k == key_cancel || k == key_esc) return false;
            bool leeg = term_state->ing_status & ING_EMPTY;
            *branch = leeg ? n : f;
            if (leeg) WINTEXT(A_BOLD, 3, 12, "%-4s", alle);
        }
        *till = 0;
        if (!(b.vlag1 & 4)) return true;
        WINCLREOL(4, 1);
        WINTEXT(ATTR_LABEL, 4, 2, "%s", DET(20, 23, "Kassa"));
        WINTEXT(ATTR_LABEL, 4, 18, "%s", hint);
        int32_t k32 = 0;
        INGAVE(4, 12, "2l,IZP", &key_cancel, &key_esc, &k32);
        int k = term_state->ing_key;
        if (k == key_cancel || k == key_esc) return false;
        bool leeg = term_state->ing_status & ING_EMPTY;
        *till = leeg ? 100 : (int)k32;
        if (leeg) WINTEXT(A_BOLD, 4, 12, "%-4s", alle);
        if (*branch == n || *till == 100) return true;
        char naam[16];
        jrn_naam(naam, *branch, *till);
        if (file_exists(naam)) return true;
        error("%s", DET(20, 24, "Geen journaal voor deze kassa"));
    }
}

jrn_cursor *jrn_select_next(int branch, int till, bool interactive) {
    if (!g_sel) {
        g_sel = sel_maak(branch, till, aantal_filialen());
        g_sel_eerste = true;
    }
    SelRec &r = g_sel_rec;
    if (g_sel_eerste) r = {};
    for (;;) {
        int ok = g_sel_eerste ? IXFIRST(g_sel, &r) : IXNEXTR(g_sel, &r);
        g_sel_eerste = false;
        if (!ok) break;
        char naam[16];
        jrn_naam(naam, r.filiaal, r.kassa);
        if (file_size(naam) <= 0 || !jrn_check_damaged(naam, interactive)) continue;
        if (jrn_cursor *c = iojrn_open(naam, O_RDWR)) return c;
    }
    IXCLOSE(g_sel);
    g_sel = nullptr;
    sel_weg();
    return nullptr;
}

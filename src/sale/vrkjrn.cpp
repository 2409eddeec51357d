// The journal guards: see vrkjrn.h.
#include "sale/vrkjrn.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/fileutil.h"
#include "base/iolock.h"
#include "frame/iosys.h"
#include "sale/iojrn.h"
#include "sale/jrnnaam.h"
#include "term/ingave.h"
#include "term/scr.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
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

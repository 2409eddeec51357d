// Batch coordination: see batchvw.h.
#include "journal/batchvw.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/iolock.h"
#include "base/scramble.h"
#include "frame/iosys.h"
#include "term/popup.h"
#include "term/scr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

constexpr int k_groups = 16;
constexpr int k_users = 99;
long g_user = 0;

off_t range_start(int groep) {
    return sysmap::BATCH_LOCKS + (off_t)groep * k_users;
}
off_t user_byte(int groep, long user) {
    return range_start(groep) + user - 1;
}

bool batch_user() {
    return g_user == BATCH_USER;
}

// A programming error; the batch user has nobody to tell it to.
void check(int groep, int code) {
    int bad = groep < 0 || groep >= k_groups ? code : iosys_fd() < 0 ? 3 : 0;
    if (!bad) return;
    if (batch_user()) {
        if (term_state) SCREND();
        std::exit(1);
    }
    errno_fatal("batchvw", bad);
}

// Waits up to `seconds` for a key; true when one came (it stays unread).
bool key_within(int seconds) {
    for (int i = 0; i < seconds * 10; ++i) {
        if (KEYHIT()) return true;
        usleep(100000);
    }
    return KEYHIT();
}

// Who blocks the group: one user by name, all by the started job, else the count.
void show_blockers(int groep) {
    int fd = iosys_fd(), count = 0;
    long last = 0;
    for (long u = 1; u <= k_users; ++u) {
        if (!IOLOCK('T', fd, user_byte(groep, u), 1)) {
            ++count;
            last = u;
        }
    }
    WINCLREOL(2, 1);
    if (count == 1) {
        sys_gebruiker g{};
        char name[sizeof g.naam + 2] = {};
        if (iosys('R', &last, &g, sysmap::USERS)) {
            std::memcpy(name, g.naam, sizeof g.naam);
            UNSCRAMBLE(name);
        }
        int n = WINTEXT(ATTR_LABEL, 2, 2, "%s: ", DET(8, 640, "Gebruiker"));
        n += WINTEXT(ATTR_DATA, 2, 2 + n, "%s", name);
        if (g.tty[0]) WINTEXT(ATTR_DATA, 2, 3 + n, "(tty%.6s)", g.tty);
    } else if (count == k_users) {
        WINTEXT(ATTR_DATA, 2, 2, "%s", DET(8, 641, "Verwerking is reeds gestart"));
    } else {
        int n = WINTEXT(ATTR_LABEL, 2, 2, "%s: ", DET(8, 642, "Aantal gebruikers"));
        WINTEXT(ATTR_DATA, 2, 2 + n, "%d", count);
    }
}

void show_question(int row) {
    WINCLREOL(row, 1);
    WINTEXT(ATTR_LABEL, row, 2, "%s? %s  ", DET(8, 643, "Wilt u wachten"), DET(8, 644, "(J/N)"));
    SCRFLUSH(0);
}

// A key came while waiting: the user answers whether to wait on.
bool wants_to_wait(int row) {
    bool yes = INGAVEJN(row, 2, "%s", DET(8, 643, "Wilt u wachten"));
    if (yes) show_question(row);
    return yes;
}

} // namespace

void batchvw_set_user(long user_nr) {
    g_user = user_nr;
}

bool batchvw_claim(int groep) {
    check(groep, 1);
    int fd = iosys_fd();
    bool window = false;
    for (;;) {
        if (IOLOCK('S', fd, range_start(groep), k_users)) break;
        IOLOCK('U', fd, range_start(groep), k_users);
        if (batch_user()) return false;
        if (!window) {
            WINOPEN1(10, 6, 5, 70);
            WINBOX("%s", "");
            WINTEXT(A_BOLD, 1, 2, "%s",
                    DET(8, 645, "Er zijn gebruikers actief die verwerking blokkeren!"));
            show_question(3);
            window = true;
        }
        show_blockers(groep);
        SCRFLUSH(0);
        if (key_within(2) && !wants_to_wait(3)) {
            WINCLOSE();
            return false;
        }
    }
    if (window) WINCLOSE();
    return true;
}

void batchvw_release(int groep) {
    check(groep, 1);
    IOLOCK('U', iosys_fd(), range_start(groep), k_users);
}

bool batchvw_enter(int groep, bool wachten) {
    check(groep, 2);
    if (g_user < 1 || g_user > k_users) errno_fatal("batchvw", 2);
    int fd = iosys_fd();
    bool window = false;
    while (!IOLOCK('S', fd, user_byte(groep, g_user), 1)) {
        if (batch_user()) {
            sleep(2);
            continue;
        }
        if (!window) {
            WINOPEN1(10, 6, 4, 70);
            WINBOX("%s", "");
            WINTEXT(A_BOLD, 1, 2, "%s", DET(8, 646, "Verwerking is actief"));
            if (wachten) show_question(2);
            window = true;
        }
        SCRFLUSH(0);
        if (!wachten) {
            sleep(2);
        } else if (key_within(2) && !wants_to_wait(2)) {
            WINCLOSE();
            return false;
        }
    }
    if (window) WINCLOSE();
    return true;
}

void batchvw_leave(int groep) {
    check(groep, 2);
    if (g_user < 1 || g_user > k_users) return;
    IOLOCK('U', iosys_fd(), user_byte(groep, g_user), 1);
}

// The system file: see iosys.h.
#include "frame/iosys.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/iolock.h"
#include "base/osfile.h"
#include "base/scramble.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {
char g_name[256] = "DTSYS.TXT";
int g_fd = -1;
// The last arguments, as the system keeps them.
long *g_rec = nullptr;
void *g_buf = nullptr;
long g_base = 0, g_limit = 0;
int g_len = 0;

void default_wait(const char *text) {
    std::fprintf(stderr, "%s\n", text);
    sleep(2);
}
SysWaitHook g_wait = default_wait;

off_t where(long n) { return (off_t)g_base + (off_t)(n - 1) * g_len; }

bool all_zero(const void *p, int n) {
    const unsigned char *b = static_cast<const unsigned char *>(p);
    for (int i = 0; i < n; ++i)
        if (b[i]) return false;
    return true;
}

int read_rec(long n) {
    if (g_fd < 0 || n < 1 || n > g_limit) return 0;
    if (nv::os::pread_full(g_fd, g_buf, (size_t)g_len, where(n)) != g_len) return 0;
    return all_zero(g_buf, g_len) ? 0 : 1;
}

int write_rec(long n) {
    if (g_fd < 0 || n < 1 || n > g_limit) return 0;
    return nv::os::pwrite_full(g_fd, g_buf, (size_t)g_len, where(n)) == g_len;
}
} // namespace

void iosys_filename(const char *name) { std::snprintf(g_name, sizeof g_name, "%s", name); }
int iosys_fd() { return g_fd; }
void sys_set_wait_hook(SysWaitHook h) { g_wait = h ? h : default_wait; }
void sys_wait(const char *text) { g_wait(text); }

int iosys(int action, long *rec_no, void *buffer, long base, long limit, int length) {
    g_rec = rec_no;
    g_buf = buffer;
    g_base = base;
    g_limit = limit;
    g_len = length;
    switch (action) {
    case 'O':
        if (g_rec) *g_rec = 1;
        if (g_fd < 0) {
            g_fd = nv::os::open_shared(g_name, O_RDWR);
            if (g_fd < 0) open_fatal("iosys", g_name);
        }
        return 1;
    case 'C':
        if (g_fd >= 0) nv::os::close_shared(g_fd);
        g_fd = -1;
        return 1;
    case 'R':
        return read_rec(*g_rec);
    case 'F':
        if (read_rec(*g_rec)) return 1;
        [[fallthrough]];
    case 'N':
        for (;;) {
            ++*g_rec;
            if (*g_rec > g_limit) return 0;
            if (read_rec(*g_rec)) return 1;
        }
    case 'P':
        for (;;) {
            --*g_rec;
            if (*g_rec < 1) return 0;
            if (read_rec(*g_rec)) return 1;
        }
    case 'X': {
        long n = *g_rec;
        if (g_fd < 0 || n < 1 || n > g_limit) return 0;
        while (!IOLOCK('S', g_fd, where(n), g_len)) {
            char who[200], line[240];
            sys_lock_text("", g_fd, where(n), g_len, who, sizeof who);
            std::snprintf(line, sizeof line, "SYSTEEM-%s", who);
            g_wait(line);
            // The hook may have used iosys itself: restore our arguments.
            g_rec = rec_no;
            g_buf = buffer;
            g_base = base;
            g_limit = limit;
            g_len = length;
        }
        return read_rec(n);
    }
    case 'W':
        if (!write_rec(*g_rec)) return 0;
        IOLOCK('U', g_fd, where(*g_rec), g_len);
        return 1;
    case 'w':
        return write_rec(*g_rec);
    case 'D':
        std::memset(g_buf, 0, (size_t)g_len);
        if (!write_rec(*g_rec)) return 0;
        IOLOCK('U', g_fd, where(*g_rec), g_len);
        return 1;
    case 'T':
        if (g_fd < 0 || *g_rec < 1 || *g_rec > g_limit) return 0;
        return IOLOCK('T', g_fd, where(*g_rec), g_len);
    case 'U':
        if (g_fd < 0 || *g_rec < 1 || *g_rec > g_limit) return 0;
        return IOLOCK('U', g_fd, where(*g_rec), g_len);
    default:
        return 0;
    }
}

void sys_lock_text(const char *text, int fd, off_t start, off_t length, char *out, size_t size) {
    const char *nobody = DET(1, 250, "Informatie in gebruik op ander scherm");
    pid_t pid = nv::lock_holder(fd, start, length);
    int sfd = g_fd;
    if (pid <= 0 || sfd < 0) {
        std::snprintf(out, size, "%s", nobody);
        return;
    }
    for (long n = 1; n <= sysmap::USERS.limit; ++n) {
        off_t at = sysmap::USERS.base + (n - 1) * sysmap::USERS.length;
        if (nv::lock_holder(sfd, at, sysmap::USERS.length) != pid) continue;
        sys_gebruiker u{};
        if (nv::os::pread_full(sfd, &u, sizeof u, at) != (ssize_t)sizeof u) break;
        char name[sizeof u.naam + 2] = {};
        std::memcpy(name, u.naam, sizeof u.naam);
        UNSCRAMBLE(name);
        char main[160];
        if (std::strncmp(text, "PROG", 4) == 0)
            std::snprintf(main, sizeof main, "Programma in gebruik door %s", name);
        else if (text[0] == '~')
            std::snprintf(main, sizeof main, "%s: in gebruik door %s", text + 1, name);
        else
            std::snprintf(main, sizeof main, "Informatie in gebruik door %s", name);
        if (u.tty[0])
            std::snprintf(out, size, "%s (tty%.6s)", main, u.tty);
        else
            std::snprintf(out, size, "%s", main);
        return;
    }
    std::snprintf(out, size, "%s", nobody);
}

bool actie_geldig(const sys_actie &a, uint16_t datum, int filiaal) {
    if (datum < a.vanaf || datum > a.tot) return false;
    if (filiaal < 0 || filiaal >= 256) return false;
    return a.filialen[filiaal / 8] & (1u << (filiaal % 8));
}

// ------------------------------------------------------------- branch file
namespace {
char g_filname[256] = "DTFILGEG.TXT";
int g_filfd = -1;
} // namespace

void iofil_filename(const char *name) { std::snprintf(g_filname, sizeof g_filname, "%s", name); }

int iofil(int action, int branch, fil_rec *buffer) {
    if (action == 'O') {
        if (g_filfd < 0) {
            g_filfd = nv::os::open_shared(g_filname, O_RDWR);
            if (g_filfd < 0) open_fatal("iofil", g_filname);
        }
        return 1;
    }
    if (action == 'C') {
        if (g_filfd >= 0) nv::os::close_shared(g_filfd);
        g_filfd = -1;
        return 1;
    }
    if (action != 'R' && action != 'W') return 0;
    if (g_filfd < 0) errno_fatal("iofil", 2);
    // The number of branches comes from the company record.
    sys_bedrijf b{};
    if (g_fd < 0 || nv::os::pread_full(g_fd, &b, sizeof b, 0) != (ssize_t)sizeof b) errno_fatal("iofil", 2);
    if (branch < 0 || branch > b.aantal_fil) errno_fatal("iofil", 1);
    long slot = branch == b.aantal_fil ? 0 : branch + 1;
    off_t at = (off_t)slot * (off_t)sizeof(fil_rec);
    if (action == 'R') {
        if (nv::os::pread_full(g_filfd, buffer, sizeof *buffer, at) != (ssize_t)sizeof *buffer) return 0;
        if (slot == 0) {
            std::memset(buffer->naam, 0, sizeof buffer->naam);
            std::memcpy(buffer->naam, b.bedrijf, sizeof b.bedrijf);
        } else {
            char name[sizeof buffer->naam + 1] = {};
            std::memcpy(name, buffer->naam, sizeof buffer->naam);
            UNSCRAMBLE(name);
            std::memset(buffer->naam, 0, sizeof buffer->naam);
            std::memcpy(buffer->naam, name, std::strlen(name) < sizeof buffer->naam ? std::strlen(name) : sizeof buffer->naam);
        }
        return 1;
    }
    fil_rec copy = *buffer;
    if (slot == 0) {
        std::memset(copy.naam, 0, sizeof copy.naam);
    } else {
        char name[sizeof copy.naam + 2] = {};
        std::memcpy(name, buffer->naam, sizeof buffer->naam - 2); // room for the key
        SCRAMBLE(name);
        std::memset(copy.naam, 0, sizeof copy.naam);
        std::memcpy(copy.naam, name, std::strlen(name));
    }
    return nv::os::pwrite_full(g_filfd, &copy, sizeof copy, at) == (ssize_t)sizeof copy;
}

bool kasparm_read(kas_parm *out, const char *name) {
    int fd = nv::os::open_shared(name, O_RDONLY);
    if (fd < 0) return false;
    bool ok = nv::os::pread_full(fd, out, sizeof *out, 0) == (ssize_t)sizeof *out;
    nv::os::close_shared(fd);
    return ok;
}

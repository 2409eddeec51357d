// File utilities: see fileutil.h.
#include "base/fileutil.h"

#include "base/catalog.h"
#include "base/cp850.h"
#include "base/fatal.h"
#include "base/osfile.h"
#include "base/txt.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace nv {
namespace {

void default_wait(const char *) {
    ::sleep(1);
}
FileWaitHook g_wait = default_wait;

// ---- the listing stack

constexpr int k_levels = 10;

struct Listing {
    int cursor = 0;
    std::vector<std::string> names; // with the directory part as asked
};
std::vector<Listing> g_stack;

// Splits a path into the directory part as asked ("DIR/", "C:", "") and
// the directory to list ("DIR", ".").
void split(const char *path, std::string &asked, std::string &where) {
    const char *p = path;
    size_t drive = p[0] && p[1] == ':' ? 2 : 0;
    const char *slash = std::strrchr(p + drive, '/');
    size_t end = slash ? (size_t)(slash - p) + 1 : drive;
    asked.assign(p, end);
    where.assign(p + drive, end - drive);
    if (where.empty()) where = ".";
}

// The names in a directory of the wanted kind for which match says yes.
template <class Match> std::vector<std::string> list(const char *path, bool dirs, Match match) {
    std::string asked, where;
    split(path, asked, where);
    std::vector<std::string> out;
    DIR *d = ::opendir(where.c_str());
    if (!d) return out;
    while (struct dirent *e = ::readdir(d)) {
        std::string full = where + "/" + e->d_name;
        struct stat st;
        if (::stat(full.c_str(), &st) != 0) continue;
        if ((dirs ? S_ISDIR(st.st_mode) : S_ISREG(st.st_mode)) && match(e->d_name))
            out.push_back(asked + e->d_name);
    }
    ::closedir(d);
    std::sort(out.begin(), out.end(), [](const std::string &a, const std::string &b) {
        return std::strcmp(a.c_str(), b.c_str()) < 0;
    });
    return out;
}

const char *pattern_part(const char *path) {
    const char *p = path[0] && path[1] == ':' ? path + 2 : path;
    const char *slash = std::strrchr(p, '/');
    return slash ? slash + 1 : p;
}

bool same_letter(char a, char b) {
    return cp850::upper((unsigned char)a) == cp850::upper((unsigned char)b);
}

// ---- temporary names

struct TempState {
    int number = -1;
    int letters = 0; // 0 = AA .. 675 = ZZ
};
TempState g_temp;
char g_temp_name[PATH_MAX];

// ---- locks from the current position

int lockf_call(int fd, short type, long length) {
    struct flock fl {};
    fl.l_type = type;
    fl.l_whence = SEEK_CUR;
    fl.l_start = 0;
    fl.l_len = length;
    int r;
    do
        r = os::calls().fcntl_lock(fd, F_SETLK, &fl);
    while (r < 0 && errno == EINTR);
    if (r == 0) os::note_lock(fd, type == F_UNLCK ? -1 : +1);
    return r;
}

} // namespace

void set_file_wait_hook(FileWaitHook h) {
    g_wait = h ? h : default_wait;
}

std::string wild_scan_format(const char *pattern) {
    const char *p = pattern_part(pattern);
    if (!*p) return "%*s %c";
    std::string f;
    for (size_t i = 0; p[i]; ++i) {
        char c = p[i];
        if (c == '*') {
            if (p[i + 1] == 0)
                f += "%*s";
            else if (p[i + 1] == '.')
                f += "%*[^.]";
            else if (i > 0 && p[i - 1] == '.')
                f += "%*s";
            else
                f += '*';
        } else if (c == '?') {
            f += "%*c";
        } else if (c == '%') {
            f += "%%";
        } else {
            f += c;
        }
    }
    return f + " %c";
}

bool wild_scan_match(const std::string &format, const char *name) {
    std::string in = std::string(name) + " \x01";
    char got = 0;
    return std::sscanf(in.c_str(), format.c_str(), &got) == 1 && got == 1;
}

bool wild_match(const char *pattern, const char *name) {
    std::string pat = pattern;
    bool open_end = pat.size() >= 2 && pat.compare(pat.size() - 2, 2, ".*") == 0;
    if (open_end) pat.resize(pat.size() - 2);
    const char *s = pat.c_str(), *n = name;
    while (*s) {
        if (*s == '*') {
            while (*s == '*' || *s == '?')
                ++s;
            if (!*s) return true;
            size_t run = std::strcspn(s, "*?");
            const char *hit = nullptr;
            for (const char *t = n; *t && !hit; ++t) {
                size_t k = 0;
                while (k < run && t[k] && same_letter(t[k], s[k]))
                    ++k;
                if (k == run) hit = t;
            }
            if (!hit) return false;
            n = hit + run;
            s += run;
        } else if (*s == '?') {
            if (*n) ++n;
            ++s;
        } else {
            if (!*n || !same_letter(*s, *n)) return false;
            ++s, ++n;
        }
    }
    return open_end || !*n;
}

} // namespace nv

using namespace nv;

int DIRECTORY(int op, char *path, int kind) {
    switch (op) {
    case 'O': {
        if ((int)g_stack.size() >= k_levels) fatal("DIRECTORY : ALLOC");
        std::string format = wild_scan_format(path);
        Listing l;
        l.names = list(path, kind == 2, [&](const char *n) { return wild_scan_match(format, n); });
        if (l.names.empty()) return 0;
        g_stack.push_back(std::move(l));
        return 1;
    }
    case 'N': {
        if (g_stack.empty()) return 0;
        Listing &l = g_stack.back();
        if (l.cursor >= (int)l.names.size()) return 0;
        std::snprintf(path, PATH_MAX, "%s", l.names[(size_t)l.cursor++].c_str());
        return 1;
    }
    case 'C':
        if (g_stack.empty()) return 0;
        g_stack.pop_back();
        return 1;
    default:
        return 0;
    }
}

int FILES_PRESENT(const char *path) {
    if ((int)g_stack.size() >= k_levels) fatal("FILES_PRESENT : ALLOC voor DIR_ENT");
    const char *pat = pattern_part(path);
    std::vector<std::string> names;
    if (std::strstr(pat, "%*")) {
        std::string format = pat;
        if (format.size() < 2 || format.compare(format.size() - 2, 2, "%c") != 0) format += " %c";
        names = list(path, false, [&](const char *n) { return wild_scan_match(format, n); });
    } else {
        names = list(path, false, [&](const char *n) { return wild_match(pat, n); });
    }
    return (int)names.size();
}

long file_size(const char *path) {
    struct stat st;
    return ::stat(path, &st) == 0 ? (long)st.st_size : -1;
}

bool file_exists(const char *path) {
    struct stat st;
    return ::stat(path, &st) == 0;
}

bool is_directory(const char *path) {
    struct stat st;
    return ::stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

bool file_remove(const char *path) {
    return os::calls().unlink(path) == 0 || errno == ENOENT;
}

int file_lock(int fd, int op, long length) {
    if (length < 1) return 0;
    bool lock = op == 3 || op == 4;
    if (!lock && op != 13 && op != 14) return -1;
    if ((op == 4 || op == 14) && ::lseek(fd, 0, SEEK_END) < 0) return -1;
    if (!lock) return lockf_call(fd, F_UNLCK, length);
    for (;;) {
        int r = lockf_call(fd, F_WRLCK, length);
        if (r == 0 || (errno != EAGAIN && errno != EACCES)) return r;
        g_wait(KOR(1, 15, "Informatie in gebruik op ander scherm"));
    }
}

bool file_copy(const char *from, const char *to, int mode) {
    static char fallback[256];
    void *mem = nullptr;
    size_t size = alloc_between(&mem, 512, 32768);
    char *buf = size ? (char *)mem : fallback;
    if (!size) size = sizeof fallback;

    bool locked_src = true;
    int in = os::open_shared(from, O_RDWR);
    if (in < 0) {
        in = os::open_shared(from, O_RDONLY);
        locked_src = false;
    }
    if (in < 0) {
        std::free(mem);
        return false;
    }
    ::lseek(in, 0, SEEK_SET);
    if (locked_src) file_lock(in, 3, 0x7FFFFFFE);

    int flags = O_RDWR | O_CREAT | (mode < 0 ? O_EXCL : mode == 0 ? O_TRUNC : 0);
    int out = os::open_shared(to, flags, 0660);
    bool ok = out >= 0;
    if (ok) {
        off_t start = mode > 0 ? ::lseek(out, 0, SEEK_END) : 0;
        ::lseek(out, start, SEEK_SET);
        file_lock(out, 3, 0x7FFFFFFE - (long)start);
        off_t rd = 0, wr = start;
        for (;;) {
            ssize_t n = os::calls().pread(in, buf, size, rd);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                ok = n == 0;
                break;
            }
            if (os::pwrite_full(out, buf, (size_t)n, wr) != n) {
                ok = false;
                break;
            }
            rd += n, wr += n;
        }
        ::lseek(out, start, SEEK_SET);
        file_lock(out, 13, 0x7FFFFFFE - (long)start);
        os::close_shared(out);
        if (!ok && start == 0) file_remove(to);
    }
    ::lseek(in, 0, SEEK_SET);
    if (locked_src) file_lock(in, 13, 0x7FFFFFFE);
    os::close_shared(in);
    std::free(mem);
    return ok;
}

bool file_move(const char *from, const char *to, bool overwrite) {
    if (overwrite) file_remove(to);
    bool ok = ::link(from, to) == 0 || file_copy(from, to, overwrite ? 0 : -1);
    return ok && file_remove(from);
}

const char *temp_name(const char *directory, const char *prefix) {
    // Every name of the 100 numbers once at most; then the directory is full.
    for (int tries = 0; tries < 676 * 100; ++tries) {
        if (g_temp.number >= 0) ++g_temp.letters;
        if (g_temp.number == -1) {
            g_temp.number = (int)(::getpid() % 100);
            g_temp.letters = 0;
        } else if (g_temp.letters >= 676) {
            g_temp.number = (g_temp.number + 1) % 100;
            g_temp.letters = 0;
        }
        char name[16];
        std::snprintf(name, sizeof name, "%.4s%c%c%02d", prefix ? prefix : "",
                      'A' + g_temp.letters / 26, 'A' + g_temp.letters % 26, g_temp.number);
        if (directory && *directory)
            std::snprintf(g_temp_name, sizeof g_temp_name, "%s/%s", directory, name);
        else
            std::snprintf(g_temp_name, sizeof g_temp_name, "%s", name);
        int fd = os::calls().open(g_temp_name, O_RDWR | O_CREAT | O_EXCL, 0660);
        if (fd >= 0) {
            os::calls().close(fd);
            os::calls().unlink(g_temp_name);
            return g_temp_name;
        }
        if (errno != EEXIST) break;
    }
    g_temp_name[0] = 0;
    return g_temp_name;
}

long disk_free() {
    struct statvfs vs;
    if (::statvfs(".", &vs) != 0) return 0x7FFFFFFF;
    unsigned long long blocks = (unsigned long long)vs.f_bavail * vs.f_frsize / 512;
    return blocks > 0x7FFFFFFF ? 0x7FFFFFFF : (long)blocks;
}

void close_char_files() {
    for (int fd = 3; fd <= 39; ++fd) {
        struct stat st;
        if (::fstat(fd, &st) == 0 && S_ISCHR(st.st_mode)) ::close(fd);
    }
}

void report_open_files() {
    std::vector<ino_t> inodes;
    for (int fd = 3; fd <= 39; ++fd) {
        struct stat st;
        if (::fstat(fd, &st) != 0 || S_ISCHR(st.st_mode)) continue;
        inodes.push_back(st.st_ino);
        ::close(fd);
    }
    if (inodes.empty()) return;
    std::printf(KOR(1, 147, "%d bestand(en) open bij het verlaten van het programma, te weten:"),
                (int)inodes.size());
    if (DIR *d = ::opendir(".")) {
        while (struct dirent *e = ::readdir(d))
            if (std::find(inodes.begin(), inodes.end(), e->d_ino) != inodes.end())
                std::printf("\n  %s", e->d_name);
        ::closedir(d);
    }
    std::printf("\n\n%s", KOR(1, 96, "<ENTER> voor vervolg"));
    std::fflush(stdout);
    std::getchar();
}

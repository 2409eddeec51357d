// Temporary names, the copy into a drop directory, and shell quoting.
//
// temp_name keeps two letters and a number for the whole process. The
// number starts at the process id modulo 100, so that two processes that
// print at the same time mostly try different names; the letters step from
// AA to ZZ, and when they are used up the number moves on by one. A name
// that exists already is skipped.
#include "print/prtfile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace nv::prt {
namespace {

char g_first = 'A', g_second = 'A';
int g_number = -1;

void step_letters() {
    if (g_number < 0) {
        g_number = (int)(getpid() % 100);
        g_first = g_second = 'A';
        return;
    }
    if (g_second < 'Z') {
        ++g_second;
    } else if (g_first < 'Z') {
        ++g_first;
        g_second = 'A';
    } else {
        g_number = (g_number + 1) % 100;
        g_first = g_second = 'A';
    }
}

} // namespace

std::string temp_name(const char *dir, const char *prefix) {
    // 26 * 26 names per number; after a full round of numbers every name
    // exists and the directory is not worth trying further.
    for (int tries = 0; tries < 26 * 26 * 100; ++tries) {
        step_letters();
        char name[64];
        std::snprintf(name, sizeof name, "%.4s%c%c%02d", prefix ? prefix : "", g_first, g_second,
                      g_number);
        std::string path = dir && *dir ? std::string(dir) + "/" + name : std::string(name);
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0660);
        if (fd >= 0) {
            ::close(fd);
            ::unlink(path.c_str());
            return path;
        }
        if (errno != EEXIST) return "";
    }
    return "";
}

bool copy_new(const char *from, const char *to) {
    int in = ::open(from, O_RDONLY);
    if (in < 0) return false;
    int out = ::open(to, O_WRONLY | O_CREAT | O_EXCL, 0660);
    if (out < 0) {
        ::close(in);
        return false;
    }
    bool ok = true;
    char buf[32768];
    for (;;) {
        ssize_t n = ::read(in, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            ok = n == 0;
            break;
        }
        for (ssize_t done = 0; done < n;) {
            ssize_t w = ::write(out, buf + done, (size_t)(n - done));
            if (w < 0 && errno == EINTR) continue;
            if (w <= 0) {
                ok = false;
                break;
            }
            done += w;
        }
        if (!ok) break;
    }
    ::close(in);
    if (::close(out) != 0) ok = false;
    if (!ok) ::unlink(to);
    return ok;
}

std::string shell_quote(const char *text) {
    std::string q = "'";
    for (const char *p = text; *p; ++p) {
        if (*p == '\'')
            q += "'\\''";
        else
            q += *p;
    }
    return q + "'";
}

} // namespace nv::prt

// The journal cursor: see iojrn.h. All file access goes through the
// system-call seam of nv::os, so that tests can make writes fail.
#include "sale/iojrn.h"

#include "base/fatal.h"
#include "base/osfile.h"
#include "sale/jrnnaam.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int k_buf_max = 16384;
constexpr int k_buf_min = 1024;
constexpr mode_t k_mode = 0660;

} // namespace

void *iojrn_area(jrn_cursor *c, char letter) {
    switch (letter) {
    case 'H':
        return &c->h;
    case 'V':
    case 'R':
    case 'Z':
    case 'z':
        return &c->regel;
    case 'D':
        return &c->d;
    case 'S':
        return &c->s;
    case 'I':
        return &c->i;
    case 'T':
        return &c->t;
    case 'B':
        return &c->b;
    case 'U':
        return &c->u;
    default:
        return nullptr; // E and X have no payload
    }
}

namespace {

int open_file(const char *path, int flags, bool *created) {
    struct stat st;
    bool exists = ::stat(path, &st) == 0;
    if (flags & O_TRUNC)
        flags |= O_CREAT;
    else if ((flags & O_CREAT) && exists)
        flags &= ~O_CREAT;
    int fd;
    do
        fd = nv::os::calls().open(path, flags, k_mode);
    while (fd < 0 && errno == EINTR);
    *created = fd >= 0 && !exists;
    if (*created) ::fchmod(fd, k_mode); // rw-rw---- whatever the umask
    return fd;
}

void close_fd(int fd) {
    if (fd < 0) return;
    int r;
    do
        r = nv::os::calls().close(fd);
    while (r < 0 && errno == EINTR);
}

// Makes n bytes at off available in the buffer, refilling it from off when
// they lie outside. Null when the file holds fewer bytes there.
const char *want(jrn_cursor *c, off_t off, int n) {
    if (c->buflen > 0 && off >= c->bufoff && off + n <= c->bufoff + c->buflen)
        return c->bufp = c->buf + (off - c->bufoff);
    ssize_t got = nv::os::pread_full(c->fd, c->buf, (size_t)c->bufsize, off);
    c->bufoff = off;
    c->buflen = got > 0 ? (int32_t)got : 0;
    if (c->buflen < n) return nullptr;
    return c->bufp = c->buf;
}

off_t file_end(int fd) {
    struct stat st;
    return ::fstat(fd, &st) == 0 ? st.st_size : -1;
}

} // namespace

jrn_cursor *iojrn_open(const char *path, int oflags) {
    if (!path || std::strlen(path) >= sizeof(jrn_cursor::path)) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    bool created;
    int fd = open_file(path, oflags, &created);
    if (fd < 0) return nullptr;
    auto *c = (jrn_cursor *)std::calloc(1, sizeof(jrn_cursor));
    if (!c) mem_fatal("iojrn", 1);
    for (c->bufsize = k_buf_max; c->bufsize >= k_buf_min; c->bufsize /= 2)
        if ((c->buf = (char *)std::malloc((size_t)c->bufsize))) break;
    if (!c->buf) mem_fatal("iojrn", 2);
    c->bufp = c->buf;
    std::snprintf(c->path, sizeof c->path, "%s", path);
    c->oflags = oflags;
    c->fd = fd;
    c->last_off = c->h_off = -1;
    c->letter = ' ';
    int branch, till;
    jrn_naam_uit(path, &branch, &till);
    c->filnr = (uint8_t)branch;
    c->kasnr = (uint8_t)till;
    return c;
}

void iojrn_close(jrn_cursor *c) {
    if (!c) return;
    close_fd(c->fd);
    std::free(c->buf);
    std::free(c);
}

int iojrn_read(jrn_cursor *c) {
    const char *p = want(c, c->pos, 1);
    if (!p) {
        c->letter = '~';
        return 0;
    }
    char letter = *p;
    int n = jrn_payload_len(letter);
    if (n < 0 || (n > 0 && !(p = want(c, c->pos + 1, n)))) {
        c->letter = '?';
        return 0;
    }
    if (n > 0) std::memcpy(iojrn_area(c, letter), p, (size_t)n);
    c->letter = letter;
    c->last_off = c->pos;
    if (letter == 'H') c->h_off = c->pos;
    c->pos += 1 + n;
    return 1;
}

int iojrn_write_at(jrn_cursor *c, off_t offset, char letter) {
    if (!c || offset < 0) return 0;
    int n = jrn_payload_len(letter);
    if (n < 0) return 0;
    if (nv::os::pwrite_full(c->fd, &letter, 1, offset) != 1) return 0;
    if (n > 0 && nv::os::pwrite_full(c->fd, iojrn_area(c, letter), (size_t)n, offset + 1) != n)
        return 0;
    c->last_off = offset;
    c->letter = letter;
    if (letter == 'H') c->h_off = offset;
    c->pos = offset + 1 + n;
    c->buflen = 0;
    return 1;
}

int iojrn_append(jrn_cursor *c, char letter) {
    return c ? iojrn_write_at(c, file_end(c->fd), letter) : 0;
}

int iojrn_rewrite_header(jrn_cursor *c) {
    return c ? iojrn_write_at(c, c->h_off, 'H') : 0;
}

int iojrn_rewrite_last(jrn_cursor *c) {
    return c ? iojrn_write_at(c, c->last_off, c->letter) : 0;
}

void iojrn_reopen(jrn_cursor *c) {
    close_fd(c->fd);
    bool created;
    c->fd = open_file(c->path, O_RDWR, &created);
    if (c->fd < 0) open_fatal("iojrn", c->path);
    c->buflen = 0;
}

long iojrn_check(const char *path) {
    struct stat st;
    if (::stat(path, &st) != 0 || st.st_size == 0) return 1;
    jrn_cursor *c = iojrn_open(path, O_RDONLY);
    if (!c) return -1;
    char prev = ' ';
    long end_x = 0;
    for (;;) {
        iojrn_read(c);
        if (c->letter == '~' || !jrn_may_follow(prev, c->letter)) break;
        if (c->letter == 'X') end_x = (long)c->pos;
        prev = c->letter;
    }
    long result = c->letter == '~' ? end_x : -1;
    iojrn_close(c);
    return result;
}

namespace {

// A work file beside the journal, so that it can take the journal's name
// by a rename: TP, two letters and two digits of the process id.
int make_work_file(const std::string &dir, std::string *name) {
    int nr = (int)(getpid() % 100);
    for (int a = 0; a < 26 * 26; ++a) {
        char base[16];
        std::snprintf(base, sizeof base, "TP%c%c%02d", 'A' + a / 26, 'A' + a % 26, nr);
        *name = dir + base;
        int fd;
        do
            fd = nv::os::calls().open(name->c_str(), O_RDWR | O_CREAT | O_EXCL, k_mode);
        while (fd < 0 && errno == EINTR);
        if (fd >= 0) {
            ::fchmod(fd, k_mode);
            return fd;
        }
        if (errno != EEXIST) return -1;
    }
    return -1;
}

// Output of the purge, written in large pieces.
struct Writer {
    int fd = -1;
    off_t off = 0;
    std::string buf;
    bool ok = true;
    void put(const void *p, size_t n) {
        buf.append((const char *)p, n);
        if (buf.size() >= 65536) flush();
    }
    void flush() {
        if (ok && !buf.empty() &&
            nv::os::pwrite_full(fd, buf.data(), buf.size(), off) != (ssize_t)buf.size())
            ok = false;
        off += (off_t)buf.size();
        buf.clear();
    }
};

} // namespace

bool iojrn_purge(const char *path, uint16_t last_date) {
    jrn_cursor *c = iojrn_open(path, O_RDONLY);
    if (!c) return false;
    std::string dir = path, work;
    size_t slash = dir.rfind('/');
    dir = slash == std::string::npos ? "" : dir.substr(0, slash + 1);
    Writer w;
    w.fd = make_work_file(dir, &work);
    if (w.fd < 0) {
        iojrn_close(c);
        return false;
    }
    while (iojrn_read(c)) {
        if ((c->h.hflags & HF_VERWERKT) && c->h.datum <= last_date) continue;
        w.put(&c->letter, 1);
        if (int n = jrn_payload_len(c->letter)) w.put(iojrn_area(c, c->letter), (size_t)n);
    }
    // A damaged tail is kept as it stands: the purge is no place to lose it.
    char tail[4096];
    for (off_t off = c->pos;;) {
        ssize_t n = nv::os::pread_full(c->fd, tail, sizeof tail, off);
        if (n < 0) w.ok = false;
        if (n <= 0) break;
        w.put(tail, (size_t)n);
        off += n;
    }
    w.flush();
    iojrn_close(c);
    bool ok = w.ok && nv::os::calls().fsync(w.fd) == 0;
    close_fd(w.fd);
    if (ok) ok = nv::os::calls().rename(work.c_str(), path) == 0;
    if (!ok) nv::os::calls().unlink(work.c_str());
    return ok;
}

// The read-only mappings of the store's files: see ixmap.h.
#include "store/ixmap.h"

#include "base/osfile.h"

#include <algorithm>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <sys/mman.h>
#include <sys/stat.h>
#include <vector>

namespace nv::store {
namespace {

bool g_fast = true;
std::vector<FileMap *> g_maps;

// The guard around a copy. The handler runs with SIGBUS not blocked
// (SA_NODEFER), so that the jump out of it leaves the mask as it was and a
// later fault is caught the same way.
sigjmp_buf g_jump;
volatile sig_atomic_t g_copying = 0;
const uint8_t *volatile g_lo = nullptr;
const uint8_t *volatile g_hi = nullptr;
struct sigaction g_before;
bool g_installed = false;

void on_sigbus(int, siginfo_t *si, void *) {
    const uint8_t *at = (const uint8_t *)si->si_addr;
    if (g_copying && at >= g_lo && at < g_hi) {
        g_copying = 0;
        siglongjmp(g_jump, 1);
    }
    // Not ours: the handler from before, which the fault meets again on
    // the return.
    sigaction(SIGBUS, &g_before, nullptr);
    g_installed = false;
}

void install() {
    if (g_installed) return;
    struct sigaction sa {};
    sa.sa_sigaction = on_sigbus;
    sa.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigemptyset(&sa.sa_mask);
    if (sigaction(SIGBUS, &sa, &g_before) == 0) g_installed = true;
}

bool guarded_copy(void *out, const uint8_t *src, size_t n) {
    install();
    if (!g_installed) return false;
    g_lo = src;
    g_hi = src + n;
    if (sigsetjmp(g_jump, 0) != 0) return false;
    g_copying = 1;
    std::memcpy(out, src, n);
    g_copying = 0;
    return true;
}

} // namespace

void FileMap::unmap() {
    if (base_) os::calls().munmap((void *)base_, len_);
    base_ = nullptr;
    len_ = 0;
}

// Makes sure that [0, end) lies in the file and in the mapping.
bool FileMap::reach(int fd, int64_t end) {
    if (end > known_) {
        struct stat st;
        if (::fstat(fd, &st) != 0) return false;
        known_ = st.st_size;
        if (end > known_) return false;
    }
    if ((uint64_t)end <= len_) return true;
    if (refused_) return false;
    unmap();
    constexpr int64_t k_step = 1 << 20;
    int64_t want = std::max(end, known_) * 2;
    size_t len = (size_t)((want + k_step - 1) / k_step * k_step);
    void *m = os::calls().mmap(nullptr, len, PROT_READ, MAP_SHARED, fd, 0);
    if (m == MAP_FAILED) {
        refused_ = true;
        return false;
    }
    base_ = (const uint8_t *)m;
    len_ = len;
    return true;
}

bool FileMap::copy(int fd, int64_t off, void *out, size_t n) {
    if (off < 0 || !reach(fd, off + (int64_t)n)) return false;
    if (guarded_copy(out, base_ + off, n)) return true;
    known_ = 0; // cut under us: ask again next time
    return false;
}

FileMap *map_attach(int fd) {
    if (!g_fast || fd < 0) return nullptr;
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return nullptr;
    FileMap *m = nullptr;
    for (FileMap *e : g_maps)
        if (e->dev == st.st_dev && e->ino == st.st_ino) m = e;
    if (!m) {
        m = new FileMap(st.st_dev, st.st_ino);
        g_maps.push_back(m);
    }
    ++m->users;
    return m;
}

void map_detach(FileMap *&m) {
    if (!m) return;
    if (--m->users == 0) {
        g_maps.erase(std::find(g_maps.begin(), g_maps.end(), m));
        delete m;
    }
    m = nullptr;
}

void set_fast_reads(bool on) {
    g_fast = on;
}

} // namespace nv::store

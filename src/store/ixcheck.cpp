// IXCHECK: is a pair of files sound enough to work with? See ixcheck.h.
//
// The check reads only the header, the sizes of both files and the free
// list; it trusts none of them. Every count read from the file is bounded by
// something measured (the free-list walk by the record count, which must in
// turn match the size of the data file), so a damaged file gives -1, never
// a long or endless walk. The header is read under the header lock, so that
// a change in progress in another process is waited for rather than seen
// half done.
#include "store/ixcheck.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/osfile.h"
#include "store/ixhook.h"
#include "store/ixint.h"
#include "store/ixprogress.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <new>
#include <sys/stat.h>
#include <vector>

using namespace nv::store;

namespace {

// A next free block above this asks whether to go on: 649 blocks below the
// highest signed 32-bit number.
constexpr int32_t k_block_warn = 2147482999;

int64_t size_of(int fd) {
    struct stat st;
    return ::fstat(fd, &st) == 0 ? (int64_t)st.st_size : -1;
}

// The control block the lock actions need: the index descriptor and, for
// the in-use message, the header's name and title.
struct WorkIcb {
    ICB *icb;
    explicit WorkIcb(int ifd, const char *name) : icb(new ICB{}) {
        icb->ifd = ifd;
        icb->dfd = -1;
        icb->mode = 2;
        icb->cur_rec = -1;
        std::snprintf(icb->fname, sizeof icb->fname, "%s", name);
    }
    ~WorkIcb() {
        nv::os::close_shared(icb->ifd);
        delete icb;
    }
    WorkIcb(const WorkIcb &) = delete;
    WorkIcb &operator=(const WorkIcb &) = delete;
};

void header_name(const IxHeader &h, char out[12]) {
    std::memcpy(out, h.name, 11);
    out[11] = 0;
}

} // namespace

void nv::store::flash_old_version(const char *name, int version) {
    char text[512];
    std::snprintf(text, sizeof text,
                  KOR(1, 227,
                      "Versie van het bestand is onjuist.\nBestandnaam : %s\n"
                      "Versie bestand : %d\nVersie pakket : %d"),
                  name, version, k_version);
    flash(-1, nullptr, text);
}

namespace {

// Version 350 is the previous format: refused, with the way out. Any other
// version but ours is taken over. False: the check ends with -1.
bool take_version(ICB *icb, IxHeader &h, bool temporary) {
    if (h.version == k_version) return true;
    char hn[12], text[512];
    header_name(h, hn);
    if (h.version == k_version_old) {
        if (temporary) {
            std::snprintf(text, sizeof text,
                          KOR(21, 1,
                              "Versie van het tijdelijke bestand is onjuist.\n"
                              "Tijdelijke bestanden kunnen niet geconverteerd worden.\n"
                              "Deze kunnen het beste verwijderd worden                 \n"
                              "Bestandnaam : %s\nVersie bestand : %d\nVersie pakket : %d"),
                          hn, h.version, k_version);
            flash(-1, nullptr, text);
            return false;
        }
        flash_old_version(hn, h.version);
        nv::fatal("%s", KOR(1, 228, "U kunt het bestand converteren met IXREMAKE.EXE"));
    }
    h.version = k_version;
    if (nv::os::pwrite_full(icb->ifd, &h, k_header_bytes, 0) != k_header_bytes)
        io_fatal(icb, icb->fname, errno);
    return true;
}

// Walks the free list: the number of free slots, or -1 when the list runs
// into a live slot or off the file, or goes round (the budget of one step
// per slot runs out with a link still in hand).
int walk_free_list(const IxHeader &h, const char *dpath) {
    int dfd = nv::os::open_shared(dpath, O_RDWR);
    if (dfd < 0) nv::fatal(KOR(20, 24, "RDISAM(%d): %s "), errno, dpath);
    const int reclen = h.reclen;
    std::vector<uint8_t> slot((size_t)reclen);
    int32_t link = h.freelist;
    // One step per slot: of the header's count, and of the file as it is
    // (a dotted file's data size is not held against the count).
    int64_t slots = (int64_t)size_of(dfd) / reclen;
    int64_t budget = std::min<int64_t>(h.reccount, slots);
    int count = 0;
    auto start = std::chrono::steady_clock::now();
    bool shown = false;
    char hn[12];
    header_name(h, hn);
    while (link >= 0 && budget-- > 0) {
        if ((count & 255) == 255) {
            if (!shown && std::chrono::steady_clock::now() - start > std::chrono::seconds(2)) {
                ixprogress(0, 0, h.reccount, KOR(1, 229, "Voortgang %s"), hn);
                shown = true;
            }
            if (shown) ixprogress(1, count, h.reccount);
        }
        if (nv::os::pread_full(dfd, slot.data(), (size_t)reclen, (off_t)link * reclen) != reclen)
            break;
        // The last byte of the slot is not looked at.
        if (!slot_is_free(slot.data(), reclen - 1)) break;
        link = reclen >= 5 ? get_le32(slot.data() + 1) : -1;
        ++count;
    }
    nv::os::close_shared(dfd);
    if (shown) ixprogress(2, count, h.reccount);
    return link >= 0 ? -1 : count;
}

void warn_near_limit(const IxHeader &h) {
    if (h.nextblk <= k_block_warn) return;
    char hn[12], text[256];
    header_name(h, hn);
    std::snprintf(text, sizeof text,
                  KOR(1, 231, "Het bestand %s is bijna aan zijn limiet !\nWilt U toch doorgaan "),
                  hn);
    if (flash(-2, KOR(1, 230, "Waarschuwing"), text) != 1)
        nv::fatal(KOR(1, 232, "Het bestand %s is bijna aan zijn limiet !"), hn);
}

} // namespace

int IXCHECK(const char *name) {
    IxPaths p;
    if (!name || !derive_paths(name, &p)) return -1;
    struct stat st;
    if (::stat(p.index, &st) != 0 || st.st_size < k_block || st.st_size % k_block != 0) return -1;
    if (::stat(p.data, &st) != 0) return -1;
    int ifd = nv::os::open_shared(p.index, O_RDWR);
    if (ifd < 0) return -1;
    WorkIcb w(ifd, name);
    ICB *icb = w.icb;

    IxHeader h{};
    if (nv::os::pread_full(ifd, &h, k_header_bytes, 0) == k_header_bytes) {
        icb->hdr = h; // name and title for the messages of a lock wait
        if (!take_version(icb, h, p.temporary)) return -1;
    }
    if (nv::os::pread_full(ifd, &h, 45, 0) != 45) return -1;

    IXLOCK(icb, 2);
    int result = -1;
    bool read = nv::os::pread_full(ifd, &h, k_header_bytes, 0) == k_header_bytes;
    if (read && !h.busy && !header_problem(h) && size_of(ifd) == (int64_t)h.nextblk * k_block) {
        bool measured = std::strstr(p.index, ".INX") != nullptr;
        int64_t dsize = -1;
        if (::stat(p.data, &st) == 0) dsize = (int64_t)st.st_size;
        if (!measured || dsize == (int64_t)h.reclen * h.reccount) {
            result = walk_free_list(h, p.data);
            warn_near_limit(h);
        }
    }
    IXLOCK(icb, 12);
    return result;
}

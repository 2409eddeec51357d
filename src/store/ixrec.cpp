// Record operations: open, create, initialise and close a file pair; read by
// key or number; insert, update and delete with all keys kept in step.
//
// State of an open file (the ICB) and its invariants:
//  - the header in the ICB is the file's truth in exclusive mode (mode 1)
//    and reaches the disk at IXCLOSE; in shared mode (2) every change reads
//    it under the header lock, sets the busy mark on disk, and writes it back
//    with the mark cleared (prologue and epilogue below), so that a process
//    that dies inside a change leaves the mark for the check to find;
//  - the data slot of a record never moves: an update rewrites it in place;
//  - free slots form a stack through byte 1 of each free slot, head in the
//    header: a delete pushes, an insert pops before it appends;
//  - the current record is set by what delivers a record or a key (reads,
//    walks, IXFOUND, IXGET), not by the tree searches of a change.
// Lock order: header lock, then a record lock or the lock queue.
#include "base/catalog.h"
#include "base/fatal.h"
#include "base/osfile.h"
#include "store/ixhook.h"
#include "store/ixint.h"
#include "store/ixmap.h"
#include "store/ixreg.h"

#include <cerrno>
#include <cstdio>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace nv::store;

namespace {

[[noreturn]] void open_failed(int err, const char *path) {
    nv::fatal(KOR(20, 24, "RDISAM(%d): %s "), err, path);
}

// Opens one file of the pair for open. With retry, a refusal for lack of
// rights asks whether to try again.
int open_file(const char *path, int mode, bool retry) {
    for (;;) {
        int fd = nv::os::open_shared(path, O_RDWR);
        if (fd < 0 && mode == 0 && (errno == EACCES || errno == EROFS))
            fd = nv::os::open_shared(path, O_RDONLY);
        if (fd >= 0) return fd;
        int err = errno;
        if (!retry || err != EACCES) open_failed(err, path);
        const char *q = KOR(1, 237,
                            "Het bestand is al door een andere gebruiker geopend,\n"
                            "of u heeft onvoldoende bevoegdheden om het bestand te openen.\n"
                            "[J]Nogmaals proberen ");
        if (flash(-2, path, q) != 1) open_failed(err, path);
    }
}

int create_file(const char *path, int flags) {
    struct stat st;
    bool existed = ::stat(path, &st) == 0;
    int fd = nv::os::open_shared(path, O_RDWR | O_CREAT | flags, k_file_mode);
    if (fd >= 0 && !existed) ::fchmod(fd, k_file_mode); // the umask must not narrow it
    return fd;
}

// Device and inode of both files: the key of this process's caches.
void note_identity(ICB *icb) {
    struct stat st;
    if (::fstat(icb->ifd, &st) == 0) icb->idev = st.st_dev, icb->iino = st.st_ino;
    if (::fstat(icb->dfd, &st) == 0) icb->ddev = st.st_dev, icb->dino = st.st_ino;
}

// A new ICB for an opened or created pair of files.
ICB *new_icb(int ifd, int dfd, int mode, const IxPaths &paths, const char *name) {
    ICB *icb = new (std::nothrow) ICB{};
    if (!icb) nv::fatal("%s", KOR(1, 238, "Onvoldoende geheugen voor ICB"));
    icb->cur_rec = -1;
    icb->img_blk = -1;
    for (int &p : icb->path)
        p = -1;
    icb->commit = commit_setting();
    icb->ifd = ifd;
    icb->dfd = dfd;
    icb->mode = mode;
    icb->temporary = paths.temporary;
    note_identity(icb);
    icb->imap = map_attach(ifd);
    icb->dmap = map_attach(dfd);
    std::snprintf(icb->fname, sizeof icb->fname, "%s", name);
    std::memcpy(icb->ipath, paths.index, sizeof icb->ipath);
    std::memcpy(icb->dpath, paths.data, sizeof icb->dpath);
    return icb;
}

// The name field of a header as a C string.
void header_name(const IxHeader &h, char out[12]) {
    std::memcpy(out, h.name, 11);
    out[11] = 0;
}

// Change prologue and epilogue of shared mode. Other processes may have
// split blocks since the last search, so the path in hand is not trusted
// under the header lock: the change searches down from the root.
void prologue(ICB *icb) {
    IXLOCK(icb, 2);
    IXRDIX(icb, 0);
    icb->hdr.busy = 1;
    IXWRIX(icb, 0);
    icb->hdr.busy = 0;
    int k = cur_key(icb);
    IXRDIX(icb, k >= 1 && k <= icb->hdr.nkeys ? k : 1);
}

void epilogue(ICB *icb) {
    IXWRIX(icb, 0);
    IXLOCK(icb, 12);
}

// Marks a record operation under way. Should the program end inside it (a
// failed write takes the fatal path, which closes every file), the close
// of an exclusive file leaves the busy mark set: the half-made change is on
// disk, and only a rebuild makes the file whole again.
struct Changing {
    ICB *icb;
    uint8_t was;
    explicit Changing(ICB *i) : icb(i), was(i->changing) { icb->changing = 1; }
    ~Changing() { icb->changing = was; }
    Changing(const Changing &) = delete;
    Changing &operator=(const Changing &) = delete;
};

bool valid_rec(ICB *icb) {
    return icb->cur_rec >= 0 && icb->cur_rec < icb->hdr.reccount;
}

} // namespace

void nv::store::insert_keys(ICB *icb, const void *rec) {
    for (int k = 1; k <= icb->hdr.nkeys; ++k) {
        IXSWITCH(icb, k);
        IXBLDKEY(icb, rec, whole(icb));
        IXSEARCH(icb, '=', whole(icb));
        icb->ins_ptr = icb->cur_rec;
        IXINSKEY(icb);
    }
}

ICB *IXOPEN(const char *name, int mode) {
    bool retry = mode & k_retry_open;
    mode &= ~k_retry_open;
    IxPaths paths;
    if (!name || !derive_paths(name, &paths)) open_failed(ENAMETOOLONG, name ? name : "");
    int dfd = open_file(paths.data, mode, retry);
    struct stat st;
    if (::stat(paths.index, &st) != 0) open_failed(errno, paths.index);
    if (st.st_size < k_block) open_failed(0, paths.index);
    int ifd = open_file(paths.index, mode, retry);

    ICB *icb = new_icb(ifd, dfd, mode, paths, name);

    IxHeader h{};
    if (nv::os::pread_full(ifd, &h, k_header_bytes, 0) != k_header_bytes)
        open_failed(errno, paths.index);
    if (h.version == k_version_old) {
        char hn[12], text[512];
        header_name(h, hn);
        if (icb->temporary) {
            std::snprintf(text, sizeof text,
                          KOR(1, 228,
                              "Versie van het tijdelijke bestand is onjuist.\n"
                              "Tijdelijke bestanden kunnen niet geconverteerd worden.\n"
                              "Deze kunnen het beste verwijderd worden                   \n"
                              "Bestandnaam : %s\nVersie bestand : %d\nVersie pakket : %d"),
                          hn, h.version, k_version);
            flash(-1, nullptr, text);
            map_detach(icb->imap);
            map_detach(icb->dmap);
            nv::os::close_shared(ifd);
            nv::os::close_shared(dfd);
            delete icb;
            nv::fatal("%s", KOR(1, 240, "Programma is beeindigd"));
        }
        flash_old_version(hn, h.version);
        nv::fatal("%s", KOR(1, 239, "U kunt het bestand converteren met ixremake"));
    }
    // A header that can't be one is not a file of the store: say so before
    // anything is written into it.
    if (const char *why = header_problem(h))
        nv::fatal(KOR(20, 20, "%s: geen geldig indexbestand (%s)"), paths.index, why);
    if (h.version != k_version) {
        h.version = k_version;
        if (nv::os::pwrite_full(ifd, &h, k_header_bytes, 0) != k_header_bytes)
            io_fatal(icb, paths.index, errno);
    }
    // The first 45 bytes stop short of the busy mark, so that the header read
    // itself goes through and the root read after it reports a damaged file.
    if (nv::os::pread_full(ifd, &icb->hdr, 45, 0) == 45) {
        IXLOCK(icb, 2);
        IXRDIX(icb, 0);
        IXLOCK(icb, 12);
    }
    if (mode == 1) {
        IXLOCK(icb, 1);
        xcache_open(icb);
    }
    IXSWITCH(icb, 1);
    nv::store::icb_opened(icb);
    return icb;
}

ICB *IXCREATE(const char *name, int mode) {
    bool keep_data = mode & k_retry_open;
    mode &= ~k_retry_open;
    IxPaths paths;
    if (!name || !derive_paths(name, &paths))
        nv::fatal(KOR(20, 21, "File create mislukt : %s"), name ? name : "");
    int dfd = -1, ifd;
    if (keep_data) {
        dfd = create_file(paths.data, 0);
        if (dfd < 0) nv::fatal(KOR(20, 22, "File open mislukt : %s"), paths.data);
    }
    ifd = create_file(paths.index, O_TRUNC);
    if (ifd < 0) nv::fatal(KOR(20, 21, "File create mislukt : %s"), paths.index);
    if (!keep_data) {
        dfd = create_file(paths.data, 0);
        if (dfd < 0) {
            nv::os::close_shared(ifd);
            nv::fatal(KOR(20, 21, "File create mislukt : %s"), paths.data);
        }
    }
    ICB *icb = new_icb(ifd, dfd, mode, paths, name);
    const char *base = base_name(name);
    size_t n = strnlen(base, sizeof icb->hdr.name);
    std::memcpy(icb->hdr.name, base, n); // NUL-padded by the zeroed ICB
    icb->hdr.freelist = -1;
    icb->hdr.version = k_version;
    if (mode == 1) {
        IXLOCK(icb, 1);
        xcache_open(icb);
    }
    nv::store::icb_opened(icb);
    return icb;
}

void IXINIT(ICB *icb) {
    if (!icb) nv::fatal("IXINIT : ICB == NULL");
    IXLOCK(icb, 1);
    xcache_clear(icb);
    if (nv::os::calls().ftruncate(icb->ifd, 0) != 0)
        nv::fatal(KOR(20, 22, "File open mislukt : %s"), icb->ipath);
    IXINITIX(icb);
    if (nv::os::calls().ftruncate(icb->dfd, 0) != 0)
        nv::fatal(KOR(20, 22, "File open mislukt : %s"), icb->dpath);
    dcache_clear(icb);
    if (icb->mode != 1) IXLOCK(icb, 11);
}

void IXINITIX(ICB *icb) {
    check_icb(icb, "IXINITIX");
    IxHeader &h = icb->hdr;
    h.freelist = -1;
    h.reccount = 0;
    h.nextblk = h.nkeys + 2;
    h.busy = 0;
    h.version = k_version;
    make_plans(icb);
    if (const char *why = header_problem(h))
        nv::fatal(KOR(20, 23, "%.11s: onjuiste indeling (%s)"), h.name, why);
    xcache_clear(icb);
    IXWRIX(icb, 0);
    for (int k = 1; k <= h.nkeys; ++k) {
        const KeyPlan &p = icb->plan[k - 1];
        icb->blk = IxBlock{};
        icb->blk.keynr = (int8_t)k;
        icb->blk.level = 1;
        icb->blk.count = 1;
        std::memset(icb->blk.ent, 0xFF, (size_t)p.keylen);
        put_le32(icb->blk.ent + p.keylen, -1);
        IXWRIX(icb, k);
    }
    icb->blk = IxBlock{};
    icb->blk.keynr = 1;
    IXWRIX(icb, h.nkeys + 1);
    for (int &p : icb->path)
        p = -1;
    IXRDIX(icb, 1);
}

void IXCLOSE(ICB *icb) {
    check_icb(icb, "IXCLOSE");
    nv::store::icb_closed(icb);
    if (icb->mode == 1) {
        if (icb->cached) IOCACHE('F', icb, 0);
        xcache_flush(icb);
        icb->hdr.busy = icb->changing;
        IXWRIX(icb, 0);
        IXLOCK(icb, 11);
    }
    xcache_drop(icb);
    map_detach(icb->imap);
    map_detach(icb->dmap);
    nv::os::close_shared(icb->ifd);
    nv::os::close_shared(icb->dfd);
    delete icb;
}

void IXSWITCH(ICB *icb, int key) {
    check_icb(icb, "IXSWITCH");
    if (key < 1 || key > icb->hdr.nkeys || key == cur_key(icb)) return;
    IXRDIX(icb, key);
}

int IXREAD(ICB *icb, void *rec) {
    check_icb(icb, "IXREAD");
    IXBLDKEY(icb, rec, whole(icb));
    icb->cur_rec = IXSEARCH(icb, '=', whole(icb));
    if (icb->cur_rec < 0) return 0;
    IXRDDAT(icb, rec);
    return !slot_is_free((const uint8_t *)rec, icb->hdr.reclen);
}

int IXREADL(ICB *icb, void *rec) {
    check_icb(icb, "IXREADL");
    IXBLDKEY(icb, rec, whole(icb));
    for (;;) {
        int32_t seen = IXSEARCH(icb, '=', whole(icb));
        icb->cur_rec = seen;
        if (icb->mode == 0) break;
        if (!IXLOCK(icb, seen < 0 ? 4 : 3)) continue;
        if (icb->whole_lock) break;
        // The search ran without a lock: between it and the lock another
        // process may have inserted the key, or deleted the record and
        // given its slot to another. Under the lock the answer must still
        // be the same, or the lock goes back and the round starts again.
        if (IXSEARCH(icb, '=', whole(icb)) == seen) break;
        icb->cur_rec = seen;
        IXLOCK(icb, seen < 0 ? 14 : 13);
    }
    if (icb->cur_rec < 0) return 0;
    IXRDDAT(icb, rec);
    return !slot_is_free((const uint8_t *)rec, icb->hdr.reclen);
}

void IXUNLOCK(ICB *icb, void *rec) {
    check_icb(icb, "IXUNLOCK");
    if (icb->mode == 0) return;
    IXLOCK(icb, IXFOUND(icb, rec) ? 13 : 14);
}

int IXGET(ICB *icb, void *rec, int32_t n) {
    check_icb(icb, "IXGET");
    if (n < 0 || n >= icb->hdr.reccount) return -1;
    icb->cur_rec = n;
    IXRDDAT(icb, rec);
    return !slot_is_free((const uint8_t *)rec, icb->hdr.reclen);
}

int IXW(ICB *icb, void *rec, int release) {
    check_icb(icb, "IXW");
    int back = cur_key(icb);
    IXSWITCH(icb, 1);
    int result = 1;
    if (icb->mode == 0) {
        flash(-1, KOR(1, 230, "Waarschuwing"),
              KOR(1, 244, "IXWRITE op een bestand dat READ-ONLY geopend is"));
    } else {
        result = IXFOUND(icb, rec) ? IXUPDATE(icb, rec) : IXINSERT(icb, rec);
        if (icb->mode == 2 && release) result = IXLOCK(icb, 13);
    }
    IXSWITCH(icb, back);
    return result;
}

int IXWRITE(ICB *icb, void *rec) {
    return IXW(icb, rec, 1);
}
int IXWRITEL(ICB *icb, void *rec) {
    return IXW(icb, rec, 0);
}

int IXUPDATE(ICB *icb, void *rec) {
    check_icb(icb, "IXUPDATE");
    Changing guard(icb);
    bool shared = icb->mode == 2;
    // In shared mode the record may be younger than the header in hand:
    // the count is judged as the prologue has read it.
    if (shared) prologue(icb);
    if (!valid_rec(icb)) {
        if (shared) epilogue(icb);
        return 0;
    }
    std::vector<uint8_t> old((size_t)icb->hdr.reclen);
    IXRDDAT(icb, old.data());
    int back = cur_key(icb);
    for (int k = 1; k <= icb->hdr.nkeys; ++k) {
        IXSWITCH(icb, k);
        int len = whole(icb);
        uint8_t newkey[k_max_keylen];
        IXBLDKEY(icb, rec, len);
        std::memcpy(newkey, icb->key, (size_t)len);
        IXBLDKEY(icb, old.data(), len);
        if (IXCOMP(icb, newkey, icb->key, len) == 0) continue;
        if (IXSEARCH(icb, '=', len) >= 0) IXDELKEY(icb);
        std::memcpy(icb->key, newkey, (size_t)len);
        IXSEARCH(icb, '=', len);
        icb->ins_ptr = icb->cur_rec;
        IXINSKEY(icb);
    }
    IXWRDAT(icb, rec);
    if (shared) epilogue(icb);
    IXSWITCH(icb, back);
    return 1;
}

int IXINSERT(ICB *icb, void *rec) {
    check_icb(icb, "IXINSERT");
    Changing guard(icb);
    bool shared = icb->mode == 2;
    if (shared) prologue(icb);
    int result = 0;
    if (icb->hdr.nextblk > k_block_limit) {
        flash(-1, KOR(1, 230, "Waarschuwing"),
              KOR(1, 233, "Er kunnen niet meer index records aangemaakt worden !"));
    } else {
        int reclen = icb->hdr.reclen;
        bool reused = false;
        if (icb->hdr.freelist >= 0 && icb->hdr.freelist < icb->hdr.reccount) {
            icb->cur_rec = icb->hdr.freelist;
            while (!IXLOCK(icb, 3)) {
            }
            std::vector<uint8_t> slot((size_t)reclen);
            IXRDDAT(icb, slot.data());
            // A head that points at a live record belongs to a damaged list:
            // drop the list rather than overwrite the record.
            if (slot_is_free(slot.data(), reclen)) {
                int32_t next = reclen >= 5 ? get_le32(slot.data() + 1) : -1;
                icb->hdr.freelist = next >= 0 && next < icb->hdr.reccount ? next : -1;
                reused = true;
            } else {
                IXLOCK(icb, 13);
                icb->hdr.freelist = -1;
            }
        }
        if (!reused) {
            icb->cur_rec = icb->hdr.reccount++;
            IXLOCK(icb, 3);
        }
        insert_keys(icb, rec);
        IXSWITCH(icb, 1);
        IXBLDKEY(icb, rec, whole(icb));
        IXWRDAT(icb, rec);
        IXLOCK(icb, 14);
        result = 1;
    }
    if (shared) epilogue(icb);
    return result;
}

int IXDELETE(ICB *icb, void *rec) {
    check_icb(icb, "IXDELETE");
    Changing guard(icb);
    int reclen = icb->hdr.reclen;
    // Only an exclusive file keeps its header in memory; the others read it.
    bool own_header = icb->mode == 1;
    if (own_header)
        IXLOCK(icb, 2);
    else
        prologue(icb);
    std::vector<uint8_t> slot((size_t)reclen);
    if (valid_rec(icb)) IXRDDAT(icb, slot.data());
    // A slot that is free already must not go on the list twice.
    if (!valid_rec(icb) || slot_is_free(slot.data(), reclen)) {
        if (!own_header) IXWRIX(icb, 0);
        IXLOCK(icb, 12);
        return 0;
    }
    int back = cur_key(icb);
    for (int k = icb->hdr.nkeys; k >= 1; --k) {
        IXSWITCH(icb, k);
        IXBLDKEY(icb, rec, whole(icb));
        if (IXSEARCH(icb, '=', whole(icb)) >= 0) IXDELKEY(icb);
    }
    slot_make_free(slot.data(), reclen, icb->hdr.freelist);
    IXWRDAT(icb, slot.data());
    IXLOCK(icb, 13);
    icb->hdr.freelist = icb->cur_rec;
    if (!own_header) IXWRIX(icb, 0);
    IXLOCK(icb, 12);
    IXSWITCH(icb, back);
    return 0;
}

int IXPUTREC(ICB *icb, void *rec) {
    check_icb(icb, "IXPUTREC");
    // The current record comes from a search; in shared mode the count in
    // hand may be older than the record.
    if (icb->cur_rec < 0 || (icb->mode != 2 && !valid_rec(icb))) return 0;
    IXWRDAT(icb, rec);
    IXLOCK(icb, 13);
    return 1;
}

off_t IXSEEKDAT(ICB *icb) {
    check_icb(icb, "IXSEEKDAT");
    off_t start = (off_t)icb->hdr.reclen * icb->cur_rec;
    if (icb->cur_rec < 0)
        nv::fatal("RDISAM(%d): %.11s(if=%d,df=%d,file=%d,start=%ld,len=%u)", EINVAL, icb->hdr.name,
                  icb->ifd, icb->dfd, icb->dfd, (long)start, (unsigned)icb->hdr.reclen);
    return start;
}

void IXRDDAT(ICB *icb, void *rec) {
    int reclen = icb->hdr.reclen;
    // A slot that isn't there (before the start or past the end) reads as free.
    if (icb->cur_rec < 0 || !data_read(icb, IXSEEKDAT(icb), rec, reclen))
        std::memset(rec, 0xFF, (size_t)reclen);
}

void IXWRDAT(ICB *icb, const void *rec) {
    int reclen = icb->hdr.reclen;
    off_t start = IXSEEKDAT(icb);
    if (!data_write(icb, start, rec, reclen)) {
        int err = errno;
        const char *why = io_cause(err);
        nv::fatal("RDISAM(%d): %s%s%.11s(if=%d,df=%d,file=%d,start=%ld,len=%u)", err, why,
                  *why ? ": " : "", icb->hdr.name, icb->ifd, icb->dfd, icb->dfd, (long)start,
                  (unsigned)reclen);
    }
}

// ixutil: the record store from the command line.
//
//   ixutil create NAME 'TITLE,RECLEN' 'KEYDESC' ['KEYDESC' ...]
//   ixutil apply NAME [--shared]      operations from stdin, one per line,
//        in exclusive mode, or in shared mode beside other processes (a
//        wait for a lock shows who holds it on stderr every two seconds):
//        write HEX    insert or update the whole record
//        delete HEX   delete the record with the key 1 of HEX, when there
//        readl HEX    read with lock        unlock HEX   release it
//   ixutil dump NAME [--key K]        live records in key order, hex per line
//   ixutil info NAME                  header fields and key descriptors
//   ixutil check NAME                 IXCHECK: free slots, or that a rebuild
//                                     is needed (exit status 1)
//   ixutil rebuild NAME               IXBLDIX: a new index from the data file
//   ixutil dd-create FILENR NAME      a new, empty pair from the data dictionary
//   ixutil dd-verify FILENR NAME [--repair]
//                                     dd_verify; its result as name: value lines
//
// Errors go to stderr with a non-zero exit status. A file is looked at before
// the store opens it, so that something that is not a store file gets a
// plain message and is left untouched.
#include "base/osfile.h"
#include "store/dd.h"
#include "store/ix.h"
#include "store/ixcheck.h"
#include "store/ixhook.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

using namespace nv::store;

namespace {

int usage() {
    std::fprintf(stderr, "usage: ixutil create NAME 'TITLE,RECLEN' 'KEYDESC' ...\n"
                         "       ixutil apply NAME [--shared] < operations\n"
                         "       ixutil dump NAME [--key K]\n"
                         "       ixutil info NAME\n"
                         "       ixutil check NAME\n"
                         "       ixutil rebuild NAME\n"
                         "       ixutil dd-create FILENR NAME\n"
                         "       ixutil dd-verify FILENR NAME [--repair]\n");
    return 2;
}

// A tool does not wait for an index that another process may be extending:
// a block past the end is a damaged file.
bool give_up(const char *line) {
    std::fprintf(stderr, "%s\n", line);
    return false;
}

// Checks the pair before the store touches it. Prints why not and gives
// false when NAME is not a sound store file.
bool probe(const char *name, IxHeader *out) {
    IxPaths p;
    if (!derive_paths(name, &p)) {
        std::fprintf(stderr, "ixutil: %s: name too long\n", name);
        return false;
    }
    struct stat st;
    if (::stat(p.index, &st) != 0) {
        std::fprintf(stderr, "ixutil: %s: %s\n", p.index, std::strerror(errno));
        return false;
    }
    if (::stat(p.data, &st) != 0) {
        std::fprintf(stderr, "ixutil: %s: %s\n", p.data, std::strerror(errno));
        return false;
    }
    int fd = nv::os::open_shared(p.index, O_RDONLY);
    if (fd < 0) {
        std::fprintf(stderr, "ixutil: %s: %s\n", p.index, std::strerror(errno));
        return false;
    }
    IxHeader h{};
    ssize_t n = nv::os::pread_full(fd, &h, sizeof h, 0);
    struct stat ist;
    bool sized = ::fstat(fd, &ist) == 0 && ist.st_size >= k_block;
    nv::os::close_shared(fd);
    if (n != (ssize_t)sizeof h || !sized) {
        std::fprintf(stderr, "ixutil: %s: not a store index file (shorter than one block)\n",
                     p.index);
        return false;
    }
    if (h.version == k_version_old) {
        std::fprintf(stderr, "ixutil: %s: old version 350, convert it with ixremake\n", p.index);
        return false;
    }
    if (const char *why = header_problem(h)) {
        std::fprintf(stderr, "ixutil: %s: not a store index file (%s)\n", p.index, why);
        return false;
    }
    if (ist.st_size % k_block != 0 || ist.st_size / k_block < h.nextblk)
        std::fprintf(stderr, "ixutil: %s: warning: size %lld does not match %d blocks\n", p.index,
                     (long long)ist.st_size, h.nextblk);
    *out = h;
    return true;
}

std::string field(const char *s, int n) {
    return std::string(s, strnlen(s, (size_t)n));
}

bool from_hex(const char *s, std::vector<uint8_t> &rec) {
    size_t len = std::strlen(s);
    while (len && (s[len - 1] == ' ' || s[len - 1] == '\r'))
        --len;
    if (len != rec.size() * 2) return false;
    for (size_t i = 0; i < rec.size(); ++i) {
        int v = 0;
        for (int j = 0; j < 2; ++j) {
            char c = s[2 * i + j];
            int d = c >= '0' && c <= '9'   ? c - '0'
                    : c >= 'a' && c <= 'f' ? c - 'a' + 10
                    : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                           : -1;
            if (d < 0) return false;
            v = v * 16 + d;
        }
        rec[i] = (uint8_t)v;
    }
    return true;
}

// One record as a line of hex. A dump prints millions of digits: sixteen
// bytes at a time with SSE2 where the machine has it, the rest from a table
// of pairs; one line buffer, out through a large stdout buffer.
void print_hex(const std::vector<uint8_t> &rec) {
    static char pairs[256][2];
    static bool made = false;
    if (!made) {
        static const char digits[] = "0123456789abcdef";
        for (int b = 0; b < 256; ++b)
            pairs[b][0] = digits[b >> 4], pairs[b][1] = digits[b & 15];
        made = true;
    }
    static std::vector<char> line;
    line.resize(rec.size() * 2 + 1);
    char *o = line.data();
    size_t i = 0;
#ifdef __SSE2__
    const __m128i low = _mm_set1_epi8(0x0F), nine = _mm_set1_epi8(9);
    const __m128i zero = _mm_set1_epi8('0'), gap = _mm_set1_epi8('a' - '0' - 10);
    auto digits = [&](__m128i n) {
        return _mm_add_epi8(_mm_add_epi8(n, zero), _mm_and_si128(_mm_cmpgt_epi8(n, nine), gap));
    };
    for (; i + 16 <= rec.size(); i += 16, o += 32) {
        __m128i v = _mm_loadu_si128((const __m128i *)(rec.data() + i));
        __m128i hi = _mm_and_si128(_mm_srli_epi16(v, 4), low), lo = _mm_and_si128(v, low);
        _mm_storeu_si128((__m128i *)o, digits(_mm_unpacklo_epi8(hi, lo)));
        _mm_storeu_si128((__m128i *)(o + 16), digits(_mm_unpackhi_epi8(hi, lo)));
    }
#endif
    for (; i < rec.size(); ++i, o += 2)
        std::memcpy(o, pairs[rec[i]], 2);
    *o++ = '\n';
    std::fwrite(line.data(), 1, (size_t)(o - line.data()), stdout);
}

int cmd_create(int argc, char **argv) {
    if (argc < 4) return usage();
    const char *name = argv[2];
    IxPaths p;
    struct stat st;
    if (!derive_paths(name, &p)) return usage();
    if (::stat(p.index, &st) == 0) {
        std::fprintf(stderr, "ixutil: %s exists already; remove it first\n", p.index);
        return 1;
    }
    // Try the layout on a scratch control block first, so that a mistake is
    // told before any file is made.
    ICB *trial = new ICB{};
    IXUPDFCB(trial, 0, argv[3]);
    for (int i = 4; i < argc; ++i) {
        if (i - 3 > k_max_keys) {
            std::fprintf(stderr, "ixutil: at most %d keys\n", k_max_keys);
            delete trial;
            return 1;
        }
        IXUPDFCB(trial, i - 3, argv[i]);
    }
    trial->hdr.freelist = -1;
    trial->hdr.nextblk = trial->hdr.nkeys + 2;
    const char *why = trial->hdr.reclen < 1 ? "record length missing" : header_problem(trial->hdr);
    delete trial;
    if (why) {
        std::fprintf(stderr, "ixutil: wrong layout: %s\n", why);
        return 1;
    }
    ICB *icb = IXCREATE(name, 1);
    IXUPDFCB(icb, 0, argv[3]);
    for (int i = 4; i < argc; ++i)
        IXUPDFCB(icb, i - 3, argv[i]);
    IXINIT(icb);
    IXCLOSE(icb);
    return 0;
}

int cmd_apply(int argc, char **argv) {
    if (argc < 3 || argc > 4) return usage();
    int mode = 1;
    if (argc == 4) {
        if (std::strcmp(argv[3], "--shared") != 0) return usage();
        mode = 2;
    }
    IxHeader h;
    if (!probe(argv[2], &h)) return 1;
    ICB *icb = IXOPEN(argv[2], mode);
    std::vector<uint8_t> rec((size_t)icb->hdr.reclen);
    char line[70000];
    int nr = 0, status = 0;
    while (std::fgets(line, sizeof line, stdin)) {
        ++nr;
        line[strcspn(line, "\n")] = 0;
        if (!*line || *line == '#') continue;
        char *arg = std::strchr(line, ' ');
        if (arg) *arg++ = 0;
        if (!arg || !from_hex(arg, rec)) {
            std::fprintf(stderr, "ixutil: line %d: expected '%s HEX' with %d hex bytes\n", nr, line,
                         icb->hdr.reclen);
            status = 1;
            break;
        }
        if (std::strcmp(line, "write") == 0) {
            // The key is locked (or reserved) before the write, so that no
            // other process changes the record in between; in exclusive
            // mode the lock is the whole file's.
            std::vector<uint8_t> old = rec;
            IXSWITCH(icb, 1);
            IXREADL(icb, old.data());
            IXWRITE(icb, rec.data());
        } else if (std::strcmp(line, "delete") == 0) {
            IXSWITCH(icb, 1);
            if (IXREADL(icb, rec.data()))
                IXDELETE(icb, rec.data());
            else
                IXUNLOCK(icb, rec.data());
        } else if (std::strcmp(line, "readl") == 0) {
            IXSWITCH(icb, 1);
            IXREADL(icb, rec.data());
        } else if (std::strcmp(line, "unlock") == 0) {
            IXSWITCH(icb, 1);
            IXUNLOCK(icb, rec.data());
        } else {
            std::fprintf(stderr, "ixutil: line %d: unknown operation '%s'\n", nr, line);
            status = 1;
            break;
        }
    }
    IXCLOSE(icb); // what went before a bad line is kept
    return status;
}

int cmd_dump(int argc, char **argv) {
    int key = 1;
    if (argc == 5 && std::strcmp(argv[3], "--key") == 0)
        key = std::atoi(argv[4]);
    else if (argc != 3)
        return usage();
    IxHeader h;
    if (!probe(argv[2], &h)) return 1;
    if (key < 1 || key > h.nkeys) {
        std::fprintf(stderr, "ixutil: key %d: the file has keys 1 to %d\n", key, h.nkeys);
        return 1;
    }
    static char outbuf[1 << 16];
    std::setvbuf(stdout, outbuf, _IOFBF, sizeof outbuf);
    ICB *icb = IXOPEN(argv[2], 0);
    IXSWITCH(icb, key);
    std::vector<uint8_t> rec((size_t)icb->hdr.reclen, 0);
    for (int ok = IXFIRST(icb, rec.data()); ok; ok = IXNEXTR(icb, rec.data()))
        print_hex(rec);
    IXCLOSE(icb);
    return 0;
}

int cmd_info(int argc, char **argv) {
    if (argc != 3) return usage();
    IxHeader h;
    if (!probe(argv[2], &h)) return 1;
    std::printf("name: %s\n", field(h.name, 11).c_str());
    std::printf("title: %s\n", field(h.title, 19).c_str());
    std::printf("keys: %d\n", h.nkeys);
    std::printf("record length: %d\n", h.reclen);
    std::printf("record count: %d\n", h.reccount);
    std::printf("free list: %d\n", h.freelist);
    std::printf("next free block: %d\n", h.nextblk);
    std::printf("busy: %d\n", h.busy);
    std::printf("version: %d\n", h.version);
    for (int k = 0; k < h.nkeys; ++k) {
        const IxKeyDesc &d = h.key[k];
        std::printf("key %d: %s dups=%c length=%d limit=%d fields=", k + 1,
                    field(d.name, 8).c_str(), d.dups, d.keylen, d.limit);
        for (int f = 0; f < k_max_fields && d.type[f]; ++f)
            std::printf("%s%c,%d,%d", f ? "," : "", d.type[f], d.first[f], d.last[f]);
        std::printf("\n");
    }
    return 0;
}

int cmd_check(int argc, char **argv) {
    if (argc != 3) return usage();
    int free_slots = IXCHECK(argv[2]);
    if (free_slots < 0) {
        std::printf("%s: needs a rebuild\n", argv[2]);
        return 1;
    }
    std::printf("%s: sound, %d free slots\n", argv[2], free_slots);
    return 0;
}

int cmd_rebuild(int argc, char **argv) {
    if (argc != 3) return usage();
    if (!IXBLDIX(argv[2])) {
        std::fprintf(stderr,
                     "ixutil: %s: not rebuilt: no usable index header, or a data file that "
                     "is not whole records\n",
                     argv[2]);
        return 1;
    }
    return cmd_check(argc, argv);
}

// A file number of the data dictionary, or 0.
int file_number(const char *text) {
    char *end;
    long nr = std::strtol(text, &end, 10);
    dd_row row;
    if (*end || nr < 1 || nr > 249 || !dd_lookup((int)nr, 1, &row)) {
        std::fprintf(stderr, "ixutil: %s: not a file number of the data dictionary\n", text);
        return 0;
    }
    return (int)nr;
}

int cmd_dd_create(int argc, char **argv) {
    if (argc != 4) return usage();
    int nr = file_number(argv[2]);
    if (!nr) return 1;
    IxPaths p;
    struct stat st;
    if (!derive_paths(argv[3], &p)) return usage();
    for (const char *path : {p.index, p.data})
        if (::stat(path, &st) == 0) {
            std::fprintf(stderr, "ixutil: %s exists already; remove it first\n", path);
            return 1;
        }
    return dd_create_pair(nr, argv[3]) ? 0 : 1;
}

int cmd_dd_verify(int argc, char **argv) {
    if (argc < 4 || argc > 5 || (argc == 5 && std::strcmp(argv[4], "--repair") != 0))
        return usage();
    int nr = file_number(argv[2]);
    if (!nr) return 1;
    dd_result r{};
    r.repair = argc == 5;
    bool ok = dd_verify(nr, argv[3], &r);
    std::printf("status: %d\n", r.status);
    std::printf("data created: %d\n", r.data_created);
    std::printf("index created: %d\n", r.index_created);
    std::printf("rebuilt: %d\n", r.rebuilt);
    std::printf("layout difference: %d\n", r.layout_diff);
    return ok ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3) return usage();
    set_eof_hook(give_up);
    std::string cmd = argv[1];
    if (cmd == "create") return cmd_create(argc, argv);
    if (cmd == "apply") return cmd_apply(argc, argv);
    if (cmd == "dump") return cmd_dump(argc, argv);
    if (cmd == "info") return cmd_info(argc, argv);
    if (cmd == "check") return cmd_check(argc, argv);
    if (cmd == "rebuild") return cmd_rebuild(argc, argv);
    if (cmd == "dd-create") return cmd_dd_create(argc, argv);
    if (cmd == "dd-verify") return cmd_dd_verify(argc, argv);
    return usage();
}

// Size tables: see iomaat.h.
//
// A handle keeps both forms in step through every change: entry n of the
// by-number form and the entry at its position in the by-position form carry
// the same code and point at each other. Links read from the file that point
// outside 1..95 are taken as empty.
#include "store/iomaat.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <new>

namespace {

constexpr int k_sizes = 95;

ICB *g_maat = nullptr;
ICB *g_mtom = nullptr;
int g_own_brand = 0;
iomaat *g_open[3];

void default_error(const char *what, const char *support) {
    std::fprintf(stderr, "%s\n%s\n", what, support);
}
int no_stamp() {
    return -1;
}
nv::store::MaatErrorHook g_error = default_error;
nv::store::MaatStampHook g_stamp = no_stamp;

void table_error(const char *prefix) {
    char what[80];
    std::snprintf(what, sizeof what, "%s%s", prefix, DET(3, 891, "fout"));
    g_error(what, DET(5, 509, "Neem contact op met de Support-groep"));
}

void enter(iomaat *h) {
    for (iomaat *&s : g_open)
        if (!s) {
            s = h;
            return;
        }
    table_error("mtopen-");
}

void leave(iomaat *h) {
    for (iomaat *&s : g_open)
        if (s == h) {
            s = nullptr;
            return;
        }
    table_error("mtclose-");
}

bool bit(const uint8_t *bits, int n) {
    return bits[n / 8] & (1 << (n % 8));
}
void set_bit(iomaat *h, int n, bool on) {
    for (maat_rec *r : {h->bynr, h->bypos}) {
        if (on)
            r->bits[n / 8] = (uint8_t)(r->bits[n / 8] | 1 << (n % 8));
        else
            r->bits[n / 8] = (uint8_t)(r->bits[n / 8] & ~(1 << (n % 8)));
    }
}

bool valid(int v) {
    return v >= 1 && v <= k_sizes;
}
int pos_of(const iomaat *h, int n) {
    return valid(n) ? h->bynr->e[n].link : 0;
}
int nr_at(const iomaat *h, int p) {
    return valid(p) ? h->bypos->e[p].link : 0;
}

// One form from the other.
void derive(const maat_rec &from, maat_rec &to) {
    std::memcpy(&to, &from, sizeof to);
    std::memset(to.e, 0, sizeof to.e);
    for (int i = 1; i <= k_sizes; ++i) {
        int j = from.e[i].link;
        if (!valid(j) || to.e[j].link) continue;
        std::memcpy(to.e[j].code, from.e[i].code, 3);
        to.e[j].link = (uint8_t)i;
    }
}
// Both forms again consistent: the first form's links win.
void normalise(iomaat *h) {
    if (h->own)
        derive(*h->bynr, *h->bypos);
    else
        derive(*h->bypos, *h->bynr);
}

int first_free_position(const iomaat *h) {
    int p = 1;
    while (p <= k_sizes && nr_at(h, p))
        ++p;
    return p;
}

int marked_up_to(const iomaat *h, int p) {
    int r = 0;
    for (int q = 1; q <= p && q <= k_sizes; ++q)
        if (int n = nr_at(h, q); n && bit(h->mask, n)) ++r;
    return r;
}

struct Key {
    ICB *icb;
    int back;
    explicit Key(ICB *i) : icb(i), back(i->blk.keynr) { IXSWITCH(icb, 1); }
    ~Key() { IXSWITCH(icb, back); }
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;
};

void read_ext(const iomaat *h, int n, maat_entry *e) {
    e->ext_l = 0, e->ext_s = 0, e->ext_c = 0;
    if (!h->has_ext || !g_mtom || !bit(h->bynr->bits, n)) return;
    mtom_rec r{h->system, h->subsystem, (uint8_t)n, 0, 0, 0};
    Key k(g_mtom);
    if (IXREAD(g_mtom, &r)) e->ext_l = r.ext_l, e->ext_s = r.ext_s, e->ext_c = r.ext_c;
}

void write_ext(iomaat *h, int n, const maat_entry *e) {
    if (!h->has_ext || !g_mtom) return;
    mtom_rec r{h->system, h->subsystem, (uint8_t)n, e->ext_l, e->ext_s, e->ext_c};
    Key k(g_mtom);
    IXWRITE(g_mtom, &r);
    set_bit(h, n, true);
}

void delete_ext(iomaat *h, int n) {
    if (!bit(h->bynr->bits, n)) return;
    set_bit(h, n, false);
    if (!g_mtom) return;
    mtom_rec r{h->system, h->subsystem, (uint8_t)n, 0, 0, 0};
    Key k(g_mtom);
    if (IXREAD(g_mtom, &r)) IXDELETE(g_mtom, &r);
}

void touch(iomaat *h) {
    h->dirty = 1;
    h->bynr->kept = h->bypos->kept = 1;
}

void put(iomaat *h, int n, int p, const char code[3]) {
    std::memcpy(h->bynr->e[n].code, code, 3);
    h->bynr->e[n].link = (uint8_t)p;
    std::memcpy(h->bypos->e[p].code, code, 3);
    h->bypos->e[p].link = (uint8_t)n;
}

// The size at position p in e.
void fill(const iomaat *h, int p, maat_entry *e) {
    int n = nr_at(h, p);
    e->system = h->system, e->subsystem = h->subsystem;
    e->number = (uint8_t)n, e->position = (uint8_t)p;
    e->rank = (uint8_t)marked_up_to(h, p);
    std::memcpy(e->code, h->bypos->e[p].code, 3);
    read_ext(h, n, e);
}

// The position a walk arrives at, 0 for none.
int by_number(const iomaat *h, int action, int n) {
    int step = action == 'P' ? -1 : 1;
    if (action == 'N' || action == 'P') n += step;
    if (action == 'F' && n < 1) n = 1;
    if (action != 'R')
        while (valid(n) && !pos_of(h, n))
            n += step;
    return pos_of(h, n);
}

int by_position(const iomaat *h, int action, int p) {
    switch (action) {
    case 'R':
        return nr_at(h, p) ? p : 0;
    case 'N':
        return nr_at(h, p + 1) ? p + 1 : 0;
    case 'P':
        if (p - 1 >= 1) return nr_at(h, p - 1) ? p - 1 : 0;
        for (int q = k_sizes; q >= 1; --q)
            if (nr_at(h, q)) return q;
        return 0;
    default: // 'F'
        if (nr_at(h, p)) return p;
        return nr_at(h, p + 1) ? p + 1 : 0;
    }
}

int by_code(const iomaat *h, int action, const char *code) {
    int exact = 0, best = 0;
    for (int p = 1; p <= k_sizes; ++p) {
        if (!nr_at(h, p)) continue;
        const char *c = h->bypos->e[p].code;
        int cmp = std::memcmp(c, code, 3);
        if (cmp == 0 && !exact && (action == 'R' || action == 'F')) exact = p;
        if (action == 'P') {
            if (cmp < 0 && (!best || std::memcmp(c, h->bypos->e[best].code, 3) > 0)) best = p;
        } else if (action != 'R' && cmp > 0 &&
                   (!best || std::memcmp(c, h->bypos->e[best].code, 3) < 0)) {
            best = p;
        }
    }
    return exact ? exact : best;
}

int by_rank(const iomaat *h, int action, int rank) {
    if (action == 'F' && rank == 0) rank = 1;
    if (action == 'N') ++rank;
    if (action == 'P') --rank;
    if (rank < 1) return 0;
    int count = 0, last = 0;
    for (int p = 1; p <= k_sizes; ++p) {
        int n = nr_at(h, p);
        if (!n || !bit(h->mask, n)) continue;
        last = p;
        if (++count == rank) return p;
    }
    return action == 'P' ? last : 0;
}

} // namespace

namespace nv::store {
void iomaat_files(ICB *maat, ICB *mtom) {
    g_maat = maat;
    g_mtom = mtom;
}
void iomaat_own_brand(int system) {
    g_own_brand = system;
}
void set_iomaat_error_hook(MaatErrorHook h) {
    g_error = h ? h : default_error;
}
void set_iomaat_stamp_hook(MaatStampHook h) {
    g_stamp = h ? h : no_stamp;
}
} // namespace nv::store

iomaat *iomaat_open(uint8_t system, uint8_t subsystem, int flags) {
    if (!system || !subsystem) errno_fatal("iomaat", 7);
    if (!g_maat) errno_fatal("iomaat", 5);
    iomaat *h = new (std::nothrow) iomaat{};
    if (!h) mem_fatal("iomaat", 1);
    h->bynr = new (std::nothrow) maat_rec{};
    if (!h->bynr) mem_fatal("iomaat", 2);
    h->bypos = new (std::nothrow) maat_rec{};
    if (!h->bypos) mem_fatal("iomaat", 3);
    enter(h);
    h->system = system, h->subsystem = subsystem;
    h->writable = (flags & IOMAAT_LOCK) != 0;
    h->own = system == g_own_brand;
    maat_rec &rec = h->own ? *h->bynr : *h->bypos;
    rec.system = system, rec.subsystem = subsystem;
    {
        Key k(g_maat);
        h->stored = (uint8_t)(h->writable ? IXREADL(g_maat, &rec) : IXREAD(g_maat, &rec));
    }
    if (!h->stored) {
        rec = maat_rec{};
        rec.system = system, rec.subsystem = subsystem;
    }
    normalise(h);
    bool any = false;
    for (uint8_t b : rec.bits)
        any = any || b;
    h->has_ext = (flags & IOMAAT_EXT) || any;
    return h;
}

void iomaat_close(iomaat *h) {
    if (!h) return;
    leave(h);
    maat_rec &rec = h->own ? *h->bynr : *h->bypos;
    Key k(g_maat);
    if (h->dirty && h->writable) {
        int stamp = g_stamp();
        if (stamp >= 0) h->bynr->stamp = h->bypos->stamp = (uint16_t)stamp;
        if (rec.kept) {
            IXWRITEL(g_maat, &rec);
        } else if (h->stored) {
            maat_rec old{};
            old.system = h->system, old.subsystem = h->subsystem;
            if (IXREAD(g_maat, &old)) IXDELETE(g_maat, &old);
        }
    }
    if (h->writable) {
        maat_rec key{};
        key.system = h->system, key.subsystem = h->subsystem;
        IXUNLOCK(g_maat, &key);
    }
    delete h->bynr;
    delete h->bypos;
    delete h;
}

void iomaat_mask(iomaat *h, const uint8_t mask[12]) {
    std::memcpy(h->mask, mask, sizeof h->mask);
}

int mtread(iomaat *h, int action, maat_entry *e, int keynr) {
    bool known = action == 'R' || action == 'F' || action == 'N' || action == 'P';
    if (!known || keynr < 1 || keynr > 4)
        nv::fatal("mtread(%c,%d) %s", action, keynr,
                  keynr >= 1 && keynr <= 4 ? DET(2, 374, "aktie ongedefinieerd")
                                           : DET(4, 601, "keynr ongedefinieerd"));
    int p = 0;
    switch (keynr) {
    case 1:
        p = by_number(h, action, e->number);
        break;
    case 2:
        p = by_position(h, action, e->position);
        break;
    case 3:
        p = by_code(h, action, e->code);
        break;
    default:
        p = by_rank(h, action, e->rank);
        break;
    }
    if (!valid(p) || !nr_at(h, p)) return 0;
    fill(h, p, e);
    return 1;
}

int iomaat_set(iomaat *h, maat_entry *e) {
    int n = e->number, p = pos_of(h, n);
    if (!h->writable || !valid(p)) return 0;
    put(h, n, p, e->code);
    write_ext(h, n, e);
    touch(h);
    return 1;
}

int iomaat_add(iomaat *h, maat_entry *e) {
    int p = e->position, free_p = first_free_position(h), n = e->number;
    if (!h->writable || !valid(p) || p > free_p || free_p > k_sizes) return 0;
    if (n == 0 && h->own)
        for (n = 1; n <= k_sizes && pos_of(h, n);)
            ++n;
    if (!valid(n) || pos_of(h, n)) return 0;
    for (int q = free_p; q > p; --q) {
        h->bypos->e[q] = h->bypos->e[q - 1];
        h->bynr->e[h->bypos->e[q].link].link = (uint8_t)q;
    }
    put(h, n, p, e->code);
    write_ext(h, n, e);
    touch(h);
    e->number = (uint8_t)n;
    return 1;
}

int iomaat_remove(iomaat *h, maat_entry *e) {
    int n = e->number ? e->number : nr_at(h, e->position), p = pos_of(h, n);
    if (!h->writable || !valid(p)) return 0;
    h->bynr->e[n] = maat_code{};
    for (int q = p; q < k_sizes; ++q) {
        h->bypos->e[q] = h->bypos->e[q + 1];
        if (int m = h->bypos->e[q].link) h->bynr->e[m].link = (uint8_t)q;
    }
    h->bypos->e[k_sizes] = maat_code{};
    delete_ext(h, n);
    touch(h);
    return 1;
}

int iomaat_remove_system(iomaat *h) {
    if (!h->writable) return 0;
    for (int n = 1; n <= k_sizes; ++n)
        delete_ext(h, n);
    std::memset(h->bynr->e, 0, sizeof h->bynr->e);
    std::memset(h->bypos->e, 0, sizeof h->bypos->e);
    h->dirty = 1;
    h->bynr->kept = h->bypos->kept = 0;
    return 1;
}

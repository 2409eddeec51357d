// Collation of text key fields: see ixcoll.h.
#include "store/ixcoll.h"

#include <array>
#include <cstring>

namespace nv::store {
namespace {

struct Accent {
    char base;
    uint8_t mark;
    uint8_t chars[3]; // 0 ends a shorter list
};

// Accented letters of code page 850: base letter and mark. 0x90 is given the
// letter A on purpose; the order of existing index files depends on it.
constexpr Accent k_accents[] = {
    {'A', 0x22, {0x84, 0x8E}},
    {'A', 0x27, {0x85, 0xB7}},
    {'A', 0x2A, {0x86, 0x8F}},
    {'A', 0x5E, {0x83, 0xB6}},
    {'A', 0x60, {0x90, 0xA0, 0xB5}},
    {'A', 0x7E, {0xC6, 0xC7}},
    {'C', 0x35, {0x80, 0x87}},
    {'E', 0x22, {0x89, 0xD3}},
    {'E', 0x27, {0x8A, 0xD4}},
    {'E', 0x5E, {0x88, 0xD2}},
    {'E', 0x60, {0x82}},
    {'I', 0x22, {0x8B, 0xD8}},
    {'I', 0x27, {0x8D, 0xDE}},
    {'I', 0x5E, {0x8C, 0xD7}},
    {'I', 0x60, {0xA1, 0xD6}},
    {'N', 0x7E, {0xA4, 0xA5}},
    {'O', 0x22, {0x94, 0x99}},
    {'O', 0x27, {0x95, 0xE3}},
    {'O', 0x2F, {0x9B, 0x9D}},
    {'O', 0x5E, {0x93, 0xD0, 0xE2}},
    {'O', 0x60, {0xA2, 0xE0}},
    {'O', 0x7E, {0xE4, 0xE5}},
    {'U', 0x22, {0x81, 0x9A}},
    {'U', 0x27, {0x97, 0xEB}},
    {'U', 0x5E, {0x96, 0xEA}},
    {'U', 0x60, {0xA3, 0xE9}},
    {'Y', 0x22, {0x98}},
    {'Y', 0x60, {0xEC, 0xED}},
};

using Table = std::array<CollWeight, 256>;

constexpr Table make_table() {
    Table t{};
    for (int c = 0; c < 256; ++c)
        t[c] = {(uint8_t)c, 0x01, CollClass::own};
    t[0] = {0x00, 0x00, CollClass::own};
    for (int c = 0x01; c <= 0x1F; ++c)
        t[c] = {0x00, (uint8_t)c, CollClass::dropped};
    t[0x7F] = {0x00, 0x7F, CollClass::dropped};
    for (int c = 'a'; c <= 'z'; ++c)
        t[c] = {(uint8_t)(c - 'a' + 'A'), 0x01, CollClass::mapped};
    t[0xFF] = {0xFF, 0xFF, CollClass::own};
    t[0x91] = t[0x92] = {'A', 'E', CollClass::expanding};
    t[0xE1] = {'S', 'S', CollClass::expanding};
    for (const Accent &a : k_accents)
        for (uint8_t c : a.chars)
            if (c) t[c] = {(uint8_t)a.base, a.mark, CollClass::mapped};
    return t;
}

constexpr Table k_table = make_table();
static_assert(k_table[0x90].primary == 'A');
static_assert(k_table[0x82].primary == 'E' && k_table[0x82].secondary == 0x60);

// The bytes one field writes in the first pass, one at a time; 0 after the
// end, which is the zero padding of the work strings.
struct FirstPass {
    const uint8_t *s;
    int n, i = 0;
    int pending = -1; // second letter of an expansion
    int next() {
        if (pending >= 0) {
            int c = pending;
            pending = -1;
            return c;
        }
        while (i < n) {
            const CollWeight &w = k_table[s[i++]];
            switch (w.cls) {
            case CollClass::own:
            case CollClass::mapped:
                return w.primary;
            case CollClass::dropped:
                continue;
            case CollClass::expanding:
                pending = w.secondary;
                return w.primary;
            }
        }
        return -1;
    }
};

struct SecondPass {
    const uint8_t *s;
    int n, i = 0;
    int next() {
        while (i < n) {
            const CollWeight &w = k_table[s[i++]];
            if (w.cls != CollClass::expanding) return w.secondary;
        }
        return -1;
    }
};

template <class Pass> int run(Pass a, Pass b) {
    for (;;) {
        int x = a.next(), y = b.next();
        if (x < 0 && y < 0) return 0;
        if (x < 0) x = 0;
        if (y < 0) y = 0;
        if (x != y) return x - y;
    }
}

} // namespace

const CollWeight &coll_weight(uint8_t c) {
    return k_table[c];
}

int coll_compare(const uint8_t *a, const uint8_t *b, int width) {
    // Equal leading bytes give equal weights in both passes, an expansion
    // left pending among them included: the order is decided behind them.
    int start = 0;
    while (start < width && a[start] == b[start])
        ++start;
    if (start == width) return 0;
    a += start, b += start, width -= start;
    // Common case: no dropped or expanding characters before the first
    // difference of primaries decides it at once.
    int i = 0;
    for (; i < width; ++i) {
        const CollWeight &x = k_table[a[i]], &y = k_table[b[i]];
        if (x.cls >= CollClass::dropped || y.cls >= CollClass::dropped) break;
        if (x.primary != y.primary) return x.primary - y.primary;
    }
    if (i == width) { // same primaries throughout, no expansions: the marks decide
        for (int j = 0; j < width; ++j) {
            int d = k_table[a[j]].secondary - k_table[b[j]].secondary;
            if (d) return d;
        }
        return 0;
    }
    if (int r = run(FirstPass{a + i, width - i}, FirstPass{b + i, width - i})) return r;
    return run(SecondPass{a, width}, SecondPass{b, width});
}

} // namespace nv::store

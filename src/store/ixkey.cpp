// Keys: description strings, building key bytes out of a record, putting
// them back, and the order of two keys.
//
// A key is up to ten fields of the record, packed in descriptor order. An
// 'I' field is an unsigned integer of 1, 2 or 4 bytes, stored most
// significant byte first so that byte order is numeric order (other widths
// give zero bytes). A 'C' field is text up to the first NUL, NUL-padded, and
// compares by the collation of ixcoll.h. A key with duplicates ('J') ends in
// the record number, most significant byte first, which makes every entry
// unique and orders equal values by record number.
#include "base/catalog.h"
#include "base/fatal.h"
#include "store/ixcoll.h"
#include "store/ixint.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

using namespace nv::store;

namespace nv::store {

void make_plans(ICB *icb) {
    for (int k = 0; k < k_max_keys; ++k) {
        const IxKeyDesc &d = icb->hdr.key[k];
        KeyPlan &p = icb->plan[k];
        p = KeyPlan{};
        p.dups = d.dups == k_dups;
        p.all_int = true;
        int off = 0;
        for (int f = 0; f < k_max_fields && (d.type[f] == 'I' || d.type[f] == 'C'); ++f) {
            int w = d.last[f] - d.first[f] + 1;
            if (d.first[f] < 1 || w < 1 || off + w > k_max_keylen - (p.dups ? 4 : 0)) break;
            p.type[f] = d.type[f];
            p.roff[f] = d.first[f] - 1;
            p.width[f] = w;
            p.koff[f] = off;
            p.all_int = p.all_int && d.type[f] == 'I';
            off += w;
            p.nf = f + 1;
        }
        p.flen = off;
        p.keylen = off + (p.dups ? 4 : 0);
        p.esize = p.keylen + 4;
        p.limit = entry_limit(p.keylen);
    }
}

} // namespace nv::store

namespace {

void reverse_into(uint8_t *dst, const uint8_t *src, int w) {
    if (w == 1 || w == 2 || w == 4)
        for (int i = 0; i < w; ++i)
            dst[i] = src[w - 1 - i];
    else
        std::memset(dst, 0, (size_t)w);
}

int plain_compare(const uint8_t *a, const uint8_t *b, int n) {
    for (int i = 0; i < n; ++i)
        if (a[i] != b[i]) return a[i] - b[i];
    return 0;
}

// The process-wide layout builder of UPDFCB_*.
struct Builder {
    char *text = nullptr;
    const uint8_t *rec = nullptr;
    int key = -1;
};
Builder g_build;
constexpr int k_build_text = 133;

void copy_padded(char *dst, int size, const char *src) {
    int n = (int)strnlen(src, (size_t)size);
    std::memcpy(dst, src, (size_t)n);
    std::memset(dst + n, 0, (size_t)(size - n));
}

// Next comma-separated token, blanks trimmed, cut at 24 bytes. False at the end.
bool next_token(const char *&s, char *tok) {
    if (!s) return false;
    while (*s == ' ' || *s == '\t')
        ++s;
    const char *end = std::strchr(s, ',');
    const char *stop = end ? end : s + std::strlen(s);
    const char *e = stop;
    while (e > s && (e[-1] == ' ' || e[-1] == '\t'))
        --e;
    int n = (int)(e - s);
    if (n > 24) n = 24;
    std::memcpy(tok, s, (size_t)n);
    tok[n] = 0;
    s = end ? end + 1 : nullptr;
    return true;
}

} // namespace

void key_fatal(const char *tag, ICB *icb, int keynr) {
    char t[64];
    nv::fatal_tag(tag, t, sizeof t);
    nv::fatal("%s: %s (file=%.11s, keynr=%d/%d)", t, KOR(1, 174, "Onjuist keynr"),
              icb ? icb->hdr.name : "", icb ? cur_key(icb) : 0, keynr);
}

void IXUPDFCB(ICB *icb, int keynr, const char *text) {
    check_icb(icb, "IXUPDFCB");
    if (keynr < 0 || keynr > k_max_keys) key_fatal("IXUPDFCB", icb, keynr);
    const char *s = text;
    char tok[25];
    if (keynr == 0) {
        if (next_token(s, tok)) copy_padded(icb->hdr.title, sizeof icb->hdr.title, tok);
        if (next_token(s, tok) && std::atoi(tok) > 0) icb->hdr.reclen = (int16_t)std::atoi(tok);
        return;
    }
    IxKeyDesc &d = icb->hdr.key[keynr - 1];
    d.dups = k_dups;
    int len = 0, nf = 0;
    while (nf < k_max_fields && next_token(s, tok)) {
        if (std::strcmp(tok, "NODUPS") == 0) {
            d.dups = k_nodups;
        } else if (std::strcmp(tok, "I") == 0 || std::strcmp(tok, "C") == 0) {
            d.type[nf] = tok[0];
            int first = next_token(s, tok) ? std::atoi(tok) : 0;
            int last = next_token(s, tok) ? std::atoi(tok) : 0;
            d.first[nf] = (uint8_t)first;
            d.last[nf] = (uint8_t)last;
            len += last - first + 1;
            ++nf;
        } else {
            copy_padded(d.name, sizeof d.name, tok);
        }
    }
    for (int f = nf; f < k_max_fields; ++f)
        d.type[f] = 0, d.first[f] = 0, d.last[f] = 0;
    if (keynr == 1) d.dups = k_nodups;
    if (d.dups == k_dups) len += 4;
    // A length that does not fit the byte is kept out of range so that the
    // layout check refuses it instead of a wrapped small value.
    d.keylen = (uint8_t)(len > 0 && len < 256 ? len : 255);
    d.limit = (uint8_t)entry_limit(d.keylen);
    if (keynr > icb->hdr.nkeys) icb->hdr.nkeys = (int8_t)keynr;
    make_plans(icb);
}

void UPDFCB_INX(const char *title, const void *rec, int reclen) {
    std::free(g_build.text);
    g_build.text = (char *)std::malloc(k_build_text);
    if (!g_build.text) nv::fatal("%s", KOR(20, 30, "Onvoldoende geheugen voor UPDFCB_INX"));
    std::snprintf(g_build.text, k_build_text, "%-.19s,%d", title, reclen);
    g_build.rec = (const uint8_t *)rec;
    g_build.key = 0;
}

void UPDFCB_KEY(int keynr, const char *name, int dups) {
    std::free(g_build.text);
    g_build.text = (char *)std::malloc(k_build_text);
    if (!g_build.text) nv::fatal("%s", KOR(20, 31, "Onvoldoende geheugen voor UPDFCB_KEY"));
    std::snprintf(g_build.text, k_build_text, "%-.8s%s", name, dups ? "" : ",NODUPS");
    g_build.key = keynr;
}

void UPDFCB_FLD(char type, const void *field, int width) {
    if (!g_build.text) return;
    int first = (int)((const uint8_t *)field - g_build.rec) + 1;
    size_t n = std::strlen(g_build.text);
    std::snprintf(g_build.text + n, k_build_text - n, ",%c,%d,%d", type, first, first + width - 1);
}

void UPDFCB_END(ICB *icb) {
    if (g_build.text && g_build.key >= 0) IXUPDFCB(icb, g_build.key, g_build.text);
    std::free(g_build.text);
    g_build.text = nullptr;
    g_build.key = -1;
}

void IXBLDKEY(ICB *icb, const void *recp, int len) {
    check_icb(icb, "IXBLDKEY");
    const KeyPlan &p = cur_plan(icb);
    const uint8_t *rec = (const uint8_t *)recp;
    bool whole_dup = p.dups && len == p.keylen;
    int take = whole_dup ? len - 4 : len;
    int pos = 0;
    for (int f = 0; f < p.nf && pos < take; ++f) {
        uint8_t *k = icb->key + p.koff[f];
        const uint8_t *r = rec + p.roff[f];
        int w = p.width[f];
        if (p.type[f] == 'C') {
            int i = 0;
            for (; i < w && r[i]; ++i)
                k[i] = r[i];
            std::memset(k + i, 0, (size_t)(w - i));
        } else {
            reverse_into(k, r, w);
        }
        pos += w;
    }
    if (whole_dup) {
        put_be32(icb->key + p.flen, icb->cur_rec);
        return;
    }
    if (pos < p.keylen) std::memset(icb->key + pos, 0, (size_t)(p.keylen - pos));
}

int IXKEYLEN(ICB *icb, int nfields) {
    check_icb(icb, "IXKEYLEN");
    const KeyPlan &p = cur_plan(icb);
    if (nfields <= 0) return p.keylen;
    int len = 0;
    for (int f = 0; f < nfields && f < p.nf; ++f)
        len += p.width[f];
    return len;
}

void IXKEYTOREC(ICB *icb, void *recp) {
    check_icb(icb, "IXKEYTOREC");
    const KeyPlan &p = cur_plan(icb);
    const uint8_t *e = entry_at(icb, icb->pos);
    uint8_t *rec = (uint8_t *)recp;
    for (int f = 0; f < p.nf; ++f) {
        if (p.type[f] == 'I')
            reverse_into(rec + p.roff[f], e + p.koff[f], p.width[f]);
        else
            std::memcpy(rec + p.roff[f], e + p.koff[f], (size_t)p.width[f]);
    }
}

int IXCOMP(ICB *icb, const uint8_t *a, const uint8_t *b, int len) {
    check_icb(icb, "IXCOMP");
    return key_compare(cur_plan(icb), a, b, len);
}

int nv::store::mixed_compare(const KeyPlan &p, const uint8_t *a, const uint8_t *b, int len) {
    int rem = len;
    for (int f = 0; f < p.nf && rem > 0; ++f) {
        int w = p.width[f] < rem ? p.width[f] : rem;
        int o = p.koff[f];
        int r = p.type[f] == 'C' ? coll_compare(a + o, b + o, w) : plain_compare(a + o, b + o, w);
        if (r) return r;
        rem -= p.width[f];
    }
    if (p.dups && len == p.keylen) return plain_compare(a + p.flen, b + p.flen, 4);
    return 0;
}

// Free slots, file names and the soundness of a header: see ixfile.h.
#include "store/ixfile.h"

#include "base/catalog.h"

#include <cstdio>
#include <cstring>

namespace nv::store {

bool slot_is_free(const uint8_t *rec, int reclen) {
    if (reclen < 1 || rec[0] != 0xFF) return false;
    for (int i = 5; i < reclen; ++i)
        if (rec[i] != 0xFF) return false;
    return true;
}

void slot_make_free(uint8_t *rec, int reclen, int32_t next) {
    std::memset(rec, 0xFF, (size_t)reclen);
    if (reclen >= 5) put_le32(rec + 1, next);
}

const char *base_name(const char *name) {
    const char *s = std::strrchr(name, '/');
    return s ? s + 1 : name;
}

bool derive_paths(const char *name, IxPaths *out) {
    const char *base = base_name(name);
    const char *dot = std::strchr(base, '.');
    out->temporary = dot != nullptr;
    int n;
    if (dot) {
        n = std::snprintf(out->index, sizeof out->index, "%s", name);
        if (n < 0 || n >= (int)sizeof out->index) return false;
        n = std::snprintf(out->data, sizeof out->data, "%.*s.TXT", (int)(dot - name), name);
    } else {
        n = std::snprintf(out->index, sizeof out->index, "%s.INX", name);
        if (n < 0 || n >= (int)sizeof out->index) return false;
        n = std::snprintf(out->data, sizeof out->data, "%s.TXT", name);
    }
    return n >= 0 && n < (int)sizeof out->data;
}

const char *keydesc_problem(const IxKeyDesc &d, int reclen) {
    if (d.dups != k_dups && d.dups != k_nodups)
        return KOR(20, 1, "sleutel zonder J/N voor dubbele waarden");
    int len = 0, nf = 0;
    for (; nf < k_max_fields && d.type[nf]; ++nf) {
        if (d.type[nf] != 'I' && d.type[nf] != 'C') return KOR(20, 2, "onbekend veldtype");
        if (d.first[nf] < 1 || d.last[nf] < d.first[nf]) return KOR(20, 3, "veldgrenzen onjuist");
        if (d.last[nf] > reclen) return KOR(20, 4, "veld ligt buiten het record");
        len += d.last[nf] - d.first[nf] + 1;
    }
    if (nf == 0) return KOR(20, 5, "sleutel zonder velden");
    for (int i = nf; i < k_max_fields; ++i)
        if (d.type[i]) return KOR(20, 2, "onbekend veldtype");
    if (d.dups == k_dups) len += 4;
    if (len != d.keylen) return KOR(20, 6, "sleutellengte klopt niet met de velden");
    if (len > k_max_keylen) return KOR(20, 7, "sleutel langer dan 60 bytes");
    if (d.limit != entry_limit(len) || d.limit < 2) return KOR(20, 8, "grens per blok klopt niet");
    return nullptr;
}

const char *header_problem(const IxHeader &h) {
    if (h.nkeys < 1 || h.nkeys > k_max_keys) return KOR(20, 9, "aantal sleutels onjuist");
    if (h.reclen < 1) return KOR(20, 10, "recordlengte onjuist");
    if (h.reccount < 0) return KOR(20, 11, "aantal records onjuist");
    if (h.freelist < -1 || h.freelist >= h.reccount)
        return KOR(20, 12, "begin van de vrije lijst onjuist");
    if (h.nextblk < h.nkeys + 2) return KOR(20, 13, "volgend vrij blok onjuist");
    for (int k = 0; k < h.nkeys; ++k)
        if (const char *p = keydesc_problem(h.key[k], h.reclen)) return p;
    if (h.key[0].dups != k_nodups) return KOR(20, 14, "sleutel 1 staat dubbele waarden toe");
    return nullptr;
}

} // namespace nv::store

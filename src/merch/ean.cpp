// EAN codes and number entry: see ean.h.
#include "merch/ean.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/txt.h"
#include "frame/iosys.h"
#include "merch/ioeti.h"
#include "merch/stamrec.h"
#include "store/ix.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr long k_most = 999999999;

bool all_digits(const char *t) {
    if (!*t) return false;
    for (; *t; ++t)
        if (!std::isdigit((unsigned char)*t)) return false;
    return true;
}

// Weighted sum with weights 1, 3, 1, ... from the last digit.
int weighted(const char *t, int skip) {
    int n = (int)std::strlen(t), s = 0;
    for (int i = 0; i < n; ++i)
        if (i != skip) s += (t[i] - '0') * ((n - 1 - i) % 2 ? 3 : 1);
    return s;
}

sys_land country() {
    sys_land land{};
    long nr = sysmap::REC_COUNTRY;
    if (iosys_fd() >= 0) iosys('R', &nr, &land, sysmap::FIXED);
    return land;
}

// A number that reads back the same at its own width ("0042" is 42, "42x"
// and "+42" are nothing).
bool exact_number(const char *t, long *out) {
    if (!all_digits(t) || std::strlen(t) > 12) return false;
    char back[16];
    long v = std::strtol(t, nullptr, 10);
    std::snprintf(back, sizeof back, "%0*ld", (int)std::strlen(t), v);
    if (std::strcmp(back, t) != 0) return false;
    *out = v;
    return true;
}

// "%ld%s" converting exactly one item: a number with nothing behind it.
int32_t plain_number(const char *t) {
    long n;
    char rest[16];
    if (std::sscanf(t, "%ld%15s", &n, rest) != 1 || n < 0 || n > INT32_MAX) return -1;
    return (int32_t)n;
}

} // namespace

void ean_tekst(const char *text, char *out) {
    std::snprintf(out, 14, "%.13s", text ? text : "");
    txt_trim(out);
}

bool eti_ean(int soort, long nummer, char *out) {
    if (soort != EAN_LABEL && (soort < 'A' || soort > 'Z')) return false;
    if (nummer < 0 || nummer > k_most) return false;
    char code[32]; // the checks above keep it to 13 digits
    std::snprintf(code, sizeof code, "20%02d%09ld", soort ? soort - 64 : 0, nummer);
    std::memcpy(out, code, 14);
    int s = weighted(out, 1), d = 0;
    while ((3 * d + s) % 10 != 0)
        ++d;
    out[1] = (char)('0' + d);
    return true;
}

bool ean_geldig(const char *text) {
    size_t n = std::strlen(text);
    if (!all_digits(text) || (n != 8 && n != 12 && n != 13)) return false;
    if (n == 8 && text[0] == '0') return false;
    return weighted(text, -1) % 10 == 0;
}

bool eti_ean_geldig(const char *text) {
    if (country().etiket_breedte == 8 && std::strlen(text) == 8 && text[0] >= '0' && text[0] <= '2')
        return false;
    return ean_geldig(text);
}

bool ean_eigen_prefix(const char *text) {
    sys_land land = country();
    if (!land.ean_aantal || std::strlen(text) < 4) return false;
    for (const char *prefix : land.ean_prefix)
        if (std::memcmp(prefix, text, 4) == 0) return true;
    return false;
}

bool ean_intern(const char *text, int *soort, long *nummer) {
    *soort = '?';
    *nummer = 0;
    char t[14];
    ean_tekst(text, t);
    if (!ean_geldig(t) || ean_eigen_prefix(t) || std::strlen(t) != 13 || t[0] != '2') return false;
    int kind = (t[2] - '0') * 10 + (t[3] - '0');
    if (kind > 26) return false;
    long n = std::strtol(t + 4, nullptr, 10);
    if (kind == 0 && n > max_label_no()) return false;
    *soort = kind ? kind + 64 : EAN_LABEL;
    *nummer = n;
    return true;
}

bool ean_parse_invoer(const char *text, int *soort, long *nummer) {
    *soort = '?';
    *nummer = 0;
    char t[14];
    ean_tekst(text, t);
    if (eti_ean_geldig(t)) {
        if (!ean_intern(t, soort, nummer)) *soort = 'E', *nummer = 0;
    } else {
        const char *p = t;
        int kind = EAN_LABEL;
        bool letter = *p >= 'A' && *p <= 'Z';
        if (!letter && !std::isdigit((unsigned char)*p)) return false;
        if (letter) {
            const char *letters = DET(9, 710, "MAOE");
            const char *at = std::strchr(letters, *p);
            if (!at || at - letters >= 4) return false;
            kind = "MAOE"[at - letters];
            ++p;
        }
        long n;
        if (!exact_number(p, &n) || n > k_most) return false;
        *soort = kind;
        *nummer = n;
    }
    if (*soort == EAN_LABEL && *nummer > max_label_no()) return false;
    return true;
}

int32_t eti_uit_ean(const char *text) {
    char t[14];
    ean_tekst(text, t);
    size_t len = std::strlen(t);
    bool ean = eti_ean_geldig(t);
    int k;
    long n;
    if (country().etiket_breedte == 8) {
        if (!ean) {
            const char *p = t[0] == '0' ? t + 1 : t;
            return std::strlen(p) < 9 ? plain_number(p) : -1;
        }
        if (len == 13 && t[0] == '2' && std::sscanf(t + 2, "%3d%8ld", &k, &n) == 2 && k == 0)
            return (int32_t)n;
        return -1;
    }
    if (!ean) return len < 8 ? plain_number(t) : -1;
    if (t[0] != '2') return -1;
    if (len == 8) return std::sscanf(t + 2, "%6ld", &n) == 1 ? (int32_t)n : -1;
    if (std::sscanf(t + 2, "%4d%7ld", &k, &n) == 2 && k == 0) return (int32_t)n;
    return -1;
}

bool ean_lees(ICB *icb, ean_rec *rec, const char *text) {
    if (!icb) errno_fatal("leesstam", 6);
    char t[14];
    ean_tekst(text, t);
    char key[13] = {};
    std::memcpy(key, t, std::strlen(t));
    if (t[0] && std::memcmp(rec->ean_code, key, sizeof key) == 0) return true;
    ean_rec before = *rec;
    int active = icb->blk.keynr;
    if (active != 1) IXSWITCH(icb, 1);
    std::memcpy(rec->ean_code, key, sizeof key);
    bool found = IXREAD(icb, rec) == 1;
    if (!found && std::strlen(t) == 13 && t[0] == '0') { // a 12-digit code written with 13
        std::memset(rec->ean_code, 0, sizeof rec->ean_code);
        std::memcpy(rec->ean_code, t + 1, 12);
        found = IXREAD(icb, rec) == 1;
    }
    if (!found) *rec = before;
    if (active != 1 && active > 0) IXSWITCH(icb, active);
    return found;
}

// Journal file names: see jrnnaam.h.
#include "sale/jrnnaam.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace {

void branch_name(char *out, int branch, int till, const char *ext) {
    unsigned b = (unsigned)branch, t = (unsigned)till % 100u;
    if (b > 99)
        std::snprintf(out, 13, "VR%03u%02u.%.3s", b % 1000u, t, ext);
    else
        std::snprintf(out, 13, "VRK%02u%02u.%.3s", b, t, ext);
}

// The number in n digits at s, or -1 when they are not all digits.
int digits(const char *s, int n) {
    int v = 0;
    for (int i = 0; i < n; ++i) {
        if (!std::isdigit((unsigned char)s[i])) return -1;
        v = v * 10 + (s[i] - '0');
    }
    return v;
}

} // namespace

void jrn_naam(char *out, int branch, int till) {
    branch_name(out, branch, till, "JRN");
}
void bon_naam(char *out, int branch) {
    branch_name(out, branch, 0, "BON");
}
void bon_oud_naam(char *out, int branch) {
    branch_name(out, branch, 0, "OLD");
}

void jrn_bad_naam(char *out, size_t size, const char *journal) {
    const char *base = std::strrchr(journal, '/');
    base = base ? base + 1 : journal;
    std::snprintf(out, size, "%.*s%-7.7s.BAD", (int)(base - journal), journal, base);
}

void jrn_naam_uit(const char *name, int *branch, int *till) {
    const char *base = std::strrchr(name, '/');
    base = base ? base + 1 : name;
    *branch = *till = JRN_ALLE;
    if (std::strlen(base) < 7 || std::strncmp(base, "VR", 2) != 0) return;
    int b = base[2] == 'K' ? digits(base + 3, 2) : digits(base + 2, 3);
    int t = digits(base + 5, 2);
    if (b < 0 || t < 0) return;
    *branch = b;
    *till = t;
}

void jrn_patroon(char *out, int branch, int till) {
    if (branch == JRN_ALLE && till == JRN_ALLE)
        std::snprintf(out, 13, "VR?????.JRN");
    else if (branch == JRN_ALLE)
        std::snprintf(out, 13, "VR???%02u.JRN", (unsigned)till % 100u);
    else if (till == JRN_ALLE && branch > 99)
        std::snprintf(out, 13, "VR%03u??.JRN", (unsigned)branch % 1000u);
    else if (till == JRN_ALLE)
        std::snprintf(out, 13, "VRK%02u??.JRN", (unsigned)branch % 100u);
    else
        jrn_naam(out, branch, till);
}

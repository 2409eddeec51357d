// Day numbers and date texts: see datum.h.
#include "base/datum.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {
// Days before month m in a year of 365 days.
const int before_month[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
const int month_days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

bool all_digits(const char *s, int n) {
    for (int i = 0; i < n; ++i)
        if (!std::isdigit((unsigned char)s[i])) return false;
    return true;
}

int num(const char *s, int n) {
    int v = 0;
    for (int i = 0; i < n; ++i)
        v = v * 10 + (s[i] - '0');
    return v;
}

// Two digits of v (0..99).
char *put2(char *p, int v) {
    p[0] = (char)('0' + v / 10 % 10);
    p[1] = (char)('0' + v % 10);
    return p + 2;
}

// Day, month and the year digits of a date text of 6 or 8 digits; false
// for any other form.
bool split(const char *text, int *d, int *m, int *y, int *ydigits) {
    if (!text) return false;
    int n = (int)std::strlen(text);
    if ((n != 6 && n != 8) || !all_digits(text, n)) return false;
    *d = num(text, 2);
    *m = num(text + 2, 2);
    *ydigits = n - 4;
    *y = num(text + 4, n - 4);
    return true;
}
} // namespace

unsigned short datum_nr(int d, int m, int y) {
    long yy = y - 1900;
    long nr = (yy * 36525 + 99) / 100 + before_month[m - 1] + d;
    if (yy % 4 == 0 && m > 2) ++nr;
    return (unsigned short)nr;
}

void datum_dmj(unsigned short nr, int *d, int *m, int *y) {
    long n = nr;
    long yy = (n * 100 - 99) / 36525;
    long day = n - (yy * 36525 + 99) / 100; // 1-based day in the year
    int mo = 0;
    for (; mo < 11; ++mo) {
        int len = month_days[mo] + (mo == 1 && yy % 4 == 0 ? 1 : 0);
        if (day <= len) break;
        day -= len;
    }
    *d = (int)day;
    *m = mo + 1;
    *y = (int)(yy + 1900);
}

unsigned short datum_vandaag() {
    std::time_t now = std::time(nullptr);
    std::tm tm{};
    localtime_r(&now, &tm);
    return datum_nr(tm.tm_mday, tm.tm_mon + 1, tm.tm_year + 1900);
}

int32_t tijd_nu() {
    std::time_t now = std::time(nullptr);
    std::tm tm{};
    localtime_r(&now, &tm);
    return (int32_t)(tm.tm_hour * 3600 + tm.tm_min * 60 + tm.tm_sec);
}

bool datum_geldig(const char *text) {
    int d, m, y, yd;
    if (!split(text, &d, &m, &y, &yd)) return false;
    if (m < 1 || m > 12 || d < 1) return false;
    int len = month_days[m - 1];
    if (m == 2 && (y % 100) % 4 == 0) len = 29;
    return d <= len;
}

unsigned short datum_naar_nr(const char *text) {
    if (!datum_geldig(text)) return 0;
    int d, m, y, yd;
    split(text, &d, &m, &y, &yd);
    if (yd == 2)
        y += y < 51 ? 2000 : 1900;
    else if (y < 1900)
        return 0;
    // Beyond 2079 the day number no longer fits in 16 bits.
    long yy = y - 1900;
    long nr = (yy * 36525 + 99) / 100 + before_month[m - 1] + d + (yy % 4 == 0 && m > 2 ? 1 : 0);
    if (nr > 65535) return 0;
    return (unsigned short)nr;
}

char *datum_tekst(char *buffer, unsigned short nr, bool lang) {
    if (nr == 0) {
        std::memset(buffer, ' ', lang ? 8 : 6);
        buffer[lang ? 8 : 6] = 0;
        return buffer;
    }
    int d, m, y;
    datum_dmj(nr, &d, &m, &y);
    char *p = put2(buffer, d);
    p = put2(p, m);
    if (lang) p = put2(p, nr >= 36526 ? 20 : 19);
    p = put2(p, y % 100);
    *p = 0;
    return buffer;
}

const char *datum_toon(unsigned short nr) {
    static char buf[12];
    if (nr == 0) return std::strcpy(buf, "        ");
    int d, m, y;
    datum_dmj(nr, &d, &m, &y);
    char *p = put2(buf, d);
    *p++ = '-';
    p = put2(p, m);
    *p++ = '-';
    *put2(p, y % 100) = 0;
    return buf;
}

const char *tijd_tekst(int32_t seconds) {
    static char buf[32];
    long s = seconds;
    std::snprintf(buf, sizeof buf, "%02ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
    return buf;
}

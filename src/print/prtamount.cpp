// Amount texts and amount arithmetic.
//
// With two decimals the text is built from the whole part and the cents,
// so that no floating point is involved; a value from -99 to -1 cents has a
// whole part of 0, which can't carry the sign, and is written as "-0".
#include "print/prtamount.h"

#include "print/prtbuf.h"
#include "term/scr.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace nv::prt {
int decimals() {
    if (term_state) return term_state->term_decimals;
    return std::getenv("KPOS") ? 0 : 2;
}
} // namespace nv::prt

namespace {
int32_t round_half_away(double v) {
    return (int32_t)(v < 0 ? std::ceil(v - 0.5) : std::floor(v + 0.5));
}
} // namespace

char *AMOUNTTEXT(int32_t value, int width, char *buffer) {
    char fmt[32];
    // The buffer holds at least width + 1 bytes; a wider value needs at
    // most 15 (sign, ten digits, point, two decimals, NUL).
    size_t room = (size_t)std::max(width, 0) + 16;
    if (nv::prt::decimals() != 2) {
        std::snprintf(fmt, sizeof fmt, "%%%dld", std::max(width, 1));
        std::snprintf(buffer, room, fmt, (long)value);
        return buffer;
    }
    int whole = std::max(width - 3, 1);
    long cents = std::labs((long)value % 100);
    if (value < 0 && value > -100) {
        std::snprintf(fmt, sizeof fmt, "%%%d.%ds.%%02ld", whole, 2);
        std::snprintf(buffer, room, fmt, "-0", cents);
    } else {
        std::snprintf(fmt, sizeof fmt, "%%%dld.%%02ld", whole);
        std::snprintf(buffer, room, fmt, (long)value / 100, cents);
    }
    return buffer;
}

void AMOUNTPRINT(int32_t value, int width) {
    char text[160];
    PRT_RAW("%s", AMOUNTTEXT(value, std::min(width, 140), text));
}

void AMOUNTSCREEN(int row, int col, int32_t value, int width) {
    char text[160];
    WINTEXT(ATTR_DATA, row, col, "%s", AMOUNTTEXT(value, std::min(width, 140), text));
}

int32_t AMOUNTWHOLE(int32_t value) {
    if (nv::prt::decimals() != 2) return value;
    return (int32_t)(((int64_t)value + (value < 0 ? -50 : 50)) / 100);
}

int32_t AMOUNTOFDOUBLE(double value) {
    return round_half_away(nv::prt::decimals() == 2 ? value / 100.0 : value);
}

int32_t ADDPERMILLE(int32_t value, int32_t permille) {
    int64_t product = (int64_t)value * permille;
    return (int32_t)(value + (product + (product < 0 ? -500 : 500)) / 1000);
}

int32_t LESSPERMILLE(int32_t value, int32_t permille) {
    if (value >= 0 && value <= 2140000)
        return (int32_t)(((int64_t)value * 1000 + 500 + permille / 2) / (permille + 1000));
    return round_half_away(value / (1.0 + permille / 1000.0));
}

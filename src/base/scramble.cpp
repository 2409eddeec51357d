// Scrambling of names: see scramble.h.
#include "base/scramble.h"

#include "base/catalog.h"
#include "base/fatal.h"

#include <cstring>
#include <ctime>
#include <new>

namespace nv {
void scramble_with_key(char *text, unsigned char key) {
    size_t n = std::strlen(text);
    unsigned char *tmp = new (std::nothrow) unsigned char[n + 1];
    if (!tmp) nv::fatal("SCRAMBLE : %s", DET(6, 95, "Onvoldoende geheugen"));
    int step = key / 10 + 1, offset = key % 10 + 5, sign = -1;
    for (size_t i = 0; i < n; ++i) {
        int c = (unsigned char)text[i];
        int v = (c - 32 + (int)(i + 1) * step * sign + offset) % 222;
        if (v < 0) v += 222;
        tmp[i] = (unsigned char)(v + 32);
        sign = -sign;
    }
    for (size_t i = 0; i < n; ++i) text[i] = (char)tmp[n - 1 - i];
    text[n] = (char)key;
    text[n + 1] = 0;
    delete[] tmp;
}
} // namespace nv

void SCRAMBLE(char *text) {
    unsigned char k = (unsigned char)(((long)std::time(nullptr) % 94 + 32) | 128);
    nv::scramble_with_key(text, k);
}

void UNSCRAMBLE(char *text) {
    size_t n = std::strlen(text);
    if (n == 0) return;
    int k = (unsigned char)text[n - 1];
    int mod = 222;
    if (k <= 127) {
        k &= 127;
        mod = 94;
    }
    int step = k / 10 + 1, offset = k % 10 + 5, sign = -1;
    size_t len = n - 1;
    char *tmp = new (std::nothrow) char[len + 1];
    if (!tmp) nv::fatal("UNSCRAMBLE : %s", DET(6, 95, "Onvoldoende geheugen"));
    for (size_t i = 0; i < len; ++i) {
        int c = (unsigned char)text[len - 1 - i];
        int v = (c - 32 - (int)(i + 1) * step * sign - offset) % mod;
        if (v < 0) v += mod;
        tmp[i] = (char)(v + 32);
        sign = -sign;
    }
    std::memcpy(text, tmp, len);
    text[len] = 0;
    delete[] tmp;
}

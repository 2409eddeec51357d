// Text helpers: see txt.h.
#include "base/txt.h"

#include "base/cp850.h"

#include <cstdlib>
#include <cstring>

int txt_index(int c, const char *text) {
    for (int i = 0; text[i]; ++i)
        if ((unsigned char)text[i] == (unsigned char)c) return i;
    return -1;
}

int txt_find(const char *pattern, const char *text) {
    if (!*text) return -1;
    const char *p = std::strstr(text, pattern);
    return p ? (int)(p - text) : -1;
}

void txt_delete(char *text, int start, int count) {
    int len = (int)std::strlen(text);
    if (start < 0 || count <= 0 || len < start + count - 1) return;
    if (start + count > len) count = len - start; // the exact end: nothing beyond the NUL
    if (count <= 0) return;
    std::memmove(text + start, text + start + count, (size_t)(len - start - count + 1));
    std::memset(text + len - count, 0, (size_t)count);
}

void txt_insert_char(char *text, int c, int pos) {
    int len = (int)std::strlen(text);
    if (pos < 0) pos = 0;
    if (pos > len) pos = len;
    std::memmove(text + pos + 1, text + pos, (size_t)(len - pos + 1));
    text[pos] = (char)c;
}

void txt_insert(char *text, const char *s, int pos) {
    int len = (int)std::strlen(text);
    int n = (int)std::strlen(s);
    if (pos < 0) pos = 0;
    if (pos > len) pos = len;
    std::memmove(text + pos + n, text + pos, (size_t)(len - pos + 1));
    std::memcpy(text + pos, s, (size_t)n);
}

void txt_rtrim(char *text) {
    int len = (int)std::strlen(text);
    while (len > 0 && cp850::is_blank(text[len - 1]))
        text[--len] = 0;
}

void txt_ltrim(char *text) {
    int i = 0;
    while (text[i] && cp850::is_blank(text[i]))
        ++i;
    if (i) std::memmove(text, text + i, std::strlen(text + i) + 1);
}

void txt_trim(char *text) {
    txt_rtrim(text);
    txt_ltrim(text);
}

char *txt_upper(char *text) {
    for (char *p = text; *p; ++p)
        *p = (char)cp850::upper(*p);
    return text;
}

int bytes_compare(const void *a, const void *b, size_t length) {
    const unsigned char *x = (const unsigned char *)a, *y = (const unsigned char *)b;
    for (size_t i = 0; i < length; ++i)
        if (x[i] != y[i]) return (int)x[i] - (int)y[i];
    return 0;
}

namespace {
int hexval(int c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
} // namespace

char *txt_unescape(char *text) {
    char *out = text;
    for (const char *in = text; *in;) {
        if (*in != '\\') {
            *out++ = *in++;
            continue;
        }
        ++in;
        if (*in == '\\') {
            *out++ = *in++;
            continue;
        }
        // Up to two hex digits; a backslash before anything else is dropped
        // and the character kept, so that a faulty table line loses nothing.
        int v = 0, n = 0;
        while (n < 2 && hexval((unsigned char)*in) >= 0)
            v = v * 16 + hexval((unsigned char)*in++), ++n;
        if (n) *out++ = (char)v;
    }
    *out = 0;
    return text;
}

size_t nv::alloc_between_with(void *(*alloc)(size_t), void **pointer, size_t least, size_t most) {
    *pointer = nullptr;
    if (least > most) least = most;
    for (size_t size = most;;) {
        if (size > 0) {
            if (void *p = alloc(size)) {
                std::memset(p, 0, size);
                *pointer = p;
                return size;
            }
        }
        if (size <= least) return 0;
        size /= 2;
        if (size < least) size = least;
    }
}

size_t alloc_between(void **pointer, size_t least, size_t most) {
    return nv::alloc_between_with(std::malloc, pointer, least, most);
}

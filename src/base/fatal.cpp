// The fatal path: see fatal.h.
#include "base/fatal.h"

#include "base/catalog.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace nv {
namespace {
void stderr_handler(const char *text) {
    fatal_stop_files();
    std::fprintf(stderr, "PROGRAMMA AFGEBROKEN\n%s\n", text);
    std::exit(1);
}
FatalHandler g_handler = stderr_handler;

constexpr int k_closers = 8;
void (*g_closers[k_closers])();
int g_nclosers = 0;
bool g_stopped = false;
} // namespace

void on_fatal_stop(void (*closer)()) {
    for (int i = 0; i < g_nclosers; ++i)
        if (g_closers[i] == closer) return;
    if (g_nclosers == k_closers) fatal("on_fatal_stop: %s", "te veel");
    g_closers[g_nclosers++] = closer;
}

void fatal_stop_files() {
    // Once: a closer that fails ends in the fatal path again.
    if (g_stopped) return;
    g_stopped = true;
    for (int i = g_nclosers - 1; i >= 0; --i)
        g_closers[i]();
}

void set_fatal_handler(FatalHandler h) { g_handler = h ? h : stderr_handler; }

void vfatal(const char *fmt, va_list ap) {
    static char text[1024];
    std::vsnprintf(text, sizeof text, fmt, ap);
    g_handler(text);
    std::exit(1); // a handler that returns is a fault of the handler
}

void fatal(const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    vfatal(fmt, ap);
}

void fatal_tag(const char *tag, char *out, int size) {
    const char *s = tag ? tag : "";
    if (const char *slash = std::strrchr(s, '/')) s = slash + 1;
    int n = 0;
    for (; *s && *s != '.' && n < size - 1; ++s)
        out[n++] = (char)std::toupper((unsigned char)*s);
    out[n] = 0;
}

} // namespace nv

void mem_fatal(const char *tag, int nr) {
    char t[64];
    nv::fatal_tag(tag, t, sizeof t);
    nv::fatal("%s: %s (nr=%d)", t, DET(6, 95, "Onvoldoende geheugen"), nr);
}

void open_fatal(const char *tag, const char *file) {
    int e = errno;
    char t[64];
    nv::fatal_tag(tag, t, sizeof t);
    nv::fatal("%s: %s (file=%s, errno=%d)", t, DET(6, 122, "Open niet gelukt"), file, e);
}

void errno_fatal(const char *tag, int nr) {
    char t[64];
    nv::fatal_tag(tag, t, sizeof t);
    nv::fatal("%s: errno=%d", t, nr);
}

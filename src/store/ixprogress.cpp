// ixprogress and its default display: see ixprogress.h.
#include "store/ixprogress.h"

#include <cstdarg>
#include <cstdio>
#include <unistd.h>

namespace nv::store {
namespace {

char g_title[160];

// The stderr line: on a terminal it is rewritten in place whenever the
// percentage changes; into a file or pipe only the end is written, once.
struct Line {
    bool open = false;
    int shown = -1;
    long value = 0, total = 0;
} g_line;

void line_hook(int action, long value, long total, const char *title) {
    const bool tty = ::isatty(2);
    switch (action) {
    case 0:
    case 3:
        g_line = Line{};
        g_line.open = true;
        break;
    case 1:
    case 4: {
        if (!g_line.open) g_line = Line{true, -1, 0, 0};
        g_line.value = value, g_line.total = total;
        int pct = progress_cells(value, total, 100);
        if (tty && pct != g_line.shown) std::fprintf(stderr, "\r%s %3d%%", title, pct);
        g_line.shown = pct;
        break;
    }
    case 2:
    case 5:
        if (!g_line.open) break;
        if (tty && g_line.shown >= 0)
            std::fputc('\n', stderr);
        else if (!tty && g_line.shown >= 0)
            std::fprintf(stderr, "%s %d%%\n", title, g_line.shown);
        g_line = Line{};
        break;
    default:
        break;
    }
}

ProgressHook g_hook = line_hook;

} // namespace

void set_progress_hook(ProgressHook h) {
    g_hook = h ? h : line_hook;
}

int progress_cells(long value, long total, int width) {
    if (total <= 0) total = value > 0 ? value : 1;
    if (value < 0) value = 0;
    long long n = (long long)value * width / total;
    return n > width ? width : (int)n;
}

} // namespace nv::store

void ixprogress(int action, long value, long total, const char *fmt, ...) {
    if (fmt) {
        va_list ap;
        va_start(ap, fmt);
        std::vsnprintf(nv::store::g_title, sizeof nv::store::g_title, fmt, ap);
        va_end(ap);
    }
    nv::store::g_hook(action, value, total, nv::store::g_title);
}

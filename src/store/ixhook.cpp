// The store's hooks towards the user: see ixhook.h.
#include "store/ixhook.h"

#include "base/catalog.h"
#include "store/ix.h"

#include <cstdio>
#include <unistd.h>

namespace nv::store {
namespace {

void default_inuse(ICB *icb) {
    char text[160];
    inuse_text(icb, text, sizeof text);
    std::fprintf(stderr, "%s\n", text);
    ::sleep(2);
}

int default_flash(int option, const char *title, const char *text) {
    if (title && *title) std::fprintf(stderr, "%s\n", title);
    std::fprintf(stderr, "%s\n", text);
    return option == -2 ? 0 : 1; // nobody to answer J: the careful answer
}

bool default_eof(const char *line) {
    std::fprintf(stderr, "%s\n", line);
    ::sleep(1);
    return true;
}

InUseHook g_inuse = default_inuse;
FlashHook g_flash = default_flash;
EofHook g_eof = default_eof;

} // namespace

void set_inuse_hook(InUseHook h) {
    g_inuse = h ? h : default_inuse;
}
void set_flash_hook(FlashHook h) {
    g_flash = h ? h : default_flash;
}
void set_eof_hook(EofHook h) {
    g_eof = h ? h : default_eof;
}

void inuse(ICB *icb) {
    g_inuse(icb);
}
int flash(int option, const char *title, const char *text) {
    return g_flash(option, title, text);
}
bool eof_line(const char *line) {
    return g_eof(line);
}

void inuse_text(ICB *icb, char *out, int size) {
    std::snprintf(out, (size_t)size, "%-11.11s: %-19.19s --> %s", icb->hdr.name, icb->hdr.title,
                  KOR(1, 15, "Informatie in gebruik op ander scherm"));
}

} // namespace nv::store

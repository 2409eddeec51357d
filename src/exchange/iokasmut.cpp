// The till mutation queue KASMUT.TXT: see iokasmut.h.
#include "exchange/iokasmut.h"

#include "exchange/xchinst.h"
#include "frame/iosys.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace {

constexpr const char *NAAM = "KASMUT.TXT";
FILE *g_file = nullptr;
bool g_schrijven = false;
bool (*g_enter)(int, bool) = nullptr;
void (*g_leave)(int) = nullptr;

bool neemt_mutaties(int filiaal) {
    fil_rec f{};
    if (filiaal != 255) return iofil('R', filiaal, &f) && f.kas_modus > 1;
    for (int b = 0; b < xch.aantal_fil; ++b)
        if (iofil('R', b, &f) && f.kas_modus > 1) return true;
    return false;
}

bool open_schrijven(bool wachten) {
    if (g_enter && !g_enter(1, wachten)) return false;
    g_file = std::fopen(NAAM, "a");
    if (!g_file) {
        if (g_leave) g_leave(1);
        return false;
    }
    chmod(NAAM, 0660);
    g_schrijven = true;
    return true;
}

} // namespace

int kasmut_klasse(char code) {
    if (!code) return 0;
    if (std::strchr("ABCDMPSVZbkstv", code)) return 1;
    if (std::strchr("EFLOXmo", code)) return 2;
    if (std::strchr("GHIJKNQRTWYacdefglpx", code)) return 3;
    return 0;
}

int kasmut_merken(int filiaal, char code) {
    int klasse = kasmut_klasse(code);
    int m = 0;
    if ((klasse == 1 || klasse == 3) && xch.kasmut_vlag) m |= 2;
    if ((klasse == 1 || klasse == 2) && neemt_mutaties(filiaal)) m |= 1;
    return m;
}

bool kasmut_wordt_geschreven(int filiaal, char code) {
    int klasse = kasmut_klasse(code);
    return klasse == 1 || (klasse > 1 && kasmut_merken(filiaal, code));
}

void kasmut_set_batch(bool (*enter)(int, bool), void (*leave)(int)) {
    g_enter = enter;
    g_leave = leave;
}

bool kasmut_open(int modus) {
    if (!xch_kassas() || g_file) return false;
    if (modus == 1) return open_schrijven(true);
    g_file = std::fopen(NAAM, "r");
    g_schrijven = false;
    return g_file != nullptr;
}

void kasmut_close() {
    if (!g_file) return;
    std::fclose(g_file);
    g_file = nullptr;
    if (g_schrijven && g_leave) g_leave(1);
    g_schrijven = false;
}

bool kasmut_schrijf(int filiaal, int kas, char code, const char *text) {
    if (!xch_kassas()) return false;
    if (filiaal != 255 && filiaal >= xch.aantal_fil) return false;
    if (!kasmut_wordt_geschreven(filiaal, code)) return false;
    bool eigen = !g_file;
    if (eigen && !open_schrijven(false)) return false;
    if (!g_schrijven) return false;
    std::fprintf(g_file, "%03d%03d%c%s\n", filiaal, kas, code, text);
    if (eigen) kasmut_close();
    return true;
}

bool kasmut_lees(int *filiaal, int *kas, char *code, char *text, size_t size) {
    char regel[512];
    if (!g_file || !std::fgets(regel, sizeof regel, g_file)) return false;
    regel[std::strcspn(regel, "\r\n")] = 0;
    if (!regel[0] || std::strlen(regel) < 7) return false;
    char num[4] = {};
    std::memcpy(num, regel, 3);
    *filiaal = std::atoi(num);
    std::memcpy(num, regel + 3, 3);
    *kas = std::atoi(num);
    *code = regel[6];
    std::snprintf(text, size, "%s", regel + 7);
    return true;
}

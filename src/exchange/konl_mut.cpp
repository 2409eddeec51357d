// The online tills' mutation files: see konl_mut.h.
#include "exchange/konl_mut.h"

#include "base/fatal.h"
#include "exchange/xchinst.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {
std::vector<konl_kassa> g_lijst;
bool g_gemaakt = false;
} // namespace

void konl_lijst_maak(const char *dir) {
    g_lijst.clear();
    g_gemaakt = true;
    DIR *d = opendir(dir);
    if (!d) return;
    while (const dirent *e = readdir(d)) {
        int f, k;
        char rest[8] = {};
        if (std::strlen(e->d_name) != 11 ||
            std::sscanf(e->d_name, "KAS%2d%2d%7s", &f, &k, rest) != 3 || std::strcmp(rest, ".SYS"))
            continue;
        if (f >= 0 && f < 256 && k >= 0 && k < 256) g_lijst.push_back({(uint8_t)f, (uint8_t)k});
    }
    closedir(d);
}

int konl_aantal() {
    return g_gemaakt ? (int)g_lijst.size() : -1;
}
const konl_kassa *konl_lijst() {
    return g_lijst.data();
}

void dcmu_schrijf(int filiaal, int kas, char code, const char *text) {
    char naam[20];
    std::snprintf(naam, sizeof naam, "DCMU%02d%02d.TXT", filiaal, kas);
    bool nieuw = ::access(naam, F_OK) != 0;
    int fd = ::open(naam, O_WRONLY | O_APPEND | O_CREAT, 0660);
    if (fd < 0)
        nv::fatal("%s: %s (file=%s, errno=%d)", "KONL_MUT", std::strerror(errno), naam, errno);
    if (nieuw) fchmod(fd, 0660); // the umask must not narrow it
    char regel[300];
    int n = std::snprintf(regel, sizeof regel, "%c%s\n", code, text);
    if (n > (int)sizeof regel - 1) n = (int)sizeof regel - 1, regel[n - 1] = '\n';
    ssize_t w = ::write(fd, regel, (size_t)n);
    (void)w; // a failed write is not checked: the transfer program sees what arrived
    ::close(fd);
}

bool dcmu_alle(int filiaal, int kas, char code, const char *text) {
    if (!g_gemaakt) errno_fatal("KONL_MUT", 2);
    if (filiaal != 255 && (filiaal < 0 || filiaal >= xch.aantal_fil)) errno_fatal("KONL_MUT", 3);
    bool geschreven = false;
    for (const konl_kassa &k : g_lijst)
        if ((filiaal == 255 || k.filiaal == filiaal) && (kas == 255 || k.kas == kas)) {
            dcmu_schrijf(k.filiaal, k.kas, code, text);
            geschreven = true;
        }
    return geschreven;
}

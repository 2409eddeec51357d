// The start checks of the parameter files: see startchk.h.
#include "frame/startchk.h"

#include "base/catalog.h"
#include "base/osfile.h"
#include "frame/start.h"
#include "frame/sysrec.h"
#include "term/popup.h"
#include "term/scr.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace frame {
namespace {

std::string short_file(const char *name, long size, long need) {
    char t[200];
    std::snprintf(t, sizeof t, DET(1, 145, "%s is te kort: %ld bytes, nodig %ld"), name, size,
                  need);
    return t;
}

std::string damaged(const char *name, const char *what) {
    char t[200];
    std::snprintf(t, sizeof t, DET(1, 146, "%s is beschadigd: %s"), name, what);
    return t;
}

// A text field: printable bytes up to the first NUL, which must come within
// the field unless `full` allows a field that is all text.
bool text_field(const char *p, size_t size, bool full) {
    for (size_t i = 0; i < size; ++i) {
        unsigned char c = (unsigned char)p[i];
        if (c == 0) return true;
        if (c < 0x20 || c == 0x7F) return false;
    }
    return full;
}

} // namespace

std::string file_bytes(const char *name, size_t max, bool *exists) {
    std::string out;
    *exists = false;
    int fd = nv::os::open_shared(name, O_RDONLY);
    if (fd < 0) return out;
    struct stat st;
    if (fstat(fd, &st) == 0) {
        *exists = true;
        out.resize(std::min((size_t)st.st_size, max));
        ssize_t n = nv::os::pread_full(fd, out.data(), out.size(), 0);
        out.resize(n > 0 ? (size_t)n : 0);
    }
    nv::os::close_shared(fd);
    return out;
}

std::string sysfile_problem(const std::string &b, const char *name) {
    if ((long)b.size() < sysmap::FILE_SIZE)
        return short_file(name, (long)b.size(), sysmap::FILE_SIZE);
    const char *release = b.data() + (sysmap::REC_RELEASE - 1) * sysmap::FIXED.length +
                          offsetof(sys_release, release);
    bool readable = release[0] != ' ';
    for (int i = 0; i < 5; ++i)
        readable = readable && release[i] >= 0x20 && release[i] < 0x7F;
    if (!readable) return damaged(name, DET(1, 147, "geen leesbare release"));
    sys_bedrijf c;
    std::memcpy(&c, b.data(), sizeof c);
    if (!text_field(c.bedrijf, sizeof c.bedrijf, true))
        return damaged(name, DET(1, 148, "bedrijfsnaam onleesbaar"));
    if (c.aantal_fil == 0) return damaged(name, DET(1, 149, "geen filialen"));
    return "";
}

std::string branchfile_problem(long size, int branches, const char *name) {
    long need = (long)(branches + 1) * (long)sizeof(fil_rec);
    return size < need ? short_file(name, size, need) : "";
}

std::string kasparm_problem(const std::string &b, const char *name) {
    if (b.size() < sizeof(kas_parm))
        return short_file(name, (long)b.size(), (long)sizeof(kas_parm));
    kas_parm k;
    std::memcpy(&k, b.data(), sizeof k);
    for (const auto &v : k.valuta)
        if (!text_field(v, sizeof v, false))
            return damaged(name, DET(1, 151, "valutacodes onleesbaar"));
    if (!text_field(k.extra_letters, sizeof k.extra_letters, true))
        return damaged(name, DET(1, 152, "extra letters onleesbaar"));
    return "";
}

void start_checks() {
    bool exists;
    std::string why =
        sysfile_problem(file_bytes("DTSYS.TXT", sysmap::FILE_SIZE, &exists), "DTSYS.TXT");
    if (!why.empty()) SCRFATAL("%s", why.c_str());
    sys_bedrijf c;
    std::memcpy(&c, file_bytes("DTSYS.TXT", sizeof c, &exists).data(), sizeof c);
    struct stat st;
    long size = stat("DTFILGEG.TXT", &st) == 0 ? (long)st.st_size : 0;
    why = branchfile_problem(size, c.aantal_fil, "DTFILGEG.TXT");
    if (!why.empty()) SCRFATAL("%s", why.c_str());
    std::string kas = file_bytes("KASPARM.TXT", sizeof(kas_parm), &exists);
    why = exists ? kasparm_problem(kas, "KASPARM.TXT") : "";
    if (!why.empty()) FFLASH(background ? 0 : -1, 0, A_BOLD, nullptr, "%s", why.c_str());
}

} // namespace frame

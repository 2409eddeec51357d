// The data dictionary at work: making, comparing and verifying a file pair
// against the table of ddtab.cpp. See dd.h.
#include "store/dd.h"

#include "base/osfile.h"
#include "store/ix.h"
#include "store/ixcheck.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace nv::store;

namespace {

int64_t file_size(const char *path) {
    struct stat st;
    return ::stat(path, &st) == 0 ? (int64_t)st.st_size : -1;
}

// The descriptor text of one key for IXUPDFCB.
void key_text(const dd_row &r, char *out, size_t size) {
    int n = std::snprintf(out, size, "key-%d%s", r.key, r.dups ? "" : ",NODUPS");
    for (int f = 0; f < 10 && r.fld[f].type && n < (int)size; ++f)
        n += std::snprintf(out + n, size - (size_t)n, ",%c,%d,%d", r.fld[f].type, r.fld[f].first,
                           r.fld[f].last);
}

// The three files that are delivered with data: empty means damaged.
bool needs_data(const char *name) {
    const char *base = base_name(name);
    return strcasecmp(base, "DTDD") == 0 || strcasecmp(base, "DTISOLND") == 0 ||
           strcasecmp(base, "DTISOVAL") == 0;
}

} // namespace

bool dd_create(int filenr, const char *name) {
    dd_row r;
    if (!dd_lookup(filenr, 1, &r)) return false;
    ICB *icb = IXCREATE(name, 1);
    char title[19], text[200];
    dd_title(filenr, title);
    std::snprintf(text, sizeof text, "%-.19s,%d", *title ? title : base_name(name), r.reclen);
    IXUPDFCB(icb, 0, text);
    bool all = true;
    for (int k = 1; k <= r.nkeys; ++k) {
        dd_row kr;
        if (!dd_lookup(filenr, k, &kr)) {
            all = false;
            continue;
        }
        key_text(kr, text, sizeof text);
        IXUPDFCB(icb, k, text);
    }
    IXINITIX(icb);
    IXCLOSE(icb);
    return all;
}

bool dd_create_data(const char *name) {
    char path[300];
    std::snprintf(path, sizeof path, "%s.TXT", name);
    int fd = nv::os::calls().open(path, O_WRONLY | O_CREAT | O_TRUNC, 0660);
    if (fd < 0) return false;
    ::fchmod(fd, 0660); // the umask must not narrow it
    nv::os::calls().close(fd);
    return true;
}

bool dd_create_pair(int filenr, const char *name) {
    return dd_create(filenr, name) && dd_create_data(name);
}

int dd_compare(int filenr, const char *name) {
    dd_row r;
    if (!dd_lookup(filenr, 1, &r)) return 1;
    IxPaths p;
    if (!derive_paths(name, &p)) return 6;
    int fd = nv::os::open_shared(p.index, O_RDONLY);
    if (fd < 0) return 6;
    IxHeader h{};
    ssize_t got = nv::os::pread_full(fd, &h, k_header_bytes, 0);
    nv::os::close_shared(fd);
    if (got != k_header_bytes) return 6;
    if (h.reclen != r.reclen) return 2;
    if (h.nkeys != r.nkeys) return 3;
    for (int k = 1; k <= r.nkeys; ++k) {
        if (!dd_lookup(filenr, k, &r)) return 1;
        const IxKeyDesc &d = h.key[k - 1];
        if ((d.dups == k_dups && r.dups == 0) || (d.dups == k_nodups && r.dups != 0)) return 4;
        for (int f = 0; f < k_max_fields; ++f) {
            if (!d.type[f] && !r.fld[f].type) break;
            if ((uint8_t)d.type[f] != r.fld[f].type || d.first[f] != r.fld[f].first ||
                d.last[f] != r.fld[f].last)
                return 5;
        }
    }
    return 0;
}

bool dd_verify(int filenr, const char *name, dd_result *result) {
    const bool repair = result->repair == 1;
    *result = dd_result{};
    IxPaths p;
    if (!derive_paths(name, &p)) {
        result->status = 1;
        return false;
    }
    bool index = file_size(p.index) > 0, data = file_size(p.data) >= 0;
    if (repair && !index) result->index_created = index = dd_create(filenr, name);
    if (repair && !data) result->data_created = data = dd_create_data(name);
    if (file_size(p.data) == 0 && needs_data(name)) {
        result->status = 4;
        return false;
    }
    if (!index || !data) {
        result->status = !index ? 1 : 2;
        return false;
    }
    if (int code = dd_compare(filenr, name)) {
        result->status = 3;
        result->layout_diff = code;
        return false;
    }
    int free_slots = IXCHECK(name);
    if (free_slots < 0 && repair && IXBLDIX(name)) {
        free_slots = IXCHECK(name);
        result->rebuilt = free_slots >= 0;
    }
    if (free_slots < 0) {
        result->status = 5;
        return false;
    }
    return true;
}

bool nv::store::dd_ensure(int filenr, const char *name) {
    dd_result r{};
    r.repair = 1;
    return dd_verify(filenr, name, &r);
}

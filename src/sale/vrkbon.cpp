// The receipt work file and its index: see vrkbon.h.
//
// State: the index (null while no receipt is open) and its entry count. The
// offsets in the index are those of the records in the BON file; the file
// only grows while the receipt is open, and records are changed in place.
#include "sale/vrkbon.h"

#include "base/fatal.h"
#include "base/osfile.h"
#include "sale/jrnnaam.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

vrkbon_entry *g_index = nullptr;
int g_count = 0;
vrkbon_omzet_hook g_omzet = nullptr;
vrkbon_op_rekening_hook g_op_rekening = nullptr;

void free_index() {
    std::free(g_index);
    g_index = nullptr;
    g_count = 0;
}

off_t size_of(const char *path) {
    struct stat st;
    return ::stat(path, &st) == 0 ? st.st_size : -1;
}

// T and X close the receipt; without them the journal would get an
// incomplete transaction, so a failure leaves the BON file for the
// administrator and stops.
void add_or_stop(jrn_cursor *c, char letter) {
    if (!vrkbon_add(c, letter)) errno_fatal("vrkbon", 3);
}

void close_and_post(jrn_cursor *c, bool turnover) {
    add_or_stop(c, 'T');
    add_or_stop(c, 'X');
    int branch = c->filnr;
    iojrn_close(c);
    if (turnover && g_omzet) g_omzet(branch);
    vrkbon_post(branch);
    free_index();
}

} // namespace

jrn_cursor *vrkbon_open(int branch) {
    if (g_index) errno_fatal("vrkbon", 2);
    g_index = (vrkbon_entry *)std::calloc(VRKBON_MAX, sizeof(vrkbon_entry));
    if (!g_index) mem_fatal("vrkbon", 1);
    g_count = 0;
    char name[13], old[13];
    bon_naam(name, branch);
    if (size_of(name) >= 0) { // never clear a crashed receipt that could not be set aside
        bon_oud_naam(old, branch);
        if (nv::os::calls().rename(name, old) != 0) open_fatal("vrkbon", old);
    }
    jrn_cursor *c = iojrn_open(name, O_RDWR | O_CREAT | O_TRUNC);
    if (!c) open_fatal("vrkbon", name);
    return c;
}

int vrkbon_add(jrn_cursor *c, char letter) {
    if (!g_index || g_count >= VRKBON_MAX || !iojrn_append(c, letter)) return 0;
    g_index[g_count++] = vrkbon_entry{(int32_t)c->last_off, letter, 0, {0, 0}};
    return 1;
}

int vrkbon_get(int index, vrkbon_entry *entry) {
    if (!g_index || index < 0 || index >= g_count) return 0;
    *entry = g_index[index];
    return 1;
}

void vrkbon_cancel(int index) {
    if (g_index && index >= 0 && index < g_count) g_index[index].cancelled = 1;
}

int vrkbon_last_live() {
    for (int i = g_count - 1; i > 0; --i)
        if (!g_index[i].cancelled) return i;
    return 0;
}

int vrkbon_count() {
    return g_count;
}
int vrkbon_next() {
    return g_count;
}

void vrkbon_close(jrn_cursor *c, bool post) {
    if (post) return close_and_post(c, true);
    char name[sizeof c->path];
    std::memcpy(name, c->path, sizeof name);
    iojrn_close(c);
    if (size_of(name) == 0) nv::os::calls().unlink(name); // an empty receipt leaves nothing
    free_index();
}

void vrkbon_close_noturnover(jrn_cursor *c) {
    close_and_post(c, false);
}

long vrkbon_post(int branch) {
    char jname[13], bname[13];
    jrn_naam(jname, branch, 0);
    bon_naam(bname, branch);
    jrn_cursor *j = iojrn_open(jname, O_RDWR | O_APPEND | O_CREAT);
    if (!j) open_fatal("vrkbon", jname);
    jrn_cursor *b = iojrn_open(bname, O_RDONLY);
    if (!b) open_fatal("vrkbon", bname);
    off_t old = size_of(jname);

    std::string out;
    for (int i = 0; i < g_count; ++i) {
        const vrkbon_entry &e = g_index[i];
        b->pos = e.offset;
        if (!iojrn_read(b) || b->letter != e.letter) errno_fatal("vrkbon", 4);
        if (e.cancelled && (e.letter == 'T' || e.letter == 'B')) continue;
        if (e.letter == 'D' && !e.cancelled && !(b->d.dflags & DF_GEANNULEERD) && b->d.op_datum &&
            g_op_rekening)
            g_op_rekening(branch, b->h.kltnr, b->d);
        out += e.letter;
        if (const void *p = iojrn_area(b, e.letter))
            out.append((const char *)p, (size_t)jrn_payload_len(e.letter));
    }
    // One write: a reader beside us, or a crash, sees the receipt whole or
    // not at all as far as the system allows.
    if (nv::os::pwrite_full(j->fd, out.data(), out.size(), old) != (ssize_t)out.size())
        errno_fatal("vrkbon", 5);
    iojrn_close(b);
    iojrn_close(j);
    nv::os::calls().unlink(bname);
    return (long)old;
}

void vrkbon_set_omzet(vrkbon_omzet_hook h) {
    g_omzet = h;
}
void vrkbon_set_op_rekening(vrkbon_op_rekening_hook h) {
    g_op_rekening = h;
}

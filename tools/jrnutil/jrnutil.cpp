// jrnutil: a journal from the command line, reading only (the file stays
// byte for byte as it was).
//
//   jrnutil check FILE   one line "FILE: result R, size S, WORD" with R the
//                        result of the journal check and S the size; WORD
//                        and the exit status: consistent 0, incomplete 1
//                        (ends on a record boundary inside a transaction),
//                        damaged 2. An empty file is consistent.
//   jrnutil dump FILE    one line a record, "OFFSET LETTER name=value ...",
//                        in file order as the cursor reads it (the successor
//                        table does not stop it), and at the end "OFFSET ~"
//                        at the end of the file or "OFFSET ?" where an
//                        unknown letter or a cut record stops the reading.
//                        Texts are quoted, with \" \\ and \xNN escapes.
//                        A sale or return line that is not cancelled and
//                        carries marks ends in signaal="..." with the
//                        words of its marks, as the signal report prints
//                        them (the price note needs the label store, which
//                        jrnutil does not open).
//
// Bad arguments and files that can't be read: a message, exit status 3.
#include "journal/vwkas.h"
#include "sale/iojrn.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int k_bad = 3;

int usage() {
    std::fprintf(stderr, "gebruik: jrnutil check BESTAND\n"
                         "         jrnutil dump BESTAND\n");
    return k_bad;
}

// The file must be a readable plain file.
bool readable(const char *path) {
    struct stat st;
    if (::stat(path, &st) != 0) {
        std::fprintf(stderr, "jrnutil: %s: %s\n", path, std::strerror(errno));
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        std::fprintf(stderr, "jrnutil: %s: geen gewoon bestand\n", path);
        return false;
    }
    if (::access(path, R_OK) != 0) {
        std::fprintf(stderr, "jrnutil: %s: %s\n", path, std::strerror(errno));
        return false;
    }
    return true;
}

int cmd_check(const char *path) {
    if (!readable(path)) return k_bad;
    struct stat st;
    ::stat(path, &st);
    long r = iojrn_check(path);
    long size = (long)st.st_size;
    int status = size == 0 || r == size ? 0 : r < 0 ? 2 : 1;
    const char *word[] = {"consistent", "incomplete", "damaged"};
    std::printf("%s: result %ld, size %ld, %s\n", path, r, size, word[status]);
    return status;
}

enum class Kind { u8, u16, u32, i32, ch, text };
struct Field {
    const char *name;
    size_t off;
    Kind kind;
    size_t len; // text
};

#define F(S, f, k)                                                                                 \
    { #f, offsetof(S, f), Kind::k, sizeof(S::f) }
const Field k_h[] = {F(jrn_h, bonnr, u16), F(jrn_h, vkpnr, u16),   F(jrn_h, kltnr, u32),
                     F(jrn_h, datum, u16), F(jrn_h, tijd, u16),    F(jrn_h, kasnr, u8),
                     F(jrn_h, filnr, u8),  F(jrn_h, valuta, text), F(jrn_h, hflags, u8)};
const Field k_line[] = {
    F(jrn_regel, invoer, text),     F(jrn_regel, soort, ch),       F(jrn_regel, vkpnr, u16),
    F(jrn_regel, opmerking, text),  F(jrn_regel, aantal, u16),     F(jrn_regel, rest, u16),
    F(jrn_regel, nummer, u32),      F(jrn_regel, prijs, i32),      F(jrn_regel, bedrag, i32),
    F(jrn_regel, bedrag_excl, i32), F(jrn_regel, omzetgroep, u16), F(jrn_regel, actie, u8),
    F(jrn_regel, btw, u8),          F(jrn_regel, ander_fil, u8),   F(jrn_regel, eti_status, u8),
    F(jrn_regel, lflags, u8)};
const Field k_d[] = {F(jrn_d, omschrijving, text), F(jrn_d, vkpnr, u16),    F(jrn_d, bedrag, i32),
                     F(jrn_d, op_datum, u16),      F(jrn_d, op_filnr, u16), F(jrn_d, op_kasnr, u16),
                     F(jrn_d, op_bonnr, u16),      F(jrn_d, dflags, u8)};
const Field k_s[] = {F(jrn_s, groep_bedrag, i32), F(jrn_s, groep_totaal, i32),
                     F(jrn_s, groep_regels, u8), F(jrn_s, groep_actie, u8),
                     F(jrn_s, groep_bruto, i32)};
const Field k_i[] = {F(jrn_i, toelichting, text)};
const Field k_t[] = {F(jrn_t, totaal, i32),      F(jrn_t, contant, i32),
                     F(jrn_t, kas_a, i32),       F(jrn_t, kas_b, i32),
                     F(jrn_t, op_rekening, i32), F(jrn_t, gefactureerd, i32),
                     F(jrn_t, spaarbedrag, i32), F(jrn_t, tekst, text)};
const Field k_b[] = {F(jrn_b, betm_soort, u8), F(jrn_b, betm_nr, u8), F(jrn_b, bedrag, i32)};
const Field k_u[] = {F(jrn_u, betm_soort, u8), F(jrn_u, betm_nr, u8), F(jrn_u, bedrag, i32)};
#undef F

template <size_t N> std::pair<const Field *, size_t> fields(const Field (&a)[N]) {
    return {a, N};
}

std::pair<const Field *, size_t> fields_of(char letter) {
    switch (letter) {
    case 'H':
        return fields(k_h);
    case 'V':
    case 'R':
    case 'Z':
    case 'z':
        return fields(k_line);
    case 'D':
        return fields(k_d);
    case 'S':
        return fields(k_s);
    case 'I':
        return fields(k_i);
    case 'T':
        return fields(k_t);
    case 'B':
        return fields(k_b);
    case 'U':
        return fields(k_u);
    default:
        return {nullptr, 0};
    }
}

void quoted(std::string &out, const char *p, size_t len) {
    out += '"';
    for (size_t i = 0; i < len && p[i]; ++i) {
        unsigned char c = (unsigned char)p[i];
        if (c == '"' || c == '\\') {
            out += '\\';
            out += (char)c;
        } else if (c < 32 || c >= 127) {
            char b[8];
            std::snprintf(b, sizeof b, "\\x%02x", c);
            out += b;
        } else {
            out += (char)c;
        }
    }
    out += '"';
}

std::string value(const char *base, const Field &f) {
    const char *p = base + f.off;
    char b[32];
    switch (f.kind) {
    case Kind::u8:
        std::snprintf(b, sizeof b, "%u", (unsigned)(unsigned char)*p);
        break;
    case Kind::u16: {
        uint16_t v;
        std::memcpy(&v, p, 2);
        std::snprintf(b, sizeof b, "%u", (unsigned)v);
        break;
    }
    case Kind::u32: {
        uint32_t v;
        std::memcpy(&v, p, 4);
        std::snprintf(b, sizeof b, "%lu", (unsigned long)v);
        break;
    }
    case Kind::i32: {
        int32_t v;
        std::memcpy(&v, p, 4);
        std::snprintf(b, sizeof b, "%ld", (long)v);
        break;
    }
    case Kind::ch:
        if (*p == 0) return "0";
        if (*p > 32 && *p < 127 && *p != '"' && *p != '\\') return std::string(1, *p);
        [[fallthrough]];
    case Kind::text: {
        std::string s;
        quoted(s, p, f.len);
        return s;
    }
    }
    return b;
}

int cmd_dump(const char *path) {
    if (!readable(path)) return k_bad;
    jrn_cursor *c = iojrn_open(path, O_RDONLY);
    if (!c) {
        std::fprintf(stderr, "jrnutil: %s: %s\n", path, std::strerror(errno));
        return k_bad;
    }
    while (iojrn_read(c)) {
        std::string line = std::to_string((long long)c->last_off) + " " + c->letter;
        auto [list, n] = fields_of(c->letter);
        const char *base = (const char *)iojrn_area(c, c->letter);
        for (size_t i = 0; i < n; ++i)
            line += " " + std::string(list[i].name) + "=" + value(base, list[i]);
        if (jrn_is_line(c->letter) && !(c->regel.lflags & LF_GEANNULEERD)) {
            const char *t = signaal_tekst(c, 3);
            if (*t) {
                line += " signaal=";
                quoted(line, t, std::strlen(t));
            }
        }
        std::puts(line.c_str());
    }
    std::printf("%lld %c\n", (long long)c->pos, c->letter);
    iojrn_close(c);
    return std::fflush(stdout) == 0 ? 0 : k_bad;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) return usage();
    if (std::strcmp(argv[1], "check") == 0) return cmd_check(argv[2]);
    if (std::strcmp(argv[1], "dump") == 0) return cmd_dump(argv[2]);
    return usage();
}

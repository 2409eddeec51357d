// The print line buffer: the zigzag engine behind PRT_PRINT and PRT_LINE.
//
// State: one PRTBUF per job (prt_buf). Both layers always have the same
// length (line_end): whatever goes into one layer, the other is filled with
// blanks to the same column. line_last is the last column in use, -1 on an
// empty line.
//
// PRT_PRINT takes the format apart into pieces: a run of literal text, or
// one conversion. For a number with a width the same conversion is also
// formatted with the value 0: what the number needs beyond that is its
// overflow, the columns it takes to its left. The piece starts overflow
// columns before the end of the line and then moves right past anything
// that stands in the layer it goes to. The layer: the second one when zigzag
// applies and the number would touch or overwrite the first layer's text.
// Zigzag applies to a number at the start of a call and to a number right
// behind another number; literal text or a text conversion in the same call
// switches it off, since the report then places its columns itself.
#include "print/prtbuf.h"

#include "base/catalog.h"
#include "base/datum.h"
#include "base/fatal.h"
#include "print/prtamount.h"
#include "print/prtjob.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

PRTBUF *prt_buf = nullptr;

namespace {

constexpr int32_t k_hard_limit = 32000;
constexpr int32_t k_default_sysbuf = 300;
constexpr int32_t k_default_maxfmt = 350;

const char *no_memory() {
    return KOR(1, 95, "Onvoldoende geheugen");
}

// A number from the environment; `dflt` when unset. A value that reads as 0
// is fatal: the variable is there but says nothing usable.
long env_number(const char *name, const char *tag, long dflt, bool *set) {
    const char *v = std::getenv(name);
    *set = v != nullptr;
    if (!v) return dflt;
    long n = std::atol(v);
    if (n == 0) nv::fatal("%s %s", "Unknown Text in", tag);
    return n;
}

PRTBUF *engine() {
    if (!prt_buf || !prt_buf->zz_started)
        nv::fatal("%s", KOR(4, 200, "stop_zigzag_printen fout: zigzag_printen is niet gestart"));
    return prt_buf;
}

FILE *print_file(const char *who) {
    if (!prt_job.job_file) nv::fatal("%s : %s", who, "er is geen printopdracht geopend");
    return prt_job.job_file;
}

void reset_line(PRTBUF *b) {
    b->line_last = -1;
    for (int i = 0; i < 2; ++i) {
        b->line_nl[i] = -1;
        b->line_end[i] = 0;
        b->layer[i][0] = 0;
    }
}

// Room for `need` bytes in each layer.
void ensure(PRTBUF *b, int32_t need) {
    if (b->buf_max && need > b->buf_max)
        nv::fatal("MAXSYSBUF too small. %d > MAXSYSBUF(%ld)", need, (long)b->buf_max);
    if (need <= b->buf_size) return;
    if (need > k_hard_limit)
        nv::fatal("%s %d %s", "PrintBuffer >", k_hard_limit, "Bytes, printline too long");
    for (int i = 0; i < 2; ++i) {
        char *p = (char *)std::realloc(b->layer[i], (size_t)need + 5);
        if (!p) nv::fatal("Printline : %s", no_memory());
        b->layer[i] = p;
        p[b->line_end[i]] = 0;
    }
    b->buf_size = need + 5;
}

// Places one piece without line ends; see the top of the file.
void place_part(PRTBUF *b, const char *text, int len, int overflow, bool zz) {
    int layer = 0;
    if (zz && b->line_last >= 0) {
        const char *l0 = b->layer[0];
        if (overflow == 0) {
            if (text[0] != ' ' && std::isdigit((unsigned char)l0[b->line_last])) layer = 1;
        } else {
            for (int i = std::max(0, b->line_last + 1 - overflow); i <= b->line_last; ++i)
                if (l0[i] != ' ') layer = 1;
        }
    }
    char *l = b->layer[layer];
    int start = std::max(0, b->line_last + 1 - overflow);
    for (int i = start; i < b->line_end[layer]; ++i)
        if (l[i] != ' ') start = i + 1;
    int end = start + len;
    ensure(b, end + 1);
    l = b->layer[layer];
    if (end > b->line_end[0]) {
        for (int i = 0; i < 2; ++i) {
            std::memset(b->layer[i] + b->line_end[i], ' ', (size_t)(end - b->line_end[i]));
            b->layer[i][end] = 0;
            b->line_end[i] = end;
        }
    }
    std::memcpy(l + start, text, (size_t)len);
    b->line_last = b->line_end[0] - 1;
    // A carriage return before a line end stands in both layers.
    if (text[len - 1] == '\r') b->layer[0][end - 1] = b->layer[1][end - 1] = '\r';
}

// Places a piece; a line end in it ends the line, and what follows starts
// the next one.
void place(PRTBUF *b, const char *text, int len, int overflow, bool zz) {
    for (;;) {
        const char *nl = (const char *)std::memchr(text, '\n', (size_t)len);
        int part = nl ? (int)(nl - text) : len;
        if (part > 0) place_part(b, text, part, overflow, zz);
        if (!nl) return;
        b->line_nl[0] = b->line_nl[1] = b->line_end[0];
        PRT_LINE();
        text = nl + 1;
        len -= part + 1;
        overflow = 0;
    }
}

void check_fmt(PRTBUF *b, long n) {
    if (n >= b->fmt_max) nv::fatal("MAXFMT too small. %ld > MAXFMT(%d)", n, (int)b->fmt_max);
}

// Formats the conversion conv with one value into out (fmt_max bytes); returns the length.
template <typename T> int format_one(PRTBUF *b, char *out, const char *conv, T value) {
    int n = std::snprintf(out, (size_t)b->fmt_max, conv, value);
    if (n < 0) n = 0;
    check_fmt(b, n);
    return n;
}

// One conversion at p (just behind the '%'): its text into piece, its
// text with value 0 into piece_min (a copy of piece when the conversion has
// no width). Returns the end of the conversion in the format.
const char *convert(PRTBUF *b, const char *p, va_list *ap, int *len, int *minlen, bool *numeric) {
    std::string conv = "%";
    while (*p && std::strchr("-+ #0", *p))
        conv += *p++;
    bool has_width = false;
    if (*p == '*') {
        conv += std::to_string(va_arg(*ap, int));
        ++p;
        has_width = true;
    }
    for (; std::isdigit((unsigned char)*p); ++p, has_width = true)
        conv += *p;
    if (*p == '.') {
        conv += *p++;
        if (*p == '*') {
            conv += std::to_string(va_arg(*ap, int));
            ++p;
        }
        for (; std::isdigit((unsigned char)*p); ++p)
            conv += *p;
    }
    char mod = 0;
    if (*p == 'h' || *p == 'l' || *p == 'L') mod = *p, conv += *p++;
    char type = *p;
    bool ok = type && std::strchr("sdiouxXefgEGc", type);
    bool floating = ok && std::strchr("efgEG", type);
    if (ok && mod == 'L' && !floating) ok = false;
    if (ok && mod && (type == 's' || type == 'c')) ok = false;
    if (!ok) nv::fatal("Invalid format specifier: %c", type ? type : ' ');
    conv += type;
    check_fmt(b, (long)conv.size());
    std::memcpy(b->piece_fmt, conv.c_str(), conv.size() + 1);
    const char *f = b->piece_fmt;
    *numeric = type != 's' && type != 'c';
    int n = 0, m = -1;
    switch (type) {
    case 's': {
        const char *s = va_arg(*ap, const char *);
        n = format_one(b, b->piece, f, s ? s : "(null)");
        break;
    }
    case 'c':
        n = format_one(b, b->piece, f, va_arg(*ap, int));
        break;
    case 'd':
    case 'i':
        if (mod == 'l') {
            n = format_one(b, b->piece, f, va_arg(*ap, long));
            m = format_one(b, b->piece_min, f, 0L);
        } else {
            n = format_one(b, b->piece, f, va_arg(*ap, int));
            m = format_one(b, b->piece_min, f, 0);
        }
        break;
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        if (mod == 'l') {
            n = format_one(b, b->piece, f, va_arg(*ap, unsigned long));
            m = format_one(b, b->piece_min, f, 0UL);
        } else {
            n = format_one(b, b->piece, f, va_arg(*ap, unsigned));
            m = format_one(b, b->piece_min, f, 0U);
        }
        break;
    default:
        if (mod == 'L') {
            n = format_one(b, b->piece, f, va_arg(*ap, long double));
            m = format_one(b, b->piece_min, f, 0.0L);
        } else {
            n = format_one(b, b->piece, f, va_arg(*ap, double));
            m = format_one(b, b->piece_min, f, 0.0);
        }
        break;
    }
    // Without a width a number takes the room it needs: no overflow.
    if (m < 0 || !has_width) {
        std::memcpy(b->piece_min, b->piece, (size_t)n + 1);
        m = n;
    }
    *len = n;
    *minlen = m;
    return p + 1;
}

void vprint(const char *fmt, va_list args) {
    PRTBUF *b = engine();
    va_list ap;
    va_copy(ap, args);
    check_fmt(b, (long)std::strlen(fmt));
    std::strcpy(b->fmt_copy, fmt);
    bool zz = b->zigzag, after_number = false;
    for (const char *p = b->fmt_copy; *p;) {
        int len, minlen;
        bool numeric = false;
        if (*p == '%' && p[1] != '%') {
            p = convert(b, p + 1, &ap, &len, &minlen, &numeric);
        } else {
            len = 0;
            while (*p && !(*p == '%' && p[1] != '%')) {
                if (*p == '%') ++p; // "%%"
                check_fmt(b, len + 1);
                b->piece[len++] = *p++;
            }
            b->piece[len] = 0;
            minlen = len;
        }
        if (!numeric) {
            zz = false;
            after_number = false;
        } else {
            if (after_number) zz = b->zigzag;
            after_number = true;
        }
        if (len > 0) place(b, b->piece, len, std::max(0, len - minlen), zz);
    }
    va_end(ap);
}

void write_margin() {
    if (prt_left > 0) PRT_RAWCHARS(prt_left, ' ');
}

} // namespace

void start_zigzag_printen() {
    if (!prt_buf) {
        prt_buf = (PRTBUF *)std::calloc(1, sizeof(PRTBUF));
        if (!prt_buf) nv::fatal("Printline : %s", no_memory());
    }
    PRTBUF *b = prt_buf;
    if (b->zz_started)
        nv::fatal("%s", KOR(4, 199, "start_zigzag_printen fout: zigzag_printen is reeds gestart"));
    bool set_fmt, set_max, set_buf;
    long maxfmt = env_number("MAXFMT", "MMEINI", k_default_maxfmt, &set_fmt);
    long maxbuf = env_number("MAXSYSBUF", "MAXSYSBUF", 0, &set_max);
    long sysbuf = env_number("SYSBUF", "SYSBUF", k_default_sysbuf, &set_buf);
    if (sysbuf > k_hard_limit) nv::fatal("SYSBUF IS > 32000");
    if (maxbuf > k_hard_limit) nv::fatal("MAXSYSBUF IS > 32000");
    if (set_max && !set_buf && maxbuf < k_default_sysbuf)
        nv::fatal("MAXSYSBUF < DEFAULT SYSBUF -> MAXSYSBUF > 300");
    if (set_max && set_buf && maxbuf < sysbuf)
        nv::fatal("MAXSYSBUF < SYSBUF --> MAXSYSBUF > SYSBUF");
    if (maxfmt < 2 || sysbuf < 2)
        nv::fatal("%s %s", "Unknown Text in", maxfmt < 2 ? "MMEINI" : "SYSBUF");
    b->fmt_max = (int32_t)std::min<long>(maxfmt, k_hard_limit);
    b->buf_max = (int32_t)maxbuf;
    b->buf_size = (int32_t)sysbuf;
    char **all[] = {&b->layer[0],  &b->layer[1],  &b->piece,
                    &b->piece_fmt, &b->piece_min, &b->fmt_copy};
    for (int i = 0; i < 6; ++i) {
        *all[i] = (char *)std::calloc((size_t)(i < 2 ? b->buf_size : b->fmt_max), 1);
        if (!*all[i]) nv::fatal("Printline : %s", no_memory());
    }
    reset_line(b);
    b->zz_started = true;
}

void stop_zigzag_printen() {
    if (!prt_buf || !prt_buf->zz_started)
        nv::fatal("%s", KOR(4, 200, "stop_zigzag_printen fout: zigzag_printen is niet gestart"));
    PRTBUF *b = prt_buf;
    for (char *p : {b->layer[0], b->layer[1], b->piece, b->piece_fmt, b->piece_min, b->fmt_copy})
        std::free(p);
    std::free(b);
    prt_buf = nullptr;
}

void PRT_PRINT(const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    vprint(fmt, ap);
    va_end(ap);
}

void PRT_LINE() {
    PRTBUF *b = engine();
    FILE *f = print_file("PRT_LINE");
    int n = b->line_end[0];
    if (prt_cols > 0) n = std::min(n, (int)prt_cols);
    // A line end kept in the layer is written by PRT_RAWLINE.
    if (b->line_nl[0] >= 0) n = std::min(n, (int)b->line_nl[0]);
    std::fwrite(b->layer[0], 1, (size_t)n, f);
    PRT_RAWLINE();
    bool second = false;
    for (int i = 0; i < n; ++i)
        if (!std::strchr(" \r\n", b->layer[1][i])) second = true;
    if (second) {
        std::fwrite(b->layer[1], 1, (size_t)n, f);
        PRT_RAWLINE();
    }
    reset_line(b);
}

void PRT_REPEAT(int count, int ch) {
    // In pieces that fit the piece buffer.
    int most = engine()->fmt_max - 1;
    std::unique_ptr<char, decltype(&std::free)> s(
        (char *)std::malloc((size_t)std::min(count, most) + 1), &std::free);
    if (!s) {
        for (int i = 0; i < count; ++i)
            PRT_PRINT("%c", ch);
        return;
    }
    for (int n; count > 0; count -= n) {
        n = std::min(count, most);
        std::memset(s.get(), ch, (size_t)n);
        s.get()[n] = 0;
        PRT_PRINT("%s", s.get());
    }
}

void PRT_AMOUNT(int32_t value, int width) {
    if (nv::prt::decimals() == 2)
        PRT_PRINT("%*.2lf", width, value / 100.0);
    else
        PRT_PRINT("%*ld", width, (long)value);
}

void PRT_NEWPAGE() {
    FILE *f = print_file("PRT_NEWPAGE");
    if (prt_page > 0) std::fputc('\f', f);
    ++prt_page;
    ++prt_pages;
    prt_line = 1;
    if (prt_nomargin) return;
    if (prt_top > 0) {
        for (int i = 0; i < prt_top; ++i)
            PRT_RAWLINE();
    } else {
        write_margin();
    }
}

void PRT_PAGE() {
    if (engine()->line_last >= 0) PRT_LINE();
    PRT_NEWPAGE();
}

void PRT_HEAD(const char *left, const char *fmt, ...) {
    PRT_NEWPAGE();
    char title[256];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(title, sizeof title, fmt, ap);
    va_end(ap);
    int d, m, y;
    datum_dmj(datum_vandaag(), &d, &m, &y);
    char date[16], right[80];
    std::snprintf(date, sizeof date, "%02d-%02d-%04d", d, m, y);
    int n = std::snprintf(right, sizeof right, " %s %5.5s ", date, tijd_tekst(tijd_nu()));
    std::snprintf(right + n, sizeof right - (size_t)n, "%s:%4d", KOR(4, 29, "blad"), (int)prt_page);
    if (!left) left = "";
    int ll = (int)std::strlen(left), tl = (int)std::strlen(title), rl = (int)std::strlen(right);
    if (ll + tl + 2 + rl <= prt_cols) {
        int half = (prt_cols - ll - tl - rl) / 2;
        PRT_RAW("%-*.*s%*s%s%*s%s", ll, ll, left, half, "", title, half, "", right);
    } else {
        int room = std::max(0, (int)prt_cols - rl);
        PRT_RAW("%-*.*s%s", room, room, left, right);
        PRT_RAWLINE();
        PRT_RAW("%*s%s", std::max(0, ((int)prt_cols - tl) / 2), "", title);
    }
    PRT_RAWLINE();
    PRT_RAWLINE();
}

void PRT_FLUSH() {
    reset_line(engine());
    std::fflush(print_file("PRT_FLUSH"));
}

void PRT_MARGINS(int top, int left) {
    prt_top = std::max(0, top);
    prt_left = std::max(0, left);
}

void PRT_RAW(const char *fmt, ...) {
    FILE *f = print_file("PRT_RAW");
    va_list ap;
    va_start(ap, fmt);
    std::vfprintf(f, fmt, ap);
    va_end(ap);
}

void PRT_RAWCHARS(int count, int ch) {
    FILE *f = print_file("PRT_RAWCHARS");
    for (int i = 0; i < count; ++i)
        std::fputc(ch, f);
}

void PRT_RAWLINE() {
    FILE *f = print_file("PRT_RAWLINE");
    std::fputc('\n', f);
    std::fflush(f);
    ++prt_line;
    write_margin();
}

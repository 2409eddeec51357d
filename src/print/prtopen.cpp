// Opening a print job: the printer tables, the destination, the print file.
//
// The destination comes from the caller's PRTDEST: a file of the caller's,
// or a code of TR_PTRG with one of its connections (TR_PTRC) and one of its
// formats (TR_PTRP) that fits the widths the report can make. Whatever the
// caller leaves open, and anything that doesn't match, goes to the choice
// dialog (prtchoose.cpp). Code 1 is the screen: only the preview.
//
// The tables are read in mode 0 for the length of the open; PRT_TABLES has
// made sure beforehand that the files are there, because the store ends the
// program on a file it can't open.
#include "print/prtjob.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "base/txt.h"
#include "print/prtbuf.h"
#include "print/prtfile.h"
#include "print/prtint.h"
#include "print/prttab.h"
#include "store/ix.h"
#include "term/popup.h"
#include "term/scr.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

PRTJOB prt_job;
int32_t prt_rows, prt_cols, prt_page, prt_line = 10000, prt_pages, prt_top, prt_left;
bool prt_nomargin;

namespace nv::prt {

bool g_cancel_ok = true;

void flash(const char *title, const char *text) {
    if (term_state)
        FFLASH(-1, 1, A_BOLD, title, "%s", text);
    else
        std::fprintf(stderr, "%s: %s\n", title, text);
}

bool cols_fit(int cols, uint16_t mask) {
    if (mask == PRT_ANY) return true;
    return (cols == 80 && (mask & PRT_W80)) || (cols == 132 && (mask & PRT_W132)) ||
           (cols == 40 && (mask & PRT_W40));
}

bool paper_fit(int rows, uint16_t mask) {
    if (rows == 0 || rows == PRT_ENDLESS) return true;
    if (!(mask & (PRT_LONG | PRT_SHORT))) mask |= PRT_SHORT;
    return (mask & (rows > 66 ? PRT_LONG : PRT_SHORT)) != 0;
}

void default_format(TR_PTRP_REC *p, uint16_t mask) {
    *p = TR_PTRP_REC{};
    p->pp_rows = 64;
    p->pp_cols = (mask & PRT_W132) ? 132 : (mask & PRT_W80) ? 80 : (mask & PRT_W40) ? 40 : 132;
}

Tables::~Tables() {
    for (ICB *&i : icb)
        if (i) IXCLOSE(i), i = nullptr;
}

void Tables::open() {
    for (int t = 0; t < PRT_TABLE_COUNT; ++t)
        icb[t] = IXOPEN(PRT_TABLEPATH(prt_layouts[t].file), 0);
}

bool Tables::general(uint16_t code, TR_PTRG_REC *g) {
    *g = TR_PTRG_REC{};
    g->tr_code = code;
    IXSWITCH(icb[PRT_GENERAL], 1);
    return IXREAD(icb[PRT_GENERAL], g) == 1;
}

bool Tables::connection(uint16_t code, uint8_t id, TR_PTRC_REC *c) {
    *c = TR_PTRC_REC{};
    c->tr_code = code;
    c->cd_id = id;
    IXSWITCH(icb[PRT_CONNECTIONS], 1);
    return IXREAD(icb[PRT_CONNECTIONS], c) == 1;
}

std::vector<TR_PTRC_REC> Tables::connections(uint16_t code) {
    std::vector<TR_PTRC_REC> out;
    TR_PTRC_REC c;
    for (int32_t n = 0, r; (r = IXGET(icb[PRT_CONNECTIONS], &c, n)) >= 0; ++n)
        if (r == 1 && (code == 0 || c.tr_code == code)) out.push_back(c);
    return out;
}

std::vector<TR_PTRP_REC> Tables::formats(uint16_t code) {
    std::vector<TR_PTRP_REC> out;
    TR_PTRP_REC p;
    for (int32_t n = 0, r; (r = IXGET(icb[PRT_PROPERTIES], &p, n)) >= 0; ++n)
        if (r == 1 && p.tr_code == code) out.push_back(p);
    return out;
}

// Control codes of a table field (122 bytes, maybe without its NUL) decoded
// into out (123 bytes).
void decode_codes(char *out, const char *field) {
    std::memcpy(out, field, 122);
    out[122] = 0;
    txt_unescape(out);
}

} // namespace nv::prt

using namespace nv::prt;

namespace {

bool g_dir_read;
char g_dir[64];

// The destination of the tables: code, connection and format.
struct Choice {
    TR_PTRG_REC general{};
    TR_PTRC_REC connection{};
    TR_PTRP_REC property{};
};

bool find_in_tables(PRTDEST *dest, uint16_t mask, Choice *ch) {
    Tables t;
    t.open();
    if (dest->dest_code == 0 || !t.general(dest->dest_code, &ch->general)) {
        dest->dest_code = 0;
        return PRT_CHOOSE(dest, &ch->general, &ch->connection, &ch->property, mask) == 0;
    }
    uint16_t code = dest->dest_code;
    if (dest->dest_id && !t.connection(code, dest->dest_id, &ch->connection)) dest->dest_id = 0;
    if (!dest->dest_id) {
        std::vector<TR_PTRC_REC> list = t.connections(code);
        if (list.size() != 1)
            return PRT_CHOOSE(dest, &ch->general, &ch->connection, &ch->property, mask) == 0;
        ch->connection = list[0];
        dest->dest_id = list[0].cd_id;
    }
    int fitting = 0;
    for (const TR_PTRP_REC &p : t.formats(code))
        if (cols_fit(p.pp_cols, mask)) {
            if (++fitting == 1) ch->property = p;
        }
    if (fitting > 1)
        return PRT_CHOOSE(dest, &ch->general, &ch->connection, &ch->property, mask) == 0;
    if (fitting == 0) {
        if (!(dest->dest_flags & PRT_PREVIEW)) return false;
        default_format(&ch->property, mask);
    }
    return true;
}

// The open fails: the buffer goes, the user is told why when no one has.
bool fail(const char *why) {
    if (why) flash(KOR(4, 56, "Printen"), why);
    stop_zigzag_printen();
    prt_job.job_file = nullptr;
    g_dir_read = false;
    return false;
}

bool fail_device(const char *device) {
    char text[200];
    std::snprintf(text, sizeof text, "%s <%s>\n%s", KOR(4, 61, "Uitvoermedium"), device,
                  KOR(4, 62, "kan niet geopend worden"));
    return fail(text);
}

bool set_device(const char *device) {
    if (std::strlen(device) >= sizeof prt_job.job_device) return false;
    std::strcpy(prt_job.job_device, device);
    return true;
}

// Device, temporary file and start codes of the chosen destination.
bool finish(const PRTDEST *dest, const Choice &ch, const char *file) {
    PRTJOB &j = prt_job;
    j.job_preview = dest->dest_flags & PRT_PREVIEW;
    decode_codes(j.job_start, ch.property.pp_start);
    decode_codes(j.job_end, ch.property.pp_end);
    prt_rows = ch.property.pp_rows;
    prt_cols = ch.property.pp_cols;
    j.job_code = dest->dest_code;
    j.job_format = ch.property.pp_id;
    char device[41];
    if (dest->dest_flags & PRT_TOFILE) {
        std::snprintf(device, sizeof device, "%s", file);
        j.job_todir = 0;
    } else {
        std::memcpy(device, ch.connection.cd_dev, 40);
        device[40] = 0;
        j.job_todir = ch.connection.cd_todir != 0;
    }
    if (!*device) {
        std::strcpy(device, "/dev/null");
        j.job_todir = 0;
    }
    std::string temp = temp_name(nullptr, "PR");
    if (temp.empty() || temp.size() >= sizeof j.job_temp) return fail_device(".");
    std::strcpy(j.job_temp, temp.c_str());
    bool terminal = std::strcmp(device, "TERMINAL") == 0, aux = std::strcmp(device, "AUX") == 0;
    if (terminal || aux) {
        const char *tty = ttyname(0);
        std::snprintf(device, sizeof device, "%s", tty ? tty : "/dev/tty");
        j.job_aux = aux;
    }
    if (!set_device(device)) return fail_device(device);
    if (j.job_todir && !j.job_aux) {
        std::string drop = temp_name(device, "PR");
        if (drop.empty() || !set_device(drop.c_str())) return fail_device(device);
    }
    // A queue name never holds a '/': a path needn't be asked about.
    if (!j.job_aux && !std::strchr(j.job_device, '/')) {
        std::string cmd = "lpstat -v " + shell_quote(j.job_device) + " 1> /dev/null 2> /dev/null";
        j.job_spool = std::system(cmd.c_str()) == 0;
    }
    j.job_file = std::fopen(j.job_temp, "a");
    if (!j.job_file) return fail_device(j.job_device);
    std::fseek(j.job_file, 0, SEEK_END);
    std::fputs(j.job_start, j.job_file);
    std::fflush(j.job_file);
    j.job_begin = (int32_t)std::ftell(j.job_file);
    prt_page = 0;
    prt_pages = 0;
    prt_line = 10000;
    STOPRESET();
    if (j.job_aux && !j.job_preview) STOPOFF();
    return true;
}

} // namespace

const char *PRT_TABLEPATH(const char *name) {
    if (!g_dir_read) {
        g_dir_read = true;
        g_dir[0] = 0;
        const char *v = std::getenv("ZOKPRT");
        struct stat st;
        if (v && *v) {
            std::snprintf(g_dir, sizeof g_dir, "%.62s", v);
            if (::stat(g_dir, &st) != 0 || !S_ISDIR(st.st_mode)) {
                g_dir[0] = 0;
                flash(KOR(4, 72, "PRINTEN"),
                      KOR(4, 73,
                          "De env.var. ZOKPRT bevat geen geldige directorie.\n"
                          "De huidige directorie wordt gebruikt."));
            } else if (g_dir[std::strlen(g_dir) - 1] != '/') {
                std::strcat(g_dir, "/");
            }
        }
    }
    static char path[128];
    std::snprintf(path, sizeof path, "%s%s", g_dir, name);
    return path;
}

void PRT_CANCELOK(int flag) {
    g_cancel_ok = flag != 0;
}

const char *PRT_CODE(int cap) {
    static char text[123];
    text[0] = 0;
    if (cap == 18) return prt_job.job_start;
    if (cap == 19) return prt_job.job_end;
    if (cap < 1 || cap > 17 || !PRT_TABLES()) return text;
    ICB *icb = IXOPEN(PRT_TABLEPATH(prt_layouts[PRT_CODES].file), 0);
    TR_PTRCA_REC r{};
    r.tr_code = prt_job.job_code;
    r.pp_id = prt_job.job_format;
    r.cap = (uint8_t)cap;
    if (IXREAD(icb, &r) == 1) decode_codes(text, r.cap_text);
    IXCLOSE(icb);
    return text;
}

bool XPRT_OPEN(PRTDEST *dest, uint16_t widthmask, const char *file) {
    PRTDEST none{0, 0, 0};
    if (!dest) dest = &none;
    if (prt_buf) nv::fatal("XPRT_OPEN : %s", "er is al een printopdracht geopend");
    prt_buf = (PRTBUF *)std::calloc(1, sizeof(PRTBUF));
    if (!prt_buf) nv::fatal("XPRT_OPEN : %s", KOR(1, 95, "Onvoldoende geheugen"));
    start_zigzag_printen();
    prt_buf->zigzag = true;
    prt_job = PRTJOB{};
    prt_job.job_copies = 1;
    g_dir_read = false; // ZOKPRT is read once per job
    Choice ch;
    if (dest->dest_flags & PRT_TOFILE) {
        size_t n = file ? std::strlen(file) : 0;
        if (n == 0 || n > 39) {
            flash("Print to file",
                  n == 0 ? "No outputfile supplied" : "Invalid path to outputfile");
            return fail(nullptr);
        }
        int w = widthmask == PRT_W80    ? 80
                : widthmask == PRT_W132 ? 132
                : widthmask == PRT_W40  ? 40
                                        : PRT_WIDTH(widthmask);
        if (!w) return fail(KOR(4, 57, "Er is geen geldig uitvoermedium geselecteerd"));
        ch.property.pp_cols = (int16_t)w;
    } else {
        if (!PRT_TABLES() || !find_in_tables(dest, widthmask, &ch))
            return fail(KOR(4, 57, "Er is geen geldig uitvoermedium geselecteerd"));
        if (dest->dest_code == 1) {
            dest->dest_flags |= PRT_PREVIEW;
            ch.connection = TR_PTRC_REC{};
            std::memset(ch.property.pp_start, 0, sizeof ch.property.pp_start);
            std::memset(ch.property.pp_end, 0, sizeof ch.property.pp_end);
        }
    }
    return finish(dest, ch, file);
}

// The demo shop's printers: the printer tables with the screen, a spooler
// queue, a file and a drop directory, and the configuration of a private
// spooler daemon that serves the queue (see demoshop.h).
#include "demoshop.h"

#include "print/prttab.h"
#include "store/ix.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/un.h>

namespace demo {
namespace {

using nv::prt::put_field;

void general(ICB *icb, uint16_t code, const char *name) {
    TR_PTRG_REC g{};
    g.tr_code = code;
    put_field(g.name, sizeof g.name, name);
    IXWRITE(icb, &g);
}

void connection(ICB *icb, uint16_t code, const char *dev, const char *name, bool todir) {
    TR_PTRC_REC c{};
    c.tr_code = code;
    c.cd_id = 1;
    c.cd_todir = todir;
    put_field(c.cd_dev, sizeof c.cd_dev, dev);
    put_field(c.cd_name, sizeof c.cd_name, name);
    IXWRITE(icb, &c);
}

void format(ICB *icb, uint16_t code, uint8_t id, int cols, int rows, const char *desc,
            const char *start = "", const char *end = "") {
    TR_PTRP_REC p{};
    p.tr_code = code;
    p.pp_id = id;
    p.pp_portrait = cols <= 80;
    p.pp_cols = (int16_t)cols;
    p.pp_rows = (int16_t)rows;
    put_field(p.pp_desc, sizeof p.pp_desc, desc);
    put_field(p.pp_start, sizeof p.pp_start, start);
    put_field(p.pp_end, sizeof p.pp_end, end);
    IXWRITE(icb, &p);
}

bool write_text(const std::string &path, const std::string &text) {
    FILE *f = std::fopen(path.c_str(), "w");
    if (!f) return false;
    bool ok = std::fputs(text.c_str(), f) >= 0;
    return std::fclose(f) == 0 && ok;
}

} // namespace

std::string build_printers(const std::string &dir, const std::string &queue) {
    ICB *t[PRT_TABLE_COUNT];
    for (int i = 0; i < PRT_TABLE_COUNT; ++i) {
        std::string path = dir + "/" + prt_layouts[i].file;
        nv::prt::table_create((PrtTable)i, path.c_str()); // with the screen, code 1
        t[i] = IXOPEN(path.c_str(), 1);
    }
    general(t[PRT_GENERAL], 2, "SPOOLER");
    general(t[PRT_GENERAL], 3, "BESTAND");
    general(t[PRT_GENERAL], 4, "MAP");
    connection(t[PRT_CONNECTIONS], 2, queue.c_str(), "Wachtrij", false);
    connection(t[PRT_CONNECTIONS], 3, "afdruk.txt", "Bestand afdruk.txt", false);
    connection(t[PRT_CONNECTIONS], 4, "uitvoer", "Map uitvoer", true);
    // The wide format switches the printer to condensed type and back.
    format(t[PRT_PROPERTIES], 2, 1, 80, 64, "A4 staand");
    format(t[PRT_PROPERTIES], 2, 2, 132, 64, "A4 liggend smal", "\\0F", "\\12");
    format(t[PRT_PROPERTIES], 3, 1, 80, PRT_ENDLESS, "Doorlopend");
    format(t[PRT_PROPERTIES], 4, 1, 80, 64, "A4 staand");
    format(t[PRT_PROPERTIES], 4, 2, 132, 64, "A4 liggend");
    TR_PTRCA_REC reset{};
    reset.tr_code = 2;
    reset.pp_id = 2;
    reset.cap = 1;
    put_field(reset.cap_text, sizeof reset.cap_text, "\\1BE");
    IXWRITE(t[PRT_CODES], &reset);
    for (ICB *icb : t)
        IXCLOSE(icb);
    mkdir((dir + "/uitvoer").c_str(), 0775);
    return "";
}

std::string cups_config(const std::string &where, const std::string &queue) {
    for (const char *sub : {"", "/conf", "/conf/ppd", "/spool", "/cache", "/state", "/tmp", "/log"})
        if (mkdir((where + sub).c_str(), 0755) != 0 && errno != EEXIST)
            return "kan " + where + sub + " niet maken";
    // The daemon wants whole paths.
    char real[PATH_MAX];
    if (!realpath(where.c_str(), real)) return "kan " + where + " niet vinden";
    std::string dir = real;
    if (dir.size() + 10 > sizeof(((sockaddr_un *)nullptr)->sun_path))
        return "de map " + dir + " is te diep voor de socket van de spooler";
    std::string files = "ServerRoot " + dir + "/conf\nRequestRoot " + dir + "/spool\nCacheDir " +
                        dir + "/cache\nStateDir " + dir + "/state\nTempDir " + dir +
                        "/tmp\nErrorLog " + dir + "/log/error_log\nAccessLog " + dir +
                        "/log/access_log\nPageLog " + dir +
                        "/log/page_log\nFileDevice Yes\n"
                        "Printcap\n";
    // Local use only, no authentication; the queue keeps every job's
    // document and record, and writes the record at once.
    std::string daemon = "Listen " + dir +
                         "/cups.sock\nLogLevel warn\nBrowsing No\n"
                         "WebInterface No\nDefaultAuthType None\nPreserveJobFiles Yes\n"
                         "PreserveJobHistory Yes\nDirtyCleanInterval 0\nMaxJobs 0\n"
                         "<Policy default>\n<Limit All>\nOrder allow,deny\nAllow all\n</Limit>\n"
                         "</Policy>\n";
    // A raw queue: the bytes go out as they are.
    std::string printers = "<Printer " + queue +
                           ">\nState Idle\nAccepting Yes\nDeviceURI file:///dev/null\n"
                           "</Printer>\n";
    if (!write_text(dir + "/conf/cups-files.conf", files) ||
        !write_text(dir + "/conf/cupsd.conf", daemon) ||
        !write_text(dir + "/conf/printers.conf", printers))
        return "kan de configuratie in " + dir + "/conf niet schrijven";
    return "";
}

std::string cups_command(const std::string &dir) {
    return "/usr/sbin/cupsd -f -c " + dir + "/conf/cupsd.conf -s " + dir + "/conf/cups-files.conf";
}

} // namespace demo

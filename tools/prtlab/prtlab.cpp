// prtlab: prints a text file through the print job, to a destination of the
// printer tables (or one chosen in the dialog), to a file, or to the
// preview first.
//
//   prtlab FILE [--code N] [--id N] [--preview] [--to PATH] [--mask N]
//               [--head TITLE] [--out RESULT]
//
// Each line of FILE becomes a print line; a form feed in FILE starts a new
// page. With --head every page begins with the page heading (TITLE centred,
// date, time and page number) and a page holds the format's lines. The
// tables are read from $ZOKPRT or the current directory, and the print file
// is made in the current directory. Afterwards the terminal is closed and
// these lines go to stdout (or RESULT): open=, device=, spool=, todir=,
// copies=.
#include "print/prt.h"
#include "term/scr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

namespace {

[[noreturn]] void usage(const char *why) {
    if (why) std::fprintf(stderr, "prtlab: %s\n", why);
    std::fprintf(stderr, "usage: prtlab FILE [--code N] [--id N] [--preview] [--to PATH] "
                         "[--mask N] [--head TITLE] [--out RESULT]\n");
    std::exit(2);
}

// One page at a time: the heading when asked for, else a plain new page.
void new_page(const char *head) {
    if (head)
        PRT_HEAD("prtlab", "%s", head);
    else
        PRT_NEWPAGE();
}

void print_text(const std::string &text, const char *head) {
    bool fixed = prt_rows > 0 && prt_rows != 9999;
    std::string line;
    new_page(head);
    for (size_t i = 0; i <= text.size(); ++i) {
        char c = i < text.size() ? text[i] : '\n';
        if (c != '\n' && c != '\f') {
            line += c;
            continue;
        }
        if (!line.empty() || c == '\n') {
            if (head && fixed && prt_line > prt_rows - 3) new_page(head);
            PRT_PRINT("%s", line.c_str());
            PRT_LINE();
        }
        line.clear();
        if (c == '\f' && i + 1 < text.size()) new_page(head); // not for a last one
        if (i + 1 == text.size() && c == '\n') break; // the file's last line end
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) usage(nullptr);
    const char *file = argv[1], *to = nullptr, *head = nullptr, *out = nullptr;
    PRTDEST dest = {0, 0, 0};
    long mask = PRT_ANY;
    for (int i = 2; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--preview") {
            dest.dest_flags |= PRT_PREVIEW;
            continue;
        }
        if (i + 1 >= argc) usage(("missing value after " + a).c_str());
        const char *v = argv[++i];
        if (a == "--code")
            dest.dest_code = (uint16_t)std::atoi(v);
        else if (a == "--id")
            dest.dest_id = (uint8_t)std::atoi(v);
        else if (a == "--to")
            to = v, dest.dest_flags |= PRT_TOFILE;
        else if (a == "--mask")
            mask = std::strtol(v, nullptr, 0);
        else if (a == "--head")
            head = v;
        else if (a == "--out")
            out = v;
        else
            usage(("unknown option " + a).c_str());
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::perror(file);
        return 1;
    }
    std::stringstream text;
    text << in.rdbuf();

    SCRINIT();
    bool open = XPRT_OPEN(&dest, (uint16_t)mask, to);
    std::string device = prt_job.job_device;
    bool spool = prt_job.job_spool, todir = prt_job.job_todir;
    if (open) {
        print_text(text.str(), head);
        PRT_CLOSE("");
    }
    SCREND();

    FILE *f = out ? std::fopen(out, "w") : stdout;
    if (!f) {
        std::perror(out);
        return 1;
    }
    std::fprintf(f, "open=%d\ndevice=%s\nspool=%d\ntodir=%d\ncopies=%d\n", open ? 1 : 0,
                 device.c_str(), spool ? 1 : 0, todir ? 1 : 0, (int)prt_job.job_copies);
    if (out) std::fclose(f);
    return open ? 0 : 1;
}

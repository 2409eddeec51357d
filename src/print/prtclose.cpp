// PRT_CLOSE: the end of a print job and the delivery of the print file.
//
// Delivery runs shell commands in the background, so that the user has the
// screen back at once. Every name in a command (queue, device, temporary
// files) is quoted: a device name from the tables may hold a blank or a ';'
// and must never run as a command of its own.
//
// Copies to a device are appended one after the other by one background
// shell: round k appends the print and copies it to a new temporary name
// for round k+1, the last round removes the file. Running the rounds in
// order in one shell keeps a copy from starting before its file exists.
#include "base/catalog.h"
#include "print/prtbuf.h"
#include "print/prtfile.h"
#include "print/prtint.h"
#include "print/prtview.h"
#include "term/popup.h"
#include "term/scr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

using nv::prt::shell_quote;

namespace {

void run(const std::string &cmd) {
    // Whether the command did its work is not known here: it runs on in the
    // background after the shell has returned.
    int status = std::system(cmd.c_str());
    (void)status;
}

void closing_text() {
    char text[120];
    std::snprintf(text, sizeof text, "** %s **", KOR(4, 58, "Printen onderbroken"));
    int n = (int)std::strlen(text);
    PRT_RAWLINE();
    PRT_RAWLINE();
    PRT_RAWCHARS(n, '*');
    PRT_RAWLINE();
    PRT_RAW("%s", text);
    PRT_RAWLINE();
    PRT_RAWCHARS(n, '*');
    PRT_RAWLINE();
}

// Appends the copies to a device or file.
void to_device() {
    const PRTJOB &j = prt_job;
    std::string dev = shell_quote(j.job_device), cur = j.job_temp, chain;
    for (int k = 1; k <= j.job_copies; ++k) {
        std::string q = shell_quote(cur.c_str());
        std::string next = k < j.job_copies ? nv::prt::temp_name(nullptr, "PR") : "";
        if (!chain.empty()) chain += "; ";
        chain += "cat " + q + " >>" + dev;
        if (!next.empty()) chain += "; cp " + q + " " + shell_quote(next.c_str());
        chain += "; rm " + q;
        if (next.empty()) break;
        cur = next;
        if (PRT_STOPCHECK()) {
            chain += "; rm " + shell_quote(cur.c_str());
            break;
        }
    }
    run("(" + chain + ") &");
}

// The printer on another terminal's auxiliary port.
void to_other_terminal() {
    const PRTJOB &j = prt_job;
    std::string q = shell_quote(j.job_temp), chain;
    for (int k = 0; k < j.job_copies; ++k) {
        chain += "cat " + q + " > " + shell_quote(j.job_device) + "; ";
        if (PRT_STOPCHECK()) break;
    }
    run("(" + chain + "rm " + q + ") &");
}

// The printer on this terminal: the bytes go out between its on and off
// sequences, with the screen switched off.
void to_own_terminal() {
    for (int k = 0; k < prt_job.job_copies; ++k) {
        FILE *f = std::fopen(prt_job.job_temp, "r");
        if (!f) break;
        PRT_AUXON();
        for (int c; (c = std::getc(f)) != EOF;)
            std::putchar(c);
        std::fflush(stdout);
        PRT_AUXOFF();
        std::fclose(f);
        if (PRT_STOPCHECK()) break;
    }
    ::unlink(prt_job.job_temp);
}

bool is_own_terminal(const char *device) {
    const char *tty = ttyname(0);
    return tty && std::strcmp(tty, device) == 0;
}

// Into the drop directory under the "PR" name, then renamed to "TR": a
// reader of the directory takes "T" files only, which are complete.
void to_directory() {
    PRTJOB &j = prt_job;
    if (!nv::prt::copy_new(j.job_temp, j.job_device)) {
        char text[200];
        std::snprintf(text, sizeof text, "%s <%s>\n%s", KOR(4, 61, "Uitvoermedium"), j.job_device,
                      KOR(4, 62, "kan niet geopend worden"));
        nv::prt::flash(KOR(4, 56, "Printen"), text);
        ::unlink(j.job_temp);
        return;
    }
    ::unlink(j.job_temp);
    std::string done = j.job_device;
    size_t slash = done.rfind('/');
    done[slash == std::string::npos ? 0 : slash + 1] = 'T';
    std::rename(j.job_device, done.c_str());
}

void deliver(const char *options) {
    const PRTJOB &j = prt_job;
    if (j.job_todir && !j.job_aux) {
        to_directory();
    } else if (j.job_spool) {
        std::string q = shell_quote(j.job_temp);
        run("(lp -d" + shell_quote(j.job_device) + " -n" + std::to_string(j.job_copies) +
            " -c -s " + options + " " + q + "; rm " + q + ") &");
    } else if (!j.job_aux) {
        to_device();
    } else if (!is_own_terminal(j.job_device)) {
        to_other_terminal();
    } else {
        to_own_terminal();
    }
}

} // namespace

void PRT_CLOSE(const char *options) {
    PRTJOB &j = prt_job;
    if (prt_buf && prt_buf->zz_started) {
        stop_zigzag_printen();
    } else {
        std::free(prt_buf); // the engine never started
        prt_buf = nullptr;
    }
    if (term_state) {
        term_state->ing_key = key_cancel;
        term_state->ing_status = 0;
    }
    if (!j.job_file) return;
    FILE *f = j.job_file;
    std::fflush(f);
    if (std::ftell(f) == j.job_begin) {
        std::fclose(f);
        j.job_file = nullptr;
        ::unlink(j.job_temp);
        return;
    }
    if (PRT_STOPCHECK()) closing_text();
    if (prt_line > 1) {
        bool keep = prt_nomargin;
        prt_nomargin = true;
        PRT_NEWPAGE();
        prt_nomargin = keep;
    }
    std::fputs(j.job_end, f);
    std::fclose(f);
    j.job_file = nullptr;
    if (j.job_preview && !PrintMenu()) {
        ::unlink(j.job_temp);
        return;
    }
    if (term_state) term_state->ing_key = term_state->ing_status = 0;
    STOPRESET();
    deliver(options ? options : "");
    if (term_state) SCRFLUSH(0);
    STOPRESET();
}

bool PRT_STOPCHECK() {
    return STOPCHECK();
}

void PRT_AUXON() {
    if (!prt_job.job_aux || (term_state && term_state->term_off)) return;
    const char *on = tigetstr((char *)"mc5");
    if (on && on != (const char *)-1) std::printf("%s", on);
    std::fflush(stdout);
    if (term_state) term_state->term_off = 1;
}

void PRT_AUXOFF() {
    const char *off = tigetstr((char *)"mc4");
    if (off && off != (const char *)-1) std::printf("%s", off);
    std::fflush(stdout);
    if (term_state) term_state->term_off = 0;
}

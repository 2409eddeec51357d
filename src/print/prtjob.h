// The print job: one report from XPRT_OPEN to PRT_CLOSE.
//
//     PRTDEST dest = {0, 1, 0};             // let the user choose, preview
//     if (!XPRT_OPEN(&dest, 2 | 4, nullptr)) return;
//     for (...) {
//         if (prt_line > prt_rows - 5) PRT_HEAD(filiaal, "%s", titel);
//         PRT_PRINT(...); PRT_AMOUNT(...); PRT_LINE();
//     }
//     PRT_CLOSE("");
//
// XPRT_OPEN finds the destination in the printer tables (or asks), opens a
// temporary print file "PRxxnn" in the current directory and writes the
// format's start codes. Lines go through the buffer (prtbuf.h). PRT_CLOSE
// shows the preview when asked for and hands the file to its destination:
// a spooler queue (lp), a device or file (cat, once per copy), another
// terminal, the printer on the user's own terminal, or a drop directory,
// where the file appears under a "PR" name and is renamed to "TR" once it is
// complete. The shell commands run in the background, so the screen is free
// at once; every name in them is quoted.
//
// The job state is process-wide: one job at a time.
#pragma once

#include <cstdint>
#include <cstdio>

struct TR_PTRG_REC;
struct TR_PTRC_REC;
struct TR_PTRP_REC;

// Where a report goes, as the caller asks for it.
#pragma pack(push, 1)
struct PRTDEST {
    uint16_t dest_code; // output kind of TR_PTRG; 0 lets the user choose
    uint8_t dest_flags; // PRT_PREVIEW, PRT_TOFILE
    uint8_t dest_id;    // connection within the code, 0 for none
};
#pragma pack(pop)
static_assert(sizeof(PRTDEST) == 4);

enum { PRT_PREVIEW = 1, PRT_TOFILE = 2 };

// Width mask of a report: the widths it can produce and the paper it takes.
enum {
    PRT_W40 = 1,
    PRT_W80 = 2,
    PRT_W132 = 4,
    PRT_LONG = 16,  // paper of more than 66 lines
    PRT_SHORT = 32, // paper of up to 66 lines
    PRT_ANY = 65535,
};

struct PRTJOB {
    bool job_preview; // PrintMenu before delivery
    bool job_spool;   // the device is a queue the spooler knows
    bool job_aux;     // the printer on a terminal's auxiliary port
    char job_start[122];
    char job_end[122];
    int32_t job_todir;  // the device is a drop directory
    int32_t job_begin;  // file offset behind the start codes
    int32_t job_copies; // 1 at open; the preview may change it
    char job_device[50];
    char job_temp[64];
    FILE *job_file;
    uint16_t job_code; // output kind and format (PRT_CODE reads TR_PTRCA)
    uint8_t job_format;
};
extern PRTJOB prt_job;

// Counters of the job. The report compares prt_line with prt_rows and calls
// PRT_HEAD for a new page; it sets prt_line to 99 to force one. XPRT_OPEN
// leaves prt_line at 10000 so that the first test starts the first page.
extern int32_t prt_rows;  // lines per page (9999 endless paper, 0 unknown)
extern int32_t prt_cols;  // print width
extern int32_t prt_page;  // page number
extern int32_t prt_line;  // line on the page
extern int32_t prt_pages; // pages begun, the closing form feed included
extern int32_t prt_top;   // margins: empty lines at the top of a page
extern int32_t prt_left;  //          blanks in front of each line
extern bool prt_nomargin; // a new page without the margins

// Opens the job. dest may be changed by the choice (the code, connection
// and flags chosen). `file` is the output file for PRT_TOFILE. False when
// there is no destination or the print file can't be made; the user has
// been told.
bool XPRT_OPEN(PRTDEST *dest, uint16_t widthmask, const char *file);
// Ends the job: preview, delivery, clean-up. `options` go to lp as they
// stand. Afterwards ing_key is KEY_CANCEL when nothing went out.
void PRT_CLOSE(const char *options);

// The path of printer table `name` in the directory of ZOKPRT, or in the
// current directory when that isn't a directory (said once per job).
const char *PRT_TABLEPATH(const char *name);
// Makes sure the four tables can be read: missing ones are made with their
// first rows. False (the user has been told) when one can't be had.
bool PRT_TABLES();
// The choice dialog over the connections of dest->dest_code (all codes when
// 0) and their formats that fit the mask. 0 when something was chosen: the
// three records are filled and dest set.
int PRT_CHOOSE(PRTDEST *dest, TR_PTRG_REC *general, TR_PTRC_REC *connection, TR_PTRP_REC *property,
               uint16_t widthmask);
// The width menu "Printbreedte" for the widths of the mask: 40, 80 or 132.
int PRT_WIDTH(uint16_t mask);
// Control codes of the job's format: 18 the start codes, 19 the end codes,
// 1 to 17 from TR_PTRCA. Empty when there are none.
const char *PRT_CODE(int cap);
// May CANCEL leave the choice dialog without a choice (on at start).
void PRT_CANCELOK(int flag);

// The user's interruption, as STOPCHECK.
bool PRT_STOPCHECK();
// The printer on the user's own terminal: switched on and off around the
// bytes of the print; no screen output reaches it in between.
void PRT_AUXON();
void PRT_AUXOFF();

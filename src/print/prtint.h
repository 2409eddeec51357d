// Inside the print subsystem: the tables as the open and the choice read
// them, and the small helpers they share.
#pragma once

#include "print/prtjob.h"
#include "print/prttab.h"

#include <vector>

struct ICB;

namespace nv::prt {

extern bool g_cancel_ok; // PRT_CANCELOK

// A message box titled `title` waiting for ENTER (stderr without a screen).
void flash(const char *title, const char *text);

// Does a format of `cols` columns, `rows` lines fit the report's width mask?
bool cols_fit(int cols, uint16_t mask);
bool paper_fit(int rows, uint16_t mask);
// The format taken when none fits but the preview will do: 64 lines, the
// widest width of the mask.
void default_format(TR_PTRP_REC *p, uint16_t mask);
// A control code field decoded into out (123 bytes).
void decode_codes(char *out, const char *field);

// The four tables, open for reading while the destination is chosen.
struct Tables {
    ICB *icb[PRT_TABLE_COUNT] = {};
    Tables() = default;
    Tables(const Tables &) = delete;
    Tables &operator=(const Tables &) = delete;
    ~Tables();
    void open();
    bool general(uint16_t code, TR_PTRG_REC *g);
    bool connection(uint16_t code, uint8_t id, TR_PTRC_REC *c);
    // In file order; code 0 for all.
    std::vector<TR_PTRC_REC> connections(uint16_t code);
    std::vector<TR_PTRP_REC> formats(uint16_t code);
};

} // namespace nv::prt

// The printer tables: four record store files that say which outputs a shop
// has, how they are connected and which paper formats they take, with the
// control codes of each format. The suite's maintenance programs fill them;
// this program reads them and makes them, with their first rows, when they
// are missing. On disk: never renumber, never reorder.
//
// TR_PTRG, "TR_PTR_general", 16 bytes; key 1 tr_code, key 2 name
//     0   2  tr_code      code of the output kind (unsigned)
//     2   2  reserved
//     4  12  name
// TR_PTRC, "TR_PTR_connections", 64 bytes; keys code-id, code-dev, cd-name
//     0   2  tr_code
//     2   1  cd_id        connection number within the code
//     3   1  cd_todir     non-zero: the device is a directory to drop files in
//     4  40  cd_dev       spooler queue, path, "TERMINAL" or "AUX"
//    44  20  cd_name
// TR_PTRP, "TR_PTR_properties", 284 bytes; keys code-id, cd-cols, cd-desc
//     0   2  tr_code
//     2   1  pp_id        format number within the code
//     3   1  pp_portrait  non-zero portrait, zero landscape
//     4   2  pp_cols      print width
//     6   2  pp_rows      lines per page, 9999 endless paper
//     8  32  pp_desc
//    40 122  pp_start     control codes at the start of a job
//   162 122  pp_end       control codes at the end of a job
// TR_PTRCA, "TR_PTR_codes", 126 bytes; key code-cap
//     0   2  tr_code
//     2   1  pp_id
//     3   1  cap          capability number 1..17
//     4 122  cap_text
//
// Texts are NUL-padded. Control codes are written as text: "\XX" with two
// hexadecimal digits for any byte, "\\" for the backslash.
#pragma once

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)
struct TR_PTRG_REC {
    uint16_t tr_code;
    uint8_t reserved[2];
    char name[12];
};
struct TR_PTRC_REC {
    uint16_t tr_code;
    uint8_t cd_id;
    uint8_t cd_todir;
    char cd_dev[40];
    char cd_name[20];
};
struct TR_PTRP_REC {
    uint16_t tr_code;
    uint8_t pp_id;
    uint8_t pp_portrait;
    int16_t pp_cols;
    int16_t pp_rows;
    char pp_desc[32];
    char pp_start[122];
    char pp_end[122];
};
struct TR_PTRCA_REC {
    uint16_t tr_code;
    uint8_t pp_id;
    uint8_t cap;
    char cap_text[122];
};
#pragma pack(pop)

static_assert(sizeof(TR_PTRG_REC) == 16);
static_assert(offsetof(TR_PTRG_REC, name) == 4);
static_assert(sizeof(TR_PTRC_REC) == 64);
static_assert(offsetof(TR_PTRC_REC, cd_id) == 2);
static_assert(offsetof(TR_PTRC_REC, cd_todir) == 3);
static_assert(offsetof(TR_PTRC_REC, cd_dev) == 4);
static_assert(offsetof(TR_PTRC_REC, cd_name) == 44);
static_assert(sizeof(TR_PTRP_REC) == 284);
static_assert(offsetof(TR_PTRP_REC, pp_id) == 2);
static_assert(offsetof(TR_PTRP_REC, pp_portrait) == 3);
static_assert(offsetof(TR_PTRP_REC, pp_cols) == 4);
static_assert(offsetof(TR_PTRP_REC, pp_rows) == 6);
static_assert(offsetof(TR_PTRP_REC, pp_desc) == 8);
static_assert(offsetof(TR_PTRP_REC, pp_start) == 40);
static_assert(offsetof(TR_PTRP_REC, pp_end) == 162);
static_assert(sizeof(TR_PTRCA_REC) == 126);
static_assert(offsetof(TR_PTRCA_REC, cap) == 3);
static_assert(offsetof(TR_PTRCA_REC, cap_text) == 4);

// The four tables, in the order PRT_TABLES goes through them.
enum PrtTable { PRT_GENERAL, PRT_CONNECTIONS, PRT_PROPERTIES, PRT_CODES, PRT_TABLE_COUNT };

// File name and layout of a table: the title and record length, then the
// key descriptions, as IXUPDFCB takes them.
struct PrtLayout {
    const char *file;
    const char *title; // "title,reclen"
    const char *keys[3];
    int nkeys;
};
extern const PrtLayout prt_layouts[PRT_TABLE_COUNT];

// Endless paper: a format of this many rows has no page length.
constexpr int16_t PRT_ENDLESS = 9999;

namespace nv::prt {

// Makes table `t` at `path` (without .TXT/.INX) with its layout and its first
// rows: the screen, code 1, with formats of 40, 80 and 132 columns. Any
// file of that name is overwritten. The store ends the program when the
// files can't be made, so the caller checks the directory first.
void table_create(PrtTable t, const char *path);

// A new index for table `t` at `path` from its data file: the index is
// made afresh with the table's layout and every record of the data file is
// entered. False when the data file can't be read as the table's records
// (it is left as it was).
bool table_repair(PrtTable t, const char *path);

// Copies text into a NUL-padded field of `size` bytes, cut to fit.
void put_field(char *field, size_t size, const char *text);

} // namespace nv::prt

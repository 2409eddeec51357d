// The data dictionary: the table of every keyed file of the suite that the
// program carries in itself (file number, record length, keys), and what is
// done with it: make a missing file, compare a file with what the package
// expects, verify and repair.
//
// Every master file is made from here, by the program and by the tools:
//
//   dd_create_pair(24, "DTKLT");             // a new, empty customer file
//   dd_result r{}; r.repair = 1;
//   if (!dd_verify(3, "DTADRNLD", &r)) ...;  // make what is missing, rebuild
//                                            // what is damaged; r.status says why not
//   nv::store::dd_ensure(3, "DTADRNLD");     // the same in one call
//
// Names are logical store names (no extension, directory allowed). Titles
// come from the application catalogue (set 40, number = file number) with
// the defaults of the table; dd_title gives them as they go into a header.
#pragma once

#include <cstdint>

#pragma pack(push, 1)
// One row of the table: one key of one file. The end row has file number
// 250; any number above 249 ends the table.
struct dd_row {
    uint8_t file;    // file number
    uint8_t nkeys;   // keys of the file, the same in all its rows
    uint16_t reclen; // record length, the same in all its rows
    uint8_t key;     // key number, from 1
    uint8_t dups;    // 0 no duplicates, 1 duplicates allowed
    struct {
        uint8_t type;  // 'I', 'C', or 0 after the last field
        uint8_t first; // byte position in the record, from 1
        uint8_t last;
    } fld[10];
};
#pragma pack(pop)
static_assert(sizeof(dd_row) == 36);

// What dd_verify found. The call reads `repair` and then clears the whole
// structure, `repair` included.
struct dd_result {
    uint8_t status;        // 0 sound, 1 no index file, 2 no data file, 3 layout
                           // differs, 4 data required but empty, 5 check failed
                           // after any repair
    uint8_t data_created;  // the data file was missing and has been made
    uint8_t index_created; // the index file was missing and has been made
    uint8_t rebuilt;       // the index was rebuilt (and is sound now)
    int32_t layout_diff;   // with status 3: the code of dd_compare
    int32_t repair;        // input: 1 allows making missing files and rebuilding
};

// The title of a file, at most 18 characters, every blank made '_'; empty
// when the table has none (the file's own name is used then). Returns buf,
// which must hold 19 bytes.
char *dd_title(int filenr, char *buf);
// Copies the row of (file, key) into *row: true. Not found: false, and the
// end row in *row.
bool dd_lookup(int filenr, int keynr, dd_row *row);
// Makes the index file NAME.INX from the table (and NAME.TXT when it isn't
// there, as IXCREATE does): true when the file is in the table.
bool dd_create(int filenr, const char *name);
// Makes an empty NAME.TXT, rw-rw----.
bool dd_create_data(const char *name);
// Both: a new, empty pair.
bool dd_create_pair(int filenr, const char *name);
// The header of NAME.INX against the table, in the order of testing:
//   1 file number not in the table or a key row missing, 2 record length
//   differs, 3 key count differs, 4 duplicates differ, 5 type, first or last
//   of a field differ, 6 the header can't be read; 0 the same.
int dd_compare(int filenr, const char *name);
// The whole check: make missing files (repair), refuse an empty file that is
// delivered with data (DTDD, DTISOLND, DTISOVAL), compare the layout, IXCHECK
// and with repair IXBLDIX. True when the pair can be used.
bool dd_verify(int filenr, const char *name, dd_result *result);

namespace nv::store {

// The number of rows of the table, the end row not counted.
int dd_rows();
// The file numbers in the table, ascending; count gets how many.
const uint8_t *dd_files(int *count);
// The system's name of a file (DTKLT for 24), nullptr when the program
// doesn't use the file under a name of its own.
const char *dd_name(int filenr);
// The file number for a name (its base name, no extension), 0 when unknown.
int dd_number(const char *name);
// dd_verify with repair allowed; true when the pair can be used.
bool dd_ensure(int filenr, const char *name);

} // namespace nv::store

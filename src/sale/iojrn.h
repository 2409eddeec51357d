// Reading and writing journals through one cursor, jrn_cursor.
//
// A cursor owns a read buffer over the file and one payload area per record
// type. Reading a record fills only its own area; the others keep what the
// last record of their kind left, so a reader walking a transaction still
// sees the header while it looks at a line, and the last line while it looks
// at the T. To change a record a reader changes the area and calls
// iojrn_rewrite_last (or iojrn_rewrite_header for the H), which writes it
// back at its own offset.
//
// Reading may run beside a writer that appends: the buffer is refilled from
// the read position whenever the bytes wanted lie outside it, so the end of
// the file ('~') is not final. At '~' and '?' (unknown letter, or the file
// ends inside a payload) the read position stays where it was.
//
// Journals have no locks of their own: the writers of a branch's journal
// hold the branch's lock byte in the system file; readers beside a writer
// stop at '~' or '?'. New files get rw-rw----.
#pragma once

#include "sale/jrnrec.h"

#include <cstdint>
#include <fcntl.h> // the open flags of iojrn_open
#include <sys/types.h>

struct jrn_cursor {
    int32_t bufsize; // 16384, halved down to 1024 when memory is short
    int32_t buflen;  // bytes in the buffer, 0 = empty
    off_t bufoff;    // file offset of buf[0]
    char *buf;
    char *bufp;     // the byte last asked for
    char path[256]; // the file as opened
    int oflags;     // as given to iojrn_open
    int fd;
    off_t pos;      // read position: the next record (public: set it to revisit a record)
    off_t last_off; // offset of the last record read or written, -1 none
    off_t h_off;    // offset of the last H read or written, -1 none
    char letter;    // letter of the last record; '~' or '?' after a failed read
    uint8_t filnr;  // branch and till taken from the file name (255: not a journal name)
    uint8_t kasnr;
    // The payload areas, side by side. Each starts on a 4-byte boundary, so
    // that every number in them lies on its natural boundary (the layouts
    // put them there) and may be used like any other variable.
    alignas(4) jrn_h h;
    alignas(4) jrn_regel regel; // V, R, Z, z
    alignas(4) jrn_d d;
    alignas(4) jrn_s s;
    alignas(4) jrn_i i;
    alignas(4) jrn_t t;
    alignas(4) jrn_b b;
    alignas(4) jrn_u u;
};

// Opens path with the system's open flags, with two rules: O_TRUNC always
// creates and clears the file; O_CREAT creates it when missing and opens an
// existing file without O_CREAT. Null when the file can't be opened; no
// memory for the cursor or the buffer is fatal ("iojrn", 1 and 2).
jrn_cursor *iojrn_open(const char *path, int oflags);
void iojrn_close(jrn_cursor *c);

// The payload area of a letter in the cursor; null for E, X and letters
// that are no record type.
void *iojrn_area(jrn_cursor *c, char letter);

// Reads the record at the read position into its area and moves past it.
// 1, or 0 with letter '~' at the end of the file or '?' at an unknown letter
// or a payload cut short.
int iojrn_read(jrn_cursor *c);

// Writes letter and the payload of its area at offset (two writes), makes
// it the last record, puts the read position behind it and empties the
// buffer. 0 for a null cursor, a letter that is no record type, or a failed
// write (errno tells).
int iojrn_write_at(jrn_cursor *c, off_t offset, char letter);
int iojrn_append(jrn_cursor *c, char letter);
int iojrn_rewrite_header(jrn_cursor *c); // the last H at its own offset
int iojrn_rewrite_last(jrn_cursor *c);   // the last record at its own offset

// Closes and opens the file again read/write, so that what was written has
// reached the file before the next transaction. Failure is fatal.
void iojrn_reopen(jrn_cursor *c);

// Checks a journal against the successor table. A missing or empty file
// gives 1. Otherwise: the file's size when it ends behind an X; the end of
// the last X when it ends on a record boundary inside a transaction
// (incomplete); -1 at a letter that may not follow, or a record cut short
// (damaged).
long iojrn_check(const char *path);

// Rewrites a journal without the records of transactions that are
// processed (hflags 2) and dated up to last_date. Bytes behind a damaged
// point are kept as they are. False when the journal can't be read or the
// work file can't be made or written; the journal is then untouched.
bool iojrn_purge(const char *path, uint16_t last_date);

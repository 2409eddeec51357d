// Access to the system file DTSYS.TXT and the branch file DTFILGEG.TXT.
//
// iosys(action, &rec_no, buffer, base, limit, length) addresses record rec_no
// (1..limit) of the table at `base` with records of `length` bytes. The last
// arguments are kept globally, so iosys is not re-entrant; there is one
// descriptor for the whole process. Result non-zero = success.
//   'O' open (rec_no := 1)     'C' close (idempotent)
//   'R' read; 0 outside 1..limit, on a short read, or for an all-zero record
//   'F' read rec_no, else on as 'N'   'N' next filled   'P' previous filled
//   'X' lock and read: waits (naming the holder every 2 s) without limit
//   'W' write and unlock   'w' write, keep the lock   'D' zero, write, unlock
//   'T' free of locks of others?      'U' unlock      others: 0
//
// The file is also the suite's lock board: a lock on a user record says who
// is at work, and single bytes stand for journals and batch functions.
#pragma once

#include "frame/sysrec.h"

#include <sys/types.h>

int iosys(int action, long *rec_no, void *buffer, long base, long limit, int length);

// Shorthand for a table of the file map.
inline int iosys(int action, long *rec_no, void *buffer, const sysmap::Table &t) {
    return iosys(action, rec_no, buffer, t.base, t.limit, t.length);
}

void iosys_filename(const char *name); // before 'O'; default "DTSYS.TXT"
int iosys_fd();                        // -1 when closed

// The text that names who holds a lock on a region of a file: asks which
// process holds a conflicting lock and finds the user record (1..99) that the
// same process holds. `text` is the caller's text: "PROG..." gives
// "Programma in gebruik door %s", "~xyz" gives "xyz: in gebruik door %s",
// anything else "Informatie in gebruik door %s"; " (tty%s)" follows when the
// user's terminal is known. No such user: "Informatie in gebruik op ander scherm".
void sys_lock_text(const char *text, int fd, off_t start, off_t length, char *out, size_t size);

// How a wait for a lock is shown: the terminal layer installs a one-line
// window on the bottom row; the default writes to stderr. The hook shows
// the text and returns after about two seconds.
using SysWaitHook = void (*)(const char *text);
void sys_set_wait_hook(SysWaitHook h);
void sys_wait(const char *text);

// The branch file. Branch n is slot n+1; the number aantal_fil stands for the
// central record in slot 0. 'O' open (fatal when missing), 'C' close,
// 'R' read (names unscrambled; slot 0 gets the company name), 'W' write.
int iofil(int action, int branch, fil_rec *buffer);
void iofil_filename(const char *name); // before 'O'; default "DTFILGEG.TXT"

// KASPARM.TXT, read whole. False when it is missing or short.
bool kasparm_read(kas_parm *out, const char *name = "KASPARM.TXT");

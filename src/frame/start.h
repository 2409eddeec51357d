// The program frame: from the first instruction to the main program, and the
// hand-over to the next program of the suite.
//
// Suite programs pass four arguments: argv[1] the program being started
// (must equal the user record's program field and our own name), argv[2]
// the user name in clear text ("xkqz..." marks the data-communication
// background run), argv[3] the user number (record 1..99 of the user
// table), argv[4] the calling program. The user's record is read with a
// wait for its lock and stays locked for the whole run: other programs see
// by that lock who is at work.
#pragma once

#include "frame/sysrec.h"

#include <cstddef>

struct ICB;

namespace frame {

extern const char *const OWN_NAME;    // "norvanke"
extern const char *const VERSION;     // "8.70 " (also the release mark of the files)
extern const int NUMBER;              // 870
extern const char *const DATE_STRING; // "05-4-2016"

extern char caller[16];       // the program that started us; cleared after first use
extern bool background;       // started by the background run: dialogs don't wait
extern long user_nr;          // record number of the user
extern sys_gebruiker user;    // copy of the user's record (unscrambled name apart)
extern char user_name[20];    // the name in clear text
extern sys_bedrijf company;   // record 1
extern sys_land country;      // record 15

// Seams that later modules fill (start steps 10 and 12, hand-over step 2).
struct StartHooks {
    void (*load_till_index)();
    void (*free_till_index)();
    void (*after_start)(); // print destination, macros, input engine
};
void set_start_hooks(const StartHooks &h);

void set_compiled(const char *date, const char *time);
void frame_start(const char *name, const char *date, int argc, char **argv);
[[noreturn]] void wrong_start(int code);
[[noreturn]] void start_program(const char *name);

// The line that the record store's in-use hook shows while this process
// waits for a record: "%-.11s: %-.19s --> " with the file's name and title,
// then who holds the record (the user whose slot of the system file the
// holding process has locked), at most 80 columns of it.
void store_inuse_text(ICB *icb, char *out, size_t size);

// The information window (F10 at the menu). With `wait` it waits for ENTER.
void info_window(bool wait);

} // namespace frame

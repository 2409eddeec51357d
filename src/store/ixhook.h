// Where the store has to talk to a person. The store never draws on the
// screen itself: it calls these hooks, which the terminal layer replaces at
// start-up with windows and questions. The defaults, used by tools and tests,
// write to stderr.
//
//   in-use    once per failed lock attempt; tells who is in the way and
//             takes about two seconds, which is the rhythm of every lock wait
//   flash     a message box: option -1 waits for ENTER, -2 makes the last
//             line of the text a J/N question (result 1 for J, 0 for N),
//             other options show the text; the result is then 1
//   eof       "RDISAM: %s.INX (EOF: r=%ld)" on the last line while an index
//             block beyond the end of the file is retried; about a second
//             each time. A hook that returns false gives up: the file is
//             then reported as damaged (tools do this; a program waits)
#pragma once

struct ICB;

namespace nv::store {

using InUseHook = void (*)(ICB *icb);
using FlashHook = int (*)(int option, const char *title, const char *text);
using EofHook = bool (*)(const char *line);

void set_inuse_hook(InUseHook h); // nullptr restores the default
void set_flash_hook(FlashHook h);
void set_eof_hook(EofHook h);

// Called by the store.
void inuse(ICB *icb);
int flash(int option, const char *title, const char *text);
bool eof_line(const char *line);

// The default in-use text: "%-11.11s: %-19.19s --> %s" with file name, title
// and "Informatie in gebruik op ander scherm".
void inuse_text(ICB *icb, char *out, int size);

} // namespace nv::store

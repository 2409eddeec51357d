// The screens the record store asks for through its hooks (it never draws
// itself): the progress display of check and rebuild, and the error box of
// the size tables. The frame installs them at start-up; nothing here knows
// the store.
#pragma once

// The progress display: action 0 opens a window on the bottom three lines
// with the title in its border and a checkerboard line, 1 grows a reverse bar
// over it to value / total, 2 closes it; 3 sets up a bar on the last line with
// the title centred, 4 grows that bar over the whole width, 5 clears the line.
void term_progress(int action, long value, long total, const char *title);

// A window of five rows at the bottom: a beep, the two lines, and a wait for
// ENTER; then the program goes on.
void term_support_error(const char *what, const char *support);

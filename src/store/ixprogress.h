// The progress display of the store's long jobs (check and rebuild). The
// store never draws: ixprogress formats the title and hands each step to a
// hook. The terminal layer installs a window and a bar at start-up; the
// default, for tools and tests, keeps one plain line on stderr.
//
//   action 0  open the window on the bottom three lines, title in the border
//          1  step: the bar grows to value / total of the width (a total of
//             0 counts as the value itself, or 1)
//          2  close the window
//          3  set up the bar on the last line, the title centred in it
//          4  step the bar (sets it up first when that hasn't been done)
//          5  clear the last line
//
// The title is made from the format when one is given; without a format the
// last title stays.
#pragma once

void ixprogress(int action, long value, long total, const char *fmt = nullptr, ...)
    __attribute__((format(printf, 4, 5)));

namespace nv::store {

using ProgressHook = void (*)(int action, long value, long total, const char *title);
void set_progress_hook(ProgressHook h); // nullptr restores the stderr line

// The length of the bar for value of total on a width, as every display
// draws it: at most the width; a total of 0 counts as the value, or 1.
int progress_cells(long value, long total, int width);

} // namespace nv::store

// The preview: a finished print on the screen, page by page, before it goes
// out. It reads the print file of the open job (prt_job.job_temp), seeking
// on form feeds; nothing of the report is held in memory.
//
// Keys: PgUp/PgDn a page, Enter the next screen of a long page, Home/End the
// first and the last page, F6 a page by number, arrows left and right
// scroll a wide print sideways, F4 the number of copies, ESC "Niet
// printen". Any other key opens the menu with all of it, where "Kopregels"
// sets how many top lines of a page stay in place while a long page
// scrolls, and "Instellen" how far the arrows scroll.
#pragma once

#include <cstdint>

extern int32_t pv_step;      // positions per LEFT or RIGHT, 52 at start
extern int32_t pv_headlines; // top lines of a page that stay, 1 at start

// True when the print must go to the printer ("Printen"), false when not.
bool PrintMenu();
// Asks for pv_step.
void PRT_SCROLLSTEP();

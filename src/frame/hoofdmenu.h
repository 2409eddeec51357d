// The main program behind the start-up: the working set of tables and files,
// the main menu built afresh from the system flags and the user's rights on
// every pass, and the hand-over when the user leaves.
#pragma once

#include <cstdint>

namespace hoofd {

extern bool leave_flag;        // set by the refill-list item: leave to norbilst
extern bool has_offline_tills; // a branch has tills of its own
extern uint16_t rapport_van, rapport_tot; // report period, from the work date

// Seams for what later modules open and close around the menu loop.
struct Hooks {
    void (*open)();  // payment tables, label store, master file set
    void (*close)(); // their closing, on a normal leave
    void (*pass)();  // each pass: clear the till and turnover accumulators
};
void set_hooks(const Hooks &h);

// Builds the main menu once (for a run or for inspection).
void build_menu();

[[noreturn]] void hoofdprogramma();

} // namespace hoofd

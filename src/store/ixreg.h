// The process's open files of the record store: every ICB from a successful
// IXOPEN or IXCREATE until its IXCLOSE. When the program stops on a fatal
// error or a hang-up, the fatal path closes what is still open, so that an
// exclusive file's caches and header reach the disk and its locks fall away
// in order (see nv::on_fatal_stop).
#pragma once

struct ICB;

namespace nv::store {

void icb_opened(ICB *icb); // end of IXOPEN and IXCREATE
void icb_closed(ICB *icb); // start of IXCLOSE
int open_icbs();           // how many are open
void close_all_icbs();     // IXCLOSE of each, the last opened first

} // namespace nv::store

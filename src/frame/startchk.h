// The checks of the suite's parameter files at the start: DTSYS.TXT, the
// branch file DTFILGEG.TXT and the till parameters KASPARM.TXT are read as
// memory images, so a file that is short or filled with something else
// would be read as nonsense (a blank release, no branches) or beyond its
// end. Each check gives a text that names the file and what is wrong with
// it, or an empty text when the file is sound.
#pragma once

#include <string>

namespace frame {

// The bytes of a file (at most `max`); *exists false when it can't be read.
std::string file_bytes(const char *name, size_t max, bool *exists);

// DTSYS.TXT: every table the program addresses, a readable release mark,
// a company name without control bytes and at least one branch.
std::string sysfile_problem(const std::string &bytes, const char *name);
// DTFILGEG.TXT of `size` bytes: the central slot and one per branch.
std::string branchfile_problem(long size, int branches, const char *name);
// KASPARM.TXT: the whole block, and payment currencies and extra letters
// that are texts.
std::string kasparm_problem(const std::string &bytes, const char *name);

// All three on the files of the current directory: fatal for the system and
// branch files, a message for KASPARM.TXT (which only the sale entry reads;
// a missing one is the sale entry's business).
void start_checks();

} // namespace frame

// File helpers of the print job: names for temporary print files, the copy
// of a finished print into a drop directory, and the quoting of names that
// go into a shell command.
//
// The temporary names follow the suite's scheme (prefix, two letters, two
// digits), so that the suite's clean-up tools recognise the files of a
// print that was broken off.
#pragma once

#include <string>

namespace nv::prt {

// A free name "PREFIXLLnn" in `dir` (the current directory when null or
// empty), as "dir/PREFIXLLnn". The prefix is cut at 4 characters. The name
// is tried by creating the file exclusively and removed again: the caller
// creates it itself. Empty on failure (the directory is not writable).
// The letters and the number are process-wide state: each call gives the
// next name.
std::string temp_name(const char *dir, const char *prefix);

// Copies `from` to `to`, which must not exist yet. On failure a partly
// written target is removed. True when the whole file was copied.
bool copy_new(const char *from, const char *to);

// `text` in single quotes for /bin/sh: whatever it holds (blanks, ';',
// quotes, '$'), the shell sees one word.
std::string shell_quote(const char *text);

} // namespace nv::prt

// File utilities: directory listings with wildcards, unique temporary names,
// copying and moving a file under a lock, size and existence tests, and a
// last look at what was left open. They work on any file, not on the record
// store in particular, and are used from the journals to the print spooler.
//
// Process-wide state: the stack of open listings (at most 10 deep), the
// temporary name counter and the static result of temp_name. Not
// re-entrant, like everything of one process here.
//
// Wildcards come in two dialects:
//  - DIRECTORY turns its pattern into a scan format and lets sscanf judge
//    each name (wild_scan_format, wild_scan_match): a final '*' takes the
//    rest, '*' before a '.' everything up to the dot, '*' after a '.' the
//    rest, '?' one character; case counts;
//  - FILES_PRESENT uses the matcher (wild_match): case is ignored (code page
//    850), a pattern ending in ".*" matches any name that begins with the
//    rest, '*' jumps to the first place where the next literal run fits, and
//    '?' takes a character if there is one. A pattern that holds "%*" is
//    taken as a scan format instead.
// Both agree on the usual patterns (*.TXT, VRK????.JRN, DT*.INX, BON*).
//
// file_lock and file_copy use lockf-style locks (from the current position
// of the descriptor); the record store's byte-range locks never meet them on
// one region.
#pragma once

#include <string>
#include <sys/types.h>

// Listings. 'O' opens a listing of path (directory part plus a pattern) for
// kind 2 directories, any other kind regular files: 1 when something
// matched, 0 (and no level left) when nothing did. 'N' copies the next name,
// with the directory part as asked, into buffer (room for PATH_MAX bytes):
// 0 at the end. 'C' closes the listing. An 11th level is fatal.
int DIRECTORY(int op, char *path_or_buffer, int kind);
// How many regular files match a path with wildcards.
int FILES_PRESENT(const char *path);

long file_size(const char *path); // bytes, -1 when absent
bool file_exists(const char *path);
bool is_directory(const char *path);
bool file_remove(const char *path); // a file that wasn't there counts as removed
// mode < 0: the target must not exist; 0: overwrite; > 0: append.
bool file_copy(const char *from, const char *to, int mode);
bool file_move(const char *from, const char *to, bool overwrite);
// A name not in use: PREFAA42 (prefix cut at 4, two letters, two digits),
// under directory when given. In a static buffer, empty on failure.
const char *temp_name(const char *directory, const char *prefix);
// Free 512-byte blocks of the file system of the current directory,
// 0x7FFFFFFF when it can't be asked (or when there are more).
long disk_free();
// lockf at the current position: 3 lock, 4 lock at the end of the file,
// 13 unlock, 14 unlock at the end. A lock that is refused is tried again
// without limit, the wait hook between the tries. length < 1 does nothing.
// 0, or the result of the last call.
int file_lock(int fd, int op, long length);
// Closes every character device descriptor from 3 to 39.
void close_char_files();
// Closes what is still open from 3 to 39 and tells which files of the
// current directory they were; waits for ENTER when there were any.
void report_open_files();

namespace nv {

// How a refused file_lock is shown before the next try: the terminal layer
// shows "Informatie in gebruik op ander scherm" for a second; the default
// waits the second without a word.
using FileWaitHook = void (*)(const char *text);
void set_file_wait_hook(FileWaitHook h); // nullptr restores the default

// The two wildcard dialects, for DIRECTORY and FILES_PRESENT and tests.
std::string wild_scan_format(const char *pattern);
bool wild_scan_match(const std::string &format, const char *name);
bool wild_match(const char *pattern, const char *name);

} // namespace nv

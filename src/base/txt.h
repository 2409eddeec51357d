// Text helpers for the NUL-terminated byte strings that fill the fixed
// fields of all records. Positions count from 0; "not found" is -1. Blanks
// are the code page's blanks (space and 0xFF). The caller owns the room:
// inserting needs space for the longer text.
#pragma once

#include <cstddef>

int txt_index(int c, const char *text);              // first occurrence of c
int txt_find(const char *pattern, const char *text); // pattern first!
// Removes count characters from start and clears as many bytes at the end;
// a text shorter than start + count - 1 is left alone.
void txt_delete(char *text, int start, int count);
void txt_insert_char(char *text, int c, int pos);
void txt_insert(char *text, const char *s, int pos);
void txt_rtrim(char *text);
void txt_ltrim(char *text);
void txt_trim(char *text);
char *txt_upper(char *text); // by the code page tables
// Unsigned bytes: the difference of the first pair that differs, else 0.
int bytes_compare(const void *a, const void *b, size_t length);
// In place: "\\" becomes one backslash, "\xx" (two hex digits) one byte.
char *txt_unescape(char *text);
// Zeroed memory of `most` bytes, or less when that fails: the size is
// halved down to `least` (tried last). Returns the size got, 0 for none.
size_t alloc_between(void **pointer, size_t least, size_t most);

namespace nv {
// alloc_between with the allocator as a parameter (for tests).
size_t alloc_between_with(void *(*alloc)(size_t), void **pointer, size_t least, size_t most);
} // namespace nv

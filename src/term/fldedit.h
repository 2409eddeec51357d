// A plain line editor without a format, for short texts outside the field
// engine: the compose window of a field and the description of a keyboard
// macro. It edits `text` (room for length + 1 bytes) at row, col of the
// current window, with underscores on the empty positions.
#pragma once

// Returns KEY_F(2) (266) for ENTER, for F2 and when the text is full, and
// 27 for ESC or for CANCEL at position 0. CANCEL elsewhere types a '/'.
int FLDEDIT(int row, int col, char *text, int length);

// The print line buffer. Reports write a line piece by piece with printf-like
// calls and end it with PRT_LINE:
//
//     PRT_PRINT("%-20.20s", omschrijving);
//     PRT_AMOUNT(bedrag, 10);
//     PRT_PRINT("%6d", aantal);
//     PRT_LINE();
//
// The buffer has two layers. A number that is wider than the column the
// report gave it moves left over blanks; where it would touch or overwrite
// what stands to its left it goes to a second print line right under the
// first, in the same column ("zigzag" printing). So a report never prints
// two numbers glued together and never loses digits. Text never overwrites
// text in the same layer: a piece that would starts behind it.
//
// Sizes come from the environment when the job opens: MAXFMT (longest
// format and longest piece, default 350), SYSBUF (first size of a layer,
// default 300) and MAXSYSBUF (the most a layer may grow to, 0 for no limit
// below 32000). Faults of the buffer are programming errors and end the
// program through the fatal path.
#pragma once

#include <cstdint>

struct PRTBUF {
    int32_t buf_size;    // bytes allocated per layer
    int32_t buf_max;     // MAXSYSBUF, 0 for none
    bool zz_started;     // the engine runs
    int32_t line_last;   // last used column, -1 on an empty line
    int32_t line_nl[2];  // column of a line end per layer, -1 when none
    int32_t line_end[2]; // length of each layer
    char *layer[2];
    char *piece;     // a conversion's result
    char *piece_fmt; // the conversion of the current piece
    char *piece_min; // the same conversion with the value 0
    char *fmt_copy;  // copy of the format
    int32_t fmt_max; // MAXFMT: size of the four above
    bool zigzag;     // second layer in use; XPRT_OPEN sets it
};

extern PRTBUF *prt_buf; // the buffer of the open job, null when none

// The engine of the open job: sizes from the environment, empty line. Fatal
// when it runs already (start) or doesn't (stop).
void start_zigzag_printen();
void stop_zigzag_printen();

// Formats into the line. Conversions of "sdiouxXefgEGc" with flags, width
// and precision, '*' from the arguments, h and l, L for floating point;
// "%%" is a percent sign. A line end in the text ends the line.
void PRT_PRINT(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
// Ends the line: both layers go to the print file, cut at the print width;
// the second only when it holds anything.
void PRT_LINE();
// count times ch through PRT_PRINT.
void PRT_REPEAT(int count, int ch);
// An amount in width positions through PRT_PRINT: with two decimals, or
// whole when the terminal has none.
void PRT_AMOUNT(int32_t value, int width);
// The next page: form feed (from the second page on), page and page count
// up, line 1, then the top margin as empty lines or else the left margin.
void PRT_NEWPAGE();
// Ends a partly filled line, then PRT_NEWPAGE.
void PRT_PAGE();
// The page heading: a new page, then the left text, the title centred and
// date, time and page number at the right, on one line when they fit the
// print width, else on two; an empty line follows.
void PRT_HEAD(const char *left, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
// Forgets the line being built and flushes the print file.
void PRT_FLUSH();
// Margins in lines and positions, negative counts as 0.
void PRT_MARGINS(int top, int left);

// Straight to the print file, past the buffer.
void PRT_RAW(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
void PRT_RAWCHARS(int count, int ch);
// A line end: flushed, prt_line up, then the left margin.
void PRT_RAWLINE();

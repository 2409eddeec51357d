// Check and rebuild. The store keeps no log: its answer to a crash is to
// find out and rebuild. IXCHECK decides cheaply whether a pair of files can
// be trusted; IXBLDIX throws the index away and makes it again from the data
// file, which is the one file taken as the truth. The same rebuild takes a
// file of the previous format (version 350) to the current one.
//
// The caller's pattern:  if (IXCHECK(name) < 0 && may_repair) { IXBLDIX(name);
//                        ok = IXCHECK(name) >= 0; }
#pragma once

// The number of free data slots, or -1: the file needs a rebuild. -1 for a
// missing data file, an index that isn't whole blocks or is shorter than
// one, a header that can't be (counts, key layout), the busy mark, an index
// size other than next free block x 512, a data size other than record
// count x record length (not measured for a dotted name other than .INX),
// and a free list that runs into a live slot, off the file or round in a
// circle. A next free block near the limit asks whether to go on (no: the
// end of the program). A version 350 file is refused with the end of the
// program; a dotted one with a message and -1.
int IXCHECK(const char *name);

// Rebuilds the index of NAME (no extension) from its data file: 1 done, 0
// when the header can't be trusted or the data size isn't a multiple of the
// record length (the files are then left as they were). The index comes out
// with the layout of the old header, up to 5 keys, entry limits computed
// anew, version 351, every live slot entered under every key, the free list
// made anew (head at the highest free slot, links running down) and no
// reserved keys.
int IXBLDIX(const char *name);

// Printing, as reports use it: the job (destination, open and close), the
// line buffer, amounts, and the preview. See prtjob.h for the calling order.
#pragma once

#include "print/prtamount.h"
#include "print/prtbuf.h"
#include "print/prtjob.h"
#include "print/prtview.h"

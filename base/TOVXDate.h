#ifndef TOVX_DATE_H
#define TOVX_DATE_H

#include "TOVXFileTime.h"
#include "TOVXResult.h"
#include "TOVXString.h"

class TOVXDate {
public:
    // Text form of `time`, always in UTC, for every FILETIME value including 0:
    //   style 0: "YYYY-MM-DD"; any other style: "YYYY-MM-DD HH:MM:SS" (the library passes 1).
    //   withFraction true appends the seven digits of 100-ns ticks: "...:SS.fffffff" (the library passes false).
    // `text` is replaced, never appended to.
    static TOVXResult FormatDate(const FILETIME& time, TOVXString& text, int style, bool withFraction);
};

#endif

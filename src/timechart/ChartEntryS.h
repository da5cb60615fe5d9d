// The sample types of all charts, and the rules every chart applies to a
// sample's time: conversion of the record's stamp to seconds, the optional
// window of -s and -f, and the offset from the start time.
#ifndef ZELCONV_CHARTENTRYS_H
#define ZELCONV_CHARTENTRYS_H

#include <cstdint>
#include <string>

#include "Settings.h"
#include "TimeBase.h"

// One chart sample: from `time` on (seconds after gtodAtStart) the series has `value`.
struct ChartEntryS {
    double time;
    unsigned int value;
};

// One trace marker; it owns its texts.
struct EventEntryS {
    double time;
    unsigned int code;
    std::string name;
    std::string args;
};

// The order of all series, used with a stable sort at output only.
inline bool compareChartEntries(ChartEntryS a, ChartEntryS b) { return a.time < b.time; }

// The sample time of an already converted time `t`: false when -s or -f put
// it outside the window (both limits belong to it), else `x` is set.
inline bool chartTime(double t, double& x)
{
    if (gSelectiveProcessing && (t < gtodAtStart || t > gtodAtStop))
        return false;
    x = t - gtodAtStart;
    return true;
}

// The sample time of a record's raw stamp in nanoseconds.
inline bool chartTime(uint64_t stamp, double& x) { return chartTime(doTimeConversion(stamp), x); }

#endif

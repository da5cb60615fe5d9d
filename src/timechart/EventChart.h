// The one system-wide list of trace markers. Every marker also stands on the
// chart of the task that wrote it; this list shows them all in one row, in
// the order in which they were found.
#ifndef ZELCONV_EVENTCHART_H
#define ZELCONV_EVENTCHART_H

#include <string>
#include <vector>

#include "ChartEntryS.h"

class PerfJSONWriter;

class EventChart {
public:
    // `time` is in seconds as the trace file prints it.
    void addEvent(double time, unsigned int code, std::string& name, std::string& args);
    // Writes nothing at all when there is no marker.
    void outEventChart(PerfJSONWriter& writer);

    std::vector<EventEntryS> _events;
};

#endif

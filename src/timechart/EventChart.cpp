#include "EventChart.h"

#include "ChartEntryWriter.h"

void EventChart::addEvent(double time, unsigned int code, std::string& name, std::string& args)
{
    double x;
    if (!chartTime(doTimeConversion(time), x))
        return;
    _events.push_back({x, code, name, args});
}

void EventChart::outEventChart(PerfJSONWriter& writer)
{
    if (_events.empty())
        return;
    ChartEntryWriter(writer)
        .text("id", "evt")
        .text("name", "FTrace Events")
        .text("treeId", "evt_root")
        .text("type", "events")
        .text("class", "proc:events")
        .text("tip", "FTrace Events")
        .number("show", 1)
        .hints("#cd5c5c", "#cd5c5c")
        .events(_events);
}

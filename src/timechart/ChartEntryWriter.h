// Writes one chart entry: its keys in the order they are given, then its
// points in one of the ways the charts thin them. Every chart kind writes its
// entries through this, so the charts keep only their data and their texts.
//
// An entry is an object made with writeStructStart/writeStructEnd; "hints" is
// opened with newElementStart("hints") and closed with writeStructEnd; "data"
// is an array whose points are gathered as finished text through writeJson.
#ifndef ZELCONV_CHARTENTRYWRITER_H
#define ZELCONV_CHARTENTRYWRITER_H

#include <string>
#include <vector>

#include "ChartEntryS.h"

class PerfJSONWriter;

class ChartEntryWriter {
public:
    // A point is formatted into this many bytes; a longer one is cut.
    static constexpr int kPointBuffer = 32;

    explicit ChartEntryWriter(PerfJSONWriter& writer);

    // printf into a string, for ids, names and tips.
    static std::string format(const char* pattern, ...) __attribute__((format(printf, 1, 2)));

    // Keys, in the order of the calls.
    ChartEntryWriter& text(const char* label, const std::string& value);
    ChartEntryWriter& number(const char* label, unsigned int value);
    // "hints" with the two colours, or an empty object when both are null.
    ChartEntryWriter& hints(const char* white, const char* black);

    // Every sample as a point. Writes the entry even if it has no point.
    void allPoints(const std::vector<ChartEntryS>& series, const char* format);
    // Only samples whose value differs from the last one written, which
    // starts at 0. With `alwaysWrite` false the entry is written only once it
    // has a point; with true it is written even if no point remains.
    void changesOnly(const std::vector<ChartEntryS>& series, const char* format, bool alwaysWrite);
    // Counter bars: each point pairs the time of the sample before with this
    // sample's value; a run of equal values is thinned to its first two
    // points; a closing point with value 0 ends the last bar. Nothing is
    // written when no point is.
    void counterBars(const std::vector<ChartEntryS>& series, const char* format);
    // Trace markers, each an array of time (in the writer's number format),
    // code, name and arguments. Writes the entry even if there is none.
    void events(std::vector<EventEntryS>& events);

    // For entries whose points are not chart samples: open writes the keys
    // and opens "data", close ends both.
    void open();
    void close();

private:
    struct Key {
        enum Kind { Text, Number, Hints } kind;
        const char* label;
        std::string text;
        unsigned int number;
        const char* white;
        const char* black;
    };

    void _point(const char* format, double time, unsigned int value);

    PerfJSONWriter& _writer;
    std::vector<Key> _keys;
    bool _open;
};

#endif

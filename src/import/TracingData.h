// The tracing data that perf stores with a trace recording (a feature section
// in a file, a record followed by its bytes in a pipe): the kernel's format of
// each recorded trace-point, with its number, "group:name" and fields.
#ifndef ZELCONV_IMPORT_TRACINGDATA_H
#define ZELCONV_IMPORT_TRACINGDATA_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct TraceField {
    std::string name;  // "prev_pid"; an array keeps its brackets off ("prev_comm")
    uint32_t offset = 0;
    uint32_t size = 0;
};

struct TraceFormat {
    uint64_t id = 0;
    std::string name;  // "sched:sched_switch"
    std::vector<TraceField> fields;

    const TraceField* field(std::string_view fieldName) const;
};

class TracingData {
public:
    // Reads what it can; error() says where the data stopped making sense.
    explicit TracingData(std::string_view bytes);

    const std::string& error() const { return _error; }
    // The width of a long (4 or 8) in the perf that recorded, and in its
    // kernel, which can differ (a 32-bit perf on a 64-bit kernel); 0 when not known.
    unsigned longSize() const { return _longSize; }
    unsigned kernelLongSize() const { return _kernelLongSize; }
    const std::vector<TraceFormat>& formats() const { return _formats; }

    // Parses one event's format text ("name: ...\nID: ...\nformat:\n\tfield:...").
    static bool parseFormat(std::string_view text, const std::string& group, TraceFormat& out);

private:
    std::string _error;
    unsigned _longSize = 0, _kernelLongSize = 0;
    std::vector<TraceFormat> _formats;
};

#endif

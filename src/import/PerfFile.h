// Reads a perf.data recording as perf from 3.x to 6.x writes it, to a file
// ("PERFILE2" and a 104-byte header, with feature sections behind the data)
// or to a pipe (a 16-byte header, then attributes, tracing data and features
// as records among the others). Holds the whole recording; records, bodies
// and samples are views into it.
#ifndef ZELCONV_IMPORT_PERFFILE_H
#define ZELCONV_IMPORT_PERFFILE_H

#include <linux/perf_event.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct PerfAttr {
    perf_event_attr attr{};  // zero beyond what the recording holds
    std::vector<uint64_t> ids;
    std::string name;  // from the event descriptions, when the recording has them
};

struct PerfFileRecord {
    uint32_t type = 0;
    uint16_t misc = 0;
    uint16_t size = 0;  // of the whole record, header included
    size_t offset = 0;  // of the header in the recording
};

// The fields of a sample that its layout holds; the others stay 0 or empty.
struct PerfSample {
    const PerfAttr* attr = nullptr;
    uint64_t ip = 0, time = 0, period = 0;
    uint32_t pid = 0, tid = 0, cpu = 0;
    bool hasTime = false;
    std::string_view callchain;  // its entries, 8 bytes each
    std::string_view raw;        // the trace-point data, padding included

    size_t chainLength() const { return callchain.size() / 8; }
    uint64_t chainEntry(size_t i) const;
};

// A file that the recording maps, with the build id perf noted for it.
struct PerfBuildId {
    std::string fileName;
    std::string id;  // lower-case hexadecimal
};

// Records that perf itself writes into a recording, beside the kernel's.
enum PerfUserRecord : uint32_t {
    kHeaderAttr = 64,
    kHeaderEventType = 65,
    kHeaderTracingData = 66,
    kHeaderBuildId = 67,
    kFinishedRound = 68,
    kAuxtrace = 71,
    kHeaderFeature = 80,
    kCompressed = 81,
};

class PerfFile {
public:
    enum SampleResult { kSampleRead, kSampleNoAttr, kSampleUnknownLayout, kSampleShort };

    explicit PerfFile(std::string bytes);

    // Empty when the recording could be read; otherwise why not, in one line.
    const std::string& error() const { return _error; }
    // Where the data stopped making sense, when it did before its end; the
    // records before that point are read.
    const std::string& damage() const { return _damage; }
    bool pipeMode() const { return _pipe; }

    const std::vector<PerfAttr>& attrs() const { return _attrs; }
    const std::vector<PerfFileRecord>& records() const { return _records; }
    std::string_view body(const PerfFileRecord& record) const;

    // Header features, empty or 0 when the recording lacks them.
    const std::string& osRelease() const { return _osRelease; }
    const std::string& arch() const { return _arch; }
    uint32_t cpusOnline() const { return _cpusOnline; }
    std::string_view tracingData() const { return _tracingData; }
    const std::vector<PerfBuildId>& buildIds() const { return _buildIds; }
    // The old event-type table: event number and "group:name".
    const std::vector<std::pair<uint64_t, std::string>>& eventTypes() const { return _eventTypes; }

    // Decodes a SAMPLE record by the layout of its attribute.
    SampleResult sample(const PerfFileRecord& record, PerfSample& out) const;
    // The time in the sample-id trailer of any other record, if it has one.
    bool trailerTime(const PerfFileRecord& record, uint64_t& time) const;
    // The bytes of a record's body in front of its sample-id trailer.
    std::string_view bodyBeforeTrailer(const PerfFileRecord& record) const;

private:
    void readFile();
    void readPipe();
    // Splits [begin, end) into records; in a pipe, also takes in the attribute,
    // tracing-data, event-type and feature records.
    void readRecords(size_t begin, size_t end);
    void readFeature(uint64_t feature, std::string_view data);
    void addAttr(std::string_view attr, size_t attrBytes, std::string_view ids);
    void addBuildId(uint16_t misc, std::string_view body);
    const PerfAttr* attrById(uint64_t id) const;
    const PerfAttr* trailerAttr(std::string_view body, size_t& trailerSize) const;

    std::string _bytes;
    std::string _error, _damage;
    bool _pipe = false;
    std::vector<PerfAttr> _attrs;
    std::unordered_map<uint64_t, size_t> _attrOfId;
    std::vector<PerfFileRecord> _records;
    std::string _osRelease, _arch;
    uint32_t _cpusOnline = 0;
    std::string_view _tracingData;
    std::vector<std::pair<uint64_t, std::string>> _eventTypes;
    std::vector<PerfBuildId> _buildIds;
};

#endif

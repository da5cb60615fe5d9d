// Builds perf.data images record by record in the byte layouts that zelconv
// reads: the file header, an attribute section, the 72-byte event-type table
// and the data section. The importer writes its output with it; tests, fuzz
// seeds and benchmarks build their recordings with it.
#ifndef ZELCONV_IMPORT_PERFDATABUILDER_H
#define ZELCONV_IMPORT_PERFDATABUILDER_H

#include <cstdint>
#include <string>
#include <vector>

class PerfDataBuilder {
public:
    // Bytes of the attribute section (its contents are never read).
    PerfDataBuilder& attributes(size_t bytes);
    // One entry of the event-type table: event number and "group:event" name.
    PerfDataBuilder& eventType(uint64_t id, const std::string& name);

    PerfDataBuilder& comm(uint32_t pid, uint32_t tid, const std::string& name);
    PerfDataBuilder& mmap(uint32_t pid, uint32_t tid, uint64_t start, uint64_t length, uint64_t pgoff,
                          const std::string& fileName);
    // A plain sample: ip, ids, time, cpu, period and the call chain.
    PerfDataBuilder& sample(uint64_t ip, uint32_t pid, uint32_t tid, uint64_t time, uint32_t cpu, uint64_t period,
                            const std::vector<uint64_t>& callchain = {});
    // A trace-point sample. `raw` is the whole raw area (common header included);
    // `id` is the stream id whose low word must be above 16 to be taken for one.
    PerfDataBuilder& tracepoint(uint64_t ip, uint32_t pid, uint32_t tid, uint64_t time, uint32_t cpu,
                                const std::string& raw, uint64_t id = 0x100);
    // The raw area of a trace-point: the common header for the kernel version
    // (12 bytes below 3.10, 8 from 3.10) followed by the payload.
    static std::string rawArea(uint16_t commonType, const std::string& payload, bool kernel310 = false);

    // A record with any type and body; the size field is 8 + body length.
    PerfDataBuilder& record(uint32_t type, const std::string& body, uint16_t misc = 0);
    // A record header with the size field given as is, followed by `body`.
    PerfDataBuilder& header(uint32_t type, uint16_t size, const std::string& body = "");
    // Bytes that belong to no record.
    PerfDataBuilder& junk(const std::string& bytes);

    // Overrides of the file header fields, for damaged files.
    PerfDataBuilder& dataOffset(uint64_t offset);

    std::string bytes() const;
    void writeTo(const std::string& path) const;

    // Little-endian encoders for building bodies and payloads.
    static std::string u16(uint16_t v);
    static std::string u32(uint32_t v);
    static std::string u64(uint64_t v);
    // A NUL-terminated text padded with zeros to a multiple of 8 bytes.
    static std::string text8(const std::string& s);
    // A text in a fixed-size zero-filled field.
    static std::string fixed(const std::string& s, size_t width);

private:
    size_t _attributeBytes = 0;
    std::string _eventTypes;
    std::string _data;
    bool _dataOffsetSet = false;
    uint64_t _dataOffset = 0;
};

#endif

// Reads a perf.data file in perf's own layout, as perf record on this machine
// writes it: the attributes with their sample layouts and stream ids, and the
// records of the data section. Tests repack real recordings from it into the
// layouts the converter reads.
#ifndef ZELCONV_TESTS_PERFFILE_H
#define ZELCONV_TESTS_PERFFILE_H

#include <cstdint>
#include <string>
#include <vector>

struct PerfAttr {
    uint32_t type = 0;
    uint64_t config = 0;
    uint64_t sampleType = 0;
    std::vector<uint64_t> ids;
};

struct PerfFileRecord {
    uint32_t type = 0;
    uint16_t misc = 0;
    std::string body;  // the bytes after the 8-byte header
};

// The fields of a sample that its layout holds; the others stay 0 or empty.
struct PerfFileSample {
    const PerfAttr* attr = nullptr;
    uint64_t ip = 0;
    uint32_t pid = 0, tid = 0;
    uint64_t time = 0;
    uint32_t cpu = 0;
    uint64_t period = 0;
    std::vector<uint64_t> callchain;
    std::string raw;
};

class PerfFile {
public:
    // Sample layout bits, in the order their fields follow one another.
    enum : uint64_t {
        kIp = 1u << 0, kTid = 1u << 1, kTime = 1u << 2, kAddr = 1u << 3, kRead = 1u << 4,
        kCallchain = 1u << 5, kId = 1u << 6, kCpu = 1u << 7, kPeriod = 1u << 8, kStreamId = 1u << 9,
        kRaw = 1u << 10, kIdentifier = 1u << 16,
    };
    enum : uint32_t { kMmap = 1, kComm = 3, kSample = 9, kMmap2 = 10 };

    explicit PerfFile(const std::string& bytes);

    // Empty when the file was read; otherwise why not.
    const std::string& error() const { return _error; }
    const std::vector<PerfAttr>& attrs() const { return _attrs; }
    const std::vector<PerfFileRecord>& records() const { return _records; }

    // Decodes a sample record by the layout of its attribute (found through
    // its identifier when there are several); false if the layout holds
    // fields this reader does not know, or the body is too short.
    bool sample(const PerfFileRecord& record, PerfFileSample& out) const;

    // A NUL-terminated text in a record body.
    static std::string text(const std::string& body, size_t offset);
    template <typename T>
    static T field(const std::string& bytes, size_t offset);

private:
    std::string _error;
    std::vector<PerfAttr> _attrs;
    std::vector<PerfFileRecord> _records;
};

#endif

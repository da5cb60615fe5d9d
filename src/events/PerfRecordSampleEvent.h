// Base of all trace-point decoders, and home of the event registry: the
// name-to-factory tables that the decoders fill at start-up, the table by
// kernel event number that the file's event table fills, and the dispatch
// that builds one decoder for one trace-point sample.
#ifndef ZELCONV_PERFRECORDSAMPLEEVENT_H
#define ZELCONV_PERFRECORDSAMPLEEVENT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "PerfFactory.h"
#include "PerfRecordSample.h"

class PerfReader;
struct PerfRecordHeaderS;

// A trace-point sample as it lies in the record buffer. Decoders read it
// through EventPayload, which bounds every read by the buffer.
struct PerfRecordSampleEventS {
    char header[8];
    uint64_t ip;
    uint32_t pid;
    uint32_t tid;
    uint64_t time;
    uint64_t id;
    uint32_t cpu;
    uint32_t res;
    uint32_t rawSize;
    char raw[4];
};

static_assert(offsetof(PerfRecordSampleEventS, cpu) == 40 && offsetof(PerfRecordSampleEventS, raw) == 52,
              "trace-point sample layout");

// One entry of a name table: a trace-point name as it stands in perf.data, and its decoder's factory.
struct PerfNameToFunctionS {
    const char* name;
    PerfRecordCreateFn function;
};

// One entry of the file's event table.
struct PerfEventTypeS {
    uint64_t event_id;
    char name[64];
};

static_assert(sizeof(PerfEventTypeS) == 72, "event table entry is 72 bytes");

class PerfRecordSampleEvent : public PerfRecordSample {
public:
    // The number table has this many entries for every ordinary file.
    static constexpr uint32_t kFunctionTableSize = 4000;
    // Samples name their event with a 16-bit number: entries from here on are never read.
    static constexpr uint32_t kHeldEntries = 0x10000;

    explicit PerfRecordSampleEvent(PerfRecordSampleEventS* record);
    ~PerfRecordSampleEvent() override;

    // An event never appears in the profile document's sample list.
    int _out(PerfJSONWriter& writer) override;
    // Decoders that work in two steps override this; the rest work in their constructor.
    virtual int process(PerfRecordSampleEventS* record);

    static void initVectors();
    static void registerEvent(const char* name, PerfRecordCreateFn function);
    static void registerEvent64(const char* name, PerfRecordCreateFn function);
    static PerfRecordCreateFn findFunction(const char* name);
    // Reads the file's event table, which lies between the attributes and the data section.
    static void readEvents(PerfReader& reader, PerfRecordHeaderS* header);
    // Builds the decoder for one trace-point sample, or returns null.
    static PerfRecord* factoryCreate(char* record);

    static std::vector<PerfNameToFunctionS>* _nameAndFunction;
    static std::vector<PerfNameToFunctionS>* _nameAndFunction64;
    // Factories by event number: the first kHeldEntries entries of the table.
    static std::vector<PerfRecordCreateFn>* _functions;
    // The size and capacity of the whole table, which the rule for growing it
    // and its range check go by; beyond kHeldEntries they are only counted.
    static uint64_t _tableSize;
    static uint64_t _tableCapacity;

private:
    static PerfRecordCreateFn _find(const std::vector<PerfNameToFunctionS>& table, const char* name,
                                    const char* verboseFormat);
    static void _storeFunction(uint64_t eventId, PerfRecordCreateFn function);
};

#endif

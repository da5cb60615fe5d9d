// Reads the records of the data section one at a time, recovers from damaged
// framing by scanning forward, and hands each body to the creation function
// registered for its type.
#ifndef ZELCONV_PERFFACTORY_H
#define ZELCONV_PERFFACTORY_H

#include <cstdint>

class PerfReader;
class PerfRecord;

typedef PerfRecord* (*PerfRecordCreateFn)(char*);

struct PerfRecordFunction {
    int32_t type;
    PerfRecordCreateFn fn;
    char* name;
};

class PerfFactory {
public:
    static constexpr int kTypes = 16;
    // Longest record the walk accepts; a longer one is taken for damage and scanned over.
    static constexpr uint16_t kMaxRecordSize = 256;
    static constexpr uint16_t kMinRecordSize = 12;

    PerfFactory() = default;
    virtual ~PerfFactory() = default;

    // -1 for a type above 15 or one already taken; the first registration stays.
    static int addFunction(int type, const char* name, PerfRecordCreateFn fn);
    static void allocTmpBuffer(int size);
    static PerfRecord* readNext(PerfReader& reader);
    static void showStats();

    static PerfRecordFunction perfRecordFunctions[kTypes];
    static int32_t _lostBytes;
    // The one record buffer shared by all records; the body lies at offset 8.
    static char* _tmp;
    static int32_t _tmpLen;

private:
    static bool findHeader(PerfReader& reader, uint32_t& type, uint32_t& size);
    static PerfRecord* dispatch(uint32_t type, uint32_t size);
};

// Registers a record type during static initialisation.
class PerfAddFactory {
public:
    PerfAddFactory(int type, const char* name, PerfRecordCreateFn fn);
};

#endif

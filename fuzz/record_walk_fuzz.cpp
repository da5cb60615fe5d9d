// The record walk over a memory image of perf.data, as a run of the program
// goes: the file header, the event-type table, the data section record by
// record (COMM, MMAP, plain and trace-point samples, and whatever damage the
// scan has to get past), then the document of the mode.
//
// Input: one byte of options, then the image.
//   bit 0  timechart mode (else profile mode, with the kernel symbol list of
//          the sandbox, the key pass over the samples and the five sections)
//   bit 1  kernel version 3.10 (else 3.4): where the trace-point payload starts
//   bit 2  ARM64=y: the 64-bit layouts of the scheduler decoders
//   bit 3  -I: the first back-trace entry is skipped
//   bit 4  verbosity 1 (-v 1), or 2 with bit 5 as well: the diagnostics on
//          standard output, which run-fuzz.sh closes
//
// Inputs skipped on purpose:
// - an empty image: the program ends at once with "Invalid In File";
// - an event table that ends the run with the out-of-range error of the
//   number table (an event number of exactly 4000, or one between the
//   table's size and its capacity after growth, or one whose low word plus
//   one wraps to 0). The program is meant to die there with that uncaught
//   error; tableEndsTheRun() finds these inputs before the run by reading
//   the table as the program does and following the table's size and
//   capacity. Should the two ever disagree, the error escapes and libFuzzer
//   reports it.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Driver.h"
#include "FileNames.h"
#include "FuzzSupport.h"
#include "PerfJSONWriter.h"
#include "PerfMemoryReader.h"
#include "PerfRecordComm.h"
#include "PerfRecordHeaderS.h"
#include "PerfRecordMMap.h"
#include "PerfRecordSample.h"
#include "PerfRecordSampleEvent.h"
#include "Settings.h"
#include "SymbolTable.h"
#include "TimeBase.h"
#include "TimechartManager.h"

namespace {

uint64_t wordAt(const std::string& bytes, size_t offset)
{
    uint64_t value = 0;
    if (offset < bytes.size())
        memcpy(&value, bytes.data() + offset, bytes.size() - offset < 8 ? bytes.size() - offset : 8);
    return value;
}

// Whether reading the event table of `image` ends the run with the range
// error. Reads the 72-byte entries from where the reader stands after the
// seek, up to the computed count or the end of the image, and applies the
// rule of the number table: a number not below the capacity resizes the
// table to 4000, or to its low word plus one; growing past the capacity sets
// it to the larger of twice the old size and the new size; a low word not
// below the size then fails the range check.
// The number of entries the header gives the event table.
uint32_t declaredEntries(const std::string& image)
{
    const uint32_t start = (uint32_t)wordAt(image, 24) + (uint32_t)wordAt(image, 32);
    return ((uint32_t)wordAt(image, 40) - start) / 72;
}

bool tableEndsTheRun(const std::string& image)
{
    const uint32_t start = (uint32_t)wordAt(image, 24) + (uint32_t)wordAt(image, 32);
    const uint32_t count = declaredEntries(image);
    // A seek to a negative offset fails, and reading goes on behind the header.
    size_t position = (int32_t)start < 0 ? (image.size() < 56 ? image.size() : 56) : start;
    uint64_t size = 0;
    uint64_t capacity = 0;
    uint64_t id = 0;
    for (uint32_t i = 0; i < count; i++) {
        const size_t got = position < image.size() ? image.size() - position : 0;
        // A short read replaces only the first bytes of the entry.
        if (got >= 8) {
            id = wordAt(image, position);
        } else if (got > 0) {
            uint64_t part = 0;
            memcpy(&part, image.data() + position, got);
            id = (id & ~((1ull << (8 * got)) - 1)) | part;
        }
        position += got < 72 ? got : 72;
        if (id >= capacity) {
            const uint32_t newSize = id <= 4000 ? 4000 : (uint32_t)id + 1;
            if (newSize > capacity)
                capacity = newSize > 2 * size ? newSize : 2 * size;
            size = newSize;
        }
        if ((uint32_t)id >= size)
            return true;
        // Past the end every entry repeats the last one.
        if (got == 0)
            break;
    }
    return false;
}

void convert(uint8_t options, const std::string& image)
{
    gTimechartMode = (options & 1) != 0;
    kern_ver = (options & 2) != 0 ? 310 : 304;
    is64 = (options & 4) != 0;
    gRmFirstInterrupt = (options & 8) != 0;
    gVerbosity = (options & 16) != 0 ? 1 + ((options >> 5) & 1) : 0;

    // The locals of a run: the first map takes key 1, the default table is the first table.
    PerfMemoryReader reader(image);
    PerfRecordMMap firstMap;
    SymbolTable defaultTable;
    FileNames::createEmptyRef();
    PerfJSONWriter writer(addJSONWhiteSpace, addJSONLabels);
    loadSymbolTables();
    reader.open("perf.data");
    // The document is built in memory and goes nowhere.
    writer.open("/dev/null");
    // An empty image, which would end the run, was skipped before.
    readRecording(reader);
    writeDocument(writer);
    writer.close();
    reader.close();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    (void)fuzzSandbox();
    resetConverter();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return -1;
    const std::string image(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (tableEndsTheRun(image))
        return -1;
    // With a verbosity the converter prints a block for every declared entry,
    // also past the end of the input: millions of them take hours and show
    // nothing new, so such a table is walked quietly.
    const uint8_t verboseBit = 16;
    convert(declaredEntries(image) > 4096 ? (uint8_t)(data[0] & ~verboseBit) : data[0], image);
    resetConverter();
    return 0;
}

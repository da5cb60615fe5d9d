// Runs a recording from PerfDataBuilder through the stages of a conversion
// that feed the charts, in this process: file header, event table, record
// walk. The charts are then looked at through the manager.
#ifndef ZELCONV_TESTS_EVENTWALK_H
#define ZELCONV_TESTS_EVENTWALK_H

#include <cstring>

#include "../timechart/TimechartFixture.h"
#include "Driver.h"
#include "PerfDataBuilder.h"
#include "PerfMemoryReader.h"
#include "PerfRecordHeaderS.h"
#include "PerfRecordSampleEvent.h"

class EventWalk : public TimechartFixture {
protected:
    // Reads the file header and the event table; the reader stays after the table.
    static PerfRecordHeaderS readTable(PerfMemoryReader& reader)
    {
        reader.open("memory");
        PerfRecordHeaderS header;
        memset(&header, 0, sizeof header);
        reader.read((char*)&header, (int)sizeof header);
        PerfRecordSampleEvent::readEvents(reader, &header);
        return header;
    }

    static void walk(const PerfDataBuilder& builder)
    {
        PerfMemoryReader reader(builder.bytes());
        reader.seek((int)(uint32_t)readTable(reader).dataOffset);
        walkRecords(reader);
    }

    // A trace-point sample of task `pid` at `tenths` of a second.
    static PerfDataBuilder& at(PerfDataBuilder& b, int tenths, uint32_t cpu, const std::string& raw, uint32_t pid = 1)
    {
        return b.tracepoint(0, pid, pid, (uint64_t)tenths * 100000000ull, cpu, raw);
    }
};

#endif

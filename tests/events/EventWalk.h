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
    static void walk(const PerfDataBuilder& builder)
    {
        PerfMemoryReader reader(builder.bytes());
        reader.open("memory");
        PerfRecordHeaderS header;
        memset(&header, 0, sizeof header);
        reader.read((char*)&header, (int)sizeof header);
        PerfRecordSampleEvent::readEvents(reader, &header);
        reader.seek((int)(uint32_t)header.dataOffset);
        walkRecords(reader);
    }
};

#endif

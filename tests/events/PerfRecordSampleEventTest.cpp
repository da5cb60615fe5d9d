#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "../timechart/TimechartFixture.h"
#include "PRSE_sched_switch.h"
#include "PRSE_sched_switch_64.h"
#include "PRSE_sched_wakeup.h"
#include "PRSE_task_newtask.h"
#include "PRSE_task_newtask_64.h"
#include "PerfDataBuilder.h"
#include "PerfFactory.h"
#include "PerfMemoryReader.h"
#include "PerfRecordHeaderS.h"
#include "PerfRecordSample.h"
#include "PerfRecordSampleEvent.h"
#include "TracePayloads.h"

using B = PerfDataBuilder;

namespace {

class EventRegistry : public TimechartFixture {
protected:
    void SetUp() override
    {
        TimechartFixture::SetUp();
        // Each test sizes the number table from scratch.
        delete PerfRecordSampleEvent::_functions;
        PerfRecordSampleEvent::_functions = nullptr;
        PerfRecordSampleEvent::initVectors();
    }

    static std::vector<PerfRecordCreateFn>& functions() { return *PerfRecordSampleEvent::_functions; }

    // Reads the file header and the event table of a recording.
    static void readTable(const B& builder)
    {
        PerfMemoryReader reader(builder.bytes());
        reader.open("memory");
        PerfRecordHeaderS header;
        memset(&header, 0, sizeof header);
        reader.read((char*)&header, (int)sizeof header);
        PerfRecordSampleEvent::readEvents(reader, &header);
    }

    // A wake-up sample of pid 50 on CPU 0 with the event number and time given,
    // placed in the shared record buffer as the walk leaves it.
    static char* wakeupRecord(uint16_t type, uint64_t time)
    {
        std::string image = B().tracepoint(0, 1, 1, time, 0, B::rawArea(type, payload::schedWakeup(50), true)).bytes();
        const std::string record = image.substr(104);
        PerfFactory::allocTmpBuffer((int)record.size());
        memcpy(PerfFactory::_tmp, record.data(), record.size());
        return PerfFactory::_tmp;
    }
};

TEST_F(EventRegistry, SixtyFourBitLayoutsArePreferredOnlyWhenAsked)
{
    is64 = false;
    EXPECT_EQ(PerfRecordSampleEvent::findFunction("sched:sched_switch"), &PRSE_sched_switch::factory);
    EXPECT_EQ(PerfRecordSampleEvent::findFunction("task:task_newtask"), &PRSE_task_newtask::factory);
    is64 = true;
    EXPECT_EQ(PerfRecordSampleEvent::findFunction("sched:sched_switch"), &PRSE_sched_switch_64::factory);
    EXPECT_EQ(PerfRecordSampleEvent::findFunction("task:task_newtask"), &PRSE_task_newtask_64::factory);
    // Names without a 64-bit layout still bind to the general table.
    EXPECT_EQ(PerfRecordSampleEvent::findFunction("sched:sched_wakeup"), &PRSE_sched_wakeup::factory);
}

// 4000 entries for ordinary numbers; a later entry for a number wins.
TEST_F(EventRegistry, TableOfFourThousandEntries)
{
    readTable(B().eventType(0, "sched:sched_wakeup")
                  .eventType(7, "no:such_event")
                  .eventType(3999, "task:task_rename")
                  .eventType(9, "sched:sched_wakeup")
                  .eventType(9, "sched:sched_switch"));
    EXPECT_EQ(functions().size(), 4000u);
    EXPECT_EQ(functions()[0], &PRSE_sched_wakeup::factory);
    EXPECT_EQ(functions()[7], nullptr);
    EXPECT_NE(functions()[3999], nullptr);
    EXPECT_EQ(functions()[9], &PRSE_sched_switch::factory);
    readTable(B().eventType(9, "unknown:event"));
    EXPECT_EQ(functions()[9], nullptr);
}

// Entries survive as the table grows to a larger number plus one, past its
// capacity, to a huge table of which only the 65536 entries a sample can name
// are held, and as a number of 2^32 or more shrinks it to its low word plus
// one. (The range errors end whole runs in HostileFilesTest.)
TEST_F(EventRegistry, EntriesSurviveGrowingAndShrinking)
{
    readTable(B().eventType(5, "sched:sched_wakeup").eventType(5000, "sched:sched_wakeup"));
    EXPECT_EQ(functions()[5000], &PRSE_sched_wakeup::factory);
    readTable(B().eventType(functions().capacity() + 1, "sched:sched_switch"));
    EXPECT_EQ(functions()[5], &PRSE_sched_wakeup::factory);
    EXPECT_EQ(functions().back(), &PRSE_sched_switch::factory);
    readTable(B().eventType(0xFFFFFFFEull, "sched:sched_switch").eventType(70000, "sched:sched_switch"));
    EXPECT_EQ(functions().size(), 0x10000u);
    EXPECT_EQ(functions()[5], &PRSE_sched_wakeup::factory);
    readTable(B().eventType(0x100000007ull, "sched:sched_switch"));
    EXPECT_EQ(functions().size(), 8u);
    EXPECT_EQ(functions()[5], &PRSE_sched_wakeup::factory);
    EXPECT_EQ(functions()[7], &PRSE_sched_switch::factory);
}

// The table ends at the data section rounded down (72 * 2 + 40 bytes here:
// two entries); with the data section ahead of it, at the end of the input.
TEST_F(EventRegistry, TableEndsAtTheDataSectionOrTheInput)
{
    readTable(B().attributes(16)
                  .eventType(1, "sched:sched_wakeup")
                  .eventType(2, "sched:sched_wakeup")
                  .eventType(3, "sched:sched_wakeup")
                  .dataOffset(104 + 16 + 144 + 40));
    EXPECT_NE(functions()[2], nullptr);
    EXPECT_EQ(functions()[3], nullptr);
    readTable(B().eventType(4, "sched:sched_wakeup").dataOffset(8));
    EXPECT_EQ(functions()[4], &PRSE_sched_wakeup::factory);
}

// A table that runs past the end of the input: the entry read last is
// stored, and each of the 24 places prints what its read and look-up print.
TEST_F(EventRegistry, EntriesPastTheEndOfTheInputRepeatTheirDiagnostics)
{
    gVerbosity = 2;
    testing::internal::CaptureStdout();
    readTable(B().eventType(7, "sched:sched_wakeup").dataOffset(104 + 24 * 72));
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(functions()[7], &PRSE_sched_wakeup::factory);
    const std::string head = "PerfReader:size:56\nSeek to 68 (0+68) c:24\n";
    const std::string first = "PerfReader:size:72\nreadEvent: i:0007 n:sched:sched_wakeup\n";
    const std::string match = "findFunction cmp sched:sched_wakeup:sched:sched_wakeup\n";
    const size_t end = out.find(match);
    ASSERT_EQ(out.compare(0, head.size() + first.size(), head + first), 0) << out;
    ASSERT_NE(end, std::string::npos) << out;
    const std::string block = out.substr(head.size(), end + match.size() - head.size());
    std::string expected = head;
    for (int i = 0; i < 24; i++)
        expected += block;
    EXPECT_EQ(out, expected);
}

// No table, a number outside it or one without a decoder: nothing decoded.
TEST_F(EventRegistry, EventsWithoutDecoderGiveNothing)
{
    readTable(B());
    EXPECT_TRUE(functions().empty());
    EXPECT_EQ(PerfRecordSampleEvent::factoryCreate(wakeupRecord(0, 5)), nullptr);
    readTable(B().eventType(12, "sched:sched_wakeup").eventType(13, "other:event"));
    EXPECT_EQ(PerfRecordSampleEvent::factoryCreate(wakeupRecord(4000, 5)), nullptr);
    gVerbosity = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(PerfRecordSampleEvent::factoryCreate(wakeupRecord(13, 5)), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Found event type:13 func:0\n");
}

TEST_F(EventRegistry, TimeRangeIncludesBothLimits)
{
    readTable(B().eventType(12, "sched:sched_wakeup"));
    gFirstTimestampToProcess = 1000;
    gLastTimestampToProcess = 2000;
    const size_t before = PerfRecordSample::_allSamples.size();
    EXPECT_EQ(PerfRecordSampleEvent::factoryCreate(wakeupRecord(12, 999)), nullptr);
    EXPECT_EQ(PerfRecordSampleEvent::factoryCreate(wakeupRecord(12, 2001)), nullptr);
    EXPECT_EQ(PerfRecordSample::_allSamples.size(), before);  // no number used, nothing kept
    EXPECT_NE(PerfRecordSampleEvent::factoryCreate(wakeupRecord(12, 1000)), nullptr);
    EXPECT_NE(PerfRecordSampleEvent::factoryCreate(wakeupRecord(12, 2000)), nullptr);
    EXPECT_EQ(PerfRecordSample::_allSamples.size(), before + 2);
}

}  // namespace

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "../timechart/TimechartFixture.h"
#include "EventPayload.h"
#include "PerfDataBuilder.h"
#include "PerfFactory.h"

using B = PerfDataBuilder;

namespace {

// The fixture keeps kern_ver; each test starts with a zeroed shared record buffer.
class EventPayloadTest : public TimechartFixture {
protected:
    void SetUp() override
    {
        TimechartFixture::SetUp();
        PerfFactory::allocTmpBuffer(1024);
        memset(PerfFactory::_tmp, 0, (size_t)PerfFactory::_tmpLen);
    }

    // Places bytes at `offset` of the shared record buffer and returns where they start.
    static char* place(size_t offset, const std::string& bytes)
    {
        return (char*)memcpy(PerfFactory::_tmp + offset, bytes.data(), bytes.size());
    }
};

TEST_F(EventPayloadTest, PayloadStartFollowsTheKernelVersion)
{
    // Record fields, then raw data: common header (8 bytes, or 12 before 3.10) and payload.
    std::string record = std::string(8, 'h') + B::u64(0x1234) + B::u32(10) + B::u32(11) + B::u64(5000000000ull) +
                         B::u64(0x100) + B::u32(3) + B::u32(0) + B::u32(24) + B::u16(77) + "ff" + B::u32(99) +
                         B::u32(0xAAAAAAAA) + B::u32(0xBBBBBBBB);
    char* at = place(0, record);
    kern_ver = 309;
    EventPayload old(at);
    EXPECT_EQ(old.u32(0), 0xBBBBBBBBu);
    kern_ver = 310;
    EventPayload current(at);
    EXPECT_EQ(current.u32(0), 0xAAAAAAAAu);
    EXPECT_EQ(EventPayload(at, EventPayload::kStart64).u32(4), 0xBBBBBBBBu);
    EXPECT_EQ(current.ip(), 0x1234u);
    EXPECT_EQ(current.pid(), 10u);
    EXPECT_EQ(current.tid(), 11u);
    EXPECT_EQ(current.time(), 5000000000ull);
    EXPECT_EQ(current.cpu(), 3u);
    EXPECT_EQ(current.commonType(), 77);
    EXPECT_EQ(current.commonPid(), 99);
}

TEST_F(EventPayloadTest, ReadsStopAtTheEndOfTheSharedBuffer)
{
    kern_ver = 310;
    // A record placed so that its payload reaches the buffer's last bytes.
    const size_t payloadAt = EventPayload::kRawOffset + EventPayload::kStartFrom310;
    const size_t recordAt = (size_t)PerfFactory::_tmpLen - payloadAt - 6;
    char* at = place(recordAt, std::string(payloadAt, '\0') + B::u32(0x11223344) + "ab");
    EventPayload payload(at);
    EXPECT_EQ(payload.u32(0), 0x11223344u);
    EXPECT_EQ(payload.u32(4), 0x6261u);  // straddles the end: the missing bytes read as zero
    EXPECT_EQ(payload.u32(8), 0u);
    EXPECT_EQ(payload.u32(1u << 20), 0u);
    EXPECT_EQ(payload.text(4), "ab");  // no NUL before the end
    EXPECT_EQ(payload.text(6), "");
}

TEST_F(EventPayloadTest, RecordOutsideTheSharedBufferReadsAsZero)
{
    std::string record(128, '\x5a');
    EventPayload payload(record.data());
    EXPECT_EQ(payload.time(), 0u);
    EXPECT_EQ(payload.u32(0), 0u);
    EXPECT_EQ(payload.text(0), "");
}

TEST_F(EventPayloadTest, LocationWordCountsFromTheRawDataUnderEveryVersion)
{
    // Location word: offset 20 from the raw data's start, length (not read) 5.
    std::string raw =
        B::u32(0) + B::u32(0) + B::u32(0) + B::u32(20u | (5u << 16)) + B::u32(0) + "kgsl-3d0" + std::string(1, '\0');
    char* at = place(0, std::string(EventPayload::kRawOffset, '\0') + raw);
    kern_ver = 309;  // payload at 12: the word is the payload's first field
    EXPECT_EQ(EventPayload(at).locationText(0), "kgsl-3d0");
    kern_ver = 310;  // payload at 8: the same word is the second field
    EXPECT_EQ(EventPayload(at).locationText(4), "kgsl-3d0");
    // A word pointing beyond the buffer gives no text.
    place(EventPayload::kRawOffset + 12, B::u32(0xFFFF));
    EXPECT_EQ(EventPayload(at).locationText(4), "");
}

}  // namespace

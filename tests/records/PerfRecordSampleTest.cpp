#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PerfDataBuilder.h"
#include "PerfRecordSample.h"
#include "Settings.h"

using B = PerfDataBuilder;

namespace {

// A record buffer as the walk leaves it: the body at offset 8 of a 1024-byte
// buffer, with `nr` and the call chain written independently, and optional
// bytes behind the chain.
std::string sampleBuffer(uint32_t cpu, uint64_t nr, const std::vector<uint64_t>& chain, uint64_t time = 1000,
                         uint64_t behind = 0)
{
    std::string buffer = std::string(8, '\0') + B::u64(0x8000) + B::u32(9901) + B::u32(9901) + B::u64(time) +
                         B::u32(cpu) + B::u32(0) + B::u64(1) + B::u64(nr);
    for (uint64_t address : chain)
        buffer += B::u64(address);
    buffer += B::u64(behind);
    buffer.resize(1024, '\0');
    return buffer;
}

PerfRecordSample* make(std::string buffer)
{
    return static_cast<PerfRecordSample*>(PerfRecordSample::createInstance(buffer.data()));
}

std::vector<uint64_t> traceOf(const PerfRecordSample* sample)
{
    std::vector<uint64_t> result;
    for (unsigned int i = 0; i < sample->_depth; i++)
        result.push_back(sample->traceAddress(i));
    return result;
}

std::vector<uint64_t> chainOf(size_t n)
{
    std::vector<uint64_t> chain;
    for (size_t i = 0; i < n; i++)
        chain.push_back(0x1000 * (i + 1));
    return chain;
}

class SampleRecords : public testing::Test {
protected:
    void TearDown() override { gRmFirstInterrupt = false; }
};

}  // namespace

TEST_F(SampleRecords, DepthRules)
{
    EXPECT_EQ(make(sampleBuffer(0, 0, {}))->_depth, 0u);
    EXPECT_EQ(make(sampleBuffer(0, 1, {0x1000}))->_depth, 0u);  // one entry counts as none
    EXPECT_EQ(traceOf(make(sampleBuffer(0, 2, chainOf(2)))), chainOf(2));
    EXPECT_EQ(traceOf(make(sampleBuffer(0, 15, chainOf(15)))), chainOf(15));
    EXPECT_EQ(traceOf(make(sampleBuffer(0, 40, chainOf(40)))), chainOf(15));
}

TEST_F(SampleRecords, OnlyTheLastEntryIsTakenForAStrayMarker)
{
    EXPECT_EQ(traceOf(make(sampleBuffer(0, 3, {0x5, 0x2000, 0x100}))), (std::vector<uint64_t>{0x5, 0x2000}));
    EXPECT_EQ(traceOf(make(sampleBuffer(0, 3, {0x5, 0x2000, 0x101}))), (std::vector<uint64_t>{0x5, 0x2000, 0x101}));
}

TEST_F(SampleRecords, DroppingTheFirstInterruptReadsOnePastTheChain)
{
    gRmFirstInterrupt = true;
    EXPECT_EQ(traceOf(make(sampleBuffer(0, 3, {0xFFFF0010, 0x2000, 0x3000}, 1000, 0x4000))),
              (std::vector<uint64_t>{0x2000, 0x3000, 0x4000}));
    PerfRecordSample* single = make(sampleBuffer(0, 1, {0xFFFF0010}));
    EXPECT_EQ(single->_depth, 0u);
    EXPECT_EQ(single->traceAddress(0), 0u);
}

TEST_F(SampleRecords, WordAtOffset32SeparatesPlainFromTracePointSamples)
{
    size_t before = PerfRecordSample::_allSamples.size();
    PerfRecordSample* onCore16 = make(sampleBuffer(16, 0, {}));
    ASSERT_NE(onCore16, nullptr);
    EXPECT_EQ(onCore16->_cpu, 16u);
    EXPECT_EQ(PerfRecordSample::_allSamples.size(), before + 1);
    uint64_t index = PerfRecordSample::_runningIndex;
    EXPECT_EQ(make(sampleBuffer(17, 0, {})), nullptr);
    EXPECT_EQ(PerfRecordSample::_runningIndex, index);
    EXPECT_EQ(onCore16->getKey(), (uint32_t)index);
}

TEST_F(SampleRecords, FirstSampleTimeIsTakenFromTheFirstNonZeroTime)
{
    PerfRecordSample::_firstSampleTime = 0.0;
    make(sampleBuffer(0, 0, {}, 0));
    EXPECT_EQ(PerfRecordSample::_firstSampleTime, 0.0);
    make(sampleBuffer(0, 0, {}, 2500000000ULL));
    make(sampleBuffer(0, 0, {}, 1000000000ULL));
    EXPECT_EQ(PerfRecordSample::_firstSampleTime, 2.5);
    EXPECT_EQ(PerfRecordSample::_lastSampleTime, 1000000000ULL);
}

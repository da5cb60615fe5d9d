#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Driver.h"
#include "PerfDataBuilder.h"
#include "PerfFactory.h"
#include "PerfMemoryReader.h"
#include "PerfRecord.h"
#include "PerfRecordHeaderS.h"
#include "Settings.h"

using B = PerfDataBuilder;

namespace {

// Type 14 is not used by the converter; the tests register it to see what the walk dispatches.
constexpr uint32_t kProbeType = 14;

struct Dispatched {
    uint32_t firstBodyWord;
    PerfRecord* record;
};
std::vector<Dispatched> dispatched;
std::vector<std::unique_ptr<PerfRecord>> kept;

PerfRecord* probe(char* buffer)
{
    uint32_t word;
    memcpy(&word, buffer + 8, 4);
    kept.emplace_back(new PerfRecord());
    dispatched.push_back({word, kept.back().get()});
    return kept.back().get();
}

const int probeRegistered = PerfFactory::addFunction(kProbeType, "probe", probe);

PerfRecord* other(char*)
{
    return nullptr;
}

// A probe record whose first body word tells it apart.
B& probeRecord(B& b, uint32_t tag, size_t bodySize = 8)
{
    std::string body = B::u32(tag);
    body.resize(bodySize, '\0');
    return b.record(kProbeType, body);
}

class RecordWalk : public testing::Test {
protected:
    void SetUp() override
    {
        dispatched.clear();
        PerfFactory::_lostBytes = 0;
        savedVerbosity = gVerbosity;
    }
    void TearDown() override { gVerbosity = savedVerbosity; }

    // The walk as the converter runs it: header, seek to the data, records to the end.
    void walk(const B& builder)
    {
        PerfMemoryReader reader(builder.bytes());
        ASSERT_EQ(reader.open("memory"), 0);
        PerfRecordHeaderS header{};
        ASSERT_GT(reader.read((char*)&header, sizeof header), 0);
        reader.seek((int)(uint32_t)header.dataOffset);
        walkRecords(reader);
    }

    std::vector<uint32_t> tags() const
    {
        std::vector<uint32_t> result;
        for (const auto& d : dispatched)
            result.push_back(d.firstBodyWord);
        return result;
    }

    uint32_t savedVerbosity = 0;
};

}  // namespace

TEST_F(RecordWalk, CleanFileDispatchesEveryRecordAndLosesNothing)
{
    ASSERT_EQ(probeRegistered, 0);
    B b;
    probeRecord(b, 1);
    probeRecord(b, 2, 4);    // size 12: the smallest accepted
    probeRecord(b, 3, 248);  // size 256: the largest accepted
    walk(b);
    EXPECT_EQ(tags(), (std::vector<uint32_t>{1, 2, 3}));
    EXPECT_EQ(PerfFactory::_lostBytes, 0);
    EXPECT_EQ(dispatched[1].record->_size, 12);
    EXPECT_EQ(dispatched[2].record->_size, 256);
    EXPECT_EQ(dispatched[2].record->_type, kProbeType);
}

TEST_F(RecordWalk, ScanFindsTheNextHeaderBehindJunkAndCountsItsWords)
{
    B b;
    probeRecord(b, 1);
    b.junk(std::string(12, '\0'));
    probeRecord(b, 2);
    walk(b);
    // The rejected 8 bytes are not counted; the 4 junk bytes behind them and
    // the 8 bytes of the header that the scan accepts are.
    EXPECT_EQ(tags(), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(PerfFactory::_lostBytes, 12);
}

TEST_F(RecordWalk, SecondWordOfARejectedHeaderIsNotReconsidered)
{
    B b;
    probeRecord(b, 1);
    b.junk(std::string(4, '\0'));  // the next header read takes junk and the type word of record 2
    probeRecord(b, 2);
    probeRecord(b, 3);
    walk(b);
    // Record 2 is lost: the scan starts behind its type word. Its size word
    // (16 << 16) is no type, its body word 2 is, but the zero behind it gives size 0;
    // record 3's type word 14 follows with its size word.
    EXPECT_EQ(tags(), (std::vector<uint32_t>{1, 3}));
    EXPECT_EQ(PerfFactory::_lostBytes, 20);
}

struct BadHeader {
    const char* name;
    uint32_t type;
    uint16_t size;
};

void PrintTo(const BadHeader& h, std::ostream* os)
{
    *os << h.name;
}

class RecordWalkBadHeader : public RecordWalk, public testing::WithParamInterface<BadHeader> {};

TEST_P(RecordWalkBadHeader, StartsAScanThatFindsTheNextRecord)
{
    B b;
    b.header(GetParam().type, GetParam().size, std::string(8, '\0'));
    probeRecord(b, 7);
    walk(b);
    EXPECT_EQ(tags(), (std::vector<uint32_t>{7}));
    EXPECT_EQ(PerfFactory::_lostBytes, 16);
}

INSTANTIATE_TEST_SUITE_P(Framing, RecordWalkBadHeader,
                         testing::Values(BadHeader{"SizeEleven", kProbeType, 11},
                                         BadHeader{"Size257", kProbeType, 257}, BadHeader{"TypeZero", 0, 16},
                                         BadHeader{"Type17", 17, 16}),
                         [](const testing::TestParamInfo<BadHeader>& info) { return std::string(info.param.name); });

TEST_F(RecordWalk, LongRecordIsAbsorbedByTheScan)
{
    B b;
    probeRecord(b, 1);
    b.record(kProbeType, std::string(300, '\0'));  // 308 bytes: taken for damage
    probeRecord(b, 2);
    walk(b);
    EXPECT_EQ(tags(), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(PerfFactory::_lostBytes, 300 + 8);
}

TEST_F(RecordWalk, Type16AndUnregisteredTypesAreConsumedAndDropped)
{
    gVerbosity = 1;
    B b;
    b.record(16, std::string(8, 'x'));
    b.record(2, std::string(12, 'y'));
    b.record(15, std::string(4, 'z'));
    probeRecord(b, 5);
    walk(b);
    EXPECT_EQ(tags(), (std::vector<uint32_t>{5}));
    EXPECT_EQ(PerfFactory::_lostBytes, 0);
}

TEST_F(RecordWalk, TruncatedBodyIsStillDispatchedAndAPartialHeaderEndsTheWalk)
{
    B b;
    probeRecord(b, 1);
    std::string image = b.bytes();
    image += B::u32(kProbeType) + B::u16(0) + B::u16(24) + B::u32(9);  // body cut after 4 of 16 bytes
    PerfMemoryReader reader(image);
    reader.open("memory");
    PerfRecordHeaderS header{};
    reader.read((char*)&header, sizeof header);
    reader.seek((int)header.dataOffset);
    walkRecords(reader);
    EXPECT_EQ(tags(), (std::vector<uint32_t>{1, 9}));

    dispatched.clear();
    B partial;
    probeRecord(partial, 1);
    partial.junk(B::u32(kProbeType) + B::u16(0));  // 6 bytes of a header: size reads as 0
    walk(partial);
    EXPECT_EQ(tags(), (std::vector<uint32_t>{1}));
}

TEST(PerfFactory, RegistrationKeepsTheFirstAndRefusesTypesPast15)
{
    ASSERT_NE(PerfFactory::perfRecordFunctions[kProbeType].fn, nullptr);
    EXPECT_EQ(PerfFactory::addFunction(kProbeType, "again", other), -1);
    EXPECT_EQ(PerfFactory::perfRecordFunctions[kProbeType].fn, &probe);
    EXPECT_STREQ(PerfFactory::perfRecordFunctions[kProbeType].name, "probe");
    EXPECT_EQ(PerfFactory::addFunction(16, "overflow", other), -1);
    EXPECT_EQ(PerfFactory::addFunction(13, nullptr, other), 0);
    EXPECT_STREQ(PerfFactory::perfRecordFunctions[13].name, "notgiven");
}

TEST(PerfFactory, BufferGrowsFromTheRejectedHeaderAndNeverShrinks)
{
    PerfFactory::allocTmpBuffer(10);
    EXPECT_GE(PerfFactory::_tmpLen, 1024);
    B b;
    b.header(0, 0xffff, "");
    PerfMemoryReader reader(b.bytes());
    reader.open("memory");
    reader.seek(104);
    (void)PerfFactory::readNext(reader);
    EXPECT_EQ(PerfFactory::_tmpLen, 0xffff + 8);
    PerfFactory::allocTmpBuffer(2000);
    EXPECT_EQ(PerfFactory::_tmpLen, 0xffff + 8);
}

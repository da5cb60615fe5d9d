#include <gtest/gtest.h>

#include <functional>
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

PerfRecord* other(char*) { return nullptr; }

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

// Damage starts a scan for the next header, and the bytes the scan passes
// over are lost: not the rejected header's 8, but what lies behind them and
// the 8 bytes of the header that the scan accepts.
TEST_F(RecordWalk, ScanFindsTheNextHeaderBehindDamageAndCountsItsWords)
{
    const struct {
        const char* what;
        std::function<void(B&)> write;
        std::vector<uint32_t> tags;
        int lost;
    } cases[] = {
        {"junk", [](B& b) { probeRecord(probeRecord(b, 1).junk(std::string(12, '\0')), 2); }, {1, 2}, 12},
        // The next header read takes the junk and the type word of record 2,
        // which is lost: its size word (16 << 16) is no type, its body word 2
        // is, but the zero behind it gives size 0; record 3's header follows.
        {"second word",
         [](B& b) { probeRecord(probeRecord(probeRecord(b, 1).junk(std::string(4, '\0')), 2), 3); },
         {1, 3},
         20},
        {"size 11", [](B& b) { probeRecord(b.header(kProbeType, 11, std::string(8, '\0')), 7); }, {7}, 16},
        {"size 257", [](B& b) { probeRecord(b.header(kProbeType, 257, std::string(8, '\0')), 7); }, {7}, 16},
        {"type 0", [](B& b) { probeRecord(b.header(0, 16, std::string(8, '\0')), 7); }, {7}, 16},
        {"type 17", [](B& b) { probeRecord(b.header(17, 16, std::string(8, '\0')), 7); }, {7}, 16},
        // 308 bytes are taken for damage.
        {"long",
         [](B& b) { probeRecord(probeRecord(b, 1).record(kProbeType, std::string(300, '\0')), 2); },
         {1, 2},
         300 + 8},
    };
    for (const auto& c : cases) {
        dispatched.clear();
        PerfFactory::_lostBytes = 0;
        B b;
        c.write(b);
        walk(b);
        EXPECT_EQ(tags(), c.tags) << c.what;
        EXPECT_EQ(PerfFactory::_lostBytes, c.lost) << c.what;
    }
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

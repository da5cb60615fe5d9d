#include <gtest/gtest.h>

#include <string>

#include "PerfDataBuilder.h"
#include "PerfRecordComm.h"

using B = PerfDataBuilder;

namespace {

// Runs one COMM body through the creation function, as the record walk does.
PerfRecordComm* commRecord(uint32_t pid, uint32_t tid, const std::string& name)
{
    std::string body = std::string(8, '\0') + B::u32(pid) + B::u32(tid) + B::text8(name);
    body.resize(1024, '\0');
    return static_cast<PerfRecordComm*>(PerfRecordComm::createInstance(body.data()));
}

}  // namespace

TEST(PerfRecordComm, StandingEntriesComeFirstAndInitJoinsWithTheFirstRecord)
{
    ASSERT_GE(PerfRecordComm::_elements.size(), 2u);
    EXPECT_EQ(PerfRecordComm::_elements[0], &PerfRecordComm::_kernelArea);
    EXPECT_EQ(PerfRecordComm::_kernelArea.key, 1u);
    EXPECT_EQ(PerfRecordComm::_lostAndFound.key, 2u);
    EXPECT_EQ(PerfRecordComm::_lostAndFound.pid, 0xFFFFFFFFu);
    commRecord(5001, 5001, "first");
    PerfRecordComm* init = PerfRecordComm::findProcessRecord(1, 1);
    ASSERT_NE(init, nullptr);
    EXPECT_EQ(PerfRecordComm::_elements.size(), 4u);
}

TEST(PerfRecordComm, LookupFallbacksInOrder)
{
    PerfRecordComm* main = commRecord(6001, 6001, "main");
    PerfRecordComm* worker = commRecord(6001, 6002, "worker");
    ASSERT_NE(main, worker);
    EXPECT_EQ(worker->key, main->key + 1);
    EXPECT_EQ(PerfRecordComm::findProcessRecord(0, 0), &PerfRecordComm::_kernelArea);
    EXPECT_EQ(PerfRecordComm::findProcessRecord(6001, 6002), worker);
    EXPECT_EQ(PerfRecordComm::findProcessRecord(6001, 6003), nullptr);  // no fallback for an unknown thread
    EXPECT_EQ(PerfRecordComm::findProcessRecord(6001, 0), main);        // first entry of the pid stays
    EXPECT_EQ(PerfRecordComm::findProcessRecord(0, 6002), worker);
    EXPECT_EQ(PerfRecordComm::findProcessRecord(0, 6009), nullptr);
    EXPECT_EQ(PerfRecordComm::findProcessRecord(6009, 0), nullptr);
}

TEST(PerfRecordComm, LaterRecordsRenameWhatTheyFind)
{
    PerfRecordComm* app = commRecord(7001, 7001, "app (deleted) now");
    EXPECT_STREQ(app->getName(), "app");
    EXPECT_EQ(commRecord(7001, 7001, "renamed"), app);
    EXPECT_STREQ(app->getName(), "renamed");
    // A zero tid finds the pid's first entry, and a zero pid the tid's.
    EXPECT_EQ(commRecord(7001, 0, "by pid"), app);
    EXPECT_EQ(commRecord(0, 7001, "by tid (deleted)"), app);
    EXPECT_STREQ(app->getName(), "by tid");

    std::string kernelName = PerfRecordComm::_kernelArea.getName();
    EXPECT_EQ(commRecord(0, 0, "swapper"), &PerfRecordComm::_kernelArea);
    EXPECT_STREQ(PerfRecordComm::_kernelArea.getName(), "swapper");
    EXPECT_EQ(PerfRecordComm::_kernelArea.key, 1u);
    PerfRecordComm::_kernelArea.setName(kernelName.c_str());
}

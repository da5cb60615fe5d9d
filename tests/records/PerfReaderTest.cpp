#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "ConverterRun.h"
#include "PerfReader.h"
#include "Settings.h"

TEST(PerfReader, ReadsLikeTheFileAcrossBlocksAndSeeks)
{
    ConverterRun scratch;
    std::string bytes;
    for (int i = 0; i < 200000; i++)
        bytes.push_back((char)(i * 7));
    scratch.file("data", bytes);

    PerfReader reader;
    EXPECT_FALSE(reader.status());
    ASSERT_EQ(reader.open(scratch.path("data").c_str()), 0);
    std::string got(70000, '\0');
    ASSERT_EQ(reader.read(got.data(), 65535), 65535);
    ASSERT_EQ(reader.read(got.data() + 65535, 4465), 4465);
    got.resize(70000);
    EXPECT_EQ(got, bytes.substr(0, 70000));

    reader.seek(199990);
    char tail[16];
    EXPECT_EQ(reader.read(tail, 16), 10);  // short at the end of the file
    EXPECT_EQ(std::string(tail, 10), bytes.substr(199990));
    EXPECT_EQ(reader.read(tail, 16), 0);
    EXPECT_FALSE(reader.status());

    reader.seek(5);
    reader.seek(-8);  // fails; the position stays
    char four[4];
    ASSERT_EQ(reader.read(four, 4), 4);
    EXPECT_EQ(std::string(four, 4), bytes.substr(5, 4));
    EXPECT_TRUE(reader.status());
}

// A pipe cannot seek: reading goes on from where it stood, also through the
// bytes already taken into the reader's block.
TEST(PerfReader, FailedSeekOfAPipeKeepsThePosition)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "0123456789abcdef", 16), 16);
    close(ends[1]);
    PerfReader reader;
    ASSERT_EQ(reader.open(("/proc/self/fd/" + std::to_string(ends[0])).c_str()), 0);
    close(ends[0]);
    char four[4];
    ASSERT_EQ(reader.read(four, 4), 4);
    reader.seek(12);
    ASSERT_EQ(reader.read(four, 4), 4);
    EXPECT_EQ(std::string(four, 4), "4567");
}

TEST(PerfReader, UnopenedReaderAndOddSizes)
{
    PerfReader reader;
    EXPECT_EQ(reader.open(nullptr), -1);
    EXPECT_EQ(reader.open("/nonexistent/perf.data"), -1);
    char buffer[8];
    testing::internal::CaptureStdout();
    EXPECT_EQ(reader.read(buffer, 0), -1);
    EXPECT_EQ(reader.read(buffer, 4), -1);
    EXPECT_EQ(reader.read(buffer, 2048), -1);  // nothing is read: the sizes are only announced
    EXPECT_EQ(reader.read(buffer, 2049), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Large reader size:0\nLarge reader size:2049\n");
    EXPECT_FALSE(reader.status());
}

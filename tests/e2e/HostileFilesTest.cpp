// Files from elsewhere, or damaged on purpose: the converter finishes with the
// document it would give on a machine of any size, or ends with the
// out-of-range error where it is meant to, and never needs memory out of
// proportion to the file.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ConverterRun.h"
#include "PerfDataBuilder.h"
#include "TracePayloads.h"

using B = PerfDataBuilder;

#if defined(__SANITIZE_ADDRESS__)
#define HOSTILE_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HOSTILE_ASAN 1
#endif
#endif

namespace {

enum : uint16_t { kSwitch = 300, kWakeup = 301 };

// The magic of perf.data read as a number, as a piped file's event table gives it.
const uint64_t kMagicAsNumber = 0x32454C4946524550ull;

// Runs the converter with its address space limited to 1 GiB, so that a
// table sized by a number from foreign bytes (up to 32 GiB) fails to be
// allocated. AddressSanitizer reserves far more address space for itself, so
// its builds run without the limit.
RunResult runWithinOneGiB(ConverterRun& run, const std::vector<std::string>& args)
{
#ifdef HOSTILE_ASAN
    return run.run(args);
#else
    rlimit saved{};
    getrlimit(RLIMIT_AS, &saved);
    rlimit limited = saved;
    const rlim_t oneGiB = (rlim_t)1 << 30;
    if (limited.rlim_max == RLIM_INFINITY || limited.rlim_max > oneGiB)
        limited.rlim_cur = oneGiB;
    setrlimit(RLIMIT_AS, &limited);
    RunResult result = run.run(args);
    setrlimit(RLIMIT_AS, &saved);
    return result;
#endif
}

// Two processes switching on CPU 0, and a profile sample, after the event table `table`.
B recording(B table)
{
    using namespace payload;
    return table.eventType(kSwitch, "sched:sched_switch")
        .eventType(kWakeup, "sched:sched_wakeup")
        .comm(10, 10, "ten")
        .mmap(10, 10, 0x8000, 0x1000, 0, "/absent/ten")
        .sample(0x8010, 10, 10, 1500000000ull, 0, 1, {0x8010, 0x8020})
        .tracepoint(0, 0, 0, 1000000000ull, 0, B::rawArea(kWakeup, schedWakeup(10, "ten")))
        .tracepoint(0, 0, 0, 1100000000ull, 0, B::rawArea(kSwitch, schedSwitch(0, 0, 10, "swapper", "ten")))
        .tracepoint(0, 10, 10, 1200000000ull, 0, B::rawArea(kSwitch, schedSwitch(10, 1, 0, "ten", "swapper")));
}

bool endedWithRangeError(const RunResult& r)
{
    return r.status == 128 + SIGABRT && r.err.find("std::out_of_range") != std::string::npos;
}

}  // namespace

// 0xFFFFFFFE asks for a table of 2^32 - 1 entries and the magic for one of
// 1.18 billion; no sample can name an entry beyond 65535, so both documents
// match those of the same recording without these numbers.
TEST(HostileFiles, HugeEventNumbersChangeNeitherDocumentNorMemory)
{
    for (const char* mode : {"-t", "-z"}) {
        ConverterRun plain;
        plain.input(recording(B().attributes(112)));
        RunResult expected = plain.run({mode, "-b", "100"});
        ASSERT_EQ(expected.status, 0) << expected.out << expected.err;
        ASSERT_NE(expected.output.find(mode == std::string("-t") ? "proc-10-r0" : "\"ten\""), std::string::npos);

        ConverterRun huge;
        huge.input(recording(B().attributes(112)
                                 .eventType(0xFFFFFFFEull, "sched:sched_switch")
                                 .eventType(kMagicAsNumber, "sched:sched_wakeup")
                                 .eventType(70000, "sched:sched_wakeup")));
        RunResult r = runWithinOneGiB(huge, {mode, "-b", "100"});
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.output, expected.output) << mode;
    }
}

// The tables whose rule fails the range check end the run with the
// out-of-range error, and with nothing else: 4000 itself; 6000 between the
// size and the capacity after growing from 4000 to 5001 entries (a capacity
// of 8000); 0xFFFFFFFF, whose low word plus one wraps to a table of 0
// entries; 20 after a number of 2^32 + 10 has shrunk the huge table to 11.
TEST(HostileFiles, TheRangeErrorOfTheEventTableEndsTheRun)
{
    const std::vector<std::vector<uint64_t>> tables = {
        {4000}, {5, 5000, 6000}, {0xFFFFFFFFull}, {0xFFFFFFFEull, 0x10000000Aull, 20}};
    for (const auto& numbers : tables) {
        B b;
        for (uint64_t number : numbers)
            b.eventType(number, "sched:sched_wakeup");
        b.comm(10, 10, "ten");
        ConverterRun run;
        run.input(b);
        RunResult r = runWithinOneGiB(run, {"-t"});
        EXPECT_TRUE(endedWithRangeError(r)) << numbers.back() << ": status " << r.status << " " << r.err;
        EXPECT_EQ(r.output, "");
    }
}

// A piped perf.data has a 16-byte header, so the converter reads record
// bytes as the file header and as the event table. In perf's piped profile
// fuzz/seeds/import/profile-pipe the table starts at byte 1: its first number,
// 0x1032454C49465245, grows the table to 0x49465246 entries; its third,
// 0xD200000000000000, shrinks it to 1; its sixth, 14136, lies below the
// capacity and past the size. Both modes end with the range error at once.
TEST(HostileFiles, PipedRecordingEndsWithTheRangeError)
{
    ConverterRun run;
    run.file("perf.data", readFile(std::string(ZELCONV_SOURCE_DIR) + "/fuzz/seeds/import/profile-pipe"));
    for (const char* mode : {"-t", "-z"}) {
        RunResult r = runWithinOneGiB(run, {mode});
        EXPECT_TRUE(endedWithRangeError(r)) << mode << ": status " << r.status << " " << r.err;
        EXPECT_NE(r.err.find("(which is 14136) >= this->size() (which is 1)"), std::string::npos) << r.err;
        EXPECT_EQ(r.output, "");
    }
}

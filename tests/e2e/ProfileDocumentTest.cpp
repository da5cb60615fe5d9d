#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "ConverterRun.h"
#include "PerfDataBuilder.h"

using B = PerfDataBuilder;

// No kernel symbols and no symbol files: every address resolves to a map or
// to a synthetic 64 KiB entry. Keys: processes kernel 1, lostAndFound 2,
// *init* 3, app 4, late 5; maps: the driver's own 1, the standing maps 2-4,
// the app's map 5; synthetic symbols 6 and 7 in order of first use.
TEST(ProfileDocument, MapsSyntheticEntriesAndLateProcesses)
{
    ConverterRun run;
    run.input(B().comm(100, 100, "app")
                  .mmap(100, 100, 0x8000, 0x1000, 0, "/nonexistent/app")
                  // Trace: two hits in the map (its end is inclusive), a page of the
                  // process no map covers, and a stray marker that is dropped.
                  .sample(0x8010, 100, 100, 5500000000ULL, 1, 1000, {0x8020, 0x9000, 0x20000, 0x5})
                  // Unknown thread of a known process, outside every map.
                  .sample(0x30000, 100, 101, 6000000000ULL, 0, 1000)
                  // Process named only after its sample, address below 64 KiB.
                  .sample(0x8000, 200, 200, 7000000000ULL, 2, 1000)
                  .comm(200, 200, "late"));
    RunResult r = run.run({"-b", "100"});
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(r.out, "");

    EXPECT_EQ(r.output, golden("profile-maps-and-synthetic-entries.json"));
}

TEST(ProfileDocument, EmptyRecordingStillWritesAllSixMembers)
{
    ConverterRun run;
    run.input(B());
    RunResult r = run.run({"-b", "100"});
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.output, golden("profile-empty-recording.json"));
}

// Before any map record there is no lost-and-found map: a back-trace entry
// below 64 KiB keeps key 0, and the first page of an unknown process becomes a
// map of its own, which also brings the standing maps into being.
TEST(ProfileDocument, SampleBeforeAnyMapRecord)
{
    ConverterRun run;
    run.input(B().sample(0x100, 7, 7, 1000000000ULL, 0, 1, {0x200, 0x20004, 0x300}));
    RunResult r = run.run({"-b", "100"});
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.output, golden("profile-sample-before-any-map.json"));
}

// Maps are sorted with their tid but searched without it, so the map of
// thread 1 at 0x30000 is passed over: probes go to thread 2's maps at index 1
// and 2 and the search ends. The sample gets a synthetic symbol under the
// first map of its process that the pid search probes, thread 2's low map.
TEST(ProfileDocument, MapSearchMissesAnotherThreadsMap)
{
    ConverterRun run;
    run.input(B().comm(300, 1, "t1")
                  .mmap(300, 1, 0x30000, 0x1000, 0, "/nonexistent/t1")
                  .mmap(300, 2, 0x10000, 0x1000, 0, "/nonexistent/t2a")
                  .mmap(300, 2, 0x50000, 0x1000, 0, "/nonexistent/t2b")
                  .sample(0x30010, 300, 1, 2000000000ULL, 3, 1));
    RunResult r = run.run({"-b", "100"});
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.output, golden("profile-map-search-misses-another-thread.json"));
}

// Symbols from the kernel list and from the machine's nm over an object the
// test assembles, found through the search path. Kernel list: stext keeps
// its line end (the first line's), other_fn is its own successor (size 0).
// Object: alpha 0x0-0x10, beta 0x10-0x40 (nm -g leaves out local_fn, and
// the data symbol is no function), delta(int, int) 0x40-0x50, weak wfn 0x50.
TEST(ProfileDocument, SymbolsFromTheKernelListAndNm)
{
    ConverterRun run;
    run.file("k.s",
             ".text\n.globl alpha\nalpha: .skip 16\n.globl beta\nbeta: .skip 32\nlocal_fn: .skip 16\n"
             ".globl _Z5deltaii\n_Z5deltaii: .skip 16\n.weak wfn\nwfn: .skip 8\n.data\n.globl dvar\ndvar: .long 1\n");
    std::filesystem::create_directories(run.path("sym/system/lib"));
    std::string assemble = "as '" + run.path("k.s") + "' -o '" + run.path("sym/system/lib/libk.so") + "' 2>/dev/null";
    if (system(assemble.c_str()) != 0 || system("nm --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "no assembler or nm";
    run.systemFile("/proc/kallsyms", "c0008000 T stext\nc0008100 t do_work\nc0009000 T other_fn\n");
    run.input(B().comm(50, 50, "demo")
                  .mmap(50, 50, 0x40000000, 0x1000, 0, "/system/lib/libk.so")
                  // delta, do_work in the kernel, and a library address behind the last symbol.
                  .sample(0x40000014, 50, 50, 1000000000ULL, 0, 1, {0x40000044, 0xC0008150, 0x40000800})
                  .sample(0xC0008010, 50, 50, 1500000000ULL, 1, 1));
    RunResult r = run.run({"-b", "100", "-p", run.path("sym")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.output, golden("profile-kernel-list-and-nm.json"));
}

// A library mapped twice, whose listing names source files behind tabs.
// Keys: maps 5 and 6; the back-traces' symbols as read (funcA 7, abcd 8,
// nofile 9, funcB 10), then the samples' own (abc 11). abc shows as
// "*BlankName*", abcd lists both maps, nofile keeps its size of exactly
// 1 MiB, zed.c is the shortest name taken for a file, and x/nouse.c, with no
// used symbol, is left out.
TEST(ProfileDocument, FilesAndFunctionsOfAListingWithSourceLines)
{
    ConverterRun run;
    run.file("bin/nm", "#!/bin/sh\ncat \"$2.list\"\n");
    std::filesystem::permissions(run.path("bin/nm"), std::filesystem::perms::owner_all);
    run.prependPath(run.path("bin"));
    run.file("sym/system/lib/libs.so", "")
        .file("sym/system/lib/libs.so.list",
              "00001000 T abc\tsrc/abc.c:10\n00001100 T abcd\tzed.c:5\n"
              "00001200 T funcB\tlib/alpha.c:30\n00001300 T funcA\tlib/alpha.c:10\n"
              "00001400 T nofile\n00101400 T unused\tx/nouse.c:1\n00101500 T last\n");
    run.input(B().comm(7, 7, "app")
                  .mmap(7, 7, 0x40000000, 0x10000, 0, "/system/lib/libs.so")
                  .mmap(7, 7, 0x50000000, 0x10000, 0, "/system/lib/libs.so")
                  .sample(0x40001210, 7, 7, 1000000000ULL, 0, 1, {0x40001310, 0x50001110})
                  .sample(0x40001110, 7, 7, 1500000000ULL, 1, 1)
                  .sample(0x40001010, 7, 7, 2000000000ULL, 0, 1, {0x40001410, 0x40001210}));
    RunResult r = run.run({"-b", "100", "-p", run.path("sym")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.output, golden("profile-files-and-functions.json"));
}

// nm runs beside the walk, and its commands end in another order than they
// started (the earlier a file, the longer its nm takes). The document and
// nm's messages must still be those of a run that waits for each nm in turn,
// as -v 1 does: file keys numbered in the order of the listings (zeta.c,
// beta.c, then delta.c), libb's single symbol finding nothing, and libc's
// stripped copy sending the search on to the symbol directory.
TEST(ProfileDocument, NmInTheBackgroundGivesTheDocumentAndMessagesOfOneAtATime)
{
    ConverterRun run;
    run.file("bin/nm",
             "#!/bin/sh\nsleep \"$(cat \"$2.delay\" 2>/dev/null || echo 0)\"\n"
             "echo \"nm: $2: listed\" >&2\n[ -f \"$2.list\" ] && cat \"$2.list\"\nexit 0\n");
    std::filesystem::permissions(run.path("bin/nm"), std::filesystem::perms::owner_all);
    run.prependPath(run.path("bin"));
    const std::string a = run.path("dev/liba.so"), b = run.path("dev/libb.so"), d = run.path("dev/libd.so"),
                      c = run.path("dev/libc.so"), cSym = run.path("sym/libc.so");
    run.file("dev/liba.so", "")
        .file("dev/liba.so.delay", "0.4")
        .file("dev/liba.so.list",
              "00001000 T a_one\tsrc/zeta.c:10\n00001100 T a_two\tsrc/beta.c:20\n00001200 T a_end\n");
    run.file("dev/libb.so", "").file("dev/libb.so.delay", "0.2").file("dev/libb.so.list", "00001000 T b_only\n");
    run.file("dev/libd.so", "")
        .file("dev/libd.so.list",
              "00001000 T d_one\tsrc/delta.c:30\n00001100 T d_two\tsrc/zeta.c:40\n00001200 T d_end\n");
    run.file("dev/libc.so", "").file("dev/libc.so.list", "00001000 T c_stripped\n");
    run.file("sym/libc.so", "").file("sym/libc.so.list", "00001000 T c_one\n00001100 T c_two\n00001200 T c_end\n");
    run.input(B().comm(7, 7, "app")
                  .mmap(7, 7, 0x40000000, 0x10000, 0, a)
                  .mmap(7, 7, 0x40100000, 0x10000, 0, b)
                  .mmap(7, 7, 0x40200000, 0x10000, 0, d)
                  .mmap(7, 7, 0x40300000, 0x10000, 0, c)
                  .sample(0x40001010, 7, 7, 1000000000ULL, 0, 1, {0x40101010, 0x40201110, 0x40301010})
                  .sample(0x40201010, 7, 7, 1500000000ULL, 1, 1, {0x40001110}));

    const std::string messages = "nm: " + a + ": listed\nnm: " + b + ": listed\nnm: " + d + ": listed\nnm: " + c +
                                 ": listed\nnm: " + cSym + ": listed\n";
    RunResult background = run.run({"-b", "100", "-p", run.path("sym")});
    RunResult inTurn = run.run({"-b", "100", "-p", run.path("sym"), "-v", "1"});
    ASSERT_EQ(background.status, 0) << background.err;
    EXPECT_EQ(background.err, messages);
    EXPECT_EQ(inTurn.err, messages);
    EXPECT_EQ(background.output, inTurn.output);
    EXPECT_NE(background.output.find("\"src/zeta.c\""), std::string::npos);
}

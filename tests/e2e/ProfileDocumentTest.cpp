#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "ConverterRun.h"
#include "PerfDataBuilder.h"

using B = PerfDataBuilder;

namespace {

// The head of every section: labelled, indented descriptions, then compact rows.
std::string section(const std::string& name, const std::string& descriptions, const std::string& rows)
{
    return ",\n \"" + name + "\": {\n  \"descriptions\": {" + descriptions + "\n  },\n  \"data\": [" + rows + "]}";
}

std::string column(const std::string& name, const std::string& text, bool first = false)
{
    return std::string(first ? "" : ",") + "\n   \"" + name + "\": \"" + text + "\"";
}

const std::string kProcessColumns =
    column("key", "db key for this process element used in other structs as a reference", true) +
    column("pid", "The process id associated with this name") + column("tid", "The thread id") +
    column("name", "Name of the process with the pid and tid");
const std::string kLibraryColumns =
    column("key", "db key for this process element used in other structs as a reference", true) +
    column("pidkey", "key or reference to the process") + column("name", "name of the library or function") +
    column("startAddress", "start address of this memory map") + column("sectionSize", "length of the memory map");
const std::string kFileColumns = column("key", "key for this symbol", true) + column("name", "name of this symbol") +
                                 column("symbols.ref", "ref to symbol using this file") +
                                 column("symbols.linenum", "ref to line number");
const std::string kFunctionColumns =
    column("key", "key for this symbol", true) + column("name", "name of this symbol") +
    column("startAddress", "Base address of this function or symbol") +
    column("sectionSize", "Size of this function or symbol") + column("maps", "array of maps for this sample");
const std::string kSampleColumns =
    column("key", "key or reference for this sample", true) + column("ip", "Location of sample, program counter") +
    column("mapkey", "reference to map entry") + column("time", "time stamp of the sample") +
    column("cpu", "which core the sample was taken on") + column("pidkey", "reference to the process element") +
    column("tid", "tid for this sample") + column("bt.ip", "backtrace program counter") +
    column("bt.mapkey", "backtrace map key");

}  // namespace

// No kernel symbols and no symbol files: every address resolves to a map or
// to a synthetic 64 KiB entry. Keys: processes kernel 1, lostAndFound 2,
// *init* 3, app 4, late 5; maps: the driver's own 1, the standing maps 2-4,
// the app's map 5; synthetic symbols 6 and 7 in order of first use.
TEST(ProfileDocument, MapsSyntheticEntriesAndLateProcesses)
{
    ConverterRun run;
    run.input(B()
                  .comm(100, 100, "app")
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

    std::string expected =
        "{\"Description\":{\"Version\":\"1.0\",\"Target Chip\":\"unknown\",\"Start Time\":100,"
        "\"First Sample Time\":5.5,\"duration\":1.5}" +
        section("processes", kProcessColumns,
                "[1,0,0,\"kernel\",],[2,4294967295,4294967295,\"lostAndFound\",],[3,1,1,\"*init*\",],"
                "[4,100,100,\"app\",],[5,200,200,\"late\",],") +
        section("libraries", kLibraryColumns,
                "[2,2,\"lostAndFound\",0,0,],[3,1,\"kernel\",18446744073709551615,1,],"
                "[4,1,\"{stack:b0000000-beffffff}\",2952790016,251658239,],[5,4,\"/nonexistent/app\",32768,4096,],") +
        section("files", kFileColumns, "") +
        section("functions", kFunctionColumns,
                "[6,\"{app-00020000}\",131072,65536,[5,],],[7,\"{app-00030000}\",196608,65536,[2,],],") +
        section("samples", kSampleColumns,
                "[1,32784,5,5.5,1,4,100,[[32800,5,],[36864,5,],[131072,5,],],],"
                "[2,196608,2,6,0,4,101,[],],[3,32768,2,7,2,5,200,[],],") +
        "}\n";
    EXPECT_EQ(r.output, expected);
}

TEST(ProfileDocument, EmptyRecordingStillWritesAllSixMembers)
{
    ConverterRun run;
    run.input(B());
    RunResult r = run.run({"-b", "100"});
    ASSERT_EQ(r.status, 0);
    std::string expected =
        "{\"Description\":{\"Version\":\"1.0\",\"Target Chip\":\"unknown\",\"Start Time\":100,"
        "\"First Sample Time\":0,\"duration\":0}" +
        section("processes", kProcessColumns, "[1,0,0,\"kernel\",],[2,4294967295,4294967295,\"lostAndFound\",],") +
        section("libraries", kLibraryColumns, "") + section("files", kFileColumns, "") +
        section("functions", kFunctionColumns, "") + section("samples", kSampleColumns, "") + "}\n";
    EXPECT_EQ(r.output, expected);
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
    std::string expected =
        "{\"Description\":{\"Version\":\"1.0\",\"Target Chip\":\"unknown\",\"Start Time\":100,"
        "\"First Sample Time\":1,\"duration\":0}" +
        section("processes", kProcessColumns, "[1,0,0,\"kernel\",],[2,4294967295,4294967295,\"lostAndFound\",],") +
        section("libraries", kLibraryColumns,
                "[2,2,\"lostAndFound\",0,0,],[3,1,\"kernel\",18446744073709551615,1,],"
                "[4,1,\"{stack:b0000000-beffffff}\",2952790016,251658239,],"
                "[5,0,\"{lostAndFound-00020000}\",131072,65536,],") +
        section("files", kFileColumns, "") + section("functions", kFunctionColumns, "") +
        section("samples", kSampleColumns, "[1,256,2,1,0,2,7,[[512,0,],[131076,5,],[768,2,],],],") + "}\n";
    EXPECT_EQ(r.output, expected);
}

// Maps are sorted with their tid but searched without it, so the map of
// thread 1 at 0x30000 is passed over: probes go to thread 2's maps at index 1
// and 2 and the search ends. The sample gets a synthetic symbol under the
// first map of its process that the pid search probes, thread 2's low map.
TEST(ProfileDocument, MapSearchMissesAnotherThreadsMap)
{
    ConverterRun run;
    run.input(B()
                  .comm(300, 1, "t1")
                  .mmap(300, 1, 0x30000, 0x1000, 0, "/nonexistent/t1")
                  .mmap(300, 2, 0x10000, 0x1000, 0, "/nonexistent/t2a")
                  .mmap(300, 2, 0x50000, 0x1000, 0, "/nonexistent/t2b")
                  .sample(0x30010, 300, 1, 2000000000ULL, 3, 1));
    RunResult r = run.run({"-b", "100"});
    ASSERT_EQ(r.status, 0);
    std::string expected =
        "{\"Description\":{\"Version\":\"1.0\",\"Target Chip\":\"unknown\",\"Start Time\":100,"
        "\"First Sample Time\":2,\"duration\":0}" +
        section("processes", kProcessColumns,
                "[1,0,0,\"kernel\",],[2,4294967295,4294967295,\"lostAndFound\",],[3,1,1,\"*init*\",],"
                "[4,300,1,\"t1\",],") +
        section("libraries", kLibraryColumns,
                "[2,2,\"lostAndFound\",0,0,],[3,1,\"kernel\",18446744073709551615,1,],"
                "[4,1,\"{stack:b0000000-beffffff}\",2952790016,251658239,],[6,0,\"/nonexistent/t2a\",65536,4096,],") +
        section("files", kFileColumns, "") +
        section("functions", kFunctionColumns, "[8,\"{t1-00030000}\",196608,65536,[6,],],") +
        section("samples", kSampleColumns, "[1,196624,6,2,3,4,1,[],],") + "}\n";
    EXPECT_EQ(r.output, expected);
}

// Symbols from the kernel list and from the machine's nm over an object the
// test assembles, found through the search path. Kernel list: stext keeps
// its line end (the first line's), other_fn is its own successor (size 0).
// Object: alpha 0x0-0x10, beta 0x10-0x40 (nm -g leaves out local_fn, and
// the data symbol is no function), delta(int, int) 0x40-0x50, weak wfn 0x50.
TEST(ProfileDocument, SymbolsFromTheKernelListAndNm)
{
    ConverterRun run;
    run.file("k.s", ".text\n.globl alpha\nalpha: .skip 16\n.globl beta\nbeta: .skip 32\nlocal_fn: .skip 16\n"
                    ".globl _Z5deltaii\n_Z5deltaii: .skip 16\n.weak wfn\nwfn: .skip 8\n.data\n.globl dvar\ndvar: .long 1\n");
    std::filesystem::create_directories(run.path("sym/system/lib"));
    std::string assemble = "as '" + run.path("k.s") + "' -o '" + run.path("sym/system/lib/libk.so") + "' 2>/dev/null";
    if (system(assemble.c_str()) != 0 || system("nm --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "no assembler or nm";
    run.systemFile("/proc/kallsyms", "c0008000 T stext\nc0008100 t do_work\nc0009000 T other_fn\n");
    run.input(B()
                  .comm(50, 50, "demo")
                  .mmap(50, 50, 0x40000000, 0x1000, 0, "/system/lib/libk.so")
                  // delta, do_work in the kernel, and a library address behind the last symbol.
                  .sample(0x40000014, 50, 50, 1000000000ULL, 0, 1, {0x40000044, 0xC0008150, 0x40000800})
                  .sample(0xC0008010, 50, 50, 1500000000ULL, 1, 1));
    RunResult r = run.run({"-b", "100", "-p", run.path("sym")});
    ASSERT_EQ(r.status, 0) << r.err;
    std::string expected =
        "{\"Description\":{\"Version\":\"1.0\",\"Target Chip\":\"unknown\",\"Start Time\":100,"
        "\"First Sample Time\":1,\"duration\":0.5}" +
        section("processes", kProcessColumns,
                "[1,0,0,\"kernel\",],[2,4294967295,4294967295,\"lostAndFound\",],[3,1,1,\"*init*\",],"
                "[4,50,50,\"demo\",],") +
        section("libraries", kLibraryColumns,
                "[2,2,\"lostAndFound\",0,0,],[3,1,\"kernel\",3221258240,4096,],"
                "[4,1,\"{stack:b0000000-beffffff}\",2952790016,251658239,],[5,4,\"/system/lib/libk.so\",1073741824,4096,],") +
        section("files", kFileColumns, "") +
        section("functions", kFunctionColumns,
                "[9,\"stext\\n\",3221258240,256,[3,],],[7,\"do_work\",3221258496,3840,[3,],],"
                "[8,\"beta\",16,48,[5,],],[6,\"delta(int, int)\",64,16,[5,],],") +
        section("samples", kSampleColumns,
                "[1,1073741844,8,1,0,4,50,[[1073741892,6,],[3221258576,7,],[1073743872,5,],],],"
                "[2,3221258256,9,1.5,1,4,50,[],],") +
        "}\n";
    EXPECT_EQ(r.output, expected);
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
    run.file("bin/nm", "#!/bin/sh\nsleep \"$(cat \"$2.delay\" 2>/dev/null || echo 0)\"\n"
                       "echo \"nm: $2: listed\" >&2\n[ -f \"$2.list\" ] && cat \"$2.list\"\nexit 0\n");
    std::filesystem::permissions(run.path("bin/nm"), std::filesystem::perms::owner_all);
    run.prependPath(run.path("bin"));
    const std::string a = run.path("dev/liba.so"), b = run.path("dev/libb.so"), d = run.path("dev/libd.so"),
                      c = run.path("dev/libc.so"), cSym = run.path("sym/libc.so");
    run.file("dev/liba.so", "").file("dev/liba.so.delay", "0.4")
        .file("dev/liba.so.list", "00001000 T a_one\tsrc/zeta.c:10\n00001100 T a_two\tsrc/beta.c:20\n00001200 T a_end\n");
    run.file("dev/libb.so", "").file("dev/libb.so.delay", "0.2").file("dev/libb.so.list", "00001000 T b_only\n");
    run.file("dev/libd.so", "")
        .file("dev/libd.so.list", "00001000 T d_one\tsrc/delta.c:30\n00001100 T d_two\tsrc/zeta.c:40\n00001200 T d_end\n");
    run.file("dev/libc.so", "").file("dev/libc.so.list", "00001000 T c_stripped\n");
    run.file("sym/libc.so", "").file("sym/libc.so.list", "00001000 T c_one\n00001100 T c_two\n00001200 T c_end\n");
    run.input(B()
                  .comm(7, 7, "app")
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

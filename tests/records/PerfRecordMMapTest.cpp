#include <gtest/gtest.h>

#include <string>

#include "PerfRecordMMap.h"
#include "Settings.h"

// Each test uses its own pid, since the map tables are shared by the whole test program.

TEST(PerfRecordMMap, SymbolBaseOnlyForLibrariesBelowTheKernel)
{
    // Maps join the static tables for good, so they live on the heap.
    auto* executable = new PerfRecordMMap(9101, 9101, 0x3FFFFFFF, 0x1000, 0, "/nonexistent/bin (deleted)");
    auto* library = new PerfRecordMMap(9101, 9101, 0x40000000, 0x1000, 0, "/nonexistent/lib.so");
    auto* kernel = new PerfRecordMMap(9101, 9101, gKernelStart + 0x1000, 0x1000, 0, "/nonexistent/kernel");
    EXPECT_EQ(executable->_symbolBase, 0u);
    EXPECT_STREQ(executable->getName(), "/nonexistent/bin");
    EXPECT_EQ(library->_symbolBase, 0x40000000u);
    EXPECT_EQ(kernel->_symbolBase, 0u);
    EXPECT_EQ(library->key, executable->key + 1);
}

TEST(PerfRecordMMap, AddressClassesAndInclusiveEnd)
{
    auto* map = new PerfRecordMMap(9201, 9201, 0x10000, 0x1000, 0, "/nonexistent/a");
    EXPECT_EQ(PerfRecordMMap::findMap(0x10000, 9201, 0), map);
    EXPECT_EQ(PerfRecordMMap::findMap(0x11000, 9201, 0), map);
    EXPECT_EQ(PerfRecordMMap::findMap(0x11001, 9201, 0), nullptr);
    EXPECT_EQ(PerfRecordMMap::findMap(0x10800, 9202, 0), nullptr);
    EXPECT_EQ(PerfRecordMMap::findMap(0xBEFFFFFF, 9201, 0), PerfRecordMMap::_stackMap);
    EXPECT_EQ(PerfRecordMMap::findMap(0xB0000001, 9201, 0), PerfRecordMMap::_stackMap);
    EXPECT_EQ(PerfRecordMMap::findMap(0xB0000000, 9201, 0), nullptr);
    EXPECT_EQ(PerfRecordMMap::findMap(gKernelStart, 9201, 0), nullptr);
    EXPECT_EQ(PerfRecordMMap::findMap(gKernelStart + 1, 9201, 0), PerfRecordMMap::_kernelMap);
    EXPECT_EQ(PerfRecordMMap::findMap(0xFFFFFFFFFFFFULL, 9201, 0), PerfRecordMMap::_kernelMap);
}

TEST(PerfRecordMMap, SortedInsertionPutsEqualKeysFirst)
{
    auto* later = new PerfRecordMMap(9401, 3, 0x20000, 0x100, 0, "/nonexistent/x");
    auto* same = new PerfRecordMMap(9401, 3, 0x20000, 0x200, 0, "/nonexistent/y");
    auto& sorted = PerfRecordMMap::_sortedMaps;
    size_t laterAt = 0, sameAt = 0;
    for (size_t i = 0; i < sorted.size(); i++) {
        if (sorted[i] == later)
            laterAt = i;
        if (sorted[i] == same)
            sameAt = i;
    }
    EXPECT_EQ(sameAt + 1, laterAt);
    for (size_t i = 1; i < sorted.size(); i++)
        EXPECT_LE(sorted[i - 1]->_sortKey, sorted[i]->_sortKey);
}

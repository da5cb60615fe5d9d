#include <algorithm>

#include "SymbolTestSupport.h"

class SymbolTableTest : public SymbolFixture {};

namespace {

// {address, index found by findElement, index found by findElementLinear}; -1 for none.
class FindElement : public SymbolFixture,
                    public testing::WithParamInterface<std::tuple<unsigned long long, int, int>> {};

int indexOf(SymbolTable& table, SymbolTableElement* element)
{
    auto at = std::find(table._elements.begin(), table._elements.end(), element);
    return element == nullptr ? -1 : (int)(at - table._elements.begin());
}

}  // namespace

TEST_P(FindElement, AsTheSearchReachesThem)
{
    // [1000,1100] [1100,1200] [1200,1300] contiguous, [1380] of size 0, and [1400,1480] behind a gap.
    SymbolTable table("findElement-five", 0, 0);
    for (auto [start, size] : {std::pair{0x1000, 0x100}, {0x1100, 0x100}, {0x1200, 0x100}, {0x1380, 0}, {0x1400, 0x80}})
        table.addElement(start, size, "name", nullptr, 0);
    auto [address, binary, linear] = GetParam();
    EXPECT_EQ(indexOf(table, table.findElement(address)), binary);
    EXPECT_EQ(indexOf(table, table.findElementLinear(address)), linear);
}

INSTANTIATE_TEST_SUITE_P(SymbolTable, FindElement,
                         testing::Values(std::tuple{0x1200ull, 2, 1},  // boundary: the middle is probed first
                                         std::tuple{0x1100ull, 0, 0},  // boundary: the earlier one is reached first
                                         std::tuple{0x1150ull, 1, 1}, std::tuple{0x1300ull, 2, 2},
                                         std::tuple{0x1380ull, 3, 3}, std::tuple{0x1381ull, -1, -1},
                                         std::tuple{0x1340ull, -1, -1}, std::tuple{0x1480ull, 4, 4},
                                         std::tuple{0x1481ull, -1, -1}, std::tuple{0x0FFFull, -1, -1}));

TEST_F(SymbolTableTest, SmallTablesAndTheirMisses)
{
    SymbolTable table("findElement-small", 0, 0);
    EXPECT_EQ(table.findElement(0), nullptr);
    SymbolTableElement* first = table.addElement(0x1000, 0x10, "first", nullptr, 0);
    EXPECT_EQ(table.findElement(0x1008), nullptr);  // one element is never probed
    EXPECT_EQ(table.findElementLinear(0x1008), first);
    SymbolTableElement* second = table.addElement(0x2000, 0x10, "second", nullptr, 0);
    EXPECT_EQ(table.findElement(0x1008), first);  // on the second probe
    EXPECT_EQ(table.findElement(0x2010), second);
}

TEST_F(SymbolTableTest, SyntheticEntryPerUnit)
{
    SymbolTable::createSyntheticTable();
    SymbolTableElement* unit = SymbolTable::addSyntheticEntry(0x7a5b0000, 0x10000, "{p-7a5b0000}");
    EXPECT_EQ(SymbolTable::addSyntheticEntry(0x7a5bfff0, 0x10000, "{other}"), unit);
    // Stored under the address as given, looked up with the low bits cleared.
    SymbolTableElement* odd = SymbolTable::addSyntheticEntry(0x7a5c1234, 0x10000, "{odd}");
    EXPECT_NE(SymbolTable::addSyntheticEntry(0x7a5c1234, 0x10000, "{odd}"), odd);
    EXPECT_EQ(symbolsOf(*SymbolTable::_syntheticSymTable), (std::vector<Sym>{{0x7a5b0000, 0x10000, "{p-7a5b0000}"},
                                                                             {0x7a5c1234, 0x10000, "{odd}"},
                                                                             {0x7a5c1234, 0x10000, "{odd}"}}));
    delete SymbolTable::_syntheticSymTable;  // also forgets its units
}

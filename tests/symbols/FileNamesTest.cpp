#include "SymbolTestSupport.h"

class FileNamesTest : public SymbolFixture {};

TEST_F(FileNamesTest, NamesOfFourCharactersOrFewerGetTheEmptyObject)
{
    FileNames* empty = FileNames::_emptyRef;
    FileNames::createEmptyRef();
    EXPECT_EQ(FileNames::_emptyRef, empty);
    for (const char* name : {(const char*)nullptr, "", "a.c", "ab.c"})
        EXPECT_EQ(FileNames::findOrCreate(name), empty);
    FileNames* file = FileNames::findOrCreate("abc.c");
    EXPECT_EQ(FileNames::findOrCreate("abc.c"), file);
    EXPECT_EQ(std::pair(file->_key, FileNames::_runningKey), std::pair(1u, 1u));
    EXPECT_EQ(FileNames::_fileTable.size(), 1u);  // the empty object is in no table
}

TEST_F(FileNamesTest, WithoutTheEmptyObjectASymbolGetsAFreshOne)
{
    FileNames* saved = std::exchange(FileNames::_emptyRef, nullptr);
    SymbolTableElement element("orphan", 0, 0, nullptr, 0), other;
    EXPECT_EQ(element._file->_name, "***EMPTY FILE_REF***");
    EXPECT_NE(element._file, other._file);
    EXPECT_EQ(FileNames::_emptyRef, nullptr);
    FileNames::_emptyRef = saved;
}

TEST_F(FileNamesTest, FilesSectionListsUsedSymbolsByFileName)
{
    FileNames* zed = FileNames::findOrCreate("src/zed.c");
    FileNames* alpha = FileNames::findOrCreate("lib/alpha.c");
    FileNames::findOrCreate("nouse.c");  // key 3, but no symbol of it is used
    SymbolTable* table = new SymbolTable("/lib/files.so", 0, 0);
    SymbolTableElement* a = table->addElement(0x100, 8, "funcA", alpha, 10);
    SymbolTableElement* b = table->addElement(0x108, 8, "funcB", alpha, 30);
    SymbolTableElement* z = table->addElement(0x110, 8, "funcZ", zed, 5);
    SymbolTableElement* none = table->addElement(0x118, 8, "funcNone", nullptr, 0);
    std::tie(a->_key, b->_key, z->_key) = std::tuple(20, 21, 22);
    for (SymbolTableElement* used : {b, a, z, z, none})
        used->markUsed(0);

    EXPECT_EQ(render(FileNames::outAll),
              "{\n \"files\": {\n  \"descriptions\": {\n"
              "   \"key\": \"key for this symbol\",\n"
              "   \"name\": \"name of this symbol\",\n"
              "   \"symbols.ref\": \"ref to symbol using this file\",\n"
              "   \"symbols.linenum\": \"ref to line number\"\n"
              "  },\n"
              "  \"data\": [[2,\"lib/alpha.c\",[[21,30,],[20,10,],],],[1,\"src/zed.c\",[[22,5,],],],]}}\n");
}

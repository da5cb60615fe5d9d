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

#include <sys/stat.h>

#include <filesystem>

#include "SymbolTestSupport.h"

namespace {

// Sets an environment variable until the end of the scope.
struct EnvSetting {
    EnvSetting(const char* name, const std::string& value) : name(name), had(getenv(name) != nullptr)
    {
        saved = had ? getenv(name) : "";
        setenv(name, value.c_str(), 1);
    }
    ~EnvSetting() { had ? setenv(name, saved.c_str(), 1) : unsetenv(name); }
    const char* name;
    bool had;
    std::string saved;
};

struct Listing {
    const char* label;
    const char* text;
    std::vector<Sym> expected;
};

void PrintTo(const Listing& listing, std::ostream* os) { *os << listing.label; }

const std::string kLongLine = "00001000 T " + std::string(4100, 'q') + "\n00002000 T b\n";

class SymbolLoading : public SymbolFixture {
protected:
    // PATH with a fake nm first, which logs its arguments to nm.log and prints "<path>.list".
    std::string fakeNm()
    {
        _scratch.file("bin/nm", "#!/bin/sh\nprintf '[%s]' \"$@\" >> '" + _scratch.path("nm.log") +
                                    "'\n[ -f \"$2.list\" ] && cat \"$2.list\"\nexit 0\n");
        chmod(_scratch.path("bin/nm").c_str(), 0755);
        return _scratch.path("bin") + ":" + getenv("PATH");
    }
};

class ReadListing : public SymbolLoading, public testing::WithParamInterface<Listing> {};

}  // namespace

TEST_P(ReadListing, GivesTheseElements)
{
    _scratch.file("list.txt", GetParam().text);
    SymbolTable table("read-listing", 0, 0);
    EXPECT_EQ(table.readFromFile(_scratch.path("list.txt").c_str()), 0);
    EXPECT_EQ(symbolsOf(table), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    SymbolLoading, ReadListing,
    testing::Values(
        // A size reaches to the successor; the last line counts twice; only the first name keeps its line end.
        Listing{"TwoLines", "00001000 T alpha\n00001400 T beta\n", {{0x1000, 0x400, "alpha\n"}, {0x1400, 0, "beta"}}},
        Listing{"SkipsMappingSymbolsAndOtherTypes",
                "00001000 t $a\n00001000 T first\n00001010 D data\n         U undef\n00001020 t $d\n"
                "00001030 W weak\n00001040 w last\n",
                {{0x1000, 0x30, "first\n"}, {0x1030, 0x10, "weak"}, {0x1040, 0, "last"}}},
        Listing{"EqualAddressesAreNoAlarm",
                "00002000 T a1\n00002000 T a2\n00002100 T a3\n",
                {{0x2000, 0, "a1\n"}, {0x2000, 0x100, "a2"}, {0x2100, 0, "a3"}}},
        Listing{"NoFinalLineEndLosesTheLast", "00001000 T aa\n00001100 T bb", {{0x1000, 0x100, "aa\n"}}},
        Listing{"InnerTypeTextCutsTheName",
                "00001000 W a T b\n00001010 T cccc\n",
                {{0x1000, 0x10, "b\n"}, {0x1010, 0, "cccc"}}},
        // Backward at 2000: the rest is gathered by address, and a repeated address replaces the name.
        Listing{"UnsortedRebuildsFromTheRest",
                "00001000 T a\n00003000 T c\n00002000 T b\n00004000 T d\n00003000 T e\n00005000 T f\n",
                {{0x1000, 0x2000, "a\n"}, {0x3000, 0x1000, "e\n"}, {0x4000, 0x1000, "d\n"}, {0x5000, 1, "f\n"}}},
        Listing{"LineWithoutANameIsSafe", "00001000 T\n00001010 T x1\n", {{0x1000, 0x10, ""}, {0x1010, 0, "x1"}}},
        // A line reads at most 4095 characters; the rest of it is a line of its own, which has no address.
        Listing{"LongLineIsCutAtTheBuffer",
                kLongLine.c_str(),
                {{0x1000, 0x1000, std::string(4084, 'q')}, {0x2000, 0, "b"}}},
        Listing{"Empty", "", {}}),
    [](const testing::TestParamInfo<Listing>& info) { return std::string(info.param.label); });

TEST_F(SymbolLoading, FileAndLineBehindATab)
{
    _scratch.file("list.txt", "00001000 T foo\tsrc/foo.c:12\n00001040 T bar\tsrc/bar.c:0\n00001080 T baz\ta.c:7\n");
    SymbolTable table("read-files", 0, 0);
    table.readFromFile(_scratch.path("list.txt").c_str());
    EXPECT_EQ(symbolsOf(table), (std::vector<Sym>{{0x1000, 0x40, "foo"}, {0x1040, 0x40, "bar"}, {0x1080, 0, "baz"}}));
    std::vector<std::pair<std::string, unsigned int>> files;
    for (SymbolTableElement* e : table._elements)
        files.emplace_back(e->_file->_name, e->_lineNumber);
    EXPECT_EQ(files, (std::vector<std::pair<std::string, unsigned int>>{
                         {"src/foo.c", 12}, {"***EMPTY FILE_REF***", 0}, {"***EMPTY FILE_REF***", 7}}));
}

TEST_F(SymbolLoading, KernelListFiltersLowAddressesAndKeepsModulesBehind)
{
    EnvSetting root("ZELCONV_SYSROOT", _scratch.path("root"));
    _scratch.systemFile("/proc/kallsyms",
                        "00001000 T low\nc0008000 T stext\nc0009000 t helper\n"
                        "bf000000 t m1\t[mod]\nbf000100 t m2\t[mod]\n");
    symPath = "/:/ab:/cd";
    SymbolTable* table = SymbolTable::loadKernelSymbols();
    EXPECT_EQ(SymbolTable::_kernelSymTable, table);
    EXPECT_EQ(SymbolTable::_paths, (std::vector<std::string>{" ", "/ab", "/cd"}));
    EXPECT_EQ((std::vector<uint64_t>{gKernelStart, gKernelEnd}), (std::vector<uint64_t>{0xbf000000, 0xc0009000}));
    EXPECT_EQ(symbolsOf(*table), (std::vector<Sym>{{0xc0008000, 0x1000, "stext\n"},
                                                   {0xc0009000, 0, "helper"},  // falls back to the modules
                                                   {0xbf000000, 0x100, "m1"},
                                                   {0xbf000100, 0, "m2"},
                                                   {0xffff0000, 0xffff, "*interrupt-FFFF0000*"}}));
}

TEST_F(SymbolLoading, KernelListMissingOrAllZerosGivesAnEmptyTable)
{
    EnvSetting root("ZELCONV_SYSROOT", _scratch.path("root"));
    EXPECT_EQ(SymbolTable().readFromFile("/proc/kallsyms"), -1);
    EXPECT_EQ(SymbolTable::loadKernelSymbols()->_elements.size(), 1u);  // the vector page only
    _scratch.systemFile("/proc/kallsyms", "00000000 T a\n00000000 t b\n");
    EXPECT_EQ(SymbolTable::loadKernelSymbols()->_elements.size(), 1u);
    EXPECT_EQ((std::vector<uint64_t>{gKernelStart, gKernelEnd}), (std::vector<uint64_t>{~0ull, 0}));
    // A 64-bit kernel is known by its first line, and then low addresses stay.
    _scratch.systemFile("/proc/kallsyms", "ffffffc000080000 T a\n0000000000001000 T b\n");
    SymbolTable wide;
    wide.readFromFile("/proc/kallsyms");
    EXPECT_EQ(symbolsOf(wide), (std::vector<Sym>{{0xffffffc000080000, 0, "a\n"}, {0x1000, 0, "b"}}));
}

TEST_F(SymbolLoading, PathPiecesAndHowTheyJoin)
{
    for (auto& [path, expected] : std::vector<std::pair<std::string, std::vector<std::string>>>{
             {"/:/a:/b", {" ", "/a", "/b"}}, {"", {" "}}, {"ab::c:/dd:", {" ", "ab", "/dd"}}}) {
        SymbolTable::setPath(path);
        EXPECT_EQ(SymbolTable::_paths, expected) << path;
    }
    // A relative name always gets a separator of its own, behind a directory ending in "/" too.
    _scratch.file("d/x", "");
    std::string directory = _scratch.path("d/"), file = "x", result;
    EXPECT_EQ(SymbolTable::checkFile(directory, file, result), 1);
    EXPECT_EQ(result, _scratch.path("d//x"));
}

TEST_F(SymbolLoading, FindPathTriesFullThenShortNameInEachDirectory)
{
    std::string sym = _scratch.path("sym"), name = _scratch.path("system/lib/libtry.so");
    _scratch.file("sym/libtry.so", "");
    SymbolTable::setPath("/:" + sym);
    gVerbosity = 1;
    testing::internal::CaptureStdout();
    int index = 0;
    std::string found = SymbolTable::findPathForFile(name, index);
    std::string log = testing::internal::GetCapturedStdout(), tried;
    for (size_t at = log.find("checkFile "); at != std::string::npos; at = log.find("checkFile ", at + 1))
        tried += log.substr(at + 10, log.find('=', at) - at - 10) + "\n";
    EXPECT_EQ(tried, name + "\n/libtry.so\n" + sym + name + "\n" + sym + "/libtry.so\n");
    EXPECT_EQ(std::pair(found, index), std::pair(sym + "/libtry.so", 1));
    index++;
    EXPECT_EQ(SymbolTable::findPathForFile(name, index), "");
}

TEST_F(SymbolLoading, FindAndReadGoesOnPastAListOfOneSymbol)
{
    EnvSetting path("PATH", fakeNm());
    std::string name = _scratch.path("dev/lib/libretry.so"), copy = _scratch.path("sym/libretry.so");
    _scratch.file("dev/lib/libretry.so", "").file("dev/lib/libretry.so.list", "00001000 T only\n");
    _scratch.file("sym/libretry.so", "").file("sym/libretry.so.list", "00001000 T one\n00001200 T two\n");
    SymbolTable::setPath(_scratch.path("sym"));

    SymbolTable* table = SymbolTable::findAndRead(name.c_str());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->_fileName, copy);
    EXPECT_EQ(symbolsOf(*table), (std::vector<Sym>{{0x1000, 0x200, "one\n"}, {0x1200, 0, "two"}}));
    EXPECT_EQ(readFile(_scratch.path("nm.log")), "[-nCg][" + name + "][-nCg][" + copy + "]");
    // The failed first try stays cached under the name and its base name.
    SymbolTable* cached = SymbolTable::findAndRead(name.c_str());
    EXPECT_EQ(std::pair(cached->_fileName, cached->_elements.size()), std::pair(name, (size_t)1));
    EXPECT_EQ(SymbolTable::findAndRead("/elsewhere/libretry.so"), cached);
}

TEST_F(SymbolLoading, FileFoundNowhereGetsOneEmptyCachedTable)
{
    EnvSetting path("PATH", fakeNm());
    SymbolTable::setPath(_scratch.path("sym"));
    std::string name = _scratch.path("gone/libnowhere.so");
    SymbolTable* table = SymbolTable::findAndRead(name.c_str());
    ASSERT_NE(table, nullptr);
    EXPECT_TRUE(table->_elements.empty());
    EXPECT_EQ(SymbolTable::findAndRead(name.c_str()), table);
    EXPECT_EQ(SymbolTable::findAndRead("/other/libnowhere.so"), table);
    EXPECT_FALSE(std::filesystem::exists(_scratch.path("nm.log")));  // nm never ran
}

TEST_F(SymbolLoading, NmGetsThePathAsOneArgumentAfterTheMarkerAndTheListIsPrivate)
{
    EnvSetting path("PATH", fakeNm());
    EnvSetting tmp("TMPDIR", _scratch.path("tmp"));
    std::filesystem::create_directories(_scratch.path("tmp"));
    std::string file = "lib;touch pwned;$(x) 'q'.so", name = _scratch.path(file);
    _scratch.file(file, "").file(file + ".list", "00000010 T f1\n00000020 T f2\n");
    FILE* markers = tmpfile();
    std::swap(gMarkerFile, markers);
    gShowMarkers = true;
    SymbolTable* table = SymbolTable::generateAndRead(name.c_str());
    gShowMarkers = false;
    std::swap(gMarkerFile, markers);

    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->_elements.size(), 2u);
    EXPECT_EQ(readFile(_scratch.path("nm.log")), "[-nCg][" + name + "]");
    EXPECT_TRUE(std::filesystem::is_empty(_scratch.path("tmp")));
    char marker[4096] = {0};
    rewind(markers);
    EXPECT_GT(fread(marker, 1, sizeof marker - 1, markers), 0u);
    EXPECT_EQ(std::string(marker), "zcv-" + name + "\n");
    fclose(markers);
}

TEST_F(SymbolLoading, MissingNmGivesNoTable)
{
    EnvSetting path("PATH", _scratch.path("nothing-here"));
    std::string name = _scratch.path("libnonm.so");
    _scratch.file("libnonm.so", "");
    SymbolTable::setPath("");
    EXPECT_EQ(SymbolTable::findAndRead(name.c_str()), nullptr);
    EXPECT_TRUE(SymbolTable::findExistingSymbolTable(name)->_elements.empty());
}

// The functions of one executable file, or of the kernel, as address ranges,
// and the loading of such tables: from "nm" output over files found along a
// search path, or from the kernel's symbol list. Tables are cached by full
// and by base name, so a library mapped by many processes is read once.
#ifndef ZELCONV_SYMBOLTABLE_H
#define ZELCONV_SYMBOLTABLE_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ListingText.h"
#include "PerfFoundation.h"
#include "SymbolTableElement.h"

class FileNames;
class PerfJSONWriter;

class SymbolTable : public PerfFoundation {
public:
    // Symbol-type letters that are kept: code, strong or weak.
    static constexpr const char* kValidSections = "TtWw";

    SymbolTable();
    SymbolTable(const char* name, unsigned long long address, unsigned long long size);
    virtual ~SymbolTable();
    SymbolTable(const SymbolTable&) = delete;
    SymbolTable& operator=(const SymbolTable&) = delete;

    // Appends a symbol; the order of the table is the order of the calls.
    SymbolTableElement* addElement(unsigned long long start, unsigned long long size, const char* name, FileNames* file,
                                   unsigned int line);
    // Binary search over elements taken to be ascending by start. The end of a
    // symbol is inclusive, and a table of one element never matches.
    SymbolTableElement* findElement(unsigned long long address);
    // Scan from the front, with the same inclusive end; needs no order.
    SymbolTableElement* findElementLinear(unsigned long long address);

    static void createSyntheticTable();
    // The symbol standing for the 64 KiB unit of `address`, made on first request.
    static SymbolTableElement* addSyntheticEntry(unsigned long long address, unsigned long long size, const char* name);
    static SymbolTable* findExistingSymbolTable(const std::string& name);

    // Writes the used elements as rows of "functions", up to the first null entry.
    void out(PerfJSONWriter& writer, unsigned int unused);
    // Writes the "functions" section of the profile document.
    static void outAll(PerfJSONWriter& writer);
    void outKeys(PerfJSONWriter& writer);

    void show();
    void showAllUsed();
    static void showAllTablesUsed();

    // Loading.
    // Replaces the search path by " " (the name as it stands) and the ':'-separated directories of `path`.
    static void setPath(std::string path);
    // The cached table of `name`, or one read from the first place on the path
    // that gives at least two symbols. Null if places were found but none gave symbols.
    static SymbolTable* findAndRead(const char* name);
    // Runs nm over `path` into a private list file and reads it; null below two symbols.
    static SymbolTable* generateAndRead(const char* path);
    // From here on nm runs in the background, one command per core, while the
    // conversion goes on. findAndRead then hands out a table whose listing is
    // read when the table is first searched or written; one whose listing
    // turns out to hold fewer than two symbols stands in for null, which its
    // searches match, since they find nothing. Listings are read in the order
    // their commands were given, as file keys are numbered in that order.
    static void loadInBackground(unsigned int workers);
    // Reads every listing still outstanding and ends the background work.
    static void finishLoading();
    // Parses nm output, or the kernel symbol list when `path` is SystemFiles::kallsyms
    // (opened under the redirected root), into this table; -1 if it cannot be opened.
    int readFromFile(const char* path);
    // The first place from `index` on where `name`, or its base name, can be opened; `index` is left there.
    static std::string findPathForFile(std::string name, int& index);
    static int checkFile(std::string& directory, std::string& file, std::string& result);
    static int stripPath(std::string& path, std::string& baseName);

    // The symbol set-up of a profile run in one call: the search path from
    // symPath, the kernel's table from its symbol list, the kernel bounds
    // gKernelStart and gKernelEnd, and the entry for the vector page.
    // Returns the table, which is also stored as _kernelSymTable.
    static SymbolTable* loadKernelSymbols();

    uint64_t _lowAddress;
    uint64_t _highAddress;
    SymbolTableElement _tableElement;
    // Empty while the table waits for its nm listing (loadInBackground): the
    // operations above wait for it, code that reads this directly must not
    // run before finishLoading.
    std::vector<SymbolTableElement*> _elements;
    std::string _fileName;

    static std::vector<std::string> _paths;
    static std::vector<SymbolTable*> _allSymbolTables;
    static SymbolTable* _kernelSymTable;
    static SymbolTable* _syntheticSymTable;

private:
    struct Range {
        uint64_t start;
        uint64_t end;  // inclusive: start + size
        bool present;  // false for a null entry, which ends a search
    };
    static constexpr size_t kNoListing = ~(size_t)0;
    // Blocks start small and double, so a table of a few symbols stays small.
    static constexpr size_t kFirstElementBlock = 16;
    static constexpr size_t kLargestElementBlock = 1024;
    static constexpr size_t kFirstNameBlock = 1024;
    static constexpr size_t kLargestNameBlock = 65536;

    // Elements and their names live in blocks that never move, so that a
    // list of many symbols is loaded without an allocation per symbol.
    std::string_view _keepName(const char* name);
    SymbolTableElement* _newElement(std::string_view name, unsigned long long start, unsigned long long size,
                                    FileNames* file, unsigned int line);
    std::vector<std::unique_ptr<unsigned char[]>> _elementBlocks;
    size_t _elementBlockSize = 0;
    size_t _elementsLeft = 0;
    std::vector<std::unique_ptr<char[]>> _nameBlocks;
    size_t _nameBlockSize = 0;
    char* _nameSpace = nullptr;
    size_t _nameSpaceLeft = 0;

    void _syncRanges();
    void _register();
    std::vector<Range> _ranges;
    // The number of the nm command whose listing this table still waits for.
    size_t _listingJob = kNoListing;

    static SymbolTable* _generate(const char* path, bool mayWait);
    // Reads the outstanding listings in order, up to that of `upTo` (all for null).
    static void _readListingsUpTo(SymbolTable* upTo);
    void _awaitListing()
    {
        if (_listingJob != kNoListing)
            _readListingsUpTo(this);
    }
    static bool _laterPlaceMayHold(const std::string& name, int index);
    static std::string _placeOf(const std::string& directory, const std::string& file);
    int _readSorted(ListingText& input, bool kernel);
    void _readUnsorted(ListingText& input, char* buffer, int bufferSize, uint64_t pendingAddress,
                       const std::string& pendingName);
};

// `baseName` becomes what follows the last "/" of `path`, or all of it.
void fileNameNoPath(std::string path, std::string& baseName);

#endif

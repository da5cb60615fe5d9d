// One symbol: an address range with a name, the source file it comes from,
// and the document key that the map code gives it on first use.
#ifndef ZELCONV_SYMBOLTABLEELEMENT_H
#define ZELCONV_SYMBOLTABLEELEMENT_H

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

class FileNames;
class PerfJSONWriter;

class SymbolTableElement {
public:
    // Sizes above this are gaps between symbols rather than functions, and are stored as 0.
    static constexpr uint64_t kMaxSize = 0x100000;

    // A name kept by someone else, zero-terminated, for the element's life.
    struct KeptName {
        std::string_view text;
    };

    SymbolTableElement();
    // The element keeps a copy of `name`.
    SymbolTableElement(const char* name, unsigned long long address, unsigned long long size, FileNames* file,
                       unsigned int line);
    // The element refers to `name`, as a table's elements do to the table's name store.
    SymbolTableElement(KeptName name, unsigned long long address, unsigned long long size, FileNames* file,
                       unsigned int line);
    ~SymbolTableElement();
    SymbolTableElement(const SymbolTableElement&) = delete;
    SymbolTableElement& operator=(const SymbolTableElement&) = delete;

    // Counts a use; the first one also files the symbol with its source file. Returns the key.
    unsigned int markUsed(unsigned long long address);
    // Notes a map that used this symbol, once per map, in order of first use.
    void setMapKey(unsigned int key);
    void show();
    // Writes this symbol as one row of the "functions" section.
    void out(PerfJSONWriter& writer, unsigned int unused);

    // What every sampled address touches comes first, so that it shares a cache line.
    uint32_t _key;
    uint32_t _useCount;
    bool _used;
    bool _flag;
    // The two map keys noted last: both are in _mapKeys, so a repeat needs no search of it.
    uint32_t _recentMapKeys[2] = {0, 0};
    std::vector<uint32_t> _mapKeys;
    std::string_view _name;  // zero-terminated
    uint64_t _address;
    uint64_t _size;
    FileNames* _file;  // never null; not owned
    uint32_t _lineNumber;
    std::vector<uint32_t> _reserved;

    static uint32_t _runningIndex;

private:
    void _setFile(FileNames* file);
    void _announce(FileNames* file);

    std::unique_ptr<char[]> _ownName;  // the copy of a name the element keeps itself
    bool _ownsFile = false;            // the file is an empty object made for this symbol alone
};

#endif

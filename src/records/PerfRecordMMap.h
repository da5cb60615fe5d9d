// One memory mapping of one process: an address range and the file behind
// it. The class answers what code an address belongs to, through the sorted
// map table, the standing kernel, stack and lost-and-found maps, and
// synthetic 64 KiB entries for addresses no map covers.
#ifndef ZELCONV_PERFRECORDMMAP_H
#define ZELCONV_PERFRECORDMMAP_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "PerfMapIndex.h"
#include "PerfRecord.h"

class PerfRecordComm;
class PerfRecordSample;
class SymbolTableElement;

class PerfRecordMMap : public PerfRecord {
public:
    PerfRecordMMap();
    PerfRecordMMap(unsigned int pid, unsigned int tid, unsigned long long start, unsigned long long length,
                   unsigned long long pgoff, const char* name);
    ~PerfRecordMMap() override;

    // Maps live in blocks of their own and are not given back one by one.
    static void* operator new(size_t size);
    static void operator delete(void*) {}
    // Destroys every map, the standing ones too, and frees their storage and
    // names, for a harness that converts many inputs in one process.
    static void releaseAll();

    static PerfRecord* createInstance(char* buffer);
    // The map covering `address` for the process, or null; `tid` is not used.
    static PerfRecordMMap* findMap(unsigned long long address, unsigned int pid, unsigned int tid);
    // As above for the sample's own address, and marks the symbol there as used.
    static PerfRecordMMap* findMap(PerfRecordSample* sample);
    // Any map of the sample's process.
    static PerfRecordMMap* findPidMap(PerfRecordSample* sample);
    // A home for an address that no map covers: a synthetic symbol under a
    // map of the process, or a map of its own.
    static PerfRecordMMap* createSyntheticMap(PerfRecordSample* sample, unsigned int pid, unsigned int tid,
                                              unsigned long long address);

    const char* perfRecordType() override { return "mmap"; }
    unsigned int getLen() override { return (unsigned int)_length; }
    unsigned long long getAddress() override { return _start; }
    const char* getName() override { return _fileName; }
    int _out(PerfJSONWriter& writer) override;
    virtual void setName(const char* name);
    virtual void show();
    // The key of the symbol at `address`, or of the map when there is none.
    virtual unsigned int getKey(unsigned long long address);
    using PerfRecord::getKey;

    void addSample(PerfRecordSample* sample);
    int checkRange(unsigned long long address, unsigned int pid, unsigned int tid);
    void addProcessRef();
    static void findMissingProcessRefs();
    void findMoreSymbols(const char* name);

    static void outAll(PerfJSONWriter& writer);

    uint64_t _start = 0;
    uint64_t _length = 0;
    uint64_t _pgoff = 0;
    uint64_t _symbolBase = 0;
    char* _fileName = nullptr;
    uint32_t _pidKey = 0;
    uint64_t _sortKey = 0;
    PerfRecordComm* _processRecord = nullptr;
    std::vector<PerfRecordSample*> _samples;
    std::vector<SymbolTableElement*> _symbolElements;
    SymbolTable* _symbols = nullptr;

    // Maps and symbols draw their keys from this one counter.
    static uint32_t _indexTotal;
    static std::vector<PerfRecordMMap*> _allMaps;
    static PerfMapIndex _sortedMaps;
    static PerfRecordMMap* _lostAndFound;
    static PerfRecordMMap* _kernelMap;
    static PerfRecordMMap* _stackMap;
    static char _stackName[64];

private:
    static void _createStandingMaps();
    // Gives a symbol its key on first use, marks it used and notes the map.
    static void _claimSymbol(SymbolTableElement* element, unsigned int mapKey, unsigned int tid);
    // The symbol at `address` under this map, given a key on first use and marked used.
    SymbolTableElement* _useSymbolAt(unsigned long long address);
};

#endif

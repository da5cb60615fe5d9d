#include "PerfRecordMMap.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "PerfFactory.h"
#include "PerfJSONWriter.h"
#include "PerfNamePool.h"
#include "PerfRecordComm.h"
#include "PerfRecordSample.h"
#include "ProfileSection.h"
#include "Settings.h"
#include "SymbolTable.h"
#include "SymbolTableElement.h"

uint32_t PerfRecordMMap::_indexTotal = 0;
std::vector<PerfRecordMMap*> PerfRecordMMap::_allMaps;
PerfMapIndex PerfRecordMMap::_sortedMaps;
PerfRecordMMap* PerfRecordMMap::_lostAndFound = nullptr;
PerfRecordMMap* PerfRecordMMap::_kernelMap = nullptr;
PerfRecordMMap* PerfRecordMMap::_stackMap = nullptr;
char PerfRecordMMap::_stackName[64];

static PerfAddFactory mmapFactory(1, "mmap", PerfRecordMMap::createInstance);

namespace {

const uint64_t kStackStart = 0xB0000000ULL;
const uint64_t kStackEnd = 0xBEFFFFFFULL;
// Mappings from here up to the kernel are relocatable libraries, whose symbol
// addresses are relative to the mapping.
const uint64_t kLibraryBase = 0x40000000ULL;
const uint64_t kSyntheticUnit = 0x10000ULL;

enum AddressClass { kKernelClass, kStackClass, kMappedClass };

// The kernel test has no upper limit, and the stack map's own start is not in the stack class.
AddressClass classify(unsigned long long address)
{
    if (address > gKernelStart)
        return kKernelClass;
    if (address > kStackStart && address <= kStackEnd)
        return kStackClass;
    return kMappedClass;
}

char* copyWithoutDeleted(const char* name)
{
    const char* deleted = strstr(name, " (deleted)");
    return PerfNamePool::keep(deleted != nullptr ? std::string_view(name, (size_t)(deleted - name)) : name);
}

// Maps are carved from blocks rather than allocated one by one: a recording
// may hold a great many, and every one lives to the end of the run.
const size_t kMapsPerBlock = 1024;
std::vector<std::unique_ptr<unsigned char[]>> mapBlocks;
size_t mapsLeft = 0;

uint64_t pidBits(unsigned int pid) { return (uint64_t)(pid & 0xFFFF) << 48; }

// The binary search over the sorted maps shared by findMap and findPidMap.
// `high` starts at the count, so a probe there ends the search with no match.
template <typename Matches, typename GoesUp>
PerfRecordMMap* searchSortedMaps(Matches matches, GoesUp goesUp)
{
    const PerfMapIndex& maps = PerfRecordMMap::_sortedMaps;
    const int64_t count = (int64_t)maps.size();
    int64_t low = 0;
    int64_t high = count;
    int64_t middle = count / 2;
    do {
        if (middle >= count)
            return nullptr;
        PerfRecordMMap* map = maps[(size_t)middle];
        if (matches(map))
            return map;
        if (goesUp(map))
            low = middle + 1;
        else
            high = middle - 1;
        middle = low + (high - low) / 2;
    } while (low <= middle && middle <= high);
    return nullptr;
}

}  // namespace

PerfRecordMMap::PerfRecordMMap() { key = ++_indexTotal; }

PerfRecordMMap::PerfRecordMMap(unsigned int pid_, unsigned int tid_, unsigned long long start,
                               unsigned long long length, unsigned long long pgoff, const char* name)
    : PerfRecord(pid_, tid_), _start(start), _length(length), _pgoff(pgoff)
{
    if (_lostAndFound == nullptr)
        _createStandingMaps();
    key = ++_indexTotal;
    if (start >= kLibraryBase && start < gKernelStart)
        _symbolBase = start;
    _fileName = copyWithoutDeleted(name);
    addProcessRef();
    findMoreSymbols(_fileName);
    if (gVerbosity != 0)
        show();
    _allMaps.push_back(this);

    // Behind the last map with a strictly smaller key, ahead of equal ones.
    _sortKey = pidBits(pid) | ((uint64_t)(tid & 0xFFFF) << 32) | _start;
    _sortedMaps.insert(this, _sortKey);
}

PerfRecordMMap::~PerfRecordMMap() {}

void* PerfRecordMMap::operator new(size_t size)
{
    if (mapsLeft == 0) {
        mapBlocks.emplace_back(new unsigned char[kMapsPerBlock * sizeof(PerfRecordMMap)]);
        mapsLeft = kMapsPerBlock;
    }
    (void)size;  // always sizeof(PerfRecordMMap): no class derives from it
    return mapBlocks.back().get() + (kMapsPerBlock - mapsLeft--) * sizeof(PerfRecordMMap);
}

void PerfRecordMMap::releaseAll()
{
    for (PerfRecordMMap* map : _allMaps)
        delete map;
    _allMaps.clear();
    _sortedMaps.clear();
    for (PerfRecordMMap** standing : {&_lostAndFound, &_kernelMap, &_stackMap}) {
        delete *standing;
        *standing = nullptr;
    }
    _indexTotal = 0;
    mapBlocks.clear();
    mapsLeft = 0;
    PerfNamePool::release();
}

// Built with the first map record, after the kernel bounds and table are known.
void PerfRecordMMap::_createStandingMaps()
{
    _lostAndFound = new PerfRecordMMap();
    _lostAndFound->_fileName = PerfNamePool::keep("lostAndFound");
    _lostAndFound->_pidKey = PerfRecordComm::_lostAndFound.key;

    _kernelMap = new PerfRecordMMap();
    _kernelMap->_fileName = PerfNamePool::keep("kernel");
    _kernelMap->_start = gKernelStart;
    _kernelMap->_length = gKernelEnd - gKernelStart;
    _kernelMap->_pidKey = PerfRecordComm::_kernelArea.key;
    _kernelMap->_symbols = SymbolTable::_kernelSymTable;

    snprintf(_stackName, sizeof _stackName, "{stack:%08x-%08x}", (unsigned int)kStackStart, (unsigned int)kStackEnd);
    _stackMap = new PerfRecordMMap();
    _stackMap->_fileName = PerfNamePool::keep(_stackName);
    _stackMap->_start = kStackStart;
    _stackMap->_length = kStackEnd - kStackStart;
    _stackMap->_pidKey = PerfRecordComm::_kernelArea.key;
}

// Body: pid at 8, tid at 12, start at 16, length at 24, page offset at 32,
// the file name from 40 to its zero, read no further than the buffer reaches.
PerfRecord* PerfRecordMMap::createInstance(char* buffer)
{
    uint32_t pid;
    uint32_t tid;
    uint64_t start;
    uint64_t length;
    uint64_t pgoff;
    memcpy(&pid, buffer + 8, 4);
    memcpy(&tid, buffer + 12, 4);
    memcpy(&start, buffer + 16, 8);
    memcpy(&length, buffer + 24, 8);
    memcpy(&pgoff, buffer + 32, 8);
    const char* text = buffer + 40;
    std::string name(text, strnlen(text, (size_t)PerfFactory::_tmpLen - 40));
    return new PerfRecordMMap(pid, tid, start, length, pgoff, name.c_str());
}

void PerfRecordMMap::setName(const char* name) { _fileName = PerfNamePool::keep(name); }

void PerfRecordMMap::show()
{
    printf("MMAP k:%u p:%u t:%u a:%llx s:%lld r:%d\n", key, pid, tid, (unsigned long long)_start, (long long)_length,
           _processRecord != nullptr ? (int)_processRecord->key : 0);
}

void PerfRecordMMap::addProcessRef()
{
    if (_processRecord != nullptr)
        return;
    PerfRecordComm* process = PerfRecordComm::findProcessRecord(pid, tid);
    if (process == nullptr)
        return;
    _processRecord = process;
    _pidKey = process->key;
    process->addMMap(this);
}

void PerfRecordMMap::findMissingProcessRefs()
{
    for (PerfRecordMMap* map : _allMaps)
        map->addProcessRef();
}

void PerfRecordMMap::findMoreSymbols(const char* name)
{
    if (name == nullptr)
        return;
    _symbols = SymbolTable::findAndRead(name);
}

int PerfRecordMMap::checkRange(unsigned long long address, unsigned int pid_, unsigned int tid_)
{
    if (pid_ != pid)
        return -1;
    if (tid_ != 0 && tid_ != tid)
        return 2;
    if (address < _start || address > _start + _length)
        return 1;
    return 0;
}

PerfRecordMMap* PerfRecordMMap::findMap(unsigned long long address, unsigned int pid, unsigned int)
{
    switch (classify(address)) {
    case kKernelClass:
        return _kernelMap;
    case kStackClass:
        return _stackMap;
    default:
        break;
    }
    // Sorted with the tid bits in place and searched with them cleared, so a
    // map of another thread of the process can be missed; the caller then
    // falls back on a synthetic map.
    const uint64_t searchKey = pidBits(pid) | address;
    return searchSortedMaps(
        [&](PerfRecordMMap* map) {
            return map->pid == pid && address >= map->_start && address <= map->_start + map->_length;
        },
        [&](PerfRecordMMap* map) { return searchKey >= (map->_sortKey & 0xFFFF0000FFFFFFFFULL); });
}

PerfRecordMMap* PerfRecordMMap::findMap(PerfRecordSample* sample)
{
    const unsigned long long address = sample->getAddress();
    switch (classify(address)) {
    case kKernelClass:
        if (_kernelMap != nullptr)
            _kernelMap->addSample(sample);
        return _kernelMap;
    case kStackClass:
        // The stack answers with its own map but looks in the kernel's symbols.
        if (_kernelMap != nullptr)
            _kernelMap->addSample(sample);
        return _stackMap;
    default:
        break;
    }
    PerfRecordMMap* map = findMap(address, sample->pid, sample->tid);
    if (map != nullptr)
        map->addSample(sample);
    return map;
}

PerfRecordMMap* PerfRecordMMap::findPidMap(PerfRecordSample* sample)
{
    switch (classify(sample->getAddress())) {
    case kKernelClass:
        return _kernelMap;
    case kStackClass:
        return _stackMap;
    default:
        break;
    }
    const unsigned int pid = sample->pid;
    return searchSortedMaps(
        [&](PerfRecordMMap* map) { return map->pid == pid; },
        [&](PerfRecordMMap* map) { return ((uint64_t)pid << 48) >= (map->_sortKey & 0xFFFF000000000000ULL); });
}

void PerfRecordMMap::_claimSymbol(SymbolTableElement* element, unsigned int mapKey, unsigned int tid)
{
    if (element->_key == 0)
        element->_key = ++_indexTotal;
    element->markUsed(tid);
    element->setMapKey(mapKey);
}

SymbolTableElement* PerfRecordMMap::_useSymbolAt(unsigned long long address)
{
    SymbolTableElement* element = _symbols->findElement(address - _symbolBase);
    if (element != nullptr)
        _claimSymbol(element, key, tid);
    return element;
}

unsigned int PerfRecordMMap::getKey(unsigned long long address)
{
    verbose(1, "getKey %s st:%p %llx:%llx\n", _fileName, (void*)_symbols, address, (unsigned long long)_symbolBase);
    if (_symbols == nullptr)
        return key;
    verbose(1, "getKey %llx:%llx\n", address, (unsigned long long)_symbolBase);
    SymbolTableElement* element = _useSymbolAt(address);
    return element != nullptr ? element->_key : key;
}

void PerfRecordMMap::addSample(PerfRecordSample* sample)
{
    if (sample == nullptr || _symbols == nullptr)
        return;
    (void)_useSymbolAt(sample->getAddress());
}

PerfRecordMMap* PerfRecordMMap::createSyntheticMap(PerfRecordSample* sample, unsigned int pid, unsigned int tid,
                                                   unsigned long long address)
{
    const unsigned long long page = address & ~(kSyntheticUnit - 1);
    if (page == 0)
        return _lostAndFound;

    PerfRecordMMap* map = findPidMap(sample);
    PerfRecordComm* process = PerfRecordComm::findProcessRecord(pid, tid);
    if (process == nullptr) {
        map = _lostAndFound;
        process = PerfRecordComm::findProcessRecord(pid, 0);
        if (process == nullptr)
            process = &PerfRecordComm::_lostAndFound;
    }
    char pageText[32];
    snprintf(pageText, sizeof pageText, "%08llx", page);
    std::string label = std::string("{") + process->_name + "-" + pageText + "}";

    if (map == nullptr)
        return new PerfRecordMMap(pid, tid, page, kSyntheticUnit, 0, label.c_str());

    map->_useCount++;
    SymbolTableElement* element = SymbolTable::addSyntheticEntry(page, kSyntheticUnit, label.data());
    if (element != nullptr)
        _claimSymbol(element, map->key, tid);
    return map;
}

int PerfRecordMMap::_out(PerfJSONWriter& writer)
{
    writer.writeArrayStart(nullptr);
    writer.writeNamed("key", key);
    writer.writeNamed("pidkey", _pidKey);
    writer.writeNamed("name", _fileName);
    writer.writeNamed("startAddress", (unsigned long long)_start);
    writer.writeNamed("sectionSize", (unsigned long long)_length);
    writer.writeArrayEnd();
    return 0;
}

void PerfRecordMMap::outAll(PerfJSONWriter& writer)
{
    ProfileSection::begin(writer, "libraries",
                          {{"key", "db key for this process element used in other structs as a reference"},
                           {"pidkey", "key or reference to the process"},
                           {"name", "name of the library or function"},
                           {"startAddress", "start address of this memory map"},
                           {"sectionSize", "length of the memory map"}});
    for (PerfRecordMMap* standing : {_lostAndFound, _kernelMap, _stackMap})
        if (standing != nullptr)
            standing->out(writer);
    for (PerfRecordMMap* map : _allMaps)
        if (map != nullptr && map->_useCount != 0)
            map->out(writer);
    ProfileSection::end(writer);
}

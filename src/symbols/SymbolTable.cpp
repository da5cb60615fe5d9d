#include "SymbolTable.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <new>
#include <unordered_map>
#include <unordered_set>

#include "FileNames.h"
#include "NmRunner.h"
#include "PerfJSONWriter.h"
#include "ProfileSection.h"
#include "Settings.h"
#include "SystemFiles.h"
#include "TimeBase.h"

std::vector<std::string> SymbolTable::_paths;
std::vector<SymbolTable*> SymbolTable::_allSymbolTables;
SymbolTable* SymbolTable::_kernelSymTable = nullptr;
SymbolTable* SymbolTable::_syntheticSymTable = nullptr;

namespace {

// Tables by full name and by base name; the first table of a name wins.
// Like the tables, the two maps are never destroyed: what a run keeps stays
// reachable to its end, also for a leak checker looking after static destructors.
std::map<std::string, SymbolTable*>& _symbolTables = *new std::map<std::string, SymbolTable*>();
// Synthetic symbols by the address of their 64 KiB unit; looked up for every
// address no map covers, and never walked in order.
std::unordered_map<uint64_t, SymbolTableElement*>& _synthetics =
    *new std::unordered_map<uint64_t, SymbolTableElement*>();
// Tables whose nm listing is still to be read, in the order of their commands.
std::deque<SymbolTable*>& _awaitingListing = *new std::deque<SymbolTable*>();

constexpr int kLineBuffer = 4096;
constexpr uint64_t kKernelFloor = 0x2FFFFFFF;
// Below these the list must ascend; above them the kernel's list falls back
// to the lower addresses of its modules, which is expected.
constexpr uint64_t kOrderLimit = 0xBFFFFFFFull;
constexpr uint64_t kOrderLimitWide = 0xFFFFFFBFFFFFFFFFull;

// ARM mapping symbols mark code and data regions, not functions.
bool isMappingSymbol(const char* line)
{
    return strstr(line, "$a") != nullptr || strstr(line, "$d") != nullptr || strstr(line, "$t") != nullptr;
}

// The name stands 3 characters behind the first of the type patterns found,
// searched in this order over the whole line. A line without any gets an
// empty name at its end.
char* findName(char* line)
{
    for (const char* pattern : {" T ", " t ", " W ", " w "}) {
        char* found = strstr(line, pattern);
        if (found != nullptr)
            return found + 3;
    }
    return line + strlen(line);
}

// Decimal as a 32-bit strtoul reads it, so every word width gives the same
// number: leading blanks and a sign are taken, and too large a value saturates.
uint32_t parseLineNumber(const char* text)
{
    while (*text == ' ' || *text == '\t')
        text++;
    bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        text++;
    uint64_t value = 0;
    for (; *text >= '0' && *text <= '9'; text++) {
        value = value * 10 + (uint64_t)(*text - '0');
        if (value > 0xFFFFFFFFull)
            return 0xFFFFFFFFu;
    }
    return negative ? 0u - (uint32_t)value : (uint32_t)value;
}

// The address and type letter at the head of a line, read as "%llx %c " reads
// them; the count of fields found. A number too large for 64 bits saturates
// instead of being left undefined.
int parseAddressAndType(const char* line, unsigned long long& address, char& type)
{
    char* end = nullptr;
    address = strtoull(line, &end, 16);
    if (end == line)
        return 0;
    while (isspace((unsigned char)*end))
        end++;
    if (*end == '\0')
        return 1;
    type = *end;
    return 2;
}

// Reads up to the next line that is not a mapping symbol and starts with an
// address and a type letter; false at the end of the input or on a read error.
// At the end of the input the buffer keeps the line before, which the caller
// then sees a second time.
bool nextListingLine(ListingText& input, char* buffer, int size, unsigned long long& address, char& type)
{
    while (!input.atEnd()) {
        if (!input.readLine(buffer, size))
            return false;
        if (isMappingSymbol(buffer))
            continue;
        address = 0;
        type = 0;
        if (parseAddressAndType(buffer, address, type) == 2)
            return true;
    }
    return false;
}

}  // namespace

void fileNameNoPath(std::string path, std::string& baseName)
{
    size_t slash = path.rfind('/');
    baseName = slash == std::string::npos ? path : path.substr(slash + 1);
}

SymbolTable::SymbolTable()
    : _lowAddress(~0ull), _highAddress(0), _tableElement("default", 0, 0, nullptr, 0), _fileName("default")
{
    _register();
}

SymbolTable::SymbolTable(const char* name, unsigned long long address, unsigned long long size)
    : _lowAddress(~0ull),
      _highAddress(0),
      _tableElement(name, address, size, nullptr, 0),
      _fileName(name != nullptr ? name : "")
{
    _register();
    verbose(1, "Symtab adding %s\n", _fileName.c_str());
    std::string baseName;
    if (stripPath(_fileName, baseName)) {
        _symbolTables.emplace(baseName, this);
        verbose(1, "Symtab adding %s\n", baseName.c_str());
    }
}

void SymbolTable::_register()
{
    _allSymbolTables.push_back(this);
    _symbolTables.emplace(_fileName, this);
}

SymbolTable::~SymbolTable()
{
    // Listings are read in order, so one still awaited is read before the table goes.
    _awaitListing();
    // A table that goes away must not stay reachable from the static tables.
    for (auto it = _symbolTables.begin(); it != _symbolTables.end();)
        it = it->second == this ? _symbolTables.erase(it) : std::next(it);
    for (auto& table : _allSymbolTables)
        if (table == this)
            table = nullptr;
    if (_kernelSymTable == this)
        _kernelSymTable = nullptr;
    if (_syntheticSymTable == this)
        _syntheticSymTable = nullptr;

    // With the bypass set the elements are left to the end of the process.
    if (_bypassDestructor) {
        for (auto& block : _elementBlocks)
            (void)block.release();
        for (auto& block : _nameBlocks)
            (void)block.release();
        return;
    }
    if (!_synthetics.empty()) {
        std::unordered_set<SymbolTableElement*> own(_elements.begin(), _elements.end());
        for (auto it = _synthetics.begin(); it != _synthetics.end();)
            it = own.count(it->second) != 0 ? _synthetics.erase(it) : std::next(it);
    }
    // Every element comes from the table's blocks, which go with the table.
    for (SymbolTableElement* element : _elements)
        if (element != nullptr)
            element->~SymbolTableElement();
    _elements.clear();
    _ranges.clear();
}

SymbolTableElement* SymbolTable::addElement(unsigned long long start, unsigned long long size, const char* name,
                                            FileNames* file, unsigned int line)
{
    if (start > _highAddress)
        _highAddress = start;
    if (start < _lowAddress)
        _lowAddress = start;
    SymbolTableElement* element = _newElement(_keepName(name), start, size, file, line);
    _elements.push_back(element);
    if (_ranges.size() + 1 == _elements.size())
        _syncRanges();
    return element;
}

std::string_view SymbolTable::_keepName(const char* name)
{
    const size_t length = name != nullptr ? strlen(name) : 0;
    if (length + 1 > _nameSpaceLeft) {
        _nameBlockSize = _nameBlockSize == 0 ? kFirstNameBlock : std::min(2 * _nameBlockSize, kLargestNameBlock);
        const size_t blockSize = std::max(length + 1, _nameBlockSize);
        _nameBlocks.emplace_back(new char[blockSize]);
        _nameSpace = _nameBlocks.back().get();
        _nameSpaceLeft = blockSize;
    }
    char* kept = _nameSpace;
    if (length > 0)
        memcpy(kept, name, length);
    kept[length] = '\0';
    _nameSpace += length + 1;
    _nameSpaceLeft -= length + 1;
    return std::string_view(kept, length);
}

SymbolTableElement* SymbolTable::_newElement(std::string_view name, unsigned long long start, unsigned long long size,
                                             FileNames* file, unsigned int line)
{
    if (_elementsLeft == 0) {
        _elementBlockSize =
            _elementBlockSize == 0 ? kFirstElementBlock : std::min(2 * _elementBlockSize, kLargestElementBlock);
        _elementBlocks.emplace_back(new unsigned char[_elementBlockSize * sizeof(SymbolTableElement)]);
        _elementsLeft = _elementBlockSize;
    }
    void* place = _elementBlocks.back().get() + (_elementBlockSize - _elementsLeft) * sizeof(SymbolTableElement);
    _elementsLeft--;
    return new (place) SymbolTableElement(SymbolTableElement::KeptName{name}, start, size, file, line);
}

// The search reads the ranges from a contiguous copy, so a lookup touches one
// element object only, the one it returns. The copy follows `_elements`
// whenever that vector has changed size; elements keep their range for life.
void SymbolTable::_syncRanges()
{
    for (size_t i = _ranges.size(); i < _elements.size(); i++) {
        const SymbolTableElement* element = _elements[i];
        if (element == nullptr)
            _ranges.push_back({0, 0, false});
        else
            _ranges.push_back({element->_address, element->_address + element->_size, true});
    }
}

SymbolTableElement* SymbolTable::findElement(unsigned long long address)
{
    _awaitListing();
    const int64_t count = (int64_t)_elements.size();
    if (count == 0)
        return nullptr;
    int64_t mid = count / 2;
    // The first probe is at index n / 2, so one element is never looked at.
    if (mid == 0)
        return nullptr;
    if (_ranges.size() != _elements.size()) {
        _ranges.clear();
        _syncRanges();
    }
    int64_t lo = 0;
    int64_t hi = count;
    for (;;) {
        if (mid >= count)
            return nullptr;
        const Range& range = _ranges[(size_t)mid];
        if (!range.present)
            return nullptr;
        if (address < range.start) {
            hi = mid - 1;
        } else {
            lo = mid + 1;
            // The end is inclusive: a boundary belongs to whichever neighbour is probed first.
            if (address <= range.end)
                return _elements[(size_t)mid];
        }
        int64_t span = hi - lo;
        mid = lo + (span >= 0 ? span / 2 : -((-span + 1) / 2));  // halves towards minus infinity
        if (mid > hi || mid < lo)
            return nullptr;
    }
}

SymbolTableElement* SymbolTable::findElementLinear(unsigned long long address)
{
    _awaitListing();
    for (SymbolTableElement* element : _elements) {
        if (element == nullptr)
            return nullptr;
        if (element->_address <= address && element->_address + element->_size >= address)
            return element;
    }
    return nullptr;
}

void SymbolTable::createSyntheticTable() { _syntheticSymTable = new SymbolTable(); }

SymbolTableElement* SymbolTable::addSyntheticEntry(unsigned long long address, unsigned long long size,
                                                   const char* name)
{
    auto found = _synthetics.find(address & ~0xFFFFull);
    if (found != _synthetics.end())
        return found->second;
    if (_syntheticSymTable == nullptr)
        return nullptr;
    SymbolTableElement* element = _syntheticSymTable->addElement(address, size, name, nullptr, 0);
    _synthetics[address] = element;
    return element;
}

SymbolTable* SymbolTable::findExistingSymbolTable(const std::string& name)
{
    auto found = _symbolTables.find(name);
    return found == _symbolTables.end() ? nullptr : found->second;
}

void SymbolTable::out(PerfJSONWriter& writer, unsigned int)
{
    _awaitListing();
    for (SymbolTableElement* element : _elements) {
        if (element == nullptr)
            return;
        if (element->_used)
            element->out(writer, 0);
    }
}

void SymbolTable::outAll(PerfJSONWriter& writer)
{
    ProfileSection::begin(writer, "functions",
                          {{"key", "key for this symbol"},
                           {"name", "name of this symbol"},
                           {"startAddress", "Base address of this function or symbol"},
                           {"sectionSize", "Size of this function or symbol"},
                           {"maps", "array of maps for this sample"}});
    for (SymbolTable* table : _allSymbolTables)
        if (table != nullptr)
            table->out(writer, 0);
    ProfileSection::end(writer);
}

void SymbolTable::outKeys(PerfJSONWriter& writer)
{
    _awaitListing();
    writer.writeArrayStart("smapkeys");
    writer.writeNamed("smapkeys2", 777u);
    for (SymbolTableElement* element : _elements) {
        if (element == nullptr)
            break;
        if (element->_used)
            writer.writeNamed("smk", (unsigned int)element->_key);
    }
    writer.writeArrayEnd();
}

void SymbolTable::show()
{
    _awaitListing();
    for (SymbolTableElement* element : _elements)
        if (element != nullptr)
            element->show();
}

void SymbolTable::showAllUsed()
{
    _awaitListing();
    bool headed = false;
    auto showUsed = [&](SymbolTableElement& element) {
        if (!element._used)
            return;
        if (!headed)
            printf("----------\n%s\n----------\n", _fileName.c_str());
        headed = true;
        element.show();
    };
    showUsed(_tableElement);
    for (SymbolTableElement* element : _elements)
        if (element != nullptr)
            showUsed(*element);
}

void SymbolTable::showAllTablesUsed()
{
    for (SymbolTable* table : _allSymbolTables)
        if (table != nullptr)
            table->showAllUsed();
    if (_kernelSymTable != nullptr)
        _kernelSymTable->showAllUsed();
    // The kernel table is shown once more here, and the synthetic table not: kept as it always was.
    if (_syntheticSymTable != nullptr && _kernelSymTable != nullptr)
        _kernelSymTable->showAllUsed();
}

void SymbolTable::setPath(std::string path)
{
    _paths.clear();
    // The first place is no directory at all: checkFile strips the blank.
    _paths.push_back(" ");
    if (path.empty())
        return;
    size_t start = 0;
    for (;;) {
        size_t colon = path.find(':', start);
        std::string piece = path.substr(start, colon == std::string::npos ? std::string::npos : colon - start);
        // One character, such as the "/" that symPath begins with, is no place to look.
        if (piece.size() > 1)
            _paths.push_back(piece);
        if (colon == std::string::npos)
            break;
        start = colon + 1;
    }
}

int SymbolTable::stripPath(std::string& path, std::string& baseName)
{
    size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return 0;
    baseName = path.substr(slash + 1);
    return 1;
}

// The path that checkFile tries for `file` in `directory`. A relative name
// always gets a separator, even behind a directory that ends in "/"; an
// absolute one is placed below the directory as it stands.
std::string SymbolTable::_placeOf(const std::string& directory, const std::string& file)
{
    std::string result = directory;
    if (file.empty() || file[0] != '/')
        result += '/';
    result += file;
    result.erase(0, result.find_first_not_of(' '));
    return result;
}

int SymbolTable::checkFile(std::string& directory, std::string& file, std::string& result)
{
    result = _placeOf(directory, file);
    int flags = O_RDONLY;
#ifdef O_LARGEFILE
    flags |= O_LARGEFILE;
#endif
    int fd = open(result.c_str(), flags);
    verbose(1, "checkFile %s=%d:%d\n", result.c_str(), fd, errno);
    if (fd < 0)
        return 0;
    close(fd);
    return 1;
}

std::string SymbolTable::findPathForFile(std::string name, int& index)
{
    std::string shortName;
    fileNameNoPath(name, shortName);
    std::string result;
    for (; index < (int)_paths.size(); index++) {
        std::string& directory = _paths[(size_t)index];
        if (checkFile(directory, name, result) || checkFile(directory, shortName, result))
            return result;
    }
    return std::string();
}

SymbolTable* SymbolTable::findAndRead(const char* name)
{
    if (name == nullptr)
        return nullptr;
    verbose(1, "SymTab:findAndRead %s\n", name);
    std::string fullName(name);
    SymbolTable* table = findExistingSymbolTable(fullName);
    if (table != nullptr) {
        verbose(1, "SymTab path found %s\n", name);
        return table;
    }
    // The same library mapped from another directory shares the table.
    std::string baseName;
    stripPath(fullName, baseName);
    verbose(1, "SymTab:findAndRead %s\n", baseName.c_str());
    table = findExistingSymbolTable(baseName);
    if (table != nullptr) {
        verbose(1, "SymTab file found %s\n", baseName.c_str());
        return table;
    }

    int index = 0;
    std::string path = findPathForFile(fullName, index);
    // Found nowhere: an empty table keeps the search from being repeated.
    if (path.empty())
        return new SymbolTable(name, 0, 0);
    // A place without a usable list, such as a stripped library, sends the
    // search on to the later places, such as a symbol directory.
    for (;;) {
        verbose(1, "SymbolTable:findAndRead %s\n", path.c_str());
        // Whether the search goes on depends on the listing, so it is waited
        // for unless no later place could hold the file.
        const bool mayWait = NmRunner::instance().inBackground() && !_laterPlaceMayHold(fullName, index + 1);
        table = _generate(path.c_str(), mayWait);
        if (table != nullptr && (table->_listingJob != kNoListing || table->_elements.size() > 1))
            return table;
        if (index >= (int)_paths.size())
            return table;
        index++;
        path = findPathForFile(fullName, index);
        if (path.empty())
            return table;
    }
}

SymbolTable* SymbolTable::generateAndRead(const char* path) { return _generate(path, false); }

SymbolTable* SymbolTable::_generate(const char* path, bool mayWait)
{
    verbose(1, "SymbolTable:generateAndRead %s\n", path);
    writeMarker(path);
    const size_t job = NmRunner::instance().submit(path);
    SymbolTable* table = new SymbolTable(path, 0, 0);
    table->_listingJob = job;
    _awaitingListing.push_back(table);
    if (mayWait)
        return table;
    _readListingsUpTo(table);
    // The table stays cached even when it is not handed back.
    if (table->_elements.size() < 2)
        return nullptr;
    return table;
}

void SymbolTable::_readListingsUpTo(SymbolTable* upTo)
{
    while (!_awaitingListing.empty()) {
        SymbolTable* table = _awaitingListing.front();
        _awaitingListing.pop_front();
        const size_t job = table->_listingJob;
        table->_listingJob = kNoListing;
        NmRunner::Listing listing = NmRunner::instance().collect(job);
        if (listing.made)
            table->_readSorted(listing.text, false);
        if (table == upTo)
            return;
    }
}

// Whether a place from `index` on might let findPathForFile open `name`. A
// file that is not there for stat cannot be opened; anything else might be.
bool SymbolTable::_laterPlaceMayHold(const std::string& name, int index)
{
    std::string shortName;
    fileNameNoPath(name, shortName);
    struct stat status;
    for (; index < (int)_paths.size(); index++)
        for (const std::string* file : {&name, (const std::string*)&shortName})
            if (stat(_placeOf(_paths[(size_t)index], *file).c_str(), &status) == 0 ||
                (errno != ENOENT && errno != ENOTDIR))
                return true;
    return false;
}

void SymbolTable::loadInBackground(unsigned int workers) { NmRunner::instance().runInBackground(workers); }

void SymbolTable::finishLoading()
{
    _readListingsUpTo(nullptr);
    NmRunner::instance().stop();
}

int SymbolTable::readFromFile(const char* path)
{
    const bool kernel = strcmp(path, SystemFiles::kallsyms) == 0;
    int fd = open(kernel ? SystemFiles::path(SystemFiles::kallsyms).c_str() : path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    ListingText input = ListingText::reading(fd);
    const int result = _readSorted(input, kernel);
    close(fd);
    return result;
}

// One pass over a list in ascending order: each symbol is added when its
// successor is read, and reaches up to it.
int SymbolTable::_readSorted(ListingText& input, bool kernel)
{
    // The buffer keeps its contents from line to line: a failed read at the
    // end leaves the last line in it, and the line end of each new line is
    // cut through the previous name's position in it.
    char buffer[kLineBuffer];
    memset(buffer, 0, sizeof buffer);
    uint64_t pendingAddress = 0;
    std::string pendingName;
    FileNames* pendingFile = nullptr;
    uint32_t pendingLine = 0;
    size_t pendingNameOffset = 0;
    uint32_t count = 0;
    bool wide = false;

    unsigned long long address = 0;
    char type = 0;
    while (nextListingLine(input, buffer, kLineBuffer, address, type)) {
        if (count == 0 && (address >> 48) == 0xFFFF)
            wide = true;
        // A 32-bit kernel that hides its addresses lists them all as 0.
        if (kernel && !wide && address <= kKernelFloor)
            continue;
        if (type == '\0' || strchr(kValidSections, type) == nullptr)
            continue;
        if (count != 0) {
            if (pendingAddress <= (wide ? kOrderLimitWide : kOrderLimit) && address < pendingAddress) {
                _readUnsorted(input, buffer, kLineBuffer, pendingAddress, pendingName);
                return 0;
            }
            // The text from the previous name's position is the tail of this
            // line: its last character is this line's end.
            char* previous = buffer + pendingNameOffset;
            size_t length = strlen(previous);
            if (length > 0)
                previous[length - 1] = '\0';
            addElement(pendingAddress, address - pendingAddress, pendingName.c_str(), pendingFile, pendingLine);
        }

        char* name = findName(buffer);
        FileNames* file = nullptr;  // the element takes the empty reference
        uint32_t line = 0;
        char* tab = strchr(name, '\t');
        if (tab != nullptr) {
            // Behind the tab: "file:line", or a kernel module's name.
            *tab = '\0';
            char* colon = strchr(tab + 1, ':');
            if (colon != nullptr) {
                *colon = '\0';
                uint32_t number = parseLineNumber(colon + 1);
                if (number != 0) {
                    line = number;
                    file = FileNames::findOrCreate(tab + 1);
                }
            }
        }
        pendingAddress = address;
        pendingName = name;
        pendingFile = file;
        pendingLine = line;
        pendingNameOffset = (size_t)(name - buffer);
        count++;
    }
    return 0;
}

// The rest of a list whose addresses went backward: gathered by address, then
// added in ascending order. The line that showed the disorder is not taken.
void SymbolTable::_readUnsorted(ListingText& input, char* buffer, int bufferSize, uint64_t pendingAddress,
                                const std::string& pendingName)
{
    verbose(1, "Unsorted entries in SymbolTable\n");
    std::map<uint64_t, std::string> names;
    names[pendingAddress] = pendingName;
    unsigned long long address = 0;
    char type = 0;
    while (nextListingLine(input, buffer, bufferSize, address, type)) {
        if (type == '\0' || strchr(kValidSections, type) == nullptr)
            continue;
        char* name = findName(buffer);
        char* tab = strchr(name, '\t');
        if (tab != nullptr)
            *tab = '\0';
        names[address] = name;
    }

    const std::string* previousName = nullptr;
    uint64_t previousAddress = 0;
    for (const auto& [address, name] : names) {
        verbose(1, "%llx => %s\n", (unsigned long long)address, name.c_str());
        if (previousName != nullptr)
            addElement(previousAddress, address - previousAddress, previousName->c_str(), nullptr, 0);
        previousAddress = address;
        previousName = &name;
    }
    if (previousName != nullptr && previousAddress != 0)
        addElement(previousAddress, 1, previousName->c_str(), nullptr, 0);
}

SymbolTable* SymbolTable::loadKernelSymbols()
{
    setPath(std::string(symPath));
    SymbolTable* table = new SymbolTable();
    (void)table->readFromFile(SystemFiles::kallsyms);
    gKernelStart = table->_lowAddress;
    gKernelEnd = table->_highAddress;
    // The ARM vector page, added after the bounds are taken so it does not widen them.
    table->addElement(0xFFFF0000ull, 0xFFFF, "*interrupt-FFFF0000*", nullptr, 0);
    _kernelSymTable = table;
    return table;
}

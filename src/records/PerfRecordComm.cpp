#include "PerfRecordComm.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "PerfFactory.h"
#include "PerfJSONWriter.h"
#include "PerfRecordMMap.h"
#include "ProfileSection.h"
#include "Settings.h"
#include "SymbolTable.h"

// The tables come before the standing entries, which enter them as they are built.
std::vector<PerfRecordComm*> PerfRecordComm::_elements;
uint32_t PerfRecordComm::_runningPidKey = 0;
std::map<uint64_t, PerfRecordComm*> PerfRecordComm::_mapOfPidTids;
std::map<uint32_t, PerfRecordComm*> PerfRecordComm::_mapOfPid;
std::map<uint32_t, PerfRecordComm*> PerfRecordComm::_mapOfTid;
PerfRecordComm PerfRecordComm::_kernelArea(0, 0, "kernel");
PerfRecordComm PerfRecordComm::_lostAndFound(0xFFFFFFFF, 0xFFFFFFFF, "lostAndFound");
bool PerfRecordComm::_initDone = false;

static PerfAddFactory commFactory(3, "comm", PerfRecordComm::createInstance);

// Copies a name without a " (deleted)" ending and whatever follows it.
char* PerfRecordComm::_copyName(const char* name)
{
    const char* deleted = strstr(name, " (deleted)");
    return deleted != nullptr ? strndup(name, (size_t)(deleted - name)) : strdup(name);
}

PerfRecordComm::PerfRecordComm() : PerfRecord(0, 0), _name(strdup("unknown"))
{
    key = ++_runningPidKey;
    _elements.push_back(this);
    if (gVerbosity != 0)
        show();
}

PerfRecordComm::PerfRecordComm(unsigned int pid_, unsigned int tid_, const char* name)
    : PerfRecord(pid_, tid_), _name(_copyName(name))
{
    key = ++_runningPidKey;
    _elements.push_back(this);
    _mapOfPid.emplace(pid, this);
    _mapOfTid.emplace(tid, this);
    _mapOfPidTids.emplace(((uint64_t)pid << 32) | tid, this);
    if (gVerbosity != 0)
        show();
}

PerfRecordComm::~PerfRecordComm() { free(_name); }

void PerfRecordComm::setName(const char* name)
{
    char* copy = _copyName(name);
    free(_name);
    _name = copy;
}

void PerfRecordComm::show() { printf("PROC k:%d p:%d t:%d %s\n", (int)key, (int)pid, (int)tid, _name); }

// Body: pid at 8, tid at 12, the name from 16 to its terminating zero. The
// name is read no further than the record buffer reaches.
PerfRecord* PerfRecordComm::createInstance(char* buffer)
{
    if (!_initDone) {
        _initDone = true;
        new PerfRecordComm(1, 1, "*init*");
    }
    uint32_t pid;
    uint32_t tid;
    memcpy(&pid, buffer + 8, 4);
    memcpy(&tid, buffer + 12, 4);
    const char* text = buffer + 16;
    std::string name(text, strnlen(text, (size_t)PerfFactory::_tmpLen - 16));

    PerfRecordComm* process = findProcessRecord(pid, tid);
    if (process != nullptr) {
        process->setName(name.c_str());
        return process;
    }
    return new PerfRecordComm(pid, tid, name.c_str());
}

PerfRecordComm* PerfRecordComm::findProcessRecord(unsigned int pid, unsigned int tid)
{
    if (pid == 0 && tid == 0)
        return &_kernelArea;
    auto pair = _mapOfPidTids.find(((uint64_t)pid << 32) | tid);
    if (pair != _mapOfPidTids.end())
        return pair->second;
    if (pid != 0 && tid != 0)
        return nullptr;
    if (pid != 0) {
        auto found = _mapOfPid.find(pid);
        return found != _mapOfPid.end() ? found->second : nullptr;
    }
    auto found = _mapOfTid.find(tid);
    return found != _mapOfTid.end() ? found->second : nullptr;
}

SymbolTable* PerfRecordComm::findSymbolTable(unsigned long long address)
{
    if (address >= gKernelStart)
        return SymbolTable::_kernelSymTable;
    for (PerfRecordMMap* map : _maps) {
        printf("fst3 %s %llx < %llx > %llx\n", map->getName(), (unsigned long long)map->_start, address,
               (unsigned long long)(map->_start + map->_length));
        if (address >= map->_start && address <= map->_start + map->_length)
            return map->_symbolTable;
    }
    return nullptr;
}

int PerfRecordComm::_out(PerfJSONWriter& writer)
{
    writer.writeArrayStart(nullptr);
    writer.writeNamed("key", key);
    writer.writeNamed("pid", pid);
    writer.writeNamed("tid", tid);
    writer.writeNamed("name", _name);
    writer.writeArrayEnd();
    return 0;
}

void PerfRecordComm::outAll(PerfJSONWriter& writer)
{
    ProfileSection::begin(writer, "processes",
                          {{"key", "db key for this process element used in other structs as a reference"},
                           {"pid", "The process id associated with this name"},
                           {"tid", "The thread id"},
                           {"name", "Name of the process with the pid and tid"}});
    for (PerfRecordComm* process : _elements)
        if (process != nullptr)
            process->out(writer);
    ProfileSection::end(writer);
}

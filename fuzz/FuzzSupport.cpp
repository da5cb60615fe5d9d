#include "FuzzSupport.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "CPUChart.h"
#include "FileNames.h"
#include "GPUChart.h"
#include "IRQChart.h"
#include "PerfFactory.h"
#include "PerfRecordComm.h"
#include "PerfRecordMMap.h"
#include "PerfRecordSample.h"
#include "PerfRecordSampleEvent.h"
#include "ProcessChart.h"
#include "Settings.h"
#include "SymbolTable.h"
#include "SymbolTableElement.h"
#include "SystemFiles.h"
#include "TimechartManager.h"

namespace {

// A kernel list with a few functions above the default kernel start, so that
// profile runs have kernel symbols to find.
const char* const kKernelSymbols =
    "c0008000 T stext\n"
    "c0008100 T do_fork\n"
    "c0008400 t schedule\n"
    "c0010000 W cpu_idle\n"
    "c0100000 T __irq_svc\n"
    "c0200000 T etext\n";

struct Defaults {
    bool timechartMode = gTimechartMode;
    bool done = gDoneProcessing;
    bool is64bit = is64;
    int32_t kernelVersion = kern_ver;
    bool rmFirstInterrupt = gRmFirstInterrupt;
    uint64_t kernelStart = gKernelStart;
    uint64_t kernelEnd = gKernelEnd;
    uint32_t verbosity = gVerbosity;
    std::string symbolPath = symPath;
};

// Taken before the first input changes anything.
Defaults& defaults()
{
    static Defaults* saved = new Defaults();
    return *saved;
}

void makeDirectory(const std::string& path)
{
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        perror(path.c_str());
        abort();
    }
}

template <typename Map>
void deleteValues(Map& map)
{
    for (auto& entry : map)
        delete entry.second;
    map.clear();
}

}  // namespace

const std::string& fuzzSandbox()
{
    static std::string* root = nullptr;
    if (root != nullptr)
        return *root;
    (void)defaults();
    char pattern[] = "/tmp/zelconv-fuzz-XXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        perror("mkdtemp");
        abort();
    }
    root = new std::string(pattern);
    makeDirectory(*root + "/bin");
    makeDirectory(*root + "/tmp");
    makeDirectory(*root + "/root");
    makeDirectory(*root + "/root/proc");
    writeWholeFile(fuzzSystemRoot() + SystemFiles::kallsyms, kKernelSymbols);

    setenv("PATH", (*root + "/bin").c_str(), 1);
    setenv("ZELCONV_SYSROOT", fuzzSystemRoot().c_str(), 1);
    setenv("TMPDIR", (*root + "/tmp").c_str(), 1);
    for (const char* name : {"ZELVIEW_CONFIG", "DOCUMENT_ROOT", "BUILD_TYPE", "CHIP", "kern_ver", "ARM64"})
        unsetenv(name);
    return *root;
}

std::string fuzzSystemRoot()
{
    return fuzzSandbox() + "/root";
}

void writeWholeFile(const std::string& path, const std::string& contents)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), (std::streamsize)contents.size());
    if (!out) {
        perror(path.c_str());
        abort();
    }
}

void resetConverter()
{
    // Samples and decoders point at processes, maps and symbols: they go first.
    PerfRecordSample::releaseAll();
    PerfRecordSample::samplesMissingMaps.clear();
    PerfRecordSample::samplesMissingProcess.clear();
    PerfRecordSample::_runningIndex = 0;
    PerfRecordSample::_firstSampleTime = 0.0;
    PerfRecordSample::_lastSampleTime = 0;

    PerfRecordMMap::releaseAll();

    // The two standing processes are static objects: they stay, under their
    // first names, as the only entries of the tables.
    for (PerfRecordComm* process : PerfRecordComm::_elements)
        if (process != &PerfRecordComm::_kernelArea && process != &PerfRecordComm::_lostAndFound)
            delete process;
    PerfRecordComm::_elements.clear();
    PerfRecordComm::_mapOfPid.clear();
    PerfRecordComm::_mapOfTid.clear();
    PerfRecordComm::_mapOfPidTids.clear();
    for (PerfRecordComm* process : {&PerfRecordComm::_kernelArea, &PerfRecordComm::_lostAndFound}) {
        PerfRecordComm::_elements.push_back(process);
        PerfRecordComm::_mapOfPid.emplace(process->pid, process);
        PerfRecordComm::_mapOfTid.emplace(process->tid, process);
        PerfRecordComm::_mapOfPidTids.emplace(((uint64_t)process->pid << 32) | process->tid, process);
    }
    PerfRecordComm::_kernelArea.setName("kernel");
    PerfRecordComm::_lostAndFound.setName("lostAndFound");
    PerfRecordComm::_runningPidKey = 2;
    PerfRecordComm::_initDone = false;

    // A table's destructor takes it out of every static table and index.
    std::vector<SymbolTable*> tables = SymbolTable::_allSymbolTables;
    for (SymbolTable* table : tables)
        delete table;
    SymbolTable::_allSymbolTables.clear();
    SymbolTable::_paths.clear();
    SymbolTableElement::_runningIndex = 0;

    deleteValues(FileNames::_fileTable);
    delete FileNames::_emptyRef;
    FileNames::_emptyRef = nullptr;
    FileNames::_runningKey = 0;

    TimechartManager* manager = TimechartManager::Instance();
    deleteValues(manager->_processCharts);
    deleteValues(manager->_cpuCharts);
    deleteValues(manager->_gpuCharts);
    deleteValues(manager->_irqCharts);
    delete manager;
    TimechartManager::discardInstance();

    delete PerfRecordSampleEvent::_functions;
    PerfRecordSampleEvent::_functions = nullptr;
    PerfRecordSampleEvent::initVectors();

    // A fresh process starts with no record buffer; a short body must not see the last input's bytes.
    delete[] PerfFactory::_tmp;
    PerfFactory::_tmp = nullptr;
    PerfFactory::_tmpLen = 0;
    PerfFactory::_lostBytes = 0;

    const Defaults& d = defaults();
    gTimechartMode = d.timechartMode;
    gDoneProcessing = d.done;
    is64 = d.is64bit;
    kern_ver = d.kernelVersion;
    gRmFirstInterrupt = d.rmFirstInterrupt;
    gKernelStart = d.kernelStart;
    gKernelEnd = d.kernelEnd;
    gVerbosity = d.verbosity;
    symPath = d.symbolPath;
}

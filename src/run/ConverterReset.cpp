#include "ConverterReset.h"

#include <cstdio>
#include <string>
#include <vector>

#include "CPUChart.h"
#include "FileNames.h"
#include "GPUChart.h"
#include "IRQChart.h"
#include "PerfFactory.h"
#include "PerfFoundation.h"
#include "PerfRecordComm.h"
#include "PerfRecordMMap.h"
#include "PerfRecordSample.h"
#include "PerfRecordSampleEvent.h"
#include "ProcessChart.h"
#include "Settings.h"
#include "SymbolTable.h"
#include "SymbolTableElement.h"
#include "TimechartManager.h"

namespace {

struct Defaults {
    bool whiteSpace = addJSONWhiteSpace;
    bool labels = addJSONLabels;
    bool readable = gReadable;
    int32_t conversionType = timeConversionType;
    double scaler = timestampScaler;
    double offset = timestampOffset;
    double base = baseTime;
    double startTime = systemStartTime;
    double wallAtStart = gtodAtStart;
    double wallAtStop = gtodAtStop;
    bool selective = gSelectiveProcessing;
    uint64_t firstTimestamp = gFirstTimestampToProcess;
    uint64_t lastTimestamp = gLastTimestampToProcess;
    bool showMarkers = gShowMarkers;
    bool timechartMode = gTimechartMode;
    bool done = gDoneProcessing;
    bool is64bit = is64;
    int32_t kernelVersion = kern_ver;
    bool rmFirstInterrupt = gRmFirstInterrupt;
    uint64_t kernelStart = gKernelStart;
    uint64_t kernelEnd = gKernelEnd;
    uint32_t verbosity = gVerbosity;
    std::string inFile = inFileName;
    std::string outFile = outFileName;
    std::string symbolPath = symPath;
    std::string protocol = FileNames::_ogProtocol;
    bool bypassDestructor = PerfFoundation::_bypassDestructor;
};

// Taken at the first reset, before a conversion changes anything.
Defaults& defaults()
{
    static Defaults* saved = new Defaults();
    return *saved;
}

template <typename Map>
void deleteValues(Map& map)
{
    for (auto& entry : map)
        delete entry.second;
    map.clear();
}

}  // namespace

void resetConverter()
{
    const Defaults& d = defaults();
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

    addJSONWhiteSpace = d.whiteSpace;
    addJSONLabels = d.labels;
    gReadable = d.readable;
    timeConversionType = d.conversionType;
    timestampScaler = d.scaler;
    timestampOffset = d.offset;
    baseTime = d.base;
    systemStartTime = d.startTime;
    gtodAtStart = d.wallAtStart;
    gtodAtStop = d.wallAtStop;
    gSelectiveProcessing = d.selective;
    gFirstTimestampToProcess = d.firstTimestamp;
    gLastTimestampToProcess = d.lastTimestamp;
    gShowMarkers = d.showMarkers;
    if (gMarkerFile != nullptr)
        fclose(gMarkerFile);
    gMarkerFile = nullptr;
    gTimechartMode = d.timechartMode;
    gDoneProcessing = d.done;
    is64 = d.is64bit;
    kern_ver = d.kernelVersion;
    gRmFirstInterrupt = d.rmFirstInterrupt;
    gKernelStart = d.kernelStart;
    gKernelEnd = d.kernelEnd;
    gVerbosity = d.verbosity;
    inFileName = d.inFile;
    outFileName = d.outFile;
    symPath = d.symbolPath;
    FileNames::_ogProtocol = d.protocol;
    PerfFoundation::_bypassDestructor = d.bypassDestructor;
}

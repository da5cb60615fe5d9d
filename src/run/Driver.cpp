#include "Driver.h"

#include <cstdlib>
#include <cstring>

#include "FileNames.h"
#include "Options.h"
#include "PerfFactory.h"
#include "PerfJSONWriter.h"
#include "PerfReader.h"
#include "PerfRecordComm.h"
#include "PerfRecordHeaderS.h"
#include "PerfRecordMMap.h"
#include "PerfRecordSample.h"
#include "PerfRecordSampleEvent.h"
#include "Settings.h"
#include "SymbolTable.h"
#include "TimechartManager.h"
#include "TimeBase.h"

void walkRecords(PerfReader& reader)
{
    // A read error (-1) keeps status() true, so the loop tries again.
    while (reader.status()) {
        (void)PerfFactory::readNext(reader);
        if (gDoneProcessing)
            break;
    }
}

namespace {

void writeDescription(PerfJSONWriter& writer, const char* chip)
{
    writer.newElementStart("Description");
    writer.writeNamed("Version", "1.0");
    writer.writeNamed("Target Chip", chip);
    writer.writeNamed("Start Time", gtodAtStart);
    writer.writeNamed("First Sample Time", PerfRecordSample::_firstSampleTime);
    writer.writeNamed("duration", time64ToDouble(PerfRecordSample::_lastSampleTime) - PerfRecordSample::_firstSampleTime);
    writer.newElementEnd();
}

void writeProfile(PerfJSONWriter& writer)
{
    const char* chip = getenv("CHIP");
    writer.newElementStart(nullptr);
    writeDescription(writer, chip != nullptr ? chip : "unknown");
    // Keys are final only after this pass, which may still create maps and symbols.
    PerfRecordSample::verifyKeys();
    PerfRecordComm::outAll(writer);
    PerfRecordMMap::outAll(writer);
    FileNames::outAll(writer);
    SymbolTable::outAll(writer);
    PerfRecordSample::outAll(writer);
    writer.newElementEnd();
}

}  // namespace

void loadSymbolTables()
{
    if (!gTimechartMode)
        SymbolTable::loadKernelSymbols();
    SymbolTable::createSyntheticTable();
}

void readRecording(PerfReader& reader)
{
    PerfRecordHeaderS header;
    memset(&header, 0, sizeof header);
    if (reader.read((char*)&header, (int)sizeof header) <= 0)
        errorExit("Invalid In File", -1);
    // The event table lies ahead of the data section.
    PerfRecordSampleEvent::readEvents(reader, &header);

    reader.seek((int)(uint32_t)header.dataOffset);
    walkRecords(reader);
}

void writeDocument(PerfJSONWriter& writer)
{
    if (!gTimechartMode) {
        writeProfile(writer);
        return;
    }
    TimechartManager* manager = TimechartManager::Instance();
    // Trace markers, then the names of soft interrupts and counters, join the charts.
    manager->inspectTraceFile();
    manager->finalizeChartData();
    manager->writeData(writer);
}

int runConverter(int argc, char** argv)
{
    PerfReader reader;
    PerfRecordMMap firstMap;  // takes key 1 of the map numbering
    PerfFactory factory;
    SymbolTable defaultTable;

    FileNames::createEmptyRef();
    parseOptions(argc, argv);

    // The white-space option goes first, where the writer takes its label
    // switch, and the label option second: the crossing is intended.
    PerfJSONWriter writer(addJSONWhiteSpace, addJSONLabels);

    calcTimeConversion();
    readEnvironment();

    loadSymbolTables();

    if (reader.open(inFileName.c_str()) == -1)
        errorExit("Bad In File Name", -1);
    if (writer.open(outFileName.c_str()) == -1)
        errorExit("Bad Out File Name", -1);

    readRecording(reader);
    writeDocument(writer);

    writer.close();
    reader.close();
    if (gMarkerFile != nullptr)
        fclose(gMarkerFile);
    if (gVerbosity != 0)
        PerfFactory::showStats();
    return 0;
}

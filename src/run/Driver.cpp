#include "Driver.h"

#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

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
#include "TimeBase.h"
#include "TimechartManager.h"

// The road of one record through the walk:
// - PerfFactory::readNext finds a plausible header (type 1 to 16, size 12 to
//   256), scanning word by word over damage, reads the body into the shared
//   buffer PerfFactory::_tmp behind 8 unwritten bytes, and dispatches on the
//   type; 16 and the types without a function are read and dropped.
// - mmap (1) and comm (3) records become maps and processes, kept for the
//   whole run; a later comm record of a known process renames it.
// - A sample (9) whose word at offset 32 is a core number finds its process
//   and resolves each back-trace address to a map, a synthetic one when none
//   covers it. Profile mode keeps it for the document; in timechart mode its
//   memory goes to the next sample.
// - Any other sample is a trace-point sample: inside the time window, its
//   event number picks the decoder that the event table registered, which
//   adds its values to the charts of the TimechartManager.
// - Nothing is written during the walk. After it, writeDocument settles the
//   keys and writes the profile one section after another, or finishes the
//   charts and writes them.
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
    writer.writeNamed("duration",
                      time64ToDouble(PerfRecordSample::_lastSampleTime) - PerfRecordSample::_firstSampleTime);
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

// nm may run in the background, beside the conversion, where the order of
// its messages among the converter's own cannot show: not with diagnostics
// or kernel-log markers, nor with standard output and standard error going
// to one file, where the converter's lines would interleave with nm's,
// unless that file is the null device.
bool nmMayRunInBackground()
{
    if (gTimechartMode || gVerbosity != 0 || gShowMarkers)
        return false;
    struct stat out;
    struct stat err;
    if (fstat(STDOUT_FILENO, &out) != 0 || fstat(STDERR_FILENO, &err) != 0)
        return true;
    if (out.st_dev != err.st_dev || out.st_ino != err.st_ino)
        return true;
    struct stat null;
    return S_ISCHR(out.st_mode) && stat("/dev/null", &null) == 0 && S_ISCHR(null.st_mode) &&
           out.st_rdev == null.st_rdev;
}

unsigned int cores()
{
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0)
        return (unsigned int)CPU_COUNT(&set);
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? (unsigned int)online : 1;
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
    SymbolTable::finishLoading();
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
    if (nmMayRunInBackground())
        SymbolTable::loadInBackground(cores());

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

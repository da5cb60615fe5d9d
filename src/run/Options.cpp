#include "Options.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "FileNames.h"
#include "PerfFoundation.h"
#include "Settings.h"
#include "TimeBase.h"

namespace {

void parseAddWhiteSpace(char*) { addJSONWhiteSpace = true; }
void parseAddJSONLabels(char*) { addJSONLabels = true; }
void parseRemoveWhiteSpace(char*) { addJSONWhiteSpace = false; }
void parseRemoveJSONLabels(char*) { addJSONLabels = false; }
void parseRmInterrupts(char*) { gRmFirstInterrupt = true; }
void parseInFile(char* argument) { inFileName = argument; }
void parseOutFile(char* argument) { outFileName = argument; }
void parseAddToPath(char* argument) { symPath = symPath + ":" + argument; }
void parseZeroTime(char*) { timeConversionType = kTimeZero; }
void parseEpochTime(char*) { timeConversionType = kTimeEpoch; }
void parseLoomstatTime(char*) { timeConversionType = kTimeLoomstat; }
void parseRawTime(char*) { timeConversionType = kTimeRaw; }
void parseNotReadable(char*) { gReadable = false; }

void parseBaseTime(char* argument)
{
    (void)sscanf(argument, "%lf", &baseTime);
    gtodAtStart = baseTime;
}

// Maps a time on the scale y = cx + g back to the file's clock in whole
// seconds, as set by -c and -g at this point of the command line.
uint64_t wholeFileSeconds(double d)
{
    double x = (d - timestampOffset) / timestampScaler;
    if (!(x > 0.0))
        return 0;
    if (x >= 18446744073709551616.0)
        return 0xFFFFFFFFFFFFFFFFULL;
    return (uint64_t)x;
}

// The range is widened by a second on each side; 0 seconds wraps around.
void parseStartTime(char* argument)
{
    gSelectiveProcessing = true;
    double d = 0.0;
    (void)sscanf(argument, "%lf", &d);
    gtodAtStart = d;
    gFirstTimestampToProcess = (wholeFileSeconds(d) - 1) * 1000000000ULL;
}

void parseFinishTime(char* argument)
{
    gSelectiveProcessing = true;
    double d = 0.0;
    (void)sscanf(argument, "%lf", &d);
    gtodAtStop = d;
    gLastTimestampToProcess = (wholeFileSeconds(d) + 1) * 1000000000ULL;
}

void parseBypassDestruct(char*) { PerfFoundation::_bypassDestructor = true; }
void parseDontBypassDestruct(char*) { PerfFoundation::_bypassDestructor = false; }
// The level as strtol reads it into a 32-bit long: a value out of that range
// saturates, where a 64-bit long would keep its low 32 bits (4294967296 would be 0).
void parseVerbose(char* argument)
{
    long long level = strtoll(argument, nullptr, 10);
    if (level > INT32_MAX)
        level = INT32_MAX;
    if (level < INT32_MIN)
        level = INT32_MIN;
    gVerbosity = (uint32_t)level;
}
void parseShowMarkers(char*) { gShowMarkers = true; }

void parseShowHelp(char*)
{
    printf("Usage:  zelconv <options>\n");
    for (const ProgramOption* row = programOptions; row->handler != nullptr; row++)
        printf("   %c - %s\n", row->option, row->help);
    exit(0);
}

void parseTimechartMode(char*) { gTimechartMode = true; }
void parseTimestampScaler(char* argument) { (void)sscanf(argument, "%lf", &timestampScaler); }
void parseTimestampOffset(char* argument) { (void)sscanf(argument, "%lf", &timestampOffset); }
void parseOGServer(char* argument) { FileNames::_ogServer = argument; }
void parseOGProtocol(char* argument) { FileNames::_ogProtocol = argument; }

// Shares its letter with the protocol row above it, so it never runs.
void parseOGFilesOnly(char* argument)
{
    if (argument != nullptr)
        FileNames::_ogFunctionOnlyLookup = strtol(argument, nullptr, 10) == 1;
}

}  // namespace

const ProgramOption programOptions[] = {
    {parseAddWhiteSpace, 'w', 0, "add white space to the JSON output (D)"},
    {parseAddJSONLabels, 'l', 0, "add labels to the JSON output"},
    {parseRemoveWhiteSpace, 'W', 0, "remove white space from JSON output"},
    {parseRemoveJSONLabels, 'L', 0, "remove labels from the JSON outout (D)"},
    {parseRmInterrupts, 'I', 0, "remove first interrupt in backtrace "},
    {parseInFile, 'i', 1, "parse input file name (perf.data)"},
    {parseOutFile, 'o', 1, "output file name (perf.json)"},
    {parseAddToPath, 'p', 1, "add to the path to search for syms (/proc/1/root)"},
    {parseZeroTime, 'z', 0, "use a zero time base offset"},
    {parseEpochTime, 'e', 0, "use Unix Epoch time as base offset (D)"},
    {parseLoomstatTime, 'q', 0, "use Unix Epoch time as base offset (D)"},
    {parseRawTime, 'r', 0, "use the raw time, no offset"},
    {parseNotReadable, 'R', 0, "remove cr/lf to make less readable"},
    {parseBaseTime, 'b', 1, "provide a base time in float format"},
    {parseStartTime, 's', 1, "first timestamp to process (gettimeofday format)"},
    {parseFinishTime, 'f', 1, "last timestamp to process (gettimeofday format)"},
    {parseBypassDestruct, 'd', 0, "bypass destructors"},
    {parseDontBypassDestruct, 'D', 0, "don't bypass destructors (D)"},
    {parseVerbose, 'v', 1, "verbosity level"},
    {parseShowMarkers, 'm', 0, "put ZelView debug markers in code"},
    {parseShowHelp, 'h', 0, "print this help menu"},
    {parseTimechartMode, 't', 0, "process a timechart perf dump"},
    {parseTimestampScaler, 'c', 1, "y = cx + g, loomstat timestamp scaler"},
    {parseTimestampOffset, 'g', 1, "y = cx + g, loomstat timestamp offset"},
    {parseOGServer, 'S', 1, "Server name for opengrok default:" ZELCONV_DEFAULT_OG_SERVER},
    {parseOGProtocol, 'P', 1, "Server protocol for opengrok default:http"},
    {parseOGFilesOnly, 'P', 1, "File only lookup for opengrok default:false"},
    {nullptr, 0, 0, nullptr},
};

std::string optionString()
{
    std::string result;
    for (const ProgramOption* row = programOptions; row->handler != nullptr; row++) {
        result.push_back((char)row->option);
        if (row->takesArgument)
            result.push_back(':');
    }
    return result;
}

void parseOptions(int argc, char** argv)
{
    std::string letters = optionString();
    int c;
    while ((c = getopt(argc, argv, letters.c_str())) != -1) {
        const ProgramOption* row = programOptions;
        while (row->handler != nullptr && row->option != c)
            row++;
        if (row->handler == nullptr)
            errorExit("Bad option passed use -h for help", -1);
        row->handler(optarg);
    }
}

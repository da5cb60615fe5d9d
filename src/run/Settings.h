// Program-wide settings. Plain globals, set by the options and the environment
// before the record walk, and read from everywhere afterwards.
#ifndef ZELCONV_SETTINGS_H
#define ZELCONV_SETTINGS_H

#include <cstdint>
#include <cstdio>
#include <string>

extern bool addJSONWhiteSpace;
extern bool addJSONLabels;
extern bool gReadable;
extern int32_t timeConversionType;
extern double timestampScaler;
extern double timestampOffset;
extern double baseTime;
extern double systemStartTime;
extern double gtodAtStart;
extern double gtodAtStop;
extern bool gSelectiveProcessing;
extern uint64_t gFirstTimestampToProcess;
extern uint64_t gLastTimestampToProcess;
extern uint32_t gVerbosity;
extern bool gRmFirstInterrupt;
extern bool gShowMarkers;
extern FILE* gMarkerFile;
extern bool gTimechartMode;
extern bool gDoneProcessing;
extern bool is64;
extern int32_t kern_ver;
extern uint64_t gKernelStart;
extern uint64_t gKernelEnd;
extern std::string inFileName;
extern std::string outFileName;
extern std::string symPath;
// Declared for completeness; nothing reads them.
extern bool noPath;
extern bool timeOutputOffset;

// Prints "ERROR: <message>" on standard output and ends the process with `status`.
[[noreturn]] void errorExit(const char* message, int status);

// printf on standard output when the verbosity is at least `level`.
void verbose(uint32_t level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Reads `kern_ver` ("major.minor") and `ARM64` ("y") from the environment.
void readEnvironment();

#endif

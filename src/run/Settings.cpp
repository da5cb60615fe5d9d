#include "Settings.h"

#include <cstdarg>
#include <cstdlib>

bool addJSONWhiteSpace = true;
bool addJSONLabels = false;
bool gReadable = true;
int32_t timeConversionType = 2;
double timestampScaler = 1.0;
double timestampOffset = 0.0;
double baseTime = 1000000.0;
double systemStartTime = 0.0;
double gtodAtStart = 0.0;
double gtodAtStop = 0.0;
bool gSelectiveProcessing = false;
uint64_t gFirstTimestampToProcess = 0;
uint64_t gLastTimestampToProcess = 0xFFFFFFFFFFFFFFFFULL;
uint32_t gVerbosity = 0;
bool gRmFirstInterrupt = false;
bool gShowMarkers = false;
FILE* gMarkerFile = nullptr;
bool gTimechartMode = false;
bool gDoneProcessing = false;
bool is64 = false;
int32_t kern_ver = 304;
uint64_t gKernelStart = 0xBF000000ULL;
uint64_t gKernelEnd = 0xCF000000ULL;
std::string inFileName = "perf.data";
std::string outFileName = "perf.json";
std::string symPath = "/";
bool noPath = true;
bool timeOutputOffset = false;

void errorExit(const char* message, int status)
{
    printf("ERROR: %s\n", message);
    exit(status);
}

void readEnvironment()
{
    const char* version = getenv("kern_ver");
    int major = 0;
    int minor = 0;
    if (version != nullptr && sscanf(version, "%d.%d", &major, &minor) == 2)
        kern_ver = major * 100 + minor;

    const char* arm64 = getenv("ARM64");
    if (arm64 != nullptr && std::string(arm64) == "y")
        is64 = true;
}

void verbose(uint32_t level, const char* format, ...)
{
    if (gVerbosity < level)
        return;
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
}

// The marker-line parser: the text becomes the sandbox's ftrace trace file,
// which the timechart manager reads line by line as a run's end does; the
// charts it makes of the markers are then written. Each line is also parsed on its own, and what a parse reports is
// checked against the line it came from.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "PerfJSONWriter.h"
#include "SystemFiles.h"
#include "TimechartManager.h"
#include "TraceMarker.h"

namespace {

std::string traceFilePath() { return fuzzSystemRoot() + SystemFiles::traceFile; }

// A marker's name lies between the second and third commas after the event
// name, and its arguments are the whole rest of the line.
void checkMarker(const std::string& line)
{
    TraceMarker marker;
    if (!marker.parse(line))
        return;
    const size_t event = line.find("tracing_mark_write: ");
    if (event == std::string::npos || line.find("ZVIEW") == std::string::npos)
        abort();
    if (marker.name.find(',') != std::string::npos)
        abort();
    if (marker.args.size() > line.size() ||
        line.compare(line.size() - marker.args.size(), std::string::npos, marker.args) != 0)
        abort();
    if (line.find("," + marker.name + "," + marker.args, event) == std::string::npos)
        abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    (void)fuzzSandbox();
    std::filesystem::create_directories(std::filesystem::path(traceFilePath()).parent_path());
    resetConverter();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    writeWholeFile(traceFilePath(), text);

    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line))
        checkMarker(line);

    TimechartManager* manager = TimechartManager::Instance();
    manager->inspectTraceFile();
    PerfJSONWriter writer(false, true);
    writer.open("/dev/null");
    manager->writeData(writer);
    writer.close();
    resetConverter();
    return 0;
}

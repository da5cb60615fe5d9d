// zelconv-import over any bytes: the reader of perf's file and pipe layouts,
// the tracing data, every sample layout and the conversion. Besides what the
// sanitizers catch, each written record must be one that zelconv takes whole:
// 12 to 256 bytes, the last one ending at the end of the output.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Importer.h"
#include "PerfDataBuilder.h"
#include "PerfFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    PerfFile file(std::string((const char*)data, size));
    if (!file.error().empty())
        return 0;
    PerfDataBuilder out;
    Importer importer(file);
    importer.run(out);
    const std::string bytes = out.bytes();
    const std::string summary = importer.summary() + importer.environment();
    if (summary.empty() || summary.find("ARM64=") == std::string::npos)
        abort();

    uint64_t dataOffset = 0;
    memcpy(&dataOffset, bytes.data() + 40, 8);
    size_t at = (size_t)dataOffset;
    while (at < bytes.size()) {
        uint16_t recordSize = 0;
        memcpy(&recordSize, bytes.data() + at + 6, 2);
        if (recordSize < 12 || recordSize > 256 || recordSize > bytes.size() - at)
            abort();
        at += recordSize;
    }
    return 0;
}

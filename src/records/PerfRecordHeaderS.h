// The first 56 bytes of a perf.data file, in the file's native byte order.
#ifndef ZELCONV_PERFRECORDHEADERS_H
#define ZELCONV_PERFRECORDHEADERS_H

#include <cstdint>

struct PerfRecordHeaderS {
    uint64_t magic;
    uint64_t headerSize;
    uint64_t attrSize;
    uint64_t attrsOffset;
    uint64_t attrsSize;
    uint64_t dataOffset;
    uint64_t dataSize;
};

static_assert(sizeof(PerfRecordHeaderS) == 56, "file header is 56 bytes");

#endif

// A reader over bytes held in memory, with the semantics of the file reader:
// the same diagnostics, short reads at the end, 0 once the end is reached.
// Lets tests and fuzz targets drive the whole record walk without files.
#ifndef ZELCONV_PERFMEMORYREADER_H
#define ZELCONV_PERFMEMORYREADER_H

#include <cstddef>
#include <string>

#include "PerfReader.h"

class PerfMemoryReader : public PerfReader {
public:
    explicit PerfMemoryReader(std::string bytes);

    // Any name opens the bytes given at construction.
    int open(const char* name) override;
    int read(char* buffer, int size) override;
    void close() override;
    void seek(int offset) override;

private:
    std::string _bytes;
    size_t _position;
    bool _open;
};

#endif

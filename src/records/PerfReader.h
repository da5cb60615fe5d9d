// Reader of the input file. The record walk reads through the virtual
// operations, so a derived reader can supply the bytes instead.
#ifndef ZELCONV_PERFREADER_H
#define ZELCONV_PERFREADER_H

#include <cstddef>
#include <vector>

class PerfReader {
public:
    PerfReader();
    virtual ~PerfReader();

    // 0 when a descriptor above 0 was obtained, -1 otherwise (also for a null name).
    virtual int open(const char* name);
    // Up to `size` bytes, as one read of the file would give them: the count,
    // 0 at the end, or -1.
    virtual int read(char* buffer, int size);
    virtual void close();
    // True while the latest read returned something other than 0.
    virtual bool status();
    // Seeks from the start of the file; the offset is sign-extended.
    virtual void seek(int offset);

    // The diagnostics every read prints before it touches the input.
    void announceRead(int size);

protected:
    int _fd;
    int _lastRead;

private:
    // Records are read 8 bytes and a body at a time, and the scan 4 bytes at
    // a time; the file is read in large blocks behind that.
    std::vector<char> _block;
    size_t _blockStart = 0;
    size_t _blockEnd = 0;
};

#endif

// Unbuffered reader of the input file. The record walk reads through the
// virtual operations, so a derived reader can supply the bytes instead.
#ifndef ZELCONV_PERFREADER_H
#define ZELCONV_PERFREADER_H

class PerfReader {
public:
    PerfReader();
    virtual ~PerfReader();

    // 0 when a descriptor above 0 was obtained, -1 otherwise (also for a null name).
    virtual int open(const char* name);
    // One operating-system read of `size` bytes: the count, 0 at the end, or -1.
    virtual int read(char* buffer, int size);
    virtual void close();
    // True while the latest read returned something other than 0.
    virtual bool status();
    // Seeks from the start of the file; the offset is sign-extended.
    virtual void seek(int offset);

protected:
    // The diagnostics every read prints before it touches the input.
    void _announceRead(int size);

    int _fd;
    int _lastRead;
};

#endif
